// The conversions' loops, for one instruction set (pcm_each_isa.h). A codec says how a sample becomes a 32-bit word, of
// which the top bytes are the code, and back; it is written for one sample and for a vector of them alike. A layout
// says where those bytes lie in memory. Two forms of loop join them: vectors for containers of up to four bytes, and
// one sample at a time for wider ones and for sets without vectors.

// Codecs, in the order of Kind.

/// Two's complement: truncated toward zero to 32 bits, saturated at full scale, NaN as 0.
struct SignedCodec {
    template <class Samples> PCM_TARGET static auto Encode(Samples samples) { return Signed(samples * 0x1p31f); }
    template <class Codes> PCM_TARGET static auto Decode(Codes codes) { return FromSigned(codes) * 0x1p-31f; }
};

/// Offset binary of up to three bytes: decoded as two's complement with the sign bit flipped.
struct OffsetCodec {
    template <class Samples> PCM_TARGET static auto Encode(Samples samples)
    {
        return UnsignedTop(Fused(samples, All<Samples>(0x1p31f), All<Samples>(0x1p31f)));
    }
    template <class Codes> PCM_TARGET static auto Decode(Codes codes)
    {
        return SignedCodec::Decode(codes ^ 0x80000000u);
    }
};

/// Offset binary of four bytes: rounded to single precision before the offset is taken away.
struct Offset32Codec {
    template <class Samples> PCM_TARGET static auto Encode(Samples samples)
    {
        return Unsigned(Fused(samples, All<Samples>(0x1p31f), All<Samples>(0x1p31f)));
    }
    template <class Codes> PCM_TARGET static auto Decode(Codes codes)
    {
        const auto value = FromUnsigned(codes);
        return Fused(value, All<decltype(FromUnsigned(codes))>(0x1p-31f), All<decltype(FromUnsigned(codes))>(-1.0f));
    }
};

/// IEEE 754 single precision: the bits themselves.
struct FloatCodec {
    template <class Samples> PCM_TARGET static auto Encode(Samples samples) { return BitsOf(samples); }
    template <class Codes> PCM_TARGET static auto Decode(Codes codes) { return FromBits(codes); }
};

// ITU-T G.711. A single sample is looked up. A vector computes the same: as a float, the biased magnitude has the
// segment in its exponent and the step in the first four bits of its mantissa.

/// The 16-bit value, truncated toward zero, above 16 bits of which only the sign counts.
PCM_TARGET inline int32_t LinearOf(float sample)
{
    return static_cast<int32_t>(Signed(sample * 0x1p31f));
}

PCM_TARGET inline uint32_t LookUp(const uint8_t *table, float sample)
{
    const int32_t n = LinearOf(sample);
    const bool negative = n <= -0x10000; // what is less becomes 0
    const uint32_t magnitude = (n < 0 ? 0u - static_cast<uint32_t>(n) : static_cast<uint32_t>(n)) >> 19;
    return (table[magnitude] | (negative ? 0u : 0x80u)) << 24;
}

#ifdef PCM_VECTOR

/// The magnitudes / 8 of 16-bit values, and for positive ones the bit that says so in a code.
struct Magnitudes {
    Ints values;
    Words positive;

    PCM_TARGET explicit Magnitudes(Floats samples)
    {
        const Words n = Signed(samples * 0x1p31f), sign = (Words)((Ints)n >> 31);
        values = (Ints)(((n ^ sign) - sign) >> 19);
        positive = (Words)((Ints)n > -0x10000) & 0x80u;
    }
};

/// Exponent and first four bits of the mantissa, less those of 2^kFrom.
template <int kFrom> PCM_TARGET inline Ints SegmentAndStep(Ints values)
{
    return (Ints)(BitsOf(FromSigned((Words)values)) >> 19) - ((127 + kFrom) << 4);
}

#endif

