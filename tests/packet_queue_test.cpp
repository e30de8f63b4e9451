// Packet queues: order, identity, and what other holders of queues and packets see.
#include "models/queue_model.h"

#include <functional>

TEST(PacketQueue, RunsAsItsModelWhileOthersLookOn)
{
    Random random;
    QueueModel model(random);
    for (int step = 0; step < 5000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        model.Step();
    }
    model.End();
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
