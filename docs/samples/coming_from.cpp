#include "check.h"

#include <pcm/pcm.hpp>

#include <algorithm>
#include <cstring>
#include <vector>

// What libsndfile's sf_readf_float would fill.
static pbInt ReadFrames(float *dest, pbInt frames)
{
    std::memset(dest, 0, static_cast<std::size_t>(frames) * 2 * sizeof *dest);
    return frames;
}

static pcm::Packet Adopt()
{
    auto *block = static_cast<float *>(pbMemAllocN(1024 * 2, sizeof(float)));
    const pbInt got = ReadFrames(block, 1024); // two channels, interleaved
    block = static_cast<float *>(pbMemReallocN(block, got * 2, sizeof(float)));
    return pcm::Packet::CreateFromSamplesUse(block, 2, got); // no copy; the packet frees the block
}

// A callback of SDL: fill this many bytes of 16-bit stereo, with silence where there is nothing.
static void Callback(void *user, unsigned char *stream, int length)
{
    auto &queue = *static_cast<pcm::PacketQueue *>(user);
    const pcm::Encoding device(PCM_ENCODING_INT_16);
    const pbInt frames = length / device.SizeofFrame(2);
    pcm::Packet pkt(2);
    if (const pbInt there = std::min(frames, queue.Frames()); there > 0)
        pkt = queue.Gather(there);
    pkt.SetFrames(frames);
    const auto bytes = pkt.Encode(device);
    std::memcpy(stream, bytes.Bytes().data(), bytes.Bytes().size());
}

int main()
{
    const pcm::Module module;
    CHECK(Adopt().Frames() == 1024);
    pcm::PacketQueue queue(2);
    queue.Write(pcm::Packet(std::vector<float>(20, 0.5f), 2));
    unsigned char stream[100 * 4];
    Callback(&queue, stream, sizeof stream);
    CHECK(stream[39] == 0x40 && stream[40] == 0 && stream[399] == 0 && queue.Frames() == 0);
}
