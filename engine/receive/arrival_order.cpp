#include "receive/arrival_order.h"

namespace velmora {

void ArrivalOrder::add(const Datagram& datagram) {
    waiting_.push({.stamp = datagram.stamp,
                   .number = count_++,
                   .payload = {datagram.payload.begin(), datagram.payload.end()}});
}

void ArrivalOrder::release(std::chrono::nanoseconds now, const Sink& sink) {
    using namespace std::chrono_literals;
    while (!waiting_.empty()) {
        const Waiting& first = waiting_.top();
        const bool clock_was_set_back = first.stamp > now + 1s;
        if (first.stamp + wait > now && !clock_was_set_back) {
            return;
        }
        sink(first.payload);
        waiting_.pop();
    }
}

} // namespace velmora
