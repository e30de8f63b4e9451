// Every operation of the library, its name, its file and the kinds of its arguments, so that a loop can call each with
// arguments of its own choice. An argument travels as a word of 64 bits: a number, a real number, or a pointer.
#pragma once

#include "support.h"

#include <type_traits>
#include <utility>

using Word = uint64_t;

template <class... T> struct Types {
    template <class X> static constexpr int Place()
    {
        int at = 0, place = -1;
        ((std::is_same_v<X, T> ? place = at++ : at++), ...);
        return place;
    }
};
using Sorts = Types<PCM_PACKET, PCM_PACKET_QUEUE, PCM_FILTER, PCM_FILTER_COEFFICIENTS, PCM_TONE, PB_BUFFER, PB_STRING,
                    PB_VECTOR, PB_ENUM, PB_FLAGSET, PB_OBJ>;

/// What the checks of each sort call an object that is missing.
constexpr const char *kObjectNames[] = {"(pkt|source)",
                                        "(queue|source)",
                                        "(filter|source)",
                                        "(coeff|coefficients|source)",
                                        "tone[AB]?",
                                        "(buf|source)",
                                        "pbs",
                                        "vec",
                                        "enm",
                                        "flags",
                                        "obj"};
constexpr int kSorts = std::size(kObjectNames);

struct Argument {
    enum Kind { Int, Real, Array, Object, Handle } kind; ///< an array: of samples, bytes or characters
    int sort;                                            ///< of an object, or of what a handle points to

    template <class T> static constexpr Argument Of()
    {
        using Pointed = std::remove_pointer_t<T>;
        if constexpr (!std::is_pointer_v<T>)
            return {std::is_same_v<T, pbReal> ? Real : Int, -1};
        else if constexpr (std::is_pointer_v<Pointed>)
            return {Handle, Sorts::Place<std::remove_pointer_t<Pointed>>()};
        else
            return {Sorts::Place<Pointed>() < 0 ? Array : Object, Sorts::Place<Pointed>()};
    }
};

struct Operation {
    const char *file;
    std::string name;
    std::vector<Argument> arguments;
    Argument result;
    std::function<Word(const Word *)> call; ///< returns the object that the operation returns, or 0
};

template <class T> T FromWord(Word word)
{
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<T>(word);
    else
        return std::bit_cast<T>(word);
}

template <class R, class... A> Operation MakeOperation(const char *file, std::string name, R (*function)(A...))
{
    const auto call = [function](const Word *words) {
        const auto apply = [=]<std::size_t... I>(std::index_sequence<I...>)
        {
            return function(FromWord<A>(words[I])...);
        };
        if constexpr (Argument::Of<R>().kind == Argument::Object)
            return reinterpret_cast<Word>(apply(std::index_sequence_for<A...>()));
        else
            return static_cast<void>(apply(std::index_sequence_for<A...>())), Word{0};
    };
    return {file, std::move(name), {Argument::Of<A>()...}, Argument::Of<R>(), call};
}

/// Adds operations of one file, which are named in a list.
template <class... F> void Add(std::vector<Operation> &all, const char *file, std::string names, F *...functions)
{
    ((all.push_back(MakeOperation(file, names.substr(0, names.find(',')), functions)),
      names.erase(0, names.find(',') + 2)),
     ...);
}

#define OPERATIONS(file, ...) Add(all, "source/p" file, #__VA_ARGS__, __VA_ARGS__)

