// Every operation of the library: its name, its file, the kinds of its arguments and what it refuses, so that loops can
// call each with arguments of their own choice. An argument travels as a word of 64 bits: a number, a real number, or a
// pointer.
#pragma once

#include "support.h"

#include <functional>
#include <map>
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

/// An operation, and calls that end the process: the arguments of each, and the text of the check, before it its file
/// where that is not the operation's own. They come in the order of the checks; each call breaks a condition and, where
/// it can, all that are checked after it.
///
/// An argument is a number; M is the greatest, m the least, M/4 a part of it, ^60 a power of two; 0 is null, n a handle
/// of null, a an array. The packets p, s, d, e, w and v are mono of 3 frames and of 5, stereo of 3 frames and of none,
/// and without frames of 2^62 and 2^60 channels; Q is a queue of 24 frames of 16 channels, r one of none, F a filter
/// like Q, c a set of coefficients, t a tone, b a buffer, y an enumeration, u an empty vector, x a text.
struct Operation {
    const char *file;
    std::string name;
    const char *refusals;
    std::vector<Argument> arguments;
    std::function<Word(const Word *)> call; ///< returns the object that the operation returns, or 0
};

/// Objects by the letters of the table of operations; and one of each sort that every operation accepts beside the
/// numbers 2, 3, 4 and so on. All are shared, so that a change copies them.
class Subjects {
public:
    Subjects()
    {
        const auto put = [&](char name, const auto &handle) {
            slots_[name] = held_.emplace_back(Held<PB_OBJ>::Share(pcm::Obj(handle.Get())));
        };
        const auto pkt = MakePacket(16, Samples(16 * 12, 0.5f));
        const pcm::FilterCoefficients taps(PCM_FILTER_TYPE_LOWPASS_4000_AT_16000);
        pcm::PacketQueue queue(16);
        pcm::Filter filter(taps, 16);
        auto vector = Held<PB_VECTOR>::Adopt(pbVectorCreate());
        queue.Write(pkt), queue.Write(pkt), filter.Write(pkt), filter.Write(pkt);
        pbVectorAppendObj(vector.Address(), pcm::Obj(pkt.Get()));
        put('P', pkt), put('Q', queue), put('F', filter), put('V', vector), put('c', taps), put('t', pcm::Tone(40));
        put('p', MakePacket(1, {1, 2, 3})), put('s', MakePacket(1, Samples(5))), put('d', MakePacket(2, Samples(6)));
        put('e', pcm::Packet(2)), put('w', pcm::Packet(pbInt{1} << 62)), put('v', pcm::Packet(pbInt{1} << 60));
        put('r', pcm::PacketQueue(2)), put('b', pcm::Buffer(std::as_bytes(std::span(arrays_[0], 15))));
        put('x', pcm::String("PCM_ENCODING_INT_16")), put('y', Held<PB_ENUM>::Share(pcm___FilterTypeEnum));
        put('u', Held<PB_VECTOR>::Adopt(pbVectorCreate())), put('g', Held<PB_FLAGSET>::Share(pcm___EncodingFlagset));
        slots_['n'] = {};
    }

    /// An argument as the table of operations says it.
    Word Parse(const std::string &token, const Argument &argument)
    {
        if (argument.kind == Argument::Real)
            return std::bit_cast<Word>(std::stod(token));
        if (argument.kind == Argument::Array)
            return reinterpret_cast<Word>(token == "a" ? arrays_[0] : nullptr);
        if (argument.kind == Argument::Int)
            return token[0] == '^'   ? Word{1} << std::stoi(token.substr(1))
                   : token[0] == 'm' ? Word{1} << 63
                   : token[0] == 'M' ? Word{INT64_MAX} / (token[1] ? std::stoi(token.substr(2)) : 1)
                                     : static_cast<Word>(std::stoll(token));
        if (token == "0")
            return 0;
        auto &slot = slots_.at(token[0]);
        return argument.kind == Argument::Handle ? reinterpret_cast<Word>(slot.Address())
                                                 : reinterpret_cast<Word>(slot.Get());
    }

