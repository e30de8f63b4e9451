// Packets in several hands, edited at random, against lists of frames.
#pragma once

#include "../support.h"

#include <algorithm>

enum Word { All, Inner, Outer, Leading, Trailing, Zero, Words };

/// The frames that a word takes from a source, or so many of silence.
inline std::vector<Frame> Taken(Word word, const std::vector<Frame> &source, pbInt channels, pbInt offset, pbInt frames)
{
    const auto begin = source.begin(), end = source.end();
    std::vector<Frame> taken;
    switch (word) {
    case All: return source;
    case Inner: return {begin + offset, begin + offset + frames};
    case Leading: return {begin, begin + frames};
    case Trailing: return {end - frames, end};
    case Zero: return std::vector<Frame>(frames, Frame(channels));
    default:
        taken.assign(begin, begin + offset);
        taken.insert(taken.end(), begin + offset + frames, end);
        return taken;
    }
}

using Operation = void (*)(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames);

// clang-format off
constexpr Operation kWrites[Words] = {
    [](auto pkt, auto idx, auto source, auto, auto) { pcmPacketWrite(pkt, idx, source); },
    pcmPacketWriteInner,
    pcmPacketWriteOuter,
    [](auto pkt, auto idx, auto source, auto, auto frames) { pcmPacketWriteLeading(pkt, idx, source, frames); },
    [](auto pkt, auto idx, auto source, auto, auto frames) { pcmPacketWriteTrailing(pkt, idx, source, frames); },
    [](auto pkt, auto idx, auto, auto, auto frames) { pcmPacketWriteZero(pkt, idx, frames); },
};
constexpr Operation kInserts[Words] = {
    [](auto pkt, auto idx, auto source, auto, auto) { pcmPacketInsert(pkt, idx, source); },
    pcmPacketInsertInner,
    pcmPacketInsertOuter,
    [](auto pkt, auto idx, auto source, auto, auto frames) { pcmPacketInsertLeading(pkt, idx, source, frames); },
    [](auto pkt, auto idx, auto source, auto, auto frames) { pcmPacketInsertTrailing(pkt, idx, source, frames); },
    [](auto pkt, auto idx, auto, auto, auto frames) { pcmPacketInsertZero(pkt, idx, frames); },
};
constexpr Operation kPrepends[Words] = {
    [](auto pkt, auto, auto source, auto, auto) { pcmPacketPrepend(pkt, source); },
    [](auto pkt, auto, auto source, auto offset, auto frames) { pcmPacketPrependInner(pkt, source, offset, frames); },
    [](auto pkt, auto, auto source, auto offset, auto frames) { pcmPacketPrependOuter(pkt, source, offset, frames); },
    [](auto pkt, auto, auto source, auto, auto frames) { pcmPacketPrependLeading(pkt, source, frames); },
    [](auto pkt, auto, auto source, auto, auto frames) { pcmPacketPrependTrailing(pkt, source, frames); },
    [](auto pkt, auto, auto, auto, auto frames) { pcmPacketPrependZero(pkt, frames); },
};
constexpr Operation kAppends[Words] = {
    [](auto pkt, auto, auto source, auto, auto) { pcmPacketAppend(pkt, source); },
    [](auto pkt, auto, auto source, auto offset, auto frames) { pcmPacketAppendInner(pkt, source, offset, frames); },
    [](auto pkt, auto, auto source, auto offset, auto frames) { pcmPacketAppendOuter(pkt, source, offset, frames); },
    [](auto pkt, auto, auto source, auto, auto frames) { pcmPacketAppendLeading(pkt, source, frames); },
    [](auto pkt, auto, auto source, auto, auto frames) { pcmPacketAppendTrailing(pkt, source, frames); },
    [](auto pkt, auto, auto, auto, auto frames) { pcmPacketAppendZero(pkt, frames); },
};
// clang-format on

/// Packets in several hands, each beside the frames that it should have.
class PacketModel {
public:
    explicit PacketModel(Random &random) : random_(random)
    {
        for (Hand &hand : hands_)
            hand = Fresh();
    }

