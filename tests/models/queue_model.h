// Queues, plainly, and queues in several hands.
#pragma once

#include "../support.h"

#include <deque>

/// What a queue is, plainly: frames in order, each packet knowing which object it was written as.
struct QueueContents {
    struct Entry {
        std::deque<Frame> frames; // still to be read
        PCM_PACKET *object;       // as written
        bool begun;               // read in part
    };
    std::deque<Entry> entries;

    pbInt Frames() const
    {
        std::size_t frames = 0;
        for (const Entry &entry : entries)
            frames += entry.frames.size();
        return static_cast<pbInt>(frames);
    }

    std::vector<Frame> Gather(pbInt frames)
    {
        std::vector<Frame> gathered;
        while (static_cast<pbInt>(gathered.size()) < frames) {
            Entry &front = entries.front();
            if (!front.frames.empty()) {
                gathered.push_back(front.frames.front());
                front.frames.pop_front();
                front.begun = true;
            }
            if (front.frames.empty())
                entries.pop_front();
        }
        return gathered;
    }
};

/// A queue that some test variable holds, and its model. Copies of the handle share the queue.
struct Held {
    pcm::PacketQueue queue;
    QueueContents model;
};

/// A packet that the test holds itself, whatever becomes of it in queues.
struct Kept {
    pcm::Packet pkt;
    std::vector<Frame> frames;
};

inline pcm::PacketQueue CopyOf(const pcm::PacketQueue &queue)
{
    return pcm::PacketQueue::Adopt(pcmPacketQueueCreateFrom(queue.Get()));
}

inline Samples Joined(const std::vector<Frame> &frames)
{
    Samples samples;
    for (const Frame &frame : frames)
        samples.insert(samples.end(), frame.begin(), frame.end());
    return samples;
}

inline void ExpectCounts(const Held &held)
{
    ASSERT_EQ(held.queue.Frames(), held.model.Frames());
    ASSERT_EQ(held.queue.Packets(), static_cast<pbInt>(held.model.entries.size()));
}

/// Compares what a queue holds by draining a copy of it, which must leave the queue as it is.
inline void ExpectContents(const Held &held)
{
    ExpectCounts(held);
    auto copy = CopyOf(held.queue);
    for (const QueueContents::Entry &entry : held.model.entries) {
        const auto pkt = copy.Read();
        ASSERT_EQ(Frames(pkt.Get()), (std::vector<Frame>(entry.frames.begin(), entry.frames.end())));
        ASSERT_EQ(pkt.Get() == entry.object, !entry.begun);
        ExpectSound(pkt.Get());
    }
    ASSERT_EQ(copy.Packets(), 0);
    ASSERT_EQ(copy.Frames(), 0);
    ExpectCounts(held);
}

/// The packet is as it was, and held by the test and the queues: once by each that has it, or less where queues or
/// their vectors are shared.
inline void ExpectKept(const Kept &kept, const std::vector<Held> &helds)
{
    pbInt places = 0;
    for (const Held &held : helds)
        for (const QueueContents::Entry &entry : held.model.entries)
            places += entry.object == kept.pkt.Get();
    ASSERT_EQ(Frames(kept.pkt.Get()), kept.frames);
    ASSERT_GE(RefCount(kept.pkt.Get()), 1 + (places > 0));
    ASSERT_LE(RefCount(kept.pkt.Get()), 1 + places);
    ExpectSound(kept.pkt.Get());
}

/// Queues of which some are one queue, some share what is in them, and some share nothing; and packets that were
/// written.
class QueueModel {
public:
    explicit QueueModel(Random &random) : random_(random), channels_(random.From(1, 3))
    {
        helds_.push_back({pcm::PacketQueue(channels_), {}});
    }

