// Conversion: how a sample becomes a number, and how the number lies in memory. The two are described apart, once for
// both directions, and joined by the loops.
#include "../pb/pb_assert.h"
#include "pcm_encoding_groups.h"
#include "pcm_isa.h"

#include <pcm/pcm_convert.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <array>
#include <bit>
#include <cstring>

static_assert(std::endian::native == std::endian::little, "the host's samples are stored least significant byte first");

namespace pcm {
namespace {

/// The codecs (pcm_convert_loops.h).
enum Kind : uint8_t { kSigned, kOffset, kOffset32, kFloat, kAlaw, kMulaw, kKinds };

/// A codec's loops by container: 0 is any number of bytes, 1 to 4 so many, kWhole four bytes in the host's order.
constexpr int kWhole = 5;

/// Where a sample's bytes lie: `bytes` of them from `offset` on in every container of `container` bytes.
struct Layout {
    Kind kind;
    bool bigEndian;
    uint8_t bytes, container, offset, loop;

    explicit constexpr Layout(PCM_ENCODING flags)
    {
        constexpr Kind kKindOf[kTypeCount + 1][2] = {{kAlaw, kAlaw},     {kMulaw, kMulaw},   {kSigned, kOffset},
                                                     {kSigned, kOffset}, {kSigned, kOffset}, {kSigned, kOffset32},
                                                     {kFloat, kFloat},   {kFloat, kFloat}};
        const PCM_ENCODING encoding = Normalize(flags), type = encoding & kTypes;
        kind = kKindOf[TypeIndex(type)][(encoding & PCM_ENCODING_UNSIGNED) != 0];
        bytes = static_cast<uint8_t>(SampleBytes(type));
        container = static_cast<uint8_t>(ContainerBytes(encoding));
        const bool last = encoding & PCM_ENCODING_PAD_BEFORE ||
                          (encoding & PCM_ENCODING_BIG_ENDIAN && !(encoding & PCM_ENCODING_PAD_AFTER));
        offset = last ? static_cast<uint8_t>(container - bytes) : 0;
        bigEndian = type && encoding & PCM_ENCODING_BIG_ENDIAN; // without a type: the host's layout
        loop = container > 4 ? 0 : bytes == 4 && !bigEndian ? kWhole : container;
    }

    /// A container as a number, least significant byte first, from the word of which the sample is the top bytes.
    uint64_t Place(uint32_t word) const
    {
        word &= ~uint32_t{0} << (32 - 8 * bytes);
        const uint64_t code = bigEndian ? __builtin_bswap32(word) : word >> (32 - 8 * bytes);
        return code << (8 * offset);
    }

    uint32_t Take(uint64_t held) const
    {
        const auto code = static_cast<uint32_t>(held >> (8 * offset));
        return bigEndian ? __builtin_bswap32(code) & (~uint32_t{0} << (32 - 8 * bytes)) : code << (32 - 8 * bytes);
    }
};

// Containers in memory: eight bytes, of which those behind the container are unspecified, or no more than it has.

inline void StoreWhole(uint8_t *dest, uint64_t held)
{
    std::memcpy(dest, &held, sizeof(held));
}

inline uint64_t LoadWhole(const uint8_t *source)
{
    uint64_t held;
    std::memcpy(&held, source, sizeof(held));
    return held;
}

inline void StoreBytes(uint8_t *dest, uint64_t held, int bytes)
{
    std::memcpy(dest, &held, static_cast<std::size_t>(bytes));
}

inline uint64_t LoadBytes(const uint8_t *source, int bytes)
{
    uint64_t held = 0;
    std::memcpy(&held, source, static_cast<std::size_t>(bytes));
    return held;
}

/// The top kBytes of a word, in the byte order.
template <int kBytes, bool kBigEndian> inline void StoreCode(uint8_t *dest, uint32_t word)
{
    for (int i = 0; i < kBytes; ++i)
        dest[i] = static_cast<uint8_t>(word >> (kBigEndian ? 24 - 8 * i : 32 - 8 * kBytes + 8 * i));
}

template <int kBytes, bool kBigEndian> inline uint32_t LoadCode(const uint8_t *source)
{
    uint32_t word = 0;
    for (int i = 0; i < kBytes; ++i)
        word |= static_cast<uint32_t>(source[i]) << (kBigEndian ? 24 - 8 * i : 32 - 8 * kBytes + 8 * i);
    return word;
}

/// Byte shuffles between four words and the four containers of up to four bytes that they become, for every layout.
struct Controls {
    alignas(16) uint8_t pack[4][4][2][2][16], spread[4][4][2][2][16]; ///< [container - 1][bytes - 1][last][bigEndian]

