// Coefficient sets and the names of those that are built in.
#include "support.h"

#include <array>
#include <cmath>
#include <complex>
#include <numbers>

namespace {

/// What a set's name promises: frequencies in Hz, levels in dB.
const struct {
    PCM_FILTER_TYPE type;
    const char *name;
    pbInt taps;
    double cutoff, rate, gain, stopFrom, stopLevel;
} rows[] = {
    {0, "PCM_FILTER_TYPE_LOWPASS_4000_AT_16000", 16, 4000, 16000, 0.974009514, 5000, -30},
    {1, "PCM_FILTER_TYPE_LOWPASS_4000_AT_24000", 24, 4000, 24000, 0.982881193, 5300, -30},
    {2, "PCM_FILTER_TYPE_LOWPASS_4000_AT_48000", 48, 4000, 48000, 0.987042724, 6850, -40},
    {3, "PCM_FILTER_TYPE_LOWPASS_6000_AT_24000", 24, 6000, 24000, 0.990794581, 8700, -40},
    {4, "PCM_FILTER_TYPE_LOWPASS_6000_AT_48000", 48, 6000, 48000, 0.996010793, 9500, -40},
    {5, "PCM_FILTER_TYPE_LOWPASS_8000_AT_48000", 48, 8000, 48000, 0.998430093, 12400, -40},
    {6, "PCM_FILTER_TYPE_LOWPASS_12000_AT_48000", 48, 12000, 48000, 0.999432846, 16300, -40},
};

pbInt RefCount(PCM_FILTER_COEFFICIENTS *coeff)
{
    return pcmFilterCoefficientsObj(coeff)->refCount;
}

/// The level in dB of a tone of so many Hz behind the filter.
double LevelAt(std::span<const PCM_SAMPLE> taps, double frequency, double rate)
{
    std::complex<double> sum = 0;
    for (std::size_t i = 0; i < taps.size(); ++i)
        sum += static_cast<double>(taps[i]) *
               std::polar(1.0, -2 * std::numbers::pi * frequency / rate * static_cast<double>(i));
    return 20 * std::log10(std::abs(sum) + 1e-9);
}

} // namespace

TEST(FilterCoefficients, BuiltinSetsAreWhatTheirNamesSay)
{
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const pcm::FilterCoefficients set(row.type);
        const auto taps = set.Taps();
        ASSERT_EQ(set.Length(), row.taps);
        double gain = 0;
        for (std::size_t i = 0; i < taps.size(); ++i) {
            gain += static_cast<double>(taps[i]);
            EXPECT_EQ(taps[i], taps[taps.size() - 1 - i]);
        }
        EXPECT_NEAR(gain, row.gain, 0.5001e-9);

        EXPECT_NEAR(LevelAt(taps, row.cutoff, row.rate), -3.4, 0.4);
        for (double f = 0; f <= 0.86 * row.cutoff; f += 10)
            ASSERT_NEAR(LevelAt(taps, f, row.rate), 0, 0.5) << f;
        for (double f = row.stopFrom; f <= row.rate / 2; f += 10)
            ASSERT_LT(LevelAt(taps, f, row.rate), row.stopLevel) << f;
    }
}

TEST(FilterCoefficients, BuiltinSetsAreSharedByEverybody)
{
    PCM_FILTER_COEFFICIENTS *const slots[] = {
        pcm___FilterCoefficientsLowpass4000At16000, pcm___FilterCoefficientsLowpass4000At24000,
        pcm___FilterCoefficientsLowpass4000At48000, pcm___FilterCoefficientsLowpass6000At24000,
        pcm___FilterCoefficientsLowpass6000At48000, pcm___FilterCoefficientsLowpass8000At48000,
        pcm___FilterCoefficientsLowpass12000At48000};
    for (PCM_FILTER_TYPE type = 0; type < 7; ++type) {
        const auto count = RefCount(slots[type]);
        const pcm::FilterCoefficients one(type), other(type);
        EXPECT_EQ(one.Get(), slots[type]);
        EXPECT_EQ(other.Get(), slots[type]);
        EXPECT_EQ(RefCount(slots[type]), count + 2);
    }
    EXPECT_EQ(BitsOf(Samples(std::begin(pcm___FilterCoefficientsBuiltinLowpass8000At48000),
                             std::end(pcm___FilterCoefficientsBuiltinLowpass8000At48000))),
              BitsOf(Samples(pcmFilterCoefficientsBacking(slots[5]), pcmFilterCoefficientsBacking(slots[5]) + 48)));
    EXPECT_ABORT(pcmFilterCoefficientsCreate(-1), "PCM_FILTER_TYPE_OK( type )");
    EXPECT_ABORT(pcmFilterCoefficientsCreate(7), "PCM_FILTER_TYPE_OK( type )");
}

