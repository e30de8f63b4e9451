// The filter's loop, for one instruction set (pcm_each_isa.h). Neighbouring outputs are summed side by side, one to a
// lane of a register, so each adds its own terms in the order of the definition. The samples of interleaved channels
// are neighbours like any others.

#ifdef PCM_VECTOR

// What bounds such a loop is not arithmetic but loading: nearly every vector lies across two lines of the cache. So
// each is loaded once for several sums. The outputs `columns` vectors on need the same samples `lag` taps earlier in
// their sums, which therefore start `lag` steps later:
//
//     step                         0 ...   lag ...   2 lag ...        taps ...   ...
//     a vector of outputs          first tap          ...             done
//     the one `columns` vectors on         first tap  ...                        done
//     the next one                                   first tap ...

/// Streams of vectors that share a coefficient, each with kDeep sums that share their samples. Their number is limited
/// by the registers (AVX2 16, the others 32): a stream takes kDeep for its sums and one for its samples. With AVX-512
/// 12 sums keep the multipliers busy, and more streams would be harder to fill with a short packet.
#if defined PCM_AVX512
template <int kDeep> constexpr int kStreams = 12 / kDeep;
#elif defined PCM_AVX2
template <int kDeep> constexpr int kStreams = 15 / (kDeep + 1);
#else
template <int kDeep> constexpr int kStreams = 31 / (kDeep + 1);
#endif

struct Stagger {
    pbInt columns, lag;

    PCM_TARGET explicit Stagger(pbInt stride)
    {
        const int common = std::countr_zero(static_cast<uint64_t>(stride | kLanes)); // how many factors of 2 they share
        columns = stride >> common;
        lag = kLanes >> common;
    }
};

/// A sum below -1 or above 1 becomes that; NaN stays.
PCM_TARGET inline Floats Clamped(Floats v)
{
    v = v < -1.0f ? All<Floats>(-1.0f) : v;
    return v > 1.0f ? All<Floats>(1.0f) : v;
}

template <int... kNumbers> Numbers<kNumbers + 1 ...> Plus1(Numbers<kNumbers...>);
template <int kDeep> using Later = decltype(Plus1(Count<kDeep - 1>())); ///< 1 ... kDeep - 1

/// One sum of each stream. Folds give constant indices; an array indexed by a variable would stay in memory.
template <int kCount> struct Sums {
    Floats of[kCount];

    template <int... kAt>
    [[gnu::always_inline]] PCM_TARGET void Begin(bool first, PCM_SAMPLE *const (&dest)[kCount], pbInt step,
                                                 Numbers<kAt...>)
    {
        if (first)
            ((of[kAt] = Floats{}), ...);
        else
            ((of[kAt] = Load<Floats>(dest[kAt] + step)), ...);
    }

    template <int... kAt>
    [[gnu::always_inline]] PCM_TARGET void Add(float coefficient, const Floats (&samples)[kCount], Numbers<kAt...>)
    {
        const Floats factor = All<Floats>(coefficient);
        ((of[kAt] = Fused(factor, samples[kAt], of[kAt])), ...);
    }

    template <int... kAt>
    [[gnu::always_inline]] PCM_TARGET void Finish(bool last, PCM_SAMPLE *(&dest)[kCount], pbInt step, Numbers<kAt...>)
    {
        if (last)
            ((of[kAt] = Clamped(of[kAt])), ...);
        ((Store(dest[kAt], of[kAt]), dest[kAt] += step), ...);
    }
};

/// Steps begin ... end - 1 of the sums from kFrom on, as many as there are kDepths.
template <int kFrom, int kDeep, int kCount, int... kDepths, int... kAt>
[[gnu::always_inline]] PCM_TARGET inline void
Steps(Sums<kCount> (&sums)[kDeep], const PCM_SAMPLE *const (&source)[kCount], const FilterTerms &terms, pbInt lag,
      pbInt begin, pbInt end, Numbers<kDepths...>, Numbers<kAt...> streams)
{
    const PCM_SAMPLE *at[kCount] = {source[kAt] + begin * terms.stride...};
    const PCM_SAMPLE *coefficient = terms.coefficients - begin + kFrom * lag;
    for (pbInt step = begin; step < end; ++step, --coefficient) {
        Floats samples[kCount] = {Load<Floats>(at[kAt])...};
        if constexpr (sizeof...(kDepths) > 1)
            (Hold(samples[kAt]), ...);
        (sums[kFrom + kDepths].Add(coefficient[kDepths * lag], samples, streams), ...);
        ((at[kAt] += terms.stride), ...);
    }
}

