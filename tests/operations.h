// The table of all operations, at the end of this file: their names and files, and the calls that they refuse. Loops
// call each operation with arguments of their own choice, which travel as words of 64 bits: a number, a real number, or
// a pointer. `pcm_tests --operations` prints the table for other programs.
#pragma once

#include "support.h"

#include <algorithm>
#include <cstdio>
#include <limits>
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
// clang-format off
constexpr const char *kObjectNames[] = {
    "(pkt|source)", "(queue|source)", "(filter|source)", "(coeff|coefficients|source)", "tone[AB]?", "(buf|source)",
    "pbs", "vec", "enm", "flags", "obj"};
// clang-format on

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
    std::string name;
    const char *file;
    std::vector<Argument> arguments;
    std::function<Word(const Word *)> call; ///< returns the object that the operation returns, or 0
};

inline void Call(const Operation &operation, const std::vector<Word> &words)
{
    const auto result = Held<PB_OBJ>::Adopt(std::bit_cast<PB_OBJ *>(operation.call(words.data())));
}

/// An object to call operations with. It is shared, so that a change copies it.
struct AnySubject {
    Held<PB_OBJ> handle, other = handle;

    Word As(Argument::Kind kind)
    {
        return kind == Argument::Handle ? std::bit_cast<Word>(handle.Address()) : std::bit_cast<Word>(handle.Get());
    }
};

/// One of a known sort: it passes as the object, and as the address of a handle.
template <class T> struct Subject : AnySubject {
    explicit Subject(T *object) : AnySubject{Held<PB_OBJ>::Share(pcm::Obj(object))} {}
    operator T *() const { return reinterpret_cast<T *>(handle.Get()); }
    operator T **() { return reinterpret_cast<T **>(handle.Address()); }
    operator PB_OBJ *() const { return handle.Get(); }
};

/// What the rows of the table name beside numbers: objects, an array, and an empty handle. A null pointer is an
/// object, a handle or an array that is missing.
struct Subjects {
    PCM_SAMPLE array[400] = {}, otherArray[400] = {};
    Subject<PCM_PACKET> mono3{MakePacket(1, {1, 2, 3}).Get()}, mono5{MakePacket(1, Samples(5)).Get()};
    Subject<PCM_PACKET> stereo3{MakePacket(2, Samples(6)).Get()}, stereo0{pcm::Packet(2).Get()};
    Subject<PCM_PACKET> block{MakePacket(16, Samples(16 * 12, 0.5f)).Get()};
    Subject<PCM_PACKET> wide{pcm::Packet(pbInt{1} << 60).Get()}, widest{pcm::Packet(pbInt{1} << 62).Get()}; // no frames
    Subject<PCM_PACKET_QUEUE> queue0{pcm::PacketQueue(2).Get()}, queue24{pcm::PacketQueue(16).Get()};
    Subject<PCM_FILTER_COEFFICIENTS> taps{pcm::FilterCoefficients(Samples(16, 0.5f)).Get()};
    Subject<PCM_FILTER> filter24{pcm::Filter(pcm::FilterCoefficients::Share(taps), 16).Get()};
    Subject<PCM_TONE> tone{pcm::Tone(40).Get()};
    Subject<PB_BUFFER> bytes{pcm::Buffer(std::as_bytes(std::span(array)).first(15)).Get()};
    Subject<PB_STRING> text{pcm::String("PCM_ENCODING_INT_16").Get()};
    Subject<PB_VECTOR> vector1{Held<PB_VECTOR>::Adopt(pbVectorCreate()).Get()};
    Subject<PB_ENUM> types{pcm___FilterTypeEnum};
    Subject<PB_FLAGSET> flags{pcm___EncodingFlagset};
    struct Empty {
        PB_OBJ *object = nullptr;
        template <class T> operator T **() { return reinterpret_cast<T **>(&object); }
    } empty;

    Subject<PCM_PACKET> *const packets[7] = {&block, &mono3, &mono5, &stereo3, &stereo0, &widest, &wide};
    /// One of each sort, in their order, that every operation accepts beside the numbers 2, 3, 4 and so on.
    AnySubject *const accepted[11] = {&block, &queue24, &filter24, &taps,  &tone, &bytes,
                                      &text,  &vector1, &types,    &flags, &text};

    Subjects()
    {
        for (int packets = 0; packets < 2; ++packets) { // of 12 frames
            pcmPacketQueueWrite(queue24, block);
            pcmFilterWrite(filter24, block);
        }
        pbVectorAppendObj(vector1, block);
        for (AnySubject *const subject : accepted)
            subject->other = subject->handle;
    }

