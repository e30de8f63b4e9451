// The names of the built-in coefficient sets.
#include "pcm_object.h"

#include <pcm/pcm_filter_type.h>

PB_ENUM *pcm___FilterTypeEnum = nullptr;

void pcm___FilterTypeStartup()
{
    pcm___FilterTypeEnum = pbEnumCreate();

#define PCM_FILTER_SET(CUTOFF, RATE, ...)                                                                              \
    pbEnumSetEnumerantCstr(&pcm___FilterTypeEnum, "PCM_FILTER_TYPE_LOWPASS_" #CUTOFF "_AT_" #RATE, -1,                 \
                           PCM_FILTER_TYPE_LOWPASS_##CUTOFF##_AT_##RATE);
#include "pcm_filter_sets.h"
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
