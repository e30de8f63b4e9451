// The groups of an encoding's flags and what they mean for sizes; inline, since each conversion needs them.
#pragma once

#include <pcm/pcm_encoding.h>

#include <algorithm>
#include <bit>

namespace pcm {

constexpr PCM_ENCODING kTypes = 0x7F;
constexpr PCM_ENCODING kByteOrders = PCM_ENCODING_BIG_ENDIAN | PCM_ENCODING_LITTLE_ENDIAN;
constexpr PCM_ENCODING kSides = PCM_ENCODING_PAD_BEFORE | PCM_ENCODING_PAD_AFTER;
constexpr PCM_ENCODING kContainers = 0x7F000;
constexpr PCM_ENCODING kFlags = 0x7FFFF; ///< all

/// In each group the lowest flag wins.
constexpr PCM_ENCODING LowestOf(PCM_ENCODING encoding, PCM_ENCODING group)
{
    return (encoding & group) & -(encoding & group);
}

constexpr PCM_ENCODING Normalize(PCM_ENCODING encoding)
{
    return LowestOf(encoding, kTypes) | (encoding & PCM_ENCODING_UNSIGNED) | LowestOf(encoding, kByteOrders) |
           LowestOf(encoding, kSides) | LowestOf(encoding, kContainers);
}

/// The index of a sample's type among the flags of its group; kTypeCount without a type.
constexpr int kTypeCount = 7;
constexpr int TypeIndex(PCM_ENCODING type)
{
    return std::countr_zero(static_cast<uint64_t>(type | (PCM_ENCODING{1} << kTypeCount)));
}

/// Bytes of a sample, by the flag of its type.
constexpr pbInt SampleBytes(PCM_ENCODING type)
{
    constexpr pbInt kBytes[kTypeCount + 1] = {1, 1, 1, 2, 3, 4, 4, 4};
    return kBytes[TypeIndex(type)];
}

/// Bytes of a sample with its container, of a normalised encoding.
constexpr pbInt ContainerBytes(PCM_ENCODING encoding)
{
    const auto flag = static_cast<uint64_t>((encoding & kContainers) / PCM_ENCODING_PACK_16);
    return std::max(SampleBytes(encoding & kTypes), flag ? pbInt{2} + std::countr_zero(flag) : pbInt{1});
}

} // namespace pcm
