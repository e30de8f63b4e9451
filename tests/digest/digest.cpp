// Drives every operation with fixed and generated input and prints one digest for each family, as
//     FAMILY DIGEST
// Two builds, processors or levels that print the same lines did the same to the bit. A NaN that arithmetic made counts
// as NaN, whatever its pattern; samples that are only moved count with all their bits. The families `decibel` and
// `tone` rest on the mathematics library's log10, pow and sin, and are the same where that library's results are.
#include <pcm/pcm.hpp>

#include <bit>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

/// The same numbers everywhere: the generator called splitmix64.
class Numbers {
public:
    uint64_t Bits()
    {
        uint64_t z = (state_ += 0x9E3779B97F4A7C15u);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }

    pbInt From(pbInt low, pbInt high) // inclusive
    {
        return low + static_cast<pbInt>(Bits() % static_cast<uint64_t>(high - low + 1));
    }

    /// Mostly within full scale and a little beyond; now and then any float at all.
    PCM_SAMPLE Sample()
    {
        if (From(0, 15) == 0)
            return std::bit_cast<float>(static_cast<uint32_t>(Bits()));
        return static_cast<float>(From(-1100000, 1100000)) * 1e-6f;
    }

    std::vector<PCM_SAMPLE> Run(pbInt count)
    {
        std::vector<PCM_SAMPLE> run(static_cast<std::size_t>(count));
        for (PCM_SAMPLE &sample : run)
            sample = Sample();
        return run;
    }

    pcm::Packet Packet(pbInt channels, pbInt frames) { return pcm::Packet(Run(channels * frames), channels); }

private:
    uint64_t state_ = 1;
};

Numbers noiseNumbers; // what the noise is made of in this program: see pbRandomInt below

/// One family's digest: FNV-1a over words.
class Digest {
public:
    explicit Digest(const char *family) : family_(family) {}
    ~Digest() { std::printf("%s %016llx\n", family_, static_cast<unsigned long long>(hash_)); }
    Digest(const Digest &) = delete;
    Digest &operator=(const Digest &) = delete;

    void Add(uint64_t word)
    {
        for (int shift = 0; shift < 64; shift += 8)
            hash_ = (hash_ ^ ((word >> shift) & 0xFF)) * 0x100000001B3u;
    }

    void Moved(std::span<const PCM_SAMPLE> samples)
    {
        for (const PCM_SAMPLE sample : samples)
            Add(std::bit_cast<uint32_t>(sample));
    }

    void Made(std::span<const PCM_SAMPLE> samples)
    {
        for (const PCM_SAMPLE sample : samples)
            Add(std::isnan(sample) ? 0x7FC00000u : std::bit_cast<uint32_t>(sample));
    }

    void Shape(const pcm::Packet &pkt)
    {
        Add(static_cast<uint64_t>(pkt.Channels()));
        Add(static_cast<uint64_t>(pkt.Frames()));
    }

    void Moved(const pcm::Packet &pkt)
    {
        Shape(pkt);
        Moved(pkt.Samples());
    }

    void Made(const pcm::Packet &pkt)
    {
        Shape(pkt);
        Made(pkt.Samples());
    }

    void Bytes(std::span<const std::byte> bytes)
    {
        Add(bytes.size());
        for (const std::byte byte : bytes)
            Add(static_cast<uint64_t>(byte));
    }

private:
    const char *family_;
    uint64_t hash_ = 0xCBF29CE484222325u;
};

Numbers numbers;

void Samples()
{
    Digest digest("samples");
    for (int round = 0; round < 300; ++round) {
        const pbInt count = numbers.From(0, 150);
        const std::vector<PCM_SAMPLE> source = numbers.Run(count);
        std::vector<PCM_SAMPLE> dest = numbers.Run(count);
        pcm___SamplesAdd(dest.data(), source.data(), count);
        digest.Made(dest);
        pcm___SamplesMul(dest.data(), source.data(), count);
        digest.Made(dest);
        pcm___SamplesScale(dest.data(), count, 0.7);
        digest.Made(dest);
        pcm___SamplesAdd(dest.data(), dest.data() + (count > 3 ? 3 : 0), count > 3 ? count - 3 : count);
        digest.Made(dest);
        pcm___SamplesCopy(dest.data(), source.data(), count);
        pcm___SamplesMove(dest.data() + count / 3, dest.data(), count / 2);
        pcm___SamplesZero(dest.data(), count / 4);
        digest.Moved(dest);

        const pbInt to = numbers.From(1, 9), from = numbers.From(1, 9), frames = numbers.From(0, 60);
        const pbInt toChannel = numbers.From(0, to - 1), fromChannel = numbers.From(0, from - 1);
        const std::vector<PCM_SAMPLE> in = numbers.Run(from * frames);
        std::vector<PCM_SAMPLE> out = numbers.Run(to * frames);
        pcm___SamplesChannelAdd(out.data(), toChannel, to, in.data(), fromChannel, from, frames);
        digest.Made(out);
        pcm___SamplesChannelMul(out.data(), toChannel, to, in.data(), fromChannel, from, frames);
        pcm___SamplesChannelScale(out.data(), toChannel, to, frames, -1.3);
        digest.Made(out);
        pcm___SamplesChannelCopy(out.data(), toChannel, to, in.data(), fromChannel, from, frames);
        digest.Made(out);
        pcm___SamplesChannelZero(out.data(), toChannel, to, frames);
        digest.Made(out);
    }
}

