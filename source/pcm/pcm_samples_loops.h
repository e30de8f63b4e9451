// The sample kernels' loops, for one instruction set (pcm_each_isa.h). Plain loops: where dest and source overlap, the
// compiler's own run-time test keeps the ascending order.

template <class Combine> PCM_TARGET inline void FlatRun(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples)
{
    for (pbInt i = 0; i < samples; ++i)
        dest[i] = Combine::Of(dest[i], source[i]);
}

/// How many samples to do before the rest begins where a vector does, so that it crosses no line of the cache.
PCM_TARGET inline pbInt Head(const PCM_SAMPLE *dest, pbInt samples)
{
    const auto head = static_cast<pbInt>(-reinterpret_cast<uintptr_t>(dest) % 64 / sizeof(PCM_SAMPLE));
    return head < samples ? head : samples;
}

template <class Combine> PCM_TARGET void Flat(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples)
{
    const pbInt head = Head(dest, samples);
    FlatRun<Combine>(dest, source, head);
    FlatRun<Combine>(dest + head, source + head, samples - head);
}

PCM_TARGET inline void ScaleRun(PCM_SAMPLE *dest, pbInt samples, PCM_SAMPLE factor)
{
    for (pbInt i = 0; i < samples; ++i)
        dest[i] = dest[i] * factor;
}

PCM_TARGET void Scale(PCM_SAMPLE *dest, pbInt samples, PCM_SAMPLE factor)
{
    const pbInt head = Head(dest, samples);
    ScaleRun(dest, head, factor);
    ScaleRun(dest + head, samples - head, factor);
}

/// Steps of 0 are those of the arguments; the others are constants, which the compiler can make vectors of.
template <class Combine, pbInt kDestStep, pbInt kSourceStep>
PCM_TARGET void WalkSteps(PCM_SAMPLE *dest, pbInt destStep, const PCM_SAMPLE *source, pbInt sourceStep, pbInt frames)
{
    destStep = kDestStep ? kDestStep : destStep;
    sourceStep = kSourceStep ? kSourceStep : sourceStep;
    for (pbInt f = 0; f < frames; ++f)
        dest[f * destStep] = Combine::Of(dest[f * destStep], source[f * sourceStep]);
}

template <class Combine>
PCM_TARGET void Walk(PCM_SAMPLE *dest, pbInt destStep, const PCM_SAMPLE *source, pbInt sourceStep, pbInt frames)
{
    if (destStep == 1 && sourceStep == 1)
        WalkSteps<Combine, 1, 1>(dest, 1, source, 1, frames);
    else if (destStep == 1 && sourceStep == 2)
        WalkSteps<Combine, 1, 2>(dest, 1, source, 2, frames);
    else if (destStep == 2 && sourceStep == 1)
        WalkSteps<Combine, 2, 1>(dest, 2, source, 1, frames);
    else if (destStep == 2 && sourceStep == 2)
        WalkSteps<Combine, 2, 2>(dest, 2, source, 2, frames);
    else
        WalkSteps<Combine, 0, 0>(dest, destStep, source, sourceStep, frames);
}

constexpr Loops kLoops = {Flat<Sum>, Flat<Product>, Scale, Walk<TakeSource>, Walk<Sum>, Walk<Product>};
