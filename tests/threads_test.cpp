// Many threads hold the same objects, each through handles of its own.
#include "support.h"

#include <thread>
#include <tuple>

// Each thread copies, reads and changes a packet, a queue, a filter and its set, then gives up its references in no
// order with the others: the last one destroys them.
TEST(Threads, ShareEverythingUntilTheLastRelease)
{
    constexpr unsigned kThreads = 8;
    const Samples samples = {0.5f, 0.25f, -0.5f, 0.125f};
    for (int round = 0; round < 200; ++round) {
        std::tuple first(MakePacket(1, samples), pcm::PacketQueue(1), pcm::FilterCoefficients(samples), pcm::Filter());
        auto &[packet, packets, taps, stream] = first;
        packets.Write(packet);
        stream = pcm::Filter(taps, 1);
        stream.Write(packet);
        const pcm::Packet watched = packet;
        std::vector all(kThreads, first);
        first = decltype(first)();
        std::vector<std::jthread> threads;
        for (unsigned thread = 0; thread < kThreads; ++thread)
            threads.emplace_back([&all, thread, &samples] {
                auto [pkt, queue, set, filter] = std::move(all[thread]);
                for (int i = 0; i < 50; ++i)
                    pcm::Retain(set.Get()), pcm::Release(set.Get()); // the runtime's, which count too
                EXPECT_EQ(SamplesOf(pkt.Get()), samples);
                pkt.MutableSamples()[3] = static_cast<float>(thread);
                pkt.Append(pcm::Packet(pkt));
                queue.Write(pkt);
                EXPECT_EQ(queue.Gather(3 + thread % 2).Frames(), 3 + thread % 2);
                filter.Write(pkt);
                EXPECT_EQ(filter.Read().Samples()[0], 0.25f);
                EXPECT_EQ(queue.Frames() + filter.Frames(), 17 - thread % 2);
                EXPECT_EQ(filter.Coefficients(), set);
                const pcm::Encoding encoding(PCM_ENCODING_INT_16 << (thread % 2) | PCM_ENCODING_PACK_32);
                EXPECT_EQ(pcm::Encoding::FromString(encoding.ToString()), encoding);
                EXPECT_EQ(pkt.Encode(encoding).Length() + pcm::NoiseGather(10).Frames(), 42);
                if (thread % 2)
                    pkt = {}, filter = {};
            });
        threads.clear(); // which waits for them
        all.clear();
        EXPECT_EQ(RefCount(watched.Get()), 1);
        EXPECT_EQ(SamplesOf(watched.Get()), samples);
    }
}

// No sample is lost where each of two threads works on a channel of its own in one array.
TEST(Threads, WorkOnAChannelEachOfOneArray)
{
    constexpr pbInt kFrames = 1001;
    const Samples twos(2 * kFrames, 2.0f);
    Samples both(2 * kFrames);
    const auto work = [&](pbInt channel) {
        for (int round = 0; round < 500; ++round) {
            const pbInt step = 1 + round % 2;
            pcm___SamplesChannelZero(both.data(), channel, 2, kFrames);
            pcm___SamplesChannelCopy(both.data(), channel, 2, twos.data(), 0, step, kFrames);
            pcm___SamplesChannelAdd(both.data(), channel, 2, twos.data(), 0, step, kFrames);
            pcm___SamplesChannelMul(both.data(), channel, 2, twos.data(), 0, step, kFrames);
            pcm___SamplesChannelScale(both.data(), channel, 2, kFrames, 0.125);
            pbInt lost = 0;
            for (pbInt f = 0; f < kFrames; ++f)
                lost += both[2 * f + channel] != 1.0f;
            EXPECT_EQ(lost, 0);
        }
    };
    const std::jthread first(work, 0), second(work, 1);
}
