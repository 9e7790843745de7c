/*
 * The picture of a virtual display, mapped from its framebuffer file.
 */
#ifndef BENCH_PLAYERS_FRAMEBUFFER_H
#define BENCH_PLAYERS_FRAMEBUFFER_H

#include "support/block_pattern.h"

#include <cstdint>
#include <filesystem>
#include <span>

/** A rectangle of the screen, pixels. */
struct Rectangle {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

class Framebuffer {
public:
    /** Maps the file that the display server keeps in `directory`. */
    explicit Framebuffer(const std::filesystem::path& directory);
    ~Framebuffer();
    Framebuffer(const Framebuffer&) = delete;
    Framebuffer& operator=(const Framebuffer&) = delete;

    /** The part of the screen inside the rectangle, as it is at every moment. */
    pattern::PictureView view(const Rectangle& part) const;

private:
    std::span<const std::uint8_t> m_file;
    std::size_t m_pixels = 0; /* offset of the first pixel */
    int m_width = 0;
    int m_height = 0;
    int m_pitch = 0; /* bytes per row */
};

#endif
