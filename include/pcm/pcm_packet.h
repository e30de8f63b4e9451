/**
   @file
   Packets: runs of frames, shared by reference and copied when one holder changes them.

   A packet has a channel count of at least 1 and any number of frames. Retaining and passing a packet costs one
   increment of its count; its samples are copied only when a holder changes it while it has others too.

   @since 1.0
*/
#ifndef PCM_PACKET_H
#define PCM_PACKET_H

#include <pcm/pcm_base.h>
#include <pcm/pcm_encoding.h>

#include <pb/pb_buffer.h>

PCM_EXTERN_C_BEGIN

/** A run of frames of one channel count. */
typedef struct PCM_PACKET PCM_PACKET;

/** @name Standard functions of the sort
    @{ */
PCM_DECLARE_SORT(pcmPacket, PCM_PACKET)
/** @} */

/** @name Making packets
    The caller owns the new packet.
    @{ */
/** Makes a packet without frames, with the number of channels given. Ends the process when channels is below 1. */
PCM_API PCM_PACKET *pcmPacketCreate(pbInt channels);

/** Copies the packet source with every sample. Ends the process when source is null. */
PCM_API PCM_PACKET *pcmPacketCreateFrom(PCM_PACKET *source);

/**
   Makes a packet of a block of samples without copying it.

   @param source    channels x frames samples, interleaved, at the beginning of a block from pbMemAlloc or pbMemAllocN,
                    which the packet owns from now on; with 0 frames null, or a block that is freed at once
   @param channels  at least 1
   @param frames    at least 0
   @return the new packet

   Ends the process when channels is below 1, frames is negative, or source is null with frames above 0.
*/
PCM_API PCM_PACKET *pcmPacketCreateFromSamplesUse(PCM_SAMPLE *source, pbInt channels, pbInt frames);

/**
   Makes a packet of a copy of samples.

   @param source    channels x frames samples, interleaved; the array stays the caller's; may be null with 0 frames
   @param channels  at least 1
   @param frames    at least 0
   @return the new packet

   Ends the process when channels is below 1, frames is negative, source is null with frames above 0, or 64 bits cannot
   count the bytes of the samples, or of one frame where there are none: then channels is 2^61 or more.
*/
PCM_API PCM_PACKET *pcmPacketCreateFromSamplesCopy(const PCM_SAMPLE *source, pbInt channels, pbInt frames);
/** @} */

/** @name Reading packets
    The packet pkt is only read. All end the process when it is null.
    @{ */
/** Returns the number of channels, at least 1. */
PCM_API pbInt pcmPacketChannels(PCM_PACKET *pkt);
/** Returns the number of frames, at least 0. */
PCM_API pbInt pcmPacketFrames(PCM_PACKET *pkt);
/** Lends the samples, channels x frames, interleaved, to be read only. Returns null when there are no frames. */
PCM_API const PCM_SAMPLE *pcmPacketBacking(PCM_PACKET *pkt);
/** @} */

/** @name Changing packets
    Both end the process when pkt or *pkt is null.
    @{ */
/**
   Lends the samples for reading and writing.

   @param pkt  in-out handle; a shared packet is first replaced there by a private copy, also when it has no frames
   @return the samples of the packet that is now in the handle; null when it has no frames. Valid until the packet is
   next passed to a changing operation or shared with another holder.
*/
PCM_API PCM_SAMPLE *pcmPacketMutableBacking(PCM_PACKET **pkt);

/**
   Removes all frames. A packet without frames stays as it is, shared or not.

   @param pkt  in-out handle; a shared packet with frames is replaced there by a new one of the same channel count
*/
PCM_API void pcmPacketClear(PCM_PACKET **pkt);
/** @} */

/**
   @name Write: overwrite frames of a packet; its length and channel count stay
   @{
*/
/**
   Overwrites frames idx and following of the packet in the handle pkt with frames of source.

   The names say which frames of the source are written, as one run that starts at frame idx of the packet:

   - no word   all
   - Inner     the given number of frames from frame offset on
   - Outer     all but those: the ones before offset, followed without a gap by the ones from offset + frames on
   - Leading   the given number of frames at the beginning
   - Trailing  the given number of frames at the end
   - Zero      no source: silence, +0.0 in every sample

   The parameters of all are pkt, an in-out handle; idx, the first frame to overwrite; source, the packet to take frames
   from; offset and frames, counted in frames.

   A shared packet is first replaced in the handle by a private copy; but a write of 0 frames leaves the handle as it
   is. The source is read only. It may be the packet in the handle, and is then taken as it was before the call.

   All end the process when an argument is null or negative, the source does not have the frames asked for, the frames
   from idx on do not all lie within the packet, or the channel counts differ: also where 0 frames are written.
*/
PCM_API void pcmPacketWriteInner(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames);
PCM_API void pcmPacketWrite(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source);
PCM_API void pcmPacketWriteLeading(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt frames);
PCM_API void pcmPacketWriteTrailing(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt frames);
PCM_API void pcmPacketWriteOuter(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames);
PCM_API void pcmPacketWriteZero(PCM_PACKET **pkt, pbInt idx, pbInt frames);
/** @} */

