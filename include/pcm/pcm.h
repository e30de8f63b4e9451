/**
   @file
   The library: everything, with all of the runtime's headers. Begin with pcm_base.h for the rules that hold throughout.

   @since 1.0
*/
#ifndef PCM_H
#define PCM_H

#include <pcm/pcm_base.h>
#include <pcm/pcm_channels.h>
#include <pcm/pcm_convert.h>
#include <pcm/pcm_decibel.h>
#include <pcm/pcm_dual_tone.h>
#include <pcm/pcm_encoding.h>
#include <pcm/pcm_filter.h>
#include <pcm/pcm_filter_coefficients.h>
#include <pcm/pcm_filter_type.h>
#include <pcm/pcm_frames.h>
#include <pcm/pcm_level.h>
#include <pcm/pcm_modulated_tone.h>
#include <pcm/pcm_module.h>
#include <pcm/pcm_noise.h>
#include <pcm/pcm_packet.h>
#include <pcm/pcm_packet_queue.h>
#include <pcm/pcm_samples.h>
#include <pcm/pcm_silence.h>
#include <pcm/pcm_tone.h>

#include <pb/pb.h>

#endif
