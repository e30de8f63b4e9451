// Conversion: how a sample becomes a number, and how the number lies in memory. The two are described apart, once for
// both directions, and joined by the loops.
#include "../pb/pb_assert.h"
#include "pcm_encoding_groups.h"
#include "pcm_isa.h"

#include <pcm/pcm_convert.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <type_traits>

static_assert(std::endian::native == std::endian::little, "the host's samples are stored least significant byte first");

namespace pcm {
namespace {

/// The codecs (pcm_convert_loops.h).
enum Kind : uint8_t { kSigned, kSigned32, kOffset, kOffset32, kFloat, kAlaw, kMulaw, kKinds };

/// By the flag of a sample's type, for signed and for unsigned samples.
constexpr Kind kKindOf[][2] = {{kAlaw, kAlaw},     {kMulaw, kMulaw},       {kSigned, kOffset}, {kSigned, kOffset},
                               {kSigned, kOffset}, {kSigned32, kOffset32}, {kFloat, kFloat},   {kFloat, kFloat}};
static_assert(std::size(kKindOf) == kNoType + 1);

/// A codec's loops by container: of 1 to 4 bytes, or kWords, four bytes in the host's order. Containers that have no
/// loop go through words: all that are wider (kNone), and in a set without vectors most of the others too.
constexpr uint8_t kWords = 0, kNone = 5, kLoopCount = 6;
struct CodecLoops {
    void (*encode[kLoopCount])(uint8_t *dest, const PCM_SAMPLE *source, int shuffle, pbInt samples);
    void (*decode[kLoopCount])(PCM_SAMPLE *dest, const uint8_t *source, int shuffle, pbInt samples);
};

/// Samples that one turn of a codec's loop converts, and the fewest that it is called with.
constexpr pbInt kTurn = 16;

/// Where a sample's bytes lie: `bytes` of them from `offset` on in every container of `container` bytes.
struct Layout {
    Kind kind;
    bool bigEndian;
    uint8_t bytes, container, offset, loop, shuffle; ///< shuffle: of Shuffles, where there is a loop

    explicit constexpr Layout(PCM_ENCODING encoding = 0)
        : kind(kKindOf[TypeIndex(encoding)][(encoding & PCM_ENCODING_UNSIGNED) != 0]),
          bigEndian(encoding & PCM_ENCODING_BIG_ENDIAN && encoding & kTypes), // without a type: the host's layout
          bytes(static_cast<uint8_t>(SampleBytes(encoding))), container(static_cast<uint8_t>(ContainerBytes(encoding)))
    {
        const bool last = encoding & PCM_ENCODING_PAD_BEFORE ||
                          (encoding & PCM_ENCODING_BIG_ENDIAN && !(encoding & PCM_ENCODING_PAD_AFTER));
        offset = last ? static_cast<uint8_t>(container - bytes) : 0;
        loop = container > 4 ? kNone : bytes == 4 && !bigEndian ? kWords : container;
        shuffle = static_cast<uint8_t>((container - 1) % 4 * 16 + (bytes - 1) * 4 + last * 2 + bigEndian);
    }
};

/// The layouts of all encodings, made by the compiler: short runs notice what working one out costs.
struct Layouts {
    static constexpr int kTypeIndices = kNoType + 1;
    Layout of[kTypeIndices * 4 * 4 * 8];

    constexpr Layouts()
    {
        for (int i = 0; i < kTypeIndices * 4 * 4 * 8; ++i) {
            const int others = i / kTypeIndices;
            of[i] = Layout((PCM_ENCODING{1} << i % kTypeIndices & kTypes) | (others % 4) << 7 | (others / 4 % 4) << 10 |
                           (PCM_ENCODING_PACK_16 << others / 16 & kContainers));
        }
    }