TEST(FilterCoefficients, BuiltinSetsOutliveTheModuleWithTheirHolders)
{
    const auto check = [] {
        const pcm::FilterCoefficients held(3);
        pcm___ModuleShutdown();
        const auto *mark = reinterpret_cast<void *>(UINTPTR_MAX);
        const bool marked =
            pcm___FilterTypeEnum == mark && pcm___FilterCoefficientsLowpass4000At16000 == mark &&
            pcm___FilterCoefficientsLowpass4000At24000 == mark && pcm___FilterCoefficientsLowpass4000At48000 == mark &&
            pcm___FilterCoefficientsLowpass6000At24000 == mark && pcm___FilterCoefficientsLowpass6000At48000 == mark &&
            pcm___FilterCoefficientsLowpass8000At48000 == mark && pcm___FilterCoefficientsLowpass12000At48000 == mark;
        std::_Exit(marked && RefCount(held.Get()) == 1 && held.Taps()[11] == 0.46726942f ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

TEST(FilterCoefficients, OwnSetsKeepTheirTaps)
{
    Samples taps = {0.5f, -2.0f, 0.0f};
    const pcm::FilterCoefficients copy(taps);
    const auto second = pcm::FilterCoefficients::Adopt(pcmFilterCoefficientsCreateFrom(copy.Get()));
    taps[0] = 9.0f;
    EXPECT_NE(second.Get(), copy.Get());
    for (const auto &set : {copy, second}) {
        EXPECT_EQ(Samples(set.Taps().begin(), set.Taps().end()), (Samples{0.5f, -2.0f, 0.0f}));
        EXPECT_EQ(pb___ObjDbgAllocationSize(pcmFilterCoefficientsObj(set.Get())), 12);
    }

    auto *block = static_cast<PCM_SAMPLE *>(pbMemAllocN(1, 4));
    *block = 0.25f;
    const auto used = pcm::FilterCoefficients::Adopt(pcmFilterCoefficientsCreateFromSamplesUse(block, 1));
    EXPECT_EQ(used.Taps().data(), block);
    EXPECT_EQ(used.Length(), 1);
    EXPECT_EQ(pb___ObjDbgAllocationSize(pcmFilterCoefficientsObj(used.Get())), 4);

    EXPECT_ABORT(pcmFilterCoefficientsCreateFromSamplesCopy(nullptr, 0), "coefficients");
    EXPECT_ABORT(pcmFilterCoefficientsCreateFromSamplesCopy(block, 0), "length > 0");
    EXPECT_ABORT(pcmFilterCoefficientsCreateFromSamplesUse(nullptr, -1), "coefficients");
    EXPECT_ABORT(pcmFilterCoefficientsCreateFromSamplesUse(block, -1), "length > 0");
    EXPECT_ABORT(pcmFilterCoefficientsBacking(nullptr), "coeff");
    EXPECT_ABORT(pcmFilterCoefficientsLength(nullptr), "coeff");
}

TEST(FilterType, NamesAndBack)
{
    for (const auto &row : rows) {
        EXPECT_EQ(pcm::FilterTypeToString(row.type), row.name);
        EXPECT_EQ(pcm::FilterTypeFromString(row.name), row.type);
    }
    EXPECT_EQ(pcm::FilterTypeFromString("PCM_FILTER_TYPE_LOWPASS"), -1);
    EXPECT_ABORT(pcmFilterTypeToString(-1), "PCM_FILTER_TYPE_OK( type )");
    EXPECT_ABORT(pcmFilterTypeToString(7), "PCM_FILTER_TYPE_OK( type )");
    EXPECT_ABORT(pcmFilterTypeFromString(nullptr), "pbs");
}
