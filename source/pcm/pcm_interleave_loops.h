// The loops over interleaved frames, for one instruction set (pcm_each_isa.h).

/// Numbers that are arguments; others in the template arguments are constants, which let the compiler make vectors.
constexpr pbInt kAny = -1;

using Rest = FrameShape::Rest;
constexpr Rest kSilence = Rest::kSilence, kSum = Rest::kSum, kUnchanged = Rest::kUnchanged;

/// The definition.
template <Rest kRest, pbInt kWidth = kAny, pbInt kKept = kAny, pbInt kChannels = kAny>
PCM_TARGET void MakePlain(PCM_SAMPLE *__restrict dest, const FrameShape &shape, const PCM_SAMPLE *__restrict source,
                          pbInt sourceChannels, pbInt frames)
{
    const pbInt width = kWidth == kAny ? shape.width : kWidth, kept = kKept == kAny ? shape.kept : kKept;
    const pbInt channels = kChannels == kAny ? sourceChannels : kChannels;
    const PCM_SAMPLE gain = shape.gain;
    for (pbInt f = 0; f < frames; ++f) {
        PCM_SAMPLE *const to = dest + f * width;
        const PCM_SAMPLE *const from = source + f * channels;
        uint64_t mask = shape.mask;
        for (pbInt c = 0; c < kept; ++c)
            to[c] = from[kKept == kAny && mask ? NextChannel(mask) : c];
        if constexpr (kRest == kUnchanged)
            continue;
        PCM_SAMPLE rest = 0.0f;
        if constexpr (kRest == kSum) {
            for (pbInt c = 0; c < channels; ++c)
                rest += from[c];
            rest *= gain;
        }
        for (pbInt c = kept; c < width; ++c)
            to[c] = rest;
    }
}

/// A row for each frame, of a constant number of samples, and nothing else. Without __restrict: compilers would
/// scatter.
template <pbInt kKept>
PCM_TARGET void CopyRows(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels,
                         pbInt frames)
{
    const pbInt width = shape.width;
    for (pbInt f = 0; f < frames; ++f)
        __builtin_memcpy(dest + f * width, source + f * channels, kKept * sizeof(PCM_SAMPLE));
}

/// The plain loop for a shape.
PCM_TARGET MakeLoop *Plain(const FrameShape &shape)
{
    if (shape.rest == kSum)
        return MakePlain<kSum>;
    if (shape.mask == 0 && (shape.rest == kUnchanged || shape.width == shape.kept)) {
        switch (shape.kept) {
        case 1: return shape.rest == kUnchanged ? CopyRows<1> : MakePlain<kSilence, 1, 1>;
        case 2: return shape.rest == kUnchanged ? CopyRows<2> : MakePlain<kSilence, 2, 2>;
        case 4: return CopyRows<4>;
        case 6: return CopyRows<6>;
        case 8: return CopyRows<8>;
        }
    }
    return shape.rest == kUnchanged ? MakePlain<kUnchanged> : MakePlain<kSilence>;
}

/// The same where all numbers are constants. @return null for other shapes
PCM_TARGET MakeLoop *Constant(const FrameShape &shape, pbInt channels)
{
    if (shape.mask > 1 || shape.width > 4 || channels > 8)
        return nullptr;
    switch (1000 * shape.rest + 100 * shape.width + 10 * shape.kept + channels) {
    case 112: return MakePlain<kSilence, 1, 1, 2>;
    case 113: return MakePlain<kSilence, 1, 1, 3>;
    case 116: return MakePlain<kSilence, 1, 1, 6>;
    case 211: return MakePlain<kSilence, 2, 1, 1>;
    case 224: return MakePlain<kSilence, 2, 2, 4>;
    case 311: return MakePlain<kSilence, 3, 1, 1>;
    case 422: return MakePlain<kSilence, 4, 2, 2>;
    case 1101: return MakePlain<kSum, 1, 0, 1>;
    case 1102: return MakePlain<kSum, 1, 0, 2>;
    case 1108: return MakePlain<kSum, 1, 0, 8>;
    case 1208: return MakePlain<kSum, 2, 0, 8>;
    case 1201: return MakePlain<kSum, 2, 0, 1>;
    case 1211: return MakePlain<kSum, 2, 1, 1>;
    default: return nullptr;
    }
}

#ifdef PCM_VECTOR

// Sums: a vector holds one channel of neighbouring frames, so that each lane adds in the order of the channels.

template <class Part, int... kAt> PCM_TARGET inline auto Joined(Part low, Part high, Numbers<kAt...>)
{
    return __builtin_shufflevector(low, high, kAt...);
}

typedef PCM_SAMPLE Four __attribute__((vector_size(16)));

