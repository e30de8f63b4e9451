/**
   @file
   Conversion of sample runs between encodings.

   **Bytes.** A sample takes S bytes: 1, 2, 3 or 4 as its type says. It stands in a container of C bytes, the larger of
   S and the container flag, at offset 0 (PCM_ENCODING_PAD_AFTER) or C - S (PCM_ENCODING_PAD_BEFORE), by default 0 for
   little-endian and C - S for big-endian. Padding is written as 0 and ignored when read. Containers follow each other
   without gaps, and nothing need be aligned.

   **Integers** of N bytes have full scale 2^(8N-1): -1.0 is the most negative integer, and 1.0, one step above the most
   positive, saturates to it. Encoding multiplies by 2^31 in single precision (unsigned: adds 2^31 in the same
   rounding), truncates toward zero to 32 bits and keeps the N most significant bytes, so that fewer than 32 bits are
   rounded down, toward negative infinity; NaN becomes 0. Decoding multiplies by 2^-(8N-1), unsigned minus 1.0 with one
   rounding; 32-bit integers are first rounded to single precision.

   **Float** (IEEE 754 single precision) keeps all its bits.

   **G.711** (ITU-T G.711): encoding truncates toward zero to 16 bits and looks the magnitude up in the tables below,
   without its three lowest bits; samples at or beyond full scale get the outermost code, NaN the code of 0. Decoding
   looks the code up and divides by 32768. The decoded mu-law values of all codes above the lowest segment, 224 of 256,
   lie 4 below those of the recommendation, in 16-bit units and for both signs.

   Between two external encodings the result is that of decoding and then encoding. Dest and source must not overlap.

   Threads: pure functions of their arguments. They may be called at any time.

   @since 1.0
*/
#ifndef PCM_CONVERT_H
#define PCM_CONVERT_H

#include <pcm/pcm_base.h>
#include <pcm/pcm_encoding.h>

#include <pb/pb_buffer.h>

PCM_EXTERN_C_BEGIN

/**
   Converts a buffer of samples from one encoding into another.

   @param destEncoding    the encoding wanted
   @param source          the bytes; only read
   @param sourceEncoding  their encoding
   @return a new buffer with the same samples in destEncoding, owned by the caller; null when source is empty (unlike
   pcmPacketTryDecode, which makes a packet without frames of it) or not a whole number of samples

   Ends the process when source is null or the new size does not fit in 64 bits.
*/
PCM_API PB_BUFFER *pcmTryConvert(PCM_ENCODING destEncoding, PB_BUFFER *source, PCM_ENCODING sourceEncoding);

/** @name For the product's own modules
    @{ */
/** A-law codes of ITU-T G.711 without the sign bit; the index is the magnitude of the 16-bit value shifted right by 3.
 */
PCM_API extern const uint8_t pcm___EncodeG711AlawTable[4097];

/** Mu-law codes of ITU-T G.711 without the sign bit; the index is that of the A-law table. */
PCM_API extern const uint8_t pcm___EncodeG711MulawTable[4097];

/** Values in 16-bit units; the index is the A-law code. */
PCM_API extern const int16_t pcm___DecodeG711AlawTable[256];

/** Values in 16-bit units; the index is the mu-law code. */
PCM_API extern const int16_t pcm___DecodeG711MulawTable[256];

/**
   Converts samples from one encoding into another, in memory of the caller's. Allocates nothing.

   @param dest            samples x pcmEncodingSizeofSample(destEncoding) bytes; an aligned PCM_SAMPLE array where the
                          encoding normalises to 0; may be null with 0 samples
   @param destEncoding    the encoding wanted; any flag word
   @param source          samples x pcmEncodingSizeofSample(sourceEncoding) bytes, as dest; only read
   @param sourceEncoding  the encoding of source; any flag word
   @param samples         the number of samples (not frames, not bytes)

   Ends the process when samples is negative or out of range, or dest or source is null with samples above 0.
*/
PCM_API void pcm___Convert(void *dest, PCM_ENCODING destEncoding, const void *source, PCM_ENCODING sourceEncoding,
                           pbInt samples);
/** @} */

PCM_EXTERN_C_END

#endif
