/*
 * A picture number drawn into the picture as black and white blocks, and read back after encoding, scaling
 * and showing.
 *
 * The picture is divided into 32 columns and 16 rows of cells. Cells 1 to 26 of row 1 carry a 1, the 24 bits
 * of the number, the highest first, and a 0, white for 1; row 2 carries their inverse, so that what is no
 * pattern, a mixture of two pictures or the rim of a picture does not read as a number. At 320 x 180 a cell
 * still has 10 x 11 pixels.
 */
#ifndef TESTS_SUPPORT_BLOCK_PATTERN_H
#define TESTS_SUPPORT_BLOCK_PATTERN_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace pattern {

inline constexpr int columns = 32;
inline constexpr int rows = 16;
inline constexpr int first_column = 1;
inline constexpr int bits = 24;
inline constexpr int cells = bits + 2; /* of a row: the number between a 1 and a 0 */
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
    std::uint32_t code = 0;
    for (int cell = 0; cell < cells; ++cell) {
        const double contrast = detail::brightness(picture, first_column + cell, value_row) -
                                detail::brightness(picture, first_column + cell, inverse_row);
        if (contrast < least_contrast && contrast > -least_contrast) {
            return std::nullopt;
        }
        code = (code << 1U) | (contrast > 0 ? 1U : 0U);
    }
    const bool framed = code >> (bits + 1U) == 1U && (code & 1U) == 0U;
    return framed ? std::optional((code >> 1U) & ((1U << bits) - 1U)) : std::nullopt;
}

/** Draws a number into a luma plane (limited range); the chroma under the pattern should be neutral. */
inline void draw_number(std::uint8_t* luma, int width, int height, std::ptrdiff_t pitch,
                        std::uint32_t number) {
    const std::uint32_t code = (1U << (bits + 1U)) | (number << 1U);
    for (int row = value_row; row <= inverse_row; ++row) {
        for (int y = row * height / rows; y < (row + 1) * height / rows; ++y) {
            for (int cell = 0; cell < cells; ++cell) {
                const bool set = ((code >> static_cast<unsigned>(cells - 1 - cell)) & 1U) != 0;
                const int left = (first_column + cell) * width / columns;
                const int right = (first_column + cell + 1) * width / columns;
                std::uint8_t* pixels = luma + y * pitch;
                std::fill(pixels + left, pixels + right, set == (row == value_row) ? white : black);
            }
        }
    }
}

} // namespace pattern

#endif
