// The words in which loops are written, for one instruction set (pcm_each_isa.h): a vector of samples is the compiler's
// own vector type, with its operators; what has no operator is a function here. In a set without vectors the same words
// mean one sample, so that a codec is written once for all sets.

#ifdef PCM_VECTOR

// `template <int... kAt>` with Count<n>() spells out the lanes 0 ... n - 1.

typedef float Floats __attribute__((vector_size(PCM_VECTOR)));
typedef uint32_t Words __attribute__((vector_size(PCM_VECTOR)));
typedef int32_t Ints __attribute__((vector_size(PCM_VECTOR)));
constexpr int kLanes = PCM_VECTOR / 4;

template <int... kNumbers> using Numbers = std::integer_sequence<int, kNumbers...>;
template <int kCount> using Count = std::make_integer_sequence<int, kCount>;

template <class Vector> PCM_TARGET inline Vector Load(const void *source)
{
    Vector vector;
    __builtin_memcpy(&vector, source, sizeof(vector));
    return vector;
}
template <class Vector> PCM_TARGET inline void Store(void *dest, Vector vector)
{
    __builtin_memcpy(dest, &vector, sizeof(vector));
}

PCM_TARGET inline Floats FromSigned(Words words)
{
    return __builtin_convertvector((Ints)words, Floats);
}

#else

typedef float Floats;
typedef uint32_t Words;
typedef int32_t Ints;

PCM_TARGET inline Floats FromSigned(Words word)
{
    return static_cast<float>(static_cast<int32_t>(word));
}

#endif

/// The same in every lane; taking zeros away changes no bit of it.
template <class Vector> PCM_TARGET inline Vector All(float sample)
{
    return sample - Vector{};
}

PCM_TARGET inline Words BitsOf(Floats samples)
{
    return __builtin_bit_cast(Words, samples);
}
PCM_TARGET inline Floats FromBits(Words bits)
{
    return __builtin_bit_cast(Floats, bits);
}

// What each set has an instruction for, or nearly:
//
// - Fused is a * b + c, rounded once. FromUnsigned rounds to the nearest.
// - Signed and Unsigned truncate toward zero to an integer of 32 bits and saturate; NaN is 0.
// - SignedTop is Signed, and OffsetTop offset binary, where the lowest byte does not count.
//
// and with vectors
//
// - Hold keeps a vector in a register, where GCC would load it again for each use.
// - Permuted: lane i is lane places[i]; unspecified where there is no such lane.
// - StorePacked stores 16 words as containers of kContainer bytes each, LoadSpread loads a vector of words from such
//   containers; neither touches a byte beyond. The control says where each byte comes from (Shuffles, pcm_convert.cpp).

#if defined PCM_AVX512

PCM_TARGET inline Floats Fused(Floats a, Floats b, Floats c)
{
    return (Floats)_mm512_fmadd_ps((__m512)a, (__m512)b, (__m512)c);
}
PCM_TARGET inline void Hold(Floats &v)
{
    __asm__("" : "+v"(v));
}
PCM_TARGET inline Words Signed(Floats v)
{
    const __m512i n = _mm512_maskz_cvttps_epi32(_mm512_cmp_ps_mask((__m512)v, (__m512)v, _CMP_ORD_Q), (__m512)v);
    return (Words)_mm512_min_epu32(n, (__m512i)(BitsOf(v) | INT32_MAX)); // out of range n is 0x80000000
}
PCM_TARGET inline Words SignedTop(Floats v)
{
    const __m512 limited = _mm512_min_ps((__m512)v, _mm512_set1_ps(0x1.fffffep30f));
    return (Words)_mm512_maskz_cvttps_epi32(_mm512_cmp_ps_mask((__m512)v, (__m512)v, _CMP_ORD_Q), limited);
}
PCM_TARGET inline Words Unsigned(Floats v)
{
    return (Words)_mm512_cvttps_epu32(
        _mm512_max_ps((__m512)v, _mm512_setzero_ps())); // NaN: the second; above: all ones
}
PCM_TARGET inline Floats FromUnsigned(Words words)
{
    return (Floats)_mm512_cvtepu32_ps((__m512i)words);
}
PCM_TARGET inline Words Permuted(Words words, Ints places)
{
    return (Words)_mm512_permutexvar_epi32((__m512i)places, (__m512i)words);
}

// The lanes of which the mask has a bit; the others are 0, and their memory is left alone.
PCM_TARGET inline Floats LoadLanes(const float *source, unsigned mask)
{
    return (Floats)_mm512_maskz_loadu_ps(static_cast<__mmask16>(mask), source);
}
PCM_TARGET inline void StoreLanes(float *dest, unsigned mask, Floats v)
{
    _mm512_mask_storeu_ps(dest, static_cast<__mmask16>(mask), (__m512)v);
}

#ifdef PCM_VBMI // one permutation does all: a control names bytes of the whole vector

