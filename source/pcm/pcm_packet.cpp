// The packet: frames in one block, edited in place while it has one holder, else in a copy.
#include "pcm_interleave.h"
#include "pcm_object.h"
#include "pcm_packet_unfilled.h"

#include <pcm/pcm_convert.h>
#include <pcm/pcm_packet.h>
#include <pcm/pcm_samples.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <bit>
#include <utility>

using pcm::AsObj;
using pcm::Ref;

/// frames * channels * 4 fits in 64 bits; backing is a block of exactly that many bytes, null when there are no frames;
/// the object's account states the same number.
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

/// Updates the account of what the packet owns. A packet without frames may have more channels than fit in 64 bits of
/// bytes, which the account cannot take.
void Report(PCM_PACKET *pkt)
{
    pb___ObjDbgSetAllocationSizeN(AsObj(pkt), pkt->frames, pbIntMin(pkt->channels, INT64_MAX / kSample) * kSample);
}

/// The bytes of the samples fit in 64 bits. Zero frames always fit.
void CheckSize(pbInt channels, pbInt frames)
{
    if (frames == 0)
        return;
    PB_ASSERT(PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ));
    PB_ASSERT(PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) ));
}

PCM_SAMPLE *AllocFrames(pbInt channels, pbInt frames)
{
    return static_cast<PCM_SAMPLE *>(pbMemAllocN(frames, channels * kSample));
}

void CheckHandle(PCM_PACKET **pkt)
{
    PB_ASSERT(pkt);
    PB_ASSERT(*pkt);
}

} // namespace

Ref<PCM_PACKET> pcm::CreateUnfilled(pbInt channels, pbInt frames)
{
    CheckSize(channels, frames);

    auto pkt = CreateWith(channels, frames, frames ? AllocFrames(channels, frames) : nullptr);
    Report(pkt.get());
    return pkt;
}

// Making and reading packets.

PCM_PACKET *pcmPacketCreate(pbInt channels)
{
    PB_ASSERT(channels > 0);

    return CreateWith(channels, 0, nullptr).Detach();
}

PCM_PACKET *pcmPacketCreateFrom(PCM_PACKET *source)
{
    PB_ASSERT(source);

    auto pkt = pcm::CreateUnfilled(source->channels, source->frames);
    if (pkt->frames)
        pbMemCopy(pkt->backing, source->backing, pkt->frames * pkt->channels * kSample);
    return pkt.Detach();
}

PCM_PACKET *pcmPacketCreateFromSamplesUse(PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    PB_ASSERT(channels > 0);
    PB_ASSERT(frames >= 0);
    PB_ASSERT(frames == 0 || source);

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
        pkt->backing = AllocFrames(channels, frames);
        pbMemCopy(pkt->backing, source, frames * channels * kSample);
        Report(pkt.get());
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
    CheckHandle(pkt);

    pcm::MakePrivate(pkt, pcmPacketCreateFrom);
    return (*pkt)->backing;
}

void pcmPacketClear(PCM_PACKET **pkt)
{
    CheckHandle(pkt);

    if ((*pkt)->frames == 0)
        return;
    pcm::MakePrivate(pkt, [](PCM_PACKET *shared) { return pcmPacketCreate(shared->channels); });
    pbMemFree((*pkt)->backing);
    (*pkt)->frames = 0;
    (*pkt)->backing = nullptr;
    Report(*pkt);
}

// Write: replaces frames that are there. Which frames of the source are meant is a matter of arguments; what is common
// to all is that the source is taken as it was, also where it is the packet that is written to.

