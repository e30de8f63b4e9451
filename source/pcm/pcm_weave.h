// Weaving: frames that begin with a source's samples and are filled up with something else. Both what channel
// adjustment lays down and what zero stuffing does are this.
#pragma once

#include <pcm/pcm_base.h>

namespace pcm {

/// Makes frames of `width` samples: `kept` from source, whose frames are so many samples, then as often as there is
/// room the one sample of filler for this frame, or +0.0 where filler is null. Keeps every bit. dest overlaps nothing.
void Weave(PCM_SAMPLE *dest, pbInt width, const PCM_SAMPLE *source, pbInt kept, const PCM_SAMPLE *filler, pbInt frames);

} // namespace pcm
