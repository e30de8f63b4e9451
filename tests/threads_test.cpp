// Many threads hold the same objects, each through handles of its own.
#include "support.h"

#include <thread>

namespace {

/// Runs the body on several threads at once, with each thread's number.
template <class Body> void OnThreads(Body body)
{
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 4; ++thread)
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

TEST(Threads, TheLastReleaseMayBeOnAnyOfThem)
{
    for (int round = 0; round < 200; ++round) {
        PCM_PACKET *const pkt = MakePacket(1, {1, 2, 3}).Detach();
        for (int i = 1; i < 4; ++i)
            pcmPacketRetain(pkt);
        OnThreads([pkt](unsigned) {
            EXPECT_EQ(SamplesOf(pkt), (Samples{1, 2, 3}));
            pcmPacketRelease(pkt);
        });
    }
}

TEST(Threads, TextsAndRandomNumbersNeedNoLock)
{
    OnThreads([](unsigned thread) {
        const pcm::Encoding encoding(PCM_ENCODING_INT_16 << (thread % 2) | PCM_ENCODING_PACK_32);
        for (int round = 0; round < 200; ++round) {
            ASSERT_EQ(pcm::Encoding::FromString(encoding.ToString()), encoding);
            ASSERT_LT(pbRandomNonNegativeIntRange(0, 8192), 8192);
        }
    });
}

} // namespace
