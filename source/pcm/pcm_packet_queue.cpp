// The packet queue: references to whole packets in a vector, and in front of them the one packet that a read by the
// frame has begun.
#include "pcm_object.h"

#include <pcm/pcm_packet_queue.h>
#include <pcm/pcm_samples.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>
#include <pb/pb_vector.h>

#include <algorithm>
#include <utility>

using pcm::Ref;

/// frames is what the packets hold minus currentPacketUsed. Between operations there is a current packet exactly while
/// currentPacketUsed is above 0, and it is less than that packet's frames.
struct PCM_PACKET_QUEUE {
    PB_OBJ obj;
    pbInt channels;            ///< of every packet; at least 1
    PB_VECTOR *packetsVector;  ///< owned; packets of which nothing is read yet, oldest first
    PCM_PACKET *currentPacket; ///< owned; the one being read, no longer in the vector; or null
    pbInt currentPacketUsed;   ///< its leading frames that are read
    pbInt frames;              ///< still to be read
};

static constinit PB_SORT pcm___sort_PCM_PACKET_QUEUE = pcm::Sort("PCM_PACKET_QUEUE", pcm___PacketQueueFreeFunc);

PCM_DEFINE_SORT(pcmPacketQueue, PCM_PACKET_QUEUE)

void pcm___PacketQueueFreeFunc(PB_OBJ *obj)
{
    PCM_PACKET_QUEUE *queue = pcmPacketQueueFrom(obj);
    PB_ASSERT(queue);

    pcm::ReleaseAndMark(&queue->packetsVector);
    pcm::ReleaseAndMark(&queue->currentPacket);
}

namespace {

/// Makes the oldest packet the current one unless there is one.
void BeginPacket(PCM_PACKET_QUEUE **queue)
{
    if ((*queue)->currentPacket)
        return;
    PB_ASSERT(!(*queue)->currentPacketUsed);

    (*queue)->currentPacket = pcmPacketFrom(pbVectorUnshift(&(*queue)->packetsVector));
}

/// Frames of the current packet that are still to be read.
pbInt Rest(PCM_PACKET_QUEUE *queue)
{
    return pcmPacketFrames(queue->currentPacket) - queue->currentPacketUsed;
}

/// The current packet leaves the queue.
Ref<PCM_PACKET> EndPacket(PCM_PACKET_QUEUE *queue)
{
    queue->currentPacketUsed = 0;
    return Ref<PCM_PACKET>::Adopt(std::exchange(queue->currentPacket, nullptr));
}

/// Takes the rest of the current packet. Samples are copied only where the packet is shared and was read in part.
PCM_PACKET *TakePacket(PCM_PACKET_QUEUE *queue)
{
    pcmPacketDelLeading(&queue->currentPacket, queue->currentPacketUsed);
    auto pkt = EndPacket(queue);
    queue->frames -= pcmPacketFrames(pkt.get());
    return pkt.Detach();
}

using Lay = void (*)(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples);

/// Lays `frames` down at dest, straight from the packets; the queue is private and has them.
template <Lay lay> void Take(PCM_PACKET_QUEUE **queue, PCM_SAMPLE *dest, pbInt frames)
{
    (*queue)->frames -= frames;
    while (frames) {
        BeginPacket(queue);
        const pbInt rest = Rest(*queue), n = std::min(rest, frames);
        if (n) { // a packet without frames has no samples to point at
            const PCM_SAMPLE *source = pcmPacketBacking((*queue)->currentPacket);
            const pbInt channels = (*queue)->channels;
            lay(dest, source + (*queue)->currentPacketUsed * channels, n * channels);
            (*queue)->currentPacketUsed += n;
            dest += n * channels;
            frames -= n;
        }
        if (n == rest)
            EndPacket(*queue);
    }
}

} // namespace

// Making queues.

PCM_PACKET_QUEUE *pcmPacketQueueCreate(pbInt channels)
{
    PB_ASSERT(channels > 0);

    auto queue = pcm::CreateObject<PCM_PACKET_QUEUE>(pcm___sort_PCM_PACKET_QUEUE);
    queue->channels = channels;
    queue->packetsVector = pbVectorCreate();
    return queue.Detach();
}

PCM_PACKET_QUEUE *pcmPacketQueueCreateFrom(PCM_PACKET_QUEUE *source)
{
    PB_ASSERT(source);

    auto queue = pcm::CreateObject<PCM_PACKET_QUEUE>(pcm___sort_PCM_PACKET_QUEUE);
    queue->channels = source->channels;
    queue->packetsVector = Ref<PB_VECTOR>::Share(source->packetsVector).Detach();
    queue->currentPacket = Ref<PCM_PACKET>::Share(source->currentPacket).Detach();
    queue->currentPacketUsed = source->currentPacketUsed;
    queue->frames = source->frames;
    return queue.Detach();
}

