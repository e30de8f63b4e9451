// The operations on all channels, frames and samples of a packet, by plain definitions.
//
// A definition says for each sample of the result what it is, one sample after another. The operations lay frames out
// by other loops for nearly every number of channels and frames, so the same few lines are compared at many sizes.
#pragma once

#include "../support.h"

#include <algorithm>

/// Interleaved samples, and how many of them are a frame.
struct Shape {
    pbInt channels;
    Samples samples;

    pbInt Frames() const { return std::ssize(samples) / channels; }
    /// The sample there, and silence where there is none.
    PCM_SAMPLE operator()(pbInt frame, pbInt channel) const
    {
        const pbInt at = frame * channels + channel;
        return channel < channels && at < std::ssize(samples) ? samples[at] : 0.0f;
    }
};

/// Frames whose samples are what a function of frame and channel says.
template <class Of> Shape Made(pbInt channels, pbInt frames, const Of &of)
{
    Shape shape{channels, {}};
    shape.samples.reserve(channels * frames);
    for (pbInt f = 0; f < frames; ++f)
        for (pbInt c = 0; c < channels; ++c)
            shape.samples.push_back(of(f, c));
    return shape;
}

/// The first channels are kept; each of the others is the sum of all, in their order, times the gain.
inline Shape Mixed(const Shape &from, pbInt channels, pbInt kept, double gain)
{
    const Shape sums = Made(1, from.Frames(), [&](pbInt f, pbInt) {
        PCM_SAMPLE sum = 0.0f;
        for (pbInt c = 0; c < from.channels; ++c)
            sum += from(f, c);
        return sum * static_cast<PCM_SAMPLE>(gain);
    });
    return Made(channels, from.Frames(), [&](pbInt f, pbInt c) { return c < kept ? from(f, c) : sums(f, 0); });
}

/// A packet of whole frames, in a block of exactly their size.
inline pcm::Packet Using(std::span<const PCM_SAMPLE> samples, pbInt channels)
{
    const pbInt frames = std::ssize(samples) / channels;
    auto *const block = static_cast<PCM_SAMPLE *>(pbMemAllocN(frames, channels * 4));
    std::copy_n(samples.begin(), frames * channels, block);
    return pcm::Packet::CreateFromSamplesUse(block, channels, frames);
}

/// An operation on all of a packet, with a number as its argument.
struct Reshape {
    const char *name;
    bool inPlace;     ///< the object stays where it is private
    bool leaves;      ///< nothing is done where the channels and the frames stay
    pbInt least;      ///< of the numbers that it takes
    uint64_t numbers; ///< how many those are; none where they are masks of channels
    void (*apply)(pcm::Packet &pkt, pbInt n);
    Shape (*plain)(const Shape &from, pbInt n);

    pbInt Number(uint64_t any, pbInt channels) const
    {
        const uint64_t all = channels < 64 ? (uint64_t{1} << channels) - 1 : UINT64_MAX;
        if (numbers == 0)
            return static_cast<pbInt>(any & all ? any & all : all);
        return least + static_cast<pbInt>(any % numbers);
    }
};

