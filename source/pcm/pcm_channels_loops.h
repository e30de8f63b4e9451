// Channel adjustment's loops, for one level (pcm_each_level.h). Two simple loops in turn over a run of frames that
// stays in the cache: the frames' means, then the frames of dest. dest is new memory and overlaps nothing.

/// Any number of channels, told by an argument; other numbers in the template arguments are constants.
constexpr pbInt kAny = -1;

/// The plain definition: from +0.0 in channel order, then times the gain.
template <pbInt kChannels>
PCM_TARGET void Means(PCM_SAMPLE *__restrict means, const PCM_SAMPLE *__restrict source, pbInt channels, pbInt frames,
                      PCM_SAMPLE gain)
{
    channels = kChannels == kAny ? channels : kChannels;
    for (pbInt f = 0; f < frames; ++f) {
        PCM_SAMPLE sum = 0.0f;
        for (pbInt c = 0; c < channels; ++c)
            sum += source[f * channels + c];
        means[f] = sum * gain;
    }
}

typedef PCM_SAMPLE Floats __attribute__((vector_size(PCM_VECTOR)));
typedef double Pairs __attribute__((vector_size(PCM_VECTOR))); // of samples, moved as one
constexpr int kWide = PCM_VECTOR / 4, kHalf = PCM_VECTOR / 8;

/// Every third pair of three vectors, from the first, second or third on.
template <int kFirst, int... kAt>
PCM_TARGET inline Pairs EveryThird(const Pairs (&v)[3], std::integer_sequence<int, kAt...>)
{
    const Pairs begun = __builtin_shufflevector(v[0], v[1], (3 * kAt + kFirst) % (2 * kHalf)...);
    return __builtin_shufflevector(begun, v[2], (3 * kAt + kFirst < 2 * kHalf ? kAt : 3 * kAt + kFirst - kHalf)...);
}

/// Every second sample of two vectors, from the first or second on.
template <int kFirst, int... kAt>
PCM_TARGET inline Floats EverySecond(Pairs a, Pairs b, std::integer_sequence<int, kAt...>)
{
    return __builtin_shufflevector((Floats)a, (Floats)b, (2 * kAt + kFirst)...);
}

/// Six channels, of which compilers make no vectors: as many frames as a vector has lanes.
PCM_TARGET inline void SixMeans(PCM_SAMPLE *means, const PCM_SAMPLE *source, PCM_SAMPLE gain)
{
    constexpr std::make_integer_sequence<int, kHalf> half;
    constexpr std::make_integer_sequence<int, kWide> wide;
    Pairs a[3], b[3];
    __builtin_memcpy(a, source, sizeof(a));
    __builtin_memcpy(b, source + sizeof(a) / 4, sizeof(b));
    Floats sum = {};
    const Pairs a0 = EveryThird<0>(a, half), b0 = EveryThird<0>(b, half);
    sum = sum + EverySecond<0>(a0, b0, wide) + EverySecond<1>(a0, b0, wide);
    const Pairs a1 = EveryThird<1>(a, half), b1 = EveryThird<1>(b, half);
    sum = sum + EverySecond<0>(a1, b1, wide) + EverySecond<1>(a1, b1, wide);
    const Pairs a2 = EveryThird<2>(a, half), b2 = EveryThird<2>(b, half);
    sum = sum + EverySecond<0>(a2, b2, wide) + EverySecond<1>(a2, b2, wide);
    sum = sum * gain;
    __builtin_memcpy(means, &sum, sizeof(sum));
}

template <>
PCM_TARGET void Means<6>(PCM_SAMPLE *__restrict means, const PCM_SAMPLE *__restrict source, pbInt, pbInt frames,
                         PCM_SAMPLE gain)
{
    for (; frames >= kWide; frames -= kWide, source += 6 * kWide, means += kWide)
        SixMeans(means, source, gain);
    Means<kAny>(means, source, 6, frames, gain);
}

PCM_TARGET void AnyMeans(PCM_SAMPLE *means, const PCM_SAMPLE *source, pbInt channels, pbInt frames, PCM_SAMPLE gain)
{
    switch (channels) {
    case 1: return Means<1>(means, source, 1, frames, gain);
    case 2: return Means<2>(means, source, 2, frames, gain);
    case 6: return Means<6>(means, source, 6, frames, gain);
    case 8: return Means<8>(means, source, 8, frames, gain);
    default: return Means<kAny>(means, source, channels, frames, gain);
    }
}

PCM_TARGET void Adjust(PCM_SAMPLE *dest, pbInt destChannels, const PCM_SAMPLE *source, pbInt sourceChannels, pbInt kept,
                       pbInt frames)
{
    const auto gain = static_cast<PCM_SAMPLE>(1.0 / static_cast<double>(sourceChannels));
    if (destChannels == 1)
        return AnyMeans(dest, source, sourceChannels, frames, gain);
    constexpr pbInt kRun = 512;
    PCM_SAMPLE means[kRun];
    for (pbInt done = 0; done < frames; done += kRun) {
        const pbInt run = frames - done < kRun ? frames - done : kRun;
        const PCM_SAMPLE *from = source + done * sourceChannels;
        AnyMeans(means, from, sourceChannels, run, gain);
        Weave(dest + done * destChannels, destChannels, from, kept, means, run);
    }
}

constexpr Loops kLoops = {Adjust};
