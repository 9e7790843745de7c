// Chooses which programme of a transport stream is played, and which of its streams.
#pragma once

#include "ts/elementary_stream.h"
#include "ts/programme_tables.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace velmora {

/// The streams that are played: the first of each kind that the engine can decode.
struct StreamSelection {
    std::uint16_t programme{0};
    std::optional<ElementaryStream> video;
    std::optional<ElementaryStream> audio;
    std::optional<ElementaryStream> data;

    bool is_playable() const { return video.has_value() || audio.has_value(); }
    bool is_empty() const { return !is_playable() && !data; }
    /// The stream whose units make the timeline; of what is not empty.
    const ElementaryStream& leading() const { return video ? *video : audio ? *audio : *data; }

    bool operator==(const StreamSelection&) const = default;
};

/// What of a programme is played.
StreamSelection select_streams(const Programme& programme);

/// Follows the tables of a stream and settles on the first programme that is playable and really sent in the
/// clear, or on the first one with data where none is playable. Video that is not sent is left out until it
/// is.
class ProgrammeChooser {
public:
    /// For a stream that is live: does not wait for programmes that the tables name earlier, once the key
    /// picture of another one has begun.
    void take_first_there() { takes_first_there_ = true; }
    using StreamSink = std::function<void(const ElementaryStream&)>;
    /// Tells of each stream that may be playable but is of no known kind, once.
    void tell_of_unknown(StreamSink sink) { on_unknown_ = std::move(sink); }
    /// @return true when the selection changed
    bool feed(const TsPacket& packet);
    /// Nothing while no playable programme is known.
    const std::optional<StreamSelection>& selection() const { return selection_; }
    /// Where the clock references of the selected programme come (PCR_PID of its PMT).
    std::optional<std::uint16_t> clock_pid() const;
    /// PIDs of the leading stream of what is played, as announced; of all that may be while nothing is.
    std::vector<std::uint16_t> wanted() const;
    /// Drops sections in progress, before a jump in the stream.
    /// @param selection what is in force behind the jump, if it is known
    /// @return true when the selection changed
    bool restart(const StreamSelection* selection);
    /// Waits no longer for what may still come.
    /// @return true when the selection changed
    bool settle() { return choose_among_seen(false); }
    /// There is a selection, and units of it came before it was made.
    bool has_waited() const;

private:
    std::vector<Programme> programmes() const;
    bool recognise(const TsPacket& packet);
    bool is_there(const TsPacket& packet) const;
    bool choose_among_seen(bool may_wait);
    bool choose_data();
    bool follow_tables();
    bool adopt(const StreamSelection& selection);
    int units_seen(const std::optional<ElementaryStream>& stream) const;

    void tell_of_unknown_in_tables();

    ProgrammeTables tables_;
    StreamSink on_unknown_;
    std::set<std::pair<std::uint16_t, std::uint8_t>> told_; ///< PIDs with their stream types
    std::map<std::uint16_t, AVCodecID> recognised_;         ///< video that the tables do not describe, by PID
    std::map<std::uint16_t, int> units_;                    ///< how many units began on each PID in the clear
    std::set<std::uint16_t> scrambled_;                     ///< PIDs
    std::optional<StreamSelection> selection_;
    std::optional<StreamSelection>
        with_video_;           ///< the selected programme as announced, while its video is not sent
    std::uint64_t packets_{0}; ///< since the tables changed
    bool takes_first_there_{false};
    bool is_confirmed_{false}; ///< units of the selected leading stream were seen
};

} // namespace velmora
