// The conversions' loops, for one level (pcm_each_level.h). A kind says how a sample becomes a 32-bit word, whose N
// most significant bytes are the code of an N-byte sample; a layout says where those bytes lie. Two forms join them:
// vectors of samples for containers of up to four bytes where the processor can shuffle bytes, and one sample at a time
// for everything else.

/// Encodes one sample at a time into any container. Stores words of eight bytes where the next container, written
/// after it, takes what is too much; the last container is written exactly.
template <class Sample>
PCM_TARGET void EncodeWords(uint8_t *dest, const PCM_SAMPLE *source, const Layout &shape, pbInt samples)
{
    const Layout layout = shape; // a copy, which the bytes written cannot be
    if (layout.container >= 5) {
        for (; samples > 1; --samples, ++source, dest += layout.container)
            StoreWhole(dest, layout.Place(Sample::Encode(*source)));
    }
    for (; samples > 0; --samples, ++source, dest += layout.container)
        StoreBytes(dest, layout.Place(Sample::Encode(*source)), layout.container);
}

/// The way back.
template <class Sample>
PCM_TARGET void DecodeWords(PCM_SAMPLE *dest, const uint8_t *source, const Layout &shape, pbInt samples)
{
    const Layout layout = shape;
    if (layout.container >= 5) {
        for (; samples > 1; --samples, ++dest, source += layout.container)
            *dest = Sample::Decode(layout.Take(LoadWhole(source)));
    }
    for (; samples > 0; --samples, ++dest, source += layout.container)
        *dest = Sample::Decode(layout.Take(LoadBytes(source, layout.container)));
}

/// The places in the table for as many samples as a vector loop likes, then a lookup for each.
PCM_TARGET void EncodeG711(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples)
{
    constexpr pbInt kRun = 256;
    alignas(64) int32_t places[kRun];
    for (pbInt done = 0; done < samples; done += kRun) {
        const pbInt run = samples - done < kRun ? samples - done : kRun;
        for (pbInt i = 0; i < run; ++i)
            places[i] = G711Place(source[done + i]);
        LookUpCodes(dest + done * layout.container, places, layout, run);
    }
}

#if PCM_LEVEL == 0

/// Samples that fill their containers: loops of fixed sizes, which the compiler can make vectors of.
template <class Sample, int kBytes, bool kBigEndian>
PCM_TARGET void EncodeTight(uint8_t *dest, const PCM_SAMPLE *source, pbInt samples)
{
    for (pbInt i = 0; i < samples; ++i)
        StoreCode<kBytes, kBigEndian>(dest + i * kBytes, Sample::Encode(source[i]));
}

template <class Sample, int kBytes, bool kBigEndian>
PCM_TARGET void DecodeTight(PCM_SAMPLE *dest, const uint8_t *source, pbInt samples)
{
    for (pbInt i = 0; i < samples; ++i)
        dest[i] = Sample::Decode(LoadCode<kBytes, kBigEndian>(source + i * kBytes));
}

template <class Sample>
PCM_TARGET void EncodeContainers(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples)
{
    if (layout.container != layout.bytes)
        return EncodeWords<Sample>(dest, source, layout, samples);
    switch (layout.bytes * 2 + layout.bigEndian) {
    case 2:
    case 3: return EncodeTight<Sample, 1, false>(dest, source, samples);
    case 4: return EncodeTight<Sample, 2, false>(dest, source, samples);
    case 5: return EncodeTight<Sample, 2, true>(dest, source, samples);
    case 6: return EncodeTight<Sample, 3, false>(dest, source, samples);
    case 7: return EncodeTight<Sample, 3, true>(dest, source, samples);
    case 8: return EncodeTight<Sample, 4, false>(dest, source, samples);
    default: return EncodeTight<Sample, 4, true>(dest, source, samples);
    }
}

template <class Sample>
PCM_TARGET void DecodeContainers(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    if (layout.container != layout.bytes)
        return DecodeWords<Sample>(dest, source, layout, samples);
    switch (layout.bytes * 2 + layout.bigEndian) {
    case 2:
    case 3: return DecodeTight<Sample, 1, false>(dest, source, samples);
    case 4: return DecodeTight<Sample, 2, false>(dest, source, samples);
    case 5: return DecodeTight<Sample, 2, true>(dest, source, samples);
    case 6: return DecodeTight<Sample, 3, false>(dest, source, samples);
    case 7: return DecodeTight<Sample, 3, true>(dest, source, samples);
    case 8: return DecodeTight<Sample, 4, false>(dest, source, samples);
    default: return DecodeTight<Sample, 4, true>(dest, source, samples);
    }
}