namespace {

PCM_SAMPLE *FrameAt(PCM_PACKET *pkt, pbInt idx)
{
    return pkt->backing + idx * pkt->channels;
}

/// Copies frames of one packet into frames of another of the same channel count, which is private.
void CopyFrames(PCM_PACKET *pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames)
{
    if (frames)
        pcm___SamplesCopy(FrameAt(pkt, idx), FrameAt(source, offset), frames * source->channels);
}

/// Copies all of a packet but a run of frames.
void CopyOuter(PCM_PACKET *pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames)
{
    CopyFrames(pkt, idx, source, 0, offset);
    CopyFrames(pkt, idx + offset, source, offset + frames, source->frames - offset - frames);
}

/// Checks that the source has these frames.
void CheckRun(PCM_PACKET *source, pbInt offset, pbInt frames)
{
    PB_ASSERT(source);
    PB_ASSERT(offset >= 0);
    PB_ASSERT(frames >= 0);
    if (frames)
        PB_ASSERT(PB_INT_ADD_OK( offset, frames ));
    PB_ASSERT(offset + frames <= source->frames);
}

/// Checks that the packet has these frames, to silence, to remove or to keep.
void CheckPart(PCM_PACKET **pkt, pbInt idx, pbInt frames)
{
    CheckHandle(pkt);
    PB_ASSERT(idx >= 0);
    PB_ASSERT(frames >= 0);
    if (frames)
        PB_ASSERT(PB_INT_ADD_OK( idx, frames ));
    PB_ASSERT(idx + frames <= (*pkt)->frames);
}

// First frames that stand for a part of the source. Each checks what it reads.
pbInt Start(PCM_PACKET *source)
{
    PB_ASSERT(source);

    return 0;
}

pbInt Tail(PCM_PACKET *source, pbInt frames)
{
    PB_ASSERT(source);
    PB_ASSERT(PB_INT_SUB_OK( source->frames, frames ));

    return source->frames - frames;
}

pbInt Length(PCM_PACKET *source)
{
    PB_ASSERT(source);

    return source->frames;
}

} // namespace

void pcmPacketWriteInner(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames)
{
    CheckHandle(pkt);
    PB_ASSERT(idx >= 0);
    CheckRun(source, offset, frames);
    if (frames)
        PB_ASSERT(PB_INT_ADD_OK( idx, frames ));
    PB_ASSERT(idx + frames <= (*pkt)->frames);
    PB_ASSERT((*pkt)->channels == source->channels);

    if (frames == 0)
        return;
    const auto kept = pcm::KeepIfSame(*pkt, source);
    pcm::MakePrivate(pkt, pcmPacketCreateFrom);
    CopyFrames(*pkt, idx, source, offset, frames);
}

void pcmPacketWriteOuter(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames)
{
    CheckHandle(pkt);
    PB_ASSERT(idx >= 0);
    CheckRun(source, offset, frames);
    if (source->frames - frames > 0)
        PB_ASSERT(PB_INT_ADD_OK( idx, source->frames - frames ));
    PB_ASSERT(idx + (source->frames - frames) <= (*pkt)->frames);
    PB_ASSERT((*pkt)->channels == source->channels);

    if (source->frames == frames)
        return;
    const auto kept = pcm::KeepIfSame(*pkt, source);
    pcm::MakePrivate(pkt, pcmPacketCreateFrom);
    CopyOuter(*pkt, idx, source, offset, frames);
}

void pcmPacketWriteZero(PCM_PACKET **pkt, pbInt idx, pbInt frames)
{
    CheckPart(pkt, idx, frames);

    if (frames == 0)
        return;
    pcm::MakePrivate(pkt, pcmPacketCreateFrom);
    pcm___SamplesZero(FrameAt(*pkt, idx), frames * (*pkt)->channels);
}

// clang-format off
void pcmPacketWrite(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source)
{ pcmPacketWriteInner(pkt, idx, source, 0, Length(source)); }
void pcmPacketWriteLeading(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt frames)
{ pcmPacketWriteInner(pkt, idx, source, 0, frames); }
void pcmPacketWriteTrailing(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt frames)
{ pcmPacketWriteInner(pkt, idx, source, Tail(source, frames), frames); }
// clang-format on

