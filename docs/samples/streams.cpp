#include "check.h"

#include <pcm/pcm.hpp>

#include <vector>

static void Play(std::span<const float>)
{
}

// Whatever sizes come in, a device takes blocks of 160 frames.
static void Regroup(std::span<const pcm::Packet> packets)
{
    pcm::PacketQueue queue(1);
    for (const auto &pkt : packets) {
        queue.Write(pkt); // keeps a reference; copies no sample
        while (queue.Frames() >= 160) {
            float block[160];
            queue.GatherSamples(block);
            Play(block);
        }
    }
    CHECK(queue.Frames() == 90);
}

static pcm::Packet Mix(const pcm::Packet &a, const pcm::Packet &b)
{
    pcm::Packet mixed = a;
    pcm::PacketQueue queue(b.Channels());
    queue.Write(b);
    queue.GatherSamplesAdd(mixed.MutableSamples()); // a + b, frame for frame, not clamped
    return mixed;
}

static pcm::Packet Filtered(const pcm::Packet &pkt)
{
    const pcm::FilterCoefficients taps(PCM_FILTER_TYPE_LOWPASS_4000_AT_48000);
    pcm::Filter filter(taps, pkt.Channels());
    filter.Write(pkt);                     // any number of packets, of any length
    return filter.Gather(filter.Frames()); // as many frames as went in
}

static void Average()
{
    const float taps[] = {0.5f, 0.5f}; // h[0] weighs the newest frame
    pcm::Filter filter(pcm::FilterCoefficients(taps), 1);
    filter.Write(pcm::Packet(std::vector<float>{1, 1, 1}, 1));
    const auto out = filter.Read(); // 0.5 1 1: before the first frame there was silence
    CHECK(out.Samples()[0] == 0.5f && out.Samples()[2] == 1.0f);
}

int main()
{
    const pcm::Module module;
    const std::vector<pcm::Packet> packets = {pcm::SilenceGather(100), pcm::SilenceGather(0), pcm::SilenceGather(310)};
    Regroup(packets);
    const pcm::Packet a(std::vector<float>{0.75f, 0.5f}, 1), b(std::vector<float>{0.5f, 0.25f}, 1);
    CHECK(Mix(a, b).Samples()[0] == 1.25f && a.Samples()[0] == 0.75f);
    CHECK(Filtered(a).Frames() == 2);
    Average();
}
