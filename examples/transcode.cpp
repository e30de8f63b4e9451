// Transcode: converts an audio file, or a part of it, to another encoding, level, frame rate or number of channels.
// Shows a whole pipeline: libsndfile reads the bytes of the samples, the library decodes them into packets of 20 ms,
// the stages of stream.h change these one after another, the library encodes them again, and libsndfile writes the
// bytes into the new file.
#include "audio_file.h"
#include "meter.h"
#include "options.h"
#include "stream.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

const ProgramText kText = {"pcm-transcode",
                           "Usage: pcm-transcode [OPTION]... INPUT OUTPUT\n"
                           "Converts an audio file. INPUT is any file that libsndfile reads.\n",
                           "as INPUT does, as far as OUTPUT can"};

struct Options : OutputOptions {
    std::string input;
    pbReal level = 0.0; // dB
    std::optional<pbInt> channels, rate;
    bool expand = false;
    std::optional<std::pair<pbInt, pbInt>> trim; // start and frames
    pbInt pad = 0;                               // frames
};

constexpr pbInt kMostFrames = pbInt{1} << 48; // of any option, so that no sum of two overflows

std::pair<pbInt, pbInt> RangeOf(const std::string &option, std::string_view text)
{
    const auto colon = text.find(':');
    if (colon == text.npos)
        throw Failure(option + " takes START:FRAMES, not '" + std::string(text) + "'");
    return {CountOf(option, text.substr(0, colon), 0, kMostFrames),
            CountOf(option, text.substr(colon + 1), 1, kMostFrames)};
}

/// @return nothing when only the help or the version was asked for
std::optional<Options> ParseArguments(const std::vector<std::string> &arguments)
{
    Options options;
    const auto files =
        WordsOf(kText,
                {{"--level", "DB", "raise the level by DB decibels, or lower it: -200 to 200",
                  [&](auto &name, auto &value) { options.level = NumberOf(name, value, -200.0, 200.0); }},
                 {"--channels", "N",
                  "make N channels, each the average of all channels of INPUT; a file that has N stays as it is",
                  [&](auto &name, auto &value) { options.channels = CountOf(name, value, 1, kMostChannels); }},
                 {"--expand", "", "with --channels: where channels are added, keep those of INPUT as they are",
                  [&](auto &, auto &) { options.expand = true; }},
                 {"--rate", "HZ",
                  "change the frame rate to HZ: built-in filters between 8000, 12000, 16000, 24000 and 48000,\n"
                  "the library soxr for all other rates",
                  [&](auto &name, auto &value) { options.rate = CountOf(name, value, 1, kHighestRate); }},
                 {"--trim", "START:FRAMES", "take FRAMES frames of INPUT, from frame START on, counted from 0",
                  [&](auto &name, auto &value) { options.trim = RangeOf(name, value); }},
                 {"--pad", "FRAMES", "add FRAMES frames of silence at the end of OUTPUT",
                  [&](auto &name, auto &value) { options.pad = CountOf(name, value, 0, kMostFrames); }}},
                options, arguments);
    if (!files)
        return std::nullopt;
    if (options.expand && !options.channels)
        throw Failure("--expand needs --channels; see pcm-transcode --help");
    if (files->size() != 2)
        throw Failure("needs an input and an output, not " + std::to_string(files->size()) +
                      " files; see pcm-transcode --help");
    options.input = files->front();
    options.output = files->back();
    return options;
}

void PrintFile(FILE *report, const char *direction, const std::string &path, const std::string &kind, pbInt rate,
               pbInt channels, const Meter &meter)
{
    std::fprintf(report, "%-3s  %s: %s, %lld Hz, %lld %s, %.3f s (%lld frames), %s\n", direction, path.c_str(),
                 kind.c_str(), static_cast<long long>(rate), static_cast<long long>(channels),
                 channels == 1 ? "channel" : "channels",
                 static_cast<double>(meter.Frames()) / static_cast<double>(rate),
                 static_cast<long long>(meter.Frames()), meter.Text().c_str());
}

