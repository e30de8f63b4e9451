/**
   @file
   Frame-rate change by whole factors: zero-stuffing and decimation.

   Neither operation filters or scales; frames are copied bit for bit. To change a signal's rate, extend and then
   take the images away with a low-pass (pcm_filter.h), or apply the low-pass and then reduce.

   Both take the packet by its in-out handle and put a new packet there, also when the old one was not shared or has no
   frames; the old one is not changed. They end the process when pkt or *pkt is null, the factor is below 2, or a count
   does not fit in 64 bits.

   @since 1.0
*/
#ifndef PCM_FRAMES_H
#define PCM_FRAMES_H

#include <pcm/pcm_base.h>
#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/**
   Raises the frame rate: puts mult - 1 frames of silence (+0.0) after each frame.

   @param pkt   in-out handle
   @param mult  at least 2
*/
PCM_API void pcmFramesExtend(PCM_PACKET **pkt, pbInt mult);

/**
   Lowers the frame rate: keeps the first of every div frames.

   @param pkt  in-out handle
   @param div  at least 2; the packet's frame count is a multiple of it, otherwise the process ends
*/
PCM_API void pcmFramesReduce(PCM_PACKET **pkt, pbInt div);

PCM_EXTERN_C_END

#endif
