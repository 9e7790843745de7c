#include "receive/rtp_reorder.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

// RFC 3550, A.1: within these distances a packet belongs to the sequence.
constexpr int max_dropout = 3000;
constexpr int max_misorder = 100;

int distance_of(std::uint16_t from, std::uint16_t to) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(to - from));
}

} // namespace

RtpReorder::RtpReorder(Sink sink) : sink_{std::move(sink)} {}

void RtpReorder::feed(const RtpPacket& packet, SteadyTime now) {
    expire(now);
    const bool was_silent = now - std::exchange(last_, now) > silence;
    if (!is_begun_ || packet.ssrc != ssrc_) {
        begin(packet.sequence, packet.ssrc);
    }
    const int distance = distance_of(expected_, packet.sequence);
    const bool is_far = distance >= max_dropout || distance < -max_misorder;
    const bool is_late = distance < 0 && !is_far; // or comes for the second time
    if (distance < 0 && was_silent) {
        begin(packet.sequence, packet.ssrc);
    } else if (is_late || (is_far && !follows_suspect(packet))) {
        return;
    }
    suspect_.reset();
    take(packet, now);
}

bool RtpReorder::follows_suspect(const RtpPacket& packet) {
    if (suspect_ && distance_of(suspect_->sequence, packet.sequence) == 1) {
        begin(suspect_->sequence, packet.ssrc);
        sink_(suspect_->payload);
        ++expected_;
        return true;
    }
    suspect_ = Suspect{packet.sequence, {packet.payload.begin(), packet.payload.end()}};
    return false;
}

void RtpReorder::begin(std::uint16_t sequence, std::uint32_t ssrc) {
    while (held_count_ > 0) {
        give_up_one();
    }
    is_begun_ = true;
    ssrc_ = ssrc;
    expected_ = sequence;
}

void RtpReorder::take(const RtpPacket& packet, SteadyTime now) {
    while (distance_of(expected_, packet.sequence) >= window) {
        give_up_one();
    }
    if (packet.sequence == expected_) {
        sink_(packet.payload);
        ++expected_;
        hand_on_run();
        return;
    }
    Held& held = slot(packet.sequence);
    if (!held.is_used) {
        held = {.is_used = true, .arrived = now, .payload = {packet.payload.begin(), packet.payload.end()}};
        ++held_count_;
    }
}

void RtpReorder::give_up_one() {
    ++lost_;
    ++expected_;
    hand_on_run();
}

void RtpReorder::hand_on_run() {
    while (slot(expected_).is_used) {
        Held& held = slot(expected_);
        sink_(held.payload);
        held.is_used = false;
        --held_count_;
        ++expected_;
    }
}

void RtpReorder::expire(SteadyTime now) {
    for (auto due = deadline(); due && *due <= now; due = deadline()) {
        give_up_one();
    }
}

std::optional<SteadyTime> RtpReorder::deadline() const {
    if (held_count_ == 0) {
        return std::nullopt;
    }
    SteadyTime first = SteadyTime::max();
    for (const Held& held : held_) {
        first = held.is_used ? std::min(first, held.arrived) : first;
    }
    return first + patience;
}

} // namespace velmora