/// Sums `length` vectors of each stream, of which stream i starts at starts[i]. At least kDeep. The taps exceed kDeep -
/// 1 lags. More than kDeep only if terms.first and kDeep lags cover the taps, so that the oldest sum is complete when
/// the next one starts.
template <int... kLater, int... kAt>
[[gnu::noinline]] PCM_TARGET void SumStreams(const FilterTerms &shape, Stagger stagger, const pbInt *starts,
                                             pbInt length, Numbers<kLater...>, Numbers<kAt...> streams)
{
    constexpr int kDeep = sizeof...(kLater) + 1, kCount = sizeof...(kAt);
    const FilterTerms terms = shape; // a local copy, which no store can alias
    const pbInt lag = stagger.lag, step = stagger.columns * kLanes;
    const PCM_SAMPLE *source[] = {terms.source + starts[kAt]...};
    PCM_SAMPLE *dest[] = {terms.dest + starts[kAt]...};
    Sums<kCount> sums[kDeep];
    sums[0].Begin(terms.first, dest, 0, streams);
    (sums[kLater].Begin(terms.first, dest, kLater * step, streams), ...);
    (Steps<0>(sums, source, terms, lag, (kLater - 1) * lag, kLater * lag, Count<kLater>(), streams), ...);
    for (;;) {
        Steps<0>(sums, source, terms, lag, (kDeep - 1) * lag, terms.taps, Count<kDeep>(), streams);
        sums[0].Finish(terms.last, dest, step, streams);
        if (--length < kDeep)
            break;
        Steps<1>(sums, source, terms, lag, terms.taps, kDeep * lag, Count<kDeep - 1>(), streams);
        ((sums[kLater - 1] = sums[kLater]), ...);
        sums[kDeep - 1].Begin(true, dest, 0, streams);
        ((source[kAt] += step), ...);
    }
    ((Steps<kLater>(sums, source, terms, lag, terms.taps + (kLater - 1) * lag, terms.taps + kLater * lag,
                    Count<kDeep - kLater>(), streams),
      sums[kLater].Finish(terms.last, dest, step, streams)),
     ...);
}

/// Sums neighbouring vectors that share nothing, as many as kAt: up to 12, which leave AVX2 a register for the
/// coefficient (with 8, 16 taps take 1.05 of the time). The last one ends no later than the outputs do.
template <int... kAt>
[[gnu::noinline]] PCM_TARGET void SumVectors(const FilterTerms &shape, pbInt at, Numbers<kAt...> vectors)
{
    constexpr int kCount = sizeof...(kAt), kLast = kCount - 1;
    const FilterTerms terms = shape;
    const pbInt last = std::min(at + kLast * kLanes, terms.samples - kLanes);
    const PCM_SAMPLE *source = terms.source + at, *lastSource = terms.source + last;
    PCM_SAMPLE *const dest = terms.dest + at, *const lastDest = terms.dest + last;
    Sums<kCount> sums;
    if (terms.first)
        ((sums.of[kAt] = Floats{}), ...);
    else
        ((sums.of[kAt] = Load<Floats>(kAt == kLast ? lastDest : dest + kAt * kLanes)), ...);
    for (pbInt tap = 0; tap < terms.taps; ++tap, source += terms.stride, lastSource += terms.stride) {
        const Floats samples[] = {Load<Floats>(kAt == kLast ? lastSource : source + kAt * kLanes)...};
        sums.Add(terms.coefficients[-tap], samples, vectors);
    }
    if (terms.last)
        ((sums.of[kAt] = Clamped(sums.of[kAt])), ...);
    (Store(kAt == kLast ? lastDest : dest + kAt * kLanes, sums.of[kAt]), ...);
}

/// Sums `together` streams of `length` vectors each, in segments of all columns from `at` on. A segment that would
/// overrun moves back.
template <int kDeep>
PCM_TARGET void SumSegments(const FilterTerms &terms, Stagger stagger, pbInt at, pbInt together, pbInt length)
{
    constexpr int kCount = kStreams<kDeep>;
    const pbInt segment = stagger.columns * length * kLanes;
    pbInt starts[kCount], column = 0;
    for (; together > 0; together -= kCount) {
        for (pbInt &start : starts) {
            start = std::min(at, terms.samples - segment) + column * kLanes;
            if (++column == stagger.columns) {
                column = 0;
                at += segment;
            }
        }
        SumStreams(terms, stagger, starts, length, Later<kDeep>(), Count<kCount>());
    }
}

