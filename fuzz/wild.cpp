// Every operation with wild counts, indices, masks and decibels, and with objects missing. It succeeds, or it ends the
// process with the text of a check before it has changed a packet; anything else is a fault.
//
// The process does not really end: this program's own pb___Abort jumps back. What the call then leaves behind, and all
// else that an input has made, is found by a list of its blocks and freed when the input is done.
#include "fuzz.h"

#include <pb/pb.h>

#include <sanitizer/allocator_interface.h>

#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <tuple>

namespace {

constexpr pbInt kMostBytes = 1 << 20; // of a block: more stands for memory that cannot be had
constexpr pbInt kRoom = 4096;         // samples that a caller's array holds
constexpr pbInt kSlots = 4;           // objects of a sort; the last place stays empty

std::jmp_buf back;
bool calling = false, exhausted = false;
thread_local bool tested = false; // libFuzzer has a thread of its own, whose blocks are none of the input's

// Blocks of the input at hand.
const volatile void *blocks[1 << 14];
std::size_t blockCount = 0;

void Made(const volatile void *block, std::size_t)
{
    if (tested && calling && blockCount < std::size(blocks))
        blocks[blockCount++] = block;
}

void Freed(const volatile void *block)
{
    for (std::size_t i = tested ? blockCount : 0; i-- > 0;)
        if (blocks[i] == block) {
            blocks[i] = blocks[--blockCount];
            return;
        }
}

template <class T> struct Slots {
    static inline T *objects[kSlots + 1];
};

Random *input;
PCM_SAMPLE dest[kMostBytes / sizeof(PCM_SAMPLE)], source[kRoom];

// An argument of each type.
template <class T> struct Any;

template <> struct Any<pbInt> {
    static pbInt Value()
    {
        switch (input->From(0, 3)) {
        case 0: return static_cast<pbInt>(input->Bits());
        case 1: {
            const auto power = uint64_t{1} << input->From(0, 63), near = static_cast<uint64_t>(input->From(-2, 2));
            return static_cast<pbInt>((input->OneIn(2) ? power : INT64_MAX / power) + near);
        }
        default: return input->From(-2, 13);
        }
    }
};

template <> struct Any<pbReal> {
    static pbReal Value()
    {
        return input->OneIn(2) ? std::bit_cast<double>(input->Bits()) : static_cast<pbReal>(input->From(-250, 250));
    }
};

template <class T> struct Any<T *> {
    static T *Value() { return Slots<T>::objects[input->From(0, input->OneIn(8) ? kSlots : kSlots - 1)]; }
};

template <class T> struct Any<T **> {
    static T **Value()
    {
        const pbInt slot = input->From(0, input->OneIn(8) ? kSlots + 1 : kSlots - 1);
        return slot > kSlots ? nullptr : &Slots<T>::objects[slot];
    }
};

// What a queue or filter gives is at most a block's samples.
template <> struct Any<PCM_SAMPLE *> {
    static PCM_SAMPLE *Value() { return input->OneIn(8) ? nullptr : dest; }
};

template <class T> void Keep(T *object)
{
    Slots<T>::objects[input->From(0, kSlots - 1)] = object;
}
void Keep(const PCM_SAMPLE *)
{
}
void Keep(PCM_SAMPLE *)
{
}
void Keep(pbInt)
{
}
void Keep(pbReal)
{
}

template <class R, class... A> void CallWith(R (*operation)(A...))
{
    const std::tuple<A...> arguments{Any<A>::Value()...};
    if constexpr (std::is_void_v<R>)
        std::apply(operation, arguments);
    else
        Keep(std::apply(operation, arguments));
}

template <auto operation> void Call()
{
    CallWith(operation);
}

/// The array if it holds so many samples, or null: what is too much for it must be refused.
template <class T> T *IfRoom(T *array, pbInt a, pbInt b = 1)
{
    return input->OneIn(8) || !PB_INT_MUL_OK(a, b) || a * b > kRoom ? nullptr : array;
}

template <auto operation> void Fill()
{
    const pbInt samples = Any<pbInt>::Value();
    operation(IfRoom(dest, samples), samples);
}

template <auto operation> void FillFrom()
{
    const pbInt samples = Any<pbInt>::Value();
    operation(IfRoom(dest, samples), IfRoom(source, samples), samples);
}

template <auto operation> void FillWithTone()
{
    const pbInt samples = Any<pbInt>::Value();
    operation(Any<PCM_TONE *>::Value(), IfRoom(dest, samples), samples);
}

template <auto operation> void FillWithTones()
{
    const pbInt samples = Any<pbInt>::Value();
    operation(Any<PCM_TONE *>::Value(), Any<PCM_TONE *>::Value(), IfRoom(dest, samples), samples);
}

template <auto operation> void FillChannel()
{
    const pbInt to = Any<pbInt>::Value(), toChannels = Any<pbInt>::Value(), from = Any<pbInt>::Value(),
                fromChannels = Any<pbInt>::Value(), frames = Any<pbInt>::Value();
    operation(IfRoom(dest, frames, toChannels), to, toChannels, IfRoom(source, frames, fromChannels), from,
              fromChannels, frames);
}

/// A block of taps, or null.
PCM_SAMPLE *Taps(pbInt length)
{
    if (length < 1 || length > 64)
        return nullptr;
    auto *const taps = static_cast<PCM_SAMPLE *>(pbMemAllocN(length, sizeof(PCM_SAMPLE)));
    std::memcpy(taps, source, static_cast<std::size_t>(length) * sizeof(PCM_SAMPLE));
    return taps;
}

// clang-format off
void (*const kOperations[])() = {
    Call<pcmPacketCreate>, Call<pcmPacketCreateFrom>, Call<pcmPacketChannels>, Call<pcmPacketFrames>,
    Call<pcmPacketBacking>, Call<pcmPacketMutableBacking>, Call<pcmPacketClear>,
    Call<pcmPacketWrite>, Call<pcmPacketWriteInner>, Call<pcmPacketWriteOuter>, Call<pcmPacketWriteLeading>,
    Call<pcmPacketWriteTrailing>, Call<pcmPacketWriteZero>,
    Call<pcmPacketInsert>, Call<pcmPacketInsertInner>, Call<pcmPacketInsertOuter>, Call<pcmPacketInsertLeading>,
    Call<pcmPacketInsertTrailing>, Call<pcmPacketInsertZero>,
    Call<pcmPacketPrepend>, Call<pcmPacketPrependInner>, Call<pcmPacketPrependOuter>, Call<pcmPacketPrependLeading>,
    Call<pcmPacketPrependTrailing>, Call<pcmPacketPrependZero>,
    Call<pcmPacketAppend>, Call<pcmPacketAppendInner>, Call<pcmPacketAppendOuter>, Call<pcmPacketAppendLeading>,
    Call<pcmPacketAppendTrailing>, Call<pcmPacketAppendZero>,
    Call<pcmPacketDelInner>, Call<pcmPacketDelOuter>, Call<pcmPacketDelLeading>, Call<pcmPacketDelTrailing>,
    Call<pcmPacketSetFrames>, Call<pcmPacketSetChannels>, Call<pcmPacketCreateFromWithChannels>,
    Call<pcmPacketCreateFromWithChannelMask>, Call<pcmPacketWriteChannels>,
    Call<pcmPacketTryDecode>, Call<pcmPacketEncode>, Call<pcmTryConvert>,
    Call<pcmEncodingNormalize>, Call<pcmEncodingFromString>, Call<pcmEncodingToString>, Call<pcmEncodingSizeofSample>,
    Call<pcmEncodingSizeofFrame>, Call<pcmFilterTypeFromString>, Call<pcmFilterTypeToString>,
    Call<pcmDecibelFromGain>, Call<pcmDecibelToGain>, Call<pcmLevelAdjust>,
    Call<pcmChannelsAdjustReplaceWithDownmix>, Call<pcmChannelsAdjustExpandWithDownmix>,
    Call<pcmFramesExtend>, Call<pcmFramesReduce>,
    Call<pcmPacketQueueCreate>, Call<pcmPacketQueueCreateFrom>, Call<pcmPacketQueueChannels>,
    Call<pcmPacketQueuePackets>, Call<pcmPacketQueueFrames>, Call<pcmPacketQueueClear>, Call<pcmPacketQueueWrite>,
    Call<pcmPacketQueueRead>, Call<pcmPacketQueueGather>, Call<pcmPacketQueueGatherSamples>,
    Call<pcmPacketQueueGatherSamplesAdd>,
    Call<pcmFilterCoefficientsCreate>, Call<pcmFilterCoefficientsBacking>, Call<pcmFilterCoefficientsLength>,
    Call<pcmFilterCreate>, Call<pcmFilterCreateFrom>, Call<pcmFilterCoefficients>, Call<pcmFilterChannels>,
    Call<pcmFilterPackets>, Call<pcmFilterFrames>, Call<pcmFilterReset>, Call<pcmFilterWrite>, Call<pcmFilterRead>,
    Call<pcmFilterGather>, Call<pcmFilterGatherSamples>, Call<pcmFilterGatherSamplesAdd>,
    Call<pcmToneCreate>, Call<pcmToneTryCreateWithFrequency>, Call<pcmToneGather>, Call<pcmDualToneGather>,
    Call<pcmModulatedToneGather>, Call<pcmNoiseGather>, Call<pcmSilenceGather>,
    FillWithTone<pcmToneGatherSamples>, FillWithTone<pcmToneGatherSamplesAdd>,
    FillWithTones<pcmDualToneGatherSamples>, FillWithTones<pcmDualToneGatherSamplesAdd>,
    FillWithTones<pcmModulatedToneGatherSamples>, FillWithTones<pcmModulatedToneGatherSamplesAdd>,
    Fill<pcmNoiseGatherSamples>, Fill<pcmNoiseGatherSamplesAdd>, Fill<pcmSilenceGatherSamples>, Fill<pcm___SamplesZero>,
    FillFrom<pcm___SamplesCopy>, FillFrom<pcm___SamplesMove>, FillFrom<pcm___SamplesAdd>, FillFrom<pcm___SamplesMul>,
    FillChannel<pcm___SamplesChannelCopy>, FillChannel<pcm___SamplesChannelAdd>, FillChannel<pcm___SamplesChannelMul>,
};
// clang-format on

void (*const kOthers[])() = {
    [] { // one object in two places
        auto *const shared = Any<PCM_PACKET *>::Value();
        if (shared)
            pcmPacketRetain(shared);
        Keep(shared);
    },
    [] {
        const pbInt channels = Any<pbInt>::Value(), frames = Any<pbInt>::Value();
        Keep(pcmPacketCreateFromSamplesCopy(IfRoom(source, channels, frames), channels, frames));
    },
    [] {
        const pbInt destChannel = Any<pbInt>::Value(), destFrame = Any<pbInt>::Value(), channel = Any<pbInt>::Value(),
                    channelCount = Any<pbInt>::Value(), frame = Any<pbInt>::Value(), channels = Any<pbInt>::Value(),
                    frames = Any<pbInt>::Value();
        const pbInt end = PB_INT_ADD_OK(frame, frames) ? frame + frames : INT64_MAX;
        pcmPacketWriteChannelsSamples(Any<PCM_PACKET **>::Value(), destChannel, destFrame,
                                      IfRoom(source, end, channelCount), channel, channelCount, frame, channels,
                                      frames);
    },
    [] {
        const pbInt length = Any<pbInt>::Value();
        Keep(pcmFilterCoefficientsCreateFromSamplesUse(Taps(length), length));
    },
    [] {
        const pbInt length = Any<pbInt>::Value();
        Keep(pcmFilterCoefficientsCreateFromSamplesCopy(length > 64 ? nullptr : source, length));
    },
    [] {
        const PCM_ENCODING to = Any<pbInt>::Value(), from = Any<pbInt>::Value();
        const pbInt samples = Any<pbInt>::Value();
        pcm___Convert(IfRoom(dest, samples, 2), to, IfRoom(source, samples, 2), from, samples);
    },
    [] {
        const pbInt samples = Any<pbInt>::Value();
        pcmLevelAdjustSamples(IfRoom(dest, samples), samples, Any<pbReal>::Value());
    },
    [] {
        const pbInt samples = Any<pbInt>::Value();
        pcm___SamplesScale(IfRoom(dest, samples), samples, Any<pbReal>::Value());
    },
    [] {
        const pbInt channel = Any<pbInt>::Value(), channels = Any<pbInt>::Value(), frames = Any<pbInt>::Value();
        pcm___SamplesChannelZero(IfRoom(dest, frames, channels), channel, channels, frames);
        pcm___SamplesChannelScale(IfRoom(dest, frames, channels), channel, channels, frames, Any<pbReal>::Value());
    },
    [] {
        const pbInt length = input->From(0, 30);
        auto *const bytes = static_cast<char *>(pbMemAlloc(length));
        for (pbInt i = 0; i < length; ++i)
            bytes[i] = static_cast<char>(input->From(0, 255));
        Keep(pbStringCreateFromCstr(bytes, length));
        Keep(pbBufferCreateFromBytesUse(bytes, length));
    },
};

/// The packets and what they hold; of long ones, the first samples.
std::vector<std::tuple<PCM_PACKET *, pbInt, pbInt, std::vector<uint32_t>>> Packets()
{
    std::vector<std::tuple<PCM_PACKET *, pbInt, pbInt, std::vector<uint32_t>>> packets;
    for (PCM_PACKET *pkt : Slots<PCM_PACKET>::objects) {
        if (!pkt)
            continue;
        const pbInt channels = pcmPacketChannels(pkt), frames = pcmPacketFrames(pkt);
        const PCM_SAMPLE *samples = pcmPacketBacking(pkt);
        packets.emplace_back(pkt, channels, frames,
                             BitsOf(Samples(samples, samples + (frames ? std::min(channels * frames, kRoom) : 0))));
    }
    return packets;
}

/// Whether the call comes back.
bool Comes(void (*operation)())
{
    calling = true;
    const bool comes = !setjmp(back);
    if (comes)
        operation();
    calling = false;
    return comes;
}

template <class... T> void Forget()
{
    (std::fill(std::begin(Slots<T>::objects), std::end(Slots<T>::objects), nullptr), ...);
}

} // namespace

