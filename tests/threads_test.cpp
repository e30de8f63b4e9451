// Many threads hold the same objects, each through handles of its own.
#include "support.h"

#include <thread>

namespace {

/// Runs the body on several threads at once, with each thread's number.
template <class Body> void OnThreads(Body body, unsigned count = 4)
{
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < count; ++thread)
        threads.emplace_back([=] { body(thread); });
    for (std::thread &thread : threads)
        thread.join();
}

constexpr int kRounds = 2000;

TEST(Threads, EachChangesItsOwnCopyOfASharedPacket)
{
    const pcm::Packet shared = MakePacket(2, Samples(64, 0.5f));
    OnThreads([&shared](unsigned thread) {
        for (int round = 0; round < kRounds; ++round) {
            pcm::Packet mine = shared;
            ASSERT_EQ(mine.Samples()[63], 0.5f);
            mine.MutableSamples()[63] = static_cast<float>(thread);
            mine.LevelAdjust(-6.0);
            ASSERT_EQ(mine.Encode(PCM_ENCODING_INT_16).Length(), 128);
            mine.Clear();
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
        struct Shared {
            pcm::Packet packet;
            pcm::PacketQueue queue;
            pcm::FilterCoefficients set;
            pcm::Filter filter;
        };
        Shared first{MakePacket(1, samples), pcm::PacketQueue(1), pcm::FilterCoefficients(samples), {}};
        first.queue.Write(first.packet);
        first.filter = pcm::Filter(first.set, 1);
        first.filter.Write(first.packet);
        std::vector<Shared> mine(8, first);
        first = {};
        OnThreads(
            [&](unsigned thread) {
                Shared my = std::move(mine[thread]);
                EXPECT_EQ(SamplesOf(my.packet.Get()), samples);
                EXPECT_EQ(my.packet.Encode(PCM_ENCODING_INT_24).Length(), 12);
                auto edited = my.packet;
                edited.Append(my.packet);
                my.queue.Write(edited);
                EXPECT_EQ(my.queue.Gather(3 + thread % 2).Frames(), 3 + thread % 2);
                EXPECT_EQ(my.queue.Frames(), 9 - thread % 2);
                my.filter.Write(edited);
                EXPECT_EQ(my.filter.Read().Samples()[0], 0.25f);
                EXPECT_EQ(my.filter.Frames(), 8);
                EXPECT_EQ(my.filter.Coefficients().Get(), my.set.Get());
                for (unsigned i = 0; i < 4; ++i) // the references go in an order of each thread's own
                    switch ((i + thread) % 4) {
                    case 0: my.packet = {}; break;
                    case 1: my.queue = {}; break;
                    case 2: my.set = {}; break;
                    default: my.filter = {};
                    }
            },
            8);
    }
}

TEST(Threads, TextsAndRandomNumbersNeedNoLock)
{
    OnThreads([](unsigned thread) {
        const pcm::Encoding encoding(PCM_ENCODING_INT_16 << (thread % 2) | PCM_ENCODING_PACK_32);
        for (int round = 0; round < 200; ++round) {
            ASSERT_EQ(pcm::Encoding::FromString(encoding.ToString()), encoding);
            ASSERT_LE(pbRandomNonNegativeIntRange(0, 8192), 8192);
        }
    });
}

} // namespace