/// The fewest streams that are whole segments and whole calls of SumStreams.
template <int kDeep> PCM_TARGET inline pbInt Together(Stagger stagger)
{
    return std::lcm(stagger.columns, pbInt{kStreams<kDeep>});
}

/// Sums all outputs in one pass, if kDeep lags, and no fewer, cover the taps and there are enough outputs. @return
/// whether it did
template <int kDeep> PCM_TARGET bool SumWithoutPause(const FilterTerms &terms, Stagger stagger)
{
    if (terms.taps <= (kDeep - 1) * stagger.lag || terms.taps > kDeep * stagger.lag)
        return false;
    const pbInt together = Together<kDeep>(stagger), length = (terms.samples - 1) / (together * kLanes) + 1;
    if (length < kDeep || stagger.columns * length * kLanes > terms.samples)
        return false;
    SumSegments<kDeep>(terms, stagger, 0, together, length);
    return true;
}

/// Sums in blocks of streams of kDeep vectors; the last may be one fifth short, where it can move back. @return the
/// samples summed
template <int kDeep> PCM_TARGET pbInt SumInBlocks(const FilterTerms &terms, Stagger stagger)
{
    const pbInt together = Together<kDeep>(stagger), block = together * kDeep * kLanes;
    const pbInt segment = stagger.columns * kDeep * kLanes; // must fit, to move back
    const pbInt least = terms.first && terms.last ? std::max(segment, block * 4 / 5) : block;
    pbInt at = 0;
    for (; terms.samples - at >= least; at += block)
        SumSegments<kDeep>(terms, stagger, at, together, kDeep);
    return std::min(at, terms.samples);
}

template <int... kCounts>
PCM_TARGET inline void SumFew(const FilterTerms &terms, pbInt at, pbInt vectors, Numbers<kCounts...>)
{
    ((vectors == kCounts + 1 ? SumVectors(terms, at, Count<kCounts + 1>()) : void()), ...);
}

/// For at least kLanes outputs.
PCM_TARGET void SumWhole(const FilterTerms &terms)
{
    const Stagger stagger(terms.stride);
    // The depths of the built-in sets with one or two channels, as far as they have one of these. Without them their
    // rows take 1.1 to 1.2 of the time; without blocks, which serve all others, 1.3 to 1.6.
    if (terms.first && terms.last &&
        (SumWithoutPause<2>(terms, stagger) || SumWithoutPause<3>(terms, stagger) ||
         SumWithoutPause<6>(terms, stagger)))
        return;
    pbInt at = terms.taps > 2 * stagger.lag ? SumInBlocks<3>(terms, stagger) : 0;
    pbInt left = (terms.samples - at + kLanes - 1) / kLanes;
    for (; left > 12; left -= 12, at += 12 * kLanes)
        SumVectors(terms, at, Count<12>());
    SumFew(terms, at, left, Count<12>());
}

PCM_TARGET void Sum(const FilterTerms &terms)
{
    if (terms.samples >= kLanes)
        return SumWhole(terms);
    PCM_SAMPLE sums[kLanes] = {}; // the source has room for a vector
    if (!terms.first)
        __builtin_memcpy(sums, terms.dest, static_cast<std::size_t>(terms.samples) * sizeof(PCM_SAMPLE));
    FilterTerms whole = terms;
    whole.dest = sums;
    whole.samples = kLanes;
    SumWhole(whole);
    __builtin_memcpy(terms.dest, sums, static_cast<std::size_t>(terms.samples) * sizeof(PCM_SAMPLE));
}

#else

/// The definition.
PCM_TARGET void Sum(const FilterTerms &terms)
{
    for (pbInt j = 0; j < terms.samples; ++j) {
        PCM_SAMPLE sum = terms.first ? 0.0f : terms.dest[j];
        for (pbInt tap = 0; tap < terms.taps; ++tap)
            sum = std::fma(terms.coefficients[-tap], terms.source[j + tap * terms.stride], sum);
        terms.dest[j] = !terms.last ? sum : sum < -1.0f ? -1.0f : sum > 1.0f ? 1.0f : sum;
    }
}

#endif

constexpr FilterLoop *kLoops = Sum;
