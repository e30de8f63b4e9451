// Transcode: makes an audio file of another one: in another encoding, at another level or frame rate, with other
// channels, of a part of it.
//
// The road of a file: libsndfile hands out the bytes of its samples, the library decodes them into packets of 20 ms,
// the stages of stream.h change these one after another, the library encodes them again, and libsndfile lays the bytes
// into the new file.
#include "audio_file.h"
#include "meter.h"
#include "options.h"
#include "stream.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

constexpr char kHelp[] =
    "Usage: transcode [OPTION]... INPUT OUTPUT\n"
    "Makes an audio file of another one.\n"
    "\n"
    "INPUT is any file that libsndfile reads. The name of OUTPUT says what becomes of it: .wav, .au, or .raw, which "
    "is\n"
    "the samples and nothing else. OUTPUT is there when it is complete, and not before.\n"
    "\n"
    "  --encoding NAME      how OUTPUT holds its samples; without it as INPUT does, as far as OUTPUT can\n"
    "  --level DB           make it louder by so many decibels, or softer: -200 to 200\n"
    "  --channels N         make N channels, each the average of all that INPUT has\n"
    "  --expand             with --channels: where channels are added, keep those that INPUT has as they are\n"
    "  --rate HZ            make so many frames per second: 8000, 12000, 16000, 24000 or 48000 of one of these\n"
    "  --trim START:FRAMES  take only so many frames of INPUT, from frame START on, counted from 0\n"
    "  --pad FRAMES         add so many frames of silence at the end of OUTPUT\n"
    "  --help               print this and do nothing\n"
    "\n"
    "Encodings:";

struct Options {
    std::string input, output;
    const SampleFormat *format = nullptr;
    pbReal level = 0.0; // dB
    std::optional<pbInt> channels, rate;
    bool expand = false;
    std::optional<std::pair<pbInt, pbInt>> trim; // start and frames
    pbInt pad = 0;                               // frames
};

constexpr pbInt kMostChannels = 1024, kHighestRate = 655350; // of libsndfile, which refuses files with more
constexpr pbInt kMostFrames = pbInt{1} << 48; // of anything that one asks for, so that no sum of two overflows

std::pair<pbInt, pbInt> RangeOf(const std::string &option, std::string_view text)
{
    const auto colon = text.find(':');
    if (colon == text.npos)
        throw Failure(option + " takes START:FRAMES, not '" + std::string(text) + "'");
    return {CountOf(option, text.substr(0, colon), 0, kMostFrames),
            CountOf(option, text.substr(colon + 1), 1, kMostFrames)};
}

/// @return nothing when only help was asked for
std::optional<Options> ParseArguments(const std::vector<std::string> &arguments)
{
    Options options;
    std::vector<std::string> files;
    bool onlyFiles = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const auto &argument = arguments[i];
        if (onlyFiles || argument.size() < 2 || argument[0] != '-') {
            files.push_back(argument);
            continue;
        }
        const auto value = [&] {
            if (++i == arguments.size())
                throw Failure(argument + " lacks its value; see transcode --help");
            return arguments[i];
        };
        if (argument == "--help")
            return std::nullopt;
        if (argument == "--")
            onlyFiles = true;
        else if (argument == "--encoding")
            options.format = &SampleFormatNamed(value());
        else if (argument == "--level")
            options.level = NumberOf(argument, value(), -200.0, 200.0);
        else if (argument == "--channels")
            options.channels = CountOf(argument, value(), 1, kMostChannels);
        else if (argument == "--expand")
            options.expand = true;
        else if (argument == "--rate")
            options.rate = CountOf(argument, value(), 1, kHighestRate);
        else if (argument == "--trim")
            options.trim = RangeOf(argument, value());
        else if (argument == "--pad")
            options.pad = CountOf(argument, value(), 0, kMostFrames);
        else
            throw Failure("unknown option '" + argument + "'; see transcode --help");
    }
    if (options.expand && !options.channels)
        throw Failure("--expand needs --channels; see transcode --help");
    if (files.size() != 2)
        throw Failure("needs an input and an output, not " + std::to_string(files.size()) +
                      " files; see transcode --help");
    options.input = files[0];
    options.output = files[1];
    return options;
}

void PrintHelp()
{
    std::fputs(kHelp, stdout);
    for (const auto &format : SampleFormats())
        std::printf(" %.*s", static_cast<int>(format.name.size()), format.name.data());
    std::puts("");
}

void PrintFile(const char *direction, const std::string &path, const std::string &kind, pbInt rate, pbInt channels,
               const Meter &meter)
{
    std::printf("%-3s  %s: %s, %lld Hz, %lld %s, %.3f s (%lld frames), %s\n", direction, path.c_str(), kind.c_str(),
                static_cast<long long>(rate), static_cast<long long>(channels), channels == 1 ? "channel" : "channels",
                static_cast<double>(meter.Frames()) / static_cast<double>(rate), static_cast<long long>(meter.Frames()),
                meter.Text().c_str());
}

/// One line on a terminal that says how far the work is; nothing anywhere else.
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

/// The processor's seconds that this process has taken.
double ProcessorSeconds()
{
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// A stream that shows a meter what passes.
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

/**
   Everything between the bytes that come in and those that go out. The filters of a change of rate have the fewest
   channels to work on, and, because they clamp to full scale, the lower level.
*/
StreamPtr Road(StreamPtr stream, const Options &options)
{
    if (options.trim)
        stream = Trimmed(std::move(stream), options.trim->first, options.trim->second);
    if (options.level < 0.0)
        stream = WithLevel(std::move(stream), options.level);
    if (options.channels && *options.channels <= stream->Channels())
        stream = WithChannels(std::move(stream), *options.channels, options.expand);
    if (options.rate)
        stream = AtRate(std::move(stream), *options.rate);
    if (options.channels && *options.channels > stream->Channels())
        stream = WithChannels(std::move(stream), *options.channels, options.expand);
    if (options.level > 0.0)
        stream = WithLevel(std::move(stream), options.level);
    if (options.pad)
        stream = Padded(std::move(stream), options.pad);
    return InBlocks(std::move(stream));
}

void Transcode(const Options &options)
{
    const int container = ContainerOf(options.output);
    AudioReader reader(options.input);
    const SampleFormat &format = options.format ? *options.format : UsualFormat(container, reader.Encoding());

    const double start = ProcessorSeconds();
    Meter in, before, out;
    const StreamPtr stream = Road(std::make_unique<Metered>(FromFile(reader), in), options);

    AudioWriter writer(options.output, format, stream->Rate(), stream->Channels());
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

    PrintFile("in", options.input, reader.Description(), reader.Rate(), reader.Channels(), in);
    PrintFile("out", options.output,
              options.output.substr(options.output.rfind('.') + 1) + ' ' + std::string(format.name), stream->Rate(),
              stream->Channels(), out);
    if (before.Peak() > 1.0 && std::isfinite(before.Peak()) && out.Peak() <= 1.0)
        std::printf("     clipped: before encoding the peak was %.1f dB\n", pcm::DecibelFromGain(before.Peak()));
    std::printf("     %.0f times as fast as it plays, on one processor core\n",
                static_cast<double>(in.Frames()) / static_cast<double>(reader.Rate()) / seconds);
}

} // namespace

int main(int argc, char **argv)
{
    try {
        const auto options = ParseArguments({argv + 1, argv + argc});
        if (!options) {
            PrintHelp();
            return 0;
        }
        const pcm::Module module;
        Transcode(*options);
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "transcode: %s\n", failure.what());
        return 1;
    }
}