struct AlawCodec {
    PCM_TARGET static uint32_t Encode(float sample) { return LookUp(pcm___EncodeG711AlawTable, sample); }
    PCM_TARGET static float Decode(uint32_t code) { return pcm___DecodeG711AlawTable[code >> 24] * 0x1p-15f; }

#ifdef PCM_VECTOR
    PCM_TARGET static Words Encode(Floats samples)
    {
        const Magnitudes m(samples);
        const Ints i = m.values - (m.values >> 12); // 4096 is as 4095
        const Ints code = i < 32 ? i >> 1 : SegmentAndStep<4>(i);
        return (((Words)code ^ 0x55) | m.positive) << 24;
    }
    PCM_TARGET static Floats Decode(Words codes)
    {
        const Words bits = codes ^ 0x55000000, shifted = (bits & 0x7F000000) >> 5;
        const Words lowest = (Words)(shifted < 1u << 23); // segment 0 is segment 1 less 2^8
        const Floats value = FromBits(shifted + (lowest & (1u << 23)) + ((119u << 23) + (1u << 18))) -
                             FromBits(lowest & BitsOf(All<Floats>(0x1p-7f)));
        return FromBits(BitsOf(value) | (~bits & 0x80000000));
    }
#endif
};

struct MulawCodec {
    PCM_TARGET static uint32_t Encode(float sample) { return LookUp(pcm___EncodeG711MulawTable, sample); }
    PCM_TARGET static float Decode(uint32_t code) { return pcm___DecodeG711MulawTable[code >> 24] * 0x1p-15f; }

#ifdef PCM_VECTOR
    PCM_TARGET static Words Encode(Floats samples)
    {
        const Magnitudes m(samples);
        const Ints biased = 2 * m.values + 33, limited = biased < 8191 ? biased : 8191;
        return ((Words)(SegmentAndStep<5>(limited) ^ 0x7F) | m.positive) << 24;
    }
    PCM_TARGET static Floats Decode(Words codes)
    {
        const Words bits = ~codes, shifted = (bits & 0x7F000000) >> 5;
        const Floats magnitude = FromBits(shifted + ((119u << 23) + (1u << 18))) - 132 * 0x1p-15f;
        const Floats value = (Ints)bits < 0 ? 0.0f - magnitude : magnitude;
        return value - FromBits((Words)(shifted >= 1u << 23) & BitsOf(All<Floats>(4 * 0x1p-15f)));
    }
#endif
};

// One sample at a time.

/// Encodes into any container. Stores eight bytes where there are so many: the next containers, written after it, take
/// what is too much.
template <class Codec>
PCM_TARGET void EncodeWords(uint8_t *dest, const PCM_SAMPLE *source, const Layout &shape, pbInt samples)
{
    const Layout layout = shape; // a copy, which the bytes written cannot be
    const pbInt last = 7 / layout.container;
    for (; samples > last; --samples, ++source, dest += layout.container)
        StoreWhole(dest, layout.Place(Codec::Encode(*source)));
    for (; samples > 0; --samples, ++source, dest += layout.container)
        StoreBytes(dest, layout.Place(Codec::Encode(*source)), layout.container);
}

/// The way back.
template <class Codec>
PCM_TARGET void DecodeWords(PCM_SAMPLE *dest, const uint8_t *source, const Layout &shape, pbInt samples)
{
    const Layout layout = shape;
    const pbInt last = 7 / layout.container;
    for (; samples > last; --samples, ++dest, source += layout.container)
        *dest = Codec::Decode(layout.Take(LoadWhole(source)));
    for (; samples > 0; --samples, ++dest, source += layout.container)
        *dest = Codec::Decode(layout.Take(LoadBytes(source, layout.container)));
}

#ifdef PCM_VECTOR

/// Which lanes lie together in memory: kContainer words of each 16 bytes. Gathered moves them to the front, Scattered
/// back from there.
template <int kContainer, int... kAt> PCM_TARGET inline Words Gathered(Words words, Numbers<kAt...>)
{
    if constexpr (kLanes == 4)
        return words; // the front is all there is
    else
        return __builtin_shufflevector(words, words, (kAt / kContainer * 4 + kAt % kContainer) % kLanes...);
}
template <int kContainer, int... kAt> PCM_TARGET inline Words Scattered(Words words, Numbers<kAt...>)
{
    if constexpr (kLanes == 4)
        return words;
    else
        return __builtin_shufflevector(words, words, (kAt / 4 * kContainer + (kAt % 4) % kContainer)...);
}

