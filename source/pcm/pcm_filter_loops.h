// The filter's loop, for one level (pcm_each_level.h). Neighbouring outputs are summed side by side, one to a lane,
// with the sums in registers: no lane waits for another, and each adds its own terms in the order of the definition.
// The samples of interleaved channels are neighbours like any others.

#if PCM_LEVEL == 2

struct Lanes {
    static constexpr pbInt kWidth = 16;
    static constexpr int kBlock = 8; ///< how many are summed at once

    __m512 value;

    PCM_TARGET static Lanes Zero() { return {_mm512_setzero_ps()}; }
    PCM_TARGET static Lanes Load(const PCM_SAMPLE *source) { return {_mm512_loadu_ps(source)}; }
    PCM_TARGET static Lanes LoadSome(const PCM_SAMPLE *source, pbInt samples)
    {
        return {_mm512_maskz_loadu_ps(Mask(samples), source)};
    }
    PCM_TARGET void Store(PCM_SAMPLE *dest) const { _mm512_storeu_ps(dest, value); }
    PCM_TARGET void StoreSome(PCM_SAMPLE *dest, pbInt samples) const
    {
        _mm512_mask_storeu_ps(dest, Mask(samples), value);
    }
    PCM_TARGET Lanes Plus(PCM_SAMPLE coefficient, Lanes source) const
    {
        return {_mm512_fmadd_ps(_mm512_set1_ps(coefficient), source.value, value)};
    }
    /// Of a number and NaN, minimum and maximum are the second operand.
    PCM_TARGET Lanes Clamped() const
    {
        return {_mm512_max_ps(_mm512_set1_ps(-1.0f), _mm512_min_ps(_mm512_set1_ps(1.0f), value))};
    }

private:
    PCM_TARGET static __mmask16 Mask(pbInt samples) { return static_cast<__mmask16>((1u << samples) - 1); }
};

#elif PCM_LEVEL == 1

struct Lanes {
    static constexpr pbInt kWidth = 8;
    static constexpr int kBlock = 12; ///< how many are summed at once

    __m256 value;

    PCM_TARGET static Lanes Zero() { return {_mm256_setzero_ps()}; }
    PCM_TARGET static Lanes Load(const PCM_SAMPLE *source) { return {_mm256_loadu_ps(source)}; }
    PCM_TARGET static Lanes LoadSome(const PCM_SAMPLE *source, pbInt samples)
    {
        return {_mm256_maskload_ps(source, Mask(samples))};
    }
    PCM_TARGET void Store(PCM_SAMPLE *dest) const { _mm256_storeu_ps(dest, value); }
    PCM_TARGET void StoreSome(PCM_SAMPLE *dest, pbInt samples) const
    {
        _mm256_maskstore_ps(dest, Mask(samples), value);
    }
    PCM_TARGET Lanes Plus(PCM_SAMPLE coefficient, Lanes source) const
    {
        return {_mm256_fmadd_ps(_mm256_set1_ps(coefficient), source.value, value)};
    }
    /// Of a number and NaN, minimum and maximum are the second operand.
    PCM_TARGET Lanes Clamped() const
    {
        return {_mm256_max_ps(_mm256_set1_ps(-1.0f), _mm256_min_ps(_mm256_set1_ps(1.0f), value))};
    }

private:
    PCM_TARGET static __m256i Mask(pbInt samples)
    {
        return _mm256_cmpgt_epi32(_mm256_set1_epi32(static_cast<int>(samples)),
                                  _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    }
};

#else

/// Plain numbers. Where a fused step is an instruction, the compiler makes vectors of them.
struct Lanes {
    static constexpr pbInt kWidth = 4;
    static constexpr int kBlock = 4; ///< how many are summed at once

    PCM_SAMPLE value[kWidth];