/**
   @name Insert, Prepend, Append: make a packet longer
   @{
*/
/**
   Inserts frames of source before frame idx of the packet in the handle pkt. The names say which frames of the source
   are taken, and the parameters mean the same, as with Write. Prepend inserts before frame 0, Append after the last.

   A packet with one holder stays the same object; its block is resized, which may move all its frames. A shared one is
   replaced in the handle by a new, longer packet; but an insert of 0 frames leaves the handle as it is. The source is
   read only. It may be the packet in the handle, and is then taken as it was before the call.

   All end the process when an argument is null or negative, idx is greater than the number of frames, the source does
   not have the frames asked for, or the channel counts differ: also where 0 frames are inserted; and when the size of
   the result does not fit in 64 bits.
*/
PCM_API void pcmPacketInsertInner(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames);
PCM_API void pcmPacketPrependInner(PCM_PACKET **pkt, PCM_PACKET *source, pbInt offset, pbInt frames);
PCM_API void pcmPacketAppendInner(PCM_PACKET **pkt, PCM_PACKET *source, pbInt offset, pbInt frames);
PCM_API void pcmPacketInsert(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source);
PCM_API void pcmPacketPrepend(PCM_PACKET **pkt, PCM_PACKET *source);
PCM_API void pcmPacketAppend(PCM_PACKET **pkt, PCM_PACKET *source);
PCM_API void pcmPacketInsertLeading(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt frames);
PCM_API void pcmPacketPrependLeading(PCM_PACKET **pkt, PCM_PACKET *source, pbInt frames);
PCM_API void pcmPacketAppendLeading(PCM_PACKET **pkt, PCM_PACKET *source, pbInt frames);
PCM_API void pcmPacketInsertTrailing(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt frames);
PCM_API void pcmPacketPrependTrailing(PCM_PACKET **pkt, PCM_PACKET *source, pbInt frames);
PCM_API void pcmPacketAppendTrailing(PCM_PACKET **pkt, PCM_PACKET *source, pbInt frames);
PCM_API void pcmPacketInsertOuter(PCM_PACKET **pkt, pbInt idx, PCM_PACKET *source, pbInt offset, pbInt frames);
PCM_API void pcmPacketPrependOuter(PCM_PACKET **pkt, PCM_PACKET *source, pbInt offset, pbInt frames);
PCM_API void pcmPacketAppendOuter(PCM_PACKET **pkt, PCM_PACKET *source, pbInt offset, pbInt frames);
PCM_API void pcmPacketInsertZero(PCM_PACKET **pkt, pbInt idx, pbInt frames);
PCM_API void pcmPacketPrependZero(PCM_PACKET **pkt, pbInt frames);
PCM_API void pcmPacketAppendZero(PCM_PACKET **pkt, pbInt frames);
/** @} */

/** @name Delete, SetFrames: make a packet shorter
    The parameter pkt is an in-out handle; idx is the first of the frames named, and frames their number. A packet with
    one holder shrinks in place; a shared one is replaced in the handle by a new packet of the frames that remain,
    unless all of them do. All end the process when pkt or *pkt is null, an argument is negative, or the frames named
    are not all there.
    @{ */
/** Removes frames from frame idx on; those after them follow without a gap. */
PCM_API void pcmPacketDelInner(PCM_PACKET **pkt, pbInt idx, pbInt frames);
/** Removes all frames but those from frame idx on. */
PCM_API void pcmPacketDelOuter(PCM_PACKET **pkt, pbInt idx, pbInt frames);
/** Removes frames at the beginning. */
PCM_API void pcmPacketDelLeading(PCM_PACKET **pkt, pbInt frames);
/** Removes frames at the end. */
PCM_API void pcmPacketDelTrailing(PCM_PACKET **pkt, pbInt frames);
/** Sets the number of frames: removes the last ones, or appends silence as pcmPacketAppendZero. */
PCM_API void pcmPacketSetFrames(PCM_PACKET **pkt, pbInt frames);
/** @} */

/** @name Channel layout
    @{ */
/**
   Sets the number of channels: keeps the first ones, drops those above, fills new ones with silence.

   @param pkt       in-out handle; a shared packet is replaced there by a new one, unless the number stays
   @param channels  at least 1

   Ends the process when pkt or *pkt is null, channels is below 1, or 64 bits cannot count the bytes of the result, or
   of one frame where there are none: then channels is 2^61 or more.
*/
PCM_API void pcmPacketSetChannels(PCM_PACKET **pkt, pbInt channels);

