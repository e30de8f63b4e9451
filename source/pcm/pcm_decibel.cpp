// Gains and decibels: 20 * log10(gain), limited to 200 dB either way.
#include "../pb/pb_assert.h"

#include <pcm/pcm_decibel.h>

#include <pb/pb_real.h>

#include <cmath>

namespace {

constexpr pbReal kRange = 200.0; // dB either way

void CheckDecibel(pbReal decibel)
{
    PB_ASSERT(!pbRealIsNan( decibel ));
    PB_ASSERT(pbRealIsFinite( decibel ));
}

void CheckGain(pbReal gain)
{
    PB_ASSERT(!pbRealIsNan( gain ));
    PB_ASSERT(pbRealIsFinite( gain ));
}

pbReal Limited(pbReal decibel)
{
    if (pbRealCompare(decibel, -kRange) <= 0)
        return -kRange;
    return pbRealCompare(decibel, kRange) >= 0 ? kRange : decibel;
}

} // namespace

pbReal pcmDecibelFromGain(pbReal gain)
{
    CheckGain(gain);
    PB_ASSERT(gain >= 0);

    if (pbRealEquals(gain, 0.0))
        return -kRange;
    const pbReal decibel = std::log10(gain) * 20.0;
    CheckDecibel(decibel);
    return Limited(decibel);
}

pbReal pcmDecibelToGain(pbReal decibel)
{
    CheckDecibel(decibel);

    if (pbRealEquals(decibel, 0.0))
        return 1.0;
    const pbReal gain = std::pow(10.0, Limited(decibel) / 20.0);
    CheckGain(gain);
    return gain;
}
