// Makes a tone, and a softer copy of it that leaves the first as it is.
#include <pcm/pcm.hpp>

#include <algorithm>

int main()
{
    {
        const pcm::Module module;
        pcm::Tone tone(8);
        const pcm::Packet loud = tone.Gather(160);
        pcm::Packet soft = loud;
        soft.LevelAdjust(-20.0);

        const auto peak = [](const pcm::Packet &packet) { return std::ranges::max(packet.Samples()); };
        if (loud.Frames() != 160 || peak(loud) < 0.5f || peak(soft) > 0.15f * peak(loud) || peak(soft) <= 0.0f)
            return 1;
        if (soft.Encode(PCM_ENCODING_G711_ALAW).Length() != 160)
            return 2;
    }
    return pb___ObjDbgObjects() == 0 && pb___MemDbgBlocks() == 0 ? 0 : 3;
}
