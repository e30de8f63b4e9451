// Encoding flags: five groups of bits. In each at most one flag counts.
#include "pcm_encoding_groups.h"
#include "pcm_object.h"

#include <pcm/pcm_encoding.h>

#include <pb/pb_int.h>

PB_FLAGSET *pcm___EncodingFlagset = nullptr;

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
    return pcm::Normalize(encoding);
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
    return pcm::ContainerBytes(encoding);
}

pbInt pcmEncodingSizeofFrame(PCM_ENCODING encoding, pbInt channels)
{
    PB_ASSERT(channels > 0);
    const pbInt s = pcmEncodingSizeofSample(encoding);
    PB_ASSERT(PB_INT_MUL_OK( channels, s ));

    return channels * s;
}