    std::vector<Word> Accepted(const Operation &operation)
    {
        std::vector<Word> words;
        int number = 2;
        for (const Argument &argument : operation.arguments)
            switch (argument.kind) {
            case Argument::Int: words.push_back(number++); break;
            case Argument::Real: words.push_back(std::bit_cast<Word>(pbReal(number++))); break;
            case Argument::Array:
                words.push_back(std::bit_cast<Word>(words.size() % 2 ? &otherArray[0] : array));
                break;
            default: words.push_back(accepted[argument.sort]->As(argument.kind));
            }
        if (operation.name == "pcmPacketWrite") // a whole packet onto one as long
            words[1] = 0;
        if (operation.name == "pcmPacketWriteChannelsSamples") // channels 4 to 10 of 12
            words[5] = 12;
        return words;
    }
};

/// A call that ends the process. The calls of an operation come in the order of its checks; each breaks a condition
/// and, where it can, all that are checked after it.
struct Refusal {
    std::string operation, arguments; ///< as the table has them
    std::function<void()> call;
    const char *text, *file; ///< of the check
};

class Table : public Subjects {
public:
    Table();

    std::vector<Operation> operations; ///< those that loops call
    std::vector<Refusal> refusals;

private:
    template <class R, class... A> void Add(const char *name, R (*function)(A...))
    {
        const auto call = [function](const Word *words) -> Word {
            const auto apply = [=]<std::size_t... I>(std::index_sequence<I...>)
            {
                return function(std::bit_cast<A>(words[I])...);
            };
            if constexpr (Argument::Of<R>().kind == Argument::Object)
                return std::bit_cast<Word>(apply(std::index_sequence_for<A...>()));
            apply(std::index_sequence_for<A...>());
            return 0;
        };
        if (std::ranges::find(operations, name, &Operation::name) == operations.end())
            operations.push_back({name, file, {Argument::Of<A>()...}, call});
    }

    /// Adds operations whose names are a list.
    template <class... F> void AddAll(std::string names, F *...functions)
    {
        const auto add = [&](auto function) {
            const std::string name = names.substr(0, names.find(','));
            names.erase(0, name.size() + 2);
            Add(name.c_str(), function);
        };
        (add(functions), ...);
    }

    void Refuse(const char *name, const char *arguments, std::function<void()> call, const char *text,
                const char *checkFile = nullptr)
    {
        refusals.push_back({name, arguments, call, text, checkFile ? checkFile : file});
    }

    const char *file = nullptr; ///< of the operations added next
};

