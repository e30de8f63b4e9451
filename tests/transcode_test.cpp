// The program transcode as its user meets it: files go in and come out, and what cannot be done leaves nothing behind.
#include "program.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <complex>

namespace {

namespace fs = std::filesystem;

class Transcode : public ProgramTest {
protected:
    Outcome Run(const std::string &arguments) const { return ProgramTest::Run(PCM_TRANSCODE " " + arguments); }

    void Write(const std::string &name, int format, int rate, int channels, const Samples &samples) const
    {
        SF_INFO info = {};
        info.samplerate = rate;
        info.channels = channels;
        info.format = format;
        SNDFILE *file = sf_open(Path(name).c_str(), SFM_WRITE, &info);
        ASSERT_TRUE(file) << name << ": " << sf_strerror(nullptr);
        const auto count = static_cast<sf_count_t>(samples.size());
        const int subtype = format & SF_FORMAT_SUBMASK;
        if (subtype == SF_FORMAT_FLOAT || subtype == SF_FORMAT_DOUBLE) {
            EXPECT_EQ(sf_write_float(file, samples.data(), count), count);
        } else { // as integers, which libsndfile shifts and does not scale
            std::vector<int> integers;
            for (const float sample : samples)
                integers.push_back(static_cast<int>(std::min(sample * 0x1p31, 0x1p31 - 1)));
            EXPECT_EQ(sf_write_int(file, integers.data(), count), count);
        }
        sf_close(file);
    }

    /// What libsndfile reads; info says how to read a file without a header, and comes back with what was found.
    Samples Read(const std::string &name, SF_INFO *info) const
    {
        SNDFILE *file = sf_open(Path(name).c_str(), SFM_READ, info);
        if (!file) {
            ADD_FAILURE() << name << ": " << sf_strerror(nullptr);
            return {};
        }
        Samples samples(static_cast<std::size_t>(info->frames * info->channels));
        sf_read_float(file, samples.data(), static_cast<sf_count_t>(samples.size()));
        sf_close(file);
        return samples;
    }
};

constexpr int kLittle = SF_ENDIAN_LITTLE, kBig = SF_ENDIAN_BIG;
constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

/// Multiples of 1/32768 in [-1, 1), so that 16 bits hold them exactly.
Samples SixteenBitNoise(Random &random, pbInt count)
{
    Samples samples;
    for (pbInt i = 0; i < count; ++i)
        samples.push_back(static_cast<float>(random.From(-32768, 32767)) / 32768.0f);
    return samples;
}

} // namespace

TEST_F(Transcode, EveryEncodingReadsBack)
{
    const struct {
        const char *name;
        int subtype;
        int bits; // 0: float; -1: G.711
        bool inWav, inAu;
    } rows[] = {
        {"s8", SF_FORMAT_PCM_S8, 8, false, true},
        {"u8", SF_FORMAT_PCM_U8, 8, true, false},
        {"s16le", SF_FORMAT_PCM_16 | kLittle, 16, true, true},
        {"s16be", SF_FORMAT_PCM_16 | kBig, 16, true, true},
        {"s24le", SF_FORMAT_PCM_24 | kLittle, 24, true, true},
        {"s24be", SF_FORMAT_PCM_24 | kBig, 24, true, true},
        {"s32le", SF_FORMAT_PCM_32 | kLittle, 32, true, true},
        {"s32be", SF_FORMAT_PCM_32 | kBig, 32, true, true},
        {"f32le", SF_FORMAT_FLOAT | kLittle, 0, true, true},
        {"f32be", SF_FORMAT_FLOAT | kBig, 0, true, true},
        {"alaw", SF_FORMAT_ALAW, -1, true, true},
        {"mulaw", SF_FORMAT_ULAW, -1, true, true},
    };
    Random random;
    const Samples samples = random.Run(2 * 12345);
    Write("in.wav", kFloatWav, 44100, 2, samples);
    for (const auto &row : rows) {
        for (const std::string ending : {"wav", "au", "raw"}) {
            SCOPED_TRACE(row.name + (" in " + ending));
            const bool possible = ending == "wav" ? row.inWav : ending == "au" ? row.inAu : true;
            const auto outcome = Run("--encoding " + std::string(row.name) + " in.wav out." + ending);
            ASSERT_EQ(outcome.status, possible ? 0 : 1) << outcome.err;
            if (!possible)
                continue;
            SF_INFO info = {};
            if (ending == "raw") {
                info.samplerate = 44100;
                info.channels = 2;
                info.format = SF_FORMAT_RAW | row.subtype;
            }
            const Samples out = Read("out." + ending, &info);
            EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, row.subtype & SF_FORMAT_SUBMASK);
            EXPECT_EQ(info.samplerate, 44100);
            EXPECT_EQ(info.channels, 2);
            ASSERT_EQ(out.size(), samples.size());
            for (std::size_t i = 0; i < out.size(); ++i) {
                const float error = row.bits > 0 ? std::ldexp(1.0f, 1 - std::min(row.bits, 24))
                                    : row.bits   ? std::abs(samples[i]) / 16.0f + 0x1p-9f
                                                 : 0.0f;
                ASSERT_NEAR(out[i], samples[i], error) << "sample " << i;
            }
        }
    }
}

