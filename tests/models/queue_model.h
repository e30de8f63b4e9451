// Queues in several hands, beside plain lists of what waits in each.
//
// State: handles of queues, of which some are one queue, some share packets or the list of them, and some share
// nothing; and packets that the test holds as well. Invariant: a queue holds what its list says, whatever is done to
// another; a packet comes out as the object that was written, unless it was read in part and has other holders; and
// no packet that the test holds ever changes. Most faults of queues need a certain sharing while a read begins, ends or
// crosses a packet: too many cases to write down, but random steps soon meet each, and every step checks them all.
#pragma once

#include "../support.h"

class QueueModel {
public:
    explicit QueueModel(Random &random) : random_(random), channels_(random.From(1, 3))
    {
        helds_.push_back({pcm::PacketQueue(channels_), {}});
    }

    void Step()
    {
        filling_ ^= random_.OneIn(100);
        if (random_.OneIn(10))
            ChangeHolders();
        else
            ChangeQueue(random_.Of(helds_));
        for (const Held &held : helds_)
            Check(held);
    }

private:
    struct Entry {
        PCM_PACKET *object; // as written
        Samples rest;       // still to be read
        bool begun;
    };
    struct Held {
        pcm::PacketQueue queue; // copies of the handle share the queue
        std::vector<Entry> entries;
    };

    pbInt Frames(const Held &held) const
    {
        pbInt samples = 0;
        for (const Entry &entry : held.entries)
            samples += std::ssize(entry.rest);
        return samples / channels_;
    }

    pbInt Some(const Held &held) { return random_.From(0, std::min<pbInt>(Frames(held), 30)); }
    static bool IsShared(const Held &held) { return pcmPacketQueueObj(held.queue.Get())->refCount > 1; }

    /// The next frames, which leave the list.
    Samples Next(Held &held, pbInt frames)
    {
        Samples next;
        while (const auto left = frames * channels_ - std::ssize(next)) {
            Samples &rest = held.entries.front().rest;
            const auto end = rest.begin() + std::min<pbInt>(left, std::ssize(rest));
            next.insert(next.end(), rest.begin(), end);
            rest.erase(rest.begin(), end);
            held.entries.front().begun = true;
            if (rest.empty())
                held.entries.erase(held.entries.begin());
        }
        return next;
    }

    void ChangeHolders()
    {
        if (helds_.size() < 5 && random_.OneIn(2)) {
            helds_.push_back(random_.Of(helds_));
            if (random_.OneIn(2))
                helds_.back().queue = pcm::PacketQueue::CreateFrom(helds_.back().queue);
        } else if (helds_.size() > 1) {
            helds_.erase(helds_.begin());
        }
        std::erase_if(kept_, [&](const pcm::Packet &) { return random_.OneIn(6); });
    }

    void ChangeQueue(Held &held)
    {
        PCM_PACKET_QUEUE *const before = held.queue.Get();
        const bool shared = IsShared(held);
        const pbInt operation = random_.From(filling_ ? -3 : 0, 4);
        if (operation <= 0 || held.entries.empty())
            Write(held);
        else if (operation <= 2)
            TakePacket(held);
        else if (operation == 3 || !random_.OneIn(20))
            TakeSamples(held);
        else
            held.queue.Clear(), held.entries.clear();
        ASSERT_EQ(held.queue.Get() == before, !shared);
    }

    void Write(Held &held)
    {
        const bool again = !kept_.empty() && random_.OneIn(4);
        const pbInt frames = random_.OneIn(5) ? 0 : random_.From(1, 12);
        const auto pkt = again ? random_.Of(kept_) : MakePacket(channels_, random_.Run(frames * channels_));
        held.queue.Write(pkt);
        held.entries.push_back({pkt.Get(), SamplesOf(pkt.Get()), false});
        if (!again && random_.OneIn(3))
            kept_.push_back(pkt);
    }

    /// The next packet, by a read or a gather that fits, or a gather of any other number of frames.
    void TakePacket(Held &held)
    {
        const Entry front = held.entries.front();
        const pbInt rest = std::ssize(front.rest) / channels_, some = Some(held);
        const pbInt frames = some == 0 || random_.OneIn(2) ? rest : some;
        const bool copied = front.begun && (IsShared(held) || RefCount(front.object) > 1);
        const Samples expected = Next(held, frames);
        if (frames == 0)
            held.entries.erase(held.entries.begin());
        const bool read = frames == 0 || (frames == rest && random_.OneIn(2));
        pcm::Packet pkt = read ? held.queue.Read() : held.queue.Gather(frames);
        ASSERT_EQ(SamplesOf(pkt.Get()), expected);
        ExpectSound(pkt.Get());
        ASSERT_TRUE(frames != rest || copied == (pkt.Get() != front.object));
        if (frames && random_.OneIn(2)) // other holders keep their samples
            pkt.MutableSamples()[0] = 2.0f;
    }

    void TakeSamples(Held &held)
    {
        const pbInt frames = Some(held);
        Samples dest = random_.Run(frames * channels_), expected = Next(held, frames);
        if (frames && random_.OneIn(2)) {
            for (std::size_t i = 0; i < dest.size(); ++i)
                expected[i] += dest[i];
            held.queue.GatherSamplesAdd(dest);
        } else {
            held.queue.GatherSamples(dest);
        }
        ASSERT_EQ(dest, expected);
    }

    /// Now and then draining a copy shows all that waits, and leaves the queue as it is.
    void Check(const Held &held)
    {
        ASSERT_EQ(held.queue.Channels(), channels_);
        ASSERT_EQ(held.queue.Frames(), Frames(held));
        ASSERT_EQ(held.queue.Packets(), std::ssize(held.entries));
        if (!random_.OneIn(8))
            return;
        Held copy = {pcm::PacketQueue::CreateFrom(held.queue), held.entries};
        while (!copy.entries.empty())
            TakePacket(copy);
        ASSERT_EQ(copy.queue.Packets() + copy.queue.Frames(), 0);
    }

    Random &random_;
    const pbInt channels_;
    std::vector<Held> helds_;
    std::vector<pcm::Packet> kept_; // by the test
    bool filling_ = true;
};
