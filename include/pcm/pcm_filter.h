/**
   @file
   Filters: a stream of packets through an FIR filter, every channel for itself.

   Packets are written in one after another; each comes out filtered, frame for frame, and waits in the filter until it
   is read, whole or by any number of frames. The filter remembers the last frames between writes, so a signal comes out
   the same however it is cut into packets.

   Of a set h[0] ... h[L - 1] and the input x[0], x[1], ... of a channel, output frame n is

       y[n] = h[L - 1] * x[n - L + 1] + ... + h[1] * x[n - 1] + h[0] * x[n]

   summed in this order from 0 in single precision, each term with one fused multiply-add, then clamped to [-1, 1]. A
   NaN passes. Frames before the first are zeros. The input itself may lie beyond [-1, 1] and is remembered so. The
   filter adds no delay of its own: that of a symmetric set, such as the built-in ones, is (L - 1) / 2 frames.

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
/** A standard function of the sort; PCM_DECLARE_SORT in pcm_base.h tells what each does. */
PCM_DECLARE_SORT(pcmFilter, PCM_FILTER)
/** @} */

/** The sort's free function, for the runtime alone. */
PCM_API void pcm___FilterFreeFunc(PB_OBJ *obj);

/**
   @param coefficients  the taps; the filter takes a reference of its own
   @param channels      of every packet that is written and read; at least 1. The taps times the channels fit in 64
   bits.
   @return a new filter that has seen and holds no frames, owned by the caller
*/
PCM_API PCM_FILTER *pcmFilterCreate(PCM_FILTER_COEFFICIENTS *coefficients, pbInt channels);

/** @return a new filter with the same taps, memory of frames and waiting packets, owned by the caller. */
PCM_API PCM_FILTER *pcmFilterCreateFrom(PCM_FILTER *source);

/** @return the filter's coefficient set, as a new reference owned by the caller. */
PCM_API PCM_FILTER_COEFFICIENTS *pcmFilterCoefficients(PCM_FILTER *filter);

/** @return the number of channels, at least 1. */
PCM_API pbInt pcmFilterChannels(PCM_FILTER *filter);

/** @return how many packets wait to be read; one that is partly read counts. */
PCM_API pbInt pcmFilterPackets(PCM_FILTER *filter);

/** @return how many frames wait to be read. */
PCM_API pbInt pcmFilterFrames(PCM_FILTER *filter);

/* Changing filters. A filter that has other holders is first replaced in the handle by a private one. */

/** Makes the filter one that has seen and holds no frames. Taps and channel count stay. */
PCM_API void pcmFilterReset(PCM_FILTER **filter);

/**
   Filters a packet and lets the result wait: one new packet of as many frames, also of none.

   @param filter  in-out handle
   @param pkt     the input, only read; of the filter's channel count
*/
PCM_API void pcmFilterWrite(PCM_FILTER **filter, PCM_PACKET *pkt);

/* Reading. As the operations of the same name of packet queues, of which the filter has one inside. */

/** @return the first waiting packet, or the rest of it, owned by the caller. There must be one. */
PCM_API PCM_PACKET *pcmFilterRead(PCM_FILTER **filter);

/** @return a packet of the next so many frames, owned by the caller. At least 1, at most those that wait. */
PCM_API PCM_PACKET *pcmFilterGather(PCM_FILTER **filter, pbInt frames);

/**
   Copies the next frames out.

   @param filter  in-out handle
   @param dest    frames x channels samples, interleaved; may be null for 0 frames
   @param frames  at least 0, at most those that wait
*/
PCM_API void pcmFilterGatherSamples(PCM_FILTER **filter, PCM_SAMPLE *dest, pbInt frames);

/** As pcmFilterGatherSamples, adding the frames to what dest holds, unclamped; at least 1 frame. */
PCM_API void pcmFilterGatherSamplesAdd(PCM_FILTER **filter, PCM_SAMPLE *dest, pbInt frames);

PCM_EXTERN_C_END

#endif