/// Four samples from each of kCount places.
template <int kCount> PCM_TARGET inline auto LoadFours(const PCM_SAMPLE *source, pbInt step)
{
    if constexpr (kCount == 1) {
        return Load<Four>(source);
    } else {
        constexpr int kHalf = kCount / 2;
        return Joined(LoadFours<kHalf>(source, step), LoadFours<kHalf>(source + kHalf * step, step),
                      Count<4 * kCount>());
    }
}

/// Of each four samples of a and b, two from kFirst on: Pairs takes them in turn from both, Halves those of a first.
template <int kFirst, int... kAt> PCM_TARGET inline Floats Pairs(Floats a, Floats b, Numbers<kAt...>)
{
    return __builtin_shufflevector(a, b, (kAt % 2 * kLanes + kAt / 4 * 4 + kFirst + kAt % 4 / 2)...);
}
template <int kFirst, int... kAt> PCM_TARGET inline Floats Halves(Floats a, Floats b, Numbers<kAt...>)
{
    return __builtin_shufflevector(a, b, (kAt % 4 / 2 * kLanes + kAt / 4 * 4 + kFirst + kAt % 2)...);
}
template <int kFirst, int... kAt> PCM_TARGET inline Floats EverySecond(Floats a, Floats b, Numbers<kAt...>)
{
    return __builtin_shufflevector(a, b, (2 * kAt + kFirst)...);
}

/// The sums of as many frames as there are lanes. Reads one sample more.
template <pbInt kChannels> PCM_TARGET inline Floats SumsOf(const PCM_SAMPLE *source, pbInt number)
{
    constexpr Count<kLanes> all;
    const pbInt channels = kChannels == kAny ? number : kChannels;
    Floats sum = {};
    if (channels == 1)
        return sum + Load<Floats>(source);
    if (channels == 2) {
        const Floats a = Load<Floats>(source), b = Load<Floats>(source + kLanes);
        return sum + EverySecond<0>(a, b, all) + EverySecond<1>(a, b, all);
    }
    // Blocks of four frames and four channels are transposed. The last block is of the last four channels, and those
    // that were summed before are left out.
    for (pbInt done = 0; done < channels; done += 4) {
        const pbInt start = done + 4 <= channels ? done : channels < 4 ? 0 : channels - 4;
        const PCM_SAMPLE *const at = source + start;
        const Floats a = LoadFours<kLanes / 4>(at, 4 * channels),
                     b = LoadFours<kLanes / 4>(at + channels, 4 * channels),
                     c = LoadFours<kLanes / 4>(at + 2 * channels, 4 * channels),
                     d = LoadFours<kLanes / 4>(at + 3 * channels, 4 * channels);
        const Floats ab = Pairs<0>(a, b, all), cd = Pairs<0>(c, d, all);
        if (start == done)
            sum += Halves<0>(ab, cd, all);
        if (start + 1 >= done)
            sum += Halves<2>(ab, cd, all);
        const Floats abLast = Pairs<2>(a, b, all), cdLast = Pairs<2>(c, d, all);
        if (start + 2 >= done)
            sum += Halves<0>(abLast, cdLast, all);
        if (start + 3 < channels)
            sum += Halves<2>(abLast, cdLast, all);
    }
    return sum;
}

/// How a vector of dest, or its first lanes, are made: each lane of one sample of a vector of the source, or of the sum
/// of one frame. Places are negative where the lane is the other's, or nobody's.
struct alignas(PCM_VECTOR) Step {
    int32_t places[kLanes], sums[kLanes];
    pbInt source, dest; ///< from the start of the group
};

/// Whole frames that fill whole vectors of dest; their steps serve every group of so many frames.
struct Group {
    /// At most, for frames of 64 channels: each step but the last moves on by at least a vector of dest or of source.
    static constexpr int kSteps = 64;

    pbInt frames;
    int count = 0;
    Step steps[kSteps];

    PCM_TARGET Group(const FrameShape &shape, pbInt channels)
    {
        frames = shape.rest == kSum ? kLanes : kLanes / std::gcd(shape.width, pbInt{kLanes});
        int lane = kLanes;
        pbInt end = 0; // of what the step loads; 0 while it takes nothing from the source
        for (pbInt f = 0, to = 0; f < frames; ++f) {
            uint64_t mask = shape.mask;
            for (pbInt c = 0; c < shape.width; ++c, ++to, ++lane) {
                const bool kept = c < shape.kept;
                const pbInt from = f * channels + (kept && mask ? NextChannel(mask) : c);
                if (lane == kLanes || (kept && end && from >= end)) {
                    Step &next = steps[count++];
                    Store(next.places, Ints{} - 1); // lanes that the step does not reach are the next one's
                    Store(next.sums, Ints{} - 1);
                    next.source = 0;
                    next.dest = to;
                    lane = 0;
                    end = 0;
                }
                Step &step = steps[count - 1];
                if (kept && !end) {
                    step.source = from;
                    end = from + kLanes;
                }
                step.places[lane] = static_cast<int32_t>(kept ? from - step.source : -1);
                step.sums[lane] = static_cast<int32_t>(kept ? -1 : f);
            }
        }
    }
};

