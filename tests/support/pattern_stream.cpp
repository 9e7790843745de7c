/*
 * Writes raw pictures (8-bit planar 4:2:0) to standard output: a moving texture under temporal noise, like
 * camera material, with the picture's number as a block pattern.
 *
 *     pattern_stream WIDTH HEIGHT PICTURES [FIRST_NUMBER]
 */
#include "support/block_pattern.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <random>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

constexpr int noise_amplitude = 6;
constexpr std::uint8_t neutral_chroma = 128;

/** A plane of samples that is larger than the picture, so that a window of it can move about. */
struct Texture {
    int width;
    int height;
    std::vector<std::uint8_t> samples;

    const std::uint8_t* row(int y) const { return samples.data() + static_cast<std::ptrdiff_t>(y) * width; }
};

constexpr int margin = 256;

Texture make_texture(int width, int height, double period) {
    Texture texture{.width = width + margin, .height = height + margin, .samples = {}};
    texture.samples.reserve(static_cast<std::size_t>(texture.width) *
                            static_cast<std::size_t>(texture.height));
    for (int y = 0; y < texture.height; ++y) {
        for (int x = 0; x < texture.width; ++x) {
            const double wave =
                std::sin(x / period) + std::sin(y / (period * 0.7)) + std::sin((x + y) / (period * 0.3));
            texture.samples.push_back(static_cast<std::uint8_t>(128 + 25 * wave));
        }
    }
    return texture;
}

Texture make_noise(int width, int height) {
    Texture texture{.width = width + margin, .height = height + margin, .samples = {}};
    texture.samples.resize(static_cast<std::size_t>(texture.width) *
                           static_cast<std::size_t>(texture.height));
    std::mt19937 random(1); // the same stream every time
    std::ranges::generate(texture.samples,
                          [&] { return static_cast<std::uint8_t>(random() % (2 * noise_amplitude + 1)); });
    return texture;
}

class PictureSource {
public:
    PictureSource(int width, int height)
        : m_width(width), m_height(height), m_luma_texture(make_texture(width, height, 40)),
          m_chroma_texture(make_texture(chroma(width), chroma(height), 90)),
          m_noise(make_noise(width, height)), m_luma(samples(width, height)),
          m_chroma(samples(chroma(width), chroma(height))) {}

    bool write(std::uint32_t number, std::FILE* output) {
        const int shift = static_cast<int>(number % margin);
        const int noise_x = static_cast<int>(m_random() % margin);
        const int noise_y = static_cast<int>(m_random() % margin);
        for (int y = 0; y < m_height; ++y) {
            const std::uint8_t* texture = m_luma_texture.row(y + shift) + shift;
            const std::uint8_t* noise = m_noise.row(y + noise_y) + noise_x;
            std::uint8_t* target = m_luma.data() + static_cast<std::ptrdiff_t>(y) * m_width;
            for (int x = 0; x < m_width; ++x) {
                target[x] = static_cast<std::uint8_t>(texture[x] + noise[x] - noise_amplitude);
            }
        }
        pattern::draw_number(m_luma.data(), m_width, m_height, m_width, number);
        return put(m_luma, output) && write_chroma(shift, output) && write_chroma(margin - 1 - shift, output);
    }

private:
    static int chroma(int size) { return (size + 1) / 2; }

    static std::size_t samples(int width, int height) {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }

    static bool put(std::span<const std::uint8_t> plane, std::FILE* output) {
        return std::fwrite(plane.data(), 1, plane.size(), output) == plane.size();
    }

    bool write_chroma(int shift, std::FILE* output) {
        const int width = chroma(m_width);
        const int height = chroma(m_height);
        const int pattern_end = (pattern::inverse_row + 1) * height / pattern::rows + 1;
        for (int y = 0; y < height; ++y) {
            std::uint8_t* target = m_chroma.data() + static_cast<std::ptrdiff_t>(y) * width;
            if (y < pattern_end) {
                std::fill_n(target, width, neutral_chroma);
            } else {
                std::copy_n(m_chroma_texture.row(y + shift) + shift, width, target);
            }
        }
        return put(m_chroma, output);
    }

    int m_width;
    int m_height;
    Texture m_luma_texture;
    Texture m_chroma_texture;
    Texture m_noise;
    std::vector<std::uint8_t> m_luma;
    std::vector<std::uint8_t> m_chroma;
    std::mt19937 m_random{2};
};

std::optional<int> parse(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < 0) {
        return std::nullopt;
    }
    return value;
}

} // namespace

int main(int argc, char** argv) {
    const std::span arguments(argv, static_cast<std::size_t>(argc));
    std::vector<int> numbers;
    for (const char* argument : arguments.subspan(1)) {
        if (const auto number = parse(argument)) {
            numbers.push_back(*number);
        }
    }
    const bool complete =
        numbers.size() == arguments.size() - 1 && (numbers.size() == 3 || numbers.size() == 4);
    if (!complete || numbers[0] == 0 || numbers[1] == 0) {
        std::fputs("usage: pattern_stream WIDTH HEIGHT PICTURES [FIRST_NUMBER]\n", stderr);
        return 2;
    }
    const int first = numbers.size() == 4 ? numbers[3] : 0;
    PictureSource source(numbers[0], numbers[1]);
    for (int picture = 0; picture < numbers[2]; ++picture) {
        if (!source.write(static_cast<std::uint32_t>(first + picture), stdout)) {
            return 1;
        }
    }
    return 0;
}
