// The words in which loops are written, for one instruction set (pcm_each_isa.h): a vector of samples is the compiler's
// own vector type, with its operators; what has no operator is a function here. A single sample takes the same words,
// so that a codec is written once for both.

// One sample.

/// a * b + c, rounded once.
PCM_TARGET inline float Fused(float a, float b, float c)
{
    return std::fma(a, b, c);
}

/// Truncated toward zero and saturated to a signed integer; NaN is 0.
PCM_TARGET inline uint32_t Signed(float v)
{
    const float inRange = v > -0x1p31f ? v < 0x1p31f ? v : 0x1.fffffep30f : -0x1p31f; // NaN: -2^31
    const auto n = static_cast<uint32_t>(static_cast<int32_t>(inRange));
    const uint32_t saturated = v >= 0x1p31f ? 0x7FFFFFFFu : n;
    return v == v ? saturated : 0;
}

/// The same to an unsigned integer.
PCM_TARGET inline uint32_t Unsigned(float v)
{
    const float inRange = v > 0.0f ? v < 0x1p32f ? v : 0x1.fffffep31f : 0.0f; // NaN: 0
    const auto n = static_cast<uint32_t>(static_cast<int64_t>(inRange));
    return v >= 0x1p32f ? ~uint32_t{0} : n;
}

/// The same, of which the lowest byte does not count.
PCM_TARGET inline uint32_t UnsignedTop(float v)
{
    return Unsigned(v);
}

PCM_TARGET inline float FromSigned(uint32_t word)
{
    return static_cast<float>(static_cast<int32_t>(word));
}
PCM_TARGET inline float FromUnsigned(uint32_t word)
{
    return static_cast<float>(word);
}
PCM_TARGET inline uint32_t BitsOf(float sample)
{
    return std::bit_cast<uint32_t>(sample);
}
PCM_TARGET inline float FromBits(uint32_t bits)
{
    return std::bit_cast<float>(bits);
}

/// The same in every lane; taking zeros away changes no bit of it.
template <class Samples> PCM_TARGET inline Samples All(float sample)
{
    return sample - Samples{};
}

#ifdef PCM_VECTOR

// Vectors, for all sets. `template <int... kAt>` with Count<n>() spells out the lanes 0 ... n - 1.

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
PCM_TARGET inline Words BitsOf(Floats samples)
{
    return (Words)samples;
}
PCM_TARGET inline Floats FromBits(Words bits)
{
    return (Floats)bits;
}

// What each set has an instruction for, or nearly:
//
// - Hold keeps a vector in a register, where GCC would load it again for each use.
// - Permuted: lane i is lane places[i], and 0 where that is negative.
// - Shuffled: in each 16 bytes, byte i is the byte that the control names, and 0 for 0x80. Control repeats 16 bytes.
// - LoadPart loads as many quarters of a vector as the argument says; the others are unspecified. StorePart stores
// them.

#if PCM_VECTOR == 64

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
    const __mmask16 above = _mm512_cmp_ps_mask((__m512)v, _mm512_set1_ps(0x1p31f), _CMP_GE_OQ);
    return (Words)_mm512_mask_mov_epi32(n, above, _mm512_set1_epi32(INT32_MAX)); // below: 0x80000000
}
PCM_TARGET inline Words Unsigned(Floats v)
{
    return (Words)_mm512_cvttps_epu32(
        _mm512_max_ps((__m512)v, _mm512_setzero_ps())); // NaN: the second; above: all ones
}
PCM_TARGET inline Words UnsignedTop(Floats v)
{
    return Unsigned(v);
}
PCM_TARGET inline Floats FromUnsigned(Words words)
{
    return (Floats)_mm512_cvtepu32_ps((__m512i)words);
}
PCM_TARGET inline Words Permuted(Words words, Ints places)
{
    const __mmask16 taken = _mm512_cmpge_epi32_mask((__m512i)places, _mm512_setzero_si512());
    return (Words)_mm512_maskz_permutexvar_epi32(taken, (__m512i)places, (__m512i)words);
}
PCM_TARGET inline Words Shuffled(Words words, Words control)
{
    return (Words)_mm512_shuffle_epi8((__m512i)words, (__m512i)control);
}
PCM_TARGET inline Words Control(const uint8_t *bytes)
{
    return (Words)_mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes)));
}
template <int kQuarters> PCM_TARGET inline Words LoadPart(const uint8_t *source)
{
    if constexpr (kQuarters == 1)
        return (Words)_mm512_castsi128_si512(_mm_loadu_si128(reinterpret_cast<const __m128i *>(source)));
    else if constexpr (kQuarters == 2)
        return (Words)_mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(source)));
    else
        return (Words)_mm512_maskz_loadu_epi32(0x0FFF, source);
}
template <int kQuarters> PCM_TARGET inline void StorePart(uint8_t *dest, Words words)
{
    if constexpr (kQuarters >= 2)
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(dest), _mm512_castsi512_si256((__m512i)words));
    if constexpr (kQuarters == 1)
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dest), _mm512_castsi512_si128((__m512i)words));
    if constexpr (kQuarters == 3)
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dest + 32), _mm512_extracti32x4_epi32((__m512i)words, 2));
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

