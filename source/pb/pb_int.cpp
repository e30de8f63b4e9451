// Integers.
#include <pb/pb_int.h>

#include <bit>

pbInt pbIntMin(pbInt a, pbInt b)
{
    return a < b ? a : b;
}

pbInt pbIntMax(pbInt a, pbInt b)
{
    return a > b ? a : b;
}

pbInt pbIntBitCount(pbInt value)
{
    return std::popcount(static_cast<uint64_t>(value));
}
