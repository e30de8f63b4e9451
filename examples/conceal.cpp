// Conceal: sends a recording in packets of 20 ms over a line that loses some, and puts silence where one is missing.
// Shows how a receiver joins packets of any length in a queue and takes them out in blocks of one length for playing.
#include "audio_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <random>
#include <string>

namespace {

constexpr char kUsage[] =
    "Usage: pcm-conceal PERCENT INPUT OUTPUT\n"
    "Loses PERCENT % of a recording's 20 ms packets, the same ones in every run, and writes the rest\n"
    "with silence in their place. OUTPUT ends in .wav, .au or .raw. An INPUT or OUTPUT of - is standard\n"
    "input or output.\n";

/// Makes a signal without gaps of packets that arrive in order, some of them missing.
struct Receiver {
    pcm::PacketQueue queue;
    pbInt end = 0; ///< the frame of the whole signal at which the queue ends

    /// @param position  the packet's first frame in the whole signal
    void Arrived(pbInt position, const pcm::Packet &pkt)
    {
        pcm::Packet silence(queue.Channels());
        silence.AppendZero(position - end);
        queue.Write(silence);
        queue.Write(pkt);
        end = position + pkt.Frames();
    }
};

void Conceal(double percent, const std::string &input, const std::string &output)
{
    AudioReader reader(input);
    const int container = ContainerOf(output);
    const SampleFormat &format = UsualFormat(container, reader.Encoding());
    AudioWriter writer(output, container, format, reader.Rate(), reader.Channels(), reader.Speakers());
    Receiver receiver{pcm::PacketQueue(reader.Channels())};
    std::mt19937 engine; // the same seed in every run
    pbInt sent = 0, lost = 0, position = 0;
    const pbInt block = std::max<pbInt>(reader.Rate() / 50, 1);
    for (auto pkt = reader.Read(block); pkt; pkt = reader.Read(block), ++sent) {
        if (engine() / 0x1p32 * 100 < percent)
            ++lost;
        else
            receiver.Arrived(position, pkt);
        position += pkt.Frames();
        while (receiver.queue.Frames() >= block) // as it would be played
            writer.Write(receiver.queue.Gather(block).Encode(format.encoding));
    }
    receiver.Arrived(position, pcm::Packet(reader.Channels())); // the end
    if (receiver.queue.Frames())
        writer.Write(receiver.queue.Gather(receiver.queue.Frames()).Encode(format.encoding));
    writer.Finish();
    std::fprintf(ReportFile(output), "%lld of %lld packets lost\n", static_cast<long long>(lost),
                 static_cast<long long>(sent));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4)
        return PrintUsage(kUsage, argc, argv);
    try {
        char *end = nullptr;
        const double percent = std::strtod(argv[1], &end);
        if (end == argv[1] || *end || !(percent >= 0 && percent <= 100))
            throw Failure("takes a number from 0 to 100, not '" + std::string(argv[1]) + "'");
        const pcm::Module module;
        Conceal(percent, argv[2], argv[3]);
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "pcm-conceal: %s\n", failure.what());
        return 1;
    }
}
