// The loops over interleaved frames, for one level (pcm_each_level.h).

/// The definition of picking; also what is left over by the vectors.
PCM_TARGET inline void PickFrames(PCM_SAMPLE *dest, const ChannelMap &map, const PCM_SAMPLE *source,
                                  pbInt sourceChannels, pbInt frames)
{
    for (; frames > 0; --frames, dest += map.channels, source += sourceChannels)
        for (pbInt c = 0; c < map.channels; ++c)
            dest[c] = map.from[c] < 0 ? 0.0f : source[map.from[c]];
}

/// The commonest maps, with constant steps, which the compiler can make vectors of: one channel out of two, and one
/// twice.
/// @return whether it was one of them
PCM_TARGET inline bool PickMonoOrStereo(PCM_SAMPLE *dest, const ChannelMap &map, const PCM_SAMPLE *source,
                                        pbInt sourceChannels, pbInt frames)
{
    const pbInt from = map.from[0];
    if (map.channels == 1 && sourceChannels == 2 && from >= 0) {
        for (pbInt f = 0; f < frames; ++f)
            dest[f] = source[2 * f + from];
        return true;
    }
    if (map.channels == 2 && sourceChannels == 1 && from == 0 && map.from[1] == 0) {
        for (pbInt f = 0; f < frames; ++f)
            dest[2 * f] = dest[2 * f + 1] = source[f];
        return true;
    }
    return false;
}

/// A channel count of 0 is that of the argument; the others are constants.
template <pbInt kChannels>
PCM_TARGET void CopyRows(PCM_SAMPLE *dest, pbInt destChannels, const PCM_SAMPLE *source, pbInt sourceChannels,
                         pbInt channels, pbInt frames)
{
    channels = kChannels ? kChannels : channels;
    for (pbInt f = 0; f < frames; ++f)
        std::memcpy(dest + f * destChannels, source + f * sourceChannels,
                    static_cast<std::size_t>(channels) * sizeof(PCM_SAMPLE));
}

PCM_TARGET void Copy(PCM_SAMPLE *dest, pbInt destChannels, const PCM_SAMPLE *source, pbInt sourceChannels,
                     pbInt channels, pbInt frames)
{
    switch (channels) {
    case 1: return CopyRows<1>(dest, destChannels, source, sourceChannels, 1, frames);
    case 2: return CopyRows<2>(dest, destChannels, source, sourceChannels, 2, frames);
    case 3: return CopyRows<3>(dest, destChannels, source, sourceChannels, 3, frames);
    case 4: return CopyRows<4>(dest, destChannels, source, sourceChannels, 4, frames);
    case 5: return CopyRows<5>(dest, destChannels, source, sourceChannels, 5, frames);
    case 6: return CopyRows<6>(dest, destChannels, source, sourceChannels, 6, frames);
    case 7: return CopyRows<7>(dest, destChannels, source, sourceChannels, 7, frames);
    case 8: return CopyRows<8>(dest, destChannels, source, sourceChannels, 8, frames);
    default: return CopyRows<0>(dest, destChannels, source, sourceChannels, channels, frames);
    }
}

/// The definition of the sum, for a constant channel count or, with 0, that of the argument.
template <pbInt kChannels>
PCM_TARGET void SumFrames(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    channels = kChannels ? kChannels : channels;
    for (pbInt f = 0; f < frames; ++f) {
        PCM_SAMPLE sum = 0.0f;
        for (pbInt c = 0; c < channels; ++c)
            sum += source[f * channels + c];
        dest[f] = sum;
    }
}

#if PCM_LEVEL == 0

PCM_TARGET void Pick(PCM_SAMPLE *dest, const ChannelMap &map, const PCM_SAMPLE *source, pbInt sourceChannels,
                     pbInt frames)
{
    if (!PickMonoOrStereo(dest, map, source, sourceChannels, frames))
        PickFrames(dest, map, source, sourceChannels, frames);
}

PCM_TARGET void SumMany(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    switch (channels) {
    case 4: return SumFrames<4>(dest, source, 4, frames);
    case 6: return SumFrames<6>(dest, source, 6, frames);
    case 8: return SumFrames<8>(dest, source, 8, frames);
    default: return SumFrames<0>(dest, source, channels, frames);
    }
}

