/**
   @file
   Packet queues: first in, first out, written by the packet and read by the packet or by the frame.

   All packets of a queue have its channel count. A queue keeps references to the packets it is given and never copies
   their samples on writing; other holders of a packet may change it through their own handles without effect on what is
   queued. A read by the frame may end inside a packet: the queue keeps that packet, which still counts as one,
   and the next read goes on in it.

   @since 1.0
*/
#ifndef PCM_PACKET_QUEUE_H
#define PCM_PACKET_QUEUE_H

#include <pcm/pcm_base.h>
#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/** A first-in, first-out store of packets of one channel count. */
typedef struct PCM_PACKET_QUEUE PCM_PACKET_QUEUE;

/** @name Standard functions of the sort
    @{ */
PCM_DECLARE_SORT(pcmPacketQueue, PCM_PACKET_QUEUE)
/** @} */

/** @name Making queues
    The caller owns the new queue.
    @{ */
/** Makes a queue without packets, for packets of the number of channels given. Ends the process when channels is
 * below 1. */
PCM_API PCM_PACKET_QUEUE *pcmPacketQueueCreate(pbInt channels);

/**
   Makes a queue that holds the same packets as source, read equally far. No sample is copied, and reading or writing
   one of the two leaves the other as it is. Ends the process when source is null.
*/
PCM_API PCM_PACKET_QUEUE *pcmPacketQueueCreateFrom(PCM_PACKET_QUEUE *source);
/** @} */

/** @name Reading the state of a queue
    The parameter queue is only read. All end the process when it is null.
    @{ */
/** Returns the channel count of every queued packet. */
PCM_API pbInt pcmPacketQueueChannels(PCM_PACKET_QUEUE *queue);
/** Returns the number of queued packets, one that is read in part and packets without frames included. */
PCM_API pbInt pcmPacketQueuePackets(PCM_PACKET_QUEUE *queue);
/** Returns the number of frames that are still to be read. */
PCM_API pbInt pcmPacketQueueFrames(PCM_PACKET_QUEUE *queue);
/** @} */

/** @name Writing and reading
    The parameter queue is an in-out handle: a shared queue is first replaced there by a copy, which shares the packets,
    also when there is nothing to write or read. All end the process when queue or *queue is null.
    @{ */

/** Removes all packets; the channel count stays. */
PCM_API void pcmPacketQueueClear(PCM_PACKET_QUEUE **queue);

/**
   Puts a packet at the end of the queue, also one without frames.

   @param queue  in-out handle
   @param pkt    a packet of the queue's channel count; the queue takes a reference of its own

   Ends the process when pkt is null or of another channel count, or a count no longer fits in 64 bits.
*/
PCM_API void pcmPacketQueueWrite(PCM_PACKET_QUEUE **queue, PCM_PACKET *pkt);

/**
   Takes the next packet: the same object that was written, or what is left of one that was read in part.

   @param queue  in-out handle
   @return the packet, owned by the caller; it may have no frames

   Samples move only where a packet was read in part, and are copied only if somebody else holds that packet too.
   Ends the process when the queue holds no packet.
*/
PCM_API PCM_PACKET *pcmPacketQueueRead(PCM_PACKET_QUEUE **queue);

/**
   Takes frames as one packet.

   @param queue   in-out handle
   @param frames  at least 1, at most pcmPacketQueueFrames
   @return a packet of these frames, owned by the caller: the next packet itself, as pcmPacketQueueRead returns it, when
   it has exactly this many left; otherwise a new one, whose samples are copied once

   Ends the process when frames is out of range.
*/
PCM_API PCM_PACKET *pcmPacketQueueGather(PCM_PACKET_QUEUE **queue, pbInt frames);

/**
   Takes frames and copies them into an array.

   @param queue   in-out handle
   @param dest    receives frames x channels samples, interleaved; may be null when frames is 0
   @param frames  at least 0, at most pcmPacketQueueFrames

   Ends the process when dest is null with frames above 0 or frames is out of range.
*/
PCM_API void pcmPacketQueueGatherSamples(PCM_PACKET_QUEUE **queue, PCM_SAMPLE *dest, pbInt frames);

/**
   Takes frames and adds them to what an array holds, in single precision, without clamping.

   @param queue   in-out handle
   @param dest    frames x channels samples, interleaved
   @param frames  at least 1, at most pcmPacketQueueFrames

   Ends the process when dest is null with frames above 0 or frames is out of range.
*/
PCM_API void pcmPacketQueueGatherSamplesAdd(PCM_PACKET_QUEUE **queue, PCM_SAMPLE *dest, pbInt frames);
/** @} */

/** @name For the product's own modules
    @{ */
/** Gives up what the object obj owns: the sort's free function, for the runtime alone. */
PCM_API void pcm___PacketQueueFreeFunc(PB_OBJ *obj);
/** @} */

PCM_EXTERN_C_END

#endif
