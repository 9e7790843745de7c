#include "ts/access_point.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <optional>

namespace velmora {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Index of the byte behind the next 00 00 01, from `from` on.
std::optional<std::size_t> behind_start_code(Bytes bytes, std::size_t from) {
    std::size_t at = from + 2;
    while (at < bytes.size()) {
        const auto* const one =
            static_cast<const std::uint8_t*>(std::memchr(bytes.data() + at, 1, bytes.size() - at));
        if (one == nullptr) {
            return std::nullopt;
        }
        at = static_cast<std::size_t>(one - bytes.data());
        if (bytes[at - 1] == 0 && bytes[at - 2] == 0) {
            return at + 1;
        }
        ++at;
    }
    return std::nullopt;
}

/// An unsigned Exp-Golomb number (ITU-T H.264 9.1) at the start of bytes.
int read_exp_golomb(Bytes bytes) {
    const auto bit = [&](std::size_t i) -> unsigned {
        return i / 8 < bytes.size() ? (static_cast<unsigned>(bytes[i / 8]) >> (7 - i % 8)) & 1U : 1U;
    };
    std::size_t zeros = 0;
    while (zeros < 16 && bit(zeros) == 0) {
        ++zeros;
    }
    unsigned value = 0;
    for (std::size_t i = 0; i <= zeros; ++i) {
        value = (value << 1U) | bit(zeros + i);
    }
    return static_cast<int>(value - 1);
}

constexpr unsigned recovery_point_payload = 6;

/// recovery_frame_cnt of a recovery point message in an SEI unit, if it has one.
/// @param needs_more set when the unit ends before its messages do
std::optional<int> recovery_frames_of_sei(Bytes sei, bool& needs_more) {
    std::size_t at = 0;
    const auto read_sum = [&]() -> std::optional<std::size_t> {
        std::size_t sum = 0;
        while (at < sei.size()) {
            const std::uint8_t byte = sei[at++];
            sum += byte;
            if (byte != 0xFF) {
                return sum;
            }
        }
        return std::nullopt;
    };
    while (at < sei.size() && sei[at] != 0x80) {
        const auto type = read_sum();
        const auto size = read_sum();
        if (!type || !size || at + *size > sei.size()) {
            needs_more = true;
            return std::nullopt;
        }
        if (*type == recovery_point_payload) {
            return read_exp_golomb(sei.subspan(at, *size));
        }
        at += *size;
    }
    return std::nullopt;
}

AccessPointResult find_in_h264(Bytes bytes) {
    AccessPointResult result;
    std::optional<int> recovery;
    std::size_t from = 0;
    while (const auto nal = behind_start_code(bytes, from)) {
        if (*nal >= bytes.size()) {
            return result;
        }
        const unsigned type = bytes[*nal] & 0x1FU;
        if (type == 5) {
            return {AccessPointVerdict::point, 0};
        }
        if (type >= 1 && type <= 4) {
            return recovery ? AccessPointResult{AccessPointVerdict::point, *recovery}
                            : AccessPointResult{AccessPointVerdict::none, 0};
        }
        if (type == 6 && !recovery) {
            const auto next = behind_start_code(bytes, *nal);
            const std::size_t end = next ? *next - 3 : bytes.size();
            bool needs_more = false;
            recovery = recovery_frames_of_sei(bytes.subspan(*nal + 1, end - *nal - 1), needs_more);
            if (needs_more && !next) {
                return result;
            }
        }
        from = *nal;
    }
    return result;
}

AccessPointResult find_in_hevc(Bytes bytes) {
    std::size_t from = 0;
    while (const auto nal = behind_start_code(bytes, from)) {
        if (*nal >= bytes.size()) {
            break;
        }
        const unsigned type = (bytes[*nal] >> 1U) & 0x3FU;
        if (type < 32) {
            const bool is_irap = type >= 16 && type <= 23;
            return {is_irap ? AccessPointVerdict::point : AccessPointVerdict::none, 0};
        }
        from = *nal;
    }
    return {};
}

AccessPointResult find_in_mpeg2(Bytes bytes) {
    constexpr std::uint8_t picture_start_code = 0x00;
    constexpr std::uint8_t sequence_header_code = 0xB3;
    constexpr unsigned intra_picture = 1;
    std::size_t from = 0;
    while (const auto code = behind_start_code(bytes, from)) {
        if (*code >= bytes.size()) {
            break;
        }
        if (bytes[*code] == sequence_header_code) {
            return {AccessPointVerdict::point, 0};
        }
        if (bytes[*code] == picture_start_code) {
            if (*code + 2 >= bytes.size()) {
                break;
            }
            const unsigned coding_type = (bytes[*code + 2] >> 3U) & 0x07U;
            return {coding_type == intra_picture ? AccessPointVerdict::point : AccessPointVerdict::none, 0};
        }
        from = *code;
    }
    return {};
}

using Verdict = AccessPointVerdict;

/// What the byte behind a start code, and those behind it, say of a unit; undecided where they say nothing.
using StartCodeMeaning = Verdict (*)(Bytes bytes);

AccessPointResult find_by_start_codes(Bytes bytes, StartCodeMeaning meaning) {
    std::size_t from = 0;
    while (const auto code = behind_start_code(bytes, from)) {
        if (*code + 1 >= bytes.size()) {
            break;
        }
        if (const Verdict verdict = meaning(bytes.subspan(*code)); verdict != Verdict::undecided) {
            return {verdict, 0};
        }
        from = *code;
    }
    return {};
}

/// ISO/IEC 14496-2, 6.2.5: the coding type of a VOP.
Verdict meaning_in_mpeg4(Bytes bytes) {
    constexpr std::uint8_t vop_start_code = 0xB6;
    if (bytes[0] != vop_start_code) {
        return Verdict::undecided;
    }
    return bytes[1] >> 6U == 0 ? Verdict::point : Verdict::none;
}

/// SMPTE ST 421, annex E: a sequence header or entry point in front of a frame.
Verdict meaning_in_vc1(Bytes bytes) {
    return bytes[0] == 0x0F || bytes[0] == 0x0E ? Verdict::point
           : bytes[0] == 0x0D                   ? Verdict::none
                                                : Verdict::undecided;
}

/// GB/T 20090.2, 7.1: a sequence header or an I picture.
Verdict meaning_in_cavs(Bytes bytes) {
    return bytes[0] == 0xB0 || bytes[0] == 0xB3 ? Verdict::point
           : bytes[0] == 0xB6                   ? Verdict::none
                                                : Verdict::undecided;
}

/// ITU-T H.263, 5.1.3 and 5.1.4: the coding type in PTYPE, or in MPPTYPE where that is extended.
AccessPointResult find_in_h263(Bytes bytes) {
    constexpr std::size_t extended_header = 8;
    if (bytes.size() < extended_header) {
        return {};
    }
    constexpr unsigned extended = 7;
    if ((bytes[4] >> 2U & 7U) != extended) {
        return {(bytes[4] & 0x02U) == 0 ? Verdict::point : Verdict::none, 0};
    }
    const unsigned update = (bytes[4] & 0x03U) << 1U | bytes[5] >> 7U;
    // OPPTYPE, 18 bits, is there only where it is updated.
    const unsigned type = update == 1 ? bytes[7] >> 2U & 7U : bytes[5] >> 4U & 7U;
    return {type == 0 ? Verdict::point : Verdict::none, 0};
}

/// Dirac, 9.6: parse units, each behind its prefix.
AccessPointResult find_in_dirac(Bytes bytes) {
    constexpr std::array<std::uint8_t, 4> prefix{'B', 'B', 'C', 'D'};
    constexpr unsigned is_picture = 0x08;
    constexpr unsigned references = 0x03;
    for (auto at = bytes.begin();;) {
        at = std::search(at, bytes.end(), prefix.begin(), prefix.end());
        if (bytes.end() - at <= std::ssize(prefix)) {
            return {};
        }
        at += std::ssize(prefix);
        if (*at == 0) { // a sequence header
            return {Verdict::point, 0};
        }
        if ((*at & is_picture) != 0) {
            return {(*at & references) == 0 ? Verdict::point : Verdict::none, 0};
        }
    }
}

} // namespace

AccessPointResult find_access_point(AVCodecID codec, std::span<const std::uint8_t> bytes, bool is_whole) {
    AccessPointResult result;
    switch (codec) {
    case AV_CODEC_ID_H264:
        result = find_in_h264(bytes);
        break;
    case AV_CODEC_ID_HEVC:
        result = find_in_hevc(bytes);
        break;
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
        result = find_in_mpeg2(bytes);
        break;
    case AV_CODEC_ID_MPEG4:
        result = find_by_start_codes(bytes, meaning_in_mpeg4);
        break;
    case AV_CODEC_ID_H263:
        result = find_in_h263(bytes);
        break;
    case AV_CODEC_ID_VC1:
        result = find_by_start_codes(bytes, meaning_in_vc1);
        break;
    case AV_CODEC_ID_CAVS:
        result = find_by_start_codes(bytes, meaning_in_cavs);
        break;
    case AV_CODEC_ID_DIRAC:
        result = find_in_dirac(bytes);
        break;
    default:
        result.verdict = AccessPointVerdict::point;
        break;
    }
    if (is_whole && result.verdict == AccessPointVerdict::undecided) {
        result.verdict = AccessPointVerdict::none;
    }
    return result;
}

} // namespace velmora
