// The G.711 tables as C sees them, built by the compiler.
#include "pcm_g711.h"

#include <pcm/pcm_convert.h>

// The entries f(i), f(i + 1), ...: a C array cannot be initialised from a function's array.
#define PCM_4(f, i) f(i), f((i) + 1), f((i) + 2), f((i) + 3)
#define PCM_16(f, i) PCM_4(f, i), PCM_4(f, (i) + 4), PCM_4(f, (i) + 8), PCM_4(f, (i) + 12)
#define PCM_64(f, i) PCM_16(f, i), PCM_16(f, (i) + 16), PCM_16(f, (i) + 32), PCM_16(f, (i) + 48)
#define PCM_256(f, i) PCM_64(f, i), PCM_64(f, (i) + 64), PCM_64(f, (i) + 128), PCM_64(f, (i) + 192)
#define PCM_1024(f, i) PCM_256(f, i), PCM_256(f, (i) + 256), PCM_256(f, (i) + 512), PCM_256(f, (i) + 768)
#define PCM_4096(f, i) PCM_1024(f, i), PCM_1024(f, (i) + 1024), PCM_1024(f, (i) + 2048), PCM_1024(f, (i) + 3072)

using namespace pcm::g711;

constexpr uint8_t pcm___EncodeG711AlawTable[4097] = {PCM_4096(AlawCode, 0), AlawCode(4096)};
constexpr uint8_t pcm___EncodeG711MulawTable[4097] = {PCM_4096(MulawCode, 0), MulawCode(4096)};
constexpr int16_t pcm___DecodeG711AlawTable[256] = {PCM_256(AlawValue, 0)};
constexpr int16_t pcm___DecodeG711MulawTable[256] = {PCM_256(MulawValue, 0)};

static_assert(pcm___EncodeG711AlawTable[1] == 0x55 && pcm___EncodeG711AlawTable[3] == 0x54);
static_assert(pcm___EncodeG711AlawTable[32] == 0x45 && pcm___EncodeG711AlawTable[4096] == 0x2A);
static_assert(pcm___EncodeG711MulawTable[0] == 0x7F && pcm___EncodeG711MulawTable[17] == 0x6F);
static_assert(pcm___EncodeG711MulawTable[48] == 0x5F && pcm___EncodeG711MulawTable[4095] == 0);
static_assert(pcm___DecodeG711AlawTable[0x80] == 5504 && pcm___DecodeG711AlawTable[0x2A] == -32256);
static_assert(pcm___DecodeG711MulawTable[0x80] == 32120 && pcm___DecodeG711MulawTable[0x00] == -32128);
