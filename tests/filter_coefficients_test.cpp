// Coefficient sets and the names of those that are built in.
#include "support.h"

namespace {

/// The built-in sets in the order of their types. A checksum is of the published decimals as single precision.
#define SET(at) pcm___FilterCoefficientsBuiltinLowpass##at, &pcm___FilterCoefficientsLowpass##at
const struct {
    const PCM_SAMPLE *taps;
    PCM_FILTER_COEFFICIENTS **slot;
    std::string name;
    pbInt length;
    uint32_t checksum;
} rows[] = {
    {SET(4000At16000), "PCM_FILTER_TYPE_LOWPASS_4000_AT_16000", 16, 0xBDAB8540},
    {SET(4000At24000), "PCM_FILTER_TYPE_LOWPASS_4000_AT_24000", 24, 0x889A51A0},
    {SET(4000At48000), "PCM_FILTER_TYPE_LOWPASS_4000_AT_48000", 48, 0x0DB24F80},
    {SET(6000At24000), "PCM_FILTER_TYPE_LOWPASS_6000_AT_24000", 24, 0x41619CE0},
    {SET(6000At48000), "PCM_FILTER_TYPE_LOWPASS_6000_AT_48000", 48, 0x0FC38660},
    {SET(8000At48000), "PCM_FILTER_TYPE_LOWPASS_8000_AT_48000", 48, 0x4BF202C0},
    {SET(12000At48000), "PCM_FILTER_TYPE_LOWPASS_12000_AT_48000", 48, 0xC82DBF40},
};

static_assert(PCM_FILTER_TYPE_OK(std::size(rows) - 1) && !PCM_FILTER_TYPE_OK(std::size(rows)), "a row for each type");

Samples TapsOf(const pcm::FilterCoefficients &set)
{
    return Samples(set.Taps().begin(), set.Taps().end());
}

} // namespace

TEST(FilterCoefficients, BuiltinSetsAreNamedAndSharedByEverybody)
{
    for (PCM_FILTER_TYPE type = 0; type < std::ssize(rows); ++type) {
        const auto &row = rows[type];
        SCOPED_TRACE(row.name);
        const pcm::FilterCoefficients set(type);
        EXPECT_EQ(set.Get(), *row.slot);
        EXPECT_EQ(pcm::Obj(*row.slot)->refCount, 2);
        EXPECT_EQ(TapsOf(set), Samples(row.taps, row.taps + row.length));
        uint32_t checksum = 0;
        for (const PCM_SAMPLE tap : TapsOf(set))
            checksum = checksum * 31 + std::bit_cast<uint32_t>(tap);
        EXPECT_EQ(checksum, row.checksum);
        EXPECT_EQ(pcm::FilterTypeToString(type), row.name);
        EXPECT_EQ(pcm::FilterTypeFromString(row.name), type);
    }
    EXPECT_EQ(pcm::FilterTypeFromString("PCM_FILTER_TYPE_LOWPASS"), -1);
}

TEST(FilterCoefficients, BuiltinSetsOutliveTheModuleWithTheirHolders)
{
    const pcm::FilterCoefficients held(3);
    pcmModule()->shutdown();
    EXPECT_EQ(reinterpret_cast<intptr_t>(pcm___FilterTypeEnum), -1);
    EXPECT_EQ(reinterpret_cast<intptr_t>(pcm___EncodingFlagset), -1);
    for (const auto &row : rows)
        EXPECT_EQ(reinterpret_cast<intptr_t>(*row.slot), -1) << row.name;
    EXPECT_EQ(pcm::Obj(held.Get())->refCount, 1);
    EXPECT_EQ(TapsOf(held), Samples(rows[3].taps, rows[3].taps + 24));
    EXPECT_EQ(pcmModule()->startup(), 1);
}

TEST(FilterCoefficients, OwnSetsKeepTheirTaps)
{
    Samples taps = {0.5f, -2.0f, 0.0f};
    auto *const block = static_cast<PCM_SAMPLE *>(pbMemAllocN(3, 4));
    pbMemCopyN(block, taps.data(), 3, 4);
    const auto used = pcm::FilterCoefficients::CreateFromSamplesUse(block, 3);
    const pcm::FilterCoefficients copy(taps), second = pcm::FilterCoefficients::CreateFrom(copy);
    taps[0] = 9.0f;
    for (const auto &set : {used, copy, second}) {
        EXPECT_EQ(TapsOf(set), (Samples{0.5f, -2.0f, 0.0f}));
        EXPECT_EQ(pb___ObjDbgAllocationSize(pcm::Obj(set.Get())), 12);
    }
    EXPECT_NE(second.Get(), copy.Get());
    EXPECT_NE(second.Taps().data(), copy.Taps().data());
    EXPECT_EQ(used.Taps().data(), block);
}
