// The loops over interleaved frames, for one instruction set (pcm_each_isa.h). Tables at the end say which shape takes
// which loop.

using Rest = FrameShape::Rest; // whose names Clang 14 does not take as template arguments by a using enum
constexpr Rest kSilence = FrameShape::kSilence, kSum = FrameShape::kSum, kUnchanged = FrameShape::kUnchanged;

constexpr pbInt kAtRunTime = -1; // a number that is read at run time; constants let the compiler make vectors

/// The definition, but for masks. Inlined, it would take the registers of the loops before it.
template <Rest kRest, pbInt kWidth = kAtRunTime, pbInt kKept = kAtRunTime, pbInt kChannels = kAtRunTime>
PCM_TARGET __attribute__((noinline)) void MakePlain(PCM_SAMPLE *__restrict dest, const FrameShape &shape,
                                                    const PCM_SAMPLE *__restrict source, pbInt sourceChannels,
                                                    pbInt frames)
{
    const pbInt width = kWidth == kAtRunTime ? shape.width : kWidth, kept = kKept == kAtRunTime ? shape.kept : kKept;
    const pbInt channels = kChannels == kAtRunTime ? sourceChannels : kChannels;
    const PCM_SAMPLE gain = shape.gain;
    for (pbInt f = 0; f < frames; ++f) {
        PCM_SAMPLE *const to = dest + f * width;
        const PCM_SAMPLE *const from = source + f * channels;
        for (pbInt c = 0; c < kept; ++c)
            to[c] = from[c];
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

/// Copies kKept samples of each frame. No __restrict: with it compilers use scatter instructions, which are slower.
template <pbInt kKept>
PCM_TARGET void CopyRows(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels,
                         pbInt frames)
{
    const pbInt width = shape.width;
    for (pbInt f = 0; f < frames; ++f)
        __builtin_memcpy(dest + f * width, source + f * channels, kKept * sizeof(PCM_SAMPLE));
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

/// The sums of as many frames as there are lanes. With 3 channels it reads one sample behind the last frame.
template <pbInt kChannels> PCM_TARGET inline Floats SumsOf(const PCM_SAMPLE *source, pbInt number)
{
    constexpr Count<kLanes> all;
    const pbInt channels = kChannels == kAtRunTime ? number : kChannels;
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

/// How whole frames of dest are made in one vector: which lanes come from the source, and from which place in it.
///
/// An example, with 8 lanes: channels 1 and 3 of 4 are kept (mask 0b1010, width 2). The source's vector begins at
/// channel 1, and channel 3 lies 2 samples after it (reach). The second frame needs the places 4 and 6, a third 8 and
/// 10, which are not there: so 2 frames are made at once, though 4 would fit in dest. Lanes 0 to 3 take the places 0,
/// 2, 4, 6; what the others take is overwritten by the next vector, which is stored 4 samples further on.
struct Picks {
    pbInt first = 0, reach; ///< channels of the source: the first one taken, and the distance from it to the last
    pbInt frames;           ///< that are made at once; 0 if the source's vector does not hold one
    Ints frame, places;     ///< of each lane: its frame, and its place in the source's vector
    Words kept;             ///< all bits of the lanes that come from the source

    PCM_TARGET Picks(const FrameShape &shape, pbInt channels) : reach(shape.kept - 1), frames(kLanes / shape.width)
    {
        const auto width = static_cast<int32_t>(shape.width);
        Ints lane = {};
        for (int i = 0; i < kLanes; ++i)
            lane[i] = i;
        const Floats middle = __builtin_convertvector(lane, Floats) + 0.5f; // which no rounding takes to another frame
        frame = __builtin_convertvector(middle / static_cast<float>(width), Ints);
        Ints channel = lane - frame * width;
        kept = (Words)(channel < static_cast<int32_t>(shape.kept));
        if (uint64_t mask = shape.mask) {
            first = std::countr_zero(mask);
            reach = 63 - std::countl_zero(mask) - first;
            int32_t picked[kLanes] = {};
            for (int c = 0; mask && c < kLanes; ++c)
                picked[c] = static_cast<int32_t>(NextChannel(mask) - first);
            channel = (Ints)Permuted(Load<Words>(picked), channel);
        }
        places = frame * static_cast<int32_t>(channels) + channel;
        if (shape.kept)
            frames = reach < kLanes ? std::min(frames, (kLanes - 1 - reach) / channels + 1) : 0;
    }
};

using TurnsLoop = pbInt(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels,
                        const Picks &picks, pbInt frames, pbInt needed);

/// A turn makes as many frames as fit in a vector, or for sums as many as there are lanes. @return how many are
/// left, which is less than needed
template <Rest kRest, bool kKeeps, pbInt kChannels>
PCM_TARGET pbInt MakeTurns(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels,
                           const Picks &picks, pbInt frames, pbInt needed)
{
    const Words kept = picks.kept;
    const Ints frame = picks.frame, places = picks.places, next = Ints{} + static_cast<int32_t>(picks.frames);
    const PCM_SAMPLE gain = shape.gain;
    const pbInt width = shape.width, fit = picks.frames, turn = kRest == kSum ? kLanes : fit;
    const pbInt destTurn = turn * width, sourceTurn = turn * channels;
    source += picks.first;
#pragma GCC unroll 4 // else 1.0 to 1.4 of the time, by where the linker puts it
    for (; frames >= needed; frames -= turn, dest += destTurn, source += sourceTurn) {
        const Words sums = kRest == kSum ? BitsOf(SumsOf<kChannels>(source, channels) * gain) : Words{};
        Ints at = frame;
        const PCM_SAMPLE *from = source;
        PCM_SAMPLE *to = dest;
        do {
            Words words = kRest == kSum ? Permuted(sums, at) : Words{};
            if constexpr (kKeeps)
                words = (words & ~kept) | (Permuted(Load<Words>(from), places) & kept);
            Store(to, words);
            to += fit * width;
            from += fit * channels;
            at += next;
        } while (kRest == kSum && to < dest + destTurn);
    }
    return frames;
}

constexpr pbInt kMostChannels = 64;

/// The last frames, at most 2 * kLanes + 2, are made by whole turns too, in arrays with room for 4 * kLanes.
PCM_TARGET void MakeByTurns(TurnsLoop *turns, PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source,
                            pbInt channels, pbInt frames)
{
    const Picks picks(shape, channels);
    if (picks.frames == 0)
        return MakePicked(dest, shape, source, channels, frames);
    // All that a turn loads or stores lies within this many frames from its first.
    const pbInt needed = (shape.rest == kSum ? kLanes : picks.frames) + 3 + kLanes / std::min(shape.width, channels);
    const pbInt left = turns(dest, shape, source, channels, picks, frames, needed);
    PCM_SAMPLE in[4 * kLanes * kMostChannels], out[4 * kLanes * kLanes];
    source += (frames - left) * channels;
    dest += (frames - left) * shape.width;
    __builtin_memcpy(in, source, left * channels * sizeof(PCM_SAMPLE));
    turns(out, shape, in, channels, picks, left, 1);
    __builtin_memcpy(dest, out, left * shape.width * sizeof(PCM_SAMPLE));
}

template <Rest kRest, bool kKeeps, pbInt kChannels = kAtRunTime>
PCM_TARGET void MakeVectors(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels,
                            pbInt frames)
{
    MakeByTurns(MakeTurns<kRest, kKeeps, kChannels>, dest, shape, source, channels, frames);
}

/// Whole vectors for each frame: of the source, then of silence. The next frame overwrites the excess.
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
    MakePlain<kSilence>(dest, shape, source, channels, frames);
}

template <int kFirst, int... kAt> PCM_TARGET inline Floats EveryOther(Floats source, Floats dest, Numbers<kAt...>)
{
    return __builtin_shufflevector(source, dest, (kAt % 2 ? kLanes + kAt : kFirst + kAt / 2)...);
}

/// One channel into frames of two, of which the other is stored again.
PCM_TARGET void PlaceOneInTwo(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels,
                              pbInt frames)
{
    constexpr Count<kLanes> all;
    for (; frames > kLanes; frames -= kLanes, dest += 2 * kLanes, source += kLanes) {
        const Floats samples = Load<Floats>(source);
        Store(dest, EveryOther<0>(samples, Load<Floats>(dest), all));
        Store(dest + kLanes, EveryOther<kLanes / 2>(samples, Load<Floats>(dest + kLanes), all));
    }
    MakeChannel(dest, shape, source, channels, frames);
}

#else // no shape fits kFits or kSome; the other rows for vectors take plain loops

constexpr pbInt kLanes = 0, kMostChannels = 0;
template <Rest kRest, bool, pbInt = kAtRunTime> constexpr MakeLoop *MakeVectors = MakePlain<kRest>;
constexpr MakeLoop *MakeRows = MakePlain<kSilence>, *PlaceOneInTwo = MakeChannel;

#endif

/// Numbers from the least to the most.
struct Range {
    pbInt least, most;

    constexpr Range(pbInt number) : least(number), most(number) {}
    constexpr Range(pbInt from, pbInt to) : least(from), most(to) {}
    constexpr bool Has(pbInt number) const { return least <= number && number <= most; }
};
constexpr Range kAny(0, INT64_MAX), kFits(1, kLanes), kSome(1, kMostChannels);

struct Choice {
    Range width, kept, channels;
    MakeLoop *loop;
};

// A shape takes the first row that it fits. The figures: the time for 960 frames as a part of the definition's, with
// AVX-512 and AVX2; in brackets as a part of the time without the row.
// clang-format off

constexpr Choice kSums[] = {
    // width, kept, channels
    {1, 0, 1, MakePlain<kSum, 1, 0, 1>},                // 0.04, 0.06 (0.63, 0.48)
    {1, 0, 2, MakePlain<kSum, 1, 0, 2>},                // 0.05, 0.07 (0.70, 0.65)
    {2, 0, 1, MakePlain<kSum, 2, 0, 1>},                // 0.05, 0.06 (0.64, 0.50)
    {2, 1, 1, MakePlain<kSum, 2, 1, 1>},                // 0.04, 0.05 (0.66, 0.57)
#ifdef PCM_AVX512
    {1, 0, 8, MakePlain<kSum, 1, 0, 8>},                // 0.15 (0.85)
    {2, 0, 8, MakePlain<kSum, 2, 0, 8>},                // 0.16 (0.85)
#endif
    {kFits, 0, 6, MakeVectors<kSum, false, 6>},         // 0.14, 0.15 (0.74, 0.64)
    {kFits, 0, 8, MakeVectors<kSum, false, 8>},         // 0.17, 0.20 (0.75, 0.70)
    {kFits, 0, kSome, MakeVectors<kSum, false>},        // 0.10 to 0.29, 0.14 to 0.36
    {kFits, kAny, kSome, MakeVectors<kSum, true>},      // 0.10 to 0.22, 0.14 to 0.33
    {kAny, kAny, kAny, MakePlain<kSum>},                // the definition
};

constexpr Choice kSilences[] = {
    {1, 1, kAny, MakeChannel},                          // 0.06 to 0.19, 0.06 to 0.20
    {2, 1, 1, MakePlain<kSilence, 2, 1, 1>},            // 0.04, 0.04 (0.84, 0.70)
    {3, 1, 1, MakePlain<kSilence, 3, 1, 1>},            // 0.05, 0.04 (0.88, 0.65)
    {2, 2, 4, MakePlain<kSilence, 2, 2, 4>},            // 0.09, 0.10 (0.65, 0.65)
    {kFits, kAny, {1, 8}, MakeVectors<kSilence, true>}, // 0.06 to 0.22, 0.08 to 0.28
    {2, 2, kAny, MakePlain<kSilence, 2, 2>},            // 0.25, 0.23 (0.54, 0.58)
    {6, 6, kAny, CopyRows<6>},                          // 0.26 to 0.41, 0.25 to 0.38 (0.80, 0.80)
    {kAny, kAny, kAny, MakeRows},                       // 0.18 to 0.46, 0.24 to 0.49
};

constexpr Choice kMasks[] = {
    {1, 1, kAny, MakeChannel},                          // 0.23 to 0.76, 0.26 to 0.75
    {kFits, kAny, kSome, MakeVectors<kSilence, true>},  // 0.23 to 0.54, 0.28 to 0.68
    {kAny, kAny, kAny, MakePicked},                     // the definition
};

constexpr Choice kPlaced[] = { // the rest stays unchanged
    {2, 1, 1, PlaceOneInTwo},                           // 0.04, 0.04 (0.85, 0.40)
    {kAny, 1, kAny, MakeChannel},                       // 0.19, 0.16
    {kAny, 2, kAny, CopyRows<2>},                       // 0.20, 0.18
    {kAny, 4, kAny, CopyRows<4>},                       // 0.19, 0.17
    {kAny, 6, kAny, CopyRows<6>},                       // 0.28, 0.24
    {kAny, 8, kAny, CopyRows<8>},                       // 0.25, 0.22
    {kAny, kAny, kAny, MakePlain<kUnchanged>},          // the definition
};
// clang-format on

PCM_TARGET void Make(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    const Choice *choice = shape.mask                 ? kMasks
                           : shape.rest == kSum       ? kSums
                           : shape.rest == kUnchanged ? kPlaced
                                                      : kSilences;
    while (!choice->width.Has(shape.width) || !choice->kept.Has(shape.kept) || !choice->channels.Has(channels))
        ++choice;
    choice->loop(dest, shape, source, channels, frames);
}

constexpr MakeLoop *kLoops = Make;
