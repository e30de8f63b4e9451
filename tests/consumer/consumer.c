/* Makes 16-bit audio ten times as loud and turns its bytes around. */
#include <pcm/pcm.h>

#include <string.h>

int main(void)
{
    const unsigned char little[] = {0x00, 0x04, 0x00, 0xFC}, big[] = {0x28, 0x00, 0xD8, 0x00};
    if (!pcmModule()->startup())
        return 1;

    void *bytes = pbMemAlloc(sizeof(little));
    memcpy(bytes, little, sizeof(little));
    PB_BUFFER *source = pbBufferCreateFromBytesUse(bytes, sizeof(little));
    PCM_PACKET *pkt = pcmPacketTryDecode(source, PCM_ENCODING_INT_16, 1);
    if (!pkt || pcmPacketFrames(pkt) != 2)
        return 2;
    pcmLevelAdjust(&pkt, 20.0);
    PB_BUFFER *dest = pcmPacketEncode(pkt, PCM_ENCODING_INT_16 | PCM_ENCODING_BIG_ENDIAN);
    if (pbBufferLength(dest) != sizeof(big) || memcmp(pbBufferBacking(dest), big, sizeof(big)) != 0)
        return 3;

    pbObjRelease((PB_OBJ *)dest);
    pbObjRelease((PB_OBJ *)source);
    pcmPacketRelease(pkt);
    pcmModule()->shutdown();
    return pb___ObjDbgObjects() == 0 && pb___MemDbgBlocks() == 0 ? 0 : 4;
}
