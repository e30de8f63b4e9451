// Channel adjustment and frame-rate change: a shared packet in, a new packet out, which is freed.
#include "support.h"

#include <pcm/pcm.hpp>

namespace {

constexpr pbInt kFrames[] = {160, 960, 65520};

template <class Job>
void Row(const std::string &name, pbInt channels, pbInt frames, pbInt destChannels, pbInt destFrames, Job job)
{
    const auto in = static_cast<std::size_t>(4 * channels * frames),
               out = static_cast<std::size_t>(4 * destChannels * destFrames);
    AddRow(name + "/" + std::to_string(frames), Memcpy(in, out), [=](benchmark::State &state) {
        const pcm::Packet source(Noise(static_cast<std::size_t>(channels * frames)), channels);
        for (auto _ : state) {
            auto pkt = source;
            job(pkt);
            benchmark::DoNotOptimize(pcmPacketBacking(pkt.Get()));
        }
    });
}

const bool registered = [] {
    for (const pbInt frames : kFrames) {
        const struct {
            pbInt from, to;
        } downmixes[] = {{2, 1}, {6, 2}, {6, 1}, {8, 2}, {1, 2}, {2, 6}, {1, 1}};
        for (const auto &[from, to] : downmixes)
            Row("channels/downmix " + std::to_string(from) + " to " + std::to_string(to), from, frames, to, frames,
                [to = to](pcm::Packet &pkt) { pkt.ChannelsAdjustReplaceWithDownmix(to); });
        for (const auto &[from, to] : {std::pair<pbInt, pbInt>{1, 2}, {2, 6}, {2, 3}})
            Row("channels/expand " + std::to_string(from) + " to " + std::to_string(to), from, frames, to, frames,
                [to = to](pcm::Packet &pkt) { pkt.ChannelsAdjustExpandWithDownmix(to); });
        for (const pbInt channels : {1, 2, 6})
            for (const pbInt factor : {2, 3, 6}) {
                const std::string what = " by " + std::to_string(factor) + ", channels " + std::to_string(channels);
                Row("frames/extend" + what, channels, frames, channels, frames * factor,
                    [factor](pcm::Packet &pkt) { pkt.FramesExtend(factor); });
                const pbInt whole = frames - frames % factor;
                Row("frames/reduce" + what, channels, whole, channels, whole / factor,
                    [factor](pcm::Packet &pkt) { pkt.FramesReduce(factor); });
            }
    }
    return true;
}();

} // namespace
