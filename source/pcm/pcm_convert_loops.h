// The conversions' loops, for one instruction set (pcm_each_isa.h). A codec says how a sample becomes a 32-bit word, of
// which the top bytes are the code, and back; written in the words of pcm_vectors.h it serves every set. Sets with
// vectors pack and spread the bytes of containers of up to four in the same turn.

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

/// Containers one at a time, each held in a number, least significant byte first: of all its bytes (kFull) or of fewer.
/// All but the last are loaded and stored as whole numbers: what is stored beyond a container, the next overwrites.
template <class Number, bool kFull> struct Containers {
    static constexpr int kTop = sizeof(Number) == 8 ? 32 : 0; ///< from a word to the top of Shifted
    using Shifted = std::conditional_t<sizeof(Number) == 8, uint64_t, uint32_t>;
    bool bigEndian;
    int shift; ///< from a sample in a container to that top
    uint32_t mask;

    PCM_TARGET explicit Containers(const Layout &layout)
        : bigEndian(layout.bigEndian),
          shift(kTop + 32 - 8 * (bigEndian ? int{sizeof(Number)} - layout.offset : layout.offset + layout.bytes)),
          mask(~uint32_t{0} << (32 - 8 * layout.bytes))
    {
    }

    PCM_TARGET Number Ordered(Number n) const
    {
        const auto swapped = sizeof(n) == 8   ? __builtin_bswap64(n)
                             : sizeof(n) == 4 ? __builtin_bswap32(n)
                                              : __builtin_bswap16(n);
        return bigEndian ? static_cast<Number>(swapped) : n;
    }

    PCM_TARGET void Store(uint8_t *dest, uint32_t word, pbInt bytes) const
    {
        const Number number = Ordered(static_cast<Number>(Shifted{word & mask} << kTop >> shift));
        __builtin_memcpy(dest, &number, static_cast<std::size_t>(bytes));
    }

    PCM_TARGET uint32_t Load(const uint8_t *source, pbInt bytes) const
    {
        Number number = 0;
        __builtin_memcpy(&number, source, static_cast<std::size_t>(bytes));
        return static_cast<uint32_t>(Shifted{Ordered(number)} << shift >> kTop) & mask;
    }

    PCM_TARGET static void Place(uint8_t *dest, const uint32_t *words, const Layout &layout, pbInt samples)
    {
        const Containers containers(layout);
        const pbInt last = samples - 1, step = kFull ? sizeof(Number) : layout.container;
        for (pbInt i = 0; i < last; ++i)
            containers.Store(dest + i * step, words[i], sizeof(Number));
        containers.Store(dest + last * step, words[last], step);
    }

    PCM_TARGET static void Take(uint32_t *words, const uint8_t *source, const Layout &layout, pbInt samples)
    {
        const Containers containers(layout);
        const pbInt last = samples - 1, step = kFull ? sizeof(Number) : layout.container;
        for (pbInt i = 0; i < last; ++i)
            words[i] = containers.Load(source + i * step, sizeof(Number));
        words[last] = containers.Load(source + last * step, step);
    }
};

template <class Number, bool kFull>
constexpr WordLoops kContainers = {Containers<Number, kFull>::Place, Containers<Number, kFull>::Take};

#ifdef PCM_VECTOR

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
        positive = (Words)((Ints)n > -0x10000) & 0x80u; // what is less is 0 in 16 bits
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
        const Words lowest = (Words)(shifted < 1u << 23); // segment 0 is segment 1 less 2^8
        const Floats value = FromBits(shifted + (lowest & (1u << 23)) + ((119u << 23) + (1u << 18))) -
                             FromBits(lowest & BitsOf(All<Floats>(0x1p-7f)));
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
        return value - FromBits((Words)(shifted >= 1u << 23) & BitsOf(All<Floats>(4 * 0x1p-15f)));
    }
};

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
PCM_TARGET void EncodeRun(uint8_t *dest, const PCM_SAMPLE *source, int shuffle, pbInt samples)
{
    constexpr pbInt kBytes = kContainer == kWords ? 4 : kContainer;
    const auto control = Load<Words>(kShuffles.pack[shuffle]);
    EncodeTurn<Codec, kContainer>(dest, source, control, kWholeTurn);
    const void *const wide = kBytes == 4 ? static_cast<const void *>(dest) : source;
    for (pbInt i = SecondTurn(wide); i < samples - kTurn; i += kTurn)
        EncodeTurn<Codec, kContainer>(dest + i * kBytes, source + i, control, kWholeTurn);
    EncodeTurn<Codec, kContainer>(dest + (samples - kTurn) * kBytes, source + (samples - kTurn), control, kWholeTurn);
}

