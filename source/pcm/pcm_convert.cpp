// Conversion: how a sample becomes a number, and how the number lies in memory. The two are described apart, once for
// both directions, and joined by the loops.
#include "../pb/pb_assert.h"
#include "pcm_g711.h"
#include "pcm_levels.h"

#include <pcm/pcm_convert.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <array>
#include <bit>
#include <cmath>
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
        const PCM_ENCODING type = encoding & 0x7F;
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
        bytes = static_cast<uint8_t>(pcmEncodingSizeofSample(type));
        container = static_cast<uint8_t>(pcmEncodingSizeofSample(encoding));
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

// How a sample becomes a 32-bit word, of which the top bytes are kept.

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

/// A place in the G.711 encoding tables, with the code's sign bit above it.
inline int32_t G711Place(PCM_SAMPLE sample)
{
    constexpr int32_t kPositive = 0x8000;
    const float v = sample * 32768.0f;
    const float inRange = v < 32767.0f ? v > -32768.0f ? v : -32768.0f : 32767.0f; // NaN: see below
    const auto x = static_cast<int32_t>(v == v ? inRange : 0.0f);
    return x >= 0 ? x >> 3 | kPositive : -x >> 3;
}

inline uint8_t G711Code(const uint8_t *codes, int32_t place)
{
    return static_cast<uint8_t>(codes[place & 0x1FFF] | (place >> 8 & 0x80));
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

[[maybe_unused]] inline const uint8_t *PackControl(Layout layout)
{
    return kControls.pack[layout.container - 1][layout.bytes - 1][layout.offset > 0][layout.bigEndian];
}

[[maybe_unused]] inline const uint8_t *SpreadControl(Layout layout)
{
    return kControls.spread[layout.container - 1][layout.bytes - 1][layout.offset > 0][layout.bigEndian];
}

struct Loops {
    void (*encode)(uint8_t *dest, const PCM_SAMPLE *source, Layout layout, pbInt samples);
    void (*decode)(PCM_SAMPLE *dest, const uint8_t *source, Layout layout, pbInt samples);
};

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_convert_loops.h"
#include "pcm_each_level.h"

namespace {

using pcm::Kind;
using pcm::Layout;

const pcm::Loops loops = pcm::ForThisProcessor(pcm::base::kLoops, pcm::v3::kLoops, pcm::v4::kLoops);

void pcm___ConvertToSamples(PCM_SAMPLE *dest, const uint8_t *source, PCM_ENCODING encoding, pbInt samples)
{
    if (encoding == 0)
        pbMemCopyN(dest, source, samples, PB_SIZEOF(PCM_SAMPLE));
    else
        loops.decode(dest, source, Layout(encoding), samples);
}

void pcm___ConvertFromSamples(uint8_t *dest, PCM_ENCODING encoding, const PCM_SAMPLE *source, pbInt samples)
{
    const Layout layout(encoding);
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
    destEncoding = pcmEncodingNormalize(destEncoding);
    sourceEncoding = pcmEncodingNormalize(sourceEncoding);
    const pbInt destSize = pcmEncodingSizeofSample(destEncoding);
    const pbInt sourceSize = pcmEncodingSizeofSample(sourceEncoding);
    if (samples == 0)
        return;
    PB_ASSERT(PB_INT_MUL_OK( destSize, samples ));
    PB_ASSERT(PB_INT_MUL_OK( sourceSize, samples ));

    auto *to = static_cast<uint8_t *>(dest);
    const auto *from = static_cast<const uint8_t *>(source);
    if (destEncoding == 0)
        return pcm___ConvertToSamples(static_cast<PCM_SAMPLE *>(dest), from, sourceEncoding, samples);
    if (sourceEncoding == 0)
        return pcm___ConvertFromSamples(to, destEncoding, static_cast<const PCM_SAMPLE *>(source), samples);

    constexpr pbInt kChunk = 256;
    PCM_SAMPLE chunk[kChunk];
    for (pbInt done = 0; done < samples;) {
        const pbInt n = pbIntMin(kChunk, samples - done);
        pcm___ConvertToSamples(chunk, from + done * sourceSize, sourceEncoding, n);
        pcm___ConvertFromSamples(to + done * destSize, destEncoding, chunk, n);
        done += n;
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
