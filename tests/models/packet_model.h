// Packets in several hands, edited at random.
//
// State: for each hand (a handle of the test's) the samples and the number of channels of its packet. Invariant: after
// every step each packet has exactly these, and its count is the number of hands that hold it, so no packet is changed
// through another's hand. A few short packets of few channels in few hands meet every way of sharing, every place and
// every length of an edit, also of a packet with itself, within some thousand steps. Some are long or wide, for the
// loops of vectors.
#pragma once

#include "packet_reshapes.h"

// clang-format off
/// The arguments of an edit.
struct EditArguments { PCM_PACKET **pkt; pbInt idx; PCM_PACKET *source; pbInt offset, frames; };

// The verbs, each with all its words; the place is e.idx, or nothing where the verb says it.
#define VERB(Verb, ...)                                                                                                \
    {[](EditArguments e) { pcmPacket##Verb(e.pkt __VA_OPT__(, ) __VA_ARGS__, e.source); },                             \
     [](EditArguments e) { pcmPacket##Verb##Inner(e.pkt __VA_OPT__(, ) __VA_ARGS__, e.source, e.offset, e.frames); },  \
     [](EditArguments e) { pcmPacket##Verb##Outer(e.pkt __VA_OPT__(, ) __VA_ARGS__, e.source, e.offset, e.frames); },  \
     [](EditArguments e) { pcmPacket##Verb##Leading(e.pkt __VA_OPT__(, ) __VA_ARGS__, e.source, e.frames); },          \
     [](EditArguments e) { pcmPacket##Verb##Trailing(e.pkt __VA_OPT__(, ) __VA_ARGS__, e.source, e.frames); },         \
     [](EditArguments e) { pcmPacket##Verb##Zero(e.pkt __VA_OPT__(, ) __VA_ARGS__, e.frames); }}
enum Word { All, Inner, Outer, Leading, Trailing, Zero, Words };
enum Verb { Write, Prepend, Append, Insert, Verbs };
constexpr const char *kWords[Words] = {"", "Inner", "Outer", "Leading", "Trailing", "Zero"};
constexpr const char *kVerbs[Verbs] = {"Write", "Prepend", "Append", "Insert"};
constexpr void (*kEdits[Verbs][Words])(EditArguments) = {
    VERB(Write, e.idx), VERB(Prepend), VERB(Append), VERB(Insert, e.idx)};
// clang-format on
#undef VERB

/// The samples of the frames that a word takes.
inline Samples Taken(Word word, const Shape &source, pbInt offset, pbInt frames)
{
    if (word == Zero)
        return Samples(frames * source.channels);
    const pbInt first = word == Trailing ? source.Frames() - frames : word == All || word == Leading ? 0 : offset;
    const auto begin = source.samples.begin() + first * source.channels,
               end = word == All ? source.samples.end() : begin + frames * source.channels;
    if (word != Outer)
        return {begin, end};
    Samples taken(source.samples.begin(), begin);
    taken.insert(taken.end(), end, source.samples.end());
    return taken;
}

class PacketModel {
public:
    explicit PacketModel(Random &random) : random_(random), hands_{Fresh(), Fresh(), Fresh(), Fresh(), Fresh()} {}

    /// One edit, after which every hand has what it should have.
    void Step()
    {
        my_ = &random_.Of(hands_);
        their_ = random_.OneIn(3) ? my_ : &random_.Of(hands_);
        object_ = my_->packet.Get();
        shared_ = RefCount(object_) > 1;
        const pbInt frames = my_->shape.Frames();
        did_ = "a fresh packet, a copy, or as a whole";
        if (frames > 300 || random_.OneIn(frames > 70 ? 4 : 12))
            *my_ = Fresh();
        else
            switch (random_.From(0, 7)) {
            case 0: *my_ = Hand(*their_); break;
            case 1:
                my_->Apply(kReshapes[random_.From(0, std::ssize(kReshapes) - 1)],
                           random_.OneIn(6) ? random_.Bits() : static_cast<uint64_t>(random_.From(0, 3)));
                break;
            case 2: Delete(); break;
            default: random_.OneIn(3) ? WriteRectangle() : WriteOrInsert();
            }
        SCOPED_TRACE(did_);
        for (const Hand &hand : hands_) {
            hand.Check();
            EXPECT_EQ(RefCount(hand.packet.Get()), std::count_if(hands_.begin(), hands_.end(), [&](const Hand &each) {
                          return each.packet.Get() == hand.packet.Get();
                      }));
        }
    }

private:
    Hand Fresh()
    {
        const pbInt channels = random_.From(1, random_.OneIn(8) ? 70 : 4),
                    frames = random_.From(0, random_.OneIn(4) ? 70 : 6);
        return Hand({channels, random_.OddRun(channels * frames)});
    }

    void WriteOrInsert()
    {
        Shape &shape = my_->shape;
        if (their_->shape.channels != shape.channels)
            their_ = my_;
        const auto word = static_cast<Word>(random_.From(0, Words - 1));
        const auto verb = static_cast<Verb>(random_.From(0, Verbs - 1));
        const pbInt offset = random_.From(0, their_->shape.Frames()),
                    frames = random_.From(0, their_->shape.Frames() - offset);
        const Samples taken = Taken(word, their_->shape, offset, frames);
        const pbInt last = shape.Frames() - (verb == Write ? std::ssize(taken) / shape.channels : 0);
        if (last < 0)
            return;
        const pbInt idx = verb == Prepend ? 0 : verb == Append ? last : random_.From(0, last);
        const bool fromItself = word != Zero && their_->packet.Get() == object_;
        did_ = (testing::Message() << kVerbs[verb] << kWords[word] << " at " << idx << ", " << frames << " frames from "
                                   << offset << (their_ == my_ ? " of its own" : ""))
                   .GetString();
        kEdits[verb][word]({my_->packet.Address(), idx, their_->packet.Get(), offset, frames});
        const auto at = shape.samples.begin() + idx * shape.channels;
        if (verb == Write)
            std::copy(taken.begin(), taken.end(), at);
        else
            shape.samples.insert(at, taken.begin(), taken.end());
        EXPECT_EQ(my_->packet.Get() != object_, !taken.empty() && (shared_ || fromItself)) << did_;
    }

    void Delete()
    {
        const Shape before = my_->shape;
        const pbInt idx = random_.From(0, before.Frames()), rest = before.Frames() - idx,
                    frames = random_.From(0, random_.OneIn(3) ? rest : std::min<pbInt>(rest, 4));
        PCM_PACKET **const pkt = my_->packet.Address();
        const auto word = static_cast<Word>(random_.From(Inner, Trailing));
        did_ =
            (testing::Message() << "Del" << kWords[word] << " at " << idx << ", " << frames << " frames").GetString();
        switch (word) {
        case Inner: pcmPacketDelInner(pkt, idx, frames); break;
        case Outer: pcmPacketDelOuter(pkt, idx, frames); break;
        case Leading: pcmPacketDelLeading(pkt, frames); break;
        default: pcmPacketDelTrailing(pkt, frames);
        }
        constexpr Word kept[] = {All, Outer, Inner, Trailing, Leading};
        my_->shape.samples = Taken(kept[word], before, idx, word < Leading ? frames : before.Frames() - frames);
        EXPECT_EQ(my_->packet.Get() != object_, shared_ && my_->shape.Frames() != before.Frames()) << did_;
    }

    /// From a packet, or from its samples, which may then also be read as frames of another number of channels.
    void WriteRectangle()
    {
        if (random_.OneIn(2))
            their_ = my_;
        Shape &to = my_->shape;
        const Shape before = their_->shape;
        const bool array = random_.OneIn(2), same = their_->packet.Get() == object_;
        const pbInt width = array && random_.OneIn(3) ? random_.From(1, 9) : before.channels,
                    length = std::ssize(before.samples) / width;
        const pbInt toChannel = random_.From(0, to.channels), toFrame = random_.From(0, to.Frames()),
                    fromChannel = random_.From(0, width), fromFrame = random_.From(0, length),
                    mostChannels = std::min(to.channels - toChannel, width - fromChannel),
                    mostFrames = std::min(to.Frames() - toFrame, length - fromFrame),
                    channels = random_.OneIn(2) ? mostChannels : random_.From(0, mostChannels),
                    frames = random_.OneIn(2) ? mostFrames : random_.From(0, mostFrames);
        PCM_PACKET **const pkt = my_->packet.Address();
        did_ = (testing::Message() << "WriteChannels" << (array ? "Samples" : "") << " at channel " << toChannel
                                   << " and frame " << toFrame << ", " << channels << " and " << frames << " from "
                                   << fromChannel << " of " << width << " and " << fromFrame)
                   .GetString();
        if (array)
            pcmPacketWriteChannelsSamples(pkt, toChannel, toFrame, their_->packet.Samples().data(), fromChannel, width,
                                          fromFrame, channels, frames);
        else
            pcmPacketWriteChannels(pkt, toChannel, toFrame, their_->packet.Get(), fromChannel, fromFrame, channels,
                                   frames);
        const Samples &from = array && same && !shared_ ? to.samples : before.samples; // its own change meanwhile
        for (pbInt c = 0; c < channels; ++c)
            for (pbInt f = 0; f < frames; ++f)
                to.samples[(toFrame + f) * to.channels + toChannel + c] =
                    from[(fromFrame + f) * width + fromChannel + c];
        EXPECT_EQ(my_->packet.Get() != object_, shared_ || (same && !array)) << did_;
    }

    Random &random_;
    std::vector<Hand> hands_;
    Hand *my_ = nullptr, *their_ = nullptr; // the hand that edits, and the one it takes from
    PCM_PACKET *object_ = nullptr;          // what was in the first
    bool shared_ = false;
    std::string did_; // in this step
};