// Insert: opens a gap and fills it as a write does. Everything is checked before the gap opens, so that no block is
// resized for a call that fails; where none opens it is a write of no frames, with its checks.

namespace {

/// Changes a packet's block and frame count together, and updates its account.
void Resize(PCM_PACKET *pkt, pbInt frames)
{
    pkt->backing = static_cast<PCM_SAMPLE *>(pbMemReallocN(pkt->backing, frames, pkt->channels * kSample));
    pkt->frames = frames;
    Report(pkt);
}

/// Moves frames within a private packet.
void MoveFrames(PCM_PACKET *pkt, pbInt idx, pbInt from, pbInt frames)
{
    if (frames)
        pcm___SamplesMove(FrameAt(pkt, idx), FrameAt(pkt, from), frames * pkt->channels);
}

/// Checks that a gap of `frames` may open at idx.
void CheckGap(PCM_PACKET **pkt, pbInt idx, pbInt frames)
{
    PB_ASSERT(*pkt);
    PB_ASSERT(idx >= 0);
    PB_ASSERT(frames >= 0);
    if (frames == 0)
        return;
    PB_ASSERT(PB_INT_ADD_OK( idx, frames ));
    PB_ASSERT(PB_INT_ADD_OK( (*pkt)->frames, frames ));
    pcmPacketWriteZero(pkt, idx, 0); // an empty write is allowed exactly where a gap may open
}

/// Makes room for more frames at idx in a private packet; the caller fills it.
void OpenGap(PCM_PACKET **pkt, pbInt idx, pbInt gap)
{
    const pbInt channels = (*pkt)->channels, frames = (*pkt)->frames + gap, behind = (*pkt)->frames - idx;
    if (!pcm::IsShared(AsObj(*pkt))) {
        CheckSize(channels, frames);
        Resize(*pkt, frames);
        MoveFrames(*pkt, idx + gap, idx, behind);
        return;
    }
    auto longer = pcm::CreateUnfilled(channels, frames);
    CopyFrames(longer.get(), 0, *pkt, 0, idx);
    CopyFrames(longer.get(), idx + gap, *pkt, idx, behind);
    pcm::Replace(pkt, std::move(longer));
}

/// The place behind the last frame.
pbInt End(PCM_PACKET **pkt)
{
    CheckHandle(pkt);

    return (*pkt)->frames;
}

} // namespace

void pcmPacketInsertInner(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames)
{
    PB_ASSERT(pkt);
    CheckGap(pkt, idx, frames);
    if (frames == 0)
        return pcmPacketWriteInner(pkt, idx, source, offset, 0);
    CheckRun(source, offset, frames);
    PB_ASSERT((*pkt)->channels == source->channels);

    const auto kept = pcm::KeepIfSame(*pkt, source);
    OpenGap(pkt, idx, frames);
    CopyFrames(*pkt, idx, source, offset, frames);
}

void pcmPacketInsertOuter(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames)
{
    PB_ASSERT(pkt);
    const pbInt gap = Tail(source, frames);
    CheckGap(pkt, idx, gap);
    if (gap == 0)
        return pcmPacketWriteOuter(pkt, idx, source, offset, frames);
    CheckRun(source, offset, frames);
    PB_ASSERT((*pkt)->channels == source->channels);

    const auto kept = pcm::KeepIfSame(*pkt, source);
    OpenGap(pkt, idx, gap);
    CopyOuter(*pkt, idx, source, offset, frames);
}

void pcmPacketInsertZero(PCM_PACKET **pkt, pbInt idx, pbInt frames)
{
    PB_ASSERT(pkt);
    CheckGap(pkt, idx, frames);
    if (frames == 0)
        return pcmPacketWriteZero(pkt, idx, 0);

    OpenGap(pkt, idx, frames);
    pcm___SamplesZero(FrameAt(*pkt, idx), frames * (*pkt)->channels);
}

