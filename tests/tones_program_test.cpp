// The program tones as its user meets it: its digits are dialled, its cadences timed, and what it refuses leaves
// nothing.
#include "program.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstring>
#include <span>
#include <sstream>

namespace {

/// The signal's energy at a frequency as a share of all of it; 1 for a sine of that frequency. Of many cycles.
double ShareAt(std::span<const PCM_SAMPLE> samples, double hertz, double rate)
{
    std::complex<double> sum = 0;
    double energy = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        sum += std::polar<double>(samples[i], -2 * M_PI * hertz * static_cast<double>(i) / rate);
        energy += samples[i] * samples[i];
    }
    return energy == 0 ? 0 : 2 * std::norm(sum) / (energy * static_cast<double>(samples.size()));
}

double Peak(std::span<const PCM_SAMPLE> samples)
{
    double peak = 0;
    for (const PCM_SAMPLE sample : samples)
        peak = std::max<double>(peak, std::abs(sample));
    return peak;
}

std::vector<std::string> Lines(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

class Tones : public ProgramTest {
protected:
    Outcome Play(const std::string &arguments) const { return Run(PCM_TONES " " + arguments); }

    /// The samples of a file of native floats without a header.
    Samples Floats(const std::string &name) const
    {
        const std::string bytes = Content(Path(name));
        Samples samples(bytes.size() / sizeof(PCM_SAMPLE));
        std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(PCM_SAMPLE));
        return samples;
    }
};

constexpr const char *kFloat = std::endian::native == std::endian::big ? " --encoding f32be " : " --encoding f32le ";
constexpr char kDigits[] = "0123456789ABCD*#";

} // namespace

TEST_F(Tones, DigitsAreWhatATelephoneAccepts)
{
    const double rows[] = {697, 770, 852, 941}, columns[] = {1209, 1336, 1477, 1633};
    const std::string keys = "123A456B789C*0#D";
    for (const int rate : {4000, 8000, 11025, 16000, 44100, 48000, 192000}) {
        SCOPED_TRACE(rate);
        const auto outcome =
            Play(std::string("dtmf '") + kDigits + "' out.raw --rate " + std::to_string(rate) + kFloat);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        const Samples samples = Floats("out.raw");
        ASSERT_EQ(samples.size(), 32u * static_cast<std::size_t>(rate) / 10);

        std::string heard;
        for (std::size_t i = 0; i < 16; ++i) {
            const auto at = [&](std::size_t part) { return part * static_cast<std::size_t>(rate) / 10; };
            const auto digit = std::span(samples).subspan(at(2 * i), static_cast<std::size_t>(rate) / 25); // 40 ms
            std::size_t key = 0;
            const auto loudest = [&](const double(&hertz)[4]) {
                const auto share = [&](double frequency) { return ShareAt(digit, frequency, rate); };
                const auto found = std::ranges::max_element(hertz, {}, share);
                // Two steady tones within the 1.5 % that a receiver has to accept, of which 40 ms lose little.
                EXPECT_NEAR(share(*found), 0.5, 0.15);
                return static_cast<std::size_t>(found - hertz);
            };
            key = 4 * loudest(rows) + loudest(columns);
            heard += keys[key];
            const auto pause = std::span(samples).subspan(at(2 * i + 1), static_cast<std::size_t>(rate) / 10);
            EXPECT_EQ(Peak(pause), 0.0);
        }
        EXPECT_EQ(heard, kDigits);
    }
}

TEST_F(Tones, AnIndependentDecoderReadsTheDigits)
{
    if (Run("command -v multimon-ng").status != 0)
        GTEST_SKIP() << "multimon-ng is not installed";
    for (const std::string options : {"", " --cadence 50:50", " --level -30", " --level 0 --cadence 70:45"}) {
        SCOPED_TRACE(options);
        ASSERT_EQ(Play(std::string("dtmf '") + kDigits + "' out.raw --rate 22050" + options).status, 0);
        const auto outcome = Run("multimon-ng -q -t raw -a DTMF out.raw");
        std::string heard;
        char digit;
        for (const std::string &line : Lines(outcome.out))
            if (std::sscanf(line.c_str(), "DTMF: %c", &digit) == 1)
                heard += digit;
        EXPECT_EQ(heard, kDigits) << outcome.out << outcome.err;
    }
}

TEST_F(Tones, SayWhichFrequenciesTheyProduce)
{
    for (const std::string signal : {"dial", "ringback", "busy", "dtmf 1", "dtmf D"}) {
        for (const int rate : {8000, 44100, 96000}) {
            SCOPED_TRACE(signal + " at " + std::to_string(rate));
            const auto outcome =
                Play(signal + " out.raw --cadence 2000:0 --duration 2 --rate " + std::to_string(rate) + kFloat);
            ASSERT_EQ(outcome.status, 0) << outcome.err;
            const Samples samples = Floats("out.raw");
            ASSERT_EQ(samples.size(), 2u * static_cast<std::size_t>(rate));

            int tones = 0;
            double asked, produced;
            for (const std::string &line : Lines(outcome.out)) {
                const std::size_t colon = std::min(line.find(": asked"), line.size());
                if (std::sscanf(line.c_str() + colon, ": asked for %lf Hz, produced %lf Hz", &asked, &produced) != 2)
                    continue;
                EXPECT_NEAR(produced, asked, 0.005 * asked);
                EXPECT_NEAR(ShareAt(samples, produced, rate), 0.5, 0.01); // 2 s lose half at a quarter of a hertz
                ++tones;
            }
            EXPECT_EQ(tones, 2);
        }
    }
}