    /// One edit, after which every hand has what it should have.
    void Step()
    {
        at_ = random_.From(0, kHands - 1);
        other_ = random_.OneIn(3) ? at_ : random_.From(0, kHands - 1);
        object_ = my().packet.Get();
        shared_ = RefCount(object_) > 1;
        switch (random_.From(0, 12)) {
        case 0: my() = Fresh(); return Check();
        case 1:
        case 2: my() = Hand(their()); return Check();
        case 3: return Mix();
        case 4: return SetChannels();
        case 5: return SetFrames();
        case 6:
        case 7: return Delete();
        case 8: return WriteRectangle();
        case 9: return Write();
        default: return Insert();
        }
    }

private:
    struct Hand {
        pcm::Packet packet;
        pbInt channels = 0;
        std::vector<Frame> frames;

        pbInt size() const { return static_cast<pbInt>(frames.size()); }
    };

    static constexpr pbInt kHands = 5, kLong = 40;

    Hand &my() { return hands_[at_]; }
    Hand &their() { return hands_[other_]; }

    Frame RandomFrame(pbInt channels) { return random_.Run(channels); }

    Hand Fresh()
    {
        Hand hand;
        hand.channels = random_.From(1, 3);
        Samples samples;
        for (pbInt f = random_.From(0, 6); f > 0; --f) {
            hand.frames.push_back(RandomFrame(hand.channels));
            samples.insert(samples.end(), hand.frames.back().begin(), hand.frames.back().end());
        }
        hand.packet = pcm::Packet(samples, hand.channels);
        return hand;
    }

    /// Which object is in the hand after an edit that changed something, or nothing.
    void CheckObject(bool changed, bool fromItself = false)
    {
        EXPECT_EQ(my().packet.Get() != object_, changed && (shared_ || fromItself));
        Check();
    }

    void Check()
    {
        for (const Hand &hand : hands_) {
            PCM_PACKET *const pkt = hand.packet.Get();
            EXPECT_EQ(pcmPacketChannels(pkt), hand.channels);
            EXPECT_EQ(Frames(pkt), hand.frames);
            EXPECT_EQ(RefCount(pkt), std::count_if(std::begin(hands_), std::end(hands_),
                                                   [&](const Hand &each) { return each.packet.Get() == pkt; }));
            ExpectSound(pkt);
        }
    }

    /// Chooses what to take from a packet of as many channels.
    std::vector<Frame> Take()
    {
        if (their().channels != my().channels)
            other_ = at_;
        word_ = static_cast<Word>(random_.From(0, Words - 1));
        offset_ = random_.From(0, their().size());
        count_ = random_.From(0, their().size() - offset_);
        return Taken(word_, their().frames, my().channels, offset_, count_);
    }

    void Apply(const Operation (&operations)[Words], pbInt idx)
    {
        operations[word_](my().packet.Address(), idx, their().packet.Get(), offset_, count_);
    }

    void Write()
    {
        const auto taken = Take();
        if (taken.size() > my().frames.size())
            return;
        const pbInt idx = random_.From(0, my().size() - static_cast<pbInt>(taken.size()));
        const bool fromItself = word_ != Zero && their().packet.Get() == object_;
        Apply(kWrites, idx);
        std::copy(taken.begin(), taken.end(), my().frames.begin() + idx);
        CheckObject(!taken.empty(), fromItself);
    }

    void Insert()
    {
        const auto taken = Take();
        if (my().size() > kLong)
            return;
        const bool fromItself = word_ != Zero && their().packet.Get() == object_;
        pbInt idx = 0;
        switch (random_.From(0, 2)) {
        case 0: Apply(kPrepends, -1); break;
        case 1: Apply(kAppends, -1), idx = my().size(); break;
        default: Apply(kInserts, idx = random_.From(0, my().size()));
        }
        my().frames.insert(my().frames.begin() + idx, taken.begin(), taken.end());
        CheckObject(!taken.empty(), fromItself);
    }

