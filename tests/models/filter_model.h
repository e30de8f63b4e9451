// Filters in several hands, beside the definition.
//
// State: three handles, of which some may be one filter, and beside each the input since its last reset and the packets
// that wait. Invariant: whoever reads gets what the definition makes of that input, whatever the others write, reset or
// read. A filter is copied when one of its holders changes it, with its memory of frames at any place of the ring:
// random steps meet these places.
#pragma once

#include "../support.h"

#include <cmath>
#include <deque>

/// The definition: the frames of a stream from one on, filtered. Frames before the first are zeros.
inline Samples Defined(const Samples &taps, const Samples &input, pbInt channels, pbInt from = 0)
{
    Samples output;
    for (pbInt j = from * channels; j < std::ssize(input); ++j) {
        float sum = 0.0f;
        for (pbInt i = std::ssize(taps) - 1; i >= 0; --i) {
            const pbInt at = j - i * channels;
            sum = std::fma(taps[static_cast<std::size_t>(i)], at < 0 ? 0.0f : input[static_cast<std::size_t>(at)], sum);
        }
        output.push_back(sum < -1.0f ? -1.0f : sum > 1.0f ? 1.0f : sum);
    }
    return output;
}

class FilterModel {
public:
    explicit FilterModel(Random &random)
        : random_(random), channels_(random.From(1, 3)), taps_(random.Run(random.From(1, 30))), set_(taps_)
    {
        for (Held &held : helds_)
            held.filter = pcm::Filter(set_, channels_);
    }

    void Step()
    {
        Held &mine = helds_[random_.From(0, 2)];
        const Held &other = helds_[random_.From(0, 2)];
        switch (random_.From(0, 8)) {
        case 0: mine = Held(other); break; // both hold one filter now
        case 1: mine = {pcm::Filter::CreateFrom(other.filter), other.input, other.output}; break;
        case 2:
            mine.filter.Reset();
            mine.input.clear();
            mine.output.clear();
            break;
        case 3:
        case 4:
        case 5:
            if (mine.output.empty())
                break;
            ASSERT_TRUE(Same(Next(mine.filter, std::ssize(mine.output.front()) / channels_), mine.output.front()));
            mine.output.pop_front();
            break;
        default: Write(mine, random_.Run(channels_ * random_.From(0, 40)));
        }
        for (const Held &held : helds_) {
            ASSERT_EQ(held.filter.Packets(), std::ssize(held.output));
            ASSERT_EQ(held.filter.Channels(), channels_);
            ASSERT_EQ(held.filter.Coefficients(), set_);
            ASSERT_EQ(pb___ObjDbgAllocationSize(pcmFilterObj(held.filter.Get())), std::ssize(taps_) * channels_ * 4);
        }
    }

private:
    struct Held {
        pcm::Filter filter;
        Samples input;              // since the last reset
        std::deque<Samples> output; // the packets that wait
    };

    /// The frames of the next packet, in one of the ways in which a queue is read too.
    Samples Next(pcm::Filter &filter, pbInt frames)
    {
        const pbInt way = frames ? random_.From(0, 3) : 0;
        if (way < 2)
            return SamplesOf((way ? filter.Gather(frames) : filter.Read()).Get());
        Samples samples(static_cast<std::size_t>(frames * channels_));
        way == 2 ? filter.GatherSamples(samples) : filter.GatherSamplesAdd(samples);
        return samples;
    }

    void Write(Held &mine, const Samples &more)
    {
        const pbInt before = std::ssize(mine.input) / channels_;
        mine.input.insert(mine.input.end(), more.begin(), more.end());
        mine.filter.Write(MakePacket(channels_, more));
        mine.output.push_back(Defined(taps_, mine.input, channels_, before));
    }

    Random &random_;
    const pbInt channels_;
    const Samples taps_;
    const pcm::FilterCoefficients set_;
    Held helds_[3];
};