    static constexpr uint8_t kZero = 0x80;

    constexpr Controls() : pack(), spread()
    {
        for (int i = 0; i < 4 * 4 * 2 * 2; ++i) {
            const int container = i / 16 + 1, bytes = i / 4 % 4 + 1, last = i / 2 % 2, big = i % 2;
            Fill(pack[container - 1][bytes - 1][last][big], spread[container - 1][bytes - 1][last][big], container,
                 bytes, last ? container - bytes : 0, big);
        }
    }

    static constexpr void Fill(uint8_t *pack, uint8_t *spread, int container, int bytes, int offset, bool big)
    {
        for (int i = 0; i < 16; ++i)
            pack[i] = spread[i] = kZero;
        for (int sample = 0; sample < 4 && bytes <= container; ++sample) {
            for (int byte = 0; byte < bytes; ++byte) {
                const int held = sample * container + offset + byte;
                const int word = sample * 4 + (big ? 3 - byte : 4 - bytes + byte);
                pack[held] = static_cast<uint8_t>(word);
                spread[word] = static_cast<uint8_t>(held);
            }
        }
    }
};

constexpr Controls kControls;

[[maybe_unused]] inline const uint8_t *PackControl(const Layout &layout)
{
    return kControls.pack[layout.container - 1][layout.bytes - 1][layout.offset > 0][layout.bigEndian];
}

[[maybe_unused]] inline const uint8_t *SpreadControl(const Layout &layout)
{
    return kControls.spread[layout.container - 1][layout.bytes - 1][layout.offset > 0][layout.bigEndian];
}

struct CodecLoops {
    void (*encode[kWhole + 1])(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples);
    void (*decode[kWhole + 1])(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples);
};

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_convert_loops.h"
#include "pcm_each_isa.h"

namespace {

using pcm::Layout;

void pcm___ConvertToSamples(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    pcm::loops[layout.kind].decode[layout.loop](dest, source, layout, samples);
}

void pcm___ConvertFromSamples(uint8_t *dest, const Layout &layout, const PCM_SAMPLE *source, pbInt samples)
{
    pcm::loops[layout.kind].encode[layout.loop](dest, source, layout, samples);
}

/// From one external encoding to another, through a run of samples that stays in the cache.
[[gnu::noinline]] void ConvertThroughSamples(uint8_t *dest, const Layout &to, const uint8_t *source, const Layout &from,
                                             pbInt samples)
{
    constexpr pbInt kChunk = 256;
    alignas(64) PCM_SAMPLE chunk[kChunk];
    for (pbInt done = 0; done < samples; done += kChunk) {
        const pbInt n = pbIntMin(kChunk, samples - done);
        pcm___ConvertToSamples(chunk, source + done * from.container, from, n);
        pcm___ConvertFromSamples(dest + done * to.container, to, chunk, n);
    }
}

/// Whether the encoding is the sample itself in memory.
bool IsSample(PCM_ENCODING encoding)
{
    return (encoding & pcm::kFlags) == 0;
}

/// Of two encodings one is mostly that, and short runs notice what the layout of the other costs.
Layout LayoutOf(PCM_ENCODING encoding)
{
    constexpr Layout kSample(0);
    return IsSample(encoding) ? kSample : Layout(encoding);
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
    const Layout to = LayoutOf(destEncoding), from = LayoutOf(sourceEncoding);
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
