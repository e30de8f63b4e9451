// The small example programs: mix, conceal and hello.
#include "program.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>

namespace {

class Examples : public ProgramTest {
protected:
    Outcome Example(const std::string &command) const { return Run(PCM_EXAMPLES "/" + command); }

    void Write(const std::string &name, int rate, int channels, const Samples &samples) const
    {
        SF_INFO info = {};
        info.samplerate = rate;
        info.channels = channels;
        info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        SNDFILE *file = sf_open(Path(name).c_str(), SFM_WRITE, &info);
        ASSERT_TRUE(file);
        sf_write_float(file, samples.data(), static_cast<sf_count_t>(samples.size()));
        sf_close(file);
    }

    Samples Read(const std::string &name, SF_INFO *info) const
    {
        *info = {};
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

TEST_F(Examples, MixAddsTwoRecordingsEachAtItsLevel)
{
    Random random;
    const Samples a = random.Run(2 * 2500), b = random.Run(2 * 1203); // stereo, more and less than a block
    Write("a.wav", 1000, 2, a);
    Write("b.wav", 1000, 2, b);
    Samples sum = a;
    for (std::size_t i = 0; i < sum.size(); ++i)
        sum[i] = sum[i] * 0.1f + (i < b.size() ? b[i] * 10.0f : 0.0f);
    for (const char *command : {"mix a.wav -20 b.wav 20 out.wav", "mix b.wav 20 a.wav -20 out.wav"}) {
        SCOPED_TRACE(command);
        const auto outcome = Example(command);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        SF_INFO info;
        EXPECT_EQ(BitsOf(Read("out.wav", &info)), BitsOf(sum));
        EXPECT_EQ(info.samplerate, 1000);
        EXPECT_EQ(info.channels, 2);
    }
}

TEST_F(Examples, ConcealSilencesWholePacketsAndKeepsTheOthers)
{
    Random random;
    const pbInt frames = 1013, block = 160 / 50; // at 160 frames per second 20 ms are 3 frames
    const Samples before = random.Run(frames);
    Write("in.wav", 160, 1, before);
    for (const int percent : {0, 10, 100}) {
        SCOPED_TRACE(percent);
        const auto outcome = Example("conceal " + std::to_string(percent) + " in.wav out.wav");
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        SF_INFO info;
        const Samples after = Read("out.wav", &info);
        ASSERT_EQ(after.size(), before.size());
        pbInt packets = 0, lost = 0;
        for (pbInt start = 0; start < frames; start += block, ++packets) {
            const auto same = [&](pbInt i, const Samples &other) { return after[i] == other[i]; };
            const Samples silence(after.size());
            const pbInt end = std::min(start + block, frames);
            bool kept = true, silent = true;
            for (pbInt i = start; i < end; ++i) {
                kept = kept && same(i, before);
                silent = silent && same(i, silence);
            }
            EXPECT_NE(kept, silent) << "packet " << packets;
            lost += silent;
        }
        EXPECT_EQ(outcome.out, std::to_string(lost) + " of " + std::to_string(packets) + " packets lost\n");
        EXPECT_NEAR(static_cast<double>(lost) / static_cast<double>(packets) * 100, percent, 5);
    }
}

TEST_F(Examples, HelloWritesDialTone)
{
    EXPECT_EQ(Example("hello out.au").status, 0);
    SF_INFO info;
    const Samples tone = Read("out.au", &info);
    EXPECT_EQ(info.format, SF_FORMAT_AU | SF_FORMAT_ULAW);
    EXPECT_EQ(info.samplerate, 8000);
    EXPECT_EQ(info.channels, 1);
    ASSERT_EQ(tone.size(), 8000u);
    const auto peak = std::ranges::max(tone, {}, [](float sample) { return std::abs(sample); });
    EXPECT_NEAR(peak, std::pow(10.0, -10.0 / 20), 0.02); // its two tones meet at -10 dB
    for (std::size_t i = 0; i < 4000; ++i)               // cycles of 20 and 18 frames: together of 180
        EXPECT_EQ(tone[i], tone[i + 3600]) << i;
}

TEST_F(Examples, RefuseWhatCannotBeAndLeaveNothing)
{
    Write("a.wav", 1000, 1, {0, 0});
    Write("b.wav", 2000, 1, {0, 0});
    const auto before = Files();
    const struct {
        const char *command, *message;
    } rows[] = {
        {"mix a.wav 0 b.wav 0 out.wav", "mix: the recordings differ in their frame rates or channels\n"},
        {"mix a.wav loud a.wav 0 out.wav", "mix: a level is a number from -200 to 200, not 'loud'\n"},
        {"mix a.wav 0 a.wav nan out.wav", "mix: a level is a number from -200 to 200, not 'nan'\n"},
        {"mix a.wav 0 none.wav 0 out.wav", "mix: cannot read 'none.wav': No such file or directory\n"},
        {"conceal 101 a.wav out.wav", "conceal: takes a number from 0 to 100, not '101'\n"},
        {"conceal 5% a.wav out.wav", "conceal: takes a number from 0 to 100, not '5%'\n"},
        {"conceal 5 a.wav out.mp3",
         "conceal: cannot tell what to write to 'out.mp3': its name has to end in .wav, .au or .raw\n"},
        {"hello none/out.au", "none/out.au: No such file or directory\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.command);
        const auto outcome = Example(row.command);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, row.message);
    }
    for (const char *program : {"mix", "conceal", "hello"}) {
        SCOPED_TRACE(program);
        const std::string name = program;
        EXPECT_EQ(Example(name).status, 1);
        const auto help = Example(name + " --help");
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.out.substr(0, 7 + name.size()), "usage: " + name);
        EXPECT_EQ(help.err, "");
    }
    EXPECT_EQ(Files(), before);
}

} // namespace
