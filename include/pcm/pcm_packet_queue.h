/**
   @file
   Packet queues: first in, first out, written by the packet and read by the packet or by the frame.

   All packets of a queue have its channel count. A queue keeps references to the packets it is given and never copies
   their samples on writing; whoever else holds such a packet may change it through a handle of his own without touching
   what is queued. A read by the frame may end inside a packet: the queue keeps that packet, which still counts as one,
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
/** A standard function of the sort; PCM_DECLARE_SORT in pcm_base.h tells what each does. */
PCM_DECLARE_SORT(pcmPacketQueue, PCM_PACKET_QUEUE)
/** @} */

/** The sort's free function, for the runtime alone. */
PCM_API void pcm___PacketQueueFreeFunc(PB_OBJ *obj);

/* Making queues. The caller owns the new queue. */

/** @return a new queue without packets, for packets of so many channels (at least 1). */
PCM_API PCM_PACKET_QUEUE *pcmPacketQueueCreate(pbInt channels);

/**
   @return a queue with the same packets, read as far as the source. No sample is copied, and reading or writing one of
   the two leaves the other as it is. Ends the process when source is null.
*/
PCM_API PCM_PACKET_QUEUE *pcmPacketQueueCreateFrom(PCM_PACKET_QUEUE *source);

/* Asking. All end the process when queue is null. */

/** @return the channel count of every queued packet. */
PCM_API pbInt pcmPacketQueueChannels(PCM_PACKET_QUEUE *queue);

/** @return the number of queued packets, one that is read in part and packets without frames included. */
PCM_API pbInt pcmPacketQueuePackets(PCM_PACKET_QUEUE *queue);

/** @return the number of frames that are still to be read. */
PCM_API pbInt pcmPacketQueueFrames(PCM_PACKET_QUEUE *queue);

/* Writing and reading. queue is an in-out handle: a shared queue is first replaced there by a copy, which shares the
   packets, also when there is nothing to write or read. All end the process when queue or *queue is null. */

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
   Takes the next packet: the very object that was written, or what is left of one that was read in part.

   @return the packet, owned by the caller; it may have no frames

   Samples move only where a packet was read in part, and are copied only if somebody else holds that packet too.
   Ends the process when the queue holds no packet.
*/
PCM_API PCM_PACKET *pcmPacketQueueRead(PCM_PACKET_QUEUE **queue);

/**
   Takes so many frames as one packet.

   @param queue   in-out handle
   @param frames  at least 1, at most pcmPacketQueueFrames
   @return a packet of exactly so many frames, owned by the caller: when that is all that is left of the next packet,
   this packet as pcmPacketQueueRead gives it; otherwise a new one, whose samples are copied once

   Ends the process when frames is out of range.
*/
PCM_API PCM_PACKET *pcmPacketQueueGather(PCM_PACKET_QUEUE **queue, pbInt frames);

/**
   Takes so many frames and copies them into an array.

   @param queue   in-out handle
   @param dest    receives frames x channels samples, interleaved; may be null when frames is 0
   @param frames  at least 0, at most pcmPacketQueueFrames

   Ends the process when dest is missing or frames is out of range.
*/
PCM_API void pcmPacketQueueGatherSamples(PCM_PACKET_QUEUE **queue, PCM_SAMPLE *dest, pbInt frames);

/**
   Takes so many frames and adds them to what an array holds, in single precision and without clamping.

   @param queue   in-out handle
   @param dest    frames x channels samples, interleaved
   @param frames  at least 1, at most pcmPacketQueueFrames

   Ends the process when dest is missing or frames is out of range.
*/
PCM_API void pcmPacketQueueGatherSamplesAdd(PCM_PACKET_QUEUE **queue, PCM_SAMPLE *dest, pbInt frames);

PCM_EXTERN_C_END

#endif
