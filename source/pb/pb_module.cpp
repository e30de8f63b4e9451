// The runtime as the owner of its own sorts.
#include "pb_object.h"

PB_MODULE pb___module = {PB_OBJ_STATIC(PB_OBJ_KIND_MODULE), nullptr, nullptr, nullptr, nullptr, {}};
