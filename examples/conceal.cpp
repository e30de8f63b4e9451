// Conceal: sends a recording in packets of 20 ms over a line that loses some, and fills the gaps as a receiver does
// (concealment.h). Shows how a program reads and changes the samples of a packet, channel by channel.
#include "audio_file.h"
#include "concealment.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr char kUsage[] =
    "Usage: pcm-conceal PERCENT INPUT OUTPUT\n"
    "Loses PERCENT % of a recording's 20 ms packets, the same ones in every run, fills the gaps with what a\n"
    "telephone makes of them, and writes the result. OUTPUT ends in .wav, .au or .raw. An INPUT or OUTPUT of - is\n"
    "standard input or output.\n";

std::vector<PCM_SAMPLE> Channel(const pcm::Packet &pkt, std::size_t channel)
{
    std::vector<PCM_SAMPLE> samples;
    for (std::size_t i = channel; i < pkt.Samples().size(); i += static_cast<std::size_t>(pkt.Channels()))
        samples.push_back(pkt.Samples()[i]);
    return samples;
}

/// How far spectra are apart: the root mean square of the differences in dB, in bands of 200 Hz up to 4 kHz, of all
/// packets that are not silent.
class SpectralDistance {
public:
    explicit SpectralDistance(pbInt rate) : rate_(static_cast<double>(rate)) {}

    void Add(std::span<const PCM_SAMPLE> sent, std::span<const PCM_SAMPLE> heard)
    {
        const Bands a = BandsOf(sent), b = BandsOf(heard);
        if (*std::ranges::max_element(a) < -50)
            return;
        double sum = 0;
        for (std::size_t i = 0; i < a.size(); ++i)
            sum += (a[i] - b[i]) * (a[i] - b[i]);
        sum_ += std::sqrt(sum / static_cast<double>(a.size()));
        ++packets_;
    }
    double Average() const { return packets_ ? sum_ / packets_ : 0; }

private:
    using Bands = std::array<double, 20>; // dB, -70 and more

    Bands BandsOf(std::span<const PCM_SAMPLE> samples) const
    {
        const auto length = static_cast<double>(samples.size());
        Bands bands;
        for (std::size_t band = 0; band < bands.size(); ++band) {
            double power = 1e-7;
            for (double hertz = 200 * static_cast<double>(band) + 25; hertz < 200 * static_cast<double>(band + 1);
                 hertz += 50) {
                std::complex<double> sum = 0;
                for (std::size_t i = 0; i < samples.size(); ++i) {
                    const double at = 2 * std::numbers::pi * static_cast<double>(i);
                    sum += (0.5 - 0.5 * std::cos(at / length)) * samples[i] * std::polar(1.0, at * hertz / rate_);
                }
                power += std::norm(sum) / (length * length);
            }
            bands[band] = 10 * std::log10(power);
        }
        return bands;
    }

    double rate_, sum_ = 0;
    int packets_ = 0;
};

void Conceal(double percent, const std::string &input, const std::string &output)
{
    AudioReader reader(input);
    const int container = ContainerOf(output);
    const SampleFormat &format = UsualFormat(container, reader.Encoding());
    AudioWriter writer(output, container, format, reader.Rate(), reader.Channels(), reader.Speakers());
    std::vector<Concealment> channels;
    for (pbInt i = 0; i < reader.Channels(); ++i)
        channels.emplace_back(reader.Rate());
    SpectralDistance concealed(reader.Rate()), silent(reader.Rate());
    std::mt19937 engine; // of one seed
    pbInt sent = 0, missing = 0;
    bool gap = false; // before this packet
    const pbInt block = std::max<pbInt>(reader.Rate() / 50, 1);
    for (auto pkt = reader.Read(block); pkt; pkt = reader.Read(block), ++sent) {
        const bool lost = engine() / 0x1p32 * 100 < percent;
        auto heard = pkt;
        for (std::size_t i = 0; i < channels.size(); ++i) {
            const auto before = Channel(pkt, i);
            auto samples = before;
            if (lost)
                channels[i].Fill(samples);
            else
                channels[i].Hear(samples);
            if (lost || gap) // what is heard otherwise is what was sent, and its samples may be finer than 16 bits
                heard.WriteChannels(static_cast<pbInt>(i), 0, samples, 0, 1, 0, 1, pkt.Frames());
            if (lost && reader.Rate() >= 8000) {
                concealed.Add(before, samples);
                silent.Add(before, std::vector<PCM_SAMPLE>(before.size()));
            }
        }
        missing += lost;
        gap = lost;
        writer.Write(heard.Encode(format.encoding));
    }
    writer.Finish();
    std::fprintf(ReportFile(output), "%lld of %lld packets lost", static_cast<long long>(missing),
                 static_cast<long long>(sent));
    if (concealed.Average() > 0)
        std::fprintf(ReportFile(output), "; their spectra are off by %.1f dB, with silence instead by %.1f dB",
                     concealed.Average(), silent.Average());
    std::fputs("\n", ReportFile(output));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4)
        return std::fputs(kUsage, argc == 2 && argv[1] == std::string("--help") ? stdout : stderr), argc != 2;
    try {
        char *end = nullptr;
        const double percent = std::strtod(argv[1], &end);
        if (end == argv[1] || *end || !(percent >= 0 && percent <= 100))
            throw Failure("takes a number from 0 to 100, not '" + std::string(argv[1]) + "'");
        const pcm::Module module;
        Conceal(percent, argv[2], argv[3]);
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "pcm-conceal: %s\n", failure.what());
        return 1;
    }
}
