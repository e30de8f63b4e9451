// Many threads hold the same objects, each through handles of its own.
#include "support.h"

#include <thread>
#include <tuple>

namespace {

constexpr unsigned kThreads = 8;

/// Runs the body on several threads at once, with each thread's number.
template <class Body> void OnThreads(Body body)
{
    std::vector<std::jthread> threads;
    for (unsigned thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([=] { body(thread); });
}

TEST(Threads, EachChangesItsOwnCopyOfASharedPacket)
{
    const pcm::Packet shared = MakePacket(2, Samples(64, 0.5f));
    OnThreads([&shared](unsigned thread) {
        const pcm::Encoding encoding(PCM_ENCODING_INT_16 << (thread % 2) | PCM_ENCODING_PACK_32);
        for (int round = 0; round < 1000; ++round) {
            pcm::Packet mine = shared;
            ASSERT_EQ(mine.Samples()[63], 0.5f);
            mine.MutableSamples()[63] = static_cast<float>(thread);
            mine.LevelAdjust(-6.0);
            ASSERT_EQ(mine.Encode(encoding).Length(), 256);
            ASSERT_EQ(pcm::Encoding::FromString(encoding.ToString()), encoding);
            ASSERT_EQ(pcm::NoiseGather(10).Frames(), 10);
            for (int i = 0; i < 50; ++i)
                pcm::Retain(shared.Get()), pcm::Release(shared.Get()); // the runtime's, which count too
        }
    });
    EXPECT_EQ(RefCount(shared.Get()), 1);
    EXPECT_EQ(SamplesOf(shared.Get()), Samples(64, 0.5f));
}

// Each thread copies, reads and changes a packet, a queue, a filter and its set, then gives up its references in no
// order with the others: whoever comes last destroys them.
TEST(Threads, ShareEverythingUntilTheLastRelease)
{
    const Samples samples = {0.5f, 0.25f, -0.5f, 0.125f};
    for (int round = 0; round < 200; ++round) {
        std::tuple first(MakePacket(1, samples), pcm::PacketQueue(1), pcm::FilterCoefficients(samples), pcm::Filter());
        auto &[packet, packets, taps, stream] = first;
        packets.Write(packet);
        stream = pcm::Filter(taps, 1);
        stream.Write(packet);
        std::vector all(kThreads, first);
        first = decltype(first)();
        OnThreads([&](unsigned thread) {
            auto [pkt, queue, set, filter] = std::move(all[thread]);
            EXPECT_EQ(SamplesOf(pkt.Get()), samples);
            pkt.Append(pcm::Packet(pkt));
            queue.Write(pkt);
            EXPECT_EQ(queue.Gather(3 + thread % 2).Frames(), 3 + thread % 2);
            filter.Write(pkt);
            EXPECT_EQ(filter.Read().Samples()[0], 0.25f);
            EXPECT_EQ(queue.Frames() + filter.Frames(), 17 - thread % 2);
            EXPECT_EQ(filter.Coefficients(), set);
            if (thread % 2)
                pkt = {}, filter = {};
        });
    }
}

} // namespace
