#include "check.h"

#include <pcm/pcm.h>

#include <cstdio>

int main()
{
    PB_MODULE *module = pcmModule();
    std::printf("%s %s: %s\n", module->record->name, module->record->moduleVersion, module->record->description);
    if (!module->startup())
        return 1;
    // everything else happens here
    module->shutdown();
    CHECK(module->record->versionMajor >= 0);
}
