// ITU-T G.711 from its rules. Linear values are in 16-bit units.
#pragma once

#include <algorithm>
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

} // namespace pcm::g711
