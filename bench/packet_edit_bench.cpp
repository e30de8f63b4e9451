// Editing packets: 20 ms of audio appended and deleted, channels picked, mixed and placed.
#include "support.h"

#include <pcm/pcm.hpp>

namespace {

constexpr pbInt kFrames = 960; // 20 ms at 48000 frames per second

pcm::Packet NoisePacket(pbInt channels, pbInt frames)
{
    return pcm::Packet(Noise(static_cast<std::size_t>(channels * frames)), channels);
}

std::string Copying(pbInt inSamples, pbInt outSamples)
{
    return Memcpy(4 * static_cast<std::size_t>(inSamples), 4 * static_cast<std::size_t>(outSamples));
}

/// A packet in the middle of a stream grows by 20 ms and loses 20 ms. Its yardstick copies the bytes that have to move.
void AddEdits(pbInt channels)
{
    const std::string name = "/" + std::to_string(channels) + " channels";
    const pbInt samples = channels * kFrames;
    const auto pkt = NoisePacket(channels, 5 * kFrames), block = NoisePacket(channels, kFrames);
    const auto row = [&](const std::string &what, pbInt moved, auto edit) {
        AddRow("packet/" + what + name, Copying(moved, moved), [=](benchmark::State &state) {
            pcm::Packet mine(pkt.Samples(), channels);
            for (auto _ : state)
                edit(mine);
        });
    };
    row("append, delete trailing 20 ms", samples, [=](pcm::Packet &mine) {
        mine.Append(block);
        mine.DelTrailing(kFrames);
    });
    row("append, delete leading 20 ms", 6 * samples, [=](pcm::Packet &mine) {
        mine.Append(block);
        mine.DelLeading(kFrames);
    });
    row("append 20 ms, shared", 6 * samples, [=](pcm::Packet &mine) {
        pcm::Packet copy = mine;
        copy.Append(block);
    });
    row("delete leading 20 ms, shared", 4 * samples, [=](pcm::Packet &mine) {
        pcm::Packet copy = mine;
        copy.DelLeading(kFrames);
    });
}

/// Short packets are put together, beside a vector, which doubles its room as it grows.
void AddAppend(pbInt frames)
{
    constexpr int kPackets = 6;
    const std::string name = "packet/append 6/" + std::to_string(frames);
    const auto pkt = NoisePacket(1, frames);
    AddRow(name, Copying(kPackets * frames, kPackets * frames), [=](benchmark::State &state) {
        for (auto _ : state) {
            pcm::Packet all(1);
            for (int i = 0; i < kPackets; ++i)
                all.Append(pkt);
            benchmark::DoNotOptimize(all.Samples().data());
        }
    });
    AddRow("std::vector/" + name, Copying(kPackets * frames, kPackets * frames), [=](benchmark::State &state) {
        for (auto _ : state) {
            std::vector<float> all;
            for (int i = 0; i < kPackets; ++i)
                all.insert(all.end(), pkt.Samples().begin(), pkt.Samples().end());
            benchmark::DoNotOptimize(all.data());
        }
    });
}

/// A job that makes a packet of one channel count out of another.
template <class Job> void AddLayout(const std::string &what, pbInt from, pbInt to, pbInt frames, Job job)
{
    const auto source = NoisePacket(from, frames);
    AddRow("packet/" + what + "/" + std::to_string(from) + " to " + std::to_string(to) + "/" + std::to_string(frames),
           Copying(from * frames, to * frames), [=](benchmark::State &state) {
               for (auto _ : state)
                   job(source, to);
           });
}

/// Channels spread over the source: 1 of 2 is the first, 2 of 6 are 0 and 3.
void Select(const pcm::Packet &source, pbInt to)
{
    pbInt mask = 0;
    for (pbInt c = 0; c < to; ++c)
        mask |= pbInt{1} << c * source.Channels() / to;
    source.WithChannelMask(mask);
}

void Mix(const pcm::Packet &source, pbInt to)
{
    source.WithChannels(to);
}

void Set(const pcm::Packet &source, pbInt to)
{
    pcm::Packet pkt = source;
    pkt.SetChannels(to);
}

const bool registered = [] {
    AddEdits(2);
    AddEdits(8);
    AddAppend(160);
    AddAppend(960);
    for (const pbInt frames : {pbInt{160}, kFrames, 16 * kFrames}) {
        for (const auto &[from, to] : {std::pair{2, 1}, {6, 1}, {6, 2}, {8, 1}, {8, 2}, {8, 6}})
            AddLayout("select", from, to, frames, Select);
        for (const auto &[from, to] : {std::pair{1, 2}, {1, 6}, {2, 1}, {6, 1}, {6, 2}, {8, 1}, {8, 2}})
            AddLayout("mix", from, to, frames, Mix);
        for (const auto &[from, to] : {std::pair{1, 2}, {2, 1}, {2, 6}, {2, 8}, {6, 2}, {6, 8}, {8, 6}})
            AddLayout("set channels", from, to, frames, Set);
        for (const auto &[from, to] : {std::pair{1, 2}, {2, 6}, {6, 8}, {8, 8}}) {
            const auto source = NoisePacket(from, frames), dest = NoisePacket(to, frames);
            AddRow("packet/write channels/" + std::to_string(from) + " into " + std::to_string(to) + "/" +
                       std::to_string(frames),
                   Copying(from * frames, from * frames), [=](benchmark::State &state) {
                       pcm::Packet mine(dest.Samples(), dest.Channels());
                       for (auto _ : state)
                           mine.WriteChannels(0, 0, source, 0, 0, source.Channels(), source.Frames());
                   });
        }
    }
    return true;
}();

} // namespace
