#include "check.h"

#include <pcm/pcm.h>

/* A copy of bytes as a buffer. The caller releases it with pbObjRelease((PB_OBJ *)buffer). */
static PB_BUFFER *BufferOf(const void *bytes, pbInt length)
{
    void *block = pbMemAlloc(length); /* for 0 bytes it may be null, which is accepted below */
    pbMemCopyN(block, bytes, length, 1);
    return pbBufferCreateFromBytesUse(block, length); /* frees the block with the buffer */
}

/* The A-law payload of an RTP packet, 3 dB softer, in mu-law. An empty payload gives an empty buffer. */
static PB_BUFFER *Softer(const void *payload, pbInt length)
{
    PB_BUFFER *source = BufferOf(payload, length);
    PCM_PACKET *pkt = pcmPacketTryDecode(source, PCM_ENCODING_G711_ALAW, 1); /* any length is right */
    pcmLevelAdjust(&pkt, -3.0);
    PB_BUFFER *dest = pcmPacketEncode(pkt, PCM_ENCODING_G711_MULAW);
    pcmPacketRelease(pkt);
    pbObjRelease((PB_OBJ *)source);
    return dest;
}

int main(void)
{
    pcmModule()->startup();

    const unsigned char payload[] = {0xD5, 0xA5}; /* next to 0, and 0.516 */
    PB_BUFFER *dest = Softer(payload, 2), *empty = Softer(payload, 0);
    CHECK(pbBufferLength(dest) == 2 && ((const unsigned char *)pbBufferBacking(dest))[1] == 0x98);
    CHECK(pbBufferLength(empty) == 0);
    CHECK(!pcmTryConvert(PCM_ENCODING_G711_MULAW, empty, PCM_ENCODING_G711_ALAW));
    pbObjRelease((PB_OBJ *)dest);
    pbObjRelease((PB_OBJ *)empty);

    pcmModule()->shutdown();
    return 0;
}