// clang-format off
void pcmPacketInsert(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source)
{ pcmPacketInsertInner(pkt, idx, source, 0, Length(source)); }
void pcmPacketInsertLeading(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt frames)
{ pcmPacketInsertInner(pkt, idx, source, Start(source), frames); }
void pcmPacketInsertTrailing(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt frames)
{ pcmPacketInsertInner(pkt, idx, source, Tail(source, frames), frames); }

void pcmPacketPrepend(PCM_PACKET **pkt, PCM_PACKET *source)
{ pcmPacketInsert(pkt, 0, source); }
void pcmPacketPrependInner(PCM_PACKET **pkt, PCM_PACKET *source, pbInt offset, pbInt frames)
{ pcmPacketInsertInner(pkt, 0, source, offset, frames); }
void pcmPacketPrependOuter(PCM_PACKET **pkt, PCM_PACKET *source, pbInt offset, pbInt frames)
{ pcmPacketInsertOuter(pkt, 0, source, offset, frames); }
void pcmPacketPrependLeading(PCM_PACKET **pkt, PCM_PACKET *source, pbInt frames)
{ pcmPacketInsertLeading(pkt, 0, source, frames); }
void pcmPacketPrependTrailing(PCM_PACKET **pkt, PCM_PACKET *source, pbInt frames)
{ pcmPacketInsertTrailing(pkt, 0, source, frames); }
void pcmPacketPrependZero(PCM_PACKET **pkt, pbInt frames)
{ pcmPacketInsertZero(pkt, 0, frames); }

void pcmPacketAppend(PCM_PACKET **pkt, PCM_PACKET *source)
{ pcmPacketInsert(pkt, End(pkt), source); }
void pcmPacketAppendInner(PCM_PACKET **pkt, PCM_PACKET *source, pbInt offset, pbInt frames)
{ pcmPacketInsertInner(pkt, End(pkt), source, offset, frames); }
void pcmPacketAppendOuter(PCM_PACKET **pkt, PCM_PACKET *source, pbInt offset, pbInt frames)
{ pcmPacketInsertOuter(pkt, End(pkt), source, offset, frames); }
void pcmPacketAppendLeading(PCM_PACKET **pkt, PCM_PACKET *source, pbInt frames)
{ pcmPacketInsertLeading(pkt, End(pkt), source, frames); }
void pcmPacketAppendTrailing(PCM_PACKET **pkt, PCM_PACKET *source, pbInt frames)
{ pcmPacketInsertTrailing(pkt, End(pkt), source, frames); }
void pcmPacketAppendZero(PCM_PACKET **pkt, pbInt frames)
{ pcmPacketInsertZero(pkt, End(pkt), frames); }
// clang-format on

// Delete: closes up in place, moving before the block shrinks; what remains of a shared packet is appended to a new
// one.

namespace {

/// Puts a part of a shared packet into the handle, as a packet of its own.
template <class Append> void ReplaceByPart(PCM_PACKET **pkt, pbInt idx, pbInt frames, Append append)
{
    auto part = Ref<PCM_PACKET>::Adopt(pcmPacketCreate((*pkt)->channels));
    append(part.Handle(), *pkt, idx, frames);
    pcm::Replace(pkt, std::move(part));
}

} // namespace

void pcmPacketDelInner(PCM_PACKET **pkt, pbInt idx, pbInt frames)
{
    CheckPart(pkt, idx, frames);

    if (frames == 0)
        return;
    if (frames == (*pkt)->frames)
        return pcmPacketClear(pkt);
    if (pcm::IsShared(AsObj(*pkt)))
        return ReplaceByPart(pkt, idx, frames, pcmPacketAppendOuter);
    const pbInt left = (*pkt)->frames - frames;
    MoveFrames(*pkt, idx, idx + frames, left - idx);
    Resize(*pkt, left);
}

