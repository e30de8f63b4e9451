// The filter: exact whatever the framing, and private to its holder.
#include "models/filter_model.h"

#include <limits>

TEST(Filter, WeighsTheNewestFrameWithTheFirstTapAndClampsWhatComesOut)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity(), kNan = std::numeric_limits<float>::quiet_NaN();
    // clang-format off
    const struct {
        pbInt channels;
        Samples taps, input, output;
    } rows[] = {
        {2, {0.5f, 0.25f, -0.5f}, {1, 0.5f, 0, 0, 0, 1, 0, 0}, {0.5f, 0.25f, 0.25f, 0.125f, -0.5f, 0.25f, 0, 0.25f}},
        {1, {1, 0.5f}, {3, -1, -5, kInfinity, 0, kNan, 0.25f, 0.25f}, {1, 0.5f, -1, 1, 1, kNan, kNan, 0.375f}},
    };
    // clang-format on
    for (const auto &row : rows) {
        pcm::Filter filter(pcm::FilterCoefficients(row.taps), row.channels);
        filter.Write(MakePacket(row.channels, row.input));
        EXPECT_TRUE(Same(SamplesOf(filter.Read().Get()), row.output));
        EXPECT_TRUE(Same(Defined(row.taps, row.input, row.channels), row.output));
    }
}

TEST(Filter, GivesTheDefinitionsBitsHoweverTheSignalIsCut)
{
    // Taps, channels, frames in a first packet, whose output is dropped, frames, and the longest packet or 0 for one.
    std::vector<std::array<pbInt, 5>> rows = {
        {127, 3, 0, 400, 130},     {300, 1, 1000, 700, 500}, {700, 2, 705, 900, 50}, {2049, 2, 10, 2500, 2500},
        {4096, 1, 4000, 300, 80},  {4097, 1, 4097, 900, 64}, {5000, 9, 300, 80, 20}, {12000, 1, 12005, 200, 90},
        {40000, 2, 300, 100, 100}, {3, 2048, 1, 9, 4},       {3, 2049, 1, 9, 4},     {2, 4096, 0, 5, 3},
        {60, 12, 0, 60, 0},        {1, 5000, 0, 3, 2},       {50, 130, 20, 150, 70}, {10, 450, 3, 40, 30},
    };
    Random random;
    for (const pbInt frames : {6, 7, 25, 26, 51, 208, 209, 210, 418, 419}) { // about as many as the stack holds at once
        rows.push_back({48, 80, 50, frames, 0});
        rows.push_back({300, 8, 300, frames, 0});
    }
    for (pbInt channels = 1; channels <= 12; ++channels)
        for (pbInt length = 1; length <= 64; ++length)
            for (const pbInt longest : {0, 0, 0, 100})
                rows.push_back({length, channels, 0, random.From(1, 85 * 16 / channels), longest});
    for (const auto &[length, channels, before, frames, longest] : rows) {
        SCOPED_TRACE(testing::Message() << length << " taps, " << frames << " frames of " << channels << " channels");
        const bool odd = length <= 64 && random.OneIn(4);
        const Samples taps = odd ? random.OddRun(length) : random.Run(length);
        const pbInt samples = (before + frames) * channels;
        const Samples input = odd ? random.OddRun(samples) : random.Run(samples);
        pcm::Filter filter(pcm::FilterCoefficients(taps), channels);
        auto next = input.begin();
        const auto write = [&, channels = channels](pbInt count) {
            const auto pkt = MakePacket(channels, Samples(next, next + count * channels));
            const pbInt blocks = allocatedBlocks;
            filter.Write(pkt);
            EXPECT_EQ(allocatedBlocks - blocks, count ? 1 : 0) << "blocks of samples: the packet's alone";
            next += count * channels;
        };
        write(before);
        filter.Read();
        while (next != input.end()) {
            const pbInt left = (input.end() - next) / channels;
            write(longest ? random.From(0, std::min(left, random.OneIn(2) ? longest : 3)) : left);
        }
        ASSERT_TRUE(Same(SamplesOf(filter.Gather(frames).Get()), Defined(taps, input, channels, before)));
    }
}
