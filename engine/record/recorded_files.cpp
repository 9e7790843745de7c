#include "record/recorded_files.h"

#include "record/recording_name.h"

#include <ctime>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;
using std::chrono::duration_cast;
using std::chrono::seconds;

void remove_recording(const std::string& path) {
    for (const char* const beside : {"", ".idx", ".tags"}) {
        ::unlink((path + beside).c_str());
    }
}

} // namespace

RecordedFiles::RecordedFiles(RecorderSetup setup) : setup_{std::move(setup)}, recording_{make_recording()} {
    if (setup_.cycle > 0s) {
        cutter_ = std::make_unique<CycleCutter>();
    }
}

std::unique_ptr<Recording> RecordedFiles::make_recording() {
    ++files_;
    const bool is_named = setup_.latin1_name && !setup_.latin1_name->empty();
    // A later file never takes the name of one that was deleted: who looks at it would find another one.
    return std::make_unique<Recording>(setup_.latin1_directory,
                                       is_named ? *setup_.latin1_name : recording_name(std::time(nullptr)),
                                       setup_.writes_index, is_named ? files_ : 1);
}

void RecordedFiles::write(std::span<const std::uint8_t> packets, SteadyTime first, SteadyTime last) {
    first_arrival_ = first_arrival_.value_or(first);
    last_arrival_ = last;
    if (!cutter_) {
        recording_->write(packets);
        return;
    }
    cutter_->feed(packets);
    try {
        write_cyclic();
    } catch (const RecordingError&) {
        cutter_.reset();
        throw;
    }
}

void RecordedFiles::write_cyclic() {
    CycleCutter::Piece piece;
    do {
        piece = cutter_->take();
        if (!piece.packets.empty()) {
            recording_->write(piece.packets);
        }
        // A stream without access points is cut anywhere, since the disk must not fill.
        if (length() >= (piece.ends_at_access_point ? setup_.cycle : 2 * setup_.cycle)) {
            begin_next();
        }
    } while (piece.ends_at_access_point);
}

void RecordedFiles::begin_next() {
    finished_length_ += length();
    recording_->finish();
    if (!previous_path_.empty()) {
        remove_recording(previous_path_);
    }
    previous_path_ = recording_->path();
    recording_ = make_recording();
    first_arrival_ = last_arrival_;
    recording_->write(cutter_->tables());
}

void RecordedFiles::finish() {
    if (const auto cutter = std::move(cutter_)) {
        try {
            recording_->write(cutter->take_rest());
        } catch (const RecordingError&) {
            recording_->finish();
            throw;
        }
    }
    recording_->finish();
}

seconds RecordedFiles::length() const {
    const Position end = recording_->extent().end;
    if (end > Position{}) {
        return duration_cast<seconds>(end.time_since_epoch());
    }
    return first_arrival_ ? duration_cast<seconds>(last_arrival_ - *first_arrival_) : 0s;
}

seconds RecordedFiles::last_second() const {
    const IndexExtent extent = recording_->extent();
    return extent.end > Position{} ? duration_cast<seconds>(extent.last_picture.time_since_epoch())
                                   : length();
}

} // namespace velmora
