// The groups of an encoding's flags and what they mean for sizes; inline, since a conversion asks before every run.
#pragma once

#include <pcm/pcm_encoding.h>

#include <algorithm>
#include <bit>

namespace pcm {

constexpr PCM_ENCODING kTypes = 0x7F;
constexpr PCM_ENCODING kByteOrders = PCM_ENCODING_BIG_ENDIAN | PCM_ENCODING_LITTLE_ENDIAN;
constexpr PCM_ENCODING kSides = PCM_ENCODING_PAD_BEFORE | PCM_ENCODING_PAD_AFTER;
constexpr PCM_ENCODING kContainers = 0x7F000;

/// In every group the lowest flag counts.
constexpr PCM_ENCODING LowestOf(PCM_ENCODING encoding, PCM_ENCODING group)
{
    return (encoding & group) & -(encoding & group);
}

constexpr PCM_ENCODING Normalize(PCM_ENCODING encoding)
{
    return LowestOf(encoding, kTypes) | (encoding & PCM_ENCODING_UNSIGNED) | LowestOf(encoding, kByteOrders) |
           LowestOf(encoding, kSides) | LowestOf(encoding, kContainers);
}

/// Bytes of a sample, by the flag of its type.
constexpr pbInt SampleBytes(PCM_ENCODING type)
{
    switch (type) {
    case PCM_ENCODING_G711_ALAW:
    case PCM_ENCODING_G711_MULAW:
    case PCM_ENCODING_INT_8: return 1;
    case PCM_ENCODING_INT_16: return 2;
    case PCM_ENCODING_INT_24: return 3;
    default: return 4;
    }
}

/// Bytes of a sample with its container, of a normalised encoding.
constexpr pbInt ContainerBytes(PCM_ENCODING encoding)
{
    const auto flag = static_cast<uint64_t>((encoding & kContainers) / PCM_ENCODING_PACK_16);
    return std::max(SampleBytes(encoding & kTypes), flag ? pbInt{2} + std::countr_zero(flag) : pbInt{1});
}

} // namespace pcm
