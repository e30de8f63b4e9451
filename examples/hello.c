/* Hello: writes a second of a telephone's dial tone as an .au file. Shows the C interface: start-up, generators, who
   owns a reference, a shared packet that is copied when it is changed, and the bytes of an encoding. */
#include <pb/pb.h>
#include <pcm/pcm.h>

#include <stdio.h>
#include <string.h>

enum { RATE = 8000 };

/* The header of an .au file: one channel of mu-law at RATE. */
static void PutHeader(unsigned char header[24], pbInt bytes)
{
    const pbInt words[6] = {0x2E736E64, 24, bytes, 1, RATE, 1}; /* ".snd", its size, of the audio, mu-law, rate, mono */
    for (int i = 0; i < 24; ++i)
        header[i] = (unsigned char)(words[i / 4] >> 8 * (3 - i % 4));
}

static int Write(const char *path, PB_BUFFER *bytes)
{
    FILE *file = fopen(path, "wb");
    if (!file)
        return 0;
    unsigned char header[24];
    PutHeader(header, pbBufferLength(bytes));
    const size_t length = (size_t)pbBufferLength(bytes);
    const int written = fwrite(header, 1, sizeof header, file) == sizeof header &&
                        fwrite(pbBufferBacking(bytes), 1, length, file) == length;
    return fclose(file) == 0 && written;
}

/* Whoever gets an object owns a reference to it and gives it up: tones, packets and buffers alike. */
static PB_BUFFER *DialTone(void)
{
    PCM_TONE *low = pcmToneCreate(RATE / 400); /* its cycle is 20 frames: 400 Hz */
    PCM_TONE *high = pcmToneTryCreateWithFrequency(RATE, 440);
    PCM_PACKET *pkt = pcmDualToneGather(low, high, RATE);
    pcmToneRelease(low);
    pcmToneRelease(high);

    PCM_PACKET *full = pkt; /* a second holder, */
    pcmPacketRetain(full);
    pcmLevelAdjust(&pkt, -10.0); /* so pkt becomes a packet of its own here, 10 dB softer than full */
    PB_BUFFER *bytes = pcmPacketEncode(pkt, PCM_ENCODING_G711_MULAW);
    pcmPacketRelease(pkt);
    pcmPacketRelease(full);
    return bytes;
}

int main(int argc, char **argv)
{
    if (argc != 2 || argv[1][0] == '-') {
        const int asked = argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0);
        fputs("Usage: pcm-hello OUTPUT.au\nWrites a second of dial tone.\n", asked ? stdout : stderr);
        return !asked;
    }
    pcmModule()->startup();
    PB_BUFFER *bytes = DialTone();
    const int written = Write(argv[1], bytes);
    if (!written)
        perror(argv[1]);
    pbObjRelease((PB_OBJ *)bytes);
    pcmModule()->shutdown();
    return !written;
}
