// The sample kernels' loops, for one instruction set (pcm_each_isa.h). Plain loops: where dest and source overlap, the
// compiler's own run-time test keeps the ascending order. Turns of one vector would take 1.0 to 1.3 of the time of
// several, by where the linker puts them.

// What becomes of the sample that is there and the one that comes; of one or of a vector.
struct Copy {
    template <class Samples> PCM_TARGET static Samples Of(Samples, Samples source) { return source; }
};
struct Sum {
    template <class Samples> PCM_TARGET static Samples Of(Samples dest, Samples source) { return dest + source; }
};
struct Product {
    template <class Samples> PCM_TARGET static Samples Of(Samples dest, Samples source) { return dest * source; }
};

template <class Combine> PCM_TARGET void Flat(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples)
{
#pragma GCC unroll 4
    for (pbInt i = 0; i < samples; ++i)
        dest[i] = Combine::Of(dest[i], source[i]);
}

PCM_TARGET inline void ScaleRun(PCM_SAMPLE *dest, pbInt samples, PCM_SAMPLE factor)
{
#ifndef PCM_AVX512 // there 1.1 of the time at 65,536
#pragma GCC unroll 4
#endif
    for (pbInt i = 0; i < samples; ++i)
        dest[i] = dest[i] * factor;
}

/// Some samples first, so that the vectors of the rest cross no line of the cache: 0.75 of the time at 65,536.
PCM_TARGET void Scale(PCM_SAMPLE *dest, pbInt samples, PCM_SAMPLE factor)
{
    const auto before = static_cast<pbInt>(-reinterpret_cast<uintptr_t>(dest) % 64 / sizeof(PCM_SAMPLE));
    const pbInt head = before < samples ? before : samples;
    ScaleRun(dest, head, factor);
    ScaleRun(dest + head, samples - head, factor);
}

/// One sample of each frame. Steps of 0 are those of the arguments; the others are constants, which the compiler can
/// make vectors of.
template <class Combine, pbInt kDestStep = 0, pbInt kSourceStep = 0>
PCM_TARGET void Walk(PCM_SAMPLE *dest, pbInt destStep, const PCM_SAMPLE *source, pbInt sourceStep, pbInt frames)
{
    if constexpr (kDestStep == 1 && kSourceStep == 1)
        return Flat<Combine>(dest, source, frames);
    destStep = kDestStep ? kDestStep : destStep;
    sourceStep = kSourceStep ? kSourceStep : sourceStep;
    for (pbInt f = 0; f < frames; ++f)
        dest[f * destStep] = Combine::Of(dest[f * destStep], source[f * sourceStep]);
}

#ifdef PCM_AVX512
#define PCM_WALK_INTO_TWO WalkIntoTwo

template <int... kAt> PCM_TARGET inline Floats Doubled(Floats samples, Numbers<kAt...>)
{
    return __builtin_shufflevector(samples, samples, kAt / 2 ...);
}

/// As many frames as half the lanes, or fewer: the mask leaves the other channel alone.
template <class Combine, pbInt kSourceStep>
PCM_TARGET inline void CombineTwos(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt frames)
{
    const unsigned all = (1u << frames) - 1, even = ((1u << 2 * frames) - 1) & 0x5555;
    const Floats in = kSourceStep == 2 ? LoadLanes(source, even) : Doubled(LoadLanes(source, all), Count<kLanes>());
    StoreLanes(dest, even, Combine::Of(LoadLanes(dest, even), in));
}

/// Into one channel of two.
template <class Combine, pbInt, pbInt kSourceStep>
PCM_TARGET void WalkIntoTwo(PCM_SAMPLE *dest, pbInt, const PCM_SAMPLE *source, pbInt, pbInt frames)
{
    constexpr pbInt kTurn = kLanes / 2;
    if (!Apart(dest, 2 * frames - 1, source, kSourceStep * (frames - 1) + 1))
        return Walk<Combine, 2, kSourceStep>(dest, 2, source, kSourceStep, frames);
    for (; frames >= kTurn; frames -= kTurn, dest += 2 * kTurn, source += kSourceStep * kTurn)
        CombineTwos<Combine, kSourceStep>(dest, source, kTurn);
    CombineTwos<Combine, kSourceStep>(dest, source, frames);
}

#else
#define PCM_WALK_INTO_TWO Walk
#endif

/// The loops for a step of dest (rows) and of the source (columns), counted from 1. The time that they take, of the
/// loop that takes any steps, at 960 frames with AVX-512 and AVX2:
///
///          1           2           3           6
///     1    0.1, 0.1    0.1, 0.15   0.2, 0.25   0.5, 0.45    3 and 6 only for copies: else they are 7 KB of code
///     2    0.2, 0.6    0.2, 0.5
template <class Combine, pbInt kIfCopy = std::is_same_v<Combine, Copy>>
constexpr ChannelLoop *kWalks[2][6] = {
    {Walk<Combine, 1, 1>, Walk<Combine, 1, 2>, Walk<Combine, kIfCopy, 3 * kIfCopy>, Walk<Combine>, Walk<Combine>,
     Walk<Combine, kIfCopy, 6 * kIfCopy>},
    {PCM_WALK_INTO_TWO<Combine, 2, 1>, PCM_WALK_INTO_TWO<Combine, 2, 2>, Walk<Combine>, Walk<Combine>, Walk<Combine>,
     Walk<Combine>},
};
#undef PCM_WALK_INTO_TWO

template <class Combine>
PCM_TARGET void Channel(PCM_SAMPLE *dest, pbInt destStep, const PCM_SAMPLE *source, pbInt sourceStep, pbInt frames)
{
    ChannelLoop *const loop =
        destStep <= 2 && sourceStep <= 6 ? kWalks<Combine>[destStep - 1][sourceStep - 1] : Walk<Combine>;
    loop(dest, destStep, source, sourceStep, frames);
}

constexpr Loops kLoops = {Flat<Sum>, Flat<Product>, Scale, Channel<Copy>, Channel<Sum>, Channel<Product>};