/// All but the standard functions of the sorts, those that take over a block, what the runtime alone calls, and
/// pcmFilterCoefficientsCreateFrom, which checks nothing.
inline std::vector<Operation> AllOperations()
{
    std::vector<Operation> all;
    // clang-format off
    OPERATIONS("cm/pcm_packet", pcmPacketCreate, pcmPacketCreateFrom, pcmPacketCreateFromSamplesCopy, pcmPacketChannels,
        pcmPacketFrames, pcmPacketBacking, pcmPacketMutableBacking, pcmPacketClear,
        pcmPacketWrite, pcmPacketWriteInner, pcmPacketWriteOuter, pcmPacketWriteLeading, pcmPacketWriteTrailing,
        pcmPacketWriteZero, pcmPacketInsert, pcmPacketInsertInner, pcmPacketInsertOuter, pcmPacketInsertLeading,
        pcmPacketInsertTrailing, pcmPacketInsertZero, pcmPacketPrepend, pcmPacketPrependInner, pcmPacketPrependOuter,
        pcmPacketPrependLeading, pcmPacketPrependTrailing, pcmPacketPrependZero, pcmPacketAppend, pcmPacketAppendInner,
        pcmPacketAppendOuter, pcmPacketAppendLeading, pcmPacketAppendTrailing, pcmPacketAppendZero, pcmPacketDelInner,
        pcmPacketDelOuter, pcmPacketDelLeading, pcmPacketDelTrailing, pcmPacketSetFrames, pcmPacketSetChannels,
        pcmPacketCreateFromWithChannels, pcmPacketCreateFromWithChannelMask, pcmPacketWriteChannels,
        pcmPacketWriteChannelsSamples, pcmPacketTryDecode, pcmPacketEncode);
    OPERATIONS("cm/pcm_packet_queue", pcmPacketQueueCreate, pcmPacketQueueCreateFrom, pcmPacketQueueChannels,
        pcmPacketQueuePackets, pcmPacketQueueFrames, pcmPacketQueueClear, pcmPacketQueueWrite, pcmPacketQueueRead,
        pcmPacketQueueGather, pcmPacketQueueGatherSamples, pcmPacketQueueGatherSamplesAdd);
    OPERATIONS("cm/pcm_filter_coefficients", pcmFilterCoefficientsCreate, pcmFilterCoefficientsCreateFromSamplesCopy,
        pcmFilterCoefficientsBacking, pcmFilterCoefficientsLength);
    OPERATIONS("cm/pcm_filter", pcmFilterCreate, pcmFilterCreateFrom, pcmFilterCoefficients, pcmFilterChannels,
        pcmFilterPackets, pcmFilterFrames, pcmFilterReset, pcmFilterWrite, pcmFilterRead, pcmFilterGather,
        pcmFilterGatherSamples, pcmFilterGatherSamplesAdd);
    OPERATIONS("cm/pcm_filter_type", pcmFilterTypeFromString, pcmFilterTypeToString);
    OPERATIONS("cm/pcm_encoding", pcmEncodingNormalize, pcmEncodingFromString, pcmEncodingToString,
        pcmEncodingSizeofSample, pcmEncodingSizeofFrame);
    OPERATIONS("cm/pcm_convert", pcmTryConvert, pcm___Convert);
    OPERATIONS("cm/pcm_decibel", pcmDecibelFromGain, pcmDecibelToGain);
    OPERATIONS("cm/pcm_level", pcmLevelAdjust, pcmLevelAdjustSamples);
    OPERATIONS("cm/pcm_channels", pcmChannelsAdjustReplaceWithDownmix, pcmChannelsAdjustExpandWithDownmix);
    OPERATIONS("cm/pcm_frames", pcmFramesExtend, pcmFramesReduce);
    OPERATIONS("cm/pcm_tone", pcmToneCreate, pcmToneTryCreateWithFrequency, pcmToneGather, pcmToneGatherSamples,
        pcmToneGatherSamplesAdd);
    OPERATIONS("cm/pcm_dual_tone", pcmDualToneGather, pcmDualToneGatherSamples, pcmDualToneGatherSamplesAdd);
    OPERATIONS("cm/pcm_modulated_tone", pcmModulatedToneGather, pcmModulatedToneGatherSamples,
        pcmModulatedToneGatherSamplesAdd);
    OPERATIONS("cm/pcm_noise", pcmNoiseGather, pcmNoiseGatherSamples, pcmNoiseGatherSamplesAdd);
    OPERATIONS("cm/pcm_silence", pcmSilenceGather, pcmSilenceGatherSamples);
    OPERATIONS("cm/pcm_samples_stdc", pcm___SamplesCopy, pcm___SamplesMove, pcm___SamplesZero, pcm___SamplesAdd,
        pcm___SamplesMul, pcm___SamplesScale, pcm___SamplesChannelCopy, pcm___SamplesChannelZero,
        pcm___SamplesChannelAdd, pcm___SamplesChannelMul, pcm___SamplesChannelScale);
    OPERATIONS("b/pb_[a-z]+", pbBufferBacking, pbBufferLength, pbEnumParse, pbEnumSetEnumerantCstr, pbFlagsetParse,
        pbFlagsetGenerate, pbFlagsetHasFlagCstr, pbFlagsetSetFlagCstr, pbStringCreateFromCstr, pbStringCstr,
        pbStringLength, pbVectorLength, pbVectorAppendObj, pbVectorClear, pbVectorUnshift, pbObjSort, pbObjToString,
        pb___ObjDbgAllocationSize, pbMemCopyN, pbMemMoveN, pbMemSetN);
    // clang-format on
    return all;
}
