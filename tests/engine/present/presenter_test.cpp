#include "present/presenter.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>

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
    void shown(const Picture& picture) {
        const std::lock_guard lock{mutex_};
        latest_generation_ = picture.generation;
        changed_.notify_all();
    }
    bool wait_for_generation(std::uint64_t generation) {
        std::unique_lock lock{mutex_};
        return changed_.wait_for(lock, 10s, [&] { return latest_generation_ == generation; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::uint64_t latest_generation_{0};
};

TEST(Presenter, ShowsTheFirstPictureOfARunThatBeganWhileItTookAStaleOne) {
    Watch watch;
    const auto source = std::make_shared<PictureSource>();
    source->generation = 1;
    source->on_shown = [&](const Picture& shown) { watch.shown(shown); };
    source->pictures.try_push(picture(0, false)); // stale
    bool is_first = true;
    source->pictures.set_on_room([&] {
        if (std::exchange(is_first, false)) {
            source->generation = 2;
            source->pictures.try_push(picture(2, true));
        }
    });
    Presenter presenter;
    presenter.attach(source);
    EXPECT_TRUE(watch.wait_for_generation(2));
    presenter.detach(*source);
}

} // namespace
} // namespace velmora
