#include "index/sidecar_format.h"

#include "ts/psi_section.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace velmora {

namespace {

constexpr std::array<std::uint8_t, 7> magic{'V', 'E', 'L', 'M', 'I', 'D', 'X'};
constexpr std::uint8_t version = 2;
constexpr std::size_t check_size = 2;
constexpr std::size_t header_size = magic.size() + 1 + check_size;

constexpr std::uint32_t crc_of_nothing = 0xFFFFFFFFU;

/// Kinds of records; a smaller first byte is that of an access point and holds its flags.
constexpr std::uint8_t streams_record = 0x80;
constexpr std::uint8_t extent_record = 0x81;
/// The time stamp does not go on from the last point as the position does.
constexpr std::uint8_t has_stream_time = 0x01;
/// The distance between decoding and presentation is another one than before.
constexpr std::uint8_t has_reordering = 0x02;
/// The distance to the first clean picture is another one than before.
constexpr std::uint8_t has_recovery = 0x04;
constexpr std::uint8_t all_flags = has_stream_time | has_reordering | has_recovery;

constexpr std::int64_t wrap = std::int64_t{1} << 33U;
/// Beyond what any stream reaches, and far from overflowing.
constexpr std::int64_t farthest = std::int64_t{1} << 52U;
constexpr unsigned bits_per_byte = 7;
constexpr std::uint8_t goes_on = 0x80;

/// The time stamp that belongs to `position` when the stream goes on without a jump.
StreamTime expected_time(const TimeAnchor& last, Position position) {
    return StreamTime{(last.stream.ticks + (position - last.position).count()) & (wrap - 1)};
}

Ticks reordering(const AccessPoint& point) {
    return point.presentation - point.anchor.position;
}

Ticks recovery(const AccessPoint& point) {
    return point.clean_from - point.presentation;
}

/// Takes numbers from bytes; what it returns behind their end means nothing.
class NumberReader {
public:
    explicit NumberReader(std::span<const std::uint8_t> bytes) : bytes_{bytes} {}

    std::uint8_t byte() {
        if (at_ == bytes_.size()) {
            is_beyond_ = true;
            return 0;
        }
        return bytes_[at_++];
    }
    std::uint64_t number() {
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64; shift += bits_per_byte) {
            const std::uint8_t part = byte();
            value |= static_cast<std::uint64_t>(part & (goes_on - 1U)) << shift;
            if ((part & goes_on) == 0) {
                return value;
            }
        }
        is_sound_ = false;
        return 0;
    }
    std::int64_t signed_number() {
        const std::uint64_t folded = number();
        const auto magnitude = static_cast<std::int64_t>(folded >> 1U);
        return (folded & 1U) != 0 ? -magnitude - 1 : magnitude;
    }
    /// A position or a distance.
    std::int64_t ticks() {
        const std::int64_t value = signed_number();
        expect(value > -farthest && value < farthest);
        return is_sound_ ? value : 0;
    }
    void expect(bool condition) { is_sound_ = is_sound_ && condition; }

    std::size_t position() const { return at_; }
    bool is_beyond() const { return is_beyond_; }
    bool is_sound() const { return is_sound_; }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t at_{0};
    bool is_beyond_{false};
    bool is_sound_{true};
};

class Decoder {
public:
    explicit Decoder(std::span<const std::uint8_t> bytes) : bytes_{bytes} {
        read_header();
        while (at_ < bytes_.size() && read_record()) {
        }
    }

    SidecarContents take() { return std::move(contents_); }

private:
    void read_header() {
        if (bytes_.size() < header_size || !std::ranges::equal(bytes_.first(magic.size()), magic)) {
            throw UnusableSidecar{"is no index"};
        }
        if (bytes_[magic.size()] != version) {
            throw UnusableSidecar{"is an index of version " + std::to_string(bytes_[magic.size()])};
        }
        if (!is_checked(header_size - check_size)) {
            throw UnusableSidecar{"is damaged"};
        }
    }

    /// Whether the check at `end` holds for what stands before it; reading goes on behind it.
    bool is_checked(std::size_t end) {
        crc_ = mpeg_crc32(bytes_.subspan(at_, end - at_), crc_);
        const unsigned stored = bytes_[end] | (static_cast<unsigned>(bytes_[end + 1]) << 8U);
        at_ = end + check_size;
        return stored == (crc_ & 0xFFFFU);
    }

    bool read_record() {
        NumberReader reader{bytes_.subspan(at_)};
        const std::uint8_t kind = reader.byte();
        AccessPoint point;
        StreamSelection streams;
        SidecarExtent extent;
        if (kind == streams_record) {
            streams = read_streams(reader);
        } else if (kind == extent_record) {
            extent.covered = reader.number();
            extent.end = Position{Ticks{reader.ticks()}};
            extent.last_picture = Position{Ticks{reader.ticks()}};
        } else {
            reader.expect((kind & ~unsigned{all_flags}) == 0);
            point = read_point(reader, kind);
        }
        const std::size_t end = at_ + reader.position();
        if (reader.is_beyond() || (reader.is_sound() && end + check_size > bytes_.size())) {
            return false; // cut off while it was written
        }
        if (!reader.is_sound() || !is_checked(end)) {
            contents_.is_damaged = true;
            contents_.extent.reset();
            return false;
        }
        contents_.extent.reset();
        if (kind == streams_record) {
            streams_ = std::make_shared<const StreamSelection>(streams);
        } else if (kind == extent_record) {
            contents_.extent = extent;
        } else {
            contents_.points.push_back(point);
        }
        return true;
    }

