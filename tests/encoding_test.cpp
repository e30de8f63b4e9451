// Encoding flags: normal form, sizes, names.
#include "support.h"

#include <limits>

namespace {

TEST(Encoding, OneFlagOfEachGroupCounts)
{
    const struct {
        PCM_ENCODING word, normal;
    } rows[] = {
        {0, 0},
        {PCM_ENCODING_G711_ALAW | PCM_ENCODING_INT_16, PCM_ENCODING_G711_ALAW},
        {PCM_ENCODING_INT_32 | PCM_ENCODING_FLOAT_32, PCM_ENCODING_INT_32},
        {PCM_ENCODING_BIG_ENDIAN | PCM_ENCODING_LITTLE_ENDIAN, PCM_ENCODING_BIG_ENDIAN},
        {PCM_ENCODING_PAD_BEFORE | PCM_ENCODING_PAD_AFTER, PCM_ENCODING_PAD_BEFORE},
        {PCM_ENCODING_PACK_24 | PCM_ENCODING_PACK_64, PCM_ENCODING_PACK_24},
        {PCM_ENCODING_UNSIGNED | PCM_ENCODING_FLOAT_32, PCM_ENCODING_UNSIGNED | PCM_ENCODING_FLOAT_32},
        {PCM_ENCODING_UNSIGNED, PCM_ENCODING_UNSIGNED},
        {PCM_ENCODING(1) << 19, 0},
        {-1, PCM_ENCODING_G711_ALAW | PCM_ENCODING_UNSIGNED | PCM_ENCODING_BIG_ENDIAN | PCM_ENCODING_PAD_BEFORE |
                 PCM_ENCODING_PACK_16},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.word);
        EXPECT_EQ(pcmEncodingNormalize(row.word), row.normal);
        EXPECT_EQ(pcmEncodingNormalize(row.normal), row.normal);
        EXPECT_EQ(pcm::Encoding::FromString(pcm::Encoding(row.word).ToString()), row.normal);
    }
}

TEST(Encoding, SizesAreThoseOfTheContainer)
{
    const struct {
        PCM_ENCODING encoding;
        pbInt size;
    } rows[] = {
        {0, 4},
        {PCM_ENCODING_G711_MULAW, 1},
        {PCM_ENCODING_INT_8 | PCM_ENCODING_PACK_64, 8},
        {PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_16, 3},
        {PCM_ENCODING_INT_16 | PCM_ENCODING_PACK_24, 3},
        {PCM_ENCODING_PACK_32, 4},
        {PCM_ENCODING_PACK_40, 5},
        {PCM_ENCODING_INT_32 | PCM_ENCODING_PACK_48, 6},
        {PCM_ENCODING_FLOAT_32 | PCM_ENCODING_PACK_56, 7},
    };
    for (const auto &row : rows)
        EXPECT_EQ(pcmEncodingSizeofSample(row.encoding), row.size) << row.encoding;
    EXPECT_EQ(pcmEncodingSizeofFrame(PCM_ENCODING_INT_24, 6), 18);
    EXPECT_ABORT_AT(pcmEncodingSizeofFrame(0, 0), "source/pcm/pcm_encoding", "channels > 0");
    EXPECT_ABORT_AT(pcmEncodingSizeofFrame(0, std::numeric_limits<pbInt>::max() / 3), "source/pcm/pcm_encoding",
                    "PB_INT_MUL_OK( channels, s )");
}

TEST(Encoding, NamesAreTheFlags)
{
    EXPECT_EQ(pcm::Encoding(PCM_ENCODING_BIG_ENDIAN | PCM_ENCODING_LITTLE_ENDIAN | PCM_ENCODING_INT_24).ToString(),
              "PCM_ENCODING_INT_24|PCM_ENCODING_BIG_ENDIAN");
    EXPECT_EQ(pcm::Encoding::FromString("PCM_ENCODING_PACK_64 | PCM_ENCODING_PACK_56|PCM_ENCODING_INT_8 |NOTHING"),
              PCM_ENCODING_INT_8 | PCM_ENCODING_PACK_56);
    for (int bit = 0; bit < 19; ++bit) // every flag has a name of its own
        EXPECT_EQ(pcm::Encoding::FromString(pcm::Encoding(PCM_ENCODING(1) << bit).ToString()), PCM_ENCODING(1) << bit);
    EXPECT_ABORT(pcmEncodingFromString(nullptr), "pbs");
}

} // namespace
