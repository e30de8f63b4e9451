// instructions: lists the jobs, each with the samples that one round of it makes.
// instructions JOB ROUNDS: does one of them. What more rounds execute beyond fewer is the job's own;
// scripts/portability counts it in an emulator.
#include <pcm/pcm.hpp>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr pbInt kFrames = 960;

struct Job {
    pbInt samples;
    std::function<void()> round;
};

std::vector<float> Silence(pbInt channels)
{
    return std::vector<float>(static_cast<std::size_t>(kFrames * channels));
}

Job Encode(PCM_ENCODING encoding)
{
    return {kFrames, [=, source = Silence(1), dest = Silence(1)]() mutable {
                pcm___Convert(dest.data(), encoding, source.data(), 0, kFrames);
            }};
}

Job Decode(PCM_ENCODING encoding)
{
    return {kFrames, [=, source = Silence(1), dest = Silence(1)]() mutable {
                pcm___Convert(dest.data(), 0, source.data(), encoding, kFrames);
            }};
}

Job FilterOf48Taps(pbInt channels)
{
    const pcm::FilterCoefficients taps(std::vector<float>(48, 0.02f));
    return {kFrames * channels, [filter = pcm::Filter(taps, channels), pkt = pcm::Packet(Silence(channels), channels),
                                 dest = Silence(channels)]() mutable {
                filter.Write(pkt);
                filter.GatherSamples(dest);
            }};
}

Job Expand(pbInt from, pbInt to)
{
    return {kFrames * to, [=, source = pcm::Packet(Silence(from), from)] {
                pcm::Packet pkt = source;
                pkt.ChannelsAdjustExpandWithDownmix(to);
            }};
}

Job Replace(pbInt from, pbInt to)
{
    return {kFrames * to, [=, source = pcm::Packet(Silence(from), from)] {
                pcm::Packet pkt = source;
                pkt.ChannelsAdjustReplaceWithDownmix(to);
            }};
}

} // namespace

int main(int argc, char **argv)
{
    const pcm::Module module;
    std::map<std::string, Job> jobs = {
        {"expand/1to2", Expand(1, 2)},
        {"downmix/2to1", Replace(2, 1)},
        {"downmix/6to2", Replace(6, 2)},
    };
    for (const pbInt channels : {1, 2, 3, 6, 8})
        jobs["fir48/" + std::to_string(channels)] = FilterOf48Taps(channels);
    const std::pair<std::string, PCM_ENCODING> encodings[] = {
        {"s8", PCM_ENCODING_INT_8},
        {"u8", PCM_ENCODING_INT_8 | PCM_ENCODING_UNSIGNED},
        {"s16le", PCM_ENCODING_INT_16},
        {"s16be", PCM_ENCODING_INT_16 | PCM_ENCODING_BIG_ENDIAN},
        {"s24le", PCM_ENCODING_INT_24},
        {"s32le", PCM_ENCODING_INT_32},
        {"u32le", PCM_ENCODING_INT_32 | PCM_ENCODING_UNSIGNED},
        {"f32le", PCM_ENCODING_FLOAT_32},
        {"alaw", PCM_ENCODING_G711_ALAW},
        {"mulaw", PCM_ENCODING_G711_MULAW},
    };
    for (const auto &[name, encoding] : encodings) {
        jobs["encode/" + name] = Encode(encoding);
        jobs["decode/" + name] = Decode(encoding);
    }

    if (argc == 3) {
        const Job &job = jobs.at(argv[1]);
        for (int rounds = std::atoi(argv[2]); rounds > 0; --rounds)
            job.round();
    } else {
        for (const auto &[name, job] : jobs)
            std::printf("%s %lld\n", name.c_str(), static_cast<long long>(job.samples));
    }
}