PCM_TARGET inline Words PermutedBytes(Words words, Words control)
{
    const __mmask64 taken = ~_mm512_movepi8_mask((__m512i)control);
    return (Words)_mm512_maskz_permutexvar_epi8(taken, (__m512i)control, (__m512i)words);
}
template <int kContainer> PCM_TARGET inline void StorePacked(uint8_t *dest, const Words (&words)[1], Words control)
{
    const auto packed = (__m512i)PermutedBytes(words[0], control);
    if constexpr (kContainer == 4)
        Store(dest, packed);
    else if constexpr (kContainer == 1)
        Store(dest, _mm512_castsi512_si128(packed));
    else
        Store(dest, _mm512_castsi512_si256(packed));
    if constexpr (kContainer == 3)
        Store(dest + 32, _mm512_extracti32x4_epi32(packed, 2));
}
template <int kContainer> PCM_TARGET inline Words LoadSpread(const uint8_t *source, Words control)
{
    __m512i bytes;
    if constexpr (kContainer == 1)
        bytes = _mm512_castsi128_si512(Load<__m128i>(source));
    else if constexpr (kContainer == 2)
        bytes = _mm512_castsi256_si512(Load<__m256i>(source));
    else
        bytes = _mm512_maskz_loadu_epi32(kContainer == 3 ? 0x0FFF : 0xFFFF, source);
    return PermutedBytes((Words)bytes, control);
}

#endif

#elif defined PCM_AVX2

PCM_TARGET inline Floats Fused(Floats a, Floats b, Floats c)
{
    return (Floats)_mm256_fmadd_ps((__m256)a, (__m256)b, (__m256)c);
}
PCM_TARGET inline void Hold(Floats &v)
{
    __asm__("" : "+x"(v));
}
PCM_TARGET inline Words Signed(Floats v)
{
    const Words n = (Words)_mm256_cvttps_epi32((__m256)v) & (Words)(v == v);
    return (Words)_mm256_min_epu32((__m256i)n, (__m256i)(BitsOf(v) | INT32_MAX)); // out of range n is 0x80000000
}
PCM_TARGET inline Words SignedTop(Floats v)
{
    const __m256 limited = _mm256_min_ps((__m256)v, _mm256_set1_ps(0x1.fffffep30f));
    return (Words)_mm256_cvttps_epi32(limited) & (Words)(v == v);
}
PCM_TARGET inline Words Unsigned(Floats v)
{
    v = (Floats)_mm256_max_ps((__m256)v, _mm256_setzero_ps()); // NaN: the second
    const Words n = (Words)_mm256_cvttps_epi32((__m256)v);     // from 2^31 on 0x80000000, and from there on:
    const Words above = (Words)_mm256_cvttps_epi32((__m256)(v - 0x1p31f));
    const Words upper = (above ^ 0x80000000) | (Words)((Ints)above >> 31);
    return (Words)_mm256_blendv_ps((__m256)n, (__m256)upper, (__m256)n);
}
PCM_TARGET inline Words OffsetTop(Floats samples) // 24 bits of a signed integer: half the instructions
{
    const Floats v = Fused(samples, All<Floats>(0x1p23f), All<Floats>(0x1p23f));
    const __m256i n = _mm256_cvttps_epi32(_mm256_min_ps(_mm256_set1_ps(0x1.fffffep23f), (__m256)v)); // NaN: the second
    return (Words)_mm256_max_epi32(n, _mm256_setzero_si256()) << 8;
}
PCM_TARGET inline Floats FromUnsigned(Words words) // from its halves, whose sum is rounded once
{
    return Fused(FromSigned(words >> 16), All<Floats>(0x1p16f), FromSigned(words & 0xFFFF));
}
PCM_TARGET inline Words Permuted(Words words, Ints places)
{
    return (Words)_mm256_permutevar8x32_epi32((__m256i)words, (__m256i)places);
}
PCM_TARGET inline Words Shuffled(Words words, Words control)
{
    return (Words)_mm256_shuffle_epi8((__m256i)words, (__m256i)control);
}
template <int kContainer> PCM_TARGET inline void StorePacked(uint8_t *dest, const Words (&words)[2], Words control)
{
    const Words a = Shuffled(words[0], control), b = Shuffled(words[1], control);
    if constexpr (kContainer == 1) {
        const auto both = (Words)_mm256_unpacklo_epi32((__m256i)a, (__m256i)b);
        Store(dest, __builtin_shufflevector(both, both, 0, 4, 1, 5));
    } else if constexpr (kContainer == 2) {
        Store(dest, _mm256_permute4x64_epi64(_mm256_unpacklo_epi64((__m256i)a, (__m256i)b), 0xD8));
    } else if constexpr (kContainer == 3) {
        const auto low = (__m256i)__builtin_shufflevector(a, a, 0, 1, 2, 4, 5, 6, 0, 0);
        const auto high = (__m256i)__builtin_shufflevector(b, b, 2, 4, 5, 6, 0, 0, 0, 1);
        Store(dest, _mm256_blend_epi32(low, high, 0xC0));
        Store(dest + 32, _mm256_castsi256_si128(high));
    } else {
        Store(dest, a);
        Store(dest + 32, b);
    }
}
template <int kContainer> PCM_TARGET inline Words LoadSpread(const uint8_t *source, Words control)
{
    __m256i bytes; // each half has those of its four lanes
    if constexpr (kContainer == 1)
        bytes = _mm256_broadcastq_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(source)));
    else if constexpr (kContainer == 4)
        bytes = Load<__m256i>(source);
    else
        bytes = _mm256_broadcastsi128_si256(Load<__m128i>(source));
    if constexpr (kContainer == 3)
        bytes = _mm256_inserti128_si256(bytes, Load<__m128i>(source + 8), 1);
    return Shuffled((Words)bytes, control);
}

