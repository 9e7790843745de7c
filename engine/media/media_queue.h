// The way of decoded pictures and sound from the thread that decodes to the thread that presents.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

namespace velmora {

/// A bounded first-in first-out queue for one producer and one consumer, on any threads.
///
/// It never waits. Whoever wants to wait sleeps on its own condition and is woken by a notification. A
/// notification runs on the thread that caused it, without the lock of the items, so it may ask the queue;
/// it must be short and must not set notifications. Once set_on_room or set_on_item has returned, the one
/// set before does not run any more.
template <class Item>
class MediaQueue {
public:
    explicit MediaQueue(std::size_t capacity) : capacity_{capacity} {}

    ~MediaQueue() = default;
    MediaQueue(const MediaQueue&) = delete;
    MediaQueue& operator=(const MediaQueue&) = delete;

    /// Moves `item` in and tells the consumer; false when full, then `item` is left as it was.
    bool try_push(Item&& item) {
        {
            const std::lock_guard lock{items_mutex_};
            if (items_.size() >= capacity_) {
                return false;
            }
            items_.push_back(std::move(item));
        }
        on_item_.run();
        return true;
    }

    /// Takes the oldest item and tells the producer; nothing when empty.
    std::optional<Item> try_pop() {
        std::optional<Item> item;
        {
            const std::lock_guard lock{items_mutex_};
            if (items_.empty()) {
                return item;
            }
            item.emplace(std::move(items_.front()));
            items_.pop_front();
        }
        on_room_.run();
        return item;
    }

    /// Drops all items and tells the producer.
    void clear() {
        std::deque<Item> dropped;
        {
            const std::lock_guard lock{items_mutex_};
            dropped.swap(items_);
        }
        if (!dropped.empty()) {
            on_room_.run();
        }
    }

    std::size_t size() const {
        const std::lock_guard lock{items_mutex_};
        return items_.size();
    }

    bool full() const { return size() >= capacity_; }
    bool empty() const { return size() == 0; }
    std::size_t capacity() const { return capacity_; }

    /// Called after items have left; null for nobody.
    void set_on_room(std::function<void()> callback) { on_room_.set(std::move(callback)); }
    /// Called after an item has arrived; null for nobody.
    void set_on_item(std::function<void()> callback) { on_item_.set(std::move(callback)); }

private:
    /// A callback that can be replaced while other threads run it.
    class Notification {
    public:
        void set(std::function<void()> callback) {
            const std::lock_guard lock{mutex_};
            callback_ = std::move(callback);
        }
        void run() {
            const std::lock_guard lock{mutex_};
            if (callback_) {
                callback_();
            }
        }

    private:
        std::mutex mutex_; ///< held during the call, so that set() waits for it
        std::function<void()> callback_;
    };

    const std::size_t capacity_;
    mutable std::mutex items_mutex_; ///< protects items_
    std::deque<Item> items_;
    Notification on_room_;
    Notification on_item_;
};

} // namespace velmora