    AccessPoint read_point(NumberReader& reader, std::uint8_t flags) const {
        const AccessPoint last = contents_.points.empty() ? AccessPoint{} : contents_.points.back();
        AccessPoint point;
        const std::uint64_t distance = reader.number();
        reader.expect(streams_ != nullptr && distance < static_cast<std::uint64_t>(farthest) &&
                      (distance > 0 || contents_.points.empty()));
        point.offset = last.offset + distance;
        point.anchor.position = last.anchor.position + Ticks{reader.ticks()};
        reader.expect(abs(point.anchor.position.time_since_epoch()) < Ticks{farthest});
        point.anchor.stream = (flags & has_stream_time) != 0
                                  ? StreamTime{static_cast<std::int64_t>(reader.number() & (wrap - 1))}
                                  : expected_time(last.anchor, point.anchor.position);
        point.presentation =
            point.anchor.position +
            ((flags & has_reordering) != 0 ? Ticks{reader.ticks()} : velmora::reordering(last));
        point.clean_from = point.presentation +
                           ((flags & has_recovery) != 0 ? Ticks{reader.ticks()} : velmora::recovery(last));
        point.streams = streams_;
        return point;
    }

    static std::optional<ElementaryStream> read_stream(NumberReader& reader, StreamKind kind) {
        if (reader.byte() == 0) {
            return std::nullopt;
        }
        ElementaryStream stream;
        stream.kind = kind;
        stream.pid = static_cast<std::uint16_t>(reader.number());
        stream.type = reader.byte();
        stream.codec = static_cast<AVCodecID>(reader.number());
        stream.opus_channel_config = static_cast<int>(reader.number());
        return stream;
    }

    static StreamSelection read_streams(NumberReader& reader) {
        StreamSelection streams;
        streams.programme = static_cast<std::uint16_t>(reader.number());
        streams.video = read_stream(reader, StreamKind::video);
        streams.audio = read_stream(reader, StreamKind::audio);
        streams.data = read_stream(reader, StreamKind::data);
        reader.expect(!streams.is_empty());
        return streams;
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t at_{0};
    std::uint32_t crc_{crc_of_nothing};
    std::shared_ptr<const StreamSelection> streams_;
    SidecarContents contents_;
};

} // namespace

SidecarEncoder::SidecarEncoder() : bytes_{magic.begin(), magic.end()}, crc_{crc_of_nothing} {
    bytes_.push_back(version);
    put_check();
}

void SidecarEncoder::add(const AccessPoint& point) {
    if (!last_.streams || *last_.streams != *point.streams) {
        add(*point.streams);
    }
    unsigned flags = 0;
    flags |= point.anchor.stream == expected_time(last_.anchor, point.anchor.position) ? 0U : has_stream_time;
    flags |= reordering(point) == reordering(last_) ? 0U : has_reordering;
    flags |= recovery(point) == recovery(last_) ? 0U : has_recovery;
    bytes_.push_back(static_cast<std::uint8_t>(flags));
    put(point.offset - last_.offset);
    put_signed((point.anchor.position - last_.anchor.position).count());
    if ((flags & has_stream_time) != 0) {
        put(static_cast<std::uint64_t>(point.anchor.stream.ticks));
    }
    if ((flags & has_reordering) != 0) {
        put_signed(reordering(point).count());
    }
    if ((flags & has_recovery) != 0) {
        put_signed(recovery(point).count());
    }
    put_check();
    last_ = point;
}

void SidecarEncoder::add(const StreamSelection& streams) {
    bytes_.push_back(streams_record);
    put(streams.programme);
    for (const auto& stream : {streams.video, streams.audio, streams.data}) {
        bytes_.push_back(stream ? 1 : 0);
        if (stream) {
            put(stream->pid);
            bytes_.push_back(stream->type);
            put(static_cast<std::uint64_t>(stream->codec));
            put(static_cast<std::uint64_t>(stream->opus_channel_config));
        }
    }
    put_check();
}

void SidecarEncoder::add(const SidecarExtent& extent) {
    bytes_.push_back(extent_record);
    put(extent.covered);
    put_signed(extent.end.time_since_epoch().count());
    put_signed(extent.last_picture.time_since_epoch().count());
    put_check();
}

std::vector<std::uint8_t> SidecarEncoder::take() {
    checked_ = 0;
    return std::exchange(bytes_, {});
}

void SidecarEncoder::put(std::uint64_t number) {
    while (number >= goes_on) {
        bytes_.push_back(static_cast<std::uint8_t>(number | goes_on));
        number >>= bits_per_byte;
    }
    bytes_.push_back(static_cast<std::uint8_t>(number));
}

/// Small numbers of either sign make small unsigned ones.
void SidecarEncoder::put_signed(std::int64_t number) {
    const auto magnitude = static_cast<std::uint64_t>(number < 0 ? -(number + 1) : number);
    put((magnitude << 1U) | (number < 0 ? 1U : 0U));
}

void SidecarEncoder::put_check() {
    crc_ = mpeg_crc32(std::span{bytes_}.subspan(checked_), crc_);
    bytes_.push_back(static_cast<std::uint8_t>(crc_));
    bytes_.push_back(static_cast<std::uint8_t>(crc_ >> 8U));
    checked_ = bytes_.size();
}

SidecarContents decode_sidecar(std::span<const std::uint8_t> bytes) {
    return Decoder{bytes}.take();
}

} // namespace velmora
