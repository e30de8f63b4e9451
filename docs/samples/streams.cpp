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

// Adds a packet to another of the same length and channel count, sample for sample. Nothing is clamped.
static void Add(pcm::Packet &dest, const pcm::Packet &source)
{
    pcm::PacketQueue queue(source.Channels());
    queue.Write(source); // copies no sample
    queue.GatherSamplesAdd(dest.MutableSamples());
}

static pcm::Packet Mix(std::span<const pcm::Packet> parties)
{
    pcm::Packet sum = parties[0];
    for (const auto &party : parties.subspan(1))
        Add(sum, party);
    return sum;
}

// What each party of a conference hears: everybody else, as the sum of those before and those after it.
static std::vector<pcm::Packet> MixWithoutSelf(std::span<const pcm::Packet> parties)
{
    pcm::Packet silence(parties[0].Channels());
    silence.SetFrames(parties[0].Frames());

    std::vector<pcm::Packet> mixes;
    pcm::Packet before = silence, after = silence;
    for (const auto &party : parties) {
        mixes.push_back(before);
        Add(before, party);
    }
    for (std::size_t i = parties.size(); i-- > 0;) {
        Add(mixes[i], after);
        Add(after, parties[i]);
    }
    return mixes;
}

static pcm::Packet Filtered(const pcm::Packet &pkt)
{
    const pcm::FilterCoefficients taps(PCM_FILTER_TYPE_LOWPASS_4000_AT_48000);
    pcm::Filter filter(taps, pkt.Channels());
    filter.Write(pkt);    // any number of packets, of any length
    return filter.Read(); // one packet for each that was written, with as many frames
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
    const std::vector<pcm::Packet> parties = {a, b, pcm::Packet(std::vector<float>{1e-9f, 0.0f}, 1)};
    const auto mixes = MixWithoutSelf(parties);
    CHECK(Mix(parties).Samples()[0] == 1.25f && a.Samples()[0] == 0.75f);
    CHECK(mixes[0].Samples()[1] == 0.25f && mixes[1].Samples()[1] == 0.5f && mixes[2].Samples()[0] == 1.25f);
    CHECK(Mix(parties).Samples()[0] - mixes[2].Samples()[0] == 0.0f); // what subtracting would make of the third
    CHECK(Filtered(a).Frames() == 2);
    Average();
}
