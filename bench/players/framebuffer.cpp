#include "players/framebuffer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/** Words of the window dump header, big-endian, that matter here. */
enum HeaderWord {
    header_size = 0,
    width = 4,
    height = 5,
    bits_per_pixel = 11,
    bytes_per_line = 12,
    colours = 19
};

constexpr std::size_t bytes_per_colour = 12;
constexpr int bytes_per_pixel = 4;

std::uint32_t word(std::span<const std::uint8_t> file, HeaderWord index) {
    std::uint32_t value = 0;
    std::memcpy(&value, file.data() + index * sizeof(value), sizeof(value));
    return ntohl(value);
}

} // namespace

Framebuffer::Framebuffer(const std::filesystem::path& directory) {
    const int file = open((directory / "Xvfb_screen0").c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) {
        throw std::runtime_error("no framebuffer file in " + directory.string());
    }
    const auto bytes = static_cast<std::size_t>(status.st_size);
    void* address = mmap(nullptr, bytes, PROT_READ, MAP_SHARED, file, 0);
    close(file);
    if (address == MAP_FAILED) {
        throw std::runtime_error("the framebuffer file cannot be mapped");
    }
    m_file = {static_cast<const std::uint8_t*>(address), bytes};
    if (word(m_file, bits_per_pixel) != 8 * bytes_per_pixel) {
        throw std::runtime_error("the display has no 32 bits per pixel");
    }
    m_pixels = word(m_file, header_size) + word(m_file, colours) * bytes_per_colour;
    m_width = static_cast<int>(word(m_file, width));
    m_height = static_cast<int>(word(m_file, height));
    m_pitch = static_cast<int>(word(m_file, bytes_per_line));
}

Framebuffer::~Framebuffer() {
    munmap(const_cast<std::uint8_t*>(m_file.data()), m_file.size());
}

pattern::PictureView Framebuffer::view(const Rectangle& part) const {
    const int x = std::clamp(part.x, 0, m_width);
    const int y = std::clamp(part.y, 0, m_height);
    const auto offset = m_pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_pitch) +
                        static_cast<std::size_t>(x) * bytes_per_pixel;
    return {.pixels = m_file.data() + offset,
            .width = std::clamp(part.width, 0, m_width - x),
            .height = std::clamp(part.height, 0, m_height - y),
            .pitch = m_pitch,
            .bytes_per_pixel = bytes_per_pixel};
}
