// Packet queues: blocks of one size in, blocks of another size out.
#include "support.h"

#include <pcm/pcm.hpp>

#ifdef PCM_BENCH_FFMPEG
extern "C" {
#include <libavutil/audio_fifo.h>
}
#endif

namespace {

/// Writes packets of `in` frames and, whenever there are enough, reads `out` frames; an iteration is one packet in.
template <class Read>
void Row(const std::string &name, const std::string &yardstick, pbInt channels, pbInt in, pbInt out, Read read)
{
    AddRow(name, yardstick, [=](benchmark::State &state) {
        const auto samples = Noise(static_cast<std::size_t>(in * channels));
        const pcm::Packet pkt(samples, channels);
        pcm::PacketQueue queue(channels);
        Array<float> dest(static_cast<std::size_t>(out * channels));
        for (auto _ : state) {
            queue.Write(pkt);
            while (queue.Frames() >= out)
                read(queue, dest, out);
            benchmark::ClobberMemory();
        }
    });
}

const bool registered = [] {
    const auto samples = [](pcm::PacketQueue &queue, Array<float> &dest, pbInt) { queue.GatherSamples(dest); };
    const auto add = [](pcm::PacketQueue &queue, Array<float> &dest, pbInt) { queue.GatherSamplesAdd(dest); };
    const auto packets = [](pcm::PacketQueue &queue, Array<float> &, pbInt frames) {
        benchmark::DoNotOptimize(queue.Gather(frames).Get());
    };
    for (const pbInt frames : {160, 960}) {
        const auto bytes = static_cast<std::size_t>(frames * 8);
        const std::string name = "queue/" + std::to_string(frames) + " in and out";
        Row(name, Memcpy(bytes, bytes), 2, frames, frames, samples);
#ifdef PCM_BENCH_FFMPEG
        AddRow("avutil/" + name, Memcpy(bytes, bytes), [=](benchmark::State &state) { // it copies what is written, too
            Array<float> source = Noise(bytes / 4), dest(bytes / 4);
            void *in = source.data(), *out = dest.data();
            const auto count = static_cast<int>(frames);
            AVAudioFifo *fifo = av_audio_fifo_alloc(AV_SAMPLE_FMT_FLT, 2, count);
            for (auto _ : state) {
                av_audio_fifo_write(fifo, &in, count);
                av_audio_fifo_read(fifo, &out, count);
                benchmark::ClobberMemory();
            }
            av_audio_fifo_free(fifo);
        });
#endif
    }
    const std::string moved = Memcpy(441 * 8, 441 * 8);
    Row("queue/441 in, 160 out into an array", moved, 2, 441, 160, samples);
    Row("queue/441 in, 160 out added to an array", moved, 2, 441, 160, add);
    Row("queue/441 in, 160 out as packets", moved, 2, 441, 160, packets);
    Row("queue/441 in, 441 out as packets", moved, 2, 441, 441, packets);
    const std::string all = Memcpy(44100 * 8, 44100 * 8);
    Row("queue/44100 in, 16000 out into an array", all, 2, 44100, 16000, samples);

    // A full queue of single frames: the time is that of one.
    AddRow("queue/one of 100000 packets of 1 frame in and out", "", [](benchmark::State &state) {
        const pcm::Packet pkt(Noise(2), 2);
        pcm::PacketQueue queue(2);
        for (int i = 0; i < 100000; ++i)
            queue.Write(pkt);
        Array<float> dest(2);
        for (auto _ : state) {
            queue.Write(pkt);
            queue.GatherSamples(dest);
        }
    });
    Row("queue/1 in, 1 out", "", 2, 1, 1, samples);
    return true;
}();

} // namespace
