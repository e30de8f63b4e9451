// ITU-T G.711 from its rules. Linear values are in 16-bit units.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace pcm::g711 {

/// A-law code, sign bit clear, of the magnitude 8 * i.
constexpr uint8_t AlawCode(unsigned i)
{
    i = std::min(i, 4095u);
    const unsigned segment = i < 32 ? 0 : static_cast<unsigned>(std::bit_width(i)) - 5;
    const unsigned step = (i >> std::max(segment, 1u)) & 0x0F;
    return static_cast<uint8_t>((segment << 4 | step) ^ 0x55);
}

/// Mu-law code, sign bit clear, of the magnitude 8 * i.
constexpr uint8_t MulawCode(unsigned i)
{
    const unsigned biased = std::min(2 * i, 8159u) + 33;
    if (biased >= 8192)
        return 0;
    const unsigned segment = static_cast<unsigned>(std::bit_width(biased)) - 6;
    const unsigned step = (biased >> (segment + 1)) & 0x0F;
    return static_cast<uint8_t>(~(segment << 4 | step) & 0x7F);
}

/// The middle of an A-law code's interval.
constexpr int16_t AlawValue(unsigned code)
{
    const unsigned bits = code ^ 0x55, segment = (bits >> 4) & 7, step = bits & 0x0F;
    const int magnitude = static_cast<int>(segment ? ((step << 4) + 0x108) << (segment - 1) : (step << 4) + 8);
    return static_cast<int16_t>(bits & 0x80 ? magnitude : -magnitude);
}

/// The value of a mu-law code; above the lowest segment 4 below that of the recommendation.
constexpr int16_t MulawValue(unsigned code)
{
    const unsigned bits = ~code & 0xFF, segment = (bits >> 4) & 7, step = bits & 0x0F;
    const int magnitude = static_cast<int>(((step << 3) + 132) << segment) - 132;
    return static_cast<int16_t>((bits & 0x80 ? -magnitude : magnitude) - (segment ? 4 : 0));
}

/// The bits of the samples that the codes stand for.
template <class Value> constexpr std::array<uint32_t, 256> SampleBits(Value value)
{
    std::array<uint32_t, 256> bits{};
    for (unsigned code = 0; code < 256; ++code)
        bits[code] = std::bit_cast<uint32_t>(static_cast<float>(value(code)) * 0x1p-15f);
    return bits;
}

/// Where a code stands in SignedCodes: the code of a negative sample by its magnitude / 8, the others behind them.
constexpr int kPositive = 4097;

/// The codes with their sign bits.
template <class Code> constexpr std::array<uint8_t, 2 * kPositive> SignedCodes(Code code)
{
    std::array<uint8_t, 2 * kPositive> codes{};
    for (unsigned i = 0; i < kPositive; ++i) {
        codes[i] = code(i);
        codes[kPositive + i] = code(i) | 0x80;
    }
    return codes;
}

inline constexpr std::array<uint8_t, 2 *kPositive> kAlawCodes = SignedCodes(AlawCode);
inline constexpr std::array<uint8_t, 2 *kPositive> kMulawCodes = SignedCodes(MulawCode);
inline constexpr std::array<uint32_t, 256> kAlawSamples = SampleBits(AlawValue);
inline constexpr std::array<uint32_t, 256> kMulawSamples = SampleBits(MulawValue);

} // namespace pcm::g711