#else

constexpr pbInt kLanes = PCM_VECTOR / 4; // samples in a vector

#if PCM_LEVEL == 2

using Floats = __m512;

PCM_TARGET inline Floats Zero()
{
    return _mm512_setzero_ps();
}
PCM_TARGET inline Floats Add(Floats a, Floats b)
{
    return _mm512_add_ps(a, b);
}
PCM_TARGET inline void Store(PCM_SAMPLE *dest, Floats samples)
{
    _mm512_storeu_ps(dest, samples);
}

/// Lane i becomes the sample lanes[i] of those from source on; +0.0 where that is negative.
PCM_TARGET inline Floats Arrange(const PCM_SAMPLE *source, const int32_t *lanes)
{
    const __m512i from = _mm512_loadu_si512(lanes);
    const __mmask16 taken = _mm512_cmpge_epi32_mask(from, _mm512_setzero_si512());
    return _mm512_maskz_permutexvar_ps(taken, from, _mm512_loadu_ps(source));
}

/// Four samples from each of four places.
PCM_TARGET inline Floats LoadFours(const PCM_SAMPLE *source, pbInt step)
{
    const __m256 low =
        _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(source)), _mm_loadu_ps(source + step), 1);
    const __m256 high = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(source + 2 * step)),
                                             _mm_loadu_ps(source + 3 * step), 1);
    return _mm512_insertf32x8(_mm512_castps256_ps512(low), high, 1);
}

PCM_TARGET inline Floats FirstPairs(Floats a, Floats b)
{
    return _mm512_unpacklo_ps(a, b);
}
PCM_TARGET inline Floats LastPairs(Floats a, Floats b)
{
    return _mm512_unpackhi_ps(a, b);
}
PCM_TARGET inline Floats FirstHalves(Floats a, Floats b)
{
    return _mm512_shuffle_ps(a, b, 0x44);
}
PCM_TARGET inline Floats LastHalves(Floats a, Floats b)
{
    return _mm512_shuffle_ps(a, b, 0xEE);
}

#else

using Floats = __m256;

PCM_TARGET inline Floats Zero()
{
    return _mm256_setzero_ps();
}
PCM_TARGET inline Floats Add(Floats a, Floats b)
{
    return _mm256_add_ps(a, b);
}
PCM_TARGET inline void Store(PCM_SAMPLE *dest, Floats samples)
{
    _mm256_storeu_ps(dest, samples);
}

/// Lane i becomes the sample lanes[i] of those from source on; +0.0 where that is negative.
PCM_TARGET inline Floats Arrange(const PCM_SAMPLE *source, const int32_t *lanes)
{
    const __m256i from = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(lanes));
    const __m256 silent = _mm256_castsi256_ps(_mm256_cmpgt_epi32(_mm256_setzero_si256(), from));
    return _mm256_andnot_ps(silent, _mm256_permutevar8x32_ps(_mm256_loadu_ps(source), from));
}

/// Four samples from each of two places.
PCM_TARGET inline Floats LoadFours(const PCM_SAMPLE *source, pbInt step)
{
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(source)), _mm_loadu_ps(source + step), 1);
}

PCM_TARGET inline Floats FirstPairs(Floats a, Floats b)
{
    return _mm256_unpacklo_ps(a, b);
}
PCM_TARGET inline Floats LastPairs(Floats a, Floats b)
{
    return _mm256_unpackhi_ps(a, b);
}
PCM_TARGET inline Floats FirstHalves(Floats a, Floats b)
{
    return _mm256_shuffle_ps(a, b, 0x44);
}
PCM_TARGET inline Floats LastHalves(Floats a, Floats b)
{
    return _mm256_shuffle_ps(a, b, 0xEE);
}

#endif

/// One vector of the result: samples from a vector that starts so many samples into the source.
struct Step {
    int32_t lanes[kLanes];
    int32_t source, dest; // from the start of the group
};

