// The numbers of the pictures, for gnuplot: blocks of lines "Hz dB", each under its name.
//     picture_data responses             of each built-in filter, measured with an impulse; those of 48000 Hz first
//     picture_data spectra BEFORE AFTER  of two audio files
#include "audio_file.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <exception>
#include <numbers>
#include <span>
#include <string>
#include <vector>

#include <fftw3.h>

namespace {

/// Power, in dB, at multiples of a step in Hz from 0 on.
void PrintBlock(const std::string &name, double step, const std::vector<double> &power)
{
    std::printf("\"%s\"\n", name.c_str());
    for (std::size_t i = 0; i < power.size(); ++i)
        if (power[i] > 0)
            std::printf("%.1f %.2f\n", static_cast<double>(i) * step, 10 * std::log10(power[i]));
    std::printf("\n\n");
}

/// The discrete Fourier transform of real values, at the non-negative frequencies.
class Transform {
public:
    explicit Transform(std::size_t length)
        : in_(length), out_(length / 2 + 1),
          plan_(fftw_plan_dft_r2c_1d(static_cast<int>(length), in_.data(),
                                     reinterpret_cast<fftw_complex *>(out_.data()), FFTW_ESTIMATE))
    {
    }
    ~Transform() { fftw_destroy_plan(plan_); }
    Transform(const Transform &) = delete;
    Transform &operator=(const Transform &) = delete;

    std::span<double> In() { return in_; }
    std::span<const std::complex<double>> Out()
    {
        fftw_execute(plan_);
        return out_;
    }

private:
    std::vector<double> in_;
    std::vector<std::complex<double>> out_;
    fftw_plan plan_;
};

void PrintResponses(bool at48000)
{
    for (PCM_FILTER_TYPE type = 0; PCM_FILTER_TYPE_OK(type); ++type) {
        // The name ends in the cut-off and the rate: ..._4000_AT_16000.
        const std::string name = pcm::FilterTypeToString(type);
        const std::size_t at = name.rfind("_AT_"), under = name.rfind('_', at - 1);
        const int cutOff = std::stoi(name.substr(under + 1)), rate = std::stoi(name.substr(at + 4));
        if ((rate == 48000) != at48000)
            continue;

        const pcm::FilterCoefficients coefficients(type);
        std::vector<PCM_SAMPLE> impulse(static_cast<std::size_t>(coefficients.Length()));
        impulse.front() = 1;
        pcm::Filter filter(coefficients, 1);
        filter.Write(pcm::Packet(impulse, 1));
        const pcm::Packet response = filter.Read();
        Transform transform(static_cast<std::size_t>(rate) / 40);
        std::ranges::copy(response.Samples(), transform.In().begin());
        std::vector<double> power;
        for (const auto &value : transform.Out())
            power.push_back(std::norm(value));
        PrintBlock(at48000 ? std::to_string(cutOff / 1000) + " kHz"
                           : std::to_string(cutOff / 1000) + " kHz, at " + std::to_string(rate / 1000) + " kHz",
                   40, power);
    }
}

/**
   The mean power over segments of 40 ms, so that two files of any rates are measured in bands of the same 25 Hz. The
   segments overlap by half and are weighted by a Hann window (Welch's method); the channels are averaged. A sine at
   full scale is 0 dB.
*/
void PrintSpectrum(const std::string &when, const std::string &path)
{
    AudioReader reader(path);
    const auto rate = static_cast<double>(reader.Rate());
    const auto length = static_cast<std::size_t>(std::max(4.0, std::round(rate / 25)));
    std::vector<double> window, power(length / 2 + 1);
    for (std::size_t i = 0; i < length; ++i)
        window.push_back(0.5 -
                         0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(length)));

    Transform transform(length);
    pcm::PacketQueue queue(1);
    std::vector<PCM_SAMPLE> segment(length);
    double segments = 0;
    const std::size_t half = length / 2;
    for (bool ended = false; !ended || segments == 0;) {
        while (!ended && queue.Frames() < static_cast<pbInt>(half)) {
            auto pkt = reader.Read(4096);
            ended = !pkt;
            if (ended)
                break;
            pkt.ChannelsAdjustReplaceWithDownmix(1);
            queue.Write(pkt);
        }
        std::shift_left(segment.begin(), segment.end(), static_cast<long>(half));
        const auto fresh =
            std::span(segment).last(half).first(std::min(half, static_cast<std::size_t>(queue.Frames())));
        std::ranges::fill(std::span(segment).last(half), 0.0f);
        queue.GatherSamples(fresh);
        std::ranges::transform(segment, window, transform.In().begin(), std::multiplies<>());
        const auto values = transform.Out();
        for (std::size_t i = 0; i < power.size(); ++i)
            power[i] += std::norm(values[i] * 4.0 / static_cast<double>(length));
        ++segments;
    }
    for (double &value : power)
        value /= segments;
    char name[160];
    std::snprintf(name, sizeof name, "%s: %s, %g kHz", when.c_str(), reader.Description().c_str(), rate / 1000);
    PrintBlock(name, rate / static_cast<double>(length), power);
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    try {
        const pcm::Module module;
        if (arguments.size() == 1 && arguments[0] == "responses") {
            PrintResponses(true);
            PrintResponses(false);
        } else if (arguments.size() == 3 && arguments[0] == "spectra") {
            PrintSpectrum("before", arguments[1]);
            PrintSpectrum("after", arguments[2]);
        } else {
            throw Failure("takes 'responses', or 'spectra' and two audio files");
        }
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "picture_data: %s\n", failure.what());
        return 1;
    }
}