    static Lanes Zero() { return {}; }
    static Lanes Load(const PCM_SAMPLE *source) { return LoadSome(source, kWidth); }
    static Lanes LoadSome(const PCM_SAMPLE *source, pbInt samples)
    {
        Lanes lanes = {};
        for (pbInt i = 0; i < samples; ++i)
            lanes.value[i] = source[i];
        return lanes;
    }
    void Store(PCM_SAMPLE *dest) const { StoreSome(dest, kWidth); }
    void StoreSome(PCM_SAMPLE *dest, pbInt samples) const
    {
        for (pbInt i = 0; i < samples; ++i)
            dest[i] = value[i];
    }
    Lanes Plus(PCM_SAMPLE coefficient, Lanes source) const
    {
        Lanes sum;
        for (pbInt i = 0; i < kWidth; ++i)
            sum.value[i] = std::fma(coefficient, source.value[i], value[i]);
        return sum;
    }
    Lanes Clamped() const
    {
        Lanes clamped;
        for (pbInt i = 0; i < kWidth; ++i)
            clamped.value[i] = value[i] < -1.0f ? -1.0f : value[i] > 1.0f ? 1.0f : value[i];
        return clamped;
    }
};

#endif

/// The sums from output `at` on, of as many vectors as there are kPlaces; of the last one only `inLast` samples, unless
/// it is full. Not inlined, so that the sums have all registers to themselves; the places are constants for the same
/// reason.
template <bool kFull, int... kPlaces>
PCM_TARGET __attribute__((noinline)) void SumVectors(const FilterTerms &terms, pbInt at, pbInt inLast,
                                                     std::integer_sequence<int, kPlaces...>)
{
    constexpr pbInt kWidth = Lanes::kWidth;
    constexpr int kCount = sizeof...(kPlaces);
    const PCM_SAMPLE *const source = terms.source + at;
    PCM_SAMPLE *const dest = terms.dest + at;
    const auto load = [inLast](const PCM_SAMPLE *from, int place) PCM_TARGET {
        const PCM_SAMPLE *const start = from + place * kWidth;
        return kFull || place < kCount - 1 ? Lanes::Load(start) : Lanes::LoadSome(start, inLast);
    };
    const auto store = [inLast, dest](Lanes sum, int place) PCM_TARGET {
        PCM_SAMPLE *const start = dest + place * kWidth;
        return kFull || place < kCount - 1 ? sum.Store(start) : sum.StoreSome(start, inLast);
    };

    Lanes sum[kCount] = {(static_cast<void>(kPlaces), Lanes::Zero())...};
    if (!terms.first)
        ((sum[kPlaces] = load(dest, kPlaces)), ...);
    for (pbInt tap = 0; tap < terms.taps; ++tap) {
        const PCM_SAMPLE coefficient = terms.coefficients[-tap];
        const PCM_SAMPLE *const frames = source + tap * terms.stride;
        ((sum[kPlaces] = sum[kPlaces].Plus(coefficient, load(frames, kPlaces))), ...);
    }
    if (terms.last)
        ((sum[kPlaces] = sum[kPlaces].Clamped()), ...);
    (store(sum[kPlaces], kPlaces), ...);
}

template <int kCount, bool kFull = false> PCM_TARGET void SumVectors(const FilterTerms &terms, pbInt at, pbInt inLast)
{
    SumVectors<kFull>(terms, at, inLast, std::make_integer_sequence<int, kCount>());
}

PCM_TARGET void Sum(const FilterTerms &terms)
{
    constexpr pbInt kWidth = Lanes::kWidth;
    pbInt at = 0;
    for (; terms.samples - at >= Lanes::kBlock * kWidth; at += Lanes::kBlock * kWidth)
        SumVectors<Lanes::kBlock, true>(terms, at, kWidth);
    for (; terms.samples - at >= 4 * kWidth; at += 4 * kWidth)
        SumVectors<4, true>(terms, at, kWidth);
    const pbInt rest = terms.samples - at;
    if (rest > 3 * kWidth)
        SumVectors<4>(terms, at, rest - 3 * kWidth);
    else if (rest > 2 * kWidth)
        SumVectors<3>(terms, at, rest - 2 * kWidth);
    else if (rest > kWidth)
        SumVectors<2>(terms, at, rest - kWidth);
    else if (rest > 0)
        SumVectors<1>(terms, at, rest);
}

constexpr FilterLoop *kLoops = Sum;