    /// By the lowest flags of type and container, and all others but PCM_ENCODING_LITTLE_ENDIAN, which changes nothing.
    const Layout &Of(PCM_ENCODING encoding) const
    {
        const auto others = (encoding >> 7 & 3) | (encoding >> 10 & 3) << 2 | ContainerIndex(encoding) << 4;
        return of[TypeIndex(encoding) + kTypeIndices * others];
    }
};

/// Whether the encoding is the sample itself in memory. Of two usually one is.
bool IsSample(PCM_ENCODING encoding)
{
    return (encoding & kFlags) == 0;
}

const Layout &LayoutOf(PCM_ENCODING encoding)
{
    static constexpr Layouts kLayouts;
    static constexpr Layout kSample;
    return IsSample(encoding) ? kSample : kLayouts.Of(encoding);
}

/// Words to containers, and back.
struct WordLoops {
    void (*place)(uint8_t *dest, const uint32_t *words, const Layout &layout, pbInt samples);
    void (*take)(uint32_t *words, const uint8_t *source, const Layout &layout, pbInt samples);
};

struct Loops {
    std::array<CodecLoops, kKinds> codecs;
    WordLoops words[9]; ///< by container, where the codecs have no loop
};

/// Where each byte comes from between words and containers of up to four bytes, 0x80 for none: for a register of kParts
/// parts, each shuffled alone and of kSamples samples. A part's containers begin where LoadSpread loads them.
template <int kSamples, int kParts> struct Shuffles {
    static constexpr int kPart = 4 * kSamples, kBytes = kParts * kPart;
    alignas(kBytes) uint8_t pack[64][kBytes], spread[64][kBytes]; ///< by Layout::shuffle

    constexpr Shuffles() : pack(), spread()
    {
        for (int i = 0; i < 64; ++i) {
            const int container = i / 16 + 1, bytes = i / 4 % 4 + 1, last = i / 2 % 2, big = i % 2;
            std::fill_n(pack[i], kBytes, 0x80);
            std::fill_n(spread[i], kBytes, 0x80);
            for (int k = 0; k < kParts * kSamples * bytes && bytes <= container; ++k) {
                const int part = k / bytes / kSamples, sample = k / bytes % kSamples, byte = k % bytes;
                const int held = sample * container + (last ? container - bytes : 0) + byte;
                const int word = sample * 4 + (big ? 3 - byte : 4 - bytes + byte);
                pack[i][part * kPart + held] = static_cast<uint8_t>(word);
                spread[i][part * kPart + word] =
                    static_cast<uint8_t>(held + part * (container == 3 ? 4 : 4 * container % 16));
            }
        }
    }
};

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_convert_loops.h"
#define PCM_VBMI
#include "pcm_each_isa.h"

namespace {

using namespace pcm;

constexpr pbInt kChunk = 256; ///< samples that stay in the cache

void pcm___ConvertToSamples(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples);
void pcm___ConvertFromSamples(uint8_t *dest, const Layout &layout, const PCM_SAMPLE *source, pbInt samples);

// Runs shorter than a turn are filled up.

[[gnu::noinline]] void DecodeShort(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    uint8_t in[kTurn * 8] = {};
    PCM_SAMPLE out[kTurn];
    std::copy_n(source, samples * layout.container, in);
    pcm___ConvertToSamples(out, in, layout, kTurn);
    std::copy_n(out, samples, dest);
}

[[gnu::noinline]] void EncodeShort(uint8_t *dest, const Layout &layout, const PCM_SAMPLE *source, pbInt samples)
{
    PCM_SAMPLE in[kTurn] = {};
    uint8_t out[kTurn * 8];
    std::copy_n(source, samples, in);
    pcm___ConvertFromSamples(out, layout, in, kTurn);
    std::copy_n(out, samples * layout.container, dest);
}

// Through words. The last chunk overlaps the one before it where it would be too short.

constexpr int kIdentity = Layout(PCM_ENCODING_INT_32).shuffle;

[[gnu::noinline]] void DecodeThroughWords(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    alignas(64) uint32_t words[kChunk];
    for (pbInt done = 0; done < samples; done += kChunk) {
        const pbInt at = std::min(done, samples - kTurn), n = std::min(kChunk, samples - at);
        loops.words[layout.container].take(words, source + at * layout.container, layout, n);
        loops.codecs[layout.kind].decode[kWords](dest + at, reinterpret_cast<const uint8_t *>(words), kIdentity, n);
    }
}

[[gnu::noinline]] void EncodeThroughWords(uint8_t *dest, const Layout &layout, const PCM_SAMPLE *source, pbInt samples)
{
    alignas(64) uint32_t words[kChunk];
    for (pbInt done = 0; done < samples; done += kChunk) {
        const pbInt at = std::min(done, samples - kTurn), n = std::min(kChunk, samples - at);
        loops.codecs[layout.kind].encode[kWords](reinterpret_cast<uint8_t *>(words), source + at, kIdentity, n);
        loops.words[layout.container].place(dest + at * layout.container, words, layout, n);
    }
}

void pcm___ConvertToSamples(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    const auto decode = loops.codecs[layout.kind].decode[layout.loop];
    if (samples < kTurn)
        DecodeShort(dest, source, layout, samples);
    else if (!decode)
        DecodeThroughWords(dest, source, layout, samples);
    else
        decode(dest, source, layout.shuffle, samples);
}

void pcm___ConvertFromSamples(uint8_t *dest, const Layout &layout, const PCM_SAMPLE *source, pbInt samples)
{
    const auto encode = loops.codecs[layout.kind].encode[layout.loop];
    if (samples < kTurn)
        EncodeShort(dest, layout, source, samples);
    else if (!encode)
        EncodeThroughWords(dest, layout, source, samples);
    else
        encode(dest, source, layout.shuffle, samples);
}

/// From one external encoding to another.
[[gnu::noinline]] void ConvertThroughSamples(uint8_t *dest, const Layout &to, const uint8_t *source, const Layout &from,
                                             pbInt samples)
{
    alignas(64) PCM_SAMPLE chunk[kChunk];
    for (pbInt done = 0; done < samples; done += kChunk) {
        const pbInt n = std::min(kChunk, samples - done);
        pcm___ConvertToSamples(chunk, source + done * from.container, from, n);
        pcm___ConvertFromSamples(dest + done * to.container, to, chunk, n);
    }
}

} // namespace

void pcm___Convert(void *dest, PCM_ENCODING destEncoding, const void *source, PCM_ENCODING sourceEncoding,
                   pbInt samples)
{
    PB_ASSERT(samples >= 0);
    PB_ASSERT(dest || samples == 0);
    PB_ASSERT(source || samples == 0);
    if (samples == 0)
        return;
    const Layout &to = LayoutOf(destEncoding), &from = LayoutOf(sourceEncoding);
    const pbInt destSize = to.container, sourceSize = from.container;
    PB_ASSERT(PB_INT_MUL_OK( destSize, samples ));
    PB_ASSERT(PB_INT_MUL_OK( sourceSize, samples ));

    auto *out = static_cast<uint8_t *>(dest);
    const auto *in = static_cast<const uint8_t *>(source);
    if (!IsSample(destEncoding) && !IsSample(sourceEncoding))
        ConvertThroughSamples(out, to, in, from, samples);
    else if (!IsSample(sourceEncoding))
        pcm___ConvertToSamples(static_cast<PCM_SAMPLE *>(dest), in, from, samples);
    else if (!IsSample(destEncoding))
        pcm___ConvertFromSamples(out, to, static_cast<const PCM_SAMPLE *>(source), samples);
    else
        pbMemCopyN(dest, source, samples, destSize);
}

PB_BUFFER *pcmTryConvert(PCM_ENCODING destEncoding, PB_BUFFER *source, PCM_ENCODING sourceEncoding)
{
    const pbInt destSampleSize = pcmEncodingSizeofSample(destEncoding);
    const pbInt sourceSampleSize = pcmEncodingSizeofSample(sourceEncoding);
    const pbInt length = pbBufferLength(source);
    const pbInt samples = length / sourceSampleSize;
    if (length % sourceSampleSize || samples == 0)
        return nullptr;
    PB_ASSERT(PB_INT_MUL_OK( destSampleSize, samples ));

    void *bytes = pbMemAlloc(destSampleSize * samples);
    pcm___Convert(bytes, destEncoding, pbBufferBacking(source), sourceEncoding, samples);
    return pbBufferCreateFromBytesUse(bytes, destSampleSize * samples);
}
