#include "live/live_stream.h"

#include "support/pcr_schedule.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

constexpr std::size_t packet_size = 188;
constexpr int seconds_once = 10;

/** Megabits for ffmpeg. */
std::string megabits_text(double megabits) {
    return std::to_string(static_cast<int>(megabits * 1000)) + "k";
}

} // namespace

LiveRecipe live_full_hd(int megabits) {
    constexpr double overhead = 1.1; // of packets and tables, and room for the rate to waver
    constexpr double sound = 0.2;
    return {.once = full_hd("h264", std::to_string(megabits) + "M", 50, seconds_once),
            .mux_rate = megabits_text(megabits * overhead + sound)};
}

LiveRecipe live_low_delay() {
    return {.once = {.codec = "h264",
                     .width = 1280,
                     .height = 720,
                     .fps = 25,
                     .gop = 50,
                     .bframes = 0,
                     .bitrate = "4M",
                     .duration = seconds_once,
                     .video_options = "-tune zerolatency -bufsize 200k"},
            .mux_rate = "4800k"};
}

LiveFile::LiveFile(const LiveRecipe& recipe, int seconds, const std::filesystem::path& scratch)
    : m_shown(make_numbered_stream(recipe.once)),
      m_repeated(m_shown, (seconds + seconds_once - 1) / seconds_once, scratch,
                 "-muxrate " + recipe.mux_rate) {}

std::vector<std::uint8_t> read_file(const std::filesystem::path& file) {
    std::vector<std::uint8_t> bytes(std::filesystem::file_size(file));
    std::ifstream input(file, std::ios::binary);
    input.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

LiveStream::LiveStream(const LiveFile& file)
    : m_shown(file.shown()), m_bytes(read_file(file.path())), m_pictures(coded_pictures(m_bytes)),
      m_schedule(pcr_schedule(m_bytes)) {
    if (m_pictures.empty() || m_pictures.size() % m_shown.count != 0) {
        throw std::runtime_error("pictures were lost while a stream was repeated");
    }
}

std::chrono::nanoseconds LiveStream::departure(std::size_t byte) const {
    return m_schedule[byte / packet_size];
}

const CodedPicture& LiveStream::second_key_picture() const {
    const auto key = std::find_if(std::next(m_pictures.begin()), m_pictures.end(),
                                  [](const CodedPicture& picture) { return picture.is_key; });
    if (key == m_pictures.end()) {
        throw std::runtime_error("the stream has one key picture only");
    }
    return *key;
}

std::size_t LiveStream::before(const CodedPicture& picture, Milliseconds distance) const {
    const auto begin = std::ranges::lower_bound(m_schedule, departure(picture.begin) - distance);
    return static_cast<std::size_t>(begin - m_schedule.begin()) * packet_size;
}

Milliseconds LiveStream::least_even_delay() const {
    std::vector<Milliseconds> behind; // a picture's last packet its own time stamp
    behind.reserve(m_pictures.size());
    for (const CodedPicture& picture : m_pictures) {
        behind.push_back(Milliseconds(departure(picture.end)) -
                         std::chrono::duration<double>(picture.presentation));
    }
    std::ranges::sort(behind);
    return behind.back() - behind[behind.size() / 2];
}
