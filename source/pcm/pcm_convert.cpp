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

static_assert(std::endian::native == std::endian::little, "the host's samples are stored least significant byte first");

namespace pcm {
namespace {

/// The codecs (pcm_convert_loops.h).
enum Kind : uint8_t { kSigned, kSigned32, kOffset, kOffset32, kFloat, kAlaw, kMulaw, kKinds };

/// By the flag of a sample's type, for signed and for unsigned samples.
constexpr Kind kKindOf[][2] = {{kAlaw, kAlaw},     {kMulaw, kMulaw},       {kSigned, kOffset}, {kSigned, kOffset},
                               {kSigned, kOffset}, {kSigned32, kOffset32}, {kFloat, kFloat},   {kFloat, kFloat}};
static_assert(std::size(kKindOf) == kNoType + 1);

constexpr uint8_t kWords = 0, kLoopCount = 5; // places in CodecLoops

/// Where a sample's bytes lie in a container of `container` bytes: in all of it, or in four bytes from `fours` on,
/// which are a container of the same sample; the others are 0.
struct Layout {
    Kind kind;
    bool bigEndian;
    uint8_t container, fours;
    uint8_t loop, shuffle; ///< of CodecLoops; of Shuffles
    uint8_t unused, shift; ///< lowest bits of a word that are no part of the code; from there to the container's number

    explicit constexpr Layout(PCM_ENCODING encoding = 0)
        : kind(kKindOf[TypeIndex(encoding)][(encoding & PCM_ENCODING_UNSIGNED) != 0]),
          bigEndian(encoding & PCM_ENCODING_BIG_ENDIAN && encoding & kTypes), // without a type: the host's layout
          container(static_cast<uint8_t>(ContainerBytes(encoding)))
    {
        const pbInt bytes = SampleBytes(encoding), narrow = std::min<pbInt>(container, 4);
        const bool last = encoding & PCM_ENCODING_PAD_BEFORE ||
                          (encoding & PCM_ENCODING_BIG_ENDIAN && !(encoding & PCM_ENCODING_PAD_AFTER));
        fours = static_cast<uint8_t>(last ? container - narrow : 0);
        loop = static_cast<uint8_t>(bytes == 4 && !bigEndian ? kWords : narrow);
        shuffle = static_cast<uint8_t>((narrow - 1) * 16 + (bytes - 1) * 4 + last * 2 + bigEndian);
        shift = static_cast<uint8_t>(8 * (bigEndian ? (last ? narrow - bytes : 0) : 4 - (last ? narrow : bytes)));
        unused = static_cast<uint8_t>(32 - 8 * bytes);
    }
};

/// A codec's loops by container: of 1 to 4 bytes, or kWords, four bytes in the host's order.
struct CodecLoops {
    void (*encode[kLoopCount])(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples);
    void (*decode[kLoopCount])(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples);
};

/// Samples that one turn of a codec's loop converts, and the fewest that it is called with.
constexpr pbInt kTurn = 16;

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

// Containers of more than four bytes: through containers of four. The last chunk overlaps the one before it where it
// would be too short.

[[gnu::noinline]] void DecodeWide(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    alignas(64) uint8_t fours[kChunk * 4];
    for (pbInt done = 0; done < samples; done += kChunk) {
        const pbInt at = std::min(done, samples - kTurn), n = std::min(kChunk, samples - at);
        const uint8_t *const from = source + at * layout.container + layout.fours;
        for (pbInt i = 0; i < n; ++i)
            std::memcpy(fours + i * 4, from + i * layout.container, 4);
        loops[layout.kind].decode[layout.loop](dest + at, fours, layout, n);
    }
}

[[gnu::noinline]] void EncodeWide(uint8_t *dest, const Layout &layout, const PCM_SAMPLE *source, pbInt samples)
{
    alignas(64) uint8_t fours[kChunk * 4];
    for (pbInt done = 0; done < samples; done += kChunk) {
        const pbInt at = std::min(done, samples - kTurn), n = std::min(kChunk, samples - at);
        uint8_t *const to = dest + at * layout.container;
        loops[layout.kind].encode[layout.loop](fours, source + at, layout, n);
        std::fill_n(to, n * layout.container, 0);
        for (pbInt i = 0; i < n; ++i)
            std::memcpy(to + i * layout.container + layout.fours, fours + i * 4, 4);
    }
}

void pcm___ConvertToSamples(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    if (samples < kTurn)
        DecodeShort(dest, source, layout, samples);
    else if (layout.container > 4)
        DecodeWide(dest, source, layout, samples);
    else
        loops[layout.kind].decode[layout.loop](dest, source, layout, samples);
}

void pcm___ConvertFromSamples(uint8_t *dest, const Layout &layout, const PCM_SAMPLE *source, pbInt samples)
{
    if (samples < kTurn)
        EncodeShort(dest, layout, source, samples);
    else if (layout.container > 4)
        EncodeWide(dest, layout, source, samples);
    else
        loops[layout.kind].encode[layout.loop](dest, source, layout, samples);
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
