/**
   @file
   Filters: streaming FIR filters. Each channel is filtered separately.

   Packets are written in one after another; each comes out filtered, frame for frame, and waits in the filter until it
   is read, whole or by any number of frames. The filter remembers the last frames between writes, so a signal comes out
   the same however it is cut into packets.

   Of a set h[0] ... h[L - 1] and the input x[0], x[1], ... of a channel, output frame n is

       y[n] = h[L - 1] * x[n - L + 1] + ... + h[1] * x[n - 1] + h[0] * x[n]

   summed in this order from 0 in single precision, each term with one fused multiply-add, then clamped to [-1, 1]; NaN
   stays NaN. Frames before the first are zeros. The input is not clamped, but a signal that reaches full scale can come
   out clamped, since a filter may overshoot: leave headroom (a few dB, pcm_level.h) before it. The filter adds no delay
   of its own: that of a symmetric set, such as the built-in ones, is (L - 1) / 2 frames.

   Every operation ends the process when an argument is null or a count is out of the range given.

   @since 1.0
*/
#ifndef PCM_FILTER_H
#define PCM_FILTER_H

#include <pcm/pcm_base.h>
#include <pcm/pcm_filter_coefficients.h>
#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/** A filter with its memory of frames and the packets that wait in it. */
typedef struct PCM_FILTER PCM_FILTER;

/** @name Standard functions of the sort
    @{ */
PCM_DECLARE_SORT(pcmFilter, PCM_FILTER)
/** @} */

/** @name Making filters
    @{ */
/**
   Makes a filter that has seen no frames and holds none.

   @param coefficients  the taps; the filter takes a reference of its own
   @param channels      the channel count of every packet that is written and read, at least 1; taps x channels samples
                        have a size that fits in 64 bits
   @return the new filter, owned by the caller
*/
PCM_API PCM_FILTER *pcmFilterCreate(PCM_FILTER_COEFFICIENTS *coefficients, pbInt channels);

/**
   Copies a filter with its memory of frames. The taps and the waiting packets are shared.

   @param source  read only
   @return the new filter, owned by the caller
*/
PCM_API PCM_FILTER *pcmFilterCreateFrom(PCM_FILTER *source);
/** @} */

/** @name Reading the state of a filter
    The filter is only read.
    @{ */
/** Returns the filter's coefficient set, as a new reference owned by the caller. */
PCM_API PCM_FILTER_COEFFICIENTS *pcmFilterCoefficients(PCM_FILTER *filter);
/** Returns the number of channels, at least 1. */
PCM_API pbInt pcmFilterChannels(PCM_FILTER *filter);
/** Returns the number of packets that wait to be read; one that is partly read counts. */
PCM_API pbInt pcmFilterPackets(PCM_FILTER *filter);
/** Returns the number of frames that wait to be read. */
PCM_API pbInt pcmFilterFrames(PCM_FILTER *filter);
/** @} */

/** @name Writing
    The parameter filter is an in-out handle: a shared filter is first replaced there by a private copy.
    @{ */
/** Forgets all frames, those remembered and those that wait. Taps and channel count stay. */
PCM_API void pcmFilterReset(PCM_FILTER **filter);

/**
   Filters a packet and queues the result: a new packet with as many frames, also with none.

   @param filter  in-out handle
   @param pkt     the input, only read; of the filter's channel count
*/
PCM_API void pcmFilterWrite(PCM_FILTER **filter, PCM_PACKET *pkt);
/** @} */

/** @name Reading
    As the operations of the same names of packet queues (pcm_packet_queue.h). The parameter filter is an in-out handle:
    a shared filter is first replaced there by a private copy.
    @{ */
/** Takes the next waiting packet, or the rest of it. Returns it, owned by the caller. There must be one. */
PCM_API PCM_PACKET *pcmFilterRead(PCM_FILTER **filter);

/**
   Takes frames as one packet.

   @param filter  in-out handle
   @param frames  at least 1, at most those that wait
   @return a packet of these frames, owned by the caller
*/
PCM_API PCM_PACKET *pcmFilterGather(PCM_FILTER **filter, pbInt frames);

/**
   Takes frames and copies them into an array.

   @param filter  in-out handle
   @param dest    room for frames x channels samples, interleaved; may be null for 0 frames
   @param frames  at least 0, at most those that wait
*/
PCM_API void pcmFilterGatherSamples(PCM_FILTER **filter, PCM_SAMPLE *dest, pbInt frames);

/**
   Takes frames and adds them to what an array holds, in single precision, without clamping.

   @param filter  in-out handle
   @param dest    frames x channels samples, interleaved
   @param frames  at least 1, at most those that wait
*/
PCM_API void pcmFilterGatherSamplesAdd(PCM_FILTER **filter, PCM_SAMPLE *dest, pbInt frames);
/** @} */

/** @name For the product's own modules
    @{ */
/** Gives up what the object obj owns: the sort's free function, for the runtime alone. */
PCM_API void pcm___FilterFreeFunc(PB_OBJ *obj);
/** @} */

PCM_EXTERN_C_END

#endif