    std::vector<Word> Accepted(const Operation &operation)
    {
        std::vector<Word> words;
        int number = 2;
        for (const Argument &argument : operation.arguments)
            if (argument.kind == Argument::Array)
                words.push_back(reinterpret_cast<Word>(arrays_[words.size() % 2]));
            else if (argument.kind == Argument::Object || argument.kind == Argument::Handle)
                words.push_back(Parse({"PQFctbxVygx"[argument.sort]}, argument));
            else
                words.push_back(Parse(std::to_string(number++), argument));
        if (operation.name == "pcmPacketWrite") // a whole packet onto one as long
            words[1] = 0;
        if (operation.name == "pcmPacketWriteChannelsSamples") // from channels 4 to 10 of so many
            words[5] = 12;
        return words;
    }

    PCM_PACKET *Packet(char name) { return pcmPacketFrom(slots_[name].Get()); }

private:
    std::map<char, Held<PB_OBJ>> slots_;
    std::vector<Held<PB_OBJ>> held_;
    PCM_SAMPLE arrays_[2][400] = {};
};

inline void Call(const Operation &operation, const std::vector<Word> &words)
{
    const auto result = Held<PB_OBJ>::Adopt(reinterpret_cast<PB_OBJ *>(operation.call(words.data())));
}

template <class T> T FromWord(Word word)
{
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<T>(word);
    else
        return std::bit_cast<T>(word);
}

template <class R, class... A> Operation MakeOperation(R (*function)(A...))
{
    const auto call = [function](const Word *words) {
        const auto apply = [=]<std::size_t... I>(std::index_sequence<I...>) {
            return function(FromWord<A>(words[I])...);
        };
        if constexpr (Argument::Of<R>().kind == Argument::Object)
            return reinterpret_cast<Word>(apply(std::index_sequence_for<A...>()));
        else
            return static_cast<void>(apply(std::index_sequence_for<A...>())), Word{0};
    };
    return {"", "", "", {Argument::Of<A>()...}, call};
}

/// Adds operations of one file that refuse the same; their names are a list.
template <class... F>
void Add(std::vector<Operation> &all, const char *file, const char *refusals, std::string names, F *...functions)
{
    for (Operation operation : {MakeOperation(functions)...}) {
        operation.file = file, operation.refusals = refusals, operation.name = names.substr(0, names.find(','));
        names.erase(0, operation.name.size() + 2);
        all.push_back(std::move(operation));
    }
}

// clang-format off
#define OPERATIONS(refusals, ...) Add(all, file, refusals, #__VA_ARGS__, __VA_ARGS__)
#define OPERATION(operation, refusals) OPERATIONS(refusals, operation)

