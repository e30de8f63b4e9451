// Encoding flags: normal form, sizes, names.
#include "support.h"

TEST(Encoding, OneFlagOfEachGroupCounts)
{
    // clang-format off
    const struct { PCM_ENCODING word, normal; pbInt size; } rows[] = {
        {0, 0, 4},
        {-1, PCM_ENCODING_G711_ALAW | PCM_ENCODING_UNSIGNED | PCM_ENCODING_BIG_ENDIAN | PCM_ENCODING_PAD_BEFORE |
         PCM_ENCODING_PACK_16, 2},
        {PCM_ENCODING(1) << 19, 0, 4},
        {PCM_ENCODING_G711_MULAW | PCM_ENCODING_INT_16, PCM_ENCODING_G711_MULAW, 1},
        {PCM_ENCODING_PAD_BEFORE | PCM_ENCODING_PAD_AFTER, PCM_ENCODING_PAD_BEFORE, 4},
        {PCM_ENCODING_PACK_56 | PCM_ENCODING_PACK_64, PCM_ENCODING_PACK_56, 7},
        {PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_16, PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_16, 3},
        {PCM_ENCODING_UNSIGNED | PCM_ENCODING_FLOAT_32, PCM_ENCODING_UNSIGNED | PCM_ENCODING_FLOAT_32, 4},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.word);
        EXPECT_EQ(pcmEncodingNormalize(row.word), row.normal);
        EXPECT_EQ(pcm::Encoding::FromString(pcm::Encoding(row.word).ToString()), row.normal);
        EXPECT_EQ(pcmEncodingSizeofSample(row.word), row.size);
    }
}

TEST(Encoding, NamesAreTheFlags)
{
    EXPECT_EQ(pcm::Encoding(PCM_ENCODING_BIG_ENDIAN | PCM_ENCODING_LITTLE_ENDIAN | PCM_ENCODING_INT_24).ToString(),
              "PCM_ENCODING_INT_24|PCM_ENCODING_BIG_ENDIAN");
    EXPECT_EQ(pcm::Encoding::FromString("PCM_ENCODING_PACK_64 | PCM_ENCODING_PACK_56|PCM_ENCODING_INT_8 |NOTHING"),
              PCM_ENCODING_INT_8 | PCM_ENCODING_PACK_56);
}
