// The conversions' loops, for one instruction set (pcm_each_isa.h). A codec says how a sample becomes a 32-bit word, of
// which the top bytes are the code, and back; written in the words of pcm_vectors.h it serves every set. Its bytes are
// put into containers of up to four, and taken out of them, in the same turn.

// Codecs, in the order of Kind.

/// Two's complement of up to three bytes: truncated toward zero to 32 bits, saturated at full scale, NaN as 0.
struct SignedCodec {
    PCM_TARGET static Words Encode(Floats samples) { return SignedTop(samples * 0x1p31f); }
    PCM_TARGET static Floats Decode(Words codes) { return FromSigned(codes) * 0x1p-31f; }
};

/// The same of four bytes.
struct Signed32Codec : SignedCodec {
    PCM_TARGET static Words Encode(Floats samples) { return Signed(samples * 0x1p31f); }
};

/// Offset binary of up to three bytes: decoded as two's complement with the sign bit flipped.
struct OffsetCodec {
    PCM_TARGET static Words Encode(Floats samples) { return OffsetTop(samples); }
    PCM_TARGET static Floats Decode(Words codes) { return SignedCodec::Decode(codes ^ 0x80000000u); }
};

/// Offset binary of four bytes: rounded to single precision before the offset is taken away.
struct Offset32Codec {
    PCM_TARGET static Words Encode(Floats samples)
    {
        return Unsigned(Fused(samples, All<Floats>(0x1p31f), All<Floats>(0x1p31f)));
    }
    PCM_TARGET static Floats Decode(Words codes)
    {
        return Fused(FromUnsigned(codes), All<Floats>(0x1p-31f), All<Floats>(-1.0f));
    }
};

/// IEEE 754 single precision: the bits themselves.
struct FloatCodec {
    PCM_TARGET static Words Encode(Floats samples) { return BitsOf(samples); }
    PCM_TARGET static Floats Decode(Words codes) { return FromBits(codes); }
};

// ITU-T G.711 without a table: as a float, the biased magnitude has the segment in its exponent and the step in the
// first four bits of its mantissa.

/// The magnitudes / 8 of 16-bit values, and for positive ones the bit that says so in a code.
struct Magnitudes {
    Ints values;
    Words positive;

    PCM_TARGET explicit Magnitudes(Floats samples)
    {
        const Words n = SignedTop(samples * 0x1p31f), sign = (Words)((Ints)n >> 31);
        values = (Ints)(((n ^ sign) - sign) >> 19);
        positive = (Ints)n > -0x10000 ? 0x80u : 0u; // what is less is 0 in 16 bits
    }
};

/// Exponent and first four bits of the mantissa, less those of 2^kFrom.
template <int kFrom> PCM_TARGET inline Ints SegmentAndStep(Ints values)
{
    return (Ints)(BitsOf(FromSigned((Words)values)) >> 19) - ((127 + kFrom) << 4);
}

struct AlawCodec {
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
        const auto lowest = shifted < 1u << 23; // segment 0 is segment 1 less 2^8
        const Floats value =
            FromBits(shifted + (lowest ? 1u << 23 : 0u) + ((119u << 23) + (1u << 18))) - (lowest ? 0x1p-7f : 0.0f);
        return FromBits(BitsOf(value) | (~bits & 0x80000000));
    }
};

struct MulawCodec {
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
        return value - (shifted >= 1u << 23 ? 4 * 0x1p-15f : 0.0f);
    }
};

#ifdef PCM_VECTOR

template <class Codec, int kContainer, int... kAt>
PCM_TARGET inline void EncodeTurn(uint8_t *dest, const PCM_SAMPLE *source, Words control, Numbers<kAt...>)
{
    const Words words[] = {Codec::Encode(Load<Floats>(source + kAt * kLanes))...};
    if constexpr (kContainer == kWords)
        (Store(dest + kAt * PCM_VECTOR, words[kAt]), ...);
    else
        StorePacked<kContainer>(dest, words, control);
}

template <class Codec, int kContainer>
PCM_TARGET inline void DecodeVector(PCM_SAMPLE *dest, const uint8_t *source, Words control)
{
    if constexpr (kContainer == kWords)
        Store(dest, Codec::Decode(Load<Words>(source)));
    else
        Store(dest, Codec::Decode(LoadSpread<kContainer>(source, control)));
}

template <class Codec, int kContainer, int... kAt>
PCM_TARGET inline void DecodeTurn(PCM_SAMPLE *dest, const uint8_t *source, Words control, Numbers<kAt...>)
{
    constexpr int kBytes = kContainer == kWords ? 4 : kContainer;
    (DecodeVector<Codec, kContainer>(dest + kAt * kLanes, source + kAt * kLanes * kBytes, control), ...);
}

