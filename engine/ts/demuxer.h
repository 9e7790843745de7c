// Takes the selected programme of a transport stream apart into PES packets.
#pragma once

#include "ts/continuity.h"
#include "ts/pes.h"
#include "ts/scrambling_watch.h"
#include "ts/stream_selection.h"
#include "ts/ts_packet.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <variant>

namespace velmora {

/// The selection changed: what follows belongs to these streams.
struct StreamsChanged {
    StreamSelection selection;
    std::optional<std::uint16_t> clock_pid{}; ///< where its clock references come
};

/// A PES packet of a selected stream.
struct DemuxedPes {
    StreamKind kind{StreamKind::unknown};
    bool discontinuity_indicated{false}; ///< the stream announced a jump of its time stamps in front of it
    bool follows_scrambled{false};       ///< what is in front of it could not be read
    PesPacket pes;
};

using DemuxEvent = std::variant<StreamsChanged, DemuxedPes>;

/// Fed with packets in order, does no input or output of its own.
class Demuxer {
public:
    /// Hands units out as soon as they seem complete, for a stream that is live.
    void hand_out_early() {
        is_early_ = true;
        chooser_.take_first_there();
    }
    /// See ProgrammeChooser::tell_of_unknown.
    void tell_of_unknown(ProgrammeChooser::StreamSink sink) { chooser_.tell_of_unknown(std::move(sink)); }
    void feed(const TsPacket& packet);
    /// The next event, in stream order.
    std::optional<DemuxEvent> next();
    /// Hands out the units in progress at the end of the stream.
    void finish();
    /// What has come of the payload of the video's PES packet in progress; valid until the next call.
    std::span<const std::uint8_t> video_in_progress() const;
    /// Drops units in progress before a jump in the stream.
    /// @param selection what is in force behind the jump, if it is known; else the present one stays
    void restart(const StreamSelection* selection);

    /// The video, or the sound where there is none, has come scrambled for half a second and nothing of it
    /// clear.
    bool is_scrambled() const;
    const std::optional<StreamSelection>& selection() const { return chooser_.selection(); }
    /// Continuity errors of the selected streams so far.
    std::uint64_t continuity_errors() const { return continuity_errors_; }

private:
    struct Track {
        StreamKind kind{StreamKind::unknown};
        std::uint16_t pid{0};
        PesAssembler assembler{};
        std::uint64_t last_tail{0}; ///< the last bytes of its last packet
        bool is_broken{false};      ///< something of it is missing in front of what comes next
        bool was_scrambled{false};  ///< since the last unit
    };

    void select();
    void emit(Track& track, std::optional<PesPacket> pes);
    Track* track_of(std::uint16_t pid);

    ProgrammeChooser chooser_;
    ContinuityWatch continuity_;
    ScramblingWatch scrambling_;
    std::vector<Track> tracks_;
    std::deque<DemuxEvent> events_;
    std::uint64_t continuity_errors_{0};
    bool discontinuity_indicated_{false};
    bool is_early_{false};
};

} // namespace velmora
