// Conversion against a plain definition that handles one sample at a time, byte by byte, from the flags themselves.
#include "plain_conversion.h"
#include "support.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>

namespace {

/// Every normalised encoding.
std::vector<PCM_ENCODING> AllEncodings()
{
    std::vector<PCM_ENCODING> encodings;
    for (const PCM_ENCODING type : {0, 1, 2, 4, 8, 16, 32, 64})
        for (const PCM_ENCODING sign : {0, 0x80})
            for (const PCM_ENCODING order : {0, 0x100, 0x200})
                for (const PCM_ENCODING side : {0, 0x400, 0x800})
                    for (const PCM_ENCODING pack : {0, 0x1000, 0x2000, 0x4000, 0x8000, 0x10000, 0x20000, 0x40000})
                        encodings.push_back(type | sign | order | side | pack);
    return encodings;
}

/// Samples at the edges of everything: every exponent with short and full mantissas, the neighbours of full scale and
/// of the integers' and G.711's steps, and what is not a number.
Samples BoundarySamples()
{
    Samples samples;
    const auto add = [&](float s) {
        for (const float near : {s, std::nextafter(s, -9.0f), std::nextafter(s, 9.0f)}) {
            samples.push_back(near);
            samples.push_back(-near);
        }
    };
    for (uint32_t exponent = 0; exponent < 256; ++exponent)
        for (const uint32_t mantissa : {0x000000u, 0x000001u, 0x400000u, 0x7FFFFFu, 0x2AAAAAu}) {
            samples.push_back(std::bit_cast<float>(exponent << 23 | mantissa));
            samples.push_back(std::bit_cast<float>(1u << 31 | exponent << 23 | mantissa));
        }
    for (int i = 0; i <= 256; ++i)
        add(static_cast<float>(i) / 256.0f);
    for (int i = 0; i < 4096; i += 37)
        add(static_cast<float>(i) / 4096.0f);
    for (const float edge : {32767.0f / 32768, 32766.0f / 32768, 1.0f / 32768, 2.0f, 0x1.fffffep-1f})
        add(edge);
    return samples;
}

Bytes Convert(PCM_ENCODING destEncoding, PCM_ENCODING sourceEncoding, const void *source, std::size_t samples)
{
    Bytes out(samples * static_cast<std::size_t>(pcmEncodingSizeofSample(destEncoding)), 0xA5);
    std::vector<PCM_SAMPLE> aligned(samples); // where the encoding is PCM_SAMPLE itself
    if (pcmEncodingNormalize(destEncoding)) {
        pcm___Convert(out.data(), destEncoding, source, sourceEncoding, static_cast<pbInt>(samples));
    } else {
        pcm___Convert(aligned.data(), destEncoding, source, sourceEncoding, static_cast<pbInt>(samples));
        if (samples)
            std::memcpy(out.data(), aligned.data(), out.size());
    }
    return out;
}

Samples Decode(PCM_ENCODING encoding, const Bytes &bytes)
{
    const std::size_t samples = bytes.size() / static_cast<std::size_t>(pcmEncodingSizeofSample(encoding));
    const Bytes out = Convert(0, encoding, bytes.data(), samples);
    Samples decoded(samples);
    if (samples)
        std::memcpy(decoded.data(), out.data(), out.size());
    return decoded;
}

std::string NameOf(PCM_ENCODING encoding)
{
    return pcm::Encoding(encoding).ToString();
}

TEST(Convert, EveryEncodingAgreesWithThePlainDefinition)
{
    const Samples samples = BoundarySamples();
    Random random;
    for (const PCM_ENCODING encoding : AllEncodings()) {
        SCOPED_TRACE(NameOf(encoding));
        const Plain plain(encoding);
        EXPECT_EQ(Convert(encoding, 0, samples.data(), samples.size()), plain.Encode(samples));

        Bytes codes(1000 * static_cast<std::size_t>(plain.container));
        for (uint8_t &byte : codes)
            byte = static_cast<uint8_t>(random.Bits());
        EXPECT_EQ(BitsOf(Decode(encoding, codes)), BitsOf(plain.Decode(codes)));
        if (HasFailure())
            return;
    }
}

TEST(Convert, EveryLengthAndAlignmentWritesItsOwnBytesAndNoOthers)
{
    constexpr std::size_t kMost = 70;
    Samples samples = Random().Run(kMost + 1);
    samples[7] = std::numeric_limits<float>::quiet_NaN();
    samples[31] = 3.0f;
    for (const PCM_ENCODING encoding : AllEncodings()) {
        if (encoding & (PCM_ENCODING_LITTLE_ENDIAN | PCM_ENCODING_PAD_AFTER))
            continue; // the layouts of the others
        SCOPED_TRACE(NameOf(encoding));
        const Plain plain(encoding);
        const Bytes all = plain.Encode(samples);
        const Samples decoded = plain.Decode(all);
        for (std::size_t length = 0; length <= kMost; ++length) {
            const std::size_t shift = encoding ? length % 8 : 0,
                              size = length * static_cast<std::size_t>(plain.container);
            Bytes out(shift + size + 16, 0xA5), expected = out;
            std::copy_n(all.begin(), size, expected.begin() + static_cast<std::ptrdiff_t>(shift));
            pcm___Convert(out.data() + shift, encoding, samples.data(), 0, static_cast<pbInt>(length));
            ASSERT_EQ(out, expected) << length;

            Samples back(length + 4, 9.0f), wanted = back;
            std::copy_n(decoded.begin(), length, wanted.begin());
            if (size) // the bytes end where their block ends, for the address sanitizer
                std::memcpy(out.data() + out.size() - size, all.data(), size);
            pcm___Convert(back.data(), 0, out.data() + out.size() - size, encoding, static_cast<pbInt>(length));
            ASSERT_EQ(BitsOf(back), BitsOf(wanted)) << length;
        }
    }
}

TEST(Convert, BetweenTwoEncodingsIsDecodingThenEncoding)
{
    const std::vector<PCM_ENCODING> all = AllEncodings();
    Random random;
    for (int round = 0; round < 400; ++round) {
        const PCM_ENCODING from = all[static_cast<std::size_t>(random.From(1, 1151))];
        const PCM_ENCODING to = all[static_cast<std::size_t>(random.From(1, 1151))];
        SCOPED_TRACE(NameOf(from) + " to " + NameOf(to));
        const Plain source(from), dest(to);
        Bytes codes(static_cast<std::size_t>(random.From(0, 1100) * source.container));
        for (uint8_t &byte : codes)
            byte = static_cast<uint8_t>(random.Bits());
        const std::size_t samples = codes.size() / static_cast<std::size_t>(source.container);
        ASSERT_EQ(Convert(to, from, codes.data(), samples), dest.Encode(source.Decode(codes)));
    }
}

TEST(Convert, EveryCodeOfUpTo24BitsComesBack)
{
    for (const PCM_ENCODING type : {PCM_ENCODING_INT_8, PCM_ENCODING_INT_16, PCM_ENCODING_INT_24})
        for (const PCM_ENCODING variant : {PCM_ENCODING(0), PCM_ENCODING_UNSIGNED, PCM_ENCODING_BIG_ENDIAN,
                                           PCM_ENCODING_UNSIGNED | PCM_ENCODING_BIG_ENDIAN | PCM_ENCODING_PACK_32}) {
            const PCM_ENCODING encoding = type | variant;
            SCOPED_TRACE(NameOf(encoding));
            const Plain plain(encoding);
            const uint32_t step = type == PCM_ENCODING_INT_24 ? 13 : 1; // odd: the low bytes take every value
            Bytes codes;
            for (uint64_t code = 0; code < uint64_t{1} << (8 * plain.bytes); code += step) {
                codes.resize(codes.size() + static_cast<std::size_t>(plain.container));
                for (pbInt b = 0; b < plain.bytes; ++b)
                    codes[static_cast<std::size_t>(plain.PlaceOf(static_cast<pbInt>(codes.size()) / plain.container - 1,
                                                                 b))] = static_cast<uint8_t>(code >> (8 * b));
            }
            const Samples decoded = Decode(encoding, codes);
            EXPECT_TRUE(Convert(encoding, 0, decoded.data(), decoded.size()) == codes);
        }
}

TEST(Convert, BytesThatCanBeLookedUp)
{
    const PCM_ENCODING s16 = PCM_ENCODING_INT_16, big = PCM_ENCODING_BIG_ENDIAN, in32 = PCM_ENCODING_PACK_32;
    const float nan = std::numeric_limits<float>::quiet_NaN(), code1234 = 0x1234 / 32768.0f;
    const struct {
        const char *name;
        PCM_ENCODING encoding;
        PCM_SAMPLE sample;
        Bytes bytes;
    } rows[] = {
        {"16 full", s16, 1.0f, {0xFF, 0x7F}},
        {"16 full, big", s16 | big, 1.0f, {0x7F, 0xFF}},
        {"16 lowest", s16, -1.0f, {0x00, 0x80}},
        {"16 half", s16, -0.5f, {0x00, 0xC0}},
        {"16 beyond", s16, -3.0f, {0x00, 0x80}},
        {"16 NaN", s16, nan, {0x00, 0x00}},
        {"16 unsigned NaN", s16 | PCM_ENCODING_UNSIGNED, nan, {0x00, 0x00}},
        {"16 rounds down, not to zero", s16, -1e-6f, {0xFF, 0xFF}},
        {"8 unsigned middle", PCM_ENCODING_INT_8 | PCM_ENCODING_UNSIGNED, 0.0f, {0x80}},
        {"8 unsigned full", PCM_ENCODING_INT_8 | PCM_ENCODING_UNSIGNED, 1.0f, {0xFF}},
        {"16 in 32", s16 | in32, code1234, {0x34, 0x12, 0, 0}},
        {"16 in 32, big", s16 | in32 | big, code1234, {0, 0, 0x12, 0x34}},
        {"16 in 32, big, padded after", s16 | in32 | big | PCM_ENCODING_PAD_AFTER, code1234, {0x12, 0x34, 0, 0}},
        {"16 in 32, padded before", s16 | in32 | PCM_ENCODING_PAD_BEFORE, code1234, {0, 0, 0x34, 0x12}},
        {"A-law zero", PCM_ENCODING_G711_ALAW, -0.00001f, {0xD5}},
        {"A-law full", PCM_ENCODING_G711_ALAW, 1.0f, {0xAA}},
        {"A-law lowest", PCM_ENCODING_G711_ALAW, -1.0f, {0x2A}},
        {"A-law NaN", PCM_ENCODING_G711_ALAW, nan, {0xD5}},
        {"A-law in 16, big", PCM_ENCODING_G711_ALAW | PCM_ENCODING_PACK_16 | big, 1.0f, {0, 0xAA}},
        {"mu-law zero", PCM_ENCODING_G711_MULAW, 0.0f, {0xFF}},
        {"mu-law full", PCM_ENCODING_G711_MULAW, 1.0f, {0x80}},
        {"mu-law lowest", PCM_ENCODING_G711_MULAW, -1.0f, {0x00}},
        {"float, big", PCM_ENCODING_FLOAT_32 | big, 1.0f, {0x3F, 0x80, 0, 0}},
        {"no type is the host's float", big, 1.0f, {0, 0, 0x80, 0x3F}},
        {"float beyond", PCM_ENCODING_FLOAT_32 | big, 4.0f, {0x40, 0x80, 0, 0}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Convert(row.encoding, 0, &row.sample, 1), row.bytes);
    }
    EXPECT_EQ(Decode(s16, {0x00, 0x80, 0xFF, 0x7F}), (Samples{-1.0f, 0.999969482421875f}));
    EXPECT_EQ(Decode(PCM_ENCODING_INT_32, {0xFF, 0xFF, 0xFF, 0x7F}), Samples{1.0f});
    EXPECT_EQ(Decode(PCM_ENCODING_G711_MULAW, {0x80, 0x00}), (Samples{32120 / 32768.0f, -32128 / 32768.0f}));
}

/// ITU-T G.711, by the decision and reconstruction values of its tables rather than by shifts: each code is the
/// interval whose middle it decodes to.
TEST(G711, TablesAreTheRecommendations)
{
    std::map<int, unsigned> alaw, mulaw; // the magnitude at which a code's interval starts, in 16-bit units
    for (int code = 0, start = 0; code < 128; ++code) {
        alaw[start] = static_cast<unsigned>(code) ^ 0x55;
        start += code < 32 ? 16 : 16 << (code / 16 - 1);
    }
    for (int code = 0, start = 0; code < 128; ++code) {
        mulaw[start] = ~static_cast<unsigned>(code) & 0x7F;
        start += code == 0 ? 4 : 8 << (code / 16);
    }
    const auto codeAt = [](const std::map<int, unsigned> &starts, int magnitude) {
        return std::prev(starts.upper_bound(magnitude))->second;
    };
    for (int i = 0; i <= 4096; ++i) {
        EXPECT_EQ(pcm___EncodeG711AlawTable[i], codeAt(alaw, 8 * i)) << i;
        EXPECT_EQ(pcm___EncodeG711MulawTable[i], codeAt(mulaw, 8 * i)) << i;
    }
    for (auto at = alaw.begin(); at != alaw.end(); ++at) {
        const int middle = std::next(at) == alaw.end() ? 32256 : (at->first + std::next(at)->first) / 2;
        EXPECT_EQ(pcm___DecodeG711AlawTable[at->second | 0x80], middle);
        EXPECT_EQ(pcm___DecodeG711AlawTable[at->second], -middle);
    }
    for (auto at = mulaw.begin(); at != mulaw.end(); ++at) {
        const int middle = at->first == 0                 ? 0
                           : std::next(at) == mulaw.end() ? 32124
                                                          : (at->first + std::next(at)->first) / 2;
        const int less = middle < 128 ? 0 : 4;
        EXPECT_EQ(pcm___DecodeG711MulawTable[at->second | 0x80], middle - less);
        EXPECT_EQ(pcm___DecodeG711MulawTable[at->second], -middle - less);
    }
}

TEST(TryConvert, MakesABufferOrNothing)
{
    const auto buffer = [](const Bytes &bytes) { return pcm::Buffer(std::as_bytes(std::span(bytes))); };
    EXPECT_FALSE(pcm::TryConvert(PCM_ENCODING_INT_8, buffer({}), PCM_ENCODING_INT_16));
    EXPECT_FALSE(pcm::TryConvert(PCM_ENCODING_INT_8, buffer({1, 2, 3}), PCM_ENCODING_INT_16));
    const auto floats = pcm::TryConvert(PCM_ENCODING_FLOAT_32, buffer({0, 0x40, 0, 0xC0}), PCM_ENCODING_INT_16);
    ASSERT_EQ(floats.Length(), 8);
    const auto back = pcm::TryConvert(PCM_ENCODING_INT_8, floats, 0);
    EXPECT_EQ(static_cast<int>(back.Bytes()[0]), 0x40);
    EXPECT_EQ(static_cast<int>(back.Bytes()[1]), 0xC0);
}

TEST(Convert, RefusesWhatItCannotDo)
{
    const char *const file = "source/pcm/pcm_convert";
    uint8_t byte = 0;
    constexpr pbInt kMost = std::numeric_limits<pbInt>::max();
    EXPECT_ABORT_AT(pcm___Convert(&byte, 4, &byte, 4, -1), file, "samples >= 0");
    EXPECT_ABORT_AT(pcm___Convert(nullptr, 4, &byte, 4, 1), file, "dest || samples == 0");
    EXPECT_ABORT_AT(pcm___Convert(&byte, 4, nullptr, 4, 1), file, "source || samples == 0");
    EXPECT_ABORT_AT(pcm___Convert(&byte, 8, &byte, 8, kMost), file, "PB_INT_MUL_OK( destSize, samples )");
    EXPECT_ABORT_AT(pcm___Convert(&byte, 4, &byte, 8, kMost), file, "PB_INT_MUL_OK( sourceSize, samples )");
    pcm___Convert(nullptr, 4, nullptr, 8, 0);
}

} // namespace
