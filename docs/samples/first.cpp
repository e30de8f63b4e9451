// A dial tone, 6 dB softer, as the bytes that a telephone line carries.
#include <pcm/pcm.hpp>

#include <cstdio>

int main()
{
    const pcm::Module module;    // starts the library, and stops it at the end
    pcm::Tone low(20), high(18); // periods in frames: 400 and 444 Hz at 8000 frames per second
    pcm::Packet pkt = pcm::DualToneGather(low, high, 160); // 20 ms
    const pcm::Packet before = pkt;                        // shared: no sample is copied
    pkt.LevelAdjust(-6.0);                                 // pkt gets its own copy; before keeps its samples
    const pcm::Buffer bytes = pkt.Encode(PCM_ENCODING_G711_MULAW);
    std::printf("%lld frames are %lld bytes\n", static_cast<long long>(before.Frames()),
                static_cast<long long>(bytes.Length()));
}
