#include "record/recorder.h"

#include "diagnostics/log.h"
#include "file/tag_list.h"
#include "record/block_backlog.h"
#include "record/recorded_files.h"

#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t backlog_capacity = std::size_t{64} << 20U;
constexpr std::size_t worthwhile_write = std::size_t{256} << 10U;
/// What arrived is in the file after this time, so that a player can follow it closely.
constexpr auto longest_wait = 200ms;

} // namespace

class Recorder::Writer {
public:
    Writer(const RecorderSetup& setup, TimeSource& time, MessageBoard& messages,
           std::function<void()> on_ended)
        : files_{setup}, limit_{setup.limit}, messages_{messages}, on_ended_{std::move(on_ended)},
          backlog_{backlog_capacity, worthwhile_write, time}, tags_{
                                                                  std::make_unique<TagList>(files_.path())} {
        facts_.path = files_.path();
        messages_.post(MessageBoard::Severity::notice, "record", "begin", "Recording to " + files_.path());
        thread_ = Worker{time, [this](const std::stop_token&) { run(); }};
    }
    ~Writer() { backlog_.close(); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void feed(SharedBlock block) {
        const std::size_t size = block->bytes.size();
        if (backlog_.put(std::move(block))) {
            return;
        }
        const std::lock_guard lock{mutex_};
        if (!ended_) {
            note_loss(size);
        }
    }

    void mark() {
        {
            const std::lock_guard lock{mutex_};
            tags_->mark(static_cast<int>(second_.count()));
        }
        backlog_.wake();
    }

    RecordingFacts facts() const {
        const std::lock_guard lock{mutex_};
        return facts_;
    }

    bool is_running() const {
        const std::lock_guard lock{mutex_};
        return !ended_;
    }

    void finish() { backlog_.close(); }

    void give_up() {
        if (const std::size_t discarded = backlog_.discard(); discarded > 0) {
            const std::lock_guard lock{mutex_};
            note_loss(discarded);
        }
    }

    bool wait_complete(std::chrono::milliseconds time) const {
        std::unique_lock lock{mutex_};
        return completed_.wait_for(lock, time, [this] { return is_complete_; });
    }

private:
    /// Under the lock.
    void note_loss(std::size_t size) {
        facts_.lost += size;
        log_incident("record", "loss",
                     facts_.path + " is written too slowly, " + std::to_string(facts_.lost) +
                         " bytes left out so far");
    }

    void run() {
        const bool ends_by_itself = !write_all();
        {
            const std::lock_guard lock{mutex_};
            ended_ = ends_by_itself;
        }
        backlog_.close();
        try {
            files_.finish();
            update_facts();
            tags_->save();
        } catch (const std::exception& error) {
            note_failure(error);
        }
        report_end();
        {
            const std::lock_guard lock{mutex_};
            is_complete_ = true;
        }
        completed_.notify_all();
        if (ends_by_itself) {
            on_ended_();
        }
    }

    /// @return false when it could not, or may not, go on to the end
    bool write_all() {
        try {
            while (!backlog_.is_drained()) {
                write(backlog_.take(longest_wait));
                tags_->save();
                if (limit_ > 0s && files_.total_length() >= limit_) {
                    return false;
                }
            }
            return true;
        } catch (const std::exception& error) {
            note_failure(error);
            return false;
        }
    }

    /// The first one is why it ended.
    void note_failure(const std::exception& error) {
        if (failure_.empty()) {
            failure_ = error.what();
        }
    }

    void report_end() {
        if (failure_.empty()) {
            messages_.post(MessageBoard::Severity::notice, "record", "end",
                           "The recording ended: " + files_.path());
        } else {
            messages_.post(MessageBoard::Severity::error, "record", "failure",
                           "The recording ended: " + failure_);
        }
    }

    void write(const std::vector<SharedBlock>& blocks) {
        if (blocks.empty()) {
            return;
        }
        bytes_.clear();
        for (const SharedBlock& block : blocks) {
            bytes_.insert(bytes_.end(), block->bytes.begin(), block->bytes.end());
        }
        try {
            files_.write(bytes_, blocks.front()->arrived, blocks.back()->arrived);
        } catch (const RecordingError&) {
            update_facts();
            throw;
        }
        update_facts();
    }

    void update_facts() {
        if (files_.path() != facts_.path) {
            tags_->save();
            auto tags = std::make_unique<TagList>(files_.path());
            const std::lock_guard lock{mutex_};
            tags_.swap(tags);
        }
        const std::lock_guard lock{mutex_};
        facts_.path = files_.path();
        facts_.bytes = files_.bytes();
        facts_.length = files_.length();
        second_ = files_.last_second();
    }

    RecordedFiles files_; ///< the writer's thread only, once it runs
    const std::chrono::seconds limit_;
    MessageBoard& messages_;
    const std::function<void()> on_ended_;
    std::string failure_; ///< the writer's thread only
    BlockBacklog backlog_;
    std::vector<std::uint8_t> bytes_; ///< the writer's thread only
    mutable std::mutex mutex_;
    // Protected by mutex_, written by the writer's thread:
    std::unique_ptr<TagList> tags_; ///< of the file being written
    RecordingFacts facts_;
    std::chrono::seconds second_{0}; ///< of the last picture
    bool ended_{false};
    bool is_complete_{false};
    mutable std::condition_variable completed_;
    Worker thread_;
};

Recorder::Recorder(const RecorderSetup& setup, TimeSource& time, MessageBoard& messages,
                   std::function<void()> on_ended)
    : writer_{std::make_unique<Writer>(setup, time, messages, std::move(on_ended))} {}

Recorder::~Recorder() = default;

void Recorder::feed(SharedBlock block) {
    writer_->feed(std::move(block));
}

void Recorder::mark() {
    writer_->mark();
}

RecordingFacts Recorder::facts() const {
    return writer_->facts();
}

bool Recorder::is_running() const {
    return writer_->is_running();
}

void Recorder::finish() {
    writer_->finish();
}

void Recorder::give_up() {
    writer_->give_up();
}

bool Recorder::wait_complete(std::chrono::milliseconds time) const {
    return writer_->wait_complete(time);
}

} // namespace velmora
