/**
   @file
   Encodings: how one sample is laid out in a stream of bytes.

   An encoding is a flag word, combined with bitwise or: at most one sample type, and with it, where they matter, the
   signedness, the byte order, and the width of the container and the sample's side in it. Every operation accepts any
   word and normalises it first. What each flag means for the bytes is in pcm_convert.h.

   @since 1.0
*/
#ifndef PCM_ENCODING_H
#define PCM_ENCODING_H

#include <pcm/pcm_base.h>

#include <pb/pb_flagset.h>
#include <pb/pb_string.h>

PCM_EXTERN_C_BEGIN

/** A flag word. The word 0 is PCM_SAMPLE itself: four bytes, as the host stores them. */
typedef pbInt PCM_ENCODING;

/* Sample type; of several, the one that stands first here counts. None: PCM_SAMPLE in the host's layout. */
#define PCM_ENCODING_G711_ALAW ((PCM_ENCODING)0x1)  /**< ITU-T G.711 A-law, 1 byte */
#define PCM_ENCODING_G711_MULAW ((PCM_ENCODING)0x2) /**< ITU-T G.711 mu-law, 1 byte */
#define PCM_ENCODING_INT_8 ((PCM_ENCODING)0x4)      /**< integer, 1 byte */
#define PCM_ENCODING_INT_16 ((PCM_ENCODING)0x8)     /**< integer, 2 bytes */
#define PCM_ENCODING_INT_24 ((PCM_ENCODING)0x10)    /**< integer, 3 bytes */
#define PCM_ENCODING_INT_32 ((PCM_ENCODING)0x20)    /**< integer, 4 bytes */
#define PCM_ENCODING_FLOAT_32 ((PCM_ENCODING)0x40)  /**< IEEE 754 single precision, 4 bytes */
/* Signedness */
#define PCM_ENCODING_UNSIGNED ((PCM_ENCODING)0x80) /**< integers are offset binary, not two's complement */
/* Byte order; big-endian wins. None: little-endian. */
#define PCM_ENCODING_BIG_ENDIAN ((PCM_ENCODING)0x100)    /**< most significant byte first */
#define PCM_ENCODING_LITTLE_ENDIAN ((PCM_ENCODING)0x200) /**< least significant byte first */
/* Padding side; before wins. None: the sample is the least significant part of its container. */
#define PCM_ENCODING_PAD_BEFORE ((PCM_ENCODING)0x400) /**< the sample is the last bytes of its container */
#define PCM_ENCODING_PAD_AFTER ((PCM_ENCODING)0x800)  /**< the sample is the first bytes of its container */
/* Container; the smallest wins, and one that is smaller than the sample has no effect. None: the sample alone. */
#define PCM_ENCODING_PACK_16 ((PCM_ENCODING)0x1000)  /**< container of 2 bytes */
#define PCM_ENCODING_PACK_24 ((PCM_ENCODING)0x2000)  /**< container of 3 bytes */
#define PCM_ENCODING_PACK_32 ((PCM_ENCODING)0x4000)  /**< container of 4 bytes */
#define PCM_ENCODING_PACK_40 ((PCM_ENCODING)0x8000)  /**< container of 5 bytes */
#define PCM_ENCODING_PACK_48 ((PCM_ENCODING)0x10000) /**< container of 6 bytes */
#define PCM_ENCODING_PACK_56 ((PCM_ENCODING)0x20000) /**< container of 7 bytes */
#define PCM_ENCODING_PACK_64 ((PCM_ENCODING)0x40000) /**< container of 8 bytes */

/**
   Reduces a flag word to what counts: at most one flag of each group and no other bits.

   @param encoding  any flag word
   @return the normalised word; no defaults are filled in

   Valid at any time.
*/
PCM_API PCM_ENCODING pcmEncodingNormalize(PCM_ENCODING encoding);

/**
   Reads an encoding from the names of its flags.

   @param pbs  flag names joined by `|`; blanks around them do not matter, unknown names contribute nothing
   @return the normalised encoding

   Ends the process when pbs is null.
*/
PCM_API PCM_ENCODING pcmEncodingFromString(PB_STRING *pbs);

/**
   Writes the names of an encoding's flags.

   @param encoding  any flag word
   @return a new string with the flag names of the normalised encoding joined by `|`, owned by the caller
*/
PCM_API PB_STRING *pcmEncodingToString(PCM_ENCODING encoding);

/**
   Returns the size of one sample with its container.

   @param encoding  any flag word
   @return 1 to 8 bytes

   Valid at any time.
*/
PCM_API pbInt pcmEncodingSizeofSample(PCM_ENCODING encoding);

/**
   Returns the size of one frame.

   @param encoding  any flag word
   @param channels  samples in a frame, at least 1
   @return pcmEncodingSizeofSample x channels, in bytes

   Valid at any time. Ends the process when channels is below 1 or the size does not fit in 64 bits.
*/
PCM_API pbInt pcmEncodingSizeofFrame(PCM_ENCODING encoding, pbInt channels);

/** @name For the product's own modules
    @{ */
/** The names of the flags, from start-up to shut-down. */
PCM_API extern PB_FLAGSET *pcm___EncodingFlagset;
/** Makes the flag names, at the module's start-up. */
PCM_API void pcm___EncodingStartup(void);
/** Gives them up, at the module's shut-down. */
PCM_API void pcm___EncodingShutdown(void);
/** @} */

PCM_EXTERN_C_END

#endif
