// The names of the built-in coefficient sets.
#include "pcm_object.h"

#include <pcm/pcm_filter_type.h>

PB_ENUM *pcm___FilterTypeEnum = nullptr;

void pcm___FilterTypeStartup()
{
    pcm___FilterTypeEnum = pbEnumCreate();

#define PCM_DEFINE_TYPE(NAME) pbEnumSetEnumerantCstr(&pcm___FilterTypeEnum, #NAME, -1, NAME);

    PCM_DEFINE_TYPE(PCM_FILTER_TYPE_LOWPASS_4000_AT_16000)
    PCM_DEFINE_TYPE(PCM_FILTER_TYPE_LOWPASS_4000_AT_24000)
    PCM_DEFINE_TYPE(PCM_FILTER_TYPE_LOWPASS_4000_AT_48000)
    PCM_DEFINE_TYPE(PCM_FILTER_TYPE_LOWPASS_6000_AT_24000)
    PCM_DEFINE_TYPE(PCM_FILTER_TYPE_LOWPASS_6000_AT_48000)
    PCM_DEFINE_TYPE(PCM_FILTER_TYPE_LOWPASS_8000_AT_48000)
    PCM_DEFINE_TYPE(PCM_FILTER_TYPE_LOWPASS_12000_AT_48000)
#undef PCM_DEFINE_TYPE
}

void pcm___FilterTypeShutdown()
{
    pcm::ReleaseAndMark(&pcm___FilterTypeEnum);
}

PCM_FILTER_TYPE pcmFilterTypeFromString(PB_STRING *pbs)
{
    PB_ASSERT(pbs);

    return pbEnumParse(pcm___FilterTypeEnum, pbs);
}

PB_STRING *pcmFilterTypeToString(PCM_FILTER_TYPE type)
{
    PB_ASSERT(PCM_FILTER_TYPE_OK( type ));

    return pbEnumGenerate(pcm___FilterTypeEnum, type);
}
