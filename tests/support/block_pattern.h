/*
 * A picture number drawn into the picture as black and white blocks, and read back after encoding, scaling
 * and showing.
 *
 * The picture is divided into 32 columns and 16 rows of cells. Cells 1 to 24 of row 1 carry the bits of the
 * number, the highest first, white for 1; row 2 carries their inverse, so that what is no pattern, or a
 * mixture of two pictures, does not read as a number. At 320 x 180 a cell still has 10 x 11 pixels.
 */
#ifndef TESTS_SUPPORT_BLOCK_PATTERN_H
#define TESTS_SUPPORT_BLOCK_PATTERN_H

#include <cstddef>
#include <cstdint>
#include <optional>

namespace pattern {

inline constexpr int columns = 32;
inline constexpr int rows = 16;
inline constexpr int first_column = 1;
inline constexpr int bits = 24;
inline constexpr int value_row = 1;
inline constexpr int inverse_row = 2;
inline constexpr std::uint8_t black = 16;
inline constexpr std::uint8_t white = 235;

/** Interleaved 8-bit pixels of somebody else, rows top to bottom; the first three bytes of each are colours.
 */
struct PictureView {
    const std::uint8_t* pixels = nullptr;
    int width = 0;            /* pixels */
    int height = 0;           /* pixels */
    std::ptrdiff_t pitch = 0; /* bytes per row */
    int bytes_per_pixel = 3;  /* 3 for RGB24, 4 for RGB32 */
};

namespace detail {

/** Mean brightness of the middle of a cell, away from edges that scaling smears. */
inline double brightness(const PictureView& picture, int column, int row) {
    const auto part = [](int size, int cells, int cell, int eighths) {
        return (8 * cell + eighths) * size / (8 * cells);
    };
    const int left = part(picture.width, columns, column, 3);
    const int right = part(picture.width, columns, column, 5);
    const int top = part(picture.height, rows, row, 3);
    const int bottom = part(picture.height, rows, row, 5);
    std::int64_t sum = 0;
    std::int64_t samples = 0;
    for (int y = top; y <= bottom && y < picture.height; ++y) {
        for (int x = left; x <= right && x < picture.width; ++x) {
            const std::uint8_t* pixel =
                picture.pixels + y * picture.pitch + static_cast<std::ptrdiff_t>(x) * picture.bytes_per_pixel;
            sum += pixel[0] + pixel[1] + pixel[2];
            samples += 3;
        }
    }
    return samples == 0 ? 0.0 : static_cast<double>(sum) / static_cast<double>(samples);
}

} // namespace detail

/** The number drawn into the picture; nothing when no pattern can be read. */
inline std::optional<std::uint32_t> read_number(const PictureView& picture) {
    constexpr double least_contrast = 80;
    std::uint32_t number = 0;
    for (int bit = 0; bit < bits; ++bit) {
        const double contrast = detail::brightness(picture, first_column + bit, value_row) -
                                detail::brightness(picture, first_column + bit, inverse_row);
        if (contrast < least_contrast && contrast > -least_contrast) {
            return std::nullopt;
        }
        number = (number << 1U) | (contrast > 0 ? 1U : 0U);
    }
    return number;
}

/** Draws a number into a luma plane (limited range); the chroma under the pattern should be neutral. */
inline void draw_number(std::uint8_t* luma, int width, int height, std::ptrdiff_t pitch,
                        std::uint32_t number) {
    for (int row = value_row; row <= inverse_row; ++row) {
        for (int y = row * height / rows; y < (row + 1) * height / rows; ++y) {
            for (int x = first_column * width / columns; x < (first_column + bits) * width / columns; ++x) {
                const int bit = bits - 1 - (x * columns / width - first_column);
                const bool set = bit >= 0 && bit < bits && ((number >> static_cast<unsigned>(bit)) & 1U) != 0;
                luma[y * pitch + x] = set == (row == value_row) ? white : black;
            }
        }
    }
}

} // namespace pattern

#endif
