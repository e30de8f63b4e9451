// Tones: writes an audio file with a signal that a telephone exchange plays. Shows the library's generators: each
// stretch of a cadence is made by one, a queue joins the stretches, and packets of 20 ms are taken from it, encoded and
// written.
#include "audio_file.h"
#include "options.h"
#include "stream.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

const ProgramText kText = {
    "pcm-tones",
    "Usage: pcm-tones [OPTION]... SIGNAL OUTPUT\n"
    "       pcm-tones [OPTION]... dtmf DIGITS OUTPUT\n"
    "Writes an audio file with a signal that a telephone exchange plays: dial, ringback, busy, dtmf, noise or\n"
    "silence. DIGITS are of 0 to 9, A to D, * and #.\n",
    "16 bits"};

constexpr pbInt kLongest = 86400; // seconds

/// Milliseconds of sound and of the silence after it.
struct Beat {
    pbInt on, off;
};
constexpr Beat kNoPauses = {kLongest * 1000, 0};

struct Options : OutputOptions {
    std::string signal, digits;
    pbReal level = -10.0;           ///< dB
    std::vector<Beat> cadence;      ///< empty: what is usual for the signal
    std::optional<pbReal> duration; ///< seconds; nothing: what is usual for the signal
    pbInt rate = 8000;              ///< frames per second
};

/// Two frequencies, in Hz, that sound at once.
using Frequencies = std::array<pbInt, 2>;

/// The frequencies and cadences of the North American exchanges.
constexpr struct Progress {
    std::string_view name;
    Frequencies hertz;
    Beat beat;
    pbReal duration; // seconds
} kProgress[] = {
    {"dial", {350, 440}, kNoPauses, 3},
    {"ringback", {440, 480}, {2000, 4000}, 6},
    {"busy", {480, 620}, {500, 500}, 3},
};

/// ITU-T Q.23: a row's frequency and a column's for each key.
constexpr std::string_view kKeys = "123A456B789C*0#D";
constexpr pbInt kRows[] = {697, 770, 852, 941}, kColumns[] = {1209, 1336, 1477, 1633};

/// Gives the next frames of a sound, in one channel.
using Sound = std::function<pcm::Packet(pbInt frames)>;

/// A sound, begun anew, and how long it is heard.
struct Stretch {
    std::function<Sound()> begin;
    pbInt milliseconds;
};

/// What is heard: stretches, repeated, or once with silence after them.
struct Programme {
    std::vector<Stretch> stretches;
    bool again = true;
    pbReal duration = 3.0; // seconds
    std::string report;    // lines about the tones
};

/**
   A pair of tones. A cycle is a whole number of frames, which is coarse at the rate of a telephone: of 8000 frames per
   second, 852 and 941 Hz would take 9 both. So the tones are made at a multiple of the rate, 200 kHz or more, where
   they are off by less than half a percent, and of each multiple of frames one is kept. Sines need no filter for that.
*/
std::function<Sound()> PairOfTones(const std::string &name, const Frequencies &hertz, pbInt rate, std::string *report)
{
    const pbInt multiple = (200000 + rate - 1) / rate;
    std::array<pbInt, 2> periods;
    for (std::size_t i = 0; i < 2; ++i) {
        if (2 * hertz[i] >= rate)
            throw Failure("a rate of " + std::to_string(rate) + " Hz has no room for a tone of " +
                          std::to_string(hertz[i]) + " Hz");
        periods[i] = pbRealToInt(static_cast<pbReal>(rate * multiple) / static_cast<pbReal>(hertz[i]));
        char line[80];
        std::snprintf(line, sizeof line, "%s: asked for %lld Hz, produced %.2f Hz\n", name.c_str(),
                      static_cast<long long>(hertz[i]),
                      static_cast<double>(rate * multiple) / static_cast<double>(periods[i]));
        *report += line;
    }

    return [=] {
        return [=, a = pcm::Tone(periods[0]), b = pcm::Tone(periods[1])](pbInt frames) mutable {
            auto pkt = pcm::DualToneGather(a, b, frames * multiple);
            if (multiple > 1)
                pkt.FramesReduce(multiple);
            return pkt;
        };
    };
}

Sound BeginSilence()
{
    return pcm::SilenceGather;
}

Sound BeginNoise()
{
    return pcm::NoiseGather;
}

/// Each digit with one beat of the cadence.
Programme Dtmf(const Options &options)
{
    const std::vector<Beat> cadence = options.cadence.empty() ? std::vector<Beat>{{100, 100}} : options.cadence;
    Programme programme;
    programme.again = false;
    pbInt milliseconds = 0;
    std::map<char, std::function<Sound()>> keys;
    for (std::size_t i = 0; i < options.digits.size(); ++i) {
        const char digit = static_cast<char>(std::toupper(static_cast<unsigned char>(options.digits[i])));
        const std::size_t key = kKeys.find(digit);
        if (key == kKeys.npos)
            throw Failure(std::string("'") + options.digits[i] +
                          "' is not a digit of dtmf, which has 0 to 9, A to D, * and #");
        if (!keys.count(digit))
            keys[digit] = PairOfTones(std::string("digit ") + digit, {kRows[key / 4], kColumns[key % 4]}, options.rate,
                                      &programme.report);
        const Beat &beat = cadence[i % cadence.size()];
        programme.stretches.push_back({keys[digit], beat.on});
        programme.stretches.push_back({BeginSilence, beat.off});
        milliseconds += beat.on + beat.off;
    }
    if (milliseconds == 0)
        throw Failure("dtmf needs its digits");
    if (milliseconds > kLongest * 1000)
        throw Failure("these digits take more than a day");
    programme.duration = static_cast<pbReal>(milliseconds) / 1000;
    return programme;
}