/// Whole frames that fill whole vectors of the result; their steps serve every group of so many frames.
struct Group {
    // A step ends because its vector is full, at most 64 times, or because the next sample lies beyond what it loads,
    // at most kLanes * (64 / kLanes + 1) times; or it is the last.
    static constexpr int kSteps = 64 + 64 + kLanes + 1;

    pbInt frames;
    int steps = 0;
    Step step[kSteps];

    PCM_TARGET Group(const ChannelMap &map, pbInt sourceChannels)
    {
        frames = 1;
        while (frames * map.channels % kLanes)
            frames *= 2;
        int lane = kLanes;
        int32_t end = 0; // of what the step loads; 0 while it takes nothing from the source
        for (pbInt f = 0, to = 0; f < frames; ++f) {
            for (pbInt c = 0; c < map.channels; ++c, ++to, ++lane) {
                const auto from = static_cast<int32_t>(f * sourceChannels + map.from[c]);
                const bool silent = map.from[c] < 0;
                if (lane == kLanes || (!silent && end && from >= end)) {
                    step[steps].source = 0;
                    step[steps].dest = static_cast<int32_t>(to);
                    ++steps;
                    lane = end = 0;
                }
                Step &now = step[steps - 1];
                if (!silent && !end) {
                    now.source = from;
                    end = from + kLanes;
                }
                now.lanes[lane] = silent ? -1 : from - now.source;
            }
        }
    }
};

PCM_TARGET void Pick(PCM_SAMPLE *dest, const ChannelMap &map, const PCM_SAMPLE *source, pbInt sourceChannels,
                     pbInt frames)
{
    if (PickMonoOrStereo(dest, map, source, sourceChannels, frames))
        return;
    if (frames < 2 * kLanes || sourceChannels > 1 << 20) // not worth the preparation; or too far apart for the steps
        return PickFrames(dest, map, source, sourceChannels, frames);

    const Group group(map, sourceChannels);
    // The vectors that a group loads and stores reach at most this far into the frames behind it.
    const pbInt least = map.channels < sourceChannels ? map.channels : sourceChannels;
    const pbInt needed = group.frames + kLanes / least + 1;
    for (; frames >= needed; frames -= group.frames) {
        for (int i = 0; i < group.steps; ++i) {
            const Step &step = group.step[i];
            Store(dest + step.dest, Arrange(source + step.source, step.lanes));
        }
        dest += group.frames * map.channels;
        source += group.frames * sourceChannels;
    }
    PickFrames(dest, map, source, sourceChannels, frames);
}

/// Four channels or more: blocks of four frames and four channels are transposed, so that a vector holds one channel of
/// neighbouring frames. The last block is of the last four channels, and those that were summed before are left out.
PCM_TARGET void SumMany(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    for (; frames >= kLanes; frames -= kLanes, dest += kLanes, source += kLanes * channels) {
        Floats sum = Zero();
        for (pbInt done = 0; done < channels; done += 4) {
            const pbInt start = done + 4 <= channels ? done : channels - 4;
            const PCM_SAMPLE *const at = source + start;
            const Floats a = LoadFours(at, 4 * channels), b = LoadFours(at + channels, 4 * channels),
                         c = LoadFours(at + 2 * channels, 4 * channels), d = LoadFours(at + 3 * channels, 4 * channels);
            const Floats ab = FirstPairs(a, b), cd = FirstPairs(c, d);
            if (start == done)
                sum = Add(sum, FirstHalves(ab, cd));
            if (start + 1 >= done)
                sum = Add(sum, LastHalves(ab, cd));
            const Floats abLast = LastPairs(a, b), cdLast = LastPairs(c, d);
            if (start + 2 >= done)
                sum = Add(sum, FirstHalves(abLast, cdLast));
            sum = Add(sum, LastHalves(abLast, cdLast));
        }
        Store(dest, sum);
    }
    SumFrames<0>(dest, source, channels, frames);
}

#endif

PCM_TARGET void Sum(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    switch (channels) {
    case 1: return SumFrames<1>(dest, source, 1, frames);
    case 2: return SumFrames<2>(dest, source, 2, frames);
    case 3: return SumFrames<3>(dest, source, 3, frames);
    default: return SumMany(dest, source, channels, frames);
    }
}

constexpr Loops kLoops = {Pick, Copy, Sum};
