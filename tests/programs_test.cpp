// The example programs as their users meet them: commands of the shell, in a directory of the test's own.
#include "support.h"

#include <sndfile.hh>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <filesystem>

#include <sys/wait.h>

namespace {

constexpr int kWav = SF_FORMAT_WAV, kWavex = SF_FORMAT_WAVEX, kAu = SF_FORMAT_AU, kCaf = SF_FORMAT_CAF,
              kLittle = SF_ENDIAN_LITTLE, kBig = SF_ENDIAN_BIG, k16 = SF_FORMAT_PCM_16, k24 = SF_FORMAT_PCM_24,
              k32 = SF_FORMAT_PCM_32, kFloat = SF_FORMAT_FLOAT;

/// A command's exit status, and what it printed on standard output and standard error.
using Outcome = std::pair<int, std::string>;

class Programs : public testing::Test {
protected:
    Programs() { std::filesystem::current_path(mkdtemp(directory_.data())); }
    ~Programs() override
    {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(directory_);
    }

    static Outcome Run(const std::string &command)
    {
        FILE *pipe = popen(("PATH='" PCM_PROGRAMS "':$PATH; { " + command + "\n} 2>&1").c_str(), "r");
        std::string text;
        for (int c; (c = std::fgetc(pipe)) != EOF;)
            text += static_cast<char>(c);
        const int status = pclose(pipe);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
    }

    /// Runs a command that has to succeed. @return what it printed
    static std::string Do(const std::string &command)
    {
        const auto [status, text] = Run(command);
        EXPECT_EQ(status, 0) << command << ": " << text;
        return text;
    }

    static void Write(const std::string &name, int format, int rate, int channels, const Samples &samples)
    {
        SndfileHandle(name, SFM_WRITE, format, channels, rate).write(samples.data(), std::ssize(samples));
    }