template <class Codec, int kContainer>
PCM_TARGET void DecodeRun(PCM_SAMPLE *dest, const uint8_t *source, int shuffle, pbInt samples)
{
    constexpr pbInt kBytes = kContainer == kWords ? 4 : kContainer;
    const auto control = Load<Words>(kShuffles.spread[shuffle]);
    DecodeTurn<Codec, kContainer>(dest, source, control, kWholeTurn);
    for (pbInt i = SecondTurn(dest); i < samples - kTurn; i += kTurn)
        DecodeTurn<Codec, kContainer>(dest + i, source + i * kBytes, control, kWholeTurn);
    DecodeTurn<Codec, kContainer>(dest + (samples - kTurn), source + (samples - kTurn) * kBytes, control, kWholeTurn);
}

/// Codes of up to three bytes, in containers of as many or more. Words are containers of four.
template <class Codec>
constexpr CodecLoops kNarrow = {
    {EncodeRun<Codec, 4>, EncodeRun<Codec, 1>, EncodeRun<Codec, 2>, EncodeRun<Codec, 3>, EncodeRun<Codec, 4>},
    {DecodeRun<Codec, 4>, DecodeRun<Codec, 1>, DecodeRun<Codec, 2>, DecodeRun<Codec, 3>, DecodeRun<Codec, 4>}};

/// Codes of four bytes.
template <class Codec>
constexpr CodecLoops kWide = {{EncodeRun<Codec, kWords>, nullptr, nullptr, nullptr, EncodeRun<Codec, 4>},
                              {DecodeRun<Codec, kWords>, nullptr, nullptr, nullptr, DecodeRun<Codec, 4>}};

constexpr WordLoops kTwo{}, kThree{}, kFour{};

#else

// ITU-T G.711 by the tables.

PCM_TARGET inline Words LookUp(const uint8_t *table, Floats sample)
{
    const auto n = static_cast<int32_t>(Signed(sample * 0x1p31f));
    const bool negative = n <= -0x10000; // what is less is 0 in 16 bits
    const uint32_t magnitude = (n < 0 ? 0u - static_cast<uint32_t>(n) : static_cast<uint32_t>(n)) >> 19;
    return (table[magnitude] | (negative ? 0u : 0x80u)) << 24;
}

struct AlawCodec {
    PCM_TARGET static Words Encode(Floats sample) { return LookUp(pcm___EncodeG711AlawTable, sample); }
    PCM_TARGET static Floats Decode(Words code) { return pcm___DecodeG711AlawTable[code >> 24] * 0x1p-15f; }
};

struct MulawCodec {
    PCM_TARGET static Words Encode(Floats sample) { return LookUp(pcm___EncodeG711MulawTable, sample); }
    PCM_TARGET static Floats Decode(Words code) { return pcm___DecodeG711MulawTable[code >> 24] * 0x1p-15f; }
};

template <class Codec> PCM_TARGET void EncodeRun(uint8_t *dest, const PCM_SAMPLE *source, int, pbInt samples)
{
    for (pbInt i = 0; i < samples; ++i) {
        const Words code = Codec::Encode(source[i]);
        __builtin_memcpy(dest + 4 * i, &code, sizeof(code));
    }
}

template <class Codec> PCM_TARGET void DecodeRun(PCM_SAMPLE *dest, const uint8_t *source, int, pbInt samples)
{
    for (pbInt i = 0; i < samples; ++i) {
        Words code;
        __builtin_memcpy(&code, source + 4 * i, sizeof(code));
        dest[i] = Codec::Decode(code);
    }
}

/// Containers of one byte, which is the code.
template <class Codec> PCM_TARGET void EncodeBytes(uint8_t *dest, const PCM_SAMPLE *source, int, pbInt samples)
{
    for (pbInt i = 0; i < samples; ++i)
        dest[i] = static_cast<uint8_t>(Codec::Encode(source[i]) >> 24);
}

template <class Codec> PCM_TARGET void DecodeBytes(PCM_SAMPLE *dest, const uint8_t *source, int, pbInt samples)
{
    for (pbInt i = 0; i < samples; ++i)
        dest[i] = Codec::Decode(Words{source[i]} << 24);
}

template <class Codec>
constexpr CodecLoops kNarrow = {{EncodeRun<Codec>, EncodeBytes<Codec>}, {DecodeRun<Codec>, DecodeBytes<Codec>}};
template <class Codec> constexpr CodecLoops kWide = {{EncodeRun<Codec>}, {DecodeRun<Codec>}};

constexpr WordLoops kTwo = kContainers<uint16_t, true>, kThree = kContainers<uint32_t, false>,
                    kFour = kContainers<uint32_t, true>;

#endif

constexpr WordLoops kFiveToSeven = kContainers<uint64_t, false>;
constexpr auto kCodecs =
    std::to_array<CodecLoops>({kNarrow<SignedCodec>, kWide<Signed32Codec>, kNarrow<OffsetCodec>, kWide<Offset32Codec>,
                               kWide<FloatCodec>, kNarrow<AlawCodec>, kNarrow<MulawCodec>});
constexpr Loops kLoops = {
    kCodecs, {{}, {}, kTwo, kThree, kFour, kFiveToSeven, kFiveToSeven, kFiveToSeven, kContainers<uint64_t, true>}};