#elif defined PCM_NEON

PCM_TARGET inline Floats Fused(Floats a, Floats b, Floats c)
{
    return (Floats)vfmaq_f32((float32x4_t)c, (float32x4_t)a, (float32x4_t)b);
}
PCM_TARGET inline void Hold(Floats &v)
{
    __asm__("" : "+w"(v));
}
PCM_TARGET inline Words Signed(Floats v)
{
    return (Words)vcvtq_s32_f32((float32x4_t)v);
}
PCM_TARGET inline Words Unsigned(Floats v)
{
    return (Words)vcvtq_u32_f32((float32x4_t)v);
}
PCM_TARGET inline Floats FromUnsigned(Words words)
{
    return (Floats)vcvtq_f32_u32((uint32x4_t)words);
}
PCM_TARGET inline Words Shuffled(Words words, Words control)
{
    return (Words)vqtbl1q_u8((uint8x16_t)words, (uint8x16_t)control);
}
PCM_TARGET inline Words Permuted(Words words, Ints places)
{
    return Shuffled(words, (Words)places * 0x04040404u + 0x03020100u);
}
template <int kContainer> PCM_TARGET inline void StorePacked(uint8_t *dest, const Words (&words)[4], Words control)
{
    for (int i = 0; i < 4; ++i, dest += 4 * kContainer) {
        const Words packed = Shuffled(words[i], control);
        if constexpr (kContainer == 1)
            Store(dest, packed[0]);
        else if constexpr (kContainer == 4)
            Store(dest, packed);
        else
            vst1_u8(dest, vget_low_u8((uint8x16_t)packed));
        if constexpr (kContainer == 3)
            Store(dest + 8, packed[2]);
    }
}
template <int kContainer> PCM_TARGET inline Words LoadSpread(const uint8_t *source, Words control)
{
    uint32x4_t bytes;
    if constexpr (kContainer == 1)
        bytes = vdupq_n_u32(Load<uint32_t>(source));
    else if constexpr (kContainer == 4)
        bytes = Load<uint32x4_t>(source);
    else
        bytes = vreinterpretq_u32_u8(vcombine_u8(vld1_u8(source), vdup_n_u8(0)));
    if constexpr (kContainer == 3)
        bytes = vsetq_lane_u32(Load<uint32_t>(source + 8), bytes, 2);
    return Shuffled((Words)bytes, control);
}

#elif defined PCM_VECTOR
#error "pcm_vectors.h has no block for this instruction set"
#else

PCM_TARGET inline float Fused(float a, float b, float c)
{
    return std::fma(a, b, c);
}
PCM_TARGET inline uint32_t Signed(float v)
{
    const float inRange = v > -0x1p31f ? v < 0x1p31f ? v : 0x1.fffffep30f : -0x1p31f; // NaN: -2^31
    const auto n = static_cast<uint32_t>(static_cast<int32_t>(inRange));
    const uint32_t saturated = v >= 0x1p31f ? 0x7FFFFFFFu : n;
    return v == v ? saturated : 0;
}
PCM_TARGET inline uint32_t Unsigned(float v)
{
    const float inRange = v > 0.0f ? v < 0x1p32f ? v : 0x1.fffffep31f : 0.0f; // NaN: 0
    const auto n = static_cast<uint32_t>(static_cast<int64_t>(inRange));
    return v >= 0x1p32f ? ~uint32_t{0} : n;
}
PCM_TARGET inline float FromUnsigned(uint32_t word)
{
    return static_cast<float>(word);
}

#endif

#if !defined PCM_AVX512 && !defined PCM_AVX2
PCM_TARGET inline Words SignedTop(Floats v)
{
    return Signed(v);
}
#endif
#ifndef PCM_AVX2
PCM_TARGET inline Words OffsetTop(Floats samples)
{
    return Unsigned(Fused(samples, All<Floats>(0x1p31f), All<Floats>(0x1p31f)));
}
#endif