void pcmPacketDelOuter(PCM_PACKET **pkt, pbInt idx, pbInt frames)
{
    CheckPart(pkt, idx, frames);

    if (frames == 0)
        return pcmPacketClear(pkt);
    if (frames == (*pkt)->frames)
        return;
    if (pcm::IsShared(AsObj(*pkt)))
        return ReplaceByPart(pkt, idx, frames, pcmPacketAppendInner);
    MoveFrames(*pkt, 0, idx, frames);
    Resize(*pkt, frames);
}

void pcmPacketDelLeading(PCM_PACKET **pkt, pbInt frames)
{
    pcmPacketDelInner(pkt, 0, frames);
}

void pcmPacketDelTrailing(PCM_PACKET **pkt, pbInt frames)
{
    CheckHandle(pkt);
    PB_ASSERT(PB_INT_SUB_OK( (*pkt)->frames, frames ));

    pcmPacketDelInner(pkt, (*pkt)->frames - frames, frames);
}

void pcmPacketSetFrames(PCM_PACKET **pkt, pbInt frames)
{
    CheckHandle(pkt);
    PB_ASSERT(frames >= 0);

    if (frames < (*pkt)->frames)
        pcmPacketDelOuter(pkt, 0, frames); // clears for 0
    else
        pcmPacketAppendZero(pkt, frames - (*pkt)->frames); // nothing for 0
}

// Channel layout: frames of more or fewer channels are built in a new block; a rectangle of channels x frames is
// written where it belongs.

namespace {

pbInt HighestChannel(pbInt channelMask)
{
    return 63 - std::countl_zero(static_cast<uint64_t>(channelMask));
}

} // namespace

void pcmPacketSetChannels(PCM_PACKET **pkt, pbInt channels)
{
    CheckHandle(pkt);
    PB_ASSERT(channels > 0);
    PB_ASSERT(PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ));

    const pbInt frames = (*pkt)->frames;
    if (channels == (*pkt)->channels)
        return;
    CheckSize(channels, frames);

    PCM_SAMPLE *backing = nullptr;
    if (frames) {
        backing = AllocFrames(channels, frames);
        pcm::MakeFrames(backing, {.width = channels, .kept = pbIntMin(channels, (*pkt)->channels)}, (*pkt)->backing,
                        (*pkt)->channels, frames);
    }
    pcm::MakePrivate(pkt, [channels](PCM_PACKET *) { return pcmPacketCreate(channels); });
    pbMemFree((*pkt)->backing);
    (*pkt)->channels = channels;
    (*pkt)->frames = frames;
    (*pkt)->backing = backing;
    Report(*pkt);
}

PCM_PACKET *pcmPacketCreateFromWithChannels(PCM_PACKET *source, pbInt channels)
{
    PB_ASSERT(source);
    PB_ASSERT(channels > 0);

    if (channels == source->channels)
        return Ref<PCM_PACKET>::Share(source).Detach();
    auto pkt = pcm::CreateUnfilled(channels, source->frames);
    pcm::MakeFrames(pkt->backing, {.width = channels, .rest = pcm::FrameShape::kSum}, source->backing, source->channels,
                    source->frames);
    return pkt.Detach();
}

PCM_PACKET *pcmPacketCreateFromWithChannelMask(PCM_PACKET *source, pbInt channelMask)
{
    PB_ASSERT(source);
    PB_ASSERT(channelMask);
    PB_ASSERT(HighestChannel(channelMask) < source->channels);

    const pbInt channels = pbIntBitCount(channelMask);
    if (channels == source->channels)
        return Ref<PCM_PACKET>::Share(source).Detach();
    auto pkt = pcm::CreateUnfilled(channels, source->frames);
    pcm::MakeFrames(pkt->backing, {.width = channels, .kept = channels, .mask = static_cast<uint64_t>(channelMask)},
                    source->backing, source->channels, source->frames);
    return pkt.Detach();
}

