// Packet queues: order, identity, and what other holders of queues and packets see.
#include "support.h"

#include <deque>
#include <functional>

namespace {

/// What a queue is, plainly: frames in order, each packet knowing which object it was written as.
struct Model {
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
    Model model;
};

/// A packet that the test holds itself, whatever becomes of it in queues.
struct Kept {
    pcm::Packet pkt;
    std::vector<Frame> frames;
};

pcm::PacketQueue CopyOf(const pcm::PacketQueue &queue)
{
    return pcm::PacketQueue::Adopt(pcmPacketQueueCreateFrom(queue.Get()));
}

Samples Joined(const std::vector<Frame> &frames)
{
    Samples samples;
    for (const Frame &frame : frames)
        samples.insert(samples.end(), frame.begin(), frame.end());
    return samples;
}

void ExpectCounts(const Held &held)
{
    ASSERT_EQ(held.queue.Frames(), held.model.Frames());
    ASSERT_EQ(held.queue.Packets(), static_cast<pbInt>(held.model.entries.size()));
}

/// Compares what a queue holds by draining a copy of it, which must leave the queue as it is.
void ExpectContents(const Held &held)
{
    ExpectCounts(held);
    auto copy = CopyOf(held.queue);
    for (const Model::Entry &entry : held.model.entries) {
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
void ExpectKept(const Kept &kept, const std::vector<Held> &helds)
{
    pbInt places = 0;
    for (const Held &held : helds)
        for (const Model::Entry &entry : held.model.entries)
            places += entry.object == kept.pkt.Get();
    ASSERT_EQ(Frames(kept.pkt.Get()), kept.frames);
    ASSERT_GE(RefCount(kept.pkt.Get()), 1 + (places > 0));
    ASSERT_LE(RefCount(kept.pkt.Get()), 1 + places);
    ExpectSound(kept.pkt.Get());
}

} // namespace

TEST(PacketQueue, RunsAsItsModelWhileOthersLookOn)
{
    Random random;
    const pbInt channels = random.From(1, 3);
    std::vector<Held> helds = {{pcm::PacketQueue(channels), {}}}; // some share a queue, some its vector, some nothing
    std::vector<Kept> kept;
    bool filling = true;
    for (int step = 0; step < 5000; ++step) {
        SCOPED_TRACE(step);
        filling ^= random.OneIn(100);
        if (random.OneIn(10)) { // holders come and go
            if (helds.size() < 5 && random.OneIn(2)) {
                helds.push_back(random.Of(helds));
                if (random.OneIn(2))
                    helds.back().queue = CopyOf(helds.back().queue);
            } else if (helds.size() > 1) {
                helds.erase(helds.begin());
            }
            if (kept.size() > 6)
                kept.erase(kept.begin());
            continue;
        }

        Held &held = random.Of(helds);
        pcm::PacketQueue &queue = held.queue;
        Model &model = held.model;
        PCM_PACKET_QUEUE *const before = queue.Get();
        const bool shared = pcmPacketQueueObj(before)->refCount > 1;
        const pbInt most = std::min<pbInt>(model.Frames(), 30);
        switch (random.From(filling ? -3 : 0, 5)) {
        default: { // a new packet, or one that is written again
            const pbInt frames = random.OneIn(5) ? 0 : random.From(1, 12);
            const bool again = !kept.empty() && random.OneIn(4);
            const auto pkt = again ? random.Of(kept).pkt : pcm::Packet(random.Run(frames * channels), channels);
            queue.Write(pkt);
            const auto contents = Frames(pkt.Get());
            model.entries.push_back({{contents.begin(), contents.end()}, pkt.Get(), false});
            if (!again && random.OneIn(3))
                kept.push_back({pkt, contents});
            break;
        }
        case 1: {
            if (model.entries.empty())
                continue;
            const Model::Entry expected = model.entries.front();
            model.entries.pop_front();
            auto pkt = queue.Read();
            ASSERT_EQ(Frames(pkt.Get()), (std::vector<Frame>(expected.frames.begin(), expected.frames.end())));
            ASSERT_TRUE(expected.begun || pkt.Get() == expected.object);
            if (random.OneIn(2) && pkt.Frames()) // whoever else holds it keeps what he has
                pkt.MutableSamples()[0] = 2.0f;
            ExpectSound(pkt.Get());
            break;
        }
        case 2: {
            if (!most)
                continue;
            const Model::Entry front = model.entries.front();
            const auto rest = static_cast<pbInt>(front.frames.size());
            const pbInt frames = rest && random.OneIn(2) ? rest : random.From(1, most);
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
            const pbInt frames = random.From(0, most);
            Samples dest(static_cast<std::size_t>(frames * channels), 9.0f);
            queue.GatherSamples(dest);
            ASSERT_EQ(dest, Joined(model.Gather(frames)));
            break;
        }
        case 4: {
            if (!most)
                continue;
            const pbInt frames = random.From(1, most);
            Samples dest = random.Run(frames * channels), expected = dest;
            const Samples added = Joined(model.Gather(frames));
            for (std::size_t i = 0; i < expected.size(); ++i)
                expected[i] += added[i];
            queue.GatherSamplesAdd(dest);
            ASSERT_EQ(dest, expected);
            break;
        }
        case 5:
            if (!random.OneIn(20))
                continue;
            queue.Clear();
            model.entries.clear();
            ASSERT_EQ(queue.Channels(), channels);
            break;
        }
        ASSERT_EQ(queue.Get() == before, !shared);
        ASSERT_EQ(pcmPacketQueueObj(queue.Get())->refCount, 1);

        for (const Held &each : helds) {
            ExpectCounts(each);
            if (random.OneIn(8))
                ExpectContents(each);
        }
        for (const Kept &each : kept)
            ExpectKept(each, helds);
        if (HasFailure())
            return;
    }
    helds.clear();
    for (const Kept &each : kept)
        EXPECT_EQ(RefCount(each.pkt.Get()), 1);
}

TEST(PacketQueue, CopiesNoSampleWhereAPacketCanBeHandedOut)
{
    auto queue = pcm::PacketQueue(2);
    const pbInt blocks = pb___MemDbgBlocks();
    PCM_PACKET *first = nullptr;
    {
        const auto pkt = MakePacket(2, {1, 2, 3, 4, 5, 6});
        first = pkt.Get();
        queue.Write(pkt);
        EXPECT_EQ(RefCount(first), 2);
    }
    EXPECT_EQ(RefCount(first), 1);
    EXPECT_LE(pb___MemDbgBlocks(), blocks + 2); // the samples, and the vector's own block
    queue.Write(MakePacket(2, {7, 8}));

    Samples dest(2);
    queue.GatherSamples(dest);
    EXPECT_EQ(dest, (Samples{1, 2}));
    EXPECT_EQ(queue.Packets(), 2);
    const auto rest = queue.Gather(2); // cut in place: nobody else holds it
    EXPECT_EQ(rest.Get(), first);
    EXPECT_EQ(SamplesOf(rest.Get()), (Samples{3, 4, 5, 6}));
    ExpectSound(rest.Get());

    queue.Write(rest);
    queue.GatherSamples(dest);
    queue.GatherSamples(dest);
    const auto copied = queue.Read(); // now the test holds it too
    EXPECT_NE(copied.Get(), rest.Get());
    EXPECT_EQ(SamplesOf(copied.Get()), (Samples{5, 6}));
    EXPECT_EQ(SamplesOf(rest.Get()), (Samples{3, 4, 5, 6}));
    EXPECT_EQ(RefCount(rest.Get()), 1);
}

TEST(PacketQueue, PacketsWithoutFramesArePassedOver)
{
    auto queue = pcm::PacketQueue(1);
    const auto none = pcm::Packet(1);
    queue.Write(none);
    EXPECT_EQ(queue.Packets(), 1);
    EXPECT_EQ(queue.Frames(), 0);
    queue.GatherSamples({});
    EXPECT_EQ(queue.Packets(), 1);
    EXPECT_EQ(queue.Read().Get(), none.Get());

    queue.Write(none);
    queue.Write(MakePacket(1, {0.25f, -0.25f}));
    queue.Write(none);
    Samples dest = {0.5f, 0.5f};
    queue.GatherSamplesAdd(dest);
    EXPECT_EQ(dest, (Samples{0.75f, 0.25f}));
    EXPECT_EQ(queue.Packets(), 1); // the one behind is still there
}

TEST(PacketQueue, AMillionFramesInPacketsOfOneAreDrainedInOrder)
{
    constexpr pbInt kPackets = 1'000'000;
    auto queue = pcm::PacketQueue(1);
    for (pbInt i = 0; i < kPackets; ++i)
        queue.Write(MakePacket(1, {static_cast<float>(i)}));
    const auto other = CopyOf(queue);
    Samples dest(7);
    pbInt next = 0;
    while (queue.Frames() >= 7) {
        queue.GatherSamples(dest);
        for (const PCM_SAMPLE sample : dest)
            ASSERT_EQ(sample, static_cast<float>(next++));
    }
    EXPECT_EQ(queue.Packets(), kPackets - next);
    EXPECT_EQ(other.Packets(), kPackets);
}

TEST(PacketQueue, RefusesWhatItCannotDo)
{
    auto queue = pcm::PacketQueue(2), shared = queue;
    PCM_PACKET_QUEUE *none = nullptr;
    const auto mono = MakePacket(1, {1}), stereo = MakePacket(2, {1, 2, 3, 4});
    queue.Write(stereo);
    auto **const handle = queue.Address();
    float dest[8] = {};

    EXPECT_ABORT(pcmPacketQueueCreate(0), "channels > 0");
    EXPECT_ABORT(pcmPacketQueueCreateFrom(none), "source");
    EXPECT_ABORT(pcmPacketQueueChannels(none), "queue");
    EXPECT_ABORT(pcmPacketQueuePackets(none), "queue");
    EXPECT_ABORT(pcmPacketQueueFrames(none), "queue");

    const struct {
        const char *name;
        std::function<void(PCM_PACKET_QUEUE **)> call;
    } operations[] = {
        {"clear", [](auto q) { pcmPacketQueueClear(q); }},
        {"write", [](auto q) { pcmPacketQueueWrite(q, nullptr); }},
        {"read", [](auto q) { pcmPacketQueueRead(q); }},
        {"gather", [](auto q) { pcmPacketQueueGather(q, -1); }},
        {"gather samples", [](auto q) { pcmPacketQueueGatherSamples(q, nullptr, -1); }},
        {"gather samples add", [](auto q) { pcmPacketQueueGatherSamplesAdd(q, nullptr, -1); }},
    };
    for (const auto &operation : operations) {
        SCOPED_TRACE(operation.name);
        EXPECT_ABORT(operation.call(nullptr), "queue");
        EXPECT_ABORT(operation.call(&none), "*queue");
    }

    EXPECT_ABORT(pcmPacketQueueWrite(handle, nullptr), "pkt");
    EXPECT_ABORT(pcmPacketQueueWrite(handle, mono.Get()), "pcmPacketChannels( pkt ) == (*queue)->channels");
    EXPECT_ABORT(pcmPacketQueueRead(shared.Address()), "pcmPacketQueuePackets( *queue ) > 0");
    EXPECT_ABORT_AT(pcmPacketQueueRead(shared.Address()), "source/pcm/pcm_packet_queue",
                    "pcmPacketQueuePackets( *queue ) > 0");
    EXPECT_ABORT(pcmPacketQueueGather(handle, 0), "frames > 0");
    EXPECT_ABORT(pcmPacketQueueGather(handle, 3), "frames <= (*queue)->frames");
    EXPECT_ABORT(pcmPacketQueueGatherSamples(handle, nullptr, -1), "frames >= 0");
    EXPECT_ABORT(pcmPacketQueueGatherSamples(handle, nullptr, 3), "frames == 0 || dest");
    EXPECT_ABORT(pcmPacketQueueGatherSamples(handle, dest, 3), "(*queue)->frames >= frames");
    EXPECT_ABORT(pcmPacketQueueGatherSamplesAdd(handle, dest, 0), "frames > 0");
    EXPECT_ABORT(pcmPacketQueueGatherSamplesAdd(handle, nullptr, 3), "frames == 0 || dest");
    EXPECT_ABORT(pcmPacketQueueGatherSamplesAdd(handle, dest, 3), "(*queue)->frames >= frames");
}

TEST(PacketQueue, HasTheStandardFunctionsOfItsSort)
{
    const auto queue = pcm::PacketQueue(1);
    EXPECT_STREQ(pcmPacketQueueSort()->name, "PCM_PACKET_QUEUE");
    EXPECT_EQ(pcmPacketQueueFrom(pcmPacketQueueObj(queue.Get())), queue.Get());
    EXPECT_ABORT_IN(pcmPacketQueueFrom(pcmPacketObj(pcm::Packet(1).Get())), "stdfunc from",
                    "!obj || pbObjSort(obj)==&pcm___sort_PCM_PACKET_QUEUE");
}
