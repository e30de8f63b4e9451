// Objects and packets: references, creation, privacy.
#include "support.h"

#include <pcm/pcm.hpp>

#include <memory>

namespace {

constexpr pbInt kChannels = 2, kFrames = 960;
constexpr std::size_t kSamples = kChannels * kFrames;

const bool registered = [] {
    AddRow("shared_ptr/retain-release", "", [](benchmark::State &state) {
        const auto object = std::make_shared<int>(1);
        for (auto _ : state) {
            auto copy = object;
            benchmark::DoNotOptimize(copy);
        }
    });
    AddRow("packet/retain-release", "shared_ptr/retain-release", [](benchmark::State &state) {
        const pcm::Packet pkt(1);
        for (auto _ : state) {
            pcmPacketRetain(pkt.Get());
            pcmPacketRelease(pkt.Get());
        }
    });
    AddRow("shared_ptr/create-fill-free/2x960", "", [](benchmark::State &state) {
        const Array<float> noise = Noise(kSamples);
        for (auto _ : state)
            benchmark::DoNotOptimize(std::make_shared<std::vector<float>>(noise.begin(), noise.end()));
    });
    AddRow("packet/create-fill-free/2x960", "shared_ptr/create-fill-free/2x960", [](benchmark::State &state) {
        const Array<float> noise = Noise(kSamples);
        for (auto _ : state)
            benchmark::DoNotOptimize(pcm::Packet(noise, kChannels).Get());
    });
    const std::string yardstick = Memcpy(4 * kSamples, 4 * kSamples);
    AddRow("packet/make-private/2x960", yardstick, [](benchmark::State &state) {
        const pcm::Packet pkt(Noise(kSamples), kChannels);
        for (auto _ : state) {
            pcm::Packet copy = pkt;
            benchmark::DoNotOptimize(copy.MutableSamples().data());
        }
    });
    AddRow("packet/mutable-when-private", "shared_ptr/retain-release", [](benchmark::State &state) {
        pcm::Packet pkt(Noise(kSamples), kChannels);
        for (auto _ : state)
            benchmark::DoNotOptimize(pkt.MutableSamples().data());
    });
    AddRow("packet/level/2x960", yardstick, [](benchmark::State &state) {
        pcm::Packet pkt(Noise(kSamples), kChannels);
        for (auto _ : state)
            pkt.LevelAdjust(1e-9); // a gain of 1 in single precision, but not 0 dB
    });
    return true;
}();

} // namespace