#ifdef PCM_AVX512
constexpr Shuffles<16, 1> kShuffles;
#else
constexpr Shuffles<4, kLanes / 4> kShuffles;
#endif
constexpr Count<kTurn / kLanes> kWholeTurn;

/// Where the second turn begins, so that loads or stores from there on cross no line of the cache. Any answer up to
/// kTurn gives the same result: the first and the last turn overlap their neighbours.
PCM_TARGET inline pbInt SecondTurn(const void *samples)
{
    return kTurn - static_cast<pbInt>(reinterpret_cast<uintptr_t>(samples) / sizeof(PCM_SAMPLE) % kLanes);
}

/// At least kTurn samples.
template <class Codec, int kContainer>
PCM_TARGET void EncodeRun(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples)
{
    constexpr pbInt kBytes = kContainer == kWords ? 4 : kContainer;
    const auto control = Load<Words>(kShuffles.pack[layout.shuffle]);
    EncodeTurn<Codec, kContainer>(dest, source, control, kWholeTurn);
    const void *const wide = kBytes == 4 ? static_cast<const void *>(dest) : source;
    for (pbInt i = SecondTurn(wide); i < samples - kTurn; i += kTurn)
        EncodeTurn<Codec, kContainer>(dest + i * kBytes, source + i, control, kWholeTurn);
    EncodeTurn<Codec, kContainer>(dest + (samples - kTurn) * kBytes, source + (samples - kTurn), control, kWholeTurn);
}

template <class Codec, int kContainer>
PCM_TARGET void DecodeRun(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    constexpr pbInt kBytes = kContainer == kWords ? 4 : kContainer;
    const auto control = Load<Words>(kShuffles.spread[layout.shuffle]);
    DecodeTurn<Codec, kContainer>(dest, source, control, kWholeTurn);
    for (pbInt i = SecondTurn(dest); i < samples - kTurn; i += kTurn)
        DecodeTurn<Codec, kContainer>(dest + i, source + i * kBytes, control, kWholeTurn);
    DecodeTurn<Codec, kContainer>(dest + (samples - kTurn), source + (samples - kTurn) * kBytes, control, kWholeTurn);
}

#else

// A container is a number.

template <class Codec, int kContainer>
PCM_TARGET void EncodeRun(uint8_t *dest, const PCM_SAMPLE *source, const Layout &layout, pbInt samples)
{
    constexpr int kBytes = kContainer == kWords ? 4 : kContainer;
    const Layout to = layout; // a copy, which the bytes stored cannot be
    const Words used = ~Words{0} << to.unused;
    for (pbInt i = 0; i < samples; ++i) {
        const Words shifted = (Codec::Encode(source[i]) & used) >> to.shift;
        const Words number = to.bigEndian ? __builtin_bswap32(shifted) : shifted;
        for (int b = 0; b < kBytes; ++b)
            dest[i * kBytes + b] = static_cast<uint8_t>(number >> 8 * b);
    }
}

template <class Codec, int kContainer>
PCM_TARGET void DecodeRun(PCM_SAMPLE *dest, const uint8_t *source, const Layout &layout, pbInt samples)
{
    constexpr int kBytes = kContainer == kWords ? 4 : kContainer;
    const Words used = ~Words{0} << layout.unused;
    for (pbInt i = 0; i < samples; ++i) {
        Words number = 0;
        for (int b = 0; b < kBytes; ++b)
            number |= Words{source[i * kBytes + b]} << 8 * b;
        const Words ordered = layout.bigEndian ? __builtin_bswap32(number) : number;
        dest[i] = Codec::Decode(ordered << layout.shift & used);
    }
}

#endif

/// Codes of up to three bytes, in containers of as many or more. Words are containers of four.
template <class Codec>
constexpr CodecLoops kNarrow = {
    {EncodeRun<Codec, 4>, EncodeRun<Codec, 1>, EncodeRun<Codec, 2>, EncodeRun<Codec, 3>, EncodeRun<Codec, 4>},
    {DecodeRun<Codec, 4>, DecodeRun<Codec, 1>, DecodeRun<Codec, 2>, DecodeRun<Codec, 3>, DecodeRun<Codec, 4>}};

/// Codes of four bytes.
template <class Codec>
constexpr CodecLoops kWide = {{EncodeRun<Codec, kWords>, nullptr, nullptr, nullptr, EncodeRun<Codec, 4>},
                              {DecodeRun<Codec, kWords>, nullptr, nullptr, nullptr, DecodeRun<Codec, 4>}};

constexpr std::array<CodecLoops, kKinds> kLoops = {kNarrow<SignedCodec>, kWide<Signed32Codec>, kNarrow<OffsetCodec>,
                                                   kWide<Offset32Codec>, kWide<FloatCodec>,    kNarrow<AlawCodec>,
                                                   kNarrow<MulawCodec>};
