#include "live/reception.h"

#include <utility>

namespace velmora {

Reception::Reception(const ReceiverSetup& setup, TimeSource& time)
    : time_{time}, transport_{setup.transport}, receiver_{
                                                    receive(setup, time, [this](const SharedBlock& block) {
                                                        take(block);
                                                    })} {}

void Reception::subscribe(Subscriber subscriber, BlockSink sink, From from) {
    const std::lock_guard lock{mutex_};
    Subscription& subscription = subscriptions_[subscriber];
    subscription = {std::move(sink), from == From::last_access_point};
    begin(subscription);
}

void Reception::unsubscribe(Subscriber subscriber) {
    const std::lock_guard lock{mutex_};
    subscriptions_.erase(subscriber);
}

void Reception::take(const SharedBlock& block) {
    const std::lock_guard lock{mutex_};
    meter_.add(block->bytes.size(), block->arrived);
    backlog_.feed(block);
    for (auto& [name, subscription] : subscriptions_) {
        // What waits begins with what the backlog holds, this block among it.
        if (!subscription.awaits_access_point) {
            subscription.sink(block);
        } else {
            begin(subscription);
        }
    }
}

void Reception::begin(Subscription& subscription) {
    if (!subscription.awaits_access_point) {
        return;
    }
    for (const SharedBlock& block : backlog_.from_access_point()) {
        subscription.awaits_access_point = false;
        subscription.sink(block);
    }
}

ReceptionReport Reception::report() {
    const std::uint32_t sender = receiver_->facts().sender;
    const std::lock_guard lock{mutex_};
    return {.transport = transport_, .sender = sender, .bitrate = meter_.kilobits_per_second(time_.now())};
}

} // namespace velmora