/// One line on a terminal that says how much of the work is done; nothing anywhere else.
class Progress {
public:
    explicit Progress(pbInt total) : total_(total), on_(isatty(STDERR_FILENO)) {}
    ~Progress()
    {
        if (percent_ >= 0)
            std::fputs("\r\033[K", stderr);
    }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void Show(pbInt done)
    {
        const int percent = static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(total_));
        if (on_ && percent != percent_)
            std::fprintf(stderr, "\r%3d %%", percent_ = percent);
    }

private:
    pbInt total_;
    bool on_;
    int percent_ = -1;
};

/// The processor time that this process has taken, in seconds.
double ProcessorSeconds()
{
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// A stream whose packets are measured.
class Metered : public Stream {
public:
    Metered(StreamPtr input, Meter &meter)
        : Stream(input->Channels(), input->Rate()), input_(std::move(input)), meter_(meter)
    {
    }

    pcm::Packet Next() override
    {
        auto pkt = input_->Next();
        if (pkt)
            meter_.Add(pkt);
        return pkt;
    }

private:
    StreamPtr input_;
    Meter &meter_;
};

/// Everything between the decoder and the encoder. The rate is changed where there are the fewest channels.
StreamPtr Pipeline(StreamPtr stream, const Options &options)
{
    if (options.trim)
        stream = Trimmed(std::move(stream), options.trim->first, options.trim->second);
    if (options.channels && *options.channels < stream->Channels())
        stream = WithChannels(std::move(stream), *options.channels, options.expand);
    if (options.rate)
        stream = AtRate(std::move(stream), *options.rate);
    if (options.channels && *options.channels > stream->Channels())
        stream = WithChannels(std::move(stream), *options.channels, options.expand);
    if (options.level != 0.0)
        stream = WithLevel(std::move(stream), options.level);
    if (options.pad)
        stream = Padded(std::move(stream), options.pad);
    return InBlocks(std::move(stream));
}

void Transcode(const Options &options)
{
    const int container = options.Container();
    AudioReader reader(options.input);
    const SampleFormat &format = options.format ? *options.format : UsualFormat(container, reader.Encoding());

    const double start = ProcessorSeconds();
    Meter in, before, out;
    const StreamPtr stream = Pipeline(std::make_unique<Metered>(FromFile(reader), in), options);

    AudioWriter writer(options.output, container, format, stream->Rate(), stream->Channels(), reader.Speakers());
    {
        Progress progress(reader.Frames());
        while (const auto pkt = stream->Next()) {
            const auto bytes = pkt.Encode(format.encoding);
            before.Add(pkt);
            out.Add(pcm::Packet::TryDecode(bytes, format.encoding, pkt.Channels())); // as others will read it
            writer.Write(bytes);
            progress.Show(in.Frames());
        }
    }
    writer.Finish();
    const double seconds = ProcessorSeconds() - start;

    Warn(kText, container, format);
    FILE *report = ReportFile(options.output);
    PrintFile(report, "in", options.input, reader.Description(), reader.Rate(), reader.Channels(), in);
    PrintFile(report, "out", options.output, ContainerName(container) + ' ' + std::string(format.name), stream->Rate(),
              stream->Channels(), out);
    if (before.Peak() > 1.0 && std::isfinite(before.Peak()) && out.Peak() <= 1.0)
        std::fprintf(report, "     clipped: before encoding the peak was %.1f dB\n",
                     pcm::DecibelFromGain(before.Peak()));
    if (stream->Rate() != reader.Rate())
        std::fprintf(report, "     frame rate changed by %s\n", RateChanger(reader.Rate(), stream->Rate()).c_str());
    std::fprintf(report, "     %.0f times real time on one processor core\n",
                 static_cast<double>(in.Frames()) / static_cast<double>(reader.Rate()) / seconds);
}

} // namespace

int main(int argc, char **argv)
{
    return RunProgram(kText, [&] {
        if (const auto options = ParseArguments({argv + 1, argv + argc})) {
            const pcm::Module module;
            Transcode(*options);
        }
    });
}
