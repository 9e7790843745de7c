#include "media/media_queue.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <thread>
#include <vector>

namespace velmora {
namespace {

using Queue = MediaQueue<std::unique_ptr<int>>;

TEST(MediaQueue, GivesItemsBackInTheOrderTheyCame) {
    Queue queue{3};
    for (int number = 1; number <= 3; ++number) {
        EXPECT_TRUE(queue.try_push(std::make_unique<int>(number)));
    }
    EXPECT_EQ(queue.size(), 3U);
    for (int number = 1; number <= 3; ++number) {
        const auto item = queue.try_pop();
        ASSERT_TRUE(item.has_value());
        EXPECT_EQ(**item, number);
    }
    EXPECT_FALSE(queue.try_pop().has_value());
}

TEST(MediaQueue, LeavesTheItemWithItsOwnerWhenFull) {
    Queue queue{1};
    ASSERT_TRUE(queue.try_push(std::make_unique<int>(1)));
    EXPECT_TRUE(queue.full());
    auto second = std::make_unique<int>(2);
    EXPECT_FALSE(queue.try_push(std::move(second)));
    // NOLINTBEGIN(bugprone-use-after-move): a refused item is not moved
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(*second, 2);
    // NOLINTEND(bugprone-use-after-move)
}

TEST(MediaQueue, TellsOfArrivalsAndOfRoom) {
    Queue queue{2};
    int arrivals = 0;
    int rooms = 0;
    queue.set_on_item([&] { arrivals += static_cast<int>(queue.size()); });
    queue.set_on_room([&] { rooms += 1; });

    queue.try_push(std::make_unique<int>(1));
    queue.try_push(std::make_unique<int>(2));
    queue.try_push(std::make_unique<int>(3));
    EXPECT_EQ(arrivals, 1 + 2);

    queue.try_pop();
    EXPECT_EQ(rooms, 1);
    queue.clear();
    EXPECT_EQ(rooms, 2);
    EXPECT_TRUE(queue.empty());
    queue.clear();
    queue.try_pop();
    EXPECT_EQ(rooms, 2) << "nothing left, so no room came";

    queue.set_on_item(nullptr);
    queue.try_push(std::make_unique<int>(4));
    EXPECT_EQ(arrivals, 1 + 2);
}

TEST(MediaQueue, CarriesEverythingBetweenTwoThreadsThatWaitForItsNotifications) {
    constexpr int count = 20000;
    Queue queue{4};
    std::mutex mutex;
    std::condition_variable changed;
    const auto wake = [&] {
        const std::lock_guard lock{mutex};
        changed.notify_all();
    };
    queue.set_on_item(wake);
    queue.set_on_room(wake);

    std::jthread producer{[&] {
        for (int number = 0; number < count; ++number) {
            auto item = std::make_unique<int>(number);
            while (!queue.try_push(std::move(item))) { // NOLINT(bugprone-use-after-move): refused, not moved
                std::unique_lock lock{mutex};
                changed.wait(lock, [&] { return !queue.full(); });
            }
        }
    }};
    std::vector<int> received;
    while (received.size() < count) {
        if (const auto item = queue.try_pop()) {
            received.push_back(**item);
            continue;
        }
        std::unique_lock lock{mutex};
        changed.wait(lock, [&] { return !queue.empty(); });
    }
    for (int number = 0; number < count; ++number) {
        ASSERT_EQ(received[static_cast<std::size_t>(number)], number);
    }
}

} // namespace
} // namespace velmora