    void Step()
    {
        filling_ ^= random_.OneIn(100);
        if (random_.OneIn(10)) { // holders come and go
            if (helds_.size() < 5 && random_.OneIn(2)) {
                helds_.push_back(random_.Of(helds_));
                if (random_.OneIn(2))
                    helds_.back().queue = CopyOf(helds_.back().queue);
            } else if (helds_.size() > 1) {
                helds_.erase(helds_.begin());
            }
            if (kept_.size() > 6)
                kept_.erase(kept_.begin());
            return;
        }

        Held &held = random_.Of(helds_);
        pcm::PacketQueue &queue = held.queue;
        QueueContents &model = held.model;
        PCM_PACKET_QUEUE *const before = queue.Get();
        const bool shared = pcmPacketQueueObj(before)->refCount > 1;
        const pbInt most = std::min<pbInt>(model.Frames(), 30);
        switch (random_.From(filling_ ? -3 : 0, 5)) {
        default: { // a new packet, or one that is written again
            const pbInt frames = random_.OneIn(5) ? 0 : random_.From(1, 12);
            const bool again = !kept_.empty() && random_.OneIn(4);
            const auto pkt = again ? random_.Of(kept_).pkt : pcm::Packet(random_.Run(frames * channels_), channels_);
            queue.Write(pkt);
            const auto contents = Frames(pkt.Get());
            model.entries.push_back({{contents.begin(), contents.end()}, pkt.Get(), false});
            if (!again && random_.OneIn(3))
                kept_.push_back({pkt, contents});
            break;
        }
        case 1: {
            if (model.entries.empty())
                return;
            const QueueContents::Entry expected = model.entries.front();
            model.entries.pop_front();
            auto pkt = queue.Read();
            ASSERT_EQ(Frames(pkt.Get()), (std::vector<Frame>(expected.frames.begin(), expected.frames.end())));
            ASSERT_TRUE(expected.begun || pkt.Get() == expected.object);
            if (random_.OneIn(2) && pkt.Frames()) // whoever else holds it keeps what he has
                pkt.MutableSamples()[0] = 2.0f;
            ExpectSound(pkt.Get());
            break;
        }
        case 2: {
            if (!most)
                return;
            const QueueContents::Entry front = model.entries.front();
            const auto rest = static_cast<pbInt>(front.frames.size());
            const pbInt frames = rest && random_.OneIn(2) ? rest : random_.From(1, most);
            const auto pkt = queue.Gather(frames);
            ASSERT_EQ(Frames(pkt.Get()), model.Gather(frames));
            if (frames == rest)
                ASSERT_TRUE(front.begun || pkt.Get() == front.object);
            else
                ASSERT_EQ(RefCount(pkt.Get()), 1);
            ExpectSound(pkt.Get());
            break;
        }
        case 3: {
            const pbInt frames = random_.From(0, most);
            Samples dest(static_cast<std::size_t>(frames * channels_), 9.0f);
            queue.GatherSamples(dest);
            ASSERT_EQ(dest, Joined(model.Gather(frames)));
            break;
        }
        case 4: {
            if (!most)
                return;
            const pbInt frames = random_.From(1, most);
            Samples dest = random_.Run(frames * channels_), expected = dest;
            const Samples added = Joined(model.Gather(frames));
            for (std::size_t i = 0; i < expected.size(); ++i)
                expected[i] += added[i];
            queue.GatherSamplesAdd(dest);
            ASSERT_EQ(dest, expected);
            break;
        }
        case 5:
            if (!random_.OneIn(20))
                return;
            queue.Clear();
            model.entries.clear();
            ASSERT_EQ(queue.Channels(), channels_);
            break;
        }
        ASSERT_EQ(queue.Get() == before, !shared);
        ASSERT_EQ(pcmPacketQueueObj(queue.Get())->refCount, 1);

        for (const Held &each : helds_) {
            ExpectCounts(each);
            if (random_.OneIn(8))
                ExpectContents(each);
        }
        for (const Kept &each : kept_)
            ExpectKept(each, helds_);
    }

    /// Gives the queues up, and nobody else holds the packets any more.
    void End()
    {
        helds_.clear();
        for (const Kept &each : kept_)
            EXPECT_EQ(RefCount(each.pkt.Get()), 1);
    }

private:
    Random &random_;
    const pbInt channels_;
    std::vector<Held> helds_;
    std::vector<Kept> kept_;
    bool filling_ = true;
};
