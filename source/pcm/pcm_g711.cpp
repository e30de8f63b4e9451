// The tables of ITU-T G.711 from its rules. Linear values are in 16-bit units.
#include "pcm_c_array.h"

#include <pcm/pcm_convert.h>

#include <algorithm>
#include <bit>
#include <cstdint>

namespace {

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
    const unsigned biased = std::min(2 * i + 33, 8191u);
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

/// The values of a rule for 0, 1, 2 ...
template <std::size_t kCount, class Value> constexpr auto Table(Value (*rule)(unsigned))
{
    std::array<Value, kCount> table{};
    for (unsigned i = 0; i < kCount; ++i)
        table[i] = rule(i);
    return table;
}

} // namespace

extern "C" {
extern constexpr auto kAlawCodes = Table<4097>(AlawCode), kMulawCodes = Table<4097>(MulawCode);
extern constexpr auto kAlawValues = Table<256>(AlawValue), kMulawValues = Table<256>(MulawValue);
}
extern pcm::CArray<kAlawCodes> pcm___EncodeG711AlawTable __attribute__((alias("kAlawCodes")));
extern pcm::CArray<kMulawCodes> pcm___EncodeG711MulawTable __attribute__((alias("kMulawCodes")));
extern pcm::CArray<kAlawValues> pcm___DecodeG711AlawTable __attribute__((alias("kAlawValues")));
extern pcm::CArray<kMulawValues> pcm___DecodeG711MulawTable __attribute__((alias("kMulawValues")));

static_assert(kAlawCodes[1] == 0x55 && kAlawCodes[3] == 0x54 && kAlawCodes[32] == 0x45 && kAlawCodes[4096] == 0x2A);
static_assert(kMulawCodes[0] == 0x7F && kMulawCodes[17] == 0x6F && kMulawCodes[48] == 0x5F && kMulawCodes[4095] == 0);
static_assert(kAlawValues[0x80] == 5504 && kAlawValues[0x2A] == -32256);
static_assert(kMulawValues[0x80] == 32120 && kMulawValues[0x00] == -32128);