void pb___Abort(const char *context, const char *file, pbInt line, const char *expression)
{
    if (calling && std::strncmp(file, "source/p", 8) == 0 && line > 0 && *expression)
        std::longjmp(back, 1);
    std::fprintf(stderr, "%s:%d: %s: %s\n", file, static_cast<int>(line), context ? context : "", expression);
    std::abort();
}

void *pbMemReallocN(void *block, pbInt count, pbInt size)
{
    if (count < 0 || size < 0 || !PB_INT_MUL_OK(count, size) || count * size > kMostBytes) {
        exhausted = true;
        pb___Abort(nullptr, "source/pb/pb_mem", __LINE__, "memory");
    }
    if (count && size)
        return std::realloc(block, static_cast<std::size_t>(count * size));
    std::free(block);
    return nullptr;
}

void *pbMemAllocN(pbInt count, pbInt size)
{
    return pbMemReallocN(nullptr, count, size);
}

void *pbMemAlloc(pbInt bytes)
{
    return pbMemReallocN(nullptr, bytes, 1);
}

void pbMemFree(void *block)
{
    std::free(block);
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    for (pbInt i = 0; i < kRoom; ++i)
        source[i] = static_cast<float>(i % 97) / 97;
    pcmModule()->startup();
    __sanitizer_install_malloc_and_free_hooks(Made, Freed);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    tested = true;
    Random random(std::span(data, size));
    input = &random;
    exhausted = false;
    for (const auto make :
         {+[] { Keep(pcmPacketCreateFromSamplesCopy(source, input->From(1, 3), input->From(0, 20))); },
          +[] { Keep(pcmPacketQueueCreate(input->From(1, 3))); }, +[] { Keep(pcmToneCreate(input->From(1, 40))); },
          +[] { Keep(pcmFilterCoefficientsCreate(input->From(0, 6))); },
          +[] { Keep(pcmFilterCreate(Slots<PCM_FILTER_COEFFICIENTS>::objects[0], 1)); }})
        Comes(make);
    while (!random.Done() && !exhausted && blockCount < std::size(blocks)) {
        const auto operation = random.OneIn(8) ? kOthers[random.From(0, std::ssize(kOthers) - 1)]
                                               : kOperations[random.From(0, std::ssize(kOperations) - 1)];
        const auto before = Packets();
        if (!Comes(operation) && !exhausted && Packets() != before) {
            std::fprintf(stderr, "A refused call has changed a packet\n");
            std::abort();
        }
    }
    Forget<PCM_PACKET, PCM_PACKET_QUEUE, PCM_FILTER, PCM_FILTER_COEFFICIENTS, PCM_TONE, PB_BUFFER, PB_STRING>();
    while (blockCount)
        std::free(const_cast<void *>(blocks[--blockCount]));
    return 0;
}
