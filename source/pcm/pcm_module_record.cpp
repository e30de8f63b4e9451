// The module's name, version and vendor.
#include <pcm/pcm_module.h>

#include "pcm_build.h"

PB_MODULE_RECORD pcm___module_record = {
    .kind = PB_OBJ_KIND_MODULE,
    .product = "zavrine",
    .productName = "zavrine",
    .versionMajor = PCM_VERSION_MAJOR,
    .versionMinor = PCM_VERSION_MINOR,
    .versionPatch = PCM_VERSION_PATCH,
    .buildTime = PCM_BUILD_TIME,
    .vendor = PCM_VENDOR,
    .rights = "Copyright " PCM_VENDOR ". All rights reserved.",
    .name = "pcm",
    .description = "Pulse Code Modulated Audio Data",
    .moduleVersion = "0.0",
    .dependencies = "pb",
    .remark = "",
};