template <bool kKeeps, Rest kRest, pbInt kChannels = kAny>
PCM_TARGET void MakeVectors(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels,
                            pbInt frames)
{
    const Group group(shape, channels);
    // The vectors that a group loads and stores reach at most this far into the frames behind it.
    const pbInt needed = group.frames + kLanes / std::min(shape.width, channels) + 1;
    const pbInt destStep = group.frames * shape.width, sourceStep = group.frames * channels;
    const pbInt whole = group.frames;
    const Step *const end = group.steps + group.count;
    const PCM_SAMPLE gain = shape.gain;
    for (; frames >= needed; frames -= whole) {
        const Words sums = kRest == kSum ? BitsOf(SumsOf<kChannels>(source, channels) * gain) : Words{};
        for (const Step *step = group.steps; step != end; ++step) {
            Words words = {};
            if constexpr (kKeeps)
                words = Permuted(Load<Words>(source + step->source), Load<Ints>(step->places));
            if constexpr (kRest == kSum)
                words |= Permuted(sums, Load<Ints>(step->sums));
            Store(dest + step->dest, words);
        }
        dest += destStep;
        source += sourceStep;
    }
    Plain(shape)(dest, shape, source, channels, frames);
}

template <int kFirst, int... kAt> PCM_TARGET inline Floats EveryOther(Floats source, Floats dest, Numbers<kAt...>)
{
    return __builtin_shufflevector(source, dest, (kAt % 2 ? kLanes + kAt : kFirst + kAt / 2)...);
}

/// One channel into frames of two, of which the other stays.
PCM_TARGET void PlaceOneInTwo(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels,
                              pbInt frames)
{
    constexpr Count<kLanes> all;
    for (; frames > kLanes; frames -= kLanes, dest += 2 * kLanes, source += kLanes) {
        const Floats samples = Load<Floats>(source);
        Store(dest, EveryOther<0>(samples, Load<Floats>(dest), all));
        Store(dest + kLanes, EveryOther<kLanes / 2>(samples, Load<Floats>(dest + kLanes), all));
    }
    Plain(shape)(dest, shape, source, channels, frames);
}

/// The loop of vectors for a shape. @return null where they do not pay: each would make few samples of dest
PCM_TARGET MakeLoop *Vectors(const FrameShape &shape, pbInt channels, pbInt frames)
{
    if (frames < 2 * kLanes || shape.width > 64 || channels > 64)
        return nullptr;
    if (shape.rest == kSum && channels == 6)
        return shape.kept ? MakeVectors<true, kSum, 6> : MakeVectors<false, kSum, 6>;
    if (shape.rest == kSum)
        return shape.kept ? MakeVectors<true, kSum> : MakeVectors<false, kSum>;
    if (shape.rest == kUnchanged)
        return shape.kept == 1 && shape.width == 2 && channels == 1 ? PlaceOneInTwo : nullptr;
    return shape.mask > 1 || (channels <= 8 && shape.width <= 16) ? MakeVectors<true, kSilence> : nullptr;
}

/// Whole vectors for each frame: of the source, then of silence. What they overrun is written after them.
PCM_TARGET void MakeRows(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels,
                         pbInt frames)
{
    const pbInt width = shape.width, kept = shape.kept, needed = 2 + kLanes / std::min(width, channels);
    Floats silence = {};
    Hold(silence); // else GCC makes a call of memset for each frame
    for (; frames >= needed; --frames, dest += width, source += channels) {
        for (pbInt c = 0; c < kept; c += kLanes)
            Store(dest + c, Load<Floats>(source + c));
        for (pbInt c = kept; c < width; c += kLanes)
            Store(dest + c, silence);
    }
    Plain(shape)(dest, shape, source, channels, frames);
}

PCM_TARGET void Make(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    MakeLoop *loop = Constant(shape, channels);
    if (!loop)
        loop = Vectors(shape, channels, frames);
    if (!loop)
        loop = shape.rest == kSilence && shape.kept < shape.width ? MakeRows : Plain(shape);
    loop(dest, shape, source, channels, frames);
}

#else

PCM_TARGET void Make(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    MakeLoop *const loop = Constant(shape, channels);
    (loop ? loop : Plain(shape))(dest, shape, source, channels, frames);
}

#endif

constexpr MakeLoop *kLoops = Make;
