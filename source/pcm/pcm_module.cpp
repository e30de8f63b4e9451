// The module's descriptor, its start-up and its shut-down.
#include "pcm_object.h"

#include <pcm/pcm.h>

PB_MODULE pcm___module = {
    PB_OBJ_STATIC(PB_OBJ_KIND_MODULE), &pcm___module_record, pcm___ModuleStartup, nullptr, pcm___ModuleShutdown, {}};

PB_MODULE *pcmModule()
{
    return &pcm___module;
}

pbBool pcm___ModuleStartup()
{
    pcm___EncodingStartup();
    pcm___FilterCoefficientsStartup();
    pcm___FilterTypeStartup();
    pcm___NoiseStartup();
    return 1;
}

void pcm___ModuleShutdown()
{
    pcm___NoiseShutdown();
    pcm___FilterTypeShutdown();
    pcm___FilterCoefficientsShutdown();
    pcm___EncodingShutdown();
}
