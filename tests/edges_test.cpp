// The ends of the arrays and bytes that callers pass.
#include "models/conversion_model.h"

#include <algorithm>
#include <cstring>
#include <sys/mman.h>

namespace {

constexpr pbInt kMost = 130;

/// Bytes between two inaccessible pages.
struct Guarded {
    Guarded() { EXPECT_EQ(mprotect(pages + kPage, kPage, PROT_READ | PROT_WRITE), 0); }
    ~Guarded() { munmap(pages, 3 * kPage); }

    /// Room for elements, `distance` behind the first page or before the last.
    template <class T> T *Room(bool atEnd, pbInt elements, pbInt distance) const
    {
        T *const start = reinterpret_cast<T *>(pages + kPage);
        return atEnd ? start + kPage / sizeof(T) - distance - elements : start + distance;
    }

    static constexpr pbInt kPage = 65536; // at least a page of memory on every machine
    uint8_t *const pages =
        static_cast<uint8_t *>(mmap(nullptr, 3 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
};

/// Calls with every length, distance from the pages, and side.
template <class Call> void AtTheEdges(Call call)
{
    for (const bool atEnd : {false, true})
        for (pbInt distance = 0; distance < 8; ++distance)
            for (pbInt length = 0; length <= kMost && !testing::Test::HasFailure(); ++length)
                call(atEnd, length, distance);
}

} // namespace

TEST(Edges, NoArrayIsTouchedBeyondItsEnds)
{
    const Guarded to, from;
    const pcm::Tone a(37), b(50);
    AtTheEdges([&](bool atEnd, pbInt length, pbInt distance) {
        auto *const dest = to.Room<PCM_SAMPLE>(atEnd, length, distance);
        const auto *const source = from.Room<PCM_SAMPLE>(atEnd, length, distance / 2);
        for (const auto kernel : {pcm___SamplesCopy, pcm___SamplesMove, pcm___SamplesAdd, pcm___SamplesMul})
            kernel(dest, source, length);
        for (const auto scale : {pcm___SamplesScale, pcmLevelAdjustSamples})
            scale(dest, length, 0.5);
        for (const auto gather : {pcmNoiseGatherSamples, pcmNoiseGatherSamplesAdd, pcmSilenceGatherSamples})
            gather(dest, length);
        for (const auto gather : {pcmToneGatherSamples, pcmToneGatherSamplesAdd})
            gather(a.Get(), dest, length);
        for (const auto gather : {pcmDualToneGatherSamples, pcmDualToneGatherSamplesAdd, pcmModulatedToneGatherSamples,
                                  pcmModulatedToneGatherSamplesAdd})
            gather(a.Get(), b.Get(), dest, length);
        pcm::Packet pkt = pcm::Packet::Adopt(pcmPacketCreateFromSamplesCopy(source, 1, length));
        pcm::PacketQueue queue(1);
        queue.Write(pkt);
        queue.Write(pkt);
        pcmPacketQueueGatherSamples(queue.Address(), dest, length);
        if (length)
            pcmPacketQueueGatherSamplesAdd(queue.Address(), dest, length);

        const pbInt channels = distance + 1;
        auto *const wide = to.Room<PCM_SAMPLE>(atEnd, length * channels, 0);
        const auto *const narrow = from.Room<PCM_SAMPLE>(atEnd, length * 2, 0);
        for (const pbInt channel : {pbInt{0}, channels - 1}) {
            for (const auto kernel : {pcm___SamplesChannelCopy, pcm___SamplesChannelAdd, pcm___SamplesChannelMul})
                kernel(wide, channel, channels, narrow, channel % 2, 2, length);
            pcm___SamplesChannelScale(wide, channel, channels, length, 0.5);
            pcm___SamplesChannelZero(wide, channel, channels, length);
        }
        pcmPacketWriteChannelsSamples(pkt.Address(), 0, 0, narrow, 1, 2, 0, 1, length);
    });
}

TEST(Edges, NoByteIsConvertedBeyondTheEnds)
{
    const Guarded to, from;
    const Samples samples = Random().OddRun(kMost);
    auto types = SampleTypes();
    types.push_back(0);
    for (const PCM_ENCODING type : types)
        for (const PCM_ENCODING variant : {0x000, 0x400, 0x100, 0x900})
            for (const PCM_ENCODING pack : {0, 1, 2, 4, 8, 16, 32, 64}) {
                const pcm::Encoding encoding = type | variant | pack << 12;
                const Plain plain(encoding);
                const Bytes encoded = plain.Encode(samples);
                const Samples decoded = plain.Decode(encoded);
                AtTheEdges([&](bool atEnd, pbInt length, pbInt distance) {
                    const pbInt size = length * plain.container, apart = encoding ? distance : distance * 4;
                    auto *const values = to.Room<PCM_SAMPLE>(atEnd, length, distance / 2);
                    auto *const bytes = from.Room<uint8_t>(atEnd, size, apart);
                    std::copy_n(samples.begin(), length, values);
                    std::fill_n(bytes, size, 0xA5);
                    pcm___Convert(bytes, encoding, values, 0, length);
                    EXPECT_TRUE(SameBits(std::span(bytes, size), std::span(encoded).first(size)))
                        << encoding.ToString();
                    for (const PCM_ENCODING dest : {PCM_ENCODING(0), PCM_ENCODING_FLOAT_32}) { // which is in pieces
                        std::fill_n(values, length, 9.0f);
                        pcm___Convert(values, dest, bytes, encoding, length);
                        EXPECT_TRUE(SameBits(std::span(values, length), std::span(decoded).first(length)))
                            << encoding.ToString();
                    }
                });
            }
}
