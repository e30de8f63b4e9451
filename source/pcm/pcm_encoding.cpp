// Encoding flags: five groups of bits, of each of which at most one flag counts.
#include "pcm_object.h"

#include <pcm/pcm_encoding.h>

#include <pb/pb_int.h>

#include <bit>

PB_FLAGSET *pcm___EncodingFlagset = nullptr;

namespace {

constexpr PCM_ENCODING kTypes = 0x7F;
constexpr PCM_ENCODING kByteOrders = PCM_ENCODING_BIG_ENDIAN | PCM_ENCODING_LITTLE_ENDIAN;
constexpr PCM_ENCODING kSides = PCM_ENCODING_PAD_BEFORE | PCM_ENCODING_PAD_AFTER;
constexpr PCM_ENCODING kContainers = 0x7F000;

/// In every group the lowest flag counts.
constexpr PCM_ENCODING LowestOf(PCM_ENCODING encoding, PCM_ENCODING group)
{
    return (encoding & group) & -(encoding & group);
}

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

constexpr pbInt ContainerBytes(PCM_ENCODING container)
{
    if (!container)
        return 1;
    return 2 + std::countr_zero(static_cast<uint64_t>(container / PCM_ENCODING_PACK_16));
}

} // namespace

void pcm___EncodingStartup()
{
    pcm___EncodingFlagset = pbFlagsetCreate();

#define PCM_DEFINE_FLAG(NAME)                                                                                          \
    PB_ASSERT(!pbFlagsetHasFlagCstr( *(&pcm___EncodingFlagset), #NAME, -1 ));                                          \
    pbFlagsetSetFlagCstr(&pcm___EncodingFlagset, #NAME, -1, NAME);

    PCM_DEFINE_FLAG(PCM_ENCODING_G711_ALAW)
    PCM_DEFINE_FLAG(PCM_ENCODING_G711_MULAW)
    PCM_DEFINE_FLAG(PCM_ENCODING_INT_8)
    PCM_DEFINE_FLAG(PCM_ENCODING_INT_16)
    PCM_DEFINE_FLAG(PCM_ENCODING_INT_24)
    PCM_DEFINE_FLAG(PCM_ENCODING_INT_32)
    PCM_DEFINE_FLAG(PCM_ENCODING_FLOAT_32)
    PCM_DEFINE_FLAG(PCM_ENCODING_UNSIGNED)
    PCM_DEFINE_FLAG(PCM_ENCODING_BIG_ENDIAN)
    PCM_DEFINE_FLAG(PCM_ENCODING_LITTLE_ENDIAN)
    PCM_DEFINE_FLAG(PCM_ENCODING_PAD_BEFORE)
    PCM_DEFINE_FLAG(PCM_ENCODING_PAD_AFTER)
    PCM_DEFINE_FLAG(PCM_ENCODING_PACK_16)
    PCM_DEFINE_FLAG(PCM_ENCODING_PACK_24)
    PCM_DEFINE_FLAG(PCM_ENCODING_PACK_32)
    PCM_DEFINE_FLAG(PCM_ENCODING_PACK_40)
    PCM_DEFINE_FLAG(PCM_ENCODING_PACK_48)
    PCM_DEFINE_FLAG(PCM_ENCODING_PACK_56)
    PCM_DEFINE_FLAG(PCM_ENCODING_PACK_64)
#undef PCM_DEFINE_FLAG
}

void pcm___EncodingShutdown()
{
    pcm::ReleaseAndMark(&pcm___EncodingFlagset);
}

PCM_ENCODING pcmEncodingNormalize(PCM_ENCODING encoding)
{
    return LowestOf(encoding, kTypes) | (encoding & PCM_ENCODING_UNSIGNED) | LowestOf(encoding, kByteOrders) |
           LowestOf(encoding, kSides) | LowestOf(encoding, kContainers);
}

PCM_ENCODING pcmEncodingFromString(PB_STRING *pbs)
{
    PB_ASSERT(pbs);

    return pcmEncodingNormalize(pbFlagsetParse(pcm___EncodingFlagset, pbs));
}

PB_STRING *pcmEncodingToString(PCM_ENCODING encoding)
{
    return pbFlagsetGenerate(pcm___EncodingFlagset, pcmEncodingNormalize(encoding));
}

pbInt pcmEncodingSizeofSample(PCM_ENCODING encoding)
{
    const PCM_ENCODING normal = pcmEncodingNormalize(encoding);
    return pbIntMax(SampleBytes(normal & kTypes), ContainerBytes(normal & kContainers));
}

pbInt pcmEncodingSizeofFrame(PCM_ENCODING encoding, pbInt channels)
{
    PB_ASSERT(channels > 0);
    const pbInt s = pcmEncodingSizeofSample(encoding);
    PB_ASSERT(PB_INT_MUL_OK( channels, s ));

    return channels * s;
}
