// The groups of an encoding's flags and what they mean for sizes; inline, since each conversion needs them.
#pragma once

#include <pcm/pcm_encoding.h>

#include <algorithm>
#include <bit>
#include <iterator>

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

/// The number of the lowest flag of a sample's type, and of a container; kNoType and kNoContainer without one.
constexpr int kNoType = std::bit_width(static_cast<uint64_t>(kTypes)), kNoContainer = 7;
constexpr int TypeIndex(PCM_ENCODING encoding)
{
    return std::countr_zero(static_cast<uint64_t>(encoding & kTypes) | 1u << kNoType);
}
constexpr int ContainerIndex(PCM_ENCODING encoding)
{
    return std::countr_zero((static_cast<uint64_t>(encoding & kContainers) >> 12) | 1u << kNoContainer);
}

// By these numbers. No local tables, which GCC would fill for each call.
inline constexpr uint8_t kSampleBytes[] = {1, 1, 1, 2, 3, 4, 4, 4}, kPackBytes[] = {2, 3, 4, 5, 6, 7, 8, 1};
static_assert(std::size(kSampleBytes) == kNoType + 1 && std::size(kPackBytes) == kNoContainer + 1);

/// Bytes of a sample.
constexpr pbInt SampleBytes(PCM_ENCODING encoding)
{
    return kSampleBytes[TypeIndex(encoding)];
}

/// Bytes of a sample with its container.
constexpr pbInt ContainerBytes(PCM_ENCODING encoding)
{
    return std::max<pbInt>(SampleBytes(encoding), kPackBytes[ContainerIndex(encoding)]);
}

} // namespace pcm
