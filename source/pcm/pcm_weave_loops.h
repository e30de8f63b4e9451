// Weaving's loops, for one level (pcm_each_level.h).

/// Numbers that are arguments; others in the template arguments are constants, which let the compiler make vectors.
constexpr pbInt kAny = -1;

template <pbInt kWidth, pbInt kKept, bool kFills>
PCM_TARGET void WeaveFrames(PCM_SAMPLE *__restrict dest, pbInt width, const PCM_SAMPLE *__restrict source, pbInt kept,
                            const PCM_SAMPLE *__restrict filler, pbInt frames)
{
    width = kWidth == kAny ? width : kWidth;
    kept = kKept == kAny ? kept : kKept;
    for (pbInt f = 0; f < frames; ++f) {
        const PCM_SAMPLE fill = kFills ? filler[f] : 0.0f;
        for (pbInt c = 0; c < kept; ++c)
            dest[f * width + c] = source[f * kept + c];
        for (pbInt c = kept; c < width; ++c)
            dest[f * width + c] = fill;
    }
}

/// The frames that compilers make good vectors of, wide ones that are mostly silence included. @return null for others
PCM_TARGET decltype(Weave) *Simple(pbInt width, pbInt kept, bool fills)
{
    if (width == 2 && kept == 0)
        return WeaveFrames<2, 0, true>;
    if (width == 2 && kept == 1)
        return fills ? WeaveFrames<2, 1, true> : WeaveFrames<2, 1, false>;
    if (width == 3 && kept == 1 && !fills)
        return WeaveFrames<3, 1, false>;
    if (width == 4 && kept == 2 && !fills)
        return WeaveFrames<4, 2, false>;
    if (width == 18 && kept == 6 && !fills)
        return WeaveFrames<18, 6, false>;
    if (width == 36 && kept == 6 && !fills)
        return WeaveFrames<36, 6, false>;
    return nullptr;
}

template <bool kFills> PCM_TARGET decltype(Weave) *General(pbInt kept)
{
    switch (kept) {
    case 0: return WeaveFrames<kAny, 0, kFills>;
    case 1: return WeaveFrames<kAny, 1, kFills>;
    case 2: return WeaveFrames<kAny, 2, kFills>;
    case 6: return WeaveFrames<kAny, 6, kFills>;
    case 8: return WeaveFrames<kAny, 8, kFills>;
    default: return WeaveFrames<kAny, kAny, kFills>;
    }
}

PCM_TARGET void WeavePlain(PCM_SAMPLE *dest, pbInt width, const PCM_SAMPLE *source, pbInt kept,
                           const PCM_SAMPLE *filler, pbInt frames)
{
    auto *loop = Simple(width, kept, filler);
    if (!loop)
        loop = filler ? General<true>(kept) : General<false>(kept);
    loop(dest, width, source, kept, filler, frames);
}

#if PCM_LEVEL == 0

constexpr Loops kLoops = {WeavePlain};

#else

typedef int32_t Words __attribute__((vector_size(PCM_VECTOR)));
constexpr pbInt kWords = PCM_VECTOR / 4;

PCM_TARGET inline Words Permute(Words words, Words places)
{
#if PCM_LEVEL == 2
    return (Words)_mm512_maskz_permutexvar_epi32(0xFFFF, (__m512i)places, (__m512i)words);
#else
    return (Words)_mm256_permutevar8x32_epi32((__m256i)words, (__m256i)places);
#endif
}

PCM_TARGET inline Words LoadWords(const PCM_SAMPLE *samples)
{
    Words words;
    __builtin_memcpy(&words, samples, sizeof(words));
    return words;
}

/// How one vector of dest is made. It takes its samples from as many of source, and of filler, from a place on.
struct Pattern {
    Words places; ///< which sample of source or filler each lane takes
    Words kept;   ///< all bits set: of source
    pbInt source, filler;
};

/// The patterns repeat with the least number of vectors that are whole frames. Wider frames than this go without.
constexpr pbInt kWidest = 16;

/// @return how many patterns there are
PCM_TARGET pbInt MakePatterns(Pattern *patterns, pbInt width, pbInt kept)
{
    const pbInt count = width / std::gcd(width, kWords);
    pbInt frame = 0, at = 0; // of the sample that the next lane is
    for (Pattern *pattern = patterns; pattern != patterns + count; ++pattern) {
        pattern->source = frame * kept + (at < kept ? at : kept);
        pattern->filler = frame;
        for (pbInt lane = 0; lane < kWords; ++lane) {
            pattern->kept[lane] = at < kept ? -1 : 0;
            pattern->places[lane] =
                static_cast<int32_t>(at < kept ? frame * kept + at - pattern->source : frame - pattern->filler);
            if (++at == width) {
                at = 0;
                ++frame;
            }
        }
    }
    return count;
}

template <bool kKeeps, bool kFills>
PCM_TARGET void WeaveVectors(PCM_SAMPLE *dest, pbInt width, const PCM_SAMPLE *source, pbInt kept,
                             const PCM_SAMPLE *filler, pbInt frames)
{
    Pattern patterns[kWidest];
    const pbInt count = MakePatterns(patterns, width, kept), step = count * kWords / width; // frames of all patterns
    // No window begins more than a step from here: as long as one that did would lie within source and filler.
    const pbInt window = kFills || kept == 0 ? kWords : (kWords + kept - 1) / kept;
    for (; frames >= step + window; frames -= step) {
        for (const Pattern *pattern = patterns; pattern != patterns + count; ++pattern) {
            Words words = {};
            if (kKeeps)
                words = Permute(LoadWords(source + pattern->source), pattern->places) & pattern->kept;
            if (kFills)
                words |= Permute(LoadWords(filler + pattern->filler), pattern->places) & ~pattern->kept;
            __builtin_memcpy(dest, &words, sizeof(words));
            dest += kWords;
        }
        source += kKeeps ? step * kept : 0;
        filler += kFills ? step : 0;
    }
    WeavePlain(dest, width, source, kept, filler, frames);
}

PCM_TARGET void WeaveHere(PCM_SAMPLE *dest, pbInt width, const PCM_SAMPLE *source, pbInt kept, const PCM_SAMPLE *filler,
                          pbInt frames)
{
    if (width > kWidest || frames < 2 * kWords || Simple(width, kept, filler))
        WeavePlain(dest, width, source, kept, filler, frames);
    else if (!filler)
        WeaveVectors<true, false>(dest, width, source, kept, filler, frames);
    else if (kept == 0)
        WeaveVectors<false, true>(dest, width, source, kept, filler, frames);
    else
        WeaveVectors<true, true>(dest, width, source, kept, filler, frames);
}

constexpr Loops kLoops = {WeaveHere};

#endif
