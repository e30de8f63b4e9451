// Mix: adds two recordings, each at a level of its own, and writes what is heard when both play at once. Shows how
// GatherSamplesAdd adds what a queue holds to the samples of a packet.
#include "audio_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace {

constexpr char kUsage[] =
    "Usage: pcm-mix INPUT DB INPUT DB OUTPUT\n"
    "Plays two recordings at once, each louder or softer by its decibels, -200 to 200.\n"
    "They have one frame rate and channel count. OUTPUT ends in .wav, .au or .raw. An INPUT or OUTPUT\n"
    "of - is standard input or output.\n";

pbReal Decibels(const std::string &text)
{
    char *end = nullptr;
    const pbReal number = std::strtod(text.c_str(), &end);
    if (text.empty() || *end || !(number >= -200.0 && number <= 200.0))
        throw Failure("a level is a number from -200 to 200, not '" + text + "'");
    return number;
}

struct Input {
    AudioReader reader;
    pbReal level; ///< dB

    /// @return the next frames at their level, at most as many as asked for; none after the end
    pcm::Packet Next(pbInt frames)
    {
        auto pkt = reader.Read(frames);
        if (!pkt)
            return pcm::Packet(reader.Channels());
        pkt.LevelAdjust(level);
        return pkt;
    }
};

void Mix(Input a, Input b, const std::string &output)
{
    const pbInt rate = a.reader.Rate(), channels = a.reader.Channels();
    if (b.reader.Rate() != rate || b.reader.Channels() != channels)
        throw Failure("the recordings differ in their frame rates or channels");
    const int container = ContainerOf(output);
    const SampleFormat &format = UsualFormat(container, a.reader.Encoding());
    AudioWriter writer(output, container, format, rate, channels, a.reader.Speakers());
    pcm::PacketQueue queue(channels);
    for (;;) {
        auto mixed = a.Next(rate);
        const auto other = b.Next(rate);
        const pbInt frames = std::max(mixed.Frames(), other.Frames());
        if (frames == 0)
            break;
        mixed.SetFrames(frames); // where a recording has ended it is silent
        if (other.Frames()) {
            queue.Write(other);
            queue.GatherSamplesAdd(mixed.MutableSamples().first(static_cast<std::size_t>(other.Frames() * channels)));
        }
        writer.Write(mixed.Encode(format.encoding)); // a sum beyond full scale saturates here
    }
    writer.Finish();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 6)
        return PrintUsage(kUsage, argc, argv);
    try {
        const pcm::Module module;
        Mix({AudioReader(argv[1]), Decibels(argv[2])}, {AudioReader(argv[3]), Decibels(argv[4])}, argv[5]);
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "pcm-mix: %s\n", failure.what());
        return 1;
    }
}
