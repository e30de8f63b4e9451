// The example programs as their users meet them: commands of the shell, in a directory of the test's own.
#include "support.h"

#include <sndfile.hh>

#include <complex>
#include <filesystem>

namespace {

constexpr int kWav = SF_FORMAT_WAV, kWavex = SF_FORMAT_WAVEX, kAu = SF_FORMAT_AU, kCaf = SF_FORMAT_CAF,
              kVorbis = SF_FORMAT_OGG | SF_FORMAT_VORBIS, kLittle = SF_ENDIAN_LITTLE, kBig = SF_ENDIAN_BIG,
              k8 = SF_FORMAT_PCM_S8, k8u = SF_FORMAT_PCM_U8, k16 = SF_FORMAT_PCM_16, k24 = SF_FORMAT_PCM_24,
              k32 = SF_FORMAT_PCM_32, kFloat = SF_FORMAT_FLOAT, kF = kWavex | kFloat, kMulaw = SF_FORMAT_ULAW;

/// Runs commands that have to end with this exit status. @return what they printed on standard output and error
std::string Shell(const std::string &commands, int status = 0)
{
    FILE *pipe = popen(("PATH='" PCM_PROGRAMS "':$PATH; { " + commands + "\n} 2>&1").c_str(), "r");
    std::string text;
    for (int c; (c = std::fgetc(pipe)) != EOF;)
        text += static_cast<char>(c);
    EXPECT_EQ(pclose(pipe), status << 8) << commands << ": " << text;
    return text;
}

void Write(const std::string &name, int format, int rate, int channels, const Samples &samples)
{
    SndfileHandle(name, SFM_WRITE, format, channels, rate).write(samples.data(), std::ssize(samples));
}

Samples Read(SndfileHandle file)
{
    Samples samples(static_cast<std::size_t>(file.frames() * file.channels()));
    file.read(samples.data(), std::ssize(samples));
    return samples;
}

/// The amplitude and phase of a cosine, of whole cycles.
std::complex<double> Cosine(std::span<const float> samples, double hertz, double rate)
{
    std::complex<double> sum;
    for (double t = 0; const float sample : samples)
        sum += 2.0 * sample * std::polar(1.0, -2 * M_PI * hertz * t++ / rate);
    return sum / static_cast<double>(samples.size());
}

struct Programs : testing::Test {
    Programs() { std::filesystem::current_path(mkdtemp((testing::TempDir() + "programs.XXXXXX").data())); }
    ~Programs() override
    {
        const auto directory = std::filesystem::current_path();
        std::filesystem::current_path("/");
        std::filesystem::remove_all(directory);
    }
};

TEST_F(Programs, RefuseInOneLineAndLeaveNothingBehind)
{
    const Samples noise = Random().Run(50000);
    for (const int format : {kWav | k16, SF_FORMAT_AIFF | k16, SF_FORMAT_RF64 | k16, kAu | k16, kCaf | k16,
                             SF_FORMAT_W64 | k16, SF_FORMAT_FLAC | k16, kVorbis}) {
        const std::string name = std::to_string(format) + ".cut";
        Write(name, format, 8000, 1, noise);
        std::filesystem::resize_file(name, 8000);
    }
    Write("in", kWav | k16, 8000, 1, noise);
    Write("x.wav", kWav | k16, 16000, 1, noise);
    Write("silence", kWav | k16, 8000, 1, {});
    Write("cut", kWavex | kFloat, 8000, 1, noise);
    std::filesystem::resize_file("cut", 50); // within its header
    Shell("echo This is not audio >text; mkdir d.wav; ln -s nowhere l.wav; touch n");
    Shell(PCM_TESTS "/programs_refuse.sh");
}

TEST_F(Programs, WorkInTheShell)
{
    Write("in.wav", kWavex | k16, 8000, 3, Random().Run(3 * 20000));
    Write("half.wav", kWav | kFloat, 44100, 1, {-0.5f});
    Write("odd.wav", kWav | kFloat, 8000, 2, {NAN, 0.5f, INFINITY, 0});
    Shell(PCM_TESTS "/programs_run.sh " PCM_TEST_VERSION);
}

TEST_F(Programs, TranscodeReadsEveryContainerAndChangesWhatItIsTold)
{
    // clang-format off
    const struct { int in, out; std::string options = "", report = ""; int steps = 2; Samples changed = {}; } rows[] = {
        {kWav | k16, kWav | k16 | kBig, "--encoding s16be"}, {kCaf | kFloat | kLittle, kAu | kFloat, "", "", 0},
        {kWav | k16, kAu | k24 | kLittle, "--encoding s24le"}, {kWav | SF_FORMAT_DOUBLE, kF, "", "", 0},
        {kWav | k16, kAu | SF_FORMAT_ALAW, "--encoding alaw", "", 2048}, {kAu | kMulaw, kWav | kMulaw, "", "", 2048},
        {kWav | k8u, kAu | k8, "", "", 512}, {kAu | k8, kWav | k8u, "", "", 512}, {kWav | k24 | kBig, kWavex | k24},
        {kVorbis, kWav | k16, "", "", 131072}, {SF_FORMAT_W64 | k24, kWavex | k24}, {kWavex | k32, kAu | k32},
        {SF_FORMAT_FLAC | k24, kWavex | k24}, {SF_FORMAT_RF64 | k16, kWav | k16}, {SF_FORMAT_VOC | k16, kWav | k16},
        {SF_FORMAT_AIFF | k16 | kLittle, kWav | k16}, {kF, kF, "--channels 3 --trim 0:1", " 3 ch", 0, {2, 2, 2}},
        {kCaf | SF_FORMAT_ALAC_16, kWav | k16}, {kF, kF, "--trim 1:2 --pad 1 --channels 1", " 1 ch", 0, {-2, 2, 0}},
        {kF, kF, "--channels 1 --expand", "wav f32le, 50 Hz, 2 channels, 0.060 s (3 frames), peak 12", 0, {2, -2, 2}},
        {kF, kF, "--trim 1:1 --level=40", "0.020 s (1 frames), peak 52.0 dB, RMS 49.0 dB\n", 0, {0, -400}},
        {kF, kWavex | k32, "--encoding s32le", "clipped: before encoding the peak was 12.0 dB", 0, {1, 0, 0, -1, 1, 1}},
        {kF, kF, "--channels 4 --expand --trim 0:2", " 4 channels, ", 0, {4, 0, 2, 2, 0, -4, -2, -2}}};
    // clang-format on
    const Samples noise = Random().Run(10000);
    for (const auto &[in, format, options, text, steps, changed] : rows) {
        const std::string out = (format & SF_FORMAT_TYPEMASK) == kAu ? "x.au" : "x.wav";
        changed.empty() ? Write("in", in, 48000, 2, noise) : Write("in", in, 50, 2, {4, 0, 0, -4, 2, 2});
        const std::string report = Shell("pcm-transcode " + options + " in " + out);
        EXPECT_NE(report.find(text), report.npos) << report;
        EXPECT_EQ(report.find("few programs read") != report.npos, (format & SF_FORMAT_ENDMASK) != 0) << report;
        EXPECT_EQ(SndfileHandle(out).format(), format) << report;
        const auto near = [error = steps / 32768.0f](float a, float b) { return std::abs(a - b) <= error; };
        EXPECT_TRUE(std::ranges::equal(Read(out), changed.empty() ? noise : changed, near)) << report;
    }
}

// Length, level (also beyond full scale), and alignment to half a frame of the higher rate. Tones that the lower rate
// cannot hold, and the images of those that it can, are as low as the responses of the filters are.
TEST_F(Programs, TranscodeChangesTheRate)
{
    const auto response = [](int from, int to, double hertz, double heard) {
        Samples samples;
        for (int i = 0; i < 9 * from / 4 + 77; ++i)
            samples.push_back(static_cast<float>(2 * std::cos(2 * M_PI * hertz * i / from)));
        Write("in", kWav | kFloat, from, 1, samples);
        const std::string report = Shell("pcm-transcode in x.wav --rate " + std::to_string(to));
        EXPECT_EQ(report.find("soxr") != report.npos, from != to && (from % 4000 || to % 4000)) << report;
        Samples out = Read("x.wav");
        EXPECT_EQ(std::ssize(out), (std::ssize(samples) * to + from - 1) / from) << report;
        out.resize(2 * to);
        return Cosine(std::span(out).last(to), heard, to) / 2.0;
    };
    for (const int from : {8000, 12000, 16000, 24000, 48000, 11025, 44100})
        for (const int to : {8000, 12000, 16000, 24000, 48000, 11025, 44100}) {
            const auto tone = response(from, to, 1000, 1000);
            EXPECT_NEAR(std::abs(tone), 1, 0.045) << from << " to " << to; // 0.4 dB
            EXPECT_LE(std::abs(std::arg(tone)) / (2 * M_PI * 1000), 0.51 / std::max(from, to)) << from << " to " << to;
        }
    // clang-format off
    for (const auto [from, to, tone, alias, limit] : std::vector<std::array<double, 5>>{ // Hz, Hz, dB
        {48000, 8000, 5000, 3000, -20.3},   {48000, 8000, 7000, 1000, -50.3}, {48000, 8000, 23000, 1000, -91},
        {48000, 24000, 15000, 9000, -28.1}, {24000, 8000, 7000, 1000, -50.3}, {8000, 48000, 1000, 7000, -50.3},
        {16000, 48000, 1000, 15000, -77},   {44100, 8000, 4100, 3900, -120},  {8000, 44100, 3500, 4500, -120}})
        EXPECT_LE(20 * std::log10(std::abs(response(from, to, tone, alias))), limit) << tone;
    // clang-format on
}

TEST_F(Programs, TonesHaveTheFrequenciesLevelCadenceAndDurationThatTheySay)
{
    // clang-format off
    const struct { std::string words; int level, block; std::string cadence; std::vector<int> hertz = {}; } rows[] = {
        {"ringback --duration 7", -10, 8000, "##....#", {440, 480}}, {"dial --rate 4000", -10, 12000, "#", {350, 440}},
        {"busy --level 0 --duration 1.25 --rate 44100", 0, 11025, "##..#", {480, 620}},
        {"dtmf 1a5 --cadence 50:30,200:10 --level -40", -40, 80, "#####...####################.#####...", {697, 1209}},
        {"dtmf d23 --duration 0.05", -10, 400, "#", {941, 1633}}, {"noise --level -20 --duration 2", -20, 16000, "#"},
        {"dtmf 8# --duration 0.5", -10, 800, "#.#..", {852, 1336}}, {"silence --duration 0.01", -10, 80, "."},
        {"noise --rate 1500 --cadence 1:1 --duration 0.008", -10, 1, "#..#..#..#.."}}; // 1 ms are 1.5 frames
    // clang-format on
    for (const auto &[arguments, level, block, expected, hertz] : rows) {
        const std::string report = Shell("pcm-tones " + arguments + " --encoding f32le out.wav");
        SndfileHandle file("out.wav");
        const Samples samples = Read(file);
        std::string cadence;
        for (std::size_t at = 0; at < samples.size(); at += block)
            cadence += std::count(&samples.at(at), &samples.at(at + block - 1) + 1, 0.0f) < block ? '#' : '.';
        ASSERT_EQ(cadence, expected) << arguments;
        const double full = std::pow(10, level / 20.0), peak = std::ranges::max(samples) / full;
        EXPECT_LT(peak, 1.00001) << arguments;
        EXPECT_TRUE(samples.size() < 100 || peak > 0.9) << arguments << ": " << peak;
        for (const int asked : hertz) {
            const std::string line = "asked for " + std::to_string(asked) + " Hz, produced ";
            const double produced = std::stod(report.substr(report.find(line) + line.size()));
            const auto sound = std::span(samples).first(block * (expected + '.').find('.'));
            EXPECT_NEAR(produced, asked, 0.005 * asked) << report;
            EXPECT_NEAR(std::abs(Cosine(sound, produced, file.samplerate())) / full, 0.5, 0.015) << report;
        }
    }
}

TEST_F(Programs, MixAddsTwoRecordingsEachAtItsLevelAndConcealFillsGaps)
{
    Samples sum = Random().Run(2 * 2500), other = Random().Run(2 * 1203); // stereo, more and less than a block
    Write("a.wav", kWav | kFloat, 1000, 2, sum);
    Write("b.wav", kWav | kFloat, 1000, 2, other);
    other.resize(sum.size());
    std::ranges::transform(sum, other, sum.begin(), [](float a, float b) { return a * 0.1f + b * 10.0f; });
    Shell("pcm-mix a.wav -20 b.wav 20 x.wav; pcm-mix b.wav 20 a.wav -20 y.wav; cmp x.wav y.wav");
    EXPECT_EQ(Read("x.wav"), sum);

    Samples before(160000); // a sine, of which 8000 frames are a second
    for (std::size_t i = 0; i < before.size(); ++i)
        before[i] = static_cast<float>(std::lrint(16384 * std::sin(0.0785 * static_cast<double>(i)))) * 0x1p-15f;
    Write("in.wav", kWav | kFloat, 8000, 1, before);
    const std::string report = Shell("pcm-conceal 10 in.wav x.wav");
    const Samples after = Read("x.wav");
    int lost = 0;
    double error = 0;
    for (std::size_t i = 0; i < after.size(); ++i) {
        lost += i % 160 == 100 && after[i] != before[i]; // not where it fades over from a gap
        error += std::pow(after[i] - before[i], 2);
    }
    EXPECT_EQ(report.find(std::to_string(lost) + " of 1000 packets lost; "), 0) << report;
    EXPECT_NEAR(lost, 100, 30);
    EXPECT_LT(error, 0.3 * lost * 160 * 0.125); // of the power of what was lost
}

} // namespace