void Conversion()
{
    Digest encoded("encode"), decoded("decode"), converted("convert");
    for (int round = 0; round < 6000; ++round) {
        const PCM_ENCODING encoding = static_cast<PCM_ENCODING>(numbers.Bits() & 0x7FFFF);
        const pbInt channels = numbers.From(1, 3), frames = numbers.From(0, 50);
        const pcm::Packet pkt = numbers.Packet(channels, frames);
        const pcm::Buffer bytes = pkt.Encode(encoding);
        encoded.Add(static_cast<uint64_t>(pcmEncodingNormalize(encoding)));
        encoded.Bytes(bytes.Bytes());
        decoded.Moved(pcm::Packet::TryDecode(bytes, encoding, pkt.Channels()));
        if (const auto other = pcm::TryConvert(static_cast<PCM_ENCODING>(numbers.Bits() & 0x7FFFF), bytes, encoding))
            converted.Bytes(other.Bytes());
    }
    for (int bit = 0; bit < 64; ++bit)
        for (const char letter : pcm::Encoding(PCM_ENCODING(1) << bit | PCM_ENCODING_PACK_64).ToString())
            encoded.Add(static_cast<uint64_t>(letter));
}

/// An edit at random, of the packet with itself or another.
void Edit(PCM_PACKET **pkt, PCM_PACKET *source)
{
    const pbInt frames = pcmPacketFrames(*pkt), sourceFrames = pcmPacketFrames(source);
    const pbInt idx = numbers.From(0, frames), offset = numbers.From(0, sourceFrames);
    const pbInt inner = numbers.From(0, sourceFrames - offset), room = frames - idx;
    switch (numbers.From(0, 15)) {
    case 0: return pcmPacketWriteInner(pkt, idx, source, offset, inner < room ? inner : room);
    case 1: return pcmPacketWriteTrailing(pkt, idx, source, sourceFrames < room ? sourceFrames : room);
    case 2:
        if (sourceFrames - inner <= room)
            pcmPacketWriteOuter(pkt, idx, source, offset, inner);
        return;
    case 3: return pcmPacketWriteZero(pkt, idx, room / 2);
    case 4: return pcmPacketInsertInner(pkt, idx, source, offset, inner);
    case 5: return pcmPacketInsertOuter(pkt, idx, source, offset, inner);
    case 6: return pcmPacketInsertZero(pkt, idx, inner);
    case 7: return pcmPacketPrependLeading(pkt, source, offset);
    case 8: return pcmPacketAppendTrailing(pkt, source, inner);
    case 9: return pcmPacketAppend(pkt, source);
    case 10: return pcmPacketDelInner(pkt, idx, room);
    case 11: return pcmPacketDelOuter(pkt, idx, room);
    case 12: return pcmPacketDelLeading(pkt, idx);
    case 13: return pcmPacketDelTrailing(pkt, idx);
    case 14: return pcmPacketSetFrames(pkt, numbers.From(0, 90));
    default: return pcmLevelAdjust(pkt, 20.0);
    }
}

void Packets()
{
    Digest digest("packet");
    for (pbInt channels = 1; channels <= 8; ++channels) {
        pcm::Packet packets[3] = {numbers.Packet(channels, 20), numbers.Packet(channels, 7), pcm::Packet(channels)};
        for (int step = 0; step < 400; ++step) {
            pcm::Packet &pkt = packets[numbers.From(0, 2)];
            const pcm::Packet looksOn = packets[numbers.From(0, 2)];
            Edit(pkt.Address(), packets[numbers.From(0, 2)].Get());
            if (pkt.Frames() > 200)
                pkt.SetFrames(50);
            digest.Made(pkt);
            digest.Made(looksOn);
        }
    }
}