    void Delete()
    {
        auto &frames = my().frames;
        const pbInt before = my().size();
        const pbInt idx = random_.From(0, before), rest = before - idx,
                    count = random_.From(0, random_.OneIn(3) ? rest : std::min<pbInt>(rest, 4));
        PCM_PACKET **const pkt = my().packet.Address();
        switch (random_.OneIn(7) ? random_.From(0, 1) : random_.From(2, 4)) {
        case 0:
            pcmPacketClear(pkt);
            frames.clear();
            break;
        case 1:
            pcmPacketDelOuter(pkt, idx, count);
            frames = std::vector<Frame>(frames.begin() + idx, frames.begin() + idx + count);
            break;
        case 2:
            pcmPacketDelInner(pkt, idx, count);
            frames.erase(frames.begin() + idx, frames.begin() + idx + count);
            break;
        case 3:
            pcmPacketDelLeading(pkt, count);
            frames.erase(frames.begin(), frames.begin() + count);
            break;
        default: pcmPacketDelTrailing(pkt, count); frames.resize(before - count);
        }
        CheckObject(my().size() != before);
    }

    void SetFrames()
    {
        const pbInt before = my().size(), after = std::max<pbInt>(0, before + random_.From(-5, 5));
        pcmPacketSetFrames(my().packet.Address(), after);
        my().frames.resize(after, Frame(my().channels));
        CheckObject(after != before);
    }

    void SetChannels()
    {
        const pbInt before = my().channels, after = random_.From(1, 3);
        pcmPacketSetChannels(my().packet.Address(), after);
        my().channels = after;
        for (Frame &frame : my().frames)
            frame.resize(after);
        CheckObject(after != before);
    }

    /// The hand gets a packet that is made of its own: with the sum of its channels, or some of them.
    void Mix()
    {
        pbInt after = random_.From(1, 3), mask = 0;
        if (random_.OneIn(2)) {
            mask = random_.From(1, (1 << my().channels) - 1);
            after = pbIntBitCount(mask);
        }
        const bool changed = after != my().channels;
        my().packet = mask ? my().packet.WithChannelMask(mask) : my().packet.WithChannels(after);
        for (Frame &frame : my().frames) {
            if (!changed)
                continue;
            Frame mixed(after);
            pbInt to = 0;
            for (pbInt c = 0; c < my().channels; ++c) {
                if (mask >> c & 1)
                    mixed[to++] = frame[c];
                if (!mask)
                    for (PCM_SAMPLE &sample : mixed)
                        sample += frame[c];
            }
            frame = mixed;
        }
        my().channels = after;
        EXPECT_EQ(my().packet.Get() != object_, changed);
        Check();
    }

    void WriteRectangle()
    {
        Hand &to = my();
        const std::vector<Frame> source = their().frames;
        const pbInt sourceChannels = their().channels, sourceFrames = their().size();
        const pbInt toChannel = random_.From(0, to.channels), toFrame = random_.From(0, to.size()),
                    fromChannel = random_.From(0, sourceChannels), fromFrame = random_.From(0, sourceFrames),
                    channels = random_.From(0, std::min(to.channels - toChannel, sourceChannels - fromChannel)),
                    frames = random_.From(0, std::min(to.size() - toFrame, sourceFrames - fromFrame));
        const bool sameObject = their().packet.Get() == object_;
        if (random_.OneIn(2) || sameObject)
            pcmPacketWriteChannels(to.packet.Address(), toChannel, toFrame, their().packet.Get(), fromChannel,
                                   fromFrame, channels, frames);
        else
            to.packet.WriteChannels(toChannel, toFrame, their().packet.Samples(), fromChannel, sourceChannels,
                                    fromFrame, channels, frames);
        for (pbInt f = 0; f < frames; ++f)
            for (pbInt c = 0; c < channels; ++c)
                to.frames[toFrame + f][toChannel + c] = source[fromFrame + f][fromChannel + c];
        CheckObject(true, sameObject);
    }

    Random &random_;
    Hand hands_[kHands];
    pbInt at_ = 0, other_ = 0; // the hand that edits, and the one it takes from
    PCM_PACKET *object_ = nullptr;
    bool shared_ = false;
    Word word_ = All;
    pbInt offset_ = 0, count_ = 0;
};
