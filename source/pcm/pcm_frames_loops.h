// Frame-rate change's loops, for one level (pcm_each_level.h). dest is new memory and overlaps nothing.

/// Constants of 0 are those of the arguments; the others let the compiler make vectors.
template <pbInt kChannels, pbInt kFactor>
PCM_TARGET void ExtendBy(PCM_SAMPLE *__restrict dest, const PCM_SAMPLE *__restrict source, pbInt channels, pbInt mult,
                         pbInt frames)
{
    channels = kChannels ? kChannels : channels;
    mult = kFactor ? kFactor : mult;
    for (pbInt f = 0; f < frames; ++f) {
        for (pbInt c = 0; c < channels; ++c)
            dest[f * channels * mult + c] = source[f * channels + c];
        for (pbInt c = channels; c < channels * mult; ++c)
            dest[f * channels * mult + c] = 0.0f;
    }
}

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

typedef int32_t Words __attribute__((vector_size(PCM_VECTOR)));
constexpr pbInt kWide = PCM_VECTOR / 4;

/// For groups that fit in a vector, which is written at each group; the next takes what is too much.
PCM_TARGET void ExtendNarrow(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt mult, pbInt frames)
{
    Words mask = {}; // of the lanes that are a frame
    for (pbInt c = 0; c < channels; ++c)
        mask[c] = -1;
    for (; frames * channels >= kWide; --frames, dest += channels * mult, source += channels) {
        Words group;
        __builtin_memcpy(&group, source, sizeof(group));
        group &= mask;
        __builtin_memcpy(dest, &group, sizeof(group));
    }
    ExtendBy<0, 0>(dest, source, channels, mult, frames);
}

PCM_TARGET void Extend(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt mult, pbInt frames)
{
    if (channels == 1 && mult == 2)
        ExtendBy<1, 2>(dest, source, channels, mult, frames);
    else if (channels == 1 && mult == 3)
        ExtendBy<1, 3>(dest, source, channels, mult, frames);
    else if (channels == 2 && mult == 2)
        ExtendBy<2, 2>(dest, source, channels, mult, frames);
    else if (channels <= kWide && mult <= kWide / channels)
        ExtendNarrow(dest, source, channels, mult, frames);
    else if (channels == 1)
        ExtendBy<1, 0>(dest, source, channels, mult, frames);
    else if (channels == 2)
        ExtendBy<2, 0>(dest, source, channels, mult, frames);
    else if (channels == 6)
        ExtendBy<6, 0>(dest, source, channels, mult, frames);
    else if (channels == 8)
        ExtendBy<8, 0>(dest, source, channels, mult, frames);
    else
        ExtendBy<0, 0>(dest, source, channels, mult, frames);
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
    case 6: return ReduceBy<6, 0>(dest, source, channels, div, frames);
    case 8: return ReduceBy<8, 0>(dest, source, channels, div, frames);
    default: return ReduceBy<0, 0>(dest, source, channels, div, frames);
    }
}

constexpr Loops kLoops = {Extend, Reduce};