// Operations without refusals of their own: they refuse missing objects or arrays, which loops find, or what rows of
// another operation show.
// clang-format off
#define ACCEPTS(...) AddAll(#__VA_ARGS__, __VA_ARGS__)
// A refused call of an operation that no loop calls, such as one that takes over a block or a reference.
#define ONLY_REFUSES(operation, arguments, ...)                                                                        \
    Refuse(#operation, #arguments, [&] { operation arguments; }, __VA_ARGS__)
// A refused call: its arguments, the text of the check, and its file where that is not the operation's.
#define REFUSES(operation, ...) Add(#operation, operation), ONLY_REFUSES(operation, __VA_ARGS__)
#define BOTH_REFUSE(one, other, ...) REFUSES(one, __VA_ARGS__), REFUSES(other, __VA_ARGS__)
#define GATHERS_REFUSE(source, ...) BOTH_REFUSE(source##GatherSamples, source##GatherSamplesAdd, __VA_ARGS__)

constexpr char kPacket[] = "source/pcm/pcm_packet", kQueue[] = "source/pcm/pcm_packet_queue",
               kEncoding[] = "source/pcm/pcm_encoding", kSamples[] = "source/pcm/pcm_samples_stdc",
               kMemory[] = "source/pb/pb_mem", kObjects[] = "source/pb/pb_obj";

constexpr pbInt kMost = INT64_MAX, kLeast = INT64_MIN;
constexpr pbReal kNan = std::numeric_limits<pbReal>::quiet_NaN(), kInfinity = std::numeric_limits<pbReal>::infinity();

constexpr pbInt TwoTo(int power)
{
    return pbInt{1} << power;
}

inline Table::Table()
{
    file = kPacket;
    ACCEPTS(pcmPacketCreateFrom, pcmPacketChannels, pcmPacketFrames, pcmPacketBacking, pcmPacketMutableBacking,
            pcmPacketClear, pcmPacketWriteLeading, pcmPacketInsertLeading, pcmPacketInsertTrailing, pcmPacketPrepend,
            pcmPacketPrependInner, pcmPacketPrependOuter, pcmPacketPrependTrailing, pcmPacketPrependZero,
            pcmPacketAppendInner, pcmPacketAppendOuter, pcmPacketAppendLeading, pcmPacketDelLeading);
    REFUSES(pcmPacketCreate, (0), "channels > 0");
    REFUSES(pcmPacketAppendTrailing, (empty, nullptr, -1), "*pkt");
    REFUSES(pcmPacketCreateFromSamplesCopy, (nullptr, -1, -1), "channels > 0");
    REFUSES(pcmPacketCreateFromSamplesCopy, (nullptr, kMost, 1), "frames == 0 || source");
    REFUSES(pcmPacketCreateFromSamplesCopy, (nullptr, TwoTo(61), 0),
            "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )");
    REFUSES(pcmPacketCreateFromSamplesCopy, (array, kMost / 4, 2),
            "PB_INT_MUL_OK( pkt->frames, pkt->channels * PB_SIZEOF( PCM_SAMPLE ) )");
    REFUSES(pcmPacketWrite, (nullptr, 0, nullptr), "source");
    REFUSES(pcmPacketWrite, (mono3, 0, mono5), "idx + frames <= (*pkt)->frames");
    BOTH_REFUSE(pcmPacketWriteInner, pcmPacketInsertInner, (empty, -1, nullptr, -1, -1), "*pkt");
    BOTH_REFUSE(pcmPacketWriteInner, pcmPacketInsertInner, (mono3, -1, nullptr, -1, -1), "idx >= 0");
    REFUSES(pcmPacketWriteInner, (mono3, 4, nullptr, -1, -1), "source");
    REFUSES(pcmPacketWriteInner, (mono3, 4, mono5, -1, -1), "offset >= 0");
    REFUSES(pcmPacketWriteInner, (mono3, 4, mono5, 9, -1), "frames >= 0");
    REFUSES(pcmPacketWriteInner, (mono3, kMost, mono5, kMost, 1), "PB_INT_ADD_OK( offset, frames )");
    REFUSES(pcmPacketWriteInner, (mono3, kMost, mono5, 4, 2), "offset + frames <= source->frames");
    REFUSES(pcmPacketWriteInner, (mono3, kMost, mono5, 6, 0), "offset + frames <= source->frames");
    REFUSES(pcmPacketWriteInner, (mono3, kMost, mono5, 4, 1), "PB_INT_ADD_OK( idx, frames )");
    REFUSES(pcmPacketWriteInner, (mono3, 3, stereo3, 0, 1), "idx + frames <= (*pkt)->frames");
    REFUSES(pcmPacketWriteInner, (mono3, 4, stereo3, 3, 0), "idx + frames <= (*pkt)->frames");
    REFUSES(pcmPacketWriteInner, (mono3, 3, stereo3, 3, 0), "(*pkt)->channels == source->channels");
    REFUSES(pcmPacketWriteOuter, (mono3, -1, nullptr, -1, -1), "idx >= 0");
    REFUSES(pcmPacketWriteOuter, (mono3, kMost, mono5, 5, 1), "offset + frames <= source->frames");
    REFUSES(pcmPacketWriteOuter, (mono3, kMost, mono5, 0, 4), "PB_INT_ADD_OK( idx, source->frames - frames )");
    REFUSES(pcmPacketWriteOuter, (mono3, 2, stereo3, 0, 1), "idx + (source->frames - frames) <= (*pkt)->frames");
    REFUSES(pcmPacketWriteOuter, (mono3, 3, stereo3, 0, 3), "(*pkt)->channels == source->channels");
    REFUSES(pcmPacketWriteTrailing, (nullptr, 0, mono5, kLeast), "PB_INT_SUB_OK( source->frames, frames )");
    REFUSES(pcmPacketWriteTrailing, (mono3, 0, mono5, 6), "offset >= 0");
    REFUSES(pcmPacketWriteZero, (empty, -1, -1), "*pkt");
    REFUSES(pcmPacketWriteZero, (mono3, -1, -1), "idx >= 0");
    REFUSES(pcmPacketWriteZero, (mono3, 4, -1), "frames >= 0");
    REFUSES(pcmPacketWriteZero, (mono3, 1, kMost), "PB_INT_ADD_OK( idx, frames )");
    REFUSES(pcmPacketWriteZero, (mono3, 4, 0), "idx + frames <= (*pkt)->frames");
    REFUSES(pcmPacketWriteZero, (mono3, 2, 2), "idx + frames <= (*pkt)->frames");
    REFUSES(pcmPacketInsert, (nullptr, 0, nullptr), "source");
    REFUSES(pcmPacketDelOuter, (mono3, 4, 0), "idx + frames <= (*pkt)->frames");
    REFUSES(pcmPacketInsertInner, (mono3, 4, nullptr, -1, -1), "frames >= 0");
    REFUSES(pcmPacketInsertInner, (mono3, 1, nullptr, -1, kMost), "PB_INT_ADD_OK( idx, frames )");
    REFUSES(pcmPacketInsertInner, (mono3, 0, nullptr, -1, kMost), "PB_INT_ADD_OK( (*pkt)->frames, frames )");
    REFUSES(pcmPacketInsertInner, (mono3, 4, nullptr, -1, 1), "idx + frames <= (*pkt)->frames");
    REFUSES(pcmPacketInsertInner, (mono3, 3, nullptr, -1, 1), "source");
    REFUSES(pcmPacketInsertInner, (mono3, 3, mono5, -1, 1), "offset >= 0");
    REFUSES(pcmPacketInsertInner, (mono3, 0, mono5, 0, kMost / 2), "offset + frames <= source->frames");
    REFUSES(pcmPacketInsertInner, (mono3, 4, stereo3, 3, 0), "idx + frames <= (*pkt)->frames");
    REFUSES(pcmPacketInsertInner, (mono3, 3, stereo3, 0, 1), "(*pkt)->channels == source->channels");
    REFUSES(pcmPacketInsertOuter, (empty, -1, nullptr, -1, -1), "source");
    REFUSES(pcmPacketInsertOuter, (empty, -1, mono5, -1, kLeast), "PB_INT_SUB_OK( source->frames, frames )");
    REFUSES(pcmPacketInsertOuter, (empty, -1, mono5, -1, 6), "*pkt");
    REFUSES(pcmPacketInsertOuter, (mono3, 4, mono5, -1, 6), "frames >= 0");
    REFUSES(pcmPacketInsertOuter, (mono3, 3, mono5, -1, -1), "offset >= 0");
    REFUSES(pcmPacketInsertOuter, (mono3, 4, stereo3, 0, 3), "idx + (source->frames - frames) <= (*pkt)->frames");
    REFUSES(pcmPacketInsertOuter, (mono3, 3, stereo3, 0, 3), "(*pkt)->channels == source->channels");
    REFUSES(pcmPacketInsertLeading, (nullptr, 0, nullptr, -1), "source");
    REFUSES(pcmPacketInsertZero, (mono3, 4, kMost / 2), "idx + frames <= (*pkt)->frames");
    REFUSES(pcmPacketInsertZero, (mono3, 3, kMost / 2), "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    REFUSES(pcmPacketPrependLeading, (mono3, mono5, 6), "offset + frames <= source->frames");
    REFUSES(pcmPacketAppend, (empty, nullptr), "*pkt");
    REFUSES(pcmPacketAppendZero, (widest, 1), "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )");
    REFUSES(pcmPacketDelInner, (mono3, -1, -1), "idx >= 0");
    REFUSES(pcmPacketDelInner, (mono3, 1, 3), "idx + frames <= (*pkt)->frames");
    REFUSES(pcmPacketDelTrailing, (empty, -1), "*pkt");
    REFUSES(pcmPacketDelTrailing, (mono3, kLeast), "PB_INT_SUB_OK( (*pkt)->frames, frames )");
    REFUSES(pcmPacketDelTrailing, (mono3, 4), "idx >= 0");
    REFUSES(pcmPacketSetFrames, (wide, 2), "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    REFUSES(pcmPacketSetFrames, (empty, -1), "*pkt");
    REFUSES(pcmPacketSetFrames, (mono3, -1), "frames >= 0");
    REFUSES(pcmPacketSetChannels, (empty, 0), "*pkt");
    BOTH_REFUSE(pcmPacketSetChannels, pcmPacketCreateFromWithChannels, (mono3, 0), "channels > 0");
    REFUSES(pcmPacketSetChannels, (stereo0, TwoTo(61)), "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )");
    BOTH_REFUSE(pcmPacketSetChannels, pcmPacketCreateFromWithChannels, (mono3, TwoTo(60)),
            "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    REFUSES(pcmPacketCreateFromWithChannels, (mono5, TwoTo(61)), "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )");
    REFUSES(pcmPacketCreateFromWithChannelMask, (stereo3, 0), "channelMask");
    REFUSES(pcmPacketCreateFromWithChannelMask, (stereo3, 5), "HighestChannel(channelMask) < source->channels");
    REFUSES(pcmPacketCreateFromWithChannelMask, (stereo3, kLeast), "HighestChannel(channelMask) < source->channels");
    REFUSES(pcmPacketWriteChannels, (nullptr, -1, -1, nullptr, -1, -1, -1, -1), "pkt");
    REFUSES(pcmPacketWriteChannels, (empty, -1, -1, nullptr, -1, kMost, -1, 1), "source");
    REFUSES(pcmPacketWriteChannels, (empty, -1, -1, mono5, -1, kMost, -1, 1),
            "PB_INT_ADD_OK( sourceFrameOffset, frames )");
    REFUSES(pcmPacketWriteChannels, (empty, -1, -1, mono5, -1, 5, -1, 1),
            "sourceFrameOffset + frames <= source->frames");
    REFUSES(pcmPacketWriteChannels, (empty, -1, -1, mono5, -1, 0, -1, 1), "*pkt");
    REFUSES(pcmPacketWriteChannels, (mono3, 0, 0, stereo3, 2, 0, 1, 1),
            "sourceChannelOffset + channels <= sourceChannelCount");
#define REFUSES_TO_WRITE(arguments, text) REFUSES(pcmPacketWriteChannelsSamples, arguments, text)
    REFUSES_TO_WRITE((empty, -1, -1, nullptr, -1, -1, -1, -1, -1), "*pkt");
    REFUSES_TO_WRITE((stereo3, -1, -1, nullptr, -1, -1, -1, -1, -1), "destChannelOffset >= 0");
    REFUSES_TO_WRITE((stereo3, kMost, -1, nullptr, -1, -1, -1, 1, -1), "PB_INT_ADD_OK( destChannelOffset, channels )");
    REFUSES_TO_WRITE((stereo3, 1, -1, nullptr, -1, -1, -1, kMost, -1), "PB_INT_ADD_OK( destChannelOffset, channels )");
    REFUSES_TO_WRITE((stereo3, 1, -1, nullptr, -1, -1, -1, 2, -1), "destChannelOffset + channels <= (*pkt)->channels");
    REFUSES_TO_WRITE((stereo3, 1, -1, nullptr, -1, -1, -1, 1, -1), "destFrameOffset >= 0");
    REFUSES_TO_WRITE((stereo3, 1, 1, nullptr, -1, -1, -1, 1, kMost), "PB_INT_ADD_OK( destFrameOffset, frames )");
    REFUSES_TO_WRITE((stereo3, 1, kMost, nullptr, -1, -1, -1, 1, 1), "PB_INT_ADD_OK( destFrameOffset, frames )");
    REFUSES_TO_WRITE((stereo3, 1, 1, nullptr, -1, -1, -1, 1, 3), "destFrameOffset + frames <= (*pkt)->frames");
    REFUSES_TO_WRITE((stereo3, 1, 1, nullptr, -1, -1, -1, 1, 1), "source || !frames");
    REFUSES_TO_WRITE((stereo3, 1, 1, array, -1, -1, -1, 1, 1), "sourceChannelOffset >= 0");
    REFUSES_TO_WRITE((stereo3, 1, 1, array, kMost, -1, -1, 1, 1), "PB_INT_ADD_OK( sourceChannelOffset, channels )");
    REFUSES_TO_WRITE((stereo3, 1, 1, array, 0, 0, -1, 1, 1), "sourceChannelOffset + channels <= sourceChannelCount");
    REFUSES_TO_WRITE((stereo3, 1, 1, array, 0, 1, -1, 1, 1), "sourceFrameOffset >= 0");
    REFUSES_TO_WRITE((stereo3, 1, 1, array, 0, 1, kMost, 1, 1), "PB_INT_ADD_OK( sourceFrameOffset, frames )");
    REFUSES_TO_WRITE((stereo3, 1, 1, array, 0, 1, 0, -1, -1), "channels >= 0");
    REFUSES_TO_WRITE((stereo3, 1, 1, array, 0, 1, 0, 1, -1), "frames >= 0");
    REFUSES_TO_WRITE((stereo3, 1, 1, array, 2, kMost, 3, 1, 1), "PB_INT_MUL_OK( lastFrame, sourceChannelCount )");
    REFUSES_TO_WRITE((stereo3, 1, 1, array, 0, kMost, 0, 1, 2), "PB_INT_ADD_OK( lastFrame * sourceChannelCount, end )");
    REFUSES_TO_WRITE((stereo3, 1, 1, array, kMost / 4, kMost, 0, 1, 1),
            "PB_INT_MUL_OK( lastFrame * sourceChannelCount + end, PB_SIZEOF( PCM_SAMPLE ) )");
    REFUSES(pcmPacketTryDecode, (nullptr, 0, 0), "source");
    REFUSES(pcmPacketTryDecode, (bytes, 0, 0), "channels > 0");
    REFUSES(pcmPacketTryDecode, (bytes, 0, kMost), "PB_INT_MUL_OK( channels, s )", kEncoding);
    REFUSES(pcmPacketEncode, (widest, 0), "PB_INT_MUL_OK( channels, s )", kEncoding);
    ONLY_REFUSES(pcmPacketCreateFromSamplesUse, (nullptr, 0, -1), "channels > 0");
    ONLY_REFUSES(pcmPacketCreateFromSamplesUse, (nullptr, 1, -1), "frames >= 0");
    ONLY_REFUSES(pcmPacketCreateFromSamplesUse, (nullptr, 1, 1), "frames == 0 || source");
    ONLY_REFUSES(pcmPacketCreateFromSamplesUse, (array, kMost, 2), "PB_INT_MUL_OK( count, size )", kObjects);
    ONLY_REFUSES(pcm___PacketFreeFunc, (nullptr), "pkt");
    ONLY_REFUSES(pcmPacketRetain, (nullptr), "stdfunc retain: obj");
    ONLY_REFUSES(pcmPacketRelease, (nullptr), "stdfunc release: obj");
    ONLY_REFUSES(pcmPacketToString, (nullptr), "stdfunc tostring: obj");
    ONLY_REFUSES(pcmPacketFrom, (text), "stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_PACKET");
    ONLY_REFUSES(pcmPacketCompare, (nullptr, nullptr), "stdfunc compare a: objA");
    ONLY_REFUSES(pcmPacketCompare, (mono3, nullptr), "stdfunc compare b: objB");
    file = kQueue;
    ACCEPTS(pcmPacketQueueCreateFrom, pcmPacketQueueChannels, pcmPacketQueuePackets, pcmPacketQueueFrames,
            pcmPacketQueueClear);
    REFUSES(pcmPacketQueueCreate, (0), "channels > 0");
    REFUSES(pcmPacketQueueWrite, (empty, nullptr), "*queue");
    REFUSES(pcmPacketQueueWrite, (queue24, nullptr), "pkt");
    REFUSES(pcmPacketQueueWrite, (queue24, mono5), "pcmPacketChannels( pkt ) == (*queue)->channels");
    REFUSES(pcmPacketQueueRead, (queue0), "pcmPacketQueuePackets( *queue ) > 0");
    REFUSES(pcmPacketQueueGather, (queue24, 0), "frames > 0");
    REFUSES(pcmPacketQueueGather, (queue24, 25), "frames <= (*queue)->frames");
    REFUSES(pcmPacketQueueGatherSamples, (queue24, nullptr, -1), "frames >= 0");
    REFUSES(pcmPacketQueueGatherSamplesAdd, (queue24, nullptr, 0), "frames > 0");
    GATHERS_REFUSE(pcmPacketQueue, (queue24, nullptr, 25), "frames == 0 || dest");
    GATHERS_REFUSE(pcmPacketQueue, (queue24, array, 25), "(*queue)->frames >= frames");
    ONLY_REFUSES(pcm___PacketQueueFreeFunc, (nullptr), "queue");
    ONLY_REFUSES(pcmPacketQueueFrom, (text), "stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_PACKET_QUEUE");
    file = "source/pcm/pcm_filter_coefficients";
    ACCEPTS(pcmFilterCoefficientsBacking, pcmFilterCoefficientsLength);
    REFUSES(pcmFilterCoefficientsCreate, (-1), "PCM_FILTER_TYPE_OK( type )");
    REFUSES(pcmFilterCoefficientsCreate, (7), "PCM_FILTER_TYPE_OK( type )");
    REFUSES(pcmFilterCoefficientsCreateFromSamplesCopy, (nullptr, 0), "coefficients");
    REFUSES(pcmFilterCoefficientsCreateFromSamplesCopy, (array, 0), "length > 0");
    ONLY_REFUSES(pcmFilterCoefficientsCreateFromSamplesUse, (nullptr, 0), "coefficients");
    ONLY_REFUSES(pcmFilterCoefficientsCreateFromSamplesUse, (array, 0), "length > 0");
    ONLY_REFUSES(pcm___FilterCoefficientsFreeFunc, (nullptr), "coeff");
    file = "source/pcm/pcm_filter";
    ACCEPTS(pcmFilterCreateFrom, pcmFilterCoefficients, pcmFilterChannels, pcmFilterPackets, pcmFilterFrames,
            pcmFilterReset, pcmFilterRead);
    REFUSES(pcmFilterCreate, (taps, 0), "channels > 0");
    REFUSES(pcmFilterCreate, (taps, TwoTo(59)), "PB_INT_MUL_OK( filter->coefficientsLength, filter->channels )");
    REFUSES(pcmFilterWrite, (empty, nullptr), "*filter");
    REFUSES(pcmFilterWrite, (filter24, nullptr), "pkt");
    REFUSES(pcmFilterWrite, (filter24, stereo3), "pcmPacketChannels( pkt ) == (*filter)->channels");
    REFUSES(pcmFilterGather, (filter24, 25), "frames <= (*queue)->frames", kQueue);
    REFUSES(pcmFilterGatherSamples, (filter24, nullptr, 1), "frames == 0 || dest", kQueue);
    REFUSES(pcmFilterGatherSamplesAdd, (filter24, nullptr, 0), "frames > 0", kQueue);
    ONLY_REFUSES(pcm___FilterFreeFunc, (nullptr), "filter");
    file = "source/pcm/pcm_filter_type";
    ACCEPTS(pcmFilterTypeFromString);
    REFUSES(pcmFilterTypeToString, (-1), "PCM_FILTER_TYPE_OK( type )");
    REFUSES(pcmFilterTypeToString, (7), "PCM_FILTER_TYPE_OK( type )");
    file = kEncoding;
    ACCEPTS(pcmEncodingNormalize, pcmEncodingFromString, pcmEncodingToString, pcmEncodingSizeofSample);
    REFUSES(pcmEncodingSizeofFrame, (0, 0), "channels > 0");
    REFUSES(pcmEncodingSizeofFrame, (0, kMost / 3), "PB_INT_MUL_OK( channels, s )");
    file = "source/pcm/pcm_convert";
    ACCEPTS(pcmTryConvert);
    REFUSES(pcm___Convert, (nullptr, 8, nullptr, 8, -1), "samples >= 0");
    REFUSES(pcm___Convert, (nullptr, 8, nullptr, 8, kMost), "dest || samples == 0");
    REFUSES(pcm___Convert, (array, 8, nullptr, 8, kMost), "source || samples == 0");
    REFUSES(pcm___Convert, (array, 8, array, 8, kMost), "PB_INT_MUL_OK( destSize, samples )");
    REFUSES(pcm___Convert, (array, 4, array, 8, kMost), "PB_INT_MUL_OK( sourceSize, samples )");
    file = "source/pcm/pcm_decibel";
    REFUSES(pcmDecibelFromGain, (kNan), "!pbRealIsNan( gain )");
    REFUSES(pcmDecibelFromGain, (-kInfinity), "pbRealIsFinite( gain )");
    REFUSES(pcmDecibelFromGain, (-1e-300), "gain >= 0");
    REFUSES(pcmDecibelToGain, (kNan), "!pbRealIsNan( decibel )");
    REFUSES(pcmDecibelToGain, (-kInfinity), "pbRealIsFinite( decibel )");
    file = "source/pcm/pcm_level";
    REFUSES(pcmLevelAdjust, (empty, kNan), "*pkt");
    REFUSES(pcmLevelAdjustSamples, (nullptr, 1, 1.0), "dest || !samples", kSamples);
    file = "source/pcm/pcm_channels";
    BOTH_REFUSE(pcmChannelsAdjustReplaceWithDownmix, pcmChannelsAdjustExpandWithDownmix, (empty, 0), "*pkt");
    BOTH_REFUSE(pcmChannelsAdjustReplaceWithDownmix, pcmChannelsAdjustExpandWithDownmix, (mono3, 0), "channels > 0");
    BOTH_REFUSE(pcmChannelsAdjustReplaceWithDownmix, pcmChannelsAdjustExpandWithDownmix, (mono3, TwoTo(61)),
            "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )", kPacket);
    BOTH_REFUSE(pcmChannelsAdjustReplaceWithDownmix, pcmChannelsAdjustExpandWithDownmix, (mono3, kMost / 4),
            "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )", kPacket);
    REFUSES(pcmChannelsAdjustExpandWithDownmix, (stereo0, TwoTo(61)),
            "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )", kPacket);
    file = "source/pcm/pcm_frames";
    BOTH_REFUSE(pcmFramesExtend, pcmFramesReduce, (empty, 0), "*pkt");
    REFUSES(pcmFramesExtend, (mono3, 1), "mult > 1");
    REFUSES(pcmFramesExtend, (mono3, kMost), "PB_INT_MUL_OK( sourceFrames, mult )");
    REFUSES(pcmFramesExtend, (stereo3, kMost / 3), "PB_INT_MUL_OK( destFrames, sourceChannels )");
    REFUSES(pcmFramesExtend, (stereo3, kMost / 8),
            "PB_INT_MUL_OK( destFrames, sourceChannels * PB_SIZEOF( PCM_SAMPLE ) )");
    REFUSES(pcmFramesReduce, (mono3, 1), "div > 1");
    REFUSES(pcmFramesReduce, (mono3, 2), "sourceFrames % div == 0");
    file = "source/pcm/pcm_tone";
    REFUSES(pcmToneCreate, (0), "period > 0");
    REFUSES(pcmToneTryCreateWithFrequency, (0, 0), "frameRate > 0");
    REFUSES(pcmToneTryCreateWithFrequency, (8000, 0), "hertz > 0");
    REFUSES(pcmToneGather, (nullptr, -1), "tone");
    REFUSES(pcmToneGather, (tone, -1), "samples >= 0");
    REFUSES(pcmToneGather, (tone, kMost), "PB_INT_MUL_OK( count, size )", kMemory);
    GATHERS_REFUSE(pcmTone, (nullptr, nullptr, -1), "tone");
    GATHERS_REFUSE(pcmTone, (tone, nullptr, -1), "samples >= 0");
    GATHERS_REFUSE(pcmTone, (tone, nullptr, 1), "samples == 0 || dest");
    file = "source/pcm/pcm_(dual|modulated)_tone";
    BOTH_REFUSE(pcmDualToneGather, pcmModulatedToneGather, (nullptr, nullptr, -1), "toneA");
    BOTH_REFUSE(pcmDualToneGather, pcmModulatedToneGather, (tone, nullptr, -1), "toneB");
    BOTH_REFUSE(pcmDualToneGather, pcmModulatedToneGather, (tone, tone, -1), "samples >= 0");
    BOTH_REFUSE(pcmDualToneGather, pcmModulatedToneGather, (tone, tone, kMost), "PB_INT_MUL_OK( count, size )", kMemory);
#define PAIRS_REFUSE(...) GATHERS_REFUSE(pcmDualTone, __VA_ARGS__), GATHERS_REFUSE(pcmModulatedTone, __VA_ARGS__)
    PAIRS_REFUSE((nullptr, nullptr, nullptr, -1), "toneA");
    PAIRS_REFUSE((tone, nullptr, nullptr, -1), "toneB");
    PAIRS_REFUSE((tone, tone, nullptr, -1), "samples >= 0");
    PAIRS_REFUSE((tone, tone, nullptr, 1), "samples == 0 || dest");
    file = "source/pcm/pcm_noise";
    REFUSES(pcmNoiseGather, (-1), "samples >= 0");
    REFUSES(pcmNoiseGather, (kMost / 2), "PB_INT_MUL_OK( count, size )", kMemory);
    GATHERS_REFUSE(pcmNoise, (nullptr, -1), "samples >= 0");
    GATHERS_REFUSE(pcmNoise, (nullptr, 1), "samples == 0 || dest");
    file = "source/pcm/pcm_silence";
    ACCEPTS(pcmSilenceGatherSamples);
    REFUSES(pcmSilenceGather, (-1), "frames >= 0", kPacket);
    REFUSES(pcmSilenceGather, (kMost), "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )", kPacket);
    file = kSamples;
    ACCEPTS(pcm___SamplesCopy, pcm___SamplesMove, pcm___SamplesZero, pcm___SamplesChannelZero, pcm___SamplesChannelAdd,
            pcm___SamplesChannelMul);
    REFUSES(pcm___SamplesAdd, (nullptr, nullptr, -1), "samples >= 0");
    REFUSES(pcm___SamplesScale, (nullptr, 1, 1.0), "dest || !samples");
    REFUSES(pcm___SamplesMul, (nullptr, nullptr, 1), "dest || !samples");
    REFUSES(pcm___SamplesMul, (array, nullptr, 1), "source || !samples");
    REFUSES(pcm___SamplesChannelCopy, (nullptr, 0, 1, nullptr, 0, 1, -1), "frames >= 0");
    REFUSES(pcm___SamplesChannelCopy, (nullptr, -1, 1, nullptr, 0, 1, 1), "dest || !frames");
    REFUSES(pcm___SamplesChannelCopy, (array, -1, 1, nullptr, 0, 1, 1), "source || !frames");
    REFUSES(pcm___SamplesChannelCopy, (array, -1, -1, array, 0, 1, 0), "destChannel >= 0");
    REFUSES(pcm___SamplesChannelCopy, (array, 0, -1, array, 0, 1, 0), "destChannels >= 0");
    REFUSES(pcm___SamplesChannelCopy, (array, 1, 1, array, -1, 1, 0), "destChannel < destChannels");
    REFUSES(pcm___SamplesChannelCopy, (array, 0, 0, array, 0, 1, 0), "destChannel < destChannels");
    REFUSES(pcm___SamplesChannelCopy, (array, 0, 1, array, -1, 1, 0), "sourceChannel >= 0");
    REFUSES(pcm___SamplesChannelCopy, (array, 0, 1, array, 0, -1, 0), "sourceChannels >= 0");
    REFUSES(pcm___SamplesChannelCopy, (array, 0, 1, array, 0, 0, 0), "sourceChannel < sourceChannels");
    REFUSES(pcm___SamplesChannelScale, (nullptr, 2, 2, 0, 1.0), "destChannel < destChannels");
    file = "source/pb/pb_[a-z]+";
    ACCEPTS(pbBufferBacking, pbBufferLength, pbEnumParse, pbEnumSetEnumerantCstr, pbFlagsetParse, pbFlagsetGenerate,
            pbFlagsetHasFlagCstr, pbFlagsetSetFlagCstr, pbStringCreateFromCstr, pbStringCstr, pbStringLength,
            pbVectorAppendObj, pbVectorClear, pbVectorLength, pbVectorUnshift, pbObjSort, pbObjToString,
            pb___ObjDbgAllocationSize, pbMemCopyN, pbMemMoveN, pbMemSetN);
}
// clang-format on