#else

#if PCM_LEVEL == 2

using Floats = __m512;
using Words = __m512i;
constexpr pbInt kWide = 16; // samples in a vector

PCM_TARGET inline Words EncodeSigned(Floats samples)
{
    const Floats v = _mm512_mul_ps(samples, _mm512_set1_ps(0x1p31f));
    const Words n = _mm512_maskz_cvttps_epi32(_mm512_cmp_ps_mask(v, v, _CMP_ORD_Q), v); // below: 0x80000000
    const __mmask16 above = _mm512_cmp_ps_mask(v, _mm512_set1_ps(0x1p31f), _CMP_GE_OQ);
    return _mm512_mask_mov_epi32(n, above, _mm512_set1_epi32(INT32_MAX));
}

PCM_TARGET inline Words EncodeOffset(Floats samples)
{
    const Floats v = _mm512_fmadd_ps(samples, _mm512_set1_ps(0x1p31f), _mm512_set1_ps(0x1p31f));
    return _mm512_cvttps_epu32(_mm512_max_ps(v, _mm512_setzero_ps())); // NaN: the second; above: all ones
}

PCM_TARGET inline Words BitsOf(Floats samples)
{
    return _mm512_castps_si512(samples);
}
PCM_TARGET inline Floats FromBits(Words words)
{
    return _mm512_castsi512_ps(words);
}

PCM_TARGET inline Floats DecodeSigned(Words words)
{
    return _mm512_mul_ps(_mm512_cvtepi32_ps(words), _mm512_set1_ps(0x1p-31f));
}

PCM_TARGET inline Words FlipSign(Words words)
{
    return _mm512_xor_si512(words, _mm512_set1_epi32(INT32_MIN));
}

PCM_TARGET inline Floats DecodeOffset32(Words words)
{
    return _mm512_fmadd_ps(_mm512_cvtepu32_ps(words), _mm512_set1_ps(0x1p-31f), _mm512_set1_ps(-1.0f));
}

PCM_TARGET inline Floats LoadSamples(const PCM_SAMPLE *source)
{
    return _mm512_loadu_ps(source);
}
PCM_TARGET inline void StoreSamples(PCM_SAMPLE *dest, Floats samples)
{
    _mm512_storeu_ps(dest, samples);
}

PCM_TARGET inline Words LoadControl(const uint8_t *lane)
{
    return _mm512_broadcast_i32x4(_mm_load_si128(reinterpret_cast<const __m128i *>(lane)));
}

PCM_TARGET inline Words Shuffle(Words words, Words control)
{
    return _mm512_shuffle_epi8(words, control);
}

/// Moves the kContainer dwords at the bottom of each lane together.
template <int kContainer> PCM_TARGET inline Words Gather(Words words)
{
    if constexpr (kContainer == 1)
        return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0), words);
    if constexpr (kContainer == 2)
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 0, 0, 0, 0), words);
    if constexpr (kContainer == 3)
        return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0, 0, 0, 0), words);
    return words;
}

template <int kContainer> PCM_TARGET inline Words Scatter(Words words)
{
    if constexpr (kContainer == 1)
        return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0), words);
    if constexpr (kContainer == 2)
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 0, 1, 0, 2, 0, 3, 0), words);
    if constexpr (kContainer == 3)
        return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 1, 2, 0, 3, 4, 5, 0, 6, 7, 8, 0, 9, 10, 11, 0), words);
    return words;
}

template <int kContainer> PCM_TARGET inline Words LoadRun(const uint8_t *source)
{
    const auto *at = reinterpret_cast<const __m256i *>(source);
    if constexpr (kContainer == 1)
        return _mm512_castsi128_si512(_mm_loadu_si128(reinterpret_cast<const __m128i *>(source)));
    if constexpr (kContainer == 2)
        return _mm512_castsi256_si512(_mm256_loadu_si256(at));
    if constexpr (kContainer == 3)
        return _mm512_maskz_loadu_epi32(0x0FFF, source);
    return _mm512_loadu_si512(source);
}

