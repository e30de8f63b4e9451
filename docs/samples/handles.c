#include "check.h"

#include <pcm/pcm.h>

int main(void)
{
    pcmModule()->startup();

    const PCM_SAMPLE samples[] = {0.5f, 0.5f};
    PCM_PACKET *a = pcmPacketCreateFromSamplesCopy(samples, 1, 2);
    PCM_PACKET *b = a;
    pcmPacketRetain(b);       /* two references: a's and b's */
    pcmLevelAdjust(&b, -6.0); /* takes the handle's address, puts a private packet there */
    CHECK(a != b && pcmPacketBacking(a)[0] == 0.5f);
    pcmPacketRelease(a);
    pcmPacketRelease(b);

    pcmModule()->shutdown();
    return 0;
}