// clang-format off
inline const Reshape kReshapes[] = {
    {"SetChannels", true, true, 1, 70, [](auto &pkt, auto n) { pkt.SetChannels(n); },
     [](auto &old, auto n) { return Made(n, old.Frames(), old); }},
    {"SetFrames", true, true, 0, 70, [](auto &pkt, auto n) { pkt.SetFrames(n); },
     [](auto &old, auto n) { return Made(old.channels, n, old); }},
    {"Clear", true, true, 0, 1, [](auto &pkt, auto) { pkt.Clear(); },
     [](auto &old, auto) { return Shape{old.channels, {}}; }},
    {"CreateFrom, or of its bytes", false, false, 0, 2, [](auto &pkt, auto n) {
         pkt = n ? pcm::Packet::TryDecode(pkt.Encode(0), 0, pkt.Channels()) : pcm::Packet::CreateFrom(pkt);
     }, [](auto &old, auto) { return old; }},
    {"WithChannels", false, true, 1, 70, [](auto &pkt, auto n) { pkt = pkt.WithChannels(n); },
     [](auto &old, auto n) { return Mixed(old, n, 0, 1.0); }},
    {"WithChannelMask", false, true, 1, 0, [](auto &pkt, auto n) { pkt = pkt.WithChannelMask(n); },
     [](auto &old, auto n) {
         Shape picked{pbIntBitCount(n), {}};
         for (pbInt i = 0; i < std::ssize(old.samples); ++i)
             if (i % old.channels < 64 && n >> i % old.channels & 1)
                 picked.samples.push_back(old.samples[i]);
         return picked;
     }},
    {"Replace", false, false, 1, 70, [](auto &pkt, auto n) { pkt.ChannelsAdjustReplaceWithDownmix(n); },
     [](auto &old, auto n) { return Mixed(old, n, 0, 1.0 / old.channels); }},
    {"Expand", false, true, 1, 70, [](auto &pkt, auto n) { pkt.ChannelsAdjustExpandWithDownmix(n); },
     [](auto &old, auto n) { return Mixed(old, n, n < old.channels ? 0 : old.channels, 1.0 / old.channels); }},
    {"Extend", false, false, 2, 6, [](auto &pkt, auto n) { pkt.FramesExtend(n); }, [](auto &old, auto n) {
         return Made(old.channels, old.Frames() * n, [&](auto f, auto c) { return f % n ? 0 : old(f / n, c); });
     }},
    {"Reduce", false, false, 2, 6, [](auto &pkt, auto n) { pkt.SetFrames(pkt.Frames() / n * n), pkt.FramesReduce(n); },
     [](auto &old, auto n) {
         return Made(old.channels, old.Frames() / n, [&](auto f, auto c) { return old(f * n, c); });
     }},
    {"LevelAdjust", true, false, -3, 9, [](auto &pkt, auto n) { pkt.LevelAdjust(static_cast<pbReal>(n)); },
     [](auto &old, auto n) {
         const auto gain = static_cast<float>(std::pow(10.0, n / 20.0));
         return Made(old.channels, old.Frames(), [&](auto f, auto c) { return old(f, c) * gain; });
     }},
    {"WriteChannels, into the last ones or one, of the samples as frames of n", true, false, 1, 70,
     [](auto &pkt, auto n) {
         const pcm::Packet source = Using(pkt.Samples(), n);
         const pbInt channels = n % 8 ? std::min(n, pkt.Channels()) : 1;
         const pbInt frames = std::min(pkt.Frames(), source.Frames());
         pkt.WriteChannels(pkt.Channels() - channels, 0, source, n - channels, 0, channels, frames);
     },
     [](auto &old, auto n) {
         const pbInt kept = old.channels - n, frames = std::ssize(old.samples) / n;
         return Made(old.channels, old.Frames(), [&](auto f, auto c) {
             const bool written = f < frames && c >= (n % 8 ? kept : old.channels - 1);
             return written ? old.samples[f * n + c - kept] : old(f, c);
         });
     }},
};
// clang-format on

/// A packet, and what it should be.
struct Hand {
    explicit Hand(Shape made) : shape(std::move(made)), packet(Using(shape.samples, shape.channels)) {}

    void Check() const
    {
        EXPECT_EQ(packet.Channels(), shape.channels);
        EXPECT_TRUE(SameBits(packet.Samples(), shape.samples));
        ExpectSound(packet.Get());
    }

    void Apply(const Reshape &reshape, uint64_t any)
    {
        const pbInt n = reshape.Number(any, shape.channels);
        SCOPED_TRACE(testing::Message() << reshape.name << " by " << n);
        const Shape after = reshape.plain(shape, n);
        const bool stays = reshape.leaves && after.channels == shape.channels && after.Frames() == shape.Frames();
        const bool same = stays || (reshape.inPlace && RefCount(packet.Get()) == 1);
        const PCM_PACKET *const object = packet.Get();
        reshape.apply(packet, n);
        EXPECT_EQ(packet.Get() == object, same);
        if (!stays)
            shape = after;
        const Samples samples = SamplesOf(packet.Get());
        EXPECT_TRUE(Same(samples, shape.samples));
        shape.samples = samples; // with the bits that arithmetic gave to a NaN
        Check();
    }

    Shape shape;
    pcm::Packet packet;
};