template <int kContainer> PCM_TARGET inline void StoreRun(uint8_t *dest, Words words)
{
    auto *const at = reinterpret_cast<__m256i *>(dest);
    if constexpr (kContainer == 1)
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dest), _mm512_castsi512_si128(words));
    if constexpr (kContainer == 2)
        _mm256_storeu_si256(at, _mm512_castsi512_si256(words));
    if constexpr (kContainer == 3) {
        _mm256_storeu_si256(at, _mm512_castsi512_si256(words));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dest + 32), _mm512_extracti32x4_epi32(words, 2));
    }
    if constexpr (kContainer == 4)
        _mm512_storeu_si512(dest, words);
}

#else

using Floats = __m256;
using Words = __m256i;
constexpr pbInt kWide = 8; // samples in a vector

PCM_TARGET inline Words BitsOf(Floats samples)
{
    return _mm256_castps_si256(samples);
}
PCM_TARGET inline Floats FromBits(Words words)
{
    return _mm256_castsi256_ps(words);
}

PCM_TARGET inline Words EncodeSigned(Floats samples)
{
    const Floats full = _mm256_set1_ps(0x1p31f), v = _mm256_mul_ps(samples, full);
    const Words n = _mm256_cvttps_epi32(v); // out of range, NaN: 0x80000000
    const Words above = BitsOf(_mm256_cmp_ps(v, full, _CMP_GE_OQ));
    return _mm256_and_si256(_mm256_xor_si256(n, above), BitsOf(_mm256_cmp_ps(v, v, _CMP_ORD_Q)));
}

PCM_TARGET inline Words EncodeOffset(Floats samples)
{
    const Floats half = _mm256_set1_ps(0x1p31f);
    const Floats v = _mm256_max_ps(_mm256_fmadd_ps(samples, half, half), _mm256_setzero_ps()); // NaN: the second
    const Floats upper = _mm256_cmp_ps(v, half, _CMP_GE_OQ);
    const Words n = _mm256_cvttps_epi32(_mm256_sub_ps(v, _mm256_and_ps(upper, half))); // the upper half's are exact
    const Words code = _mm256_xor_si256(n, _mm256_slli_epi32(BitsOf(upper), 31));
    return _mm256_or_si256(code, BitsOf(_mm256_cmp_ps(v, _mm256_set1_ps(0x1p32f), _CMP_GE_OQ)));
}

PCM_TARGET inline Floats DecodeSigned(Words words)
{
    return _mm256_mul_ps(_mm256_cvtepi32_ps(words), _mm256_set1_ps(0x1p-31f));
}

PCM_TARGET inline Words FlipSign(Words words)
{
    return _mm256_xor_si256(words, _mm256_set1_epi32(INT32_MIN));
}

/// The word becomes a float through its halves, of which the sum is rounded once.
PCM_TARGET inline Floats DecodeOffset32(Words words)
{
    const Floats high = _mm256_cvtepi32_ps(_mm256_srli_epi32(words, 16));
    const Floats low = _mm256_cvtepi32_ps(_mm256_and_si256(words, _mm256_set1_epi32(0xFFFF)));
    const Floats value = _mm256_fmadd_ps(high, _mm256_set1_ps(0x1p16f), low);
    return _mm256_fmadd_ps(value, _mm256_set1_ps(0x1p-31f), _mm256_set1_ps(-1.0f));
}

PCM_TARGET inline Floats LoadSamples(const PCM_SAMPLE *source)
{
    return _mm256_loadu_ps(source);
}
PCM_TARGET inline void StoreSamples(PCM_SAMPLE *dest, Floats samples)
{
    _mm256_storeu_ps(dest, samples);
}

PCM_TARGET inline Words LoadControl(const uint8_t *lane)
{
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i *>(lane)));
}

PCM_TARGET inline Words Shuffle(Words words, Words control)
{
    return _mm256_shuffle_epi8(words, control);
}

