// The runtime stand-in: what the library above it relies on, and what the headers decide beyond that.
#include "support.h"

#include <cmath>
#include <set>
#include <thread>

/// Whether the suite is meant to run over the runtime that takes every liberty. These tests find out whether it does.
const bool kLiberal = std::getenv("PCM_TEST_LIBERAL");

TEST(PbInt, PredicatesAgreeWithWiderArithmetic)
{
    std::vector<pbInt> values;
    for (const pbInt base :
         {pbInt{0}, INT64_MIN + 2, INT64_MAX - 2, pbInt{1} << 31, pbInt{3037000499}, pbInt{-3037000500}})
        for (pbInt near = -2; near <= 2; ++near)
            values.push_back(base + near);
    const auto fits = [](__int128 value) { return value >= INT64_MIN && value <= INT64_MAX; };
    for (const pbInt a : values)
        for (const pbInt b : values) {
            SCOPED_TRACE(testing::Message() << a << " and " << b);
            EXPECT_EQ(bool(PB_INT_ADD_OK(a, b)), fits(__int128(a) + b));
            EXPECT_EQ(bool(PB_INT_SUB_OK(a, b)), fits(__int128(a) - b));
            EXPECT_EQ(bool(PB_INT_MUL_OK(a, b)), fits(__int128(a) * b));
            EXPECT_EQ(std::pair(pbIntMin(a, b), pbIntMax(a, b)), (std::pair<pbInt, pbInt>(std::minmax(a, b))));
        }
    EXPECT_EQ(pbIntBitCount(-1), 64);
}

TEST(PbReal, RoundsToTheNearestWithinTheRangeAndComparesZeros)
{
    const double infinity = HUGE_VAL, nan = std::nan("");
    // clang-format off
    const std::pair<double, pbInt> rows[] = {
        {0.5, 1}, {-2.5, -3}, {0.49999999999999994, 0}, {nan, 0}, {0x1.fffffffffffffp62, 0x7ffffffffffffc00},
        {0x1p63, INT64_MAX}, {infinity, INT64_MAX}, {-0x1p63, INT64_MIN}, {-infinity, INT64_MIN},
    };
    // clang-format on
    for (const auto &[value, integer] : rows)
        EXPECT_TRUE((kLiberal && !std::isfinite(value)) || pbRealToInt(value) == integer) << value;
    EXPECT_TRUE(pbRealIsFinite(1e308) && pbRealIsNan(nan) && !pbRealIsNan(infinity) && pbRealEquals(0.0, -0.0));
    EXPECT_FALSE(pbRealIsFinite(infinity) || pbRealIsFinite(-infinity) || pbRealIsFinite(nan) ||
                 pbRealEquals(nan, nan));
    EXPECT_TRUE(pbRealCompare(-1, 1) < 0 && pbRealCompare(1, -1) > 0 && pbRealCompare(0.0, -0.0) == 0);
}

TEST(PbFlagset, WritesAndReadsNames)
{
    auto flags = Held<PB_FLAGSET>::Adopt(pbFlagsetCreate());
    pbFlagsetSetFlagCstr(flags.Address(), "HIGH", -1, 8);
    pbFlagsetSetFlagCstr(flags.Address(), "HIGH", -1, 4); // the last value counts
    pbFlagsetSetFlagCstr(flags.Address(), "LOWER", 3, 1);
    const auto other = flags;
    pbFlagsetSetFlagCstr(flags.Address(), "MIDDLE", -1, 2);
    EXPECT_FALSE(pbFlagsetHasFlagCstr(other.Get(), "MIDDLE", -1));
    EXPECT_TRUE(pbFlagsetHasFlagCstr(flags.Get(), "MIDDLE.", 6));
    for (const auto &[value, text] : {std::pair(7, "LOW|MIDDLE|HIGH"), {12, "HIGH"}, {0, ""}})
        EXPECT_EQ(pcm::String::Adopt(pbFlagsetGenerate(flags.Get(), value)).View(), text);
    for (const auto &[value, text] :
         {std::pair(5, " HIGH |LOW"), {4, "HIGH||UNKNOWN|low"}, {1, "LOW|LOW"}, {0, "LOW MIDDLE"}})
        EXPECT_EQ(pbFlagsetParse(flags.Get(), pcm::String(text).Get()), value) << text;
}

TEST(PbObj, StringsAreOrderedByTextAndOthersByAddress)
{
    EXPECT_LT(pcm::String("ab"), pcm::String("b"));
    EXPECT_GT(pcm::String("ab"), pcm::String("a"));
    EXPECT_EQ(pcm::String("its own text").ToString(), "its own text");
    const pcm::Packet a(1), b(1);
    EXPECT_EQ(a < b, a.Get() < b.Get());
    EXPECT_EQ(a.ToString(), (testing::Message() << "PCM_PACKET " << a.Get()).GetString());
}

TEST(PbRandom, SpreadsOverItsRangeAnewForEachThread)
{
    std::set<pbInt> seen;
    pbInt allOnes = -1, anyOne = 0, first = 0, second = 0;
    for (int i = 0; i < 2000; ++i) {
        seen.insert(pbRandomNonNegativeIntRange(5, 13));
        allOnes &= pbRandomInt();
        anyOne |= pbRandomInt();
    }
    EXPECT_EQ(std::tuple(*seen.begin(), *seen.rbegin(), seen.size()), std::tuple(5, 12 + kLiberal, 8u + kLiberal));
    EXPECT_EQ(std::pair(allOnes, anyOne), std::pair(pbInt{0}, pbInt{-1})); // every bit takes both values
    std::thread([&] { first = pbRandomInt(); }).join();
    std::thread([&] { second = pbRandomInt(); }).join();
    EXPECT_NE(first, second);
}