// Asking.

pbInt pcmPacketQueueChannels(PCM_PACKET_QUEUE *queue)
{
    PB_ASSERT(queue);

    return queue->channels;
}

pbInt pcmPacketQueuePackets(PCM_PACKET_QUEUE *queue)
{
    PB_ASSERT(queue);

    return pbVectorLength(queue->packetsVector) + !!queue->currentPacket;
}

pbInt pcmPacketQueueFrames(PCM_PACKET_QUEUE *queue)
{
    PB_ASSERT(queue);

    return queue->frames;
}

// Writing and reading.

void pcmPacketQueueClear(PCM_PACKET_QUEUE **queue)
{
    PB_ASSERT(queue);
    PB_ASSERT(*queue);

    pcm::MakePrivate(queue, pcmPacketQueueCreateFrom);
    pbVectorClear(&(*queue)->packetsVector);
    EndPacket(*queue);
    (*queue)->frames = 0;
}

void pcmPacketQueueWrite(PCM_PACKET_QUEUE **queue, PCM_PACKET *pkt)
{
    PB_ASSERT(queue);
    PB_ASSERT(*queue);
    PB_ASSERT(PB_INT_ADD_OK( pbVectorLength( (*queue)->packetsVector ) + !!(*queue)->currentPacket, 1 ));
    PB_ASSERT(pkt);
    PB_ASSERT(pcmPacketChannels( pkt ) == (*queue)->channels);
    const pbInt length = pcmPacketFrames(pkt);
    PB_ASSERT(PB_INT_ADD_OK( (*queue)->frames, length ));

    pcm::MakePrivate(queue, pcmPacketQueueCreateFrom);
    pbVectorAppendObj(&(*queue)->packetsVector, pcmPacketObj(pkt));
    (*queue)->frames += length;
}

PCM_PACKET *pcmPacketQueueRead(PCM_PACKET_QUEUE **queue)
{
    PB_ASSERT(queue);
    PB_ASSERT(*queue);
    PB_ASSERT(pcmPacketQueuePackets( *queue ) > 0);

    pcm::MakePrivate(queue, pcmPacketQueueCreateFrom);
    BeginPacket(queue);
    return TakePacket(*queue);
}

PCM_PACKET *pcmPacketQueueGather(PCM_PACKET_QUEUE **queue, pbInt frames)
{
    PB_ASSERT(queue);
    PB_ASSERT(*queue);
    PB_ASSERT(frames > 0);
    PB_ASSERT(frames <= (*queue)->frames);
    const pbInt channels = (*queue)->channels; // the bytes of a frame fit: some queued packet has one
    PB_ASSERT(PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) ));

    pcm::MakePrivate(queue, pcmPacketQueueCreateFrom);
    BeginPacket(queue);
    if (Rest(*queue) == frames)
        return TakePacket(*queue);
    auto *samples = static_cast<PCM_SAMPLE *>(pbMemAllocN(frames, channels * PB_SIZEOF(PCM_SAMPLE)));
    Take<pcm___SamplesCopy>(queue, samples, frames);
    return pcmPacketCreateFromSamplesUse(samples, channels, frames);
}

void pcmPacketQueueGatherSamples(PCM_PACKET_QUEUE **queue, PCM_SAMPLE *dest, pbInt frames)
{
    PB_ASSERT(queue);
    PB_ASSERT(*queue);
    PB_ASSERT(frames >= 0);
    PB_ASSERT(frames == 0 || dest);
    PB_ASSERT((*queue)->frames >= frames);

    pcm::MakePrivate(queue, pcmPacketQueueCreateFrom);
    Take<pcm___SamplesCopy>(queue, dest, frames);
}

void pcmPacketQueueGatherSamplesAdd(PCM_PACKET_QUEUE **queue, PCM_SAMPLE *dest, pbInt frames)
{
    PB_ASSERT(queue);
    PB_ASSERT(*queue);
    PB_ASSERT(frames > 0);
    PB_ASSERT(frames == 0 || dest);
    PB_ASSERT((*queue)->frames >= frames);

    pcm::MakePrivate(queue, pcmPacketQueueCreateFrom);
    Take<pcm___SamplesAdd>(queue, dest, frames);
}