void pcmPacketWriteChannelsSamples(PCM_PACKET **pkt, pbInt destChannelOffset, pbInt destFrameOffset,
                                   const PCM_SAMPLE *source, pbInt sourceChannelOffset, pbInt sourceChannelCount,
                                   pbInt sourceFrameOffset, pbInt channels, pbInt frames)
{
    CheckHandle(pkt);
    PB_ASSERT(destChannelOffset >= 0);
    if (channels > 0)
        PB_ASSERT(PB_INT_ADD_OK( destChannelOffset, channels ));
    PB_ASSERT(destChannelOffset + channels <= (*pkt)->channels);
    PB_ASSERT(destFrameOffset >= 0);
    if (frames > 0)
        PB_ASSERT(PB_INT_ADD_OK( destFrameOffset, frames ));
    PB_ASSERT(destFrameOffset + frames <= (*pkt)->frames);
    PB_ASSERT(source || !frames);
    PB_ASSERT(sourceChannelOffset >= 0);
    if (channels > 0)
        PB_ASSERT(PB_INT_ADD_OK( sourceChannelOffset, channels ));
    PB_ASSERT(sourceChannelOffset + channels <= sourceChannelCount);
    PB_ASSERT(sourceFrameOffset >= 0);
    if (frames > 0)
        PB_ASSERT(PB_INT_ADD_OK( sourceFrameOffset, frames ));
    PB_ASSERT(channels >= 0);
    PB_ASSERT(frames >= 0);
    const bool empty = channels == 0 || frames == 0;
    if (!empty) { // where the rectangle ends in the array
        const pbInt lastFrame = sourceFrameOffset + frames - 1, end = sourceChannelOffset + channels;
        PB_ASSERT(PB_INT_MUL_OK( lastFrame, sourceChannelCount ));
        PB_ASSERT(PB_INT_ADD_OK( lastFrame * sourceChannelCount, end ));
        PB_ASSERT(PB_INT_MUL_OK( lastFrame * sourceChannelCount + end, PB_SIZEOF( PCM_SAMPLE ) ));
    }

    const auto kept = pcm::MakePrivate(pkt, pcmPacketCreateFrom); // the source may lie in it
    if (empty)
        return;
    const pbInt destChannels = (*pkt)->channels;
    PCM_SAMPLE *const dest = FrameAt(*pkt, destFrameOffset) + destChannelOffset;
    source += sourceFrameOffset * sourceChannelCount + sourceChannelOffset;
    // From the first sample of the rectangle to its last.
    const pbInt destSamples = (frames - 1) * destChannels + channels;
    const pbInt sourceSamples = (frames - 1) * sourceChannelCount + channels;
    if (pcm::Apart(dest, destSamples, source, sourceSamples))
        return pcm::MakeFrames(dest, {.width = destChannels, .kept = channels, .rest = pcm::FrameShape::kUnchanged},
                               source, sourceChannelCount, frames);
    for (pbInt c = 0; c < channels; ++c)
        pcm___SamplesChannelCopy(dest, c, destChannels, source, c, sourceChannelCount, frames);
}

void pcmPacketWriteChannels(PCM_PACKET **pkt, pbInt destChannelOffset, pbInt destFrameOffset, PCM_PACKET *source,
                            pbInt sourceChannelOffset, pbInt sourceFrameOffset, pbInt channels, pbInt frames)
{
    PB_ASSERT(pkt);
    PB_ASSERT(source);
    PB_ASSERT(PB_INT_ADD_OK( sourceFrameOffset, frames ));
    PB_ASSERT(sourceFrameOffset + frames <= source->frames);

    const auto kept = pcm::KeepIfSame(*pkt, source);
    pcmPacketWriteChannelsSamples(pkt, destChannelOffset, destFrameOffset, source->backing, sourceChannelOffset,
                                  source->channels, sourceFrameOffset, channels, frames);
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