/// Moves the kContainer dwords at the bottom of each lane together.
template <int kContainer> PCM_TARGET inline Words Gather(Words words)
{
    if constexpr (kContainer == 1)
        return _mm256_permutevar8x32_epi32(words, _mm256_setr_epi32(0, 4, 0, 0, 0, 0, 0, 0));
    if constexpr (kContainer == 2)
        return _mm256_permute4x64_epi64(words, 0x08);
    if constexpr (kContainer == 3)
        return _mm256_permutevar8x32_epi32(words, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 0, 0));
    return words;
}

template <int kContainer> PCM_TARGET inline Words Scatter(Words words)
{
    if constexpr (kContainer == 1)
        return _mm256_permutevar8x32_epi32(words, _mm256_setr_epi32(0, 0, 0, 0, 1, 0, 0, 0));
    if constexpr (kContainer == 2)
        return _mm256_permute4x64_epi64(words, 0x10);
    if constexpr (kContainer == 3)
        return _mm256_permutevar8x32_epi32(words, _mm256_setr_epi32(0, 1, 2, 0, 3, 4, 5, 0));
    return words;
}

template <int kContainer> PCM_TARGET inline Words LoadRun(const uint8_t *source)
{
    const auto *at = reinterpret_cast<const __m128i *>(source);
    if constexpr (kContainer == 1)
        return _mm256_castsi128_si256(_mm_loadl_epi64(at));
    if constexpr (kContainer == 2)
        return _mm256_castsi128_si256(_mm_loadu_si128(at));
    if constexpr (kContainer == 3) {
        const __m128i last = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(source + 16));
        return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(at)), last, 1);
    }
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(source));
}

template <int kContainer> PCM_TARGET inline void StoreRun(uint8_t *dest, Words words)
{
    auto *const at = reinterpret_cast<__m128i *>(dest);
    if constexpr (kContainer == 1)
        _mm_storel_epi64(at, _mm256_castsi256_si128(words));
    if constexpr (kContainer == 2)
        _mm_storeu_si128(at, _mm256_castsi256_si128(words));
    if constexpr (kContainer == 3) {
        _mm_storeu_si128(at, _mm256_castsi256_si128(words));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(dest + 16), _mm256_extracti128_si256(words, 1));
    }
    if constexpr (kContainer == 4)
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(dest), words);
}

#endif

template <class Sample> PCM_TARGET inline Words Quantise(Floats samples)
{
    if constexpr (Sample::kKind == pcm::Kind::Signed)
        return EncodeSigned(samples);
    else if constexpr (Sample::kKind == pcm::Kind::Float)
        return BitsOf(samples);
    else
        return EncodeOffset(samples);
}

template <class Sample> PCM_TARGET inline Floats Value(Words words)
{
    if constexpr (Sample::kKind == pcm::Kind::Signed)
        return DecodeSigned(words);
    else if constexpr (Sample::kKind == pcm::Kind::Offset)
        return DecodeSigned(FlipSign(words));
    else if constexpr (Sample::kKind == pcm::Kind::Offset32)
        return DecodeOffset32(words);
    else
        return FromBits(words);
}

template <class Sample, int kContainer>
PCM_TARGET inline void EncodeVector(uint8_t *dest, const PCM_SAMPLE *source, Words control)
{
    StoreRun<kContainer>(dest, Gather<kContainer>(Shuffle(Quantise<Sample>(LoadSamples(source)), control)));
}

template <class Sample, int kContainer>
PCM_TARGET inline void DecodeVector(PCM_SAMPLE *dest, const uint8_t *source, Words control)
{
    StoreSamples(dest, Value<Sample>(Shuffle(Scatter<kContainer>(LoadRun<kContainer>(source)), control)));
}

/// How many samples of four bytes lie before the first that begins a vector, so that loads or stores from there on
/// cross no line of the cache. Any answer is right.
PCM_TARGET inline pbInt SamplesBeforeVector(const void *samples)
{
    return static_cast<pbInt>(-reinterpret_cast<uintptr_t>(samples) / sizeof(PCM_SAMPLE) % kWide);
}

