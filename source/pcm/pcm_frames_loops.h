// Picking's loops, for one level (pcm_each_level.h). dest is new memory and overlaps nothing.

/// Constants of 0 are those of the arguments; the others let the compiler make vectors.
template <pbInt kChannels, pbInt kFactor>
PCM_TARGET void ReduceBy(PCM_SAMPLE *__restrict dest, const PCM_SAMPLE *__restrict source, pbInt channels, pbInt div,
                         pbInt frames)
{
    channels = kChannels ? kChannels : channels;
    div = kFactor ? kFactor : div;
    for (pbInt f = 0; f < frames; ++f)
        for (pbInt c = 0; c < channels; ++c)
            dest[f * channels + c] = source[f * channels * div + c];
}

template <pbInt kChannels>
PCM_TARGET void ReduceChannels(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt div, pbInt frames)
{
    switch (div) {
    case 2: return ReduceBy<kChannels, 2>(dest, source, channels, div, frames);
    case 3: return ReduceBy<kChannels, 3>(dest, source, channels, div, frames);
    default: return ReduceBy<kChannels, 0>(dest, source, channels, div, frames);
    }
}

PCM_TARGET void Reduce(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt div, pbInt frames)
{
    switch (channels) {
    case 1: return ReduceChannels<1>(dest, source, channels, div, frames);
    case 2: return ReduceChannels<2>(dest, source, channels, div, frames);
    case 6: return ReduceChannels<6>(dest, source, channels, div, frames);
    case 8: return ReduceChannels<8>(dest, source, channels, div, frames);
    default: return ReduceBy<0, 0>(dest, source, channels, div, frames);
    }
}

constexpr Loops kLoops = {Reduce};
