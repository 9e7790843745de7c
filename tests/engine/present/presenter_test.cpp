#include "present/presenter.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <semaphore>
#include <thread>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using namespace std::chrono_literals;

Picture picture(std::uint64_t generation, bool begins_run) {
    Picture picture;
    picture.frame = make_frame();
    picture.frame->width = 32;
    picture.frame->height = 32;
    picture.frame->format = AV_PIX_FMT_YUV420P;
    EXPECT_EQ(av_frame_get_buffer(picture.frame.get(), 0), 0);
    picture.generation = generation;
    picture.begins_run = begins_run;
    return picture;
}

/// Pictures that the presenter has shown.
class Watch {
public:
    struct Shown {
        Position position;
        SteadyTime at;
    };

    void shown(const Picture& picture) {
        const std::lock_guard lock{mutex_};
        latest_generation_ = picture.generation;
        shown_.push_back({picture.position, SteadyClock::now()});
        changed_.notify_all();
    }
    std::vector<Shown> wait_for_position(Position position) {
        std::unique_lock lock{mutex_};
        changed_.wait_for(lock, 10s, [&] { return !shown_.empty() && shown_.back().position >= position; });
        return shown_;
    }
    bool wait_for_generation(std::uint64_t generation) {
        std::unique_lock lock{mutex_};
        return changed_.wait_for(lock, 10s, [&] { return latest_generation_ == generation; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::uint64_t latest_generation_{0};
    std::vector<Shown> shown_;
};

TEST(Presenter, ShowsTheFirstPictureOfARunThatBeganWhileItTookAStaleOne) {
    Watch watch;
    const auto source = std::make_shared<PictureSource>();
    source->clock.hold({});
    source->on_shown = [&](const Picture& shown) { watch.shown(shown); };
    source->pictures.try_push(picture(0, false)); // stale
    bool is_first = true;
    source->pictures.set_on_room([&] {
        if (std::exchange(is_first, false)) {
            source->clock.hold({});
            source->pictures.try_push(picture(2, true));
        }
    });
    Presenter presenter{real_time()};
    presenter.attach(source);
    EXPECT_TRUE(watch.wait_for_generation(2));
    presenter.detach(*source);
}

/// A source whose picture takes its time on the way to the screen.
class SlowDelivery {
public:
    SlowDelivery() {
        source_->on_shown = [this](const Picture&) {
            begun_.release();
            std::this_thread::sleep_for(100ms);
            is_over_ = true;
        };
        source_->pictures.try_push(picture(0, true));
    }
    const std::shared_ptr<PictureSource>& source() const { return source_; }
    void wait_until_begun() { begun_.acquire(); }
    bool is_over() const { return is_over_; }

private:
    std::shared_ptr<PictureSource> source_ = std::make_shared<PictureSource>();
    std::binary_semaphore begun_{0};
    std::atomic<bool> is_over_{false};
};

TEST(Presenter, DetachingWaitsForAPictureOnItsWayWhateverIsAttached) {
    SlowDelivery delivery;
    Presenter presenter{real_time()};
    presenter.attach(delivery.source());
    delivery.wait_until_begun();
    presenter.attach(std::make_shared<PictureSource>());
    presenter.detach(*delivery.source());
    EXPECT_TRUE(delivery.is_over());
}

TEST(Presenter, SettlesWhenNoPictureOfAnotherSourceIsOnItsWay) {
    SlowDelivery delivery;
    Presenter presenter{real_time()};
    presenter.attach(delivery.source());
    delivery.wait_until_begun();
    presenter.attach(nullptr);
    presenter.settle();
    EXPECT_TRUE(delivery.is_over());
}

/// Shows four pictures whose time has come 300, 260, 220 and 180 milliseconds ago.
std::vector<Watch::Shown> show_late_pictures(SteadyClock::duration patience) {
    constexpr Ticks interval = 40ms;
    Watch watch;
    const auto source = std::make_shared<PictureSource>();
    source->patience = patience;
    source->on_shown = [&](const Picture& shown) { watch.shown(shown); };
    for (int i = 0; i < 4; ++i) {
        Picture late = picture(0, false);
        late.position = Position{i * interval};
        EXPECT_TRUE(source->pictures.try_push(std::move(late)));
    }
    source->clock.anchor(Position{300ms}, 1.0, SteadyClock::now());
    Presenter presenter{real_time()};
    presenter.attach(source);
    auto shown = watch.wait_for_position(Position{3 * interval});
    presenter.detach(*source);
    return shown;
}

TEST(Presenter, LeavesOutPicturesThatWouldBeReplacedAtOnce) {
    const auto shown = show_late_pictures(0ms);
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_EQ(shown.front().position, Position{120ms});
}

TEST(Presenter, ShowsLatePicturesOneAfterTheOtherWhereThatIsAskedFor) {
    const auto shown = show_late_pictures(5s);
    ASSERT_EQ(shown.size(), 4U);
    EXPECT_GE(shown.back().at - shown.front().at, 40ms) << "each can be seen";
}

} // namespace
} // namespace velmora