void Layout()
{
    Digest digest("layout");
    for (int round = 0; round < 600; ++round) {
        const pbInt channels = numbers.From(1, 9), frames = numbers.From(0, 70), wanted = numbers.From(1, 9);
        pcm::Packet pkt = numbers.Packet(channels, frames);
        const pbInt mask = numbers.From(1, (pbInt(1) << channels) - 1);
        digest.Moved(pcm::Packet::Adopt(pcmPacketCreateFromWithChannelMask(pkt.Get(), mask)));
        digest.Made(pcm::Packet::Adopt(pcmPacketCreateFromWithChannels(pkt.Get(), wanted)));
        pcm::Packet other = pkt;
        pcmPacketSetChannels(other.Address(), wanted);
        digest.Moved(other);
        const pbInt count = numbers.From(0, channels < wanted ? channels : wanted), run = numbers.From(0, frames);
        pcmPacketWriteChannels(other.Address(), wanted - count, 0, pkt.Get(), channels - count, frames - run, count,
                               run);
        digest.Moved(other);
        pcmPacketWriteChannels(pkt.Address(), 0, 0, pkt.Get(), channels - 1, frames - run, 1, run);
        digest.Moved(pkt);
    }
}

void Channels()
{
    Digest digest("channels");
    for (pbInt channels = 1; channels <= 9; ++channels)
        for (pbInt wanted = 1; wanted <= 9; ++wanted)
            for (const pbInt frames : {0, 1, 15, 16, 33, 100}) {
                const pcm::Packet pkt = numbers.Packet(channels, frames);
                for (auto *adjust : {pcmChannelsAdjustReplaceWithDownmix, pcmChannelsAdjustExpandWithDownmix}) {
                    pcm::Packet adjusted = pkt;
                    adjust(adjusted.Address(), wanted);
                    digest.Made(adjusted);
                }
            }
}

void FrameRates()
{
    Digest digest("frames");
    for (pbInt channels = 1; channels <= 9; ++channels)
        for (const pbInt factor : {2, 3, 4, 5, 6, 12})
            for (const pbInt frames : {0, 1, 7, 16, 61}) {
                pcm::Packet pkt = numbers.Packet(channels, frames * factor);
                pcmFramesReduce(pkt.Address(), factor);
                digest.Moved(pkt);
                pcmFramesExtend(pkt.Address(), factor);
                digest.Moved(pkt);
            }
}

void Queues()
{
    Digest digest("queue");
    for (pbInt channels = 1; channels <= 4; ++channels) {
        pcm::PacketQueue queue(channels), copy = queue;
        for (int step = 0; step < 800; ++step) {
            PCM_PACKET_QUEUE **const handle = queue.Address();
            const pbInt queued = pcmPacketQueueFrames(queue.Get()), frames = numbers.From(0, queued);
            std::vector<PCM_SAMPLE> dest(static_cast<std::size_t>(frames * channels), 0.25f);
            switch (numbers.From(0, 7)) {
            case 0:
                if (pcmPacketQueuePackets(queue.Get()))
                    digest.Moved(pcm::Packet::Adopt(pcmPacketQueueRead(handle)));
                break;
            case 1:
                if (frames)
                    digest.Moved(pcm::Packet::Adopt(pcmPacketQueueGather(handle, frames)));
                break;
            case 2: pcmPacketQueueGatherSamples(handle, dest.data(), frames); break;
            case 3:
                if (frames)
                    pcmPacketQueueGatherSamplesAdd(handle, dest.data(), frames);
                break;
            case 4: std::swap(queue, copy); break;
            case 5:
                if (queued > 300)
                    pcmPacketQueueClear(handle);
                break;
            case 6: copy = queue; break;
            default: pcmPacketQueueWrite(handle, numbers.Packet(channels, numbers.From(0, 30)).Get());
            }
            digest.Made(dest);
            digest.Add(static_cast<uint64_t>(pcmPacketQueueFrames(queue.Get())));
            digest.Add(static_cast<uint64_t>(pcmPacketQueuePackets(queue.Get())));
        }
    }
}