template <class Codec, int kContainer>
PCM_TARGET inline void EncodeVector(uint8_t *dest, const PCM_SAMPLE *source, Words control)
{
    const Words codes = Codec::Encode(Load<Floats>(source));
    if constexpr (kContainer == kWhole)
        Store(dest, codes);
    else if constexpr (kContainer == 4)
        Store(dest, Shuffled(codes, control));
    else
        StorePart<kContainer>(dest, Gathered<kContainer>(Shuffled(codes, control), Count<kLanes>()));
}

template <class Codec, int kContainer>
PCM_TARGET inline void DecodeVector(PCM_SAMPLE *dest, const uint8_t *source, Words control)
{
    Words codes;
    if constexpr (kContainer == kWhole)
        codes = Load<Words>(source);
    else if constexpr (kContainer == 4)
        codes = Shuffled(Load<Words>(source), control);
    else
        codes = Shuffled(Scattered<kContainer>(LoadPart<kContainer>(source), Count<kLanes>()), control);
    Store(dest, Codec::Decode(codes));
}

/// Samples that one turn of a loop converts: several vectors where they are short, or counting would cost as much.
constexpr int kTurn = PCM_VECTOR == 16 ? 4 * kLanes : kLanes;
constexpr Count<kTurn / kLanes> kWholeTurn;

template <class Codec, int kContainer, int... kAt>
PCM_TARGET inline void EncodeTurn(uint8_t *dest, const PCM_SAMPLE *source, Words control, Numbers<kAt...>)
{
    constexpr int kBytes = kContainer == kWhole ? 4 : kContainer;
    (EncodeVector<Codec, kContainer>(dest + kAt * kLanes * kBytes, source + kAt * kLanes, control), ...);
}

template <class Codec, int kContainer, int... kAt>
PCM_TARGET inline void DecodeTurn(PCM_SAMPLE *dest, const uint8_t *source, Words control, Numbers<kAt...>)
{
    constexpr int kBytes = kContainer == kWhole ? 4 : kContainer;
    (DecodeVector<Codec, kContainer>(dest + kAt * kLanes, source + kAt * kLanes * kBytes, control), ...);
}

/// How many samples of four bytes lie before the first that begins a vector, so that loads or stores from there on
/// cross no line of the cache. Any answer gives the same result.
PCM_TARGET inline pbInt SamplesBeforeVector(const void *samples)
{
    return static_cast<pbInt>(-reinterpret_cast<uintptr_t>(samples) / sizeof(PCM_SAMPLE) % kLanes);
}

/// A run too short for a turn goes through a local array.
template <class Codec, int kContainer, pbInt kBytes>
[[gnu::noinline]] PCM_TARGET void EncodeShort(uint8_t *dest, const PCM_SAMPLE *source, Words control, pbInt samples)
{
    PCM_SAMPLE in[kTurn] = {};
    uint8_t out[kTurn * kBytes];
    __builtin_memcpy(in, source, static_cast<std::size_t>(samples) * sizeof(PCM_SAMPLE));
    EncodeTurn<Codec, kContainer>(out, in, control, kWholeTurn);
    __builtin_memcpy(dest, out, static_cast<std::size_t>(samples * kBytes));
}

template <class Codec, int kContainer, pbInt kBytes>
[[gnu::noinline]] PCM_TARGET void DecodeShort(PCM_SAMPLE *dest, const uint8_t *source, Words control, pbInt samples)
{
    uint8_t in[kTurn * kBytes] = {};
    PCM_SAMPLE out[kTurn];
    __builtin_memcpy(in, source, static_cast<std::size_t>(samples * kBytes));
    DecodeTurn<Codec, kContainer>(out, in, control, kWholeTurn);
    __builtin_memcpy(dest, out, static_cast<std::size_t>(samples) * sizeof(PCM_SAMPLE));
}