/// Vectors of samples. The first and the last overlap their neighbours; a run too short for one goes through a local
/// array.
template <class Sample, int kContainer>
PCM_TARGET void EncodeVectors(uint8_t *dest, const PCM_SAMPLE *source, const uint8_t *lane, pbInt samples)
{
    const Words control = LoadControl(lane);
    if (samples < kWide) {
        PCM_SAMPLE in[kWide] = {};
        uint8_t out[kWide * kContainer];
        __builtin_memcpy(in, source, static_cast<std::size_t>(samples) * sizeof(PCM_SAMPLE));
        EncodeVector<Sample, kContainer>(out, in, control);
        __builtin_memcpy(dest, out, static_cast<std::size_t>(samples * kContainer));
        return;
    }
    EncodeVector<Sample, kContainer>(dest, source, control);
    const void *const wide = kContainer == 4 ? static_cast<const void *>(dest) : source;
    for (pbInt i = SamplesBeforeVector(wide); i < samples - kWide; i += kWide)
        EncodeVector<Sample, kContainer>(dest + i * kContainer, source + i, control);
    EncodeVector<Sample, kContainer>(dest + (samples - kWide) * kContainer, source + (samples - kWide), control);
}

template <class Sample, int kContainer>
PCM_TARGET void DecodeVectors(PCM_SAMPLE *dest, const uint8_t *source, const uint8_t *lane, pbInt samples)
{
    const Words control = LoadControl(lane);
    if (samples < kWide) {
        uint8_t in[kWide * kContainer] = {};
        PCM_SAMPLE out[kWide];
        __builtin_memcpy(in, source, static_cast<std::size_t>(samples * kContainer));
        DecodeVector<Sample, kContainer>(out, in, control);
        __builtin_memcpy(dest, out, static_cast<std::size_t>(samples) * sizeof(PCM_SAMPLE));
        return;
    }
    DecodeVector<Sample, kContainer>(dest, source, control);
    for (pbInt i = SamplesBeforeVector(dest); i < samples - kWide; i += kWide)
        DecodeVector<Sample, kContainer>(dest + i, source + i * kContainer, control);
    DecodeVector<Sample, kContainer>(dest + (samples - kWide), source + (samples - kWide) * kContainer, control);
}

template <class Sample>
PCM_TARGET void EncodeContainers(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples)
{
    switch (layout.container) {
    case 1: return EncodeVectors<Sample, 1>(dest, source, PackControl(layout), samples);
    case 2: return EncodeVectors<Sample, 2>(dest, source, PackControl(layout), samples);
    case 3: return EncodeVectors<Sample, 3>(dest, source, PackControl(layout), samples);
    case 4: return EncodeVectors<Sample, 4>(dest, source, PackControl(layout), samples);
    default: return EncodeWords<Sample>(dest, source, layout, samples);
    }
}

template <class Sample>
PCM_TARGET void DecodeContainers(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    switch (layout.container) {
    case 1: return DecodeVectors<Sample, 1>(dest, source, SpreadControl(layout), samples);
    case 2: return DecodeVectors<Sample, 2>(dest, source, SpreadControl(layout), samples);
    case 3: return DecodeVectors<Sample, 3>(dest, source, SpreadControl(layout), samples);
    case 4: return DecodeVectors<Sample, 4>(dest, source, SpreadControl(layout), samples);
    default: return DecodeWords<Sample>(dest, source, layout, samples);
    }
}

#endif

PCM_TARGET void Encode(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples)
{
    switch (layout.kind) {
    case Kind::Signed: return EncodeContainers<SignedSample>(dest, source, layout, samples);
    case Kind::Offset:
    case Kind::Offset32: return EncodeContainers<OffsetSample>(dest, source, layout, samples);
    case Kind::Float: return EncodeContainers<FloatSample>(dest, source, layout, samples);
    case Kind::Alaw:
    case Kind::Mulaw: return EncodeG711(dest, source, layout, samples);
    }
}

PCM_TARGET void Decode(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    switch (layout.kind) {
    case Kind::Signed: return DecodeContainers<SignedSample>(dest, source, layout, samples);
    case Kind::Offset: return DecodeContainers<OffsetSample>(dest, source, layout, samples);
    case Kind::Offset32: return DecodeContainers<Offset32Sample>(dest, source, layout, samples);
    case Kind::Float: return DecodeContainers<FloatSample>(dest, source, layout, samples);
    case Kind::Alaw:
    case Kind::Mulaw: return DecodeG711(dest, source, layout, samples);
    }
}

constexpr Loops kLoops = {Encode, Decode};
