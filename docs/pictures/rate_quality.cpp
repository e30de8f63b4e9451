// Measures how well a program changes the frame rate, for the table in docs/rate.md.
//     rate_quality FROM TO COMMAND...  COMMAND gets the names of an input and an output file as its last arguments
//
// Prints, as a row of a table:
// - the ripple: how much the gains of tones up to 0.4 of the lower rate differ
// - the rejection: of what a mixture of tones leaves at frequencies where there should be nothing. On the way down they
//   lie from 0.6 of the lower rate on, where all of them should vanish; on the way up it is what is left beside the
//   tones
// - the ratio of a tone of 997 Hz to all else in the output
// - the speed as a multiple of real time, of 60 s of noise in two channels, in processor time
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <sndfile.hh>
#include <sys/resource.h>

namespace {

using Signal = std::vector<double>;

/// The mean square.
double Power(const Signal &signal)
{
    double sum = 0;
    for (const double value : signal)
        sum += value * value;
    return sum / static_cast<double>(signal.size());
}

double Decibels(double powerRatio)
{
    return 10 * std::log10(powerRatio);
}

std::complex<double> Phasor(double hertz, double rate, std::size_t i)
{
    return std::polar(1.0, 2 * M_PI * hertz * static_cast<double>(i) / rate);
}

/// Removes a tone of a whole number of Hz from a signal of whole seconds. @return its amplitude
double Remove(Signal &signal, double hertz, double rate)
{
    std::complex<double> sum;
    for (std::size_t i = 0; i < signal.size(); ++i)
        sum += signal[i] * std::conj(Phasor(hertz, rate, i));
    sum *= 2 / static_cast<double>(signal.size());
    for (std::size_t i = 0; i < signal.size(); ++i)
        signal[i] -= std::real(sum * Phasor(hertz, rate, i));
    return std::abs(sum);
}

/// 16 tones from one frequency to another, together at most at half of full scale.
std::vector<double> Tones(double low, double high)
{
    std::vector<double> tones;
    for (int i = 0; i < 16; ++i)
        tones.push_back(std::round(low + (high - low) * i / 15));
    return tones;
}

class Program {
public:
    Program(int from, int to, std::string command) : from_(from), to_(to), command_(std::move(command)) {}

    /// What the program makes of a signal.
    Signal Convert(const Signal &signal, int channels = 1) const
    {
        SndfileHandle("rate_quality.in.wav", SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_FLOAT, channels, from_)
            .write(signal.data(), std::ssize(signal));
        if (std::system((command_ + " rate_quality.in.wav rate_quality.out.wav >/dev/null").c_str()) != 0)
            std::exit(1);
        SndfileHandle file("rate_quality.out.wav");
        Signal out(static_cast<std::size_t>(file.frames() * file.channels()));
        file.read(out.data(), std::ssize(out));
        std::remove("rate_quality.in.wav");
        std::remove("rate_quality.out.wav");
        return out;
    }

    /// The same of tones: two seconds from the middle of four.
    Signal ConvertTones(const std::vector<double> &tones) const
    {
        Signal signal(static_cast<std::size_t>(4 * from_));
        for (std::size_t i = 0; i < signal.size(); ++i)
            for (const double hertz : tones)
                signal[i] += 0.5 / static_cast<double>(tones.size()) * std::imag(Phasor(hertz, from_, i));
        const Signal out = Convert(signal);
        return {out.begin() + to_, out.begin() + 3 * to_};
    }

private:
    int from_, to_;
    std::string command_;
};

} // namespace

int main(int argc, char **argv)
{
    if (argc < 4)
        return std::fputs("usage: rate_quality FROM TO COMMAND...\n", stderr), 1;
    const int from = std::atoi(argv[1]), to = std::atoi(argv[2]), lower = std::min(from, to);
    std::string command;
    for (int i = 3; i < argc; ++i)
        command += std::string(argv[i]) + ' ';
    const Program program(from, to, command);

    const auto tones = Tones(100, 0.4 * lower);
    Signal rest = program.ConvertTones(tones);
    const double whole = Power(rest);
    double least = INFINITY, most = 0;
    for (const double hertz : tones) {
        const double amplitude = Remove(rest, hertz, to);
        least = std::min(least, amplitude);
        most = std::max(most, amplitude);
    }
    double rejection = Decibels(whole / Power(rest));
    if (from > to) {
        const auto above = Tones((0.6 * lower < 0.48 * from ? 0.6 : 0.51) * lower, 0.49 * from);
        rejection = Decibels(0.125 / 16 / Power(program.ConvertTones(above)));
    }

    rest = program.ConvertTones({997});
    const double tone = Power(rest);
    Remove(rest, 997, to);

    Signal noise(static_cast<std::size_t>(2 * 60 * from));
    std::mt19937 engine;
    for (double &value : noise)
        value = engine() * 0x1p-33 - 0.25;
    rusage before, after;
    getrusage(RUSAGE_CHILDREN, &before);
    program.Convert(noise, 2);
    getrusage(RUSAGE_CHILDREN, &after);
    const auto seconds = [](const rusage &usage) {
        const auto of = [](const timeval &time) {
            return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
        };
        return of(usage.ru_utime) + of(usage.ru_stime);
    };
    std::printf("%.2f dB | %.0f dB | %.0f dB | %.0f\n", 20 * std::log10(most / least), rejection,
                Decibels(tone / Power(rest)), 60 / (seconds(after) - seconds(before)));
}