/// The first and the last turn overlap their neighbours.
template <class Codec, int kContainer>
PCM_TARGET void EncodeRun(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples)
{
    constexpr pbInt kBytes = kContainer == kWhole ? 4 : kContainer;
    const Words control = Control(PackControl(layout));
    if (samples < kTurn)
        return EncodeShort<Codec, kContainer, kBytes>(dest, source, control, samples);
    EncodeTurn<Codec, kContainer>(dest, source, control, kWholeTurn);
    const void *const wide = kBytes == 4 ? static_cast<const void *>(dest) : source;
    for (pbInt i = SamplesBeforeVector(wide); i < samples - kTurn; i += kTurn)
        EncodeTurn<Codec, kContainer>(dest + i * kBytes, source + i, control, kWholeTurn);
    EncodeTurn<Codec, kContainer>(dest + (samples - kTurn) * kBytes, source + (samples - kTurn), control, kWholeTurn);
}

template <class Codec, int kContainer>
PCM_TARGET void DecodeRun(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    constexpr pbInt kBytes = kContainer == kWhole ? 4 : kContainer;
    const Words control = Control(SpreadControl(layout));
    if (samples < kTurn)
        return DecodeShort<Codec, kContainer, kBytes>(dest, source, control, samples);
    DecodeTurn<Codec, kContainer>(dest, source, control, kWholeTurn);
    for (pbInt i = SamplesBeforeVector(dest); i < samples - kTurn; i += kTurn)
        DecodeTurn<Codec, kContainer>(dest + i, source + i * kBytes, control, kWholeTurn);
    DecodeTurn<Codec, kContainer>(dest + (samples - kTurn), source + (samples - kTurn) * kBytes, control, kWholeTurn);
}

#else

/// Loops of fixed sizes, which the compiler can make vectors of.
template <class Codec, int kBytes, bool kBigEndian>
PCM_TARGET void EncodeTight(uint8_t *dest, const PCM_SAMPLE *source, pbInt samples)
{
    for (pbInt i = 0; i < samples; ++i)
        StoreCode<kBytes, kBigEndian>(dest + i * kBytes, Codec::Encode(source[i]));
}

template <class Codec, int kBytes, bool kBigEndian>
PCM_TARGET void DecodeTight(PCM_SAMPLE *dest, const uint8_t *source, pbInt samples)
{
    for (pbInt i = 0; i < samples; ++i)
        dest[i] = Codec::Decode(LoadCode<kBytes, kBigEndian>(source + i * kBytes));
}

template <class Codec, int kContainer>
PCM_TARGET void EncodeRun(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples)
{
    constexpr int kBytes = kContainer == kWhole ? 4 : kContainer;
    if (layout.container != layout.bytes)
        EncodeWords<Codec>(dest, source, layout, samples);
    else if (layout.bigEndian)
        EncodeTight<Codec, kBytes, true>(dest, source, samples);
    else
        EncodeTight<Codec, kBytes, false>(dest, source, samples);
}

template <class Codec, int kContainer>
PCM_TARGET void DecodeRun(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    constexpr int kBytes = kContainer == kWhole ? 4 : kContainer;
    if (layout.container != layout.bytes)
        DecodeWords<Codec>(dest, source, layout, samples);
    else if (layout.bigEndian)
        DecodeTight<Codec, kBytes, true>(dest, source, samples);
    else
        DecodeTight<Codec, kBytes, false>(dest, source, samples);
}

#endif

template <class Codec>
constexpr CodecLoops kLoopsOf = {{EncodeWords<Codec>, EncodeRun<Codec, 1>, EncodeRun<Codec, 2>, EncodeRun<Codec, 3>,
                                  EncodeRun<Codec, 4>, EncodeRun<Codec, kWhole>},
                                 {DecodeWords<Codec>, DecodeRun<Codec, 1>, DecodeRun<Codec, 2>, DecodeRun<Codec, 3>,
                                  DecodeRun<Codec, 4>, DecodeRun<Codec, kWhole>}};

constexpr CodecLoops kLoops[kKinds] = {kLoopsOf<SignedCodec>, kLoopsOf<OffsetCodec>, kLoopsOf<Offset32Codec>,
                                       kLoopsOf<FloatCodec>,  kLoopsOf<AlawCodec>,   kLoopsOf<MulawCodec>};
