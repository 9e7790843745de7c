// Makes a transport stream of elementary streams.
#pragma once

#include "receive/format_handles.h"
#include "receive/picture_assembler.h"
#include "receive/remux_clock.h"

#include <cstdint>
#include <map>
#include <vector>

namespace velmora {

/// One run of a transport stream: its tables list all streams of a source as it is now. Nothing is held back:
/// what a packet becomes can be taken when write() returns.
class TransportMuxer {
public:
    /// @param source whose streams are muxed, as far as transport streams have a place for them
    /// @param run distinguishes the tables of successive muxers whose packets go to the same place
    /// @throws std::runtime_error when there is nothing to mux
    TransportMuxer(const AVFormatContext& source, unsigned run);

    /// Whether it has a place for this packet, or leaves its stream out on purpose.
    bool knows(const AVPacket& packet) const;
    /// Muxes a packet of the source as it came out of its container. What cannot be muxed is left out with a
    /// line.
    void write(AVPacket& packet, RemuxClock& clock, SteadyTime now);
    /// Units that came damaged so far. In what is made of them the continuity counters tell it.
    std::uint64_t damaged() const { return damaged_; }
    /// The transport packets made since the last call.
    std::vector<std::uint8_t> take_packets();

private:
    struct Track {
        AVRational time_base{}; ///< of the source
        int output{-1};         ///< its stream; -1 = left out
        AVCodecID codec{AV_CODEC_ID_NONE};
        bool is_video{false};
        PictureAssembler assembler{AV_CODEC_ID_NONE};
        DecodingTimes decoding_times{};
        Ticks last_decode{Ticks::min()};
    };

    void add_stream(const AVStream& stream);
    void write_unit(AVPacket& unit, Track& track, RemuxClock& clock, SteadyTime now);
    void shift_counters(std::size_t begin);
    static void stamp(AVPacket& unit, Track& track, RemuxClock& clock, SteadyTime now);
    static int keep(void* self, std::uint8_t* bytes, int size) noexcept;

    std::map<int, Track> tracks_; ///< by the source's stream index
    std::vector<std::uint8_t> packets_;
    std::map<unsigned, unsigned> counter_shifts_; ///< by PID
    std::uint64_t damaged_{0};
    IoContext io_;
    OutputFormat format_;
};

} // namespace velmora
