// The packet: frames in one block, edited in place while nobody else looks, else in a copy.
#include "pcm_object.h"

#include <pcm/pcm_convert.h>
#include <pcm/pcm_packet.h>
#include <pcm/pcm_samples.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

using pcm::AsObj;
using pcm::Ref;

/// frames * channels * 4 fits in 64 bits; backing is a block of exactly so many bytes, null when there are no frames;
/// the object's account says the same.
struct PCM_PACKET {
    PB_OBJ obj;
    pbInt channels; ///< at least 1
    pbInt frames;
    PCM_SAMPLE *backing; ///< owned, interleaved
};

static constinit PB_SORT pcm___sort_PCM_PACKET = pcm::Sort("PCM_PACKET", pcm___PacketFreeFunc);

PCM_DEFINE_SORT(pcmPacket, PCM_PACKET)

void pcm___PacketFreeFunc(PB_OBJ *obj)
{
    PCM_PACKET *pkt = pcmPacketFrom(obj);
    PB_ASSERT(pkt);

    pbMemFree(pkt->backing);
    pb___ObjDbgSetAllocationSize(obj, 0);
}

namespace {

constexpr pbInt kSample = PB_SIZEOF(PCM_SAMPLE);

/// A packet of the given fields, which the caller has checked; it owns the block.
Ref<PCM_PACKET> CreateWith(pbInt channels, pbInt frames, PCM_SAMPLE *backing)
{
    auto pkt = pcm::CreateObject<PCM_PACKET>(pcm___sort_PCM_PACKET);
    pkt->channels = channels;
    pkt->frames = frames;
    pkt->backing = backing;
    return pkt;
}

/// Tells the account how much the packet owns now. Without frames the size of a frame, which may not fit, is not asked.
void Report(PCM_PACKET *pkt)
{
    pb___ObjDbgSetAllocationSizeN(AsObj(pkt), pkt->frames, pkt->frames ? pkt->channels * kSample : kSample);
}

/// No more samples than 64 bits can count the bytes of.
void CheckSize(pbInt channels, pbInt frames)
{
    PB_ASSERT(PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ));
    PB_ASSERT(PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) ));
}

/// Gives a packet that has frames but no block yet a copy of so many samples.
void FillWithCopy(PCM_PACKET *pkt, const PCM_SAMPLE *source)
{
    const pbInt bytes = pkt->channels * pkt->frames * kSample;
    pkt->backing = static_cast<PCM_SAMPLE *>(pbMemAlloc(bytes));
    pbMemCopy(pkt->backing, source, bytes);
    pb___ObjDbgSetAllocationSize(AsObj(pkt), bytes);
}

} // namespace

// Making and reading packets.

PCM_PACKET *pcmPacketCreate(pbInt channels)
{
    PB_ASSERT(channels > 0);

    return CreateWith(channels, 0, nullptr).Detach();
}

PCM_PACKET *pcmPacketCreateFrom(PCM_PACKET *source)
{
    PB_ASSERT(source);

    auto pkt = CreateWith(source->channels, source->frames, nullptr);
    if (pkt->frames)
        FillWithCopy(pkt.get(), source->backing);
    return pkt.Detach();
}

PCM_PACKET *pcmPacketCreateFromSamplesUse(PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    PB_ASSERT(channels > 0);
    PB_ASSERT(frames >= 0);
    PB_ASSERT(frames == 0 || source);
    if (frames)
        CheckSize(channels, frames);

    if (frames == 0) {
        pbMemFree(source);
        source = nullptr;
    }
    auto pkt = CreateWith(channels, frames, source);
    Report(pkt.get());
    return pkt.Detach();
}

PCM_PACKET *pcmPacketCreateFromSamplesCopy(const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    PB_ASSERT(channels > 0);
    PB_ASSERT(frames >= 0);
    PB_ASSERT(frames == 0 || source);
    PB_ASSERT(PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ));

    auto pkt = CreateWith(channels, frames, nullptr);
    if (frames) {
        PB_ASSERT(PB_INT_MUL_OK( pkt->frames, pkt->channels * PB_SIZEOF( PCM_SAMPLE ) ));
        FillWithCopy(pkt.get(), source);
    }
    return pkt.Detach();
}

pbInt pcmPacketChannels(PCM_PACKET *pkt)
{
    PB_ASSERT(pkt);

    return pkt->channels;
}

pbInt pcmPacketFrames(PCM_PACKET *pkt)
{
    PB_ASSERT(pkt);

    return pkt->frames;
}

const PCM_SAMPLE *pcmPacketBacking(PCM_PACKET *pkt)
{
    PB_ASSERT(pkt);

    return pkt->backing;
}

// Changing the whole packet.

PCM_SAMPLE *pcmPacketMutableBacking(PCM_PACKET **pkt)
{
    PB_ASSERT(pkt);
    PB_ASSERT(*pkt);

    pcm::MakePrivate(pkt, pcmPacketCreateFrom);
    return (*pkt)->backing;
}

void pcmPacketClear(PCM_PACKET **pkt)
{
    PB_ASSERT(pkt);
    PB_ASSERT(*pkt);

    if ((*pkt)->frames == 0)
        return;
    pcm::MakePrivate(pkt, [](PCM_PACKET *shared) { return pcmPacketCreate(shared->channels); });
    pbMemFree((*pkt)->backing);
    (*pkt)->frames = 0;
    (*pkt)->backing = nullptr;
    Report(*pkt);
}

// Bytes in and out: the frames of a buffer are one run of samples for the conversion.

PCM_PACKET *pcmPacketTryDecode(PB_BUFFER *source, PCM_ENCODING encoding, pbInt channels)
{
    PB_ASSERT(source);
    PB_ASSERT(channels > 0);

    const pbInt frameSize = pcmEncodingSizeofFrame(encoding, channels);
    const pbInt length = pbBufferLength(source);
    const pbInt frames = length / frameSize;
    if (length % frameSize)
        return nullptr;
    if (frames == 0)
        return pcmPacketCreateFromSamplesUse(nullptr, channels, 0);

    auto *samples = static_cast<PCM_SAMPLE *>(pbMemAllocN(frames, pcmEncodingSizeofFrame(0, channels)));
    pcm___Convert(samples, 0, pbBufferBacking(source), encoding, channels * frames);
    return pcmPacketCreateFromSamplesUse(samples, channels, frames);
}

PB_BUFFER *pcmPacketEncode(PCM_PACKET *pkt, PCM_ENCODING encoding)
{
    PB_ASSERT(pkt);
    const pbInt length = pcmEncodingSizeofFrame(encoding, pkt->channels);
    PB_ASSERT(PB_INT_MUL_OK( length, pkt->frames ));

    const pbInt size = length * pkt->frames;
    void *bytes = pbMemAlloc(size);
    pcm___Convert(bytes, encoding, pkt->backing, 0, pkt->frames * pkt->channels);
    return pbBufferCreateFromBytesUse(bytes, size);
}