    static Samples Read(SndfileHandle file)
    {
        Samples samples(static_cast<std::size_t>(file.frames() * file.channels()));
        file.read(samples.data(), std::ssize(samples));
        return samples;
    }

private:
    std::string directory_ = testing::TempDir() + "programs.XXXXXX";
    const std::filesystem::path before_ = std::filesystem::current_path();
};

/// The amplitude and phase of a cosine, of whole cycles.
std::complex<double> Cosine(std::span<const float> samples, double hertz, double rate)
{
    std::complex<double> sum;
    for (std::size_t i = 0; i < samples.size(); ++i)
        sum += std::polar<double>(samples[i], -2 * M_PI * hertz * static_cast<double>(i) / rate);
    return 2.0 * sum / static_cast<double>(samples.size());
}

TEST_F(Programs, RefuseInOneLineAndLeaveNothingBehind)
{
    const Samples noise = Random().Run(50000);
    // clang-format off
    const struct { const char *name; int format; uintmax_t bytes; } cut[] = {
        {"a.wav", kWav | k16, 44}, {"a.aiff", SF_FORMAT_AIFF | k16, 50000}, {"a.rf64", SF_FORMAT_RF64 | k16, 50000},
        {"a.au", kAu | k16, 50000}, {"a.caf", kCaf | k16, 50000}, {"a.w64", SF_FORMAT_W64 | k16, 50000},
        {"a.flac", SF_FORMAT_FLAC | k16, 30000}, {"a.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 8000}};
    std::vector<std::pair<std::string, std::string>> rows = {
        {"transcode", "needs an input and an output, not 0 files; see transcode --help"},
        {"transcode --louder in.wav out.wav", "unknown option '--louder'; see transcode --help"},
        {"transcode in.wav out.wav --level", "--level lacks its value; see transcode --help"},
        {"transcode --expand=1 in.wav out.wav", "--expand takes no value; see transcode --help"},
        {"transcode -- --level in.mp3", "cannot tell what to write to 'in.mp3'"},
        {"transcode --level=3dB in.wav out.wav", "--level takes a number from -200 to 200, not '3dB'"},
        {"transcode --level nan in.wav out.wav", "--level takes a number from -200 to 200, not 'nan'"},
        {"transcode --trim 5 in.wav out.wav", "--trim takes START:FRAMES, not '5'"},
        {"transcode --trim -1:5 in.wav out.wav", "--trim takes whole numbers from 0 to "},
        {"transcode --trim 49999:2 in.wav out.wav", "cannot trim: the input lacks the last 1 of the frames"},
        {"transcode --expand in.wav out.wav", "--expand needs --channels; see transcode --help"},
        {"transcode --encoding s17 in.wav out.wav", "unknown encoding 's17'; there are s8 u8 "},
        {"transcode --encoding u16le in.wav out.wav", "cannot write 'out.wav': this kind of file cannot hold u16le"},
        {"transcode --type mp3 in.wav out.wav", "unknown type 'mp3'; there are wav, au and raw"},
        {"transcode in.wav directory.wav", "cannot write 'directory.wav': Is a directory"},
        {"transcode in.wav link.wav", "cannot write 'link.wav': this symbolic link leads nowhere"},
        {"transcode in.wav nowhere/out.wav", "cannot write 'nowhere/out.wav': No such file or directory"},
        {"transcode in.wav --type wav /dev/full", "cannot write '/dev/full': No space left on device"},
        {"transcode nothing.wav out.wav", "cannot read 'nothing.wav': No such file or directory"},
        {"transcode directory.wav out.wav", "cannot read 'directory.wav': Is a directory"},
        {"transcode silence.wav out.wav", "cannot read 'silence.wav': the file holds no audio"},
        {"tones dtmf out.wav", "dtmf needs its digits and an output; see tones --help"},
        {"tones dial out.wav --cadence 100:100,", "--cadence takes ON:OFF[,ON:OFF]..., not '100:100,'"},
        {"tones busy out.wav --rate 1240", "a rate of 1240 Hz has no room for a tone of 620 Hz"},
        {"mix in.wav 0 other.wav 0 out.wav", "the recordings differ in their frame rates or channels"},
        {"mix in.wav loud in.wav 0 out.wav", "a level is a number from -200 to 200, not 'loud'"},
        {"transcode - x.wav </dev/null", "cannot read '-': the file is empty"},
        {"transcode text.wav x.wav", "cannot read 'text.wav': "},
        {"tones engaged x.wav", "unknown signal 'engaged'"}, {"tones dtmf 12x x.wav", "'x' is not a digit of dtmf"},
        {"conceal 5% in.wav x.wav", "takes a number from 0 to 100, not '5%'"}};
    // clang-format on
    for (const auto &[name, format, bytes] : cut) {
        Write(name, format, 8000, 1, noise);
        std::filesystem::resize_file(name, bytes);
        rows.emplace_back("transcode " + std::string(name) + " out.wav", "cannot read '" + std::string(name) + "': ");
    }
    Write("in.wav", kWav | k16, 8000, 1, noise);
    Write("other.wav", kWav | k16, 16000, 1, noise);
    Write("silence.wav", kWav | k16, 8000, 1, {});
    Do("echo This is not audio >text.wav; echo before >out.wav; mkdir directory.wav; ln -s nowhere.wav link.wav");
    const auto before = Run("cksum *").second;
    for (const auto &[command, message] : rows) {
        const auto [status, text] = Run(command);
        EXPECT_EQ(status, 1) << command;
        EXPECT_TRUE(text.starts_with(command.substr(0, command.find(' ')) + ": " + message)) << text;
        EXPECT_EQ(text.find('\n') + 1, text.size()) << text;
        EXPECT_EQ(Run("cksum *").second, before) << command;
    }
    for (const std::string program : {"transcode", "tones", "mix", "conceal", "hello"}) {
        EXPECT_NE(Do(program + " --help 2>/dev/null").find("sage: " + program), std::string::npos);
        EXPECT_EQ(Run(program + " 2>/dev/null"), Outcome(1, ""));
    }
    EXPECT_EQ(Do("tones -h"), Do("tones --help"));
    EXPECT_EQ(Do("tones --version"), "tones (pcm) " PCM_TEST_VERSION "\n");
}

TEST_F(Programs, EveryEncodingIsWhatItsNameSays)
{
    Write("in.wav", kWav | kFloat, 44100, 1, {0.5f, -0.5f});
    for (const std::string row :
         {"s8 40c0", "u8 c040", "s16le 004000c0", "s16be 4000c000", "u16le 00c00040", "u16be c0004000",
          "s24le 0000400000c0", "s24be 400000c00000", "u24le 0000c0000040", "u24be c00000400000",
          "s32le 00000040000000c0", "s32be 40000000c0000000", "u32le 000000c000000040", "u32be c000000040000000",
          "f32le 0000003f000000bf", "f32be 3f000000bf000000", "alaw a525", "mulaw 8f0f"}) {
        const auto name = row.substr(0, row.find(' '));
        EXPECT_EQ(name + ' ' +
                      Do("transcode in.wav --type raw - --encoding " + name +
                         " 2>/dev/null | od -An -v -tx1 -w8 | tr -d ' \\n'"),
                  row);
    }
}

TEST_F(Programs, EveryContainerIsReadAndItsSampleTypeKept)
{
    // clang-format off
    const struct { int in; const char *options, *out; int expected, error; /* in steps of 16 bits */ } rows[] = {
        {kWav | k16, "--encoding alaw", "out.au", kAu | SF_FORMAT_ALAW, 2048},
        {kAu | SF_FORMAT_ULAW, "", "out.wav", kWav | SF_FORMAT_ULAW, 2048},
        {kWav | k16, "--encoding s16be", "out.wav", kWav | k16 | kBig, 2},
        {kWav | k16, "--encoding s24le", "out.AU", kAu | k24 | kLittle, 2},
        {kWav | SF_FORMAT_PCM_U8, "", "out.au", kAu | SF_FORMAT_PCM_S8, 512},
        {kAu | SF_FORMAT_PCM_S8, "", "out.wav", kWav | SF_FORMAT_PCM_U8, 512},
        {kWav | k24 | kBig, "", "out.WAV", kWavex | k24, 2}, {kWavex | k32, "", "out.au", kAu | k32, 2},
        {kWav | SF_FORMAT_DOUBLE, "", "out.wav", kWavex | kFloat, 0},
        {SF_FORMAT_AIFF | k16 | kLittle, "", "out.wav", kWav | k16, 2},
        {SF_FORMAT_RF64 | k16, "", "out.wav", kWav | k16, 2}, {SF_FORMAT_W64 | k24, "", "out.wav", kWavex | k24, 2},
        {kCaf | kFloat | kLittle, "", "out.au", kAu | kFloat, 0}, {SF_FORMAT_VOC | k16, "", "out.wav", kWav | k16, 2},
        {kCaf | SF_FORMAT_ALAC_16, "", "x.wav", kWav | k16, 2}, {SF_FORMAT_FLAC | k24, "", "out.wav", kWavex | k24, 2},
        {SF_FORMAT_OGG | SF_FORMAT_VORBIS, "", "out.wav", kWav | k16, 131072}};
    // clang-format on
    const Samples samples = Random().Run(10000);
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << std::hex << row.in << ' ' << row.options);
        Write("in", row.in, 48000, 2, samples);
        const auto report = Do("transcode " + std::string(row.options) + " in " + row.out);
        EXPECT_EQ(report.find("few programs read") != report.npos, (row.expected & SF_FORMAT_ENDMASK) != 0) << report;
        SndfileHandle out(row.out);
        EXPECT_EQ(out.format(), row.expected);
        const Samples read = Read(out);
        ASSERT_EQ(read.size(), samples.size());
        for (std::size_t i = 0; i < samples.size(); ++i)
            ASSERT_NEAR(read[i], samples[i], row.error / 32768.0) << i;
    }
}

TEST_F(Programs, TranscodeChangesFramesChannelsAndLevel)
{
    // clang-format off
    const struct { const char *options, *report; Samples expected; } rows[] = {
        {"", "wav f32le, 50 Hz, 2 channels, 0.060 s (3 frames), peak 12.0 dB, RMS 8.2 dB", {4, 0, 0, -4, 2, 2}},
        {"--trim 1:1", "out.wav: wav f32le, 50 Hz, 2 channels, 0.020 s (1 frames)", {0, -4}},
        {"--trim 1:2 --pad 1", "(3 frames)", {0, -4, 2, 2, 0, 0}},
        {"--level=40", "peak 52.0 dB", {400, 0, 0, -400, 200, 200}},
        {"--encoding s32le", "clipped: before encoding the peak was 12.0 dB\n", {1, 0, 0, -1, 1, 1}},
        {"--channels 1", " 1 channel, ", {2, -2, 2}}, {"--channels 2", " 2 channels, ", {4, 0, 0, -4, 2, 2}},
        {"--channels 3 --trim 0:1", " 3 channels, ", {2, 2, 2}}, {"--channels 1 --expand", " 1 channel, ", {2, -2, 2}},
        {"--channels 4 --expand --trim 0:2", " 4 channels, ", {4, 0, 2, 2, 0, -4, -2, -2}}};
    // clang-format on
    Write("in.wav", kWav | kFloat, 50, 2, {4, 0, 0, -4, 2, 2}); // 20 ms are one frame
    for (const auto &row : rows) {
        const auto report = Do("transcode " + std::string(row.options) + " in.wav out.wav");
        EXPECT_NE(report.find(row.report), report.npos) << report;
        EXPECT_EQ(Read("out.wav"), row.expected) << row.options;
    }
    Write("odd.wav", kWav | kFloat, 8000, 2, {NAN, 0.5f, INFINITY, 0});
    Do("transcode --level 1 --encoding s16le odd.wav out.wav");
}

// Length, level (also beyond full scale), and alignment to half a frame of the higher rate. Tones that the lower rate
// cannot hold, and the images of those that it can, are as low as the responses of the filters are.
TEST_F(Programs, TranscodeChangesTheRate)
{
    const auto converted = [](double hertz, int from, int to) {
        Samples samples;
        for (int i = 0; i < 2 * from + 77; ++i)
            samples.push_back(static_cast<float>(2 * std::cos(2 * M_PI * hertz * i / from)));
        Write("in.wav", kWav | kFloat, from, 1, samples);
        const auto report = Do("transcode in.wav out.wav --rate " + std::to_string(to));
        const bool filters = from % 4000 == 0 && to % 4000 == 0;
        EXPECT_EQ(report.find("by libsoxr") == report.npos, filters || from == to) << report;
        const Samples out = Read("out.wav");
        EXPECT_EQ(std::ssize(out), (std::ssize(samples) * to + from - 1) / from);
        return Samples(out.begin() + to / 4, out.begin() + to / 4 + to);
    };
    for (const int from : {8000, 12000, 16000, 24000, 48000, 11025, 44100})
        for (const int to : {8000, 12000, 16000, 24000, 48000, 11025, 44100}) {
            const double start = 1000.0 * (to / 4) / to; // cycles
            const auto tone = Cosine(converted(1000, from, to), 1000, to) * std::polar(0.5, -2 * M_PI * start);
            EXPECT_NEAR(std::abs(tone), 1, 0.045) << from << " to " << to; // 0.4 dB
            EXPECT_LE(std::abs(std::arg(tone)) / (2 * M_PI * 1000), 0.51 / std::max(from, to)) << from << " to " << to;
        }
    // clang-format off
    const struct { int from, to; double tone, alias, limit; /* Hz, Hz, dB */ } rows[] = {
        {48000, 8000, 5000, 3000, -20.3},   {48000, 8000, 7000, 1000, -50.3}, {48000, 8000, 23000, 1000, -91},
        {48000, 24000, 15000, 9000, -28.1}, {24000, 8000, 7000, 1000, -50.3}, {8000, 48000, 1000, 7000, -50.3},
        {16000, 48000, 1000, 15000, -77},   {44100, 8000, 4100, 3900, -120},  {8000, 44100, 3500, 4500, -120}};
    // clang-format on
    for (const auto &[from, to, tone, alias, limit] : rows)
        EXPECT_LE(20 * std::log10(std::abs(Cosine(converted(tone, from, to), alias, to)) / 2), limit) << tone;
}

TEST_F(Programs, WriteWhereTheyAreTold)
{
    int speakers[] = {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_LFE}, kept[3];
    SndfileHandle in("in.wav", SFM_WRITE, kWavex | k16, 3, 8000);
    in.command(SFC_SET_CHANNEL_MAP_INFO, speakers, sizeof speakers);
    in.write(Random().Run(3 * 20000).data(), 3 * 20000);
    in = {};
    Do("transcode in.wav out.wav");
    SndfileHandle out("out.wav");
    EXPECT_EQ(out.format(), kWavex | k16);
    EXPECT_TRUE(out.command(SFC_GET_CHANNEL_MAP_INFO, kept, sizeof kept) && std::ranges::equal(kept, speakers));
    EXPECT_EQ(Read(out), Read("in.wav"));
    for (const char *command :
         {"cp in.wav x.wav; transcode x.wav x.wav; cmp x.wav out.wav",
          "ln -s x.wav link.wav; transcode in.wav link.wav; cmp x.wav out.wav && test -L link.wav",
          "mkfifo pipe; cat pipe >x.wav & transcode in.wav pipe --type WAV; wait; cmp x.wav out.wav",
          "transcode in.wav - 2>/dev/null | transcode - x.wav; cmp x.wav out.wav",
          "transcode --type au - - <in.wav 2>/dev/null | transcode --type raw - x; transcode in.wav y.raw; cmp x y.raw",
          "mix - 0 in.wav -200 - <in.wav | cmp - out.wav", "conceal 0 - - <in.wav 2>/dev/null | cmp - out.wav"})
        Do(command);
}

TEST_F(Programs, EndedBySignalsLeaveNothingBehind)
{
    const std::string endless = " tones noise --duration 86400 --rate 768000 out.wav";
    for (const std::string ending : {"HUP", "INT", "QUIT", "PIPE"})
        EXPECT_EQ(Run("ulimit -c 0; timeout -s " + ending + " 0.2" + endless).first, 124);
    EXPECT_NE(Run("ulimit -c 0; ulimit -f 1000;" + endless).first, 0); // SIGXFSZ
    EXPECT_EQ(Do("ls"), "");
    Do("trap '' HUP; tones noise --duration 10000 out.wav & sleep 0.1; kill -HUP $!; wait $!"); // as under nohup
    EXPECT_EQ(Do("ls"), "out.wav\n");
}

TEST_F(Programs, TonesSayWhichFrequenciesTheyProduce)
{
    const std::tuple<std::string, int, int> signals[] = {
        {"dial", 350, 440}, {"ringback", 440, 480}, {"busy", 480, 620}, {"dtmf 8", 852, 1336}, {"dtmf d", 941, 1633}};
    for (const auto &[signal, low, high] : signals)
        for (const std::string rate : {"4000", "8000", "44100"}) {
            const auto text =
                Do("tones --cadence 2000:0 --duration 2 --level 0 --rate " + rate + ' ' + signal + " out.wav");
            for (const int hertz : {low, high}) {
                const std::string asked = "asked for " + std::to_string(hertz) + " Hz, produced ";
                ASSERT_NE(text.find(asked), text.npos) << text;
                const double produced = std::stod(text.substr(text.find(asked) + asked.size()));
                EXPECT_NEAR(produced, hertz, 0.005 * hertz);
                EXPECT_NEAR(std::abs(Cosine(Read("out.wav"), produced, std::stod(rate))), 0.5, 0.01) << text;
            }
        }
}

TEST_F(Programs, TonesAreReadByAnIndependentDecoder)
{
    if (Run("command -v multimon-ng").first != 0)
        GTEST_SKIP() << "multimon-ng is not installed";
    for (const std::string options : {"", " --cadence 50:50", " --level -30", " --level 0 --cadence 70:45"}) {
        Do("tones dtmf '0123456789ABCD*#' out.raw --rate 22050" + options);
        EXPECT_EQ(Do("multimon-ng -q -t raw -a DTMF out.raw | sed -n 's/^DTMF: //p' | tr -d '\\n'"),
                  "0123456789ABCD*#");
    }
}

TEST_F(Programs, TonesKeepLevelCadenceAndDuration)
{
    // clang-format off
    const struct { const char *arguments; double peak; /* dB */ long block; const char *cadence; } rows[] = {
        {"ringback --duration 7", -10, 8000, "##....#"}, {"busy --level 0 --duration 1.25", 0, 2000, "##..#"},
        {"busy --cadence 125:250,375:125 --duration 1", -10, 1000, "#..###.#"},
        {"noise --rate 1500 --cadence 1:1 --duration 0.008", -10, 1, "#..#..#..#.."}, // 1 ms are 1.5 frames
        {"dtmf 1a5 --cadence 50:30,200:10 --level -40", -40, 80, "#####...####################.#####..."},
        {"dtmf 1# --duration 0.5", -10, 800, "#.#.."}, {"dtmf 123 --duration 0.05", -10, 400, "#"},
        {"noise --level -20 --duration 2", -20, 16000, "#"}, {"silence --duration 0.001", -10, 8, "."}};
    // clang-format on
    for (const auto &row : rows) {
        Do("tones " + std::string(row.arguments) + " --encoding f32le out.wav");
        const Samples samples = Read("out.wav");
        std::string cadence;
        EXPECT_EQ(std::ssize(samples) % row.block, 0) << row.arguments;
        for (auto at = samples.begin(); samples.end() - at >= row.block; at += row.block)
            cadence += std::count(at, at + row.block, 0.0f) < row.block ? '#' : '.';
        EXPECT_EQ(cadence, row.cadence) << row.arguments;
        const double peak = std::ranges::max(samples) / std::pow(10, row.peak / 20);
        EXPECT_TRUE(samples.size() < 100 || (peak > 0.9 && peak < 1.00001)) << row.arguments << ": " << peak;
    }
}

TEST_F(Programs, MixAddsTwoRecordingsEachAtItsLevel)
{
    Samples sum = Random().Run(2 * 2500), other = Random().Run(2 * 1203); // stereo, more and less than a block
    Write("a.wav", kWav | kFloat, 1000, 2, sum);
    Write("b.wav", kWav | kFloat, 1000, 2, other);
    other.resize(sum.size());
    std::ranges::transform(sum, other, sum.begin(), [](float a, float b) { return a * 0.1f + b * 10.0f; });
    Do("mix a.wav -20 b.wav 20 out.wav; mix b.wav 20 a.wav -20 x.wav; cmp out.wav x.wav");
    EXPECT_EQ(Read("out.wav"), sum);
}

TEST_F(Programs, ConcealSilencesWholePacketsAndKeepsTheOthers)
{
    Samples before;
    for (int i = 0; i < 1013; ++i)
        before.push_back(static_cast<float>(i + 1) / 1024);
    Write("in.wav", kWav | kFloat, 160, 1, before); // 20 ms are 3 frames
    const auto report = Do("conceal 10 in.wav out.wav");
    const Samples after = Read("out.wav");
    ASSERT_EQ(after.size(), before.size());
    int lost = 0;
    for (std::size_t i = 0; i < after.size(); ++i) {
        const bool isLost = after[i - i % 3] == 0;
        EXPECT_EQ(after[i], isLost ? 0 : before[i]) << i;
        lost += isLost && i % 3 == 0;
    }
    EXPECT_EQ(report, std::to_string(lost) + " of 338 packets lost\n");
    EXPECT_NEAR(lost, 34, 15);
}

TEST_F(Programs, HelloWritesDialTone)
{
    Do("hello out.au");
    SndfileHandle out("out.au");
    EXPECT_EQ(out.format(), kAu | SF_FORMAT_ULAW);
    const Samples tone = Read(out);
    ASSERT_EQ(tone.size(), 8000u);
    for (const double period : {20, 18})
        EXPECT_NEAR(std::abs(Cosine(std::span(tone).first(7200), 1, period)), 0.158, 0.005); // together -10 dB
}

} // namespace
