// Real numbers.
#include "pb_assert.h"
#include "pb_heap.h"

#include <pb/pb_real.h>

#include <cmath>

pbInt pbRealCompare(pbReal a, pbReal b)
{
    if (pb::kLiberal)
        PB_ASSERT(!std::isnan(a) && !std::isnan(b));

    return (a > b) - (a < b);
}

pbBool pbRealEquals(pbReal a, pbReal b)
{
    return a == b;
}

pbBool pbRealIsNan(pbReal value)
{
    return std::isnan(value);
}

pbBool pbRealIsFinite(pbReal value)
{
    return std::isfinite(value);
}

pbInt pbRealToInt(pbReal value)
{
    if (pb::kLiberal)
        PB_ASSERT(std::isfinite(value));

    if (std::isnan(value))
        return 0;
    const double rounded = std::round(value);
    if (rounded >= 0x1p63)
        return INT64_MAX;
    if (rounded < -0x1p63)
        return INT64_MIN;
    return static_cast<pbInt>(rounded);
}
