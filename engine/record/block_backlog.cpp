#include "record/block_backlog.h"

#include <utility>

namespace velmora {

bool BlockBacklog::put(SharedBlock block) {
    bool is_news = false;
    {
        const std::lock_guard lock{mutex_};
        const std::size_t size = block->bytes.size();
        if (is_closed_ || size > capacity_ - bytes_) {
            return false;
        }
        if (blocks_.empty()) {
            waiting_since_ = time_.now();
        }
        // Datagrams come by the thousand: whoever takes them is woken for the first and for a whole piece.
        is_news = blocks_.empty() || (bytes_ < piece_ && bytes_ + size >= piece_);
        bytes_ += size;
        blocks_.push_back(std::move(block));
    }
    if (is_news) {
        changed_->notify();
    }
    return true;
}

std::vector<SharedBlock> BlockBacklog::take(std::chrono::milliseconds longest) {
    std::unique_lock lock{mutex_};
    while (!is_closed_ && !is_woken_ && bytes_ < piece_) {
        const SteadyTime due = blocks_.empty() ? SteadyTime::max() : waiting_since_ + longest;
        if (time_.now() >= due) {
            break;
        }
        lock.unlock();
        changed_->wait({}, due);
        lock.lock();
    }
    is_woken_ = false;
    std::vector<SharedBlock> taken;
    std::size_t size = 0;
    while (!blocks_.empty() && size < piece_) {
        size += blocks_.front()->bytes.size();
        taken.push_back(std::move(blocks_.front()));
        blocks_.pop_front();
    }
    bytes_ -= size;
    waiting_since_ = time_.now();
    return taken;
}

void BlockBacklog::wake() {
    {
        const std::lock_guard lock{mutex_};
        is_woken_ = true;
    }
    changed_->notify();
}

void BlockBacklog::close() {
    {
        const std::lock_guard lock{mutex_};
        is_closed_ = true;
    }
    changed_->notify();
}

std::size_t BlockBacklog::discard() {
    std::size_t discarded = 0;
    {
        const std::lock_guard lock{mutex_};
        blocks_.clear();
        discarded = std::exchange(bytes_, 0);
        is_closed_ = true;
    }
    changed_->notify();
    return discarded;
}

bool BlockBacklog::is_drained() const {
    const std::lock_guard lock{mutex_};
    return is_closed_ && blocks_.empty();
}

} // namespace velmora
