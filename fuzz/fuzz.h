// A fuzz program drives the library with whatever the bytes of its input choose.
#pragma once

#include "../tests/support.h"

void Drive(Random &random);