void Filters()
{
    Digest digest("filter");
    const auto run = [&](PCM_FILTER_COEFFICIENTS *coefficients, pbInt channels) {
        auto filter = pcm::Filter::Adopt(pcmFilterCreate(coefficients, channels)), copy = filter;
        for (int step = 0; step < 12; ++step) {
            pcmFilterWrite(filter.Address(), numbers.Packet(channels, numbers.From(0, 150)).Get());
            if (step == 5)
                copy = filter;
            if (step == 8)
                pcmFilterReset(filter.Address());
            if (const pbInt frames = pcmFilterFrames(filter.Get()) / 2)
                digest.Made(pcm::Packet::Adopt(pcmFilterGather(filter.Address(), frames)));
        }
        while (pcmFilterPackets(copy.Get()))
            digest.Made(pcm::Packet::Adopt(pcmFilterRead(copy.Address())));
    };
    for (PCM_FILTER_TYPE type = 0; type <= 6; ++type) {
        const auto set = pcm::FilterCoefficients::Adopt(pcmFilterCoefficientsCreate(type));
        digest.Moved({pcmFilterCoefficientsBacking(set.Get()),
                      static_cast<std::size_t>(pcmFilterCoefficientsLength(set.Get()))});
        for (const char letter : pcm::String::Adopt(pcmFilterTypeToString(type)).View())
            digest.Add(static_cast<uint64_t>(letter));
        for (pbInt channels = 1; channels <= 3; ++channels)
            run(set.Get(), channels);
    }
    for (const pbInt taps : {1, 2, 3, 5, 7, 11, 15, 16, 17, 31, 33, 64, 65, 127, 300, 3000}) {
        std::vector<PCM_SAMPLE> h = numbers.Run(taps);
        for (PCM_SAMPLE &tap : h)
            tap = std::isfinite(tap) && std::fabs(tap) < 2 ? tap / 8 : 0.125f;
        const auto set = pcm::FilterCoefficients::Adopt(
            pcmFilterCoefficientsCreateFromSamplesCopy(h.data(), static_cast<pbInt>(h.size())));
        for (pbInt channels = 1; channels <= 9; channels += 2)
            run(set.Get(), channels);
    }
}

void Decibels()
{
    Digest digest("decibel");
    for (pbInt i = -2100; i <= 2100; ++i) {
        digest.Add(std::bit_cast<uint64_t>(pcmDecibelToGain(static_cast<pbReal>(i) / 10)));
        digest.Add(std::bit_cast<uint64_t>(pcmDecibelFromGain(static_cast<pbReal>(i + 2100) / 7)));
    }
    pcm::Packet pkt = numbers.Packet(2, 500);
    pkt.LevelAdjust(-3.7);
    digest.Made(pkt);
}

void Tones()
{
    Digest digest("tone");
    for (const pbInt period : {1, 2, 3, 4, 18, 23, 160, 8001}) {
        const auto a = pcm::Tone::Adopt(pcmToneCreate(period));
        const auto b = pcm::Tone::Adopt(pcmToneTryCreateWithFrequency(8000, 3 * period));
        PCM_TONE *const other = b ? b.Get() : a.Get();
        digest.Made(pcm::Packet::Adopt(pcmToneGather(a.Get(), 500)));
        digest.Made(pcm::Packet::Adopt(pcmDualToneGather(a.Get(), other, 300)));
        digest.Made(pcm::Packet::Adopt(pcmModulatedToneGather(a.Get(), other, 300)));
        std::vector<PCM_SAMPLE> sum(257, 0.5f);
        pcmToneGatherSamplesAdd(a.Get(), sum.data(), 257);
        pcmDualToneGatherSamplesAdd(a.Get(), a.Get(), sum.data(), 257);
        pcmModulatedToneGatherSamplesAdd(a.Get(), other, sum.data(), 257);
        digest.Made(sum);
    }
}

void Noise()
{
    Digest digest("noise");
    for (const pbInt samples : {0, 1, 100, 8192, 8193, 20000}) {
        digest.Moved(pcm::Packet::Adopt(pcmNoiseGather(samples)));
        std::vector<PCM_SAMPLE> sum(static_cast<std::size_t>(samples), 0.1f);
        pcmNoiseGatherSamplesAdd(sum.data(), samples);
        digest.Made(sum);
        digest.Moved(pcm::Packet::Adopt(pcmSilenceGather(samples)));
    }
}

} // namespace

// Random numbers that are the same everywhere: this program's, in the place of the runtime's.
pbInt pbRandomInt()
{
    return static_cast<pbInt>(noiseNumbers.Bits());
}

pbInt pbRandomNonNegativeIntRange(pbInt low, pbInt high)
{
    return noiseNumbers.From(low, high); // high itself may come back
}

int main()
{
    const pcm::Module module;
    Samples();
    Conversion();
    Packets();
    Layout();
    Channels();
    FrameRates();
    Queues();
    Filters();
    Decibels();
    Tones();
    Noise();
}