/**
   Makes a packet in which every channel is the sum of all channels of the source: of each frame the samples are added
   to +0.0 in the order of the channels, in single precision. The sum is not divided and not clamped.

   @param source    read only
   @param channels  at least 1
   @return a reference, owned by the caller: to the source itself if it has as many channels, else to a new packet

   Ends the process when source is null, channels is below 1, or the size of the result does not fit in 64 bits.
*/
PCM_API PCM_PACKET *pcmPacketCreateFromWithChannels(PCM_PACKET *source, pbInt channels);

/**
   Makes a packet of some channels of the source, in their order there.

   @param source       read only
   @param channelMask  bit i, of value 2 to the power i, selects channel i; not 0. Bit 63 is the sign.
   @return a reference, owned by the caller: to the source itself if all channels are selected, else to a new packet

   Ends the process when source is null, or the mask is 0 or selects a channel that the source does not have.
*/
PCM_API PCM_PACKET *pcmPacketCreateFromWithChannelMask(PCM_PACKET *source, pbInt channelMask);

/**
   Overwrites a rectangle of channels x frames: sample (destFrameOffset + f, destChannelOffset + c) of the packet
   becomes sample (sourceFrameOffset + f, sourceChannelOffset + c) of an array. Other samples stay.

   @param pkt                  in-out handle; a shared packet is first replaced there by a private copy, also when the
                               rectangle is empty
   @param destChannelOffset    first channel to overwrite
   @param destFrameOffset      first frame to overwrite
   @param source               interleaved samples, sourceChannelCount to a frame; null only for 0 frames. It may be
                               the packet's own samples. Those of a shared packet are taken as they were before the
                               call. Those of a private one are read while they change: one channel after another is
                               copied, each from its first frame on.
   @param sourceChannelOffset  first channel to take
   @param sourceChannelCount   channels of a frame of the array
   @param sourceFrameOffset    first frame to take
   @param channels             how many channels
   @param frames               how many frames

   Ends the process when pkt, *pkt or, with frames, source is null, a count or offset is negative, the rectangle does
   not lie within the packet or within the array's channels, or 64 bits cannot count the bytes of the array up to the
   last sample taken.
*/
PCM_API void pcmPacketWriteChannelsSamples(PCM_PACKET **pkt, pbInt destChannelOffset, pbInt destFrameOffset,
                                           const PCM_SAMPLE *source, pbInt sourceChannelOffset,
                                           pbInt sourceChannelCount, pbInt sourceFrameOffset, pbInt channels,
                                           pbInt frames);

/**
   Overwrites a rectangle of channels x frames with samples of a packet, as pcmPacketWriteChannelsSamples.

   @param pkt                  in-out handle
   @param destChannelOffset    first channel to overwrite
   @param destFrameOffset      first frame to overwrite
   @param sourceChannelOffset  first channel to take
   @param sourceFrameOffset    first frame to take
   @param channels             how many channels
   @param frames               how many frames
   @param source               read only; may be the packet in the handle, and is then taken as it was before the call

   Ends the process also when source is null or does not have the frames asked for.
*/
PCM_API void pcmPacketWriteChannels(PCM_PACKET **pkt, pbInt destChannelOffset, pbInt destFrameOffset,
                                    PCM_PACKET *source, pbInt sourceChannelOffset, pbInt sourceFrameOffset,
                                    pbInt channels, pbInt frames);

/** @} */

/** @name Bytes in and out
    The layout of the bytes is that of the encoding (pcm_encoding.h, pcm_convert.h), frame after frame without headers
   or gaps.
    @{ */

/**
   Makes a packet of the frames in a byte buffer.

   @param source    the bytes; only read
   @param encoding  their encoding; any flag word
   @param channels  samples in each frame, at least 1
   @return a new packet, owned by the caller; null when the bytes are not a whole number of frames

   A buffer without bytes gives a packet of 0 frames, not null. Ends the process when source is null, channels is below
   1 or the size of a frame does not fit in 64 bits.
*/
PCM_API PCM_PACKET *pcmPacketTryDecode(PB_BUFFER *source, PCM_ENCODING encoding, pbInt channels);

/**
   Encodes a packet's frames as bytes. Integers and G.711 saturate at full scale.

   @param pkt       the packet; only read
   @param encoding  the encoding wanted; any flag word
   @return a new buffer, owned by the caller, of pcmPacketFrames x pcmEncodingSizeofFrame bytes

   Ends the process when pkt is null or the size does not fit in 64 bits.
*/
PCM_API PB_BUFFER *pcmPacketEncode(PCM_PACKET *pkt, PCM_ENCODING encoding);
/** @} */

/** @name For the product's own modules
    @{ */
/** Gives up what the object obj owns: the sort's free function, for the runtime alone. */
PCM_API void pcm___PacketFreeFunc(PB_OBJ *obj);
/** @} */

PCM_EXTERN_C_END

#endif