/// All but the standard functions of the sorts, those that take over a block, what the runtime alone calls, and
/// pcmFilterCoefficientsCreateFrom, which checks nothing.
inline std::vector<Operation> AllOperations()
{
    std::vector<Operation> all;
    const char *file = "source/pcm/pcm_packet";
    OPERATIONS("", pcmPacketCreateFrom, pcmPacketChannels, pcmPacketFrames, pcmPacketBacking, pcmPacketMutableBacking,
        pcmPacketClear, pcmPacketWriteLeading, pcmPacketInsertLeading, pcmPacketInsertTrailing, pcmPacketPrepend,
        pcmPacketPrependInner, pcmPacketPrependOuter, pcmPacketPrependTrailing, pcmPacketPrependZero,
        pcmPacketAppendInner, pcmPacketAppendOuter, pcmPacketAppendLeading, pcmPacketDelLeading);
    OPERATION(pcmPacketCreate, "0: channels > 0"); OPERATION(pcmPacketAppendTrailing, "n 0 -1: *pkt");
    OPERATION(pcmPacketCreateFromSamplesCopy, "0 -1 -1: channels > 0; 0 M 1: frames == 0 || source; "
        "0 ^61 0: PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ); "
        "a M/4 2: PB_INT_MUL_OK( pkt->frames, pkt->channels * PB_SIZEOF( PCM_SAMPLE ) )");
    OPERATION(pcmPacketWrite, "0 0 0: source; p 0 s: idx + frames <= (*pkt)->frames");
    OPERATION(pcmPacketWriteInner, "n -1 0 -1 -1: *pkt; p -1 0 -1 -1: idx >= 0; p 4 0 -1 -1: source; "
        "p 4 s -1 -1: offset >= 0; p 4 s 9 -1: frames >= 0; p M s M 1: PB_INT_ADD_OK( offset, frames ); "
        "p M s 4 2: offset + frames <= source->frames; p M s 6 0: offset + frames <= source->frames; "
        "p M s 4 1: PB_INT_ADD_OK( idx, frames ); p 3 d 0 1: idx + frames <= (*pkt)->frames; "
        "p 4 d 3 0: idx + frames <= (*pkt)->frames; p 3 d 3 0: (*pkt)->channels == source->channels");
    OPERATION(pcmPacketWriteOuter, "p -1 0 -1 -1: idx >= 0; p M s 5 1: offset + frames <= source->frames; "
        "p M s 0 4: PB_INT_ADD_OK( idx, source->frames - frames ); "
        "p 2 d 0 1: idx + (source->frames - frames) <= (*pkt)->frames; "
        "p 3 d 0 3: (*pkt)->channels == source->channels");
    OPERATION(pcmPacketWriteTrailing, "0 0 s m: PB_INT_SUB_OK( source->frames, frames ); p 0 s 6: offset >= 0");
    OPERATION(pcmPacketWriteZero, "n -1 -1: *pkt; p -1 -1: idx >= 0; p 4 -1: frames >= 0; "
        "p 1 M: PB_INT_ADD_OK( idx, frames ); p 4 0: idx + frames <= (*pkt)->frames; "
        "p 2 2: idx + frames <= (*pkt)->frames");
    OPERATION(pcmPacketInsert, "0 0 0: source"); OPERATION(pcmPacketDelOuter, "p 4 0: idx + frames <= (*pkt)->frames");
    OPERATION(pcmPacketInsertInner, "n -1 0 -1 -1: *pkt; p -1 0 -1 -1: idx >= 0; p 4 0 -1 -1: frames >= 0; "
        "p 1 0 -1 M: PB_INT_ADD_OK( idx, frames ); p 0 0 -1 M: PB_INT_ADD_OK( (*pkt)->frames, frames ); "
        "p 4 0 -1 1: idx + frames <= (*pkt)->frames; p 3 0 -1 1: source; p 3 s -1 1: offset >= 0; "
        "p 0 s 0 M/2: offset + frames <= source->frames; p 4 d 3 0: idx + frames <= (*pkt)->frames; "
        "p 3 d 0 1: (*pkt)->channels == source->channels");
    OPERATION(pcmPacketInsertOuter, "n -1 0 -1 -1: source; n -1 s -1 m: PB_INT_SUB_OK( source->frames, frames ); "
        "n -1 s -1 6: *pkt; p 4 s -1 6: frames >= 0; p 3 s -1 -1: offset >= 0; "
        "p 3 d 0 3: (*pkt)->channels == source->channels");
    OPERATION(pcmPacketInsertZero, "p 4 M/2: idx + frames <= (*pkt)->frames; "
        "p 3 M/2: PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    OPERATION(pcmPacketPrependLeading, "p s 6: offset + frames <= source->frames");
    OPERATION(pcmPacketAppend, "n 0: *pkt");
    OPERATION(pcmPacketAppendZero, "w 1: PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )");
    OPERATION(pcmPacketDelInner, "p -1 -1: idx >= 0; p 1 3: idx + frames <= (*pkt)->frames");
    OPERATION(pcmPacketDelTrailing, "n -1: *pkt; p m: PB_INT_SUB_OK( (*pkt)->frames, frames ); p 4: idx >= 0");
    OPERATION(pcmPacketSetFrames, "v 2: PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) ); n -1: *pkt; "
        "p -1: frames >= 0");
    OPERATION(pcmPacketSetChannels, "n 0: *pkt; p 0: channels > 0; "
        "e ^61: PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ); "
        "p ^60: PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    OPERATION(pcmPacketCreateFromWithChannels, "s 0: channels > 0; "
        "s ^61: PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ); "
        "s ^60: PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    OPERATION(pcmPacketCreateFromWithChannelMask, "d 0: channelMask; "
        "d 5: HighestChannel(channelMask) < source->channels; d m: HighestChannel(channelMask) < source->channels");
    OPERATION(pcmPacketWriteChannels, "0 -1 -1 0 -1 -1 -1 -1: pkt; n -1 -1 0 -1 M -1 1: source; "
        "n -1 -1 s -1 M -1 1: PB_INT_ADD_OK( sourceFrameOffset, frames ); "
        "n -1 -1 s -1 5 -1 1: sourceFrameOffset + frames <= source->frames; n -1 -1 s -1 0 -1 1: *pkt; "
        "p 0 0 d 2 0 1 1: sourceChannelOffset + channels <= sourceChannelCount");
    OPERATION(pcmPacketWriteChannelsSamples, "n -1 -1 0 -1 -1 -1 -1 -1: *pkt; "
        "d -1 -1 0 -1 -1 -1 -1 -1: destChannelOffset >= 0; "
        "d M -1 0 -1 -1 -1 1 -1: PB_INT_ADD_OK( destChannelOffset, channels ); "
        "d 1 -1 0 -1 -1 -1 M -1: PB_INT_ADD_OK( destChannelOffset, channels ); "
        "d 1 -1 0 -1 -1 -1 2 -1: destChannelOffset + channels <= (*pkt)->channels; "
        "d 1 -1 0 -1 -1 -1 1 -1: destFrameOffset >= 0; d 1 1 0 -1 -1 -1 1 M: PB_INT_ADD_OK( destFrameOffset, frames ); "
        "d 1 M 0 -1 -1 -1 1 1: PB_INT_ADD_OK( destFrameOffset, frames ); "
        "d 1 1 0 -1 -1 -1 1 3: destFrameOffset + frames <= (*pkt)->frames; d 1 1 0 -1 -1 -1 1 1: source || !frames; "
        "d 1 1 a -1 -1 -1 1 1: sourceChannelOffset >= 0; "
        "d 1 1 a M -1 -1 1 1: PB_INT_ADD_OK( sourceChannelOffset, channels ); "
        "d 1 1 a 0 0 -1 1 1: sourceChannelOffset + channels <= sourceChannelCount; "
        "d 1 1 a 0 1 -1 1 1: sourceFrameOffset >= 0; d 1 1 a 0 1 M 1 1: PB_INT_ADD_OK( sourceFrameOffset, frames ); "
        "d 1 1 a 0 1 0 -1 -1: channels >= 0; d 1 1 a 0 1 0 1 -1: frames >= 0; "
        "d 1 1 a 0 M 1 1 2: PB_INT_MUL_OK( lastFrame, sourceChannelCount ); "
        "d 1 1 a 0 M 0 1 2: PB_INT_ADD_OK( lastFrame * sourceChannelCount, end ); "
        "d 1 1 a M/4 M 0 1 1: PB_INT_MUL_OK( lastFrame * sourceChannelCount + end, PB_SIZEOF( PCM_SAMPLE ) )");
    OPERATION(pcmPacketTryDecode, "0 0 0: source; b 0 0: channels > 0; "
        "b 0 M: source/pcm/pcm_encoding PB_INT_MUL_OK( channels, s )");
    OPERATION(pcmPacketEncode, "w 0: source/pcm/pcm_encoding PB_INT_MUL_OK( channels, s )");
    file = "source/pcm/pcm_packet_queue";
    OPERATIONS("", pcmPacketQueueCreateFrom, pcmPacketQueueChannels, pcmPacketQueuePackets, pcmPacketQueueFrames,
        pcmPacketQueueClear);
    OPERATION(pcmPacketQueueCreate, "0: channels > 0");
    OPERATION(pcmPacketQueueWrite, "n 0: *queue; Q 0: pkt; Q s: pcmPacketChannels( pkt ) == (*queue)->channels");
    OPERATION(pcmPacketQueueRead, "r: pcmPacketQueuePackets( *queue ) > 0");
    OPERATION(pcmPacketQueueGather, "Q 0: frames > 0; Q 25: frames <= (*queue)->frames");
    OPERATION(pcmPacketQueueGatherSamples, "Q 0 -1: frames >= 0; Q 0 25: frames == 0 || dest; "
        "Q a 25: (*queue)->frames >= frames");
    OPERATION(pcmPacketQueueGatherSamplesAdd, "Q 0 0: frames > 0; Q 0 25: frames == 0 || dest; "
        "Q a 25: (*queue)->frames >= frames");
    file = "source/pcm/pcm_filter_coefficients";
    OPERATIONS("", pcmFilterCoefficientsBacking, pcmFilterCoefficientsLength);
    OPERATION(pcmFilterCoefficientsCreate, "-1: PCM_FILTER_TYPE_OK( type ); 7: PCM_FILTER_TYPE_OK( type )");
    OPERATION(pcmFilterCoefficientsCreateFromSamplesCopy, "0 0: coefficients; a 0: length > 0");
    file = "source/pcm/pcm_filter";
    OPERATIONS("", pcmFilterCreateFrom, pcmFilterCoefficients, pcmFilterChannels, pcmFilterPackets, pcmFilterFrames,
        pcmFilterReset, pcmFilterRead);
    OPERATION(pcmFilterCreate, "c 0: channels > 0; "
        "c ^59: PB_INT_MUL_OK( filter->coefficientsLength, filter->channels )");
    OPERATION(pcmFilterWrite, "n 0: *filter; F 0: pkt; F d: pcmPacketChannels( pkt ) == (*filter)->channels");
    OPERATION(pcmFilterGather, "F 25: source/pcm/pcm_packet_queue frames <= (*queue)->frames");
    OPERATION(pcmFilterGatherSamples, "F 0 1: source/pcm/pcm_packet_queue frames == 0 || dest");
    OPERATION(pcmFilterGatherSamplesAdd, "F 0 0: source/pcm/pcm_packet_queue frames > 0");
    file = "source/pcm/pcm_filter_type"; OPERATIONS("", pcmFilterTypeFromString);
    OPERATION(pcmFilterTypeToString, "-1: PCM_FILTER_TYPE_OK( type ); 7: PCM_FILTER_TYPE_OK( type )");
    file = "source/pcm/pcm_encoding";
    OPERATIONS("", pcmEncodingNormalize, pcmEncodingFromString, pcmEncodingToString, pcmEncodingSizeofSample);
    OPERATION(pcmEncodingSizeofFrame, "0 0: channels > 0; 0 M/3: PB_INT_MUL_OK( channels, s )");
    file = "source/pcm/pcm_convert"; OPERATIONS("", pcmTryConvert);
    OPERATION(pcm___Convert, "0 8 0 8 -1: samples >= 0; 0 8 0 8 M: dest || samples == 0; "
        "a 8 0 8 M: source || samples == 0; a 8 a 8 M: PB_INT_MUL_OK( destSize, samples ); "
        "a 4 a 8 M: PB_INT_MUL_OK( sourceSize, samples )");
    file = "source/pcm/pcm_decibel";
    OPERATION(pcmDecibelFromGain, "nan: !pbRealIsNan( gain ); -inf: pbRealIsFinite( gain ); -1e-300: gain >= 0");
    OPERATION(pcmDecibelToGain, "nan: !pbRealIsNan( decibel ); -inf: pbRealIsFinite( decibel )");
    file = "source/pcm/pcm_level"; OPERATION(pcmLevelAdjust, "n nan: *pkt");
    OPERATION(pcmLevelAdjustSamples, "0 1 1.0: source/pcm/pcm_samples_stdc dest || !samples");
    file = "source/pcm/pcm_channels";
    OPERATIONS("n 0: *pkt; p 0: channels > 0; "
        "p ^61: source/pcm/pcm_packet PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ); "
        "p M/4: source/pcm/pcm_packet PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )",
        pcmChannelsAdjustReplaceWithDownmix, pcmChannelsAdjustExpandWithDownmix);
    file = "source/pcm/pcm_frames";
    OPERATION(pcmFramesExtend, "n 0: *pkt; p 1: mult > 1; p M: PB_INT_MUL_OK( sourceFrames, mult ); "
        "d M/3: PB_INT_MUL_OK( destFrames, sourceChannels ); "
        "d M/8: PB_INT_MUL_OK( destFrames, sourceChannels * PB_SIZEOF( PCM_SAMPLE ) )");
    OPERATION(pcmFramesReduce, "n 0: *pkt; p 1: div > 1; p 2: sourceFrames % div == 0");
    file = "source/pcm/pcm_tone"; OPERATION(pcmToneCreate, "0: period > 0");
    OPERATION(pcmToneTryCreateWithFrequency, "0 0: frameRate > 0; 8000 0: hertz > 0");
    OPERATION(pcmToneGather, "0 -1: tone; t -1: samples >= 0; t M: source/pb/pb_mem PB_INT_MUL_OK( count, size )");
    OPERATIONS("0 0 -1: tone; t 0 -1: samples >= 0; t 0 1: samples == 0 || dest",
        pcmToneGatherSamples, pcmToneGatherSamplesAdd);
    file = "source/pcm/pcm_dual_tone";
    OPERATION(pcmDualToneGather, "0 0 -1: toneA; t 0 -1: toneB; t t -1: samples >= 0; "
        "t t M: source/pb/pb_mem PB_INT_MUL_OK( count, size )");
    OPERATIONS("0 0 0 -1: toneA; t 0 0 -1: toneB; t t 0 -1: samples >= 0; t t 0 1: samples == 0 || dest",
        pcmDualToneGatherSamples, pcmDualToneGatherSamplesAdd);
    file = "source/pcm/pcm_modulated_tone";
    OPERATION(pcmModulatedToneGather, "0 0 -1: toneA; t 0 -1: toneB; t t -1: samples >= 0; "
        "t t M: source/pb/pb_mem PB_INT_MUL_OK( count, size )");
    OPERATIONS("0 0 0 -1: toneA; t 0 0 -1: toneB; t t 0 -1: samples >= 0; t t 0 1: samples == 0 || dest",
        pcmModulatedToneGatherSamples, pcmModulatedToneGatherSamplesAdd);
    file = "source/pcm/pcm_noise";
    OPERATION(pcmNoiseGather, "-1: samples >= 0; M/2: source/pb/pb_mem PB_INT_MUL_OK( count, size )");
    OPERATIONS("0 -1: samples >= 0; 0 1: samples == 0 || dest", pcmNoiseGatherSamples, pcmNoiseGatherSamplesAdd);
    file = "source/pcm/pcm_silence"; OPERATIONS("", pcmSilenceGatherSamples);
    OPERATION(pcmSilenceGather, "-1: source/pcm/pcm_packet frames >= 0; "
        "M: source/pcm/pcm_packet PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    file = "source/pcm/pcm_samples_stdc";
    OPERATIONS("", pcm___SamplesCopy, pcm___SamplesMove, pcm___SamplesZero, pcm___SamplesChannelZero,
        pcm___SamplesChannelAdd, pcm___SamplesChannelMul);
    OPERATION(pcm___SamplesAdd, "0 0 -1: samples >= 0"); OPERATION(pcm___SamplesScale, "0 1 1.0: dest || !samples");
    OPERATION(pcm___SamplesMul, "0 0 1: dest || !samples; a 0 1: source || !samples");
    OPERATION(pcm___SamplesChannelCopy, "0 0 1 0 0 1 -1: frames >= 0; 0 -1 1 0 0 1 1: dest || !frames; "
        "a -1 1 0 0 1 1: source || !frames; a -1 -1 a 0 1 0: destChannel >= 0; a 0 -1 a 0 1 0: destChannels >= 0; "
        "a 1 1 a -1 1 0: destChannel < destChannels; a 0 0 a 0 1 0: destChannel < destChannels; "
        "a 0 1 a -1 1 0: sourceChannel >= 0; a 0 1 a 0 -1 0: sourceChannels >= 0; "
        "a 0 1 a 0 0 0: sourceChannel < sourceChannels");
    OPERATION(pcm___SamplesChannelScale, "0 2 2 0 1.0: destChannel < destChannels");
    file = "source/pb/pb_[a-z]+";
    OPERATIONS("", pbBufferBacking, pbBufferLength, pbEnumParse, pbFlagsetParse, pbFlagsetGenerate, pbStringCstr,
        pbStringLength, pbVectorLength, pbVectorClear, pbObjSort, pbObjToString,
        pb___ObjDbgAllocationSize, pbMemSetN);
    OPERATION(pbEnumSetEnumerantCstr, "n 0 -1 0: *enm"); OPERATION(pbFlagsetSetFlagCstr, "n 0 -1 0: *flags");
    OPERATION(pbFlagsetHasFlagCstr, "0 0 -1: flags"); OPERATION(pbVectorAppendObj, "n 0: *vec");
    OPERATION(pbStringCreateFromCstr, "0 -2: text || length == 0; a -2: length >= -1; "
        "a M: PB_INT_ADD_OK( length, 1 )");
    OPERATION(pbVectorUnshift, "u: (*vec)->length > 0"); OPERATIONS("0 0 1 1: dest", pbMemCopyN, pbMemMoveN);
    return all;
}

/// Others, which are called only to be refused.
inline std::vector<Operation> OtherOperations()
{
    std::vector<Operation> all;
    const char *file = "source/pcm/pcm_packet";
    OPERATION(pcmPacketCreateFromSamplesUse, "0 0 -1: channels > 0; 0 1 -1: frames >= 0; 0 1 1: frames == 0 || source; "
        "a M 2: source/pb/pb_obj PB_INT_MUL_OK( count, size )");
    OPERATION(pcm___PacketFreeFunc, "0: pkt"); OPERATION(pcmPacketRetain, "0: stdfunc retain: obj");
    OPERATION(pcmPacketRelease, "0: stdfunc release: obj"); OPERATION(pcmPacketToString, "0: stdfunc tostring: obj");
    OPERATION(pcmPacketFrom, "x: stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_PACKET");
    OPERATION(pcmPacketCompare, "0 0: stdfunc compare a: objA; p 0: stdfunc compare b: objB");
    file = "source/pcm/pcm_packet_queue"; OPERATION(pcm___PacketQueueFreeFunc, "0: queue");
    OPERATION(pcmPacketQueueFrom, "x: stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_PACKET_QUEUE");
    file = "source/pcm/pcm_filter"; OPERATION(pcm___FilterFreeFunc, "0: filter");
    OPERATION(pcmFilterFrom, "x: stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_FILTER");
    file = "source/pcm/pcm_filter_coefficients";
    OPERATION(pcmFilterCoefficientsCreateFromSamplesUse, "0 0: coefficients; a 0: length > 0");
    OPERATION(pcm___FilterCoefficientsFreeFunc, "0: coeff");
    OPERATION(pcmFilterCoefficientsFrom,
        "x: stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_FILTER_COEFFICIENTS");
    file = "source/pcm/pcm_tone";
    OPERATION(pcmToneFrom, "x: stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_TONE");
    file = "source/pb/pb_[a-z]+";
    OPERATION(pbBufferCreateFromBytesUse, "0 -1: length >= 0"); OPERATION(pbEnumGenerate, "y 7: known != enm->end()");
    OPERATION(pbMemAllocN, "-1 -1: count >= 0; 1 -1: size >= 0; M/2 4: PB_INT_MUL_OK( count, size )");
    OPERATION(pbMemAlloc, "-1: count >= 0; M: memory"); OPERATIONS("0: obj", pb___ObjFree, pbObjRetain, pbObjRelease);
    OPERATION(pb___ObjCreate, "8 0: size >= PB_SIZEOF(PB_OBJ); 80 0: sort; M a: memory");
    OPERATION(pb___ObjDbgSetAllocationSize, "0 -1: obj; x -1: bytes >= 0");
    OPERATION(pb___ObjDbgSetAllocationSizeN, "0 M 2: PB_INT_MUL_OK( count, size )");
    OPERATION(pbRandomNonNegativeIntRange, "-1 -1: low >= 0; 3 3: low < high");
    return all;
}