TEST_F(Transcode, UnsignedEncodingsAreRawOffsetBinary)
{
    const struct {
        const char *name;
        std::string bytes; // of 0.5, -0.5
    } rows[] = {
        {"u8", "\xC0\x40"},
        {"u16le", {"\0\xC0\0\x40", 4}},
        {"u16be", {"\xC0\0\x40\0", 4}},
        {"u24le", {"\0\0\xC0\0\0\x40", 6}},
        {"u24be", {"\xC0\0\0\x40\0\0", 6}},
        {"u32le", {"\0\0\0\xC0\0\0\0\x40", 8}},
        {"u32be", {"\xC0\0\0\0\x40\0\0\0", 8}},
    };
    Write("in.wav", kFloatWav, 8000, 1, {0.5f, -0.5f});
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Run("--encoding " + std::string(row.name) + " in.wav out.raw").status, 0);
        EXPECT_EQ(Content(Path("out.raw")), row.bytes);
    }
}

// Whether the bytes are the file's own or libsndfile has to decode them, 16 bits come through unchanged.
TEST_F(Transcode, EveryContainerIsReadExactly)
{
    const struct {
        const char *name;
        int format;
    } rows[] = {
        {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
        {"rifx wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24 | kBig},
        {"float wav", kFloatWav},
        {"wavex", SF_FORMAT_WAVEX | SF_FORMAT_PCM_32},
        {"rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16},
        {"w64", SF_FORMAT_W64 | SF_FORMAT_PCM_24},
        {"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
        {"little aifc", SF_FORMAT_AIFF | SF_FORMAT_PCM_16 | kLittle},
        {"au", SF_FORMAT_AU | SF_FORMAT_PCM_32},
        {"little au", SF_FORMAT_AU | SF_FORMAT_PCM_24 | kLittle},
        {"caf", SF_FORMAT_CAF | SF_FORMAT_PCM_24},
        {"little caf", SF_FORMAT_CAF | SF_FORMAT_FLOAT | kLittle},
        {"double wav", SF_FORMAT_WAV | SF_FORMAT_DOUBLE},
        {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
        {"alac", SF_FORMAT_CAF | SF_FORMAT_ALAC_16},
        {"paf", SF_FORMAT_PAF | SF_FORMAT_PCM_24},
        {"voc", SF_FORMAT_VOC | SF_FORMAT_PCM_16},
    };
    Random random;
    const Samples samples = SixteenBitNoise(random, 2 * 5000);
    const auto expected = pcm::Packet(samples, 2).Encode(PCM_ENCODING_INT_16);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        Write("in", row.format, 48000, 2, samples);
        const auto outcome = Run("--encoding s16le in out.raw");
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        const auto bytes = expected.Bytes();
        EXPECT_TRUE(Content(Path("out.raw")) ==
                    std::string(reinterpret_cast<const char *>(bytes.data()), bytes.size()));
    }
}

TEST_F(Transcode, KeepsTheSampleTypeAsFarAsTheContainerCan)
{
    const struct {
        int in;
        const char *out;
        int expected;
    } rows[] = {
        {SF_FORMAT_AIFF | SF_FORMAT_PCM_24, "out.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, "out.au", SF_FORMAT_AU | SF_FORMAT_PCM_16},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_U8, "out.au", SF_FORMAT_AU | SF_FORMAT_PCM_S8},
        {SF_FORMAT_AU | SF_FORMAT_PCM_S8, "out.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8},
        {SF_FORMAT_AU | SF_FORMAT_ULAW, "out.wav", SF_FORMAT_WAV | SF_FORMAT_ULAW},
        {SF_FORMAT_FLAC | SF_FORMAT_PCM_24, "out.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24},
        {SF_FORMAT_OGG | SF_FORMAT_VORBIS, "out.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
        {SF_FORMAT_WAV | SF_FORMAT_DOUBLE, "out.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << std::hex << row.in);
        Write("in", row.in, 8000, 1, Samples(8000, 0.25f));
        ASSERT_EQ(Run("in " + std::string(row.out)).status, 0);
        SF_INFO info = {};
        Read(row.out, &info);
        EXPECT_EQ(info.format & ~SF_FORMAT_ENDMASK, row.expected);
        EXPECT_EQ(info.format & SF_FORMAT_ENDMASK, 0); // the container's own order
    }
}

TEST_F(Transcode, ChangesTheLevelAndSaysHowLoudItWasAndIs)
{
    Samples square;
    for (int i = 0; i < 8000; ++i)
        square.push_back(i % 2 ? -0.5f : 0.5f);
    Write("in.wav", kFloatWav, 8000, 1, square);

    auto outcome = Run("--level -20 in.wav out.wav");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.out.find("in   in.wav: wav f32le, 8000 Hz, 1 channel, 1.000 s (8000 frames), "
                               "peak -6.0 dB, RMS -6.0 dB\n"),
              std::string::npos)
        << outcome.out;
    EXPECT_NE(outcome.out.find("peak -26.0 dB, RMS -26.0 dB\n"), std::string::npos) << outcome.out;
    SF_INFO info = {};
    for (const float sample : Read("out.wav", &info))
        ASSERT_FLOAT_EQ(std::abs(sample), 0.05f);

    outcome = Run("--level 12 --encoding s16le in.wav out.wav");
    EXPECT_NE(outcome.out.find("peak 0.0 dB, RMS -0.0 dB\n     clipped: before encoding the peak was 6.0 dB\n"),
              std::string::npos)
        << outcome.out;

    Write("in.wav", kFloatWav, 8000, 1, {NAN, 0.5f});
    EXPECT_EQ(Run("in.wav out.wav").status, 0);
    EXPECT_EQ(Run("--encoding s16le in.wav out.wav").status, 0);
    Write("in.wav", kFloatWav, 8000, 1, {INFINITY, 0.0f});
    EXPECT_EQ(Run("--level 1 --encoding s16le in.wav out.wav").status, 0);
}

TEST_F(Transcode, TrimsAndPadsToTheFrame)
{
    Random random;
    const Samples samples = SixteenBitNoise(random, 2 * 5000);
    const pbInt half = pbInt{1} << 47; // more than there will ever be
    const struct {
        std::string options;
        pbInt start, frames, pad; // frames -1: it fails
    } rows[] = {
        {"--trim 0:5000", 0, 5000, 0},
        {"--trim 0:1", 0, 1, 0},
        {"--trim 4999:1", 4999, 1, 0},
        {"--trim 441:441", 441, 441, 0},
        {"--trim 440:443 --pad 1", 440, 443, 1},
        {"--pad 2000", 0, 5000, 2000},
        {"--pad 0", 0, 5000, 0},
        {"--trim 0:5001", 0, -1, 0},
        {"--trim 5000:1", 0, -1, 0},
        {"--trim " + std::to_string(half) + ":" + std::to_string(half), 0, -1, 0},
    };
    Write("in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 22050, 2, samples);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.options);
        fs::remove(Path("out.wav"));
        const auto outcome = Run(row.options + " in.wav out.wav");
        ASSERT_EQ(outcome.status, row.frames < 0 ? 1 : 0) << outcome.err;
        ASSERT_EQ(fs::exists(Path("out.wav")), row.frames >= 0);
        if (row.frames < 0)
            continue;
        Samples expected(samples.begin() + row.start * 2, samples.begin() + (row.start + row.frames) * 2);
        expected.resize(expected.size() + static_cast<std::size_t>(row.pad) * 2, 0.0f);
        SF_INFO info = {};
        EXPECT_EQ(Read("out.wav", &info), expected);
        EXPECT_NE(outcome.out.find("in   in.wav: wav s16le, 22050 Hz, 2 channels, 0.227 s (5000 frames)"),
                  std::string::npos)
            << outcome.out;
    }
}

TEST_F(Transcode, MakesOtherChannels)
{
    const struct {
        const char *options;
        Frame first, second;
    } rows[] = {
        {"--channels 1", {0.25f}, {-0.25f}},
        {"--channels 2", {0.25f, 0.25f}, {-0.25f, -0.25f}},
        {"--channels 3", {0.25f, 0.25f, 0.25f}, {-0.25f, -0.25f, -0.25f}},
        {"--channels 1 --expand", {0.25f}, {-0.25f}},
        {"--channels 2 --expand", {0.5f, 0.0f}, {0.0f, -0.5f}},
        {"--channels 4 --expand", {0.5f, 0.0f, 0.25f, 0.25f}, {0.0f, -0.5f, -0.25f, -0.25f}},
    };
    Samples samples;
    for (int i = 0; i < 1000; ++i)
        samples.insert(samples.end(), {0.5f, 0.0f, 0.0f, -0.5f});
    Write("in.wav", kFloatWav, 8000, 2, samples);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.options);
        ASSERT_EQ(Run(row.options + std::string(" in.wav out.wav")).status, 0);
        SF_INFO info = {};
        const Samples out = Read("out.wav", &info);
        ASSERT_EQ(info.channels, static_cast<int>(row.first.size()));
        ASSERT_EQ(info.frames, 2000);
        Samples expected;
        for (int i = 0; i < 1000; ++i) {
            expected.insert(expected.end(), row.first.begin(), row.first.end());
            expected.insert(expected.end(), row.second.begin(), row.second.end());
        }
        EXPECT_EQ(out, expected);
    }
}

namespace {

/// The amplitude and phase of a frequency in one channel, over whole seconds in the middle.
std::complex<double> Tone(const Samples &samples, pbInt channels, pbInt channel, double rate, double frequency)
{
    const auto frames = static_cast<pbInt>(samples.size()) / channels, second = static_cast<pbInt>(rate);
    const pbInt begin = second / 2, end = begin + (frames - second) / second * second;
    std::complex<double> sum;
    for (pbInt i = begin; i < end; ++i)
        sum += static_cast<double>(samples[static_cast<std::size_t>(i * channels + channel)]) *
               std::polar(1.0, -2.0 * M_PI * frequency * static_cast<double>(i) / rate);
    return 2.0 * sum / static_cast<double>(end - begin);
}

} // namespace

// Between all rates: length, level, and that output and input line up to half a frame of the higher rate.
TEST_F(Transcode, ChangesTheRateInPlace)
{
    const int rates[] = {8000, 12000, 16000, 24000, 48000};
    for (const int from : rates) {
        Samples samples;
        const pbInt frames = 3 * from + 77;
        for (pbInt i = 0; i < frames; ++i) { // 500 Hz on the left, 1000 Hz on the right, as cosines
            samples.push_back(static_cast<float>(0.5 * std::cos(2.0 * M_PI * 500.0 * static_cast<double>(i) / from)));
            samples.push_back(static_cast<float>(0.9 * std::cos(2.0 * M_PI * 1000.0 * static_cast<double>(i) / from)));
        }
        Write("in.wav", kFloatWav, from, 2, samples);
        for (const int to : rates) {
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
            ASSERT_EQ(Run("--rate " + std::to_string(to) + " in.wav out.wav").status, 0);
            SF_INFO info = {};
            const Samples out = Read("out.wav", &info);
            ASSERT_EQ(info.samplerate, to);
            ASSERT_EQ(info.frames, (frames * to + from - 1) / from);
            for (const int channel : {0, 1}) {
                const double frequency = channel ? 1000.0 : 500.0;
                const auto tone = Tone(out, 2, channel, to, frequency);
                EXPECT_NEAR(20.0 * std::log10(std::abs(tone) / (channel ? 0.9 : 0.5)), 0.0, 0.4) << "dB";
                EXPECT_LE(std::abs(std::arg(tone)) / (2.0 * M_PI * frequency), 0.51 / std::max(from, to)) << "s";
            }
        }
    }
}

// Tones that the lower rate cannot hold, and the images of those that it can, are as low as the filters' responses are.
TEST_F(Transcode, LetsNoAliasAndNoImageThrough)
{
    const struct {
        int from, to;
        double tone, alias, limit; // Hz, Hz, dB
    } rows[] = {
        {48000, 8000, 5000.0, 3000.0, -20.3},   {48000, 8000, 6000.0, 2000.0, -34.5},
        {48000, 8000, 7000.0, 1000.0, -50.3},   {48000, 8000, 23000.0, 1000.0, -91.0},
        {48000, 24000, 15000.0, 9000.0, -28.1}, {24000, 8000, 7000.0, 1000.0, -50.3},
        {8000, 48000, 1000.0, 7000.0, -50.3},   {8000, 48000, 1000.0, 23000.0, -91.0},
        {16000, 48000, 1000.0, 15000.0, -77.0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.from << " to " << row.to << ", " << row.tone << " Hz");
        Samples samples;
        for (int i = 0; i < 3 * row.from; ++i)
            samples.push_back(static_cast<float>(0.9 * std::cos(2.0 * M_PI * row.tone * i / row.from)));
        Write("in.wav", kFloatWav, row.from, 1, samples);
        ASSERT_EQ(Run("--rate " + std::to_string(row.to) + " in.wav out.wav").status, 0);
        SF_INFO info = {};
        const auto alias = Tone(Read("out.wav", &info), 1, 0, row.to, row.alias);
        EXPECT_LE(20.0 * std::log10(std::abs(alias) / 0.9), row.limit);
    }
}

TEST_F(Transcode, MayWriteOverItsInput)
{
    Write("a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 8000, 1, Samples(20000, 0.25f));
    EXPECT_EQ(Run("--encoding mulaw a.wav a.wav").status, 0);
    SF_INFO info = {};
    EXPECT_EQ(Read("a.wav", &info).size(), 20000u);
    EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_ULAW);
}

TEST_F(Transcode, RefusesInOneLineAndLeavesNothingBehind)
{
    Random random;
    const Samples samples = random.Run(50000);
    Write("in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 8000, 1, samples);
    Write("odd.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 1, samples);
    const auto cut = [&](const char *name, int format, uintmax_t bytes) {
        Write(name, format, 8000, 1, samples);
        fs::resize_file(Path(name), bytes);
    };
    cut("cut.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 50000);
    cut("cut.au", SF_FORMAT_AU | SF_FORMAT_PCM_16, 50000);
    cut("cut.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 50000);
    cut("cut.w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16, 50000);
    cut("cut.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16, 50000);
    cut("cut.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 30000);
    cut("cut.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 8000);
    cut("header.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44);
    cut("piece.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 20);
    cut("none.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0);
    Write("silence.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 8000, 1, {});
    std::ofstream(Path("text.wav")) << "This is not audio, whatever its name says.\n";
    std::ofstream(Path("out.wav")) << "what was there before";
    fs::create_directory(Path("directory.wav"));

    const struct {
        std::string arguments, message;
    } rows[] = {
        {"", "needs an input and an output, not 0 files; see transcode --help"},
        {"in.wav", "needs an input and an output, not 1 files; see transcode --help"},
        {"in.wav out.wav out.wav", "needs an input and an output, not 3 files; see transcode --help"},
        {"--louder in.wav out.wav", "unknown option '--louder'; see transcode --help"},
        {"in.wav out.wav --level", "--level lacks its value; see transcode --help"},
        {"--level loud in.wav out.wav", "--level takes a number from -200 to 200, not 'loud'"},
        {"--level 3dB in.wav out.wav", "--level takes a number from -200 to 200, not '3dB'"},
        {"--level nan in.wav out.wav", "--level takes a number from -200 to 200, not 'nan'"},
        {"--level 201 in.wav out.wav", "--level takes a number from -200 to 200, not '201'"},
        {"--trim 5 in.wav out.wav", "--trim takes START:FRAMES, not '5'"},
        {"--trim -1:5 in.wav out.wav", "--trim takes whole numbers from 0 to "},
        {"--trim 0:0 in.wav out.wav", "--trim takes whole numbers from 1 to "},
        {"--trim 0:1x in.wav out.wav", "--trim takes whole numbers from 1 to "},
        {"--trim 49999:2 in.wav out.wav", "cannot trim: the input lacks the last 1 of the frames asked for"},
        {"--channels 0 in.wav out.wav", "--channels takes whole numbers from 1 to 1024, not '0'"},
        {"--expand in.wav out.wav", "--expand needs --channels; see transcode --help"},
        {"--rate 11025 in.wav out.wav",
         "cannot change 8000 Hz to 11025 Hz: there are filters from 8000 to 12000, 16000, "
         "24000, 48000 Hz only"},
        {"--rate 8000 odd.wav out.wav", "cannot change 44100 Hz to 8000 Hz: there are filters between 8000, 12000, "
                                        "16000, 24000 and 48000 Hz only"},
        {"--pad 1e3 in.wav out.wav", "--pad takes whole numbers from 0 to "},
        {"--pad 99999999999999999999 in.wav out.wav", "--pad takes whole numbers from 0 to "},
        {"--encoding s17 in.wav out.wav", "unknown encoding 's17'"},
        {"--encoding u16le in.wav out.wav", "cannot write 'out.wav': this kind of file cannot hold u16le"},
        {"in.wav out.mp3", "cannot tell what to write to 'out.mp3'"},
        {"in.wav directory.wav", "cannot write 'directory.wav': Is a directory"},
        {"in.wav nowhere/out.wav", "cannot write 'nowhere/out.wav': No such file or directory"},
        {"nothing.wav out.wav", "cannot read 'nothing.wav': No such file or directory"},
        {"directory.wav out.wav", "cannot read 'directory.wav': Is a directory"},
        {"none.wav out.wav", "cannot read 'none.wav': the file is empty"},
        {"silence.wav out.wav", "cannot read 'silence.wav': the file holds no audio"},
        {"text.wav out.wav", "cannot read 'text.wav': "},
        {"piece.wav out.wav", "cannot read 'piece.wav': "},
        {"header.wav out.wav", "cannot read 'header.wav': the file is cut off"},
        {"cut.wav out.wav", "cannot read 'cut.wav': the file is cut off"},
        {"cut.au out.wav", "cannot read 'cut.au': the file is cut off"},
        {"cut.aiff out.wav", "cannot read 'cut.aiff': the file is cut off"},
        {"cut.w64 out.wav", "cannot read 'cut.w64': the file is cut off"},
        {"cut.caf out.wav", "cannot read 'cut.caf': "},
        {"cut.flac out.wav", "cannot read 'cut.flac': the file is cut off after "},
        {"cut.ogg out.wav", "cannot read 'cut.ogg': the file is cut off"},
    };
    const auto before = Files();
    for (const auto &row : rows) {
        SCOPED_TRACE("transcode " + row.arguments);
        const auto outcome = Run(row.arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.err.starts_with("transcode: " + row.message)) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_TRUE(Files() == before);
    }
}