Programme ProgrammeOf(const Options &options)
{
    if (options.signal == "dtmf")
        return Dtmf(options);

    Programme programme;
    std::vector<Beat> cadence = {kNoPauses};
    std::function<Sound()> begin;
    if (options.signal == "noise")
        begin = BeginNoise;
    if (options.signal == "silence")
        begin = BeginSilence;
    for (const Progress &progress : kProgress) {
        if (options.signal != progress.name)
            continue;
        begin = PairOfTones(options.signal, progress.hertz, options.rate, &programme.report);
        cadence = {progress.beat};
        programme.duration = progress.duration;
    }
    if (!begin)
        throw Failure("unknown signal '" + options.signal + "'; see pcm-tones --help");
    for (const Beat &beat : options.cadence.empty() ? cadence : options.cadence) {
        programme.stretches.push_back({begin, beat.on});
        programme.stretches.push_back({BeginSilence, beat.off});
    }
    return programme;
}

/// Plays the programme into the writer, in packets of 20 ms whatever the cadence. @return the frames
pbInt Play(const Programme &programme, const Options &options, const SampleFormat &format, AudioWriter &writer)
{
    const pbInt block = BlockFrames(options.rate);
    const pbReal seconds = options.duration.value_or(programme.duration);
    const pbInt total = std::max<pbInt>(std::llround(seconds * static_cast<pbReal>(options.rate)), 1);
    const auto &stretches = programme.stretches;
    pcm::PacketQueue queue(1);
    const auto send = [&](pbInt frames) { writer.Write(queue.Gather(frames).Encode(format.encoding)); };

    pbInt made = 0, milliseconds = 0;
    for (std::size_t i = 0; made < total; ++i) {
        const bool over = !programme.again && i >= stretches.size();
        const Stretch stretch = over ? Stretch{BeginSilence, kNoPauses.on} : stretches[i % stretches.size()];
        milliseconds += stretch.milliseconds; // from the beginning, so that rounding to frames does not add up
        const pbInt end = std::min(total, milliseconds * options.rate / 1000);
        for (auto sound = stretch.begin(); made < end;) {
            const pbInt frames = std::min(block, end - made);
            auto pkt = sound(frames);
            pkt.LevelAdjust(options.level);
            queue.Write(pkt);
            made += frames;
            if (queue.Frames() >= block)
                send(block);
        }
    }
    if (queue.Frames())
        send(queue.Frames());
    return total;
}

std::vector<Beat> CadenceOf(const std::string &option, const std::string &text)
{
    std::vector<Beat> cadence;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t comma = std::min(text.find(',', at), text.size());
        const std::string beat = text.substr(at, comma - at);
        const std::size_t colon = beat.find(':');
        if (colon == beat.npos)
            throw Failure(option + " takes ON:OFF[,ON:OFF]..., not '" + text + "'");
        cadence.push_back({CountOf(option, beat.substr(0, colon), 1, kNoPauses.on),
                           CountOf(option, beat.substr(colon + 1), 0, kNoPauses.on)});
        at = comma + 1;
    }
    return cadence;
}

/// @return nothing when only the help or the version was asked for
std::optional<Options> ParseArguments(const std::vector<std::string> &arguments)
{
    Options options;
    const auto words = WordsOf(
        kText,
        {{"--level", "DB", "peak level in decibels of full scale: -200 to 0; default -10",
          [&](auto &name, auto &value) { options.level = NumberOf(name, value, -200.0, 0.0); }},
         {"--cadence", "ON:OFF[,ON:OFF]...",
          "milliseconds of sound and of silence, repeated; with dtmf for each digit. Default:\n"
          "ringback 2000:4000, busy 500:500, dtmf 100:100, the others without pauses",
          [&](auto &name, auto &value) { options.cadence = CadenceOf(name, value); }},
         {"--duration", "SECONDS", "up to 86400; default: as long as dtmf takes, 6 for ringback, 3 for the others",
          [&](auto &name, auto &value) { options.duration = NumberOf(name, value, 0.001, kLongest); }},
         {"--rate", "HZ", "frames per second, 1 to " + std::to_string(kHighestRate) + "; default 8000",
          [&](auto &name, auto &value) { options.rate = CountOf(name, value, 1, kHighestRate); }}},
        options, arguments);
    if (!words)
        return std::nullopt;
    const bool dtmf = !words->empty() && words->front() == "dtmf";
    if (words->size() != (dtmf ? 3 : 2))
        throw Failure(dtmf ? "dtmf needs its digits and an output; see pcm-tones --help"
                           : "needs a signal and an output; see pcm-tones --help");
    options.signal = words->front();
    options.digits = dtmf ? (*words)[1] : "";
    options.output = words->back();
    return options;
}

void Run(const std::vector<std::string> &arguments)
{
    const auto options = ParseArguments(arguments);
    if (!options)
        return;
    const pcm::Module module;
    const int container = options->Container();
    const SampleFormat &format = options->format ? *options->format : UsualFormat(container, PCM_ENCODING_INT_16);
    const Programme programme = ProgrammeOf(*options);
    AudioWriter writer(options->output, container, format, options->rate, 1);
    const pbInt frames = Play(programme, *options, format, writer);
    writer.Finish();
    Warn(kText, container, format);
    std::fprintf(ReportFile(options->output), "%s%s: %.3f s of %s at %lld Hz\n", programme.report.c_str(),
                 options->output.c_str(), static_cast<double>(frames) / static_cast<double>(options->rate),
                 std::string(format.name).c_str(), static_cast<long long>(options->rate));
}

} // namespace

int main(int argc, char **argv)
{
    return RunProgram(kText, [&] { Run({argv + 1, argv + argc}); });
}