TEST_F(Tones, KeepLevelCadenceAndDuration)
{
    const struct {
        std::string arguments;
        double peak; // dB
        std::size_t frames;
        std::vector<std::pair<std::size_t, std::size_t>> sounds; // from frame to frame
    } rows[] = {
        {"dial", -10, 24000, {{0, 24000}}},
        {"ringback", -10, 48000, {{0, 16000}}},
        {"ringback --duration 7", -10, 56000, {{0, 16000}, {48000, 56000}}},
        {"busy --level 0 --duration 1.25", 0, 10000, {{0, 4000}, {8000, 10000}}},
        {"busy --cadence 125:250,375:125 --duration 1", -10, 8000, {{0, 1000}, {3000, 6000}, {7000, 8000}}},
        {"busy --rate 11025 --cadence 333:1 --duration 1 --level -3",
         -3,
         11025,
         {{0, 3671}, {3682, 7353}, {7364, 11025}}},
        {"dtmf 1#", -10, 3200, {{0, 800}, {1600, 2400}}},
        {"dtmf 1a5 --cadence 50:30,200:10 --level -40", -40, 2960, {{0, 400}, {640, 2240}, {2320, 2720}}},
        {"dtmf 1 --duration 0.5", -10, 4000, {{0, 800}}},
        {"dtmf 123 --duration 0.05", -10, 400, {{0, 400}}},
        {"noise --level -20 --duration 2", -20, 16000, {{0, 16000}}},
        {"noise --cadence 1:999", -10, 24000, {{0, 8}, {8000, 8008}, {16000, 16008}}},
        {"silence --duration 0.001", -200, 8, {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.arguments);
        const auto outcome = Play(row.arguments + " out.raw" + kFloat);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        const Samples samples = Floats("out.raw");
        ASSERT_EQ(samples.size(), row.frames);
        std::size_t at = 0;
        for (const auto &[begin, end] : row.sounds) {
            EXPECT_EQ(Peak(std::span(samples).subspan(at, begin - at)), 0.0);
            const auto sound = std::span(samples).subspan(begin, end - begin);
            EXPECT_LE(Peak(sound), std::pow(10, row.peak / 20) * 1.000001);
            EXPECT_GE(Peak(sound), std::pow(10, row.peak / 20) * (end - begin < 100 ? 0.1 : 0.9));
            EXPECT_NE(sound.back(), 0.0f);
            EXPECT_NE(Peak(sound.first(2)), 0.0); // a tone begins with the sine of 0
            at = end;
        }
        EXPECT_EQ(Peak(std::span(samples).subspan(at)), 0.0);
    }
}

TEST_F(Tones, RefuseInOneLineAndLeaveNothingBehind)
{
    const struct {
        std::string arguments, line;
    } rows[] = {
        {"", "needs a signal and an output"},
        {"dial", "needs a signal and an output"},
        {"dial a.wav b.wav", "needs a signal and an output"},
        {"dtmf out.wav", "dtmf needs its digits and an output"},
        {"engaged out.wav", "unknown signal 'engaged'"},
        {"dtmf 12x out.wav", "'x' is not a digit of dtmf"},
        {"dtmf '' out.wav", "dtmf needs its digits"},
        {"dial out.mp3", "its name has to end in .wav, .au or .raw"},
        {"dial out.wav --wow", "unknown option '--wow'"},
        {"dial out.wav --level", "--level lacks its value"},
        {"dial out.wav --level 3", "--level takes a number from -200 to 0, not '3'"},
        {"dial out.wav --level nan", "--level takes a number"},
        {"dial out.wav --cadence 100", "--cadence takes ON:OFF[,ON:OFF]..., not '100'"},
        {"dial out.wav --cadence 0:100", "--cadence takes whole numbers from 1 to"},
        {"dial out.wav --cadence 100:100,", "--cadence takes ON:OFF"},
        {"dial out.wav --cadence 1e3:2", "--cadence takes whole numbers"},
        {"dial out.wav --duration 0", "--duration takes a number from 0.001 to 86400"},
        {"dial out.wav --duration 1e9", "--duration takes a number"},
        {"dial out.wav --rate 999", "--rate takes whole numbers from 1000 to 768000"},
        {"dial out.wav --rate 8000.5", "--rate takes whole numbers"},
        {"busy out.wav --rate 1240", "a rate of 1240 Hz has no room for a tone of 620 Hz"},
        {"dial out.wav --encoding s17le", "unknown encoding 's17le'"},
        {"dial out.wav --encoding s8", "cannot hold s8"},
        {"dial nowhere/out.wav", "No such file or directory"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.arguments);
        const auto outcome = Play(row.arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err.find("tones: "), 0u) << outcome.err;
        EXPECT_NE(outcome.err.find(row.line), std::string::npos) << outcome.err;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
        EXPECT_TRUE(Files().empty());
    }
}
