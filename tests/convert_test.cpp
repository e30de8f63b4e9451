// Codes and values: bytes that can be looked up, G.711 by its intervals, and every codec at the edges of everything.
// The layouts of bytes and the lengths of runs are edges_test.cpp's and the model's.
#include "models/conversion_model.h"

#include <algorithm>
#include <limits>

namespace {

TEST(Convert, GivesTheBytesThatCanBeLookedUp)
{
    constexpr PCM_ENCODING s8 = PCM_ENCODING_INT_8, s16 = PCM_ENCODING_INT_16, u = PCM_ENCODING_UNSIGNED,
                           alaw = PCM_ENCODING_G711_ALAW, mulaw = PCM_ENCODING_G711_MULAW, f32 = PCM_ENCODING_FLOAT_32,
                           big = PCM_ENCODING_BIG_ENDIAN, in32 = PCM_ENCODING_PACK_32;
    constexpr float nan = std::numeric_limits<float>::quiet_NaN(), code1234 = 0x1234 / 32768.0f;
    // clang-format off
    const struct { const char *name; PCM_ENCODING encoding; float sample; Bytes bytes; float decoded; } rows[] = {
        {"16 full", s16, 1.0f, {0xFF, 0x7F}, 32767 / 32768.0f},
        {"16 half", s16, -0.5f, {0x00, 0xC0}, -0.5f}, {"16 beyond", s16, -3.0f, {0x00, 0x80}, -1.0f},
        {"16 NaN", s16, nan, {0x00, 0x00}, 0.0f}, {"16 unsigned NaN", s16 | u, nan, {0x00, 0x00}, -1.0f},
        {"16 rounds down, not to zero", s16, -1e-6f, {0xFF, 0xFF}, -1 / 32768.0f},
        {"8 unsigned middle", s8 | u, 0.0f, {0x80}, 0.0f}, {"8 unsigned full", s8 | u, 1.0f, {0xFF}, 127 / 128.0f},
        {"24 quarter", PCM_ENCODING_INT_24, -0.25f, {0x00, 0x00, 0xE0}, -0.25f},
        {"32 full", PCM_ENCODING_INT_32, 1.0f, {0xFF, 0xFF, 0xFF, 0x7F}, 1.0f},
        {"16 in 32, big", s16 | in32 | big, code1234, {0, 0, 0x12, 0x34}, code1234},
        {"16 in 32, big, first", s16 | in32 | big | PCM_ENCODING_PAD_AFTER, code1234, {0x12, 0x34, 0, 0}, code1234},
        {"16 in 32, last", s16 | in32 | PCM_ENCODING_PAD_BEFORE, code1234, {0, 0, 0x34, 0x12}, code1234},
        {"A-law zero", alaw, -0.00001f, {0xD5}, 8 / 32768.0f}, {"A-law full", alaw, 1.0f, {0xAA}, 32256 / 32768.0f},
        {"A-law lowest", alaw, -1.0f, {0x2A}, -32256 / 32768.0f}, {"A-law NaN", alaw, nan, {0xD5}, 8 / 32768.0f},
        {"A-law in 16, big", alaw | PCM_ENCODING_PACK_16 | big, 1.0f, {0, 0xAA}, 32256 / 32768.0f},
        {"mu-law zero", mulaw, 0.0f, {0xFF}, 0.0f}, {"mu-law full", mulaw, 1.0f, {0x80}, 32120 / 32768.0f},
        {"float beyond, big", f32 | big, 4.0f, {0x40, 0x80, 0, 0}, 4.0f},
        {"no type is the host's float", big, 1.0f, {0, 0, 0x80, 0x3F}, 1.0f},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        Bytes bytes(row.bytes.size());
        float decoded = 9.0f;
        pcm___Convert(bytes.data(), row.encoding, &row.sample, 0, 1);
        pcm___Convert(&decoded, 0, row.bytes.data(), row.encoding, 1);
        EXPECT_EQ(bytes, row.bytes);
        EXPECT_EQ(decoded, row.decoded);
    }
    for (const PCM_ENCODING type : SampleTypes())
        EXPECT_TRUE(std::ranges::any_of(rows, [=](auto &row) { return row.encoding & type; })) << type << " has no row";
}

/// ITU-T G.711, by the decision and reconstruction values of its tables rather than by shifts: each code is the
/// interval whose middle it decodes to.
TEST(G711, TablesAreTheRecommendations)
{
    for (const bool mulaw : {false, true}) {
        const auto &encode = mulaw ? pcm___EncodeG711MulawTable : pcm___EncodeG711AlawTable;
        const auto &decode = mulaw ? pcm___DecodeG711MulawTable : pcm___DecodeG711AlawTable;
        int start = 0, i = 0; // where the interval of a code starts, in 16-bit units; the table's next index
        for (int number = 0; number < 128; ++number) {
            const int width = mulaw && number == 0 ? 4 : 8 << (mulaw ? number / 16 : std::max(number / 16, 1));
            const int code = number ^ (mulaw ? 0x7F : 0x55), end = start + width;
            for (; i <= 4096 && (8 * i < end || number == 127); ++i)
                EXPECT_EQ(encode[i], code) << i;
            const int middle = mulaw && number == 0 ? 0 : (start + end) / 2, less = mulaw && number >= 16 ? 4 : 0;
            EXPECT_EQ(decode[code | 0x80], middle - less);
            EXPECT_EQ(decode[code], -middle - less);
            start = end;
        }
    }
}

/// Compares what the library makes of these patterns, as samples and as codes, with the plain definition. Containers of
/// their own size are converted as vectors, wider ones one sample at a time.
void CheckCodecs(const std::vector<uint32_t> &patterns, std::initializer_list<PCM_ENCODING> packs)
{
    Samples samples, decoded(patterns.size());
    for (const uint32_t pattern : patterns)
        samples.push_back(std::bit_cast<float>(pattern));
    for (const PCM_ENCODING type : SampleTypes())
        for (const PCM_ENCODING sign : {PCM_ENCODING(0), PCM_ENCODING_UNSIGNED})
            for (const PCM_ENCODING pack : packs) {
                const pcm::Encoding encoding = type | sign | pack;
                const Plain plain(encoding);
                Bytes bytes(samples.size() * static_cast<std::size_t>(plain.container), 0xA5);
                pcm___Convert(bytes.data(), encoding, samples.data(), 0, std::ssize(samples));
                ASSERT_TRUE(SameBits(bytes, plain.Encode(samples))) << encoding.ToString();
                for (pbInt i = 0; i < std::ssize(patterns); ++i)
                    for (pbInt b = 0; b < plain.bytes; ++b) // the top bytes
                        bytes[plain.PlaceOf(i, b)] = static_cast<uint8_t>(patterns[i] >> 8 * (4 - plain.bytes + b));
                pcm___Convert(decoded.data(), 0, bytes.data(), encoding, std::ssize(decoded));
                ASSERT_TRUE(SameBits(decoded, plain.Decode(bytes))) << encoding.ToString();
            }
}

/// First every 16-bit value with its neighbours, and every pattern of the upper 16 bits: every exponent with every
/// beginning of a mantissa. Then one in PCM_TEST_STRIDE of all 2^32 patterns, by default 4093; 1 takes long.
TEST(Convert, EveryCodecAgreesWithThePlainDefinition)
{
    std::vector<uint32_t> patterns;
    for (int n = -32768; n <= 32768; ++n)
        for (const float towards : {-9.0f, static_cast<float>(n) / 32768, 9.0f})
            patterns.push_back(std::bit_cast<uint32_t>(std::nextafter(static_cast<float>(n) / 32768, towards)));
    for (uint32_t top = 0; top <= 0xFFFF; ++top)
        patterns.push_back(top << 16 | 1);
    CheckCodecs(patterns, {0, PCM_ENCODING_PACK_64});
    const char *const text = std::getenv("PCM_TEST_STRIDE");
    const uint64_t stride = text ? std::strtoull(text, nullptr, 10) : 4093;
    for (uint64_t next = 0; next >> 32 == 0 && !HasFailure(); CheckCodecs(patterns, {0}))
        for (patterns.clear(); next >> 32 == 0 && patterns.size() < 65536; next += stride)
            patterns.push_back(static_cast<uint32_t>(next));
}

} // namespace
