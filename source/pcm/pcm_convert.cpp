// Conversion: how a sample becomes a number, and how the number lies in memory. The two are described apart, once for
// both directions, and joined by the loops.
#include "../pb/pb_assert.h"
#include "pcm_encoding_groups.h"
#include "pcm_g711.h"
#include "pcm_levels.h"

#include <pcm/pcm_convert.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>

#ifdef __x86_64__
#include <immintrin.h>
#endif

static_assert(std::endian::native == std::endian::little, "the host's samples are stored least significant byte first");

namespace pcm {
namespace {

enum class Kind : uint8_t { Signed, Offset, Offset32, Float, Alaw, Mulaw };

/// Where a sample's bytes lie: `bytes` of them from `offset` on in every container of `container` bytes.
struct Layout {
    Kind kind;
    bool bigEndian;
    uint8_t bytes, container, offset;

    explicit Layout(PCM_ENCODING encoding) ///< normalised
    {
        const PCM_ENCODING type = encoding & kTypes;
        const bool isUnsigned = encoding & PCM_ENCODING_UNSIGNED;
        switch (type) {
        case PCM_ENCODING_G711_ALAW: kind = Kind::Alaw; break;
        case PCM_ENCODING_G711_MULAW: kind = Kind::Mulaw; break;
        case PCM_ENCODING_INT_8:
        case PCM_ENCODING_INT_16:
        case PCM_ENCODING_INT_24: kind = isUnsigned ? Kind::Offset : Kind::Signed; break;
        case PCM_ENCODING_INT_32: kind = isUnsigned ? Kind::Offset32 : Kind::Signed; break;
        default: kind = Kind::Float; break;
        }
        bytes = static_cast<uint8_t>(SampleBytes(type));
        container = static_cast<uint8_t>(ContainerBytes(encoding));
        const bool last = encoding & PCM_ENCODING_PAD_BEFORE ||
                          (encoding & PCM_ENCODING_BIG_ENDIAN && !(encoding & PCM_ENCODING_PAD_AFTER));
        offset = last ? static_cast<uint8_t>(container - bytes) : 0;
        bigEndian = type && encoding & PCM_ENCODING_BIG_ENDIAN; // without a type: the host's layout
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

// How a sample becomes a 32-bit word, of which the top bytes are kept: fewer than four round down.

/// Two's complement: truncated toward zero, saturated at full scale, NaN as 0.
struct SignedSample {
    static constexpr Kind kKind = Kind::Signed;

    static uint32_t Encode(PCM_SAMPLE sample)
    {
        const float v = sample * 0x1p31f;
        const float inRange = v > -0x1p31f ? v < 0x1p31f ? v : 0x1.fffffep30f : -0x1p31f; // NaN: -2^31
        const auto n = static_cast<int32_t>(inRange);
        const uint32_t saturated = v >= 0x1p31f ? 0x7FFFFFFFu : static_cast<uint32_t>(n);
        return v == v ? saturated : 0;
    }

    static PCM_SAMPLE Decode(uint32_t word) { return static_cast<float>(static_cast<int32_t>(word)) * 0x1p-31f; }
};

/// Offset binary of up to three bytes: decoded as two's complement with the sign bit flipped.
struct OffsetSample {
    static constexpr Kind kKind = Kind::Offset;

    static uint32_t Encode(PCM_SAMPLE sample)
    {
        const float v = std::fma(sample, 0x1p31f, 0x1p31f);
        const float inRange = v > 0.0f ? v < 0x1p32f ? v : 0x1.fffffep31f : 0.0f; // NaN: 0
        const auto n = static_cast<uint32_t>(static_cast<int64_t>(inRange));
        return v >= 0x1p32f ? ~uint32_t{0} : n;
    }

    static PCM_SAMPLE Decode(uint32_t word) { return SignedSample::Decode(word ^ 0x80000000u); }
};

/// Offset binary of four bytes: rounded to single precision before the offset is taken away.
struct Offset32Sample : OffsetSample {
    static constexpr Kind kKind = Kind::Offset32;

    static PCM_SAMPLE Decode(uint32_t word) { return std::fma(static_cast<float>(word), 0x1p-31f, -1.0f); }
};

/// IEEE 754 single precision: the bits themselves.
struct FloatSample {
    static constexpr Kind kKind = Kind::Float;

    static uint32_t Encode(PCM_SAMPLE sample) { return std::bit_cast<uint32_t>(sample); }
    static PCM_SAMPLE Decode(uint32_t word) { return std::bit_cast<PCM_SAMPLE>(word); }
};

/// A place among the signed codes of G.711.
inline int32_t G711Place(PCM_SAMPLE sample)
{
    const float v = sample * 32768.0f;
    const float inRange = v < 32767.0f ? v > -32768.0f ? v : -32768.0f : 32767.0f; // NaN: see below
    const auto x = static_cast<int32_t>(v == v ? inRange : 0.0f);
    return (x >= 0 ? g711::kPositive : 0) + (std::abs(x) >> 3);
}

// One lookup for each sample, four to a round. Functions of their own, outside the loops of each level: compilers would
// make them gathers there, which are slower.

template <class Look> inline void ForEach(pbInt samples, Look look)
{
    pbInt i = 0;
    for (; i + 4 <= samples; i += 4) {
        look(i);
        look(i + 1);
        look(i + 2);
        look(i + 3);
    }
    for (; i < samples; ++i)
        look(i);
}

[[gnu::noinline]] void LookUpCodes(uint8_t *dest, const int32_t *places, const Layout &layout, pbInt samples)
{
    const uint8_t *const codes = (layout.kind == Kind::Alaw ? g711::kAlawCodes : g711::kMulawCodes).data();
    if (layout.container == 1)
        ForEach(samples, [=](pbInt i) { dest[i] = codes[places[i]]; });
    else
        ForEach(samples, [=](pbInt i) { dest[i * layout.container + layout.offset] = codes[places[i]]; });
}

[[gnu::noinline]] void DecodeG711(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    const uint32_t *const values = (layout.kind == Kind::Alaw ? g711::kAlawSamples : g711::kMulawSamples).data();
    const auto decode = [=](pbInt i, uint8_t code) { std::memcpy(dest + i, values + code, sizeof(PCM_SAMPLE)); };
    if (layout.container == 1)
        ForEach(samples, [=](pbInt i) { decode(i, source[i]); });
    else
        ForEach(samples, [=](pbInt i) { decode(i, source[i * layout.container + layout.offset]); });
}

// Containers in memory.

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
    for (int i = 0; i < bytes; ++i)
        dest[i] = static_cast<uint8_t>(held >> (8 * i));
}

inline uint64_t LoadBytes(const uint8_t *source, int bytes)
{
    uint64_t held = 0;
    for (int i = 0; i < bytes; ++i)
        held |= static_cast<uint64_t>(source[i]) << (8 * i);
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

struct Loops {
    void (*encode)(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples);
    void (*decode)(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples);
};

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_convert_loops.h"
#include "pcm_each_level.h"

namespace {

using pcm::Kind;
using pcm::Layout;

const pcm::Loops loops = pcm::ForThisProcessor(pcm::base::kLoops, pcm::v3::kLoops, pcm::v4::kLoops);

void pcm___ConvertToSamples(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    loops.decode(dest, source, layout, samples);
}

void pcm___ConvertFromSamples(uint8_t *dest, const Layout &layout, const PCM_SAMPLE *source, pbInt samples)
{
    if (layout.kind >= Kind::Alaw && layout.container > layout.bytes)
        pbMemSetN(dest, 0, samples, layout.container); // the other kinds write their padding themselves
    loops.encode(dest, source, layout, samples);
}

} // namespace

void pcm___Convert(void *dest, PCM_ENCODING destEncoding, const void *source, PCM_ENCODING sourceEncoding,
                   pbInt samples)
{
    PB_ASSERT(samples >= 0);
    PB_ASSERT(dest || samples == 0);
    PB_ASSERT(source || samples == 0);
    destEncoding = pcm::Normalize(destEncoding);
    sourceEncoding = pcm::Normalize(sourceEncoding);
    const Layout to(destEncoding), from(sourceEncoding);
    const pbInt destSize = to.container, sourceSize = from.container;
    if (samples == 0)
        return;
    PB_ASSERT(PB_INT_MUL_OK( destSize, samples ));
    PB_ASSERT(PB_INT_MUL_OK( sourceSize, samples ));

    if (destEncoding == 0 && sourceEncoding == 0)
        return pbMemCopyN(dest, source, samples, destSize);
    auto *out = static_cast<uint8_t *>(dest);
    const auto *in = static_cast<const uint8_t *>(source);
    if (destEncoding == 0)
        return pcm___ConvertToSamples(static_cast<PCM_SAMPLE *>(dest), in, from, samples);
    if (sourceEncoding == 0)
        return pcm___ConvertFromSamples(out, to, static_cast<const PCM_SAMPLE *>(source), samples);

    constexpr pbInt kChunk = 256;
    alignas(64) PCM_SAMPLE chunk[kChunk];
    for (pbInt done = 0; done < samples; done += kChunk) {
        const pbInt n = pbIntMin(kChunk, samples - done);
        pcm___ConvertToSamples(chunk, in + done * sourceSize, from, n);
        pcm___ConvertFromSamples(out + done * destSize, to, chunk, n);
    }
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
