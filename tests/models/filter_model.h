// Filters, plainly, and filters in several hands.
#pragma once

#include "../support.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kDenormal = std::numeric_limits<float>::denorm_min();

/// The definition: the frames of a stream from one on, filtered. Frames before the first are zeros.
inline Samples Defined(const Samples &taps, const Samples &input, pbInt channels, pbInt from = 0)
{
    Samples output;
    const auto length = static_cast<pbInt>(taps.size()), samples = static_cast<pbInt>(input.size());
    for (pbInt j = from * channels; j < samples; ++j) {
        float sum = 0.0f;
        for (pbInt i = length - 1; i >= 0; --i) {
            const pbInt at = j - i * channels;
            sum = std::fma(taps[static_cast<std::size_t>(i)], at < 0 ? 0.0f : input[static_cast<std::size_t>(at)], sum);
        }
        output.push_back(sum < -1.0f ? -1.0f : sum > 1.0f ? 1.0f : sum);
    }
    return output;
}

inline pcm::Filter MakeFilter(const Samples &taps, pbInt channels)
{
    return {pcm::FilterCoefficients(taps), channels};
}

/// Everything that waits.
inline Samples Gathered(pcm::Filter &filter)
{
    Samples samples(static_cast<std::size_t>(filter.Frames() * filter.Channels()), 9.0f);
    filter.GatherSamples(samples);
    return samples;
}

/// Writes the input in packets of random lengths, of which the longest has maxFrames.
inline void WriteCut(pcm::Filter &filter, const Samples &input, Random &random, pbInt maxFrames)
{
    const pbInt channels = filter.Channels();
    for (auto at = input.begin(); at != input.end();) {
        const pbInt most = std::min((input.end() - at) / channels, random.OneIn(2) ? maxFrames : 3);
        const pbInt samples = random.From(0, most) * channels;
        const pcm::Packet pkt = MakePacket(channels, Samples(at, at + samples));
        filter.Write(pkt);
        ASSERT_TRUE(Same(SamplesOf(pkt.Get()), Samples(at, at + samples)));
        at += samples;
    }
}

/// Three holders write, reset and read, now of one filter, now of their own. Nobody notices the others.
class FilterModel {
public:
    explicit FilterModel(Random &random) : random_(random), channels_(random.From(1, 3))
    {
        for (pbInt taps = random.From(1, 30); taps > 0; --taps)
            taps_.push_back(random.OneIn(4) ? random.Odd() : random.Sample());
        for (Holding &holding : holdings_)
            holding.filter = MakeFilter(taps_, channels_);
    }

    void Step()
    {
        Holding &mine = holdings_[static_cast<std::size_t>(random_.From(0, 2))];
        const pbInt some = random_.From(0, mine.filter.Frames());
        Samples expected, read(static_cast<std::size_t>(some * channels_));
        const auto take = [&] {
            while (std::ssize(expected) < some * channels_) {
                Samples &first = mine.output.front();
                const auto count = std::min(std::ssize(first), some * channels_ - std::ssize(expected));
                expected.insert(expected.end(), first.begin(), first.begin() + count);
                first.erase(first.begin(), first.begin() + count);
                if (first.empty())
                    mine.output.pop_front();
            }
        };
        switch (random_.From(0, 9)) {
        case 0: mine = holdings_[static_cast<std::size_t>(random_.From(0, 2))]; break; // both hold one filter now
        case 1: mine.filter = pcm::Filter::Adopt(pcmFilterCreateFrom(mine.filter.Get())); break;
        case 2:
            mine.filter.Reset();
            mine.input.clear();
            mine.output.clear();
            break;
        case 3:
            if (mine.output.empty())
                break;
            ASSERT_TRUE(Same(SamplesOf(mine.filter.Read().Get()), mine.output.front()));
            mine.output.pop_front();
            break;
        case 4:
            if (some == 0)
                break;
            take();
            ASSERT_TRUE(Same(SamplesOf(mine.filter.Gather(some).Get()), expected));
            break;
        case 5:
            take();
            mine.filter.GatherSamples(read);
            ASSERT_TRUE(Same(read, expected));
            break;
        default: {
            const pbInt before = std::ssize(mine.input) / channels_;
            const Samples more = random_.Run(channels_ * random_.From(0, 40));
            mine.input.insert(mine.input.end(), more.begin(), more.end());
            mine.filter.Write(MakePacket(channels_, more));
            mine.output.push_back(Defined(taps_, mine.input, channels_, before));
        }
        }
        for (const Holding &holding : holdings_) {
            std::size_t samples = 0;
            for (const Samples &packet : holding.output)
                samples += packet.size();
            ASSERT_EQ(holding.filter.Packets(), std::ssize(holding.output));
            ASSERT_EQ(holding.filter.Frames() * channels_, static_cast<pbInt>(samples));
        }
    }

private:
    struct Holding {
        pcm::Filter filter;
        Samples input;              // since the last reset
        std::deque<Samples> output; // the packets that wait, without the frames already read
    };

    Random &random_;
    const pbInt channels_;
    Samples taps_;
    Holding holdings_[3];
};