#elif PCM_VECTOR == 32

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
    const Ints n = (Ints)_mm256_cvttps_epi32((__m256)v); // out of range, NaN: 0x80000000
    return (Words)((n ^ (v >= 0x1p31f)) & (v == v));
}
PCM_TARGET inline Words Unsigned(Floats v)
{
    v = (Floats)_mm256_max_ps((__m256)v, _mm256_setzero_ps()); // NaN: the second
    const Words upper = (Words)(v >= 0x1p31f);
    const Floats low = v - (Floats)(upper & (Words)All<Floats>(0x1p31f)); // the upper half's are exact
    return ((Words)_mm256_cvttps_epi32((__m256)low) ^ (upper << 31)) | (Words)(v >= 0x1p32f);
}
PCM_TARGET inline Words UnsignedTop(Floats v) // without the lowest byte it is a signed integer: half the instructions
{
    v = (Floats)_mm256_max_ps((__m256)(v * 0x1p-8f), _mm256_setzero_ps()); // NaN: the second
    return (Words)_mm256_cvttps_epi32(_mm256_min_ps((__m256)v, _mm256_set1_ps(0x1.fffffep23f))) << 8;
}
PCM_TARGET inline Floats FromUnsigned(Words words) // from its halves, whose sum is rounded once
{
    return Fused(FromSigned(words >> 16), All<Floats>(0x1p16f), FromSigned(words & 0xFFFF));
}
PCM_TARGET inline Words Permuted(Words words, Ints places)
{
    return (Words)_mm256_permutevar8x32_epi32((__m256i)words, (__m256i)places) & ~(Words)(places >> 31);
}
PCM_TARGET inline Words Shuffled(Words words, Words control)
{
    return (Words)_mm256_shuffle_epi8((__m256i)words, (__m256i)control);
}
PCM_TARGET inline Words Control(const uint8_t *bytes)
{
    return (Words)_mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes)));
}
template <int kQuarters> PCM_TARGET inline Words LoadPart(const uint8_t *source)
{
    const auto *at = reinterpret_cast<const __m128i *>(source);
    if constexpr (kQuarters == 1)
        return (Words)_mm256_castsi128_si256(_mm_loadl_epi64(at));
    const __m256i low = _mm256_castsi128_si256(_mm_loadu_si128(at));
    if constexpr (kQuarters == 2)
        return (Words)low;
    else
        return (Words)_mm256_inserti128_si256(low, _mm_loadl_epi64(at + 1), 1);
}
template <int kQuarters> PCM_TARGET inline void StorePart(uint8_t *dest, Words words)
{
    auto *const at = reinterpret_cast<__m128i *>(dest);
    if constexpr (kQuarters == 1)
        _mm_storel_epi64(at, _mm256_castsi256_si128((__m256i)words));
    else
        _mm_storeu_si128(at, _mm256_castsi256_si128((__m256i)words));
    if constexpr (kQuarters == 3)
        _mm_storel_epi64(at + 1, _mm256_extracti128_si256((__m256i)words, 1));
}

#else // NEON

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
PCM_TARGET inline Words UnsignedTop(Floats v)
{
    return Unsigned(v);
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
    return Shuffled(words, (Words)places * 0x04040404u + 0x03020100u); // bytes from beyond are 0
}
PCM_TARGET inline Words Control(const uint8_t *bytes)
{
    return Load<Words>(bytes);
}
template <int kQuarters> PCM_TARGET inline Words LoadPart(const uint8_t *source)
{
    if constexpr (kQuarters == 1)
        return (Words)vdupq_n_u32(Load<uint32_t>(source));
    const auto low = vreinterpretq_u32_u8(vcombine_u8(vld1_u8(source), vdup_n_u8(0)));
    if constexpr (kQuarters == 2)
        return (Words)low;
    else
        return (Words)vsetq_lane_u32(Load<uint32_t>(source + 8), low, 2);
}
template <int kQuarters> PCM_TARGET inline void StorePart(uint8_t *dest, Words words)
{
    if constexpr (kQuarters == 1)
        Store(dest, words[0]);
    else
        vst1_u8(dest, vget_low_u8((uint8x16_t)words));
    if constexpr (kQuarters == 3)
        Store(dest + 8, words[2]);
}

#endif
#endif
