// The numbers of the pictures, for gnuplot: blocks of lines "Hz dB", each under its name.
//     picture_data responses              what each built-in filter makes of an impulse
//     picture_data spectra FILE [FILE]... the spectrum of each audio file
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

namespace {

constexpr double kLowest = -120; // dB, below which no picture goes

double Decibels(double power)
{
    return power > 0 ? std::max(kLowest, 10 * std::log10(power)) : kLowest;
}

/// Values from 0 Hz up to half the rate.
void PrintBlock(const std::string &name, double rate, const std::vector<double> &decibels)
{
    std::printf("\"%s\"\n", name.c_str());
    for (std::size_t i = 0; i < decibels.size(); ++i)
        std::printf("%.1f %.2f\n", static_cast<double>(i) * rate / 2 / static_cast<double>(decibels.size()),
                    decibels[i]);
    std::printf("\n\n");
}

void PrintResponses()
{
    constexpr std::size_t kPoints = 240;
    for (PCM_FILTER_TYPE type = 0; PCM_FILTER_TYPE_OK(type); ++type) {
        const pcm::FilterCoefficients coefficients(type);
        std::vector<PCM_SAMPLE> impulse(static_cast<std::size_t>(coefficients.Length()));
        impulse.front() = 1;
        pcm::Filter filter(coefficients, 1);
        filter.Write(pcm::Packet(impulse, 1));
        const pcm::Packet response = filter.Read();

        // The name ends in the cut-off and the rate: ..._4000_AT_16000.
        const std::string name = pcm::FilterTypeToString(type);
        const std::size_t at = name.rfind("_AT_"), under = name.rfind('_', at - 1);
        const std::string cutOff = name.substr(under + 1, at - under - 1), rate = name.substr(at + 4);

        std::vector<double> decibels;
        for (std::size_t i = 0; i < kPoints; ++i) {
            std::complex<double> sum = 0;
            const double step = std::numbers::pi * static_cast<double>(i) / kPoints;
            for (std::size_t k = 0; k < response.Samples().size(); ++k)
                sum += std::polar<double>(1, -step * static_cast<double>(k)) * double{response.Samples()[k]};
            decibels.push_back(Decibels(std::norm(sum)));
        }
        PrintBlock(cutOff + " Hz at " + rate, std::stod(rate), decibels);
    }
}

/// The discrete Fourier transform, in place, of a power of 2 of values.
void Transform(std::span<std::complex<double>> values)
{
    const std::size_t half = values.size() / 2;
    if (half == 0)
        return;
    std::vector<std::complex<double>> even, odd;
    for (std::size_t i = 0; i < half; ++i) {
        even.push_back(values[2 * i]);
        odd.push_back(values[2 * i + 1]);
    }
    Transform(even);
    Transform(odd);
    for (std::size_t i = 0; i < half; ++i) {
        const double angle = -std::numbers::pi * static_cast<double>(i) / static_cast<double>(half);
        const auto turned = std::polar(1.0, angle) * odd[i];
        values[i] = even[i] + turned;
        values[i + half] = even[i] - turned;
    }
}

/// Mean power over segments that overlap by half, each under a Hann window (Welch's method), of the file's first
/// channel. A sine at full scale is 0 dB.
void PrintSpectrum(const std::string &path)
{
    AudioReader reader(path);
    std::vector<double> signal;
    while (const auto pkt = reader.Read(4096))
        for (std::size_t i = 0; i < pkt.Samples().size(); i += static_cast<std::size_t>(pkt.Channels()))
            signal.push_back(pkt.Samples()[i]);

    std::size_t length = 2;
    while (static_cast<double>(length) * 50 < static_cast<double>(reader.Rate())) // a value for each 25 to 50 Hz
        length *= 2;
    signal.resize(std::max(signal.size(), length));
    std::vector<double> power(length / 2);
    std::size_t segments = 0;
    for (std::size_t start = 0; start + length <= signal.size(); start += length / 2, ++segments) {
        std::vector<std::complex<double>> values;
        for (std::size_t i = 0; i < length; ++i) {
            const double turn = 2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(length);
            values.push_back(signal[start + i] * (0.5 - 0.5 * std::cos(turn)));
        }
        Transform(values);
        for (std::size_t i = 0; i < power.size(); ++i)
            power[i] += std::norm(values[i] * 4.0 / static_cast<double>(length));
    }
    for (double &value : power)
        value = Decibels(value / static_cast<double>(segments));
    PrintBlock(path.substr(path.rfind('/') + 1) + ", " + reader.Description(), static_cast<double>(reader.Rate()),
               power);
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    try {
        const pcm::Module module;
        if (arguments.size() == 1 && arguments[0] == "responses")
            PrintResponses();
        else if (arguments.size() > 1 && arguments[0] == "spectra")
            std::for_each(arguments.begin() + 1, arguments.end(), PrintSpectrum);
        else
            throw Failure("takes 'responses', or 'spectra' and audio files");
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "picture_data: %s\n", failure.what());
        return 1;
    }
}
