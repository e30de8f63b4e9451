// What ends the process, in the order of the checks: each row breaks a condition and, where it can, all that are
// checked after it. A call that is refused has changed nothing.
#include "support.h"

#include <unistd.h>

namespace {

constexpr pbInt kMost = INT64_MAX, kLeast = INT64_MIN, kHalf = kMost / 2;
const double kInfinite = std::numeric_limits<double>::infinity(), kNan = std::nan("");

// Texts that many share.
constexpr const char *kEnd = "idx + frames <= (*pkt)->frames", *kSourceEnd = "offset + frames <= source->frames",
                     *kChannels = "(*pkt)->channels == source->channels", *kSize = "PB_INT_MUL_OK( count, size )",
                     *kFrameBytes = "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )",
                     *kPacketBytes = "PB_INT_MUL_OK( pkt->frames, pkt->channels * PB_SIZEOF( PCM_SAMPLE ) )",
                     *kArrayBytes = "PB_INT_MUL_OK( lastFrame * sourceChannelCount + end, PB_SIZEOF( PCM_SAMPLE ) )",
                     *kHighest = "HighestChannel(channelMask) < source->channels",
                     *kBytes = "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )";

// What the calls are made with. The packets p, s and m are mono, of 3 frames, 5 and 3; d is stereo, of 3 frames.
PCM_PACKET **p, **e, **w, **v, *s, *d, *noPacket; // e: stereo without frames; w and v: 2^62 and 2^60 channels
PCM_PACKET_QUEUE **q, *noQueue;                   // q and f: stereo and mono, holding 2 frames and 1
PCM_FILTER **f, *noFilter;
PCM_FILTER_COEFFICIENTS *taps;
PCM_TONE *t;
PB_OBJ *string; // of no sort of the library
PB_ENUM *noEnum;
PB_FLAGSET *noFlags;
PB_VECTOR *noVector;
PCM_SAMPLE *const none = nullptr, array[8] = {};
PCM_SAMPLE room[8];

struct Row {
    const char *call, *text;
    void (*function)();
};
#define R(call, text)                                                                                                  \
    {                                                                                                                  \
#call, text, [] { call; }                                                                                      \
    }
#define P(call, text)                                                                                                  \
    {                                                                                                                  \
#call, text, [] { pcmPacket##call; }                                                                           \
    }
#define Q(call, text)                                                                                                  \
    {                                                                                                                  \
#call, text, [] { pcmPacketQueue##call; }                                                                      \
    }
#define F(call, text)                                                                                                  \
    {                                                                                                                  \
#call, text, [] { pcmFilter##call; }                                                                           \
    }
#define S(call, text)                                                                                                  \
    {                                                                                                                  \
#call, text, [] { pcm___Samples##call; }                                                                       \
    }

Samples watched;

/// The end by a failed check is left alone only if the packet is as it was.
void (*before)(int) = nullptr;
void EndOnlyIfUntouched(int signal)
{
    if (SamplesOf(*p) != watched || SamplesOf(*e) != Samples())
        _exit(1);
    if (before)
        before(signal);
}

void Check(const std::string &file, std::initializer_list<Row> rows)
{
    const auto pkt = MakePacket(1, {1, 2, 3}), source = MakePacket(1, {1, 2, 3, 4, 5}), two = MakePacket(2, Samples(6)),
               empty = pcm::Packet(2), wide = pcm::Packet(pbInt{1} << 62), narrower = pcm::Packet(pbInt{1} << 60);
    const pcm::FilterCoefficients set(PCM_FILTER_TYPE_LOWPASS_4000_AT_16000);
    pcm::PacketQueue queue(2);
    pcm::Filter filter(set, 1);
    queue.Write(MakePacket(2, {1, 2, 3, 4}));
    filter.Write(MakePacket(1, {1}));
    const pcm::Tone tone(5);
    const pcm::String text("");
    PCM_PACKET *handles[] = {pkt.Get(), empty.Get(), wide.Get(), narrower.Get()};
    p = &handles[0], e = &handles[1], w = &handles[2], v = &handles[3], s = source.Get(), d = two.Get();
    q = queue.Address(), f = filter.Address(), taps = set.Get(), t = tone.Get(), string = pcm::Obj(text.Get());
    watched = SamplesOf(*p);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.call);
        EXPECT_EXIT((before = std::signal(SIGABRT, EndOnlyIfUntouched), row.function()),
                    testing::KilledBySignal(SIGABRT), AbortLine(file, row.text));
    }
}

} // namespace

// clang-format off

TEST(Refusals, OfPackets)
{
    Check("source/pcm/pcm_packet", {
        P(Create(0), "channels > 0"), P(CreateFromSamplesUse(none, 0, -1), "channels > 0"),
        P(CreateFromSamplesUse(none, 1, -1), "frames >= 0"),
        P(CreateFromSamplesUse(none, 1, 1), "frames == 0 || source"),
        P(CreateFromSamplesCopy(none, -1, -1), "channels > 0"),
        P(CreateFromSamplesCopy(none, kMost, 1), "frames == 0 || source"),
        P(CreateFromSamplesCopy(none, kMost / 4 + 1, 0), kFrameBytes),
        P(CreateFromSamplesCopy(array, kMost / 4, 2), kPacketBytes),
        P(TryDecode(pbBufferCreateFromBytesUse(nullptr, 0), 0, 0), "channels > 0"),
        R(pcm___PacketFreeFunc(nullptr), "pkt")});
    Check("source/pb/pb_obj", {
        P(CreateFromSamplesUse(room, kMost, 2), kSize)}); // not checked before
    Check("source/pcm/pcm_encoding", {
        R(pcmEncodingSizeofFrame(0, 0), "channels > 0"),
        R(pcmEncodingSizeofFrame(0, kMost / 3), "PB_INT_MUL_OK( channels, s )"),
        P(TryDecode(pbBufferCreateFromBytesUse(nullptr, 0), 0, kMost), "PB_INT_MUL_OK( channels, s )"),
        P(Encode(*w, 0), "PB_INT_MUL_OK( channels, s )")});
}

TEST(Refusals, OfWriting)
{
    Check("source/pcm/pcm_packet", {
        P(WriteInner(&noPacket, -1, nullptr, -1, -1), "*pkt"), P(WriteInner(p, -1, nullptr, -1, -1), "idx >= 0"),
        P(WriteInner(p, 4, nullptr, -1, -1), "source"), P(WriteInner(p, 4, s, -1, -1), "offset >= 0"),
        P(WriteInner(p, 4, s, 9, -1), "frames >= 0"),
        P(WriteInner(p, kMost, s, kMost, 1), "PB_INT_ADD_OK( offset, frames )"),
        P(WriteInner(p, kMost, s, 4, 2), kSourceEnd), P(WriteInner(p, kMost, s, 6, 0), kSourceEnd),
        P(WriteInner(p, kMost, s, 4, 1), "PB_INT_ADD_OK( idx, frames )"), P(WriteInner(p, 3, d, 0, 1), kEnd),
        P(WriteInner(p, 4, d, 3, 0), kEnd), P(WriteInner(p, 3, d, 3, 0), kChannels),
        P(Write(nullptr, 0, nullptr), "source"), P(Write(p, 0, s), kEnd),
        P(WriteTrailing(nullptr, 0, s, kLeast), "PB_INT_SUB_OK( source->frames, frames )"),
        P(WriteTrailing(p, 0, s, 6), "offset >= 0"), P(WriteOuter(p, -1, nullptr, -1, -1), "idx >= 0"),
        P(WriteOuter(p, kMost, s, 5, 1), kSourceEnd),
        P(WriteOuter(p, kMost, s, 0, 0), "PB_INT_ADD_OK( idx, source->frames - frames )"),
        P(WriteOuter(p, 2, d, 0, 1), "idx + (source->frames - frames) <= (*pkt)->frames"),
        P(WriteOuter(p, 3, d, 0, 3), kChannels), P(WriteZero(&noPacket, -1, -1), "*pkt"),
        P(WriteZero(p, -1, -1), "idx >= 0"), P(WriteZero(p, 4, -1), "frames >= 0"),
        P(WriteZero(p, 1, kMost), "PB_INT_ADD_OK( idx, frames )"), P(WriteZero(p, 4, 0), kEnd),
        P(WriteZero(p, 2, 2), kEnd)});
}

TEST(Refusals, OfInserting)
{
    Check("source/pcm/pcm_packet", {
        P(InsertInner(&noPacket, -1, nullptr, -1, -1), "*pkt"), P(InsertInner(p, -1, nullptr, -1, -1), "idx >= 0"),
        P(InsertInner(p, 4, nullptr, -1, -1), "frames >= 0"),
        P(InsertInner(p, 1, nullptr, -1, kMost), "PB_INT_ADD_OK( idx, frames )"),
        P(InsertInner(p, 0, nullptr, -1, kMost), "PB_INT_ADD_OK( (*pkt)->frames, frames )"),
        P(InsertInner(p, 4, nullptr, -1, 1), kEnd), P(InsertInner(p, 3, nullptr, -1, 1), "source"),
        P(InsertInner(p, 3, s, -1, 1), "offset >= 0"), P(InsertInner(p, 0, s, 0, kHalf), kSourceEnd),
        P(InsertInner(p, 4, d, 3, 0), kEnd), P(InsertInner(p, 3, d, 0, 1), kChannels),
        P(InsertOuter(&noPacket, -1, nullptr, -1, -1), "source"),
        P(InsertOuter(&noPacket, -1, s, -1, kLeast), "PB_INT_SUB_OK( source->frames, frames )"),
        P(InsertOuter(&noPacket, -1, s, -1, 6), "*pkt"), P(InsertOuter(p, 4, s, -1, 6), "frames >= 0"),
        P(InsertOuter(p, 3, s, -1, -1), "offset >= 0"), P(InsertOuter(p, 3, d, 0, 3), kChannels),
        P(InsertZero(p, 4, kHalf), kEnd), P(InsertZero(p, 3, kHalf), kBytes), P(Insert(nullptr, 0, nullptr), "source"),
        P(PrependLeading(p, s, 6), kSourceEnd), P(Append(&noPacket, nullptr), "*pkt"),
        P(AppendTrailing(&noPacket, nullptr, -1), "*pkt"), P(AppendZero(w, 1), kFrameBytes),
        P(SetFrames(v, 2), kBytes)});
    pcm::Packet wide(pbInt{1} << 62); // without frames nothing is too wide
    wide.AppendZero(0);
    wide.Append(wide);
}

TEST(Refusals, OfDeleting)
{
    Check("source/pcm/pcm_packet", {
        P(DelInner(p, -1, -1), "idx >= 0"), P(DelInner(p, 1, 3), kEnd), P(DelOuter(p, 4, 0), kEnd),
        P(DelTrailing(&noPacket, -1), "*pkt"), P(DelTrailing(p, kLeast), "PB_INT_SUB_OK( (*pkt)->frames, frames )"),
        P(DelTrailing(p, 4), "idx >= 0"), P(SetFrames(&noPacket, -1), "*pkt"), P(SetFrames(p, -1), "frames >= 0")});
}

// The rectangle of d: to a channel and frame, from an array at one of so many channels and a frame, how many of each.
#define W(to, frame, source, from, of, at, channels, frames, text)                                                     \
    R(pcmPacketWriteChannelsSamples(&d, to, frame, source, from, of, at, channels, frames), text)

TEST(Refusals, OfChannels)
{
    Check("source/pcm/pcm_packet", {
        P(SetChannels(&noPacket, 0), "*pkt"), P(SetChannels(p, 0), "channels > 0"),
        P(SetChannels(e, pbInt{1} << 61), kFrameBytes), P(SetChannels(p, pbInt{1} << 60), kBytes),
        P(CreateFromWithChannels(s, 0), "channels > 0"), P(CreateFromWithChannels(s, pbInt{1} << 61), kFrameBytes),
        P(CreateFromWithChannels(s, pbInt{1} << 60), kBytes), P(CreateFromWithChannelMask(d, 0), "channelMask"),
        P(CreateFromWithChannelMask(d, 5), kHighest), P(CreateFromWithChannelMask(d, kLeast), kHighest),
        R(pcmPacketWriteChannelsSamples(&noPacket, -1, -1, none, -1, -1, -1, -1, -1), "*pkt"),
        W(-1, -1, none, -1, -1, -1, -1, -1, "destChannelOffset >= 0"),
        W(kMost, -1, none, -1, -1, -1, 1, -1, "PB_INT_ADD_OK( destChannelOffset, channels )"),
        W(1, -1, none, -1, -1, -1, kMost, -1, "PB_INT_ADD_OK( destChannelOffset, channels )"),
        W(1, -1, none, -1, -1, -1, 2, -1, "destChannelOffset + channels <= (*pkt)->channels"),
        W(1, -1, none, -1, -1, -1, 1, -1, "destFrameOffset >= 0"),
        W(1, 1, none, -1, -1, -1, 1, kMost, "PB_INT_ADD_OK( destFrameOffset, frames )"),
        W(1, kMost, none, -1, -1, -1, 1, 1, "PB_INT_ADD_OK( destFrameOffset, frames )"),
        W(1, 1, none, -1, -1, -1, 1, 3, "destFrameOffset + frames <= (*pkt)->frames"),
        W(1, 1, none, -1, -1, -1, 1, 1, "source || !frames"),
        W(1, 1, array, -1, -1, -1, 1, 1, "sourceChannelOffset >= 0"),
        W(1, 1, array, kMost, -1, -1, 1, 1, "PB_INT_ADD_OK( sourceChannelOffset, channels )"),
        W(1, 1, array, 0, 0, -1, 1, 1, "sourceChannelOffset + channels <= sourceChannelCount"),
        W(1, 1, array, 0, 1, -1, 1, 1, "sourceFrameOffset >= 0"),
        W(1, 1, array, 0, 1, kMost, 1, 1, "PB_INT_ADD_OK( sourceFrameOffset, frames )"),
        W(1, 1, array, 0, 1, 0, -1, -1, "channels >= 0"), W(1, 1, array, 0, 1, 0, 1, -1, "frames >= 0"),
        W(1, 1, array, 0, kMost, 1, 1, 2, "PB_INT_MUL_OK( lastFrame, sourceChannelCount )"),
        W(1, 1, array, 0, kMost, 0, 1, 2, "PB_INT_ADD_OK( lastFrame * sourceChannelCount, end )"),
        W(1, 1, array, kMost / 4, kMost, 0, 1, 1, kArrayBytes),
        P(WriteChannels(nullptr, -1, -1, nullptr, -1, -1, -1, -1), "pkt"),
        P(WriteChannels(&noPacket, -1, -1, nullptr, -1, kMost, -1, 1), "source"),
        P(WriteChannels(&noPacket, -1, -1, s, -1, kMost, -1, 1), "PB_INT_ADD_OK( sourceFrameOffset, frames )"),
        P(WriteChannels(&noPacket, -1, -1, s, -1, 5, -1, 1), "sourceFrameOffset + frames <= source->frames"),
        P(WriteChannels(&noPacket, -1, -1, s, -1, 0, -1, 1), "*pkt"),
        P(WriteChannels(p, 0, 0, d, 2, 0, 1, 1), "sourceChannelOffset + channels <= sourceChannelCount")});
}

TEST(Refusals, OfProcessing)
{
    Check("source/pcm/pcm_channels", {
        R(pcmChannelsAdjustReplaceWithDownmix(&noPacket, 0), "*pkt"),
        R(pcmChannelsAdjustExpandWithDownmix(&noPacket, 0), "*pkt"),
        R(pcmChannelsAdjustReplaceWithDownmix(p, 0), "channels > 0"),
        R(pcmChannelsAdjustExpandWithDownmix(p, 0), "channels > 0")});
    Check("source/pcm/pcm_packet", {
        R(pcmChannelsAdjustReplaceWithDownmix(p, pbInt{1} << 61), kFrameBytes),
        R(pcmChannelsAdjustExpandWithDownmix(e, pbInt{1} << 61), kFrameBytes),
        R(pcmChannelsAdjustReplaceWithDownmix(p, kMost / 4), kBytes),
        R(pcmChannelsAdjustExpandWithDownmix(p, kMost / 4), kBytes)});
    Check("source/pcm/pcm_frames", {
        R(pcmFramesExtend(&noPacket, 0), "*pkt"), R(pcmFramesExtend(p, 1), "mult > 1"),
        R(pcmFramesExtend(p, kMost), "PB_INT_MUL_OK( sourceFrames, mult )"),
        R(pcmFramesExtend(&d, kMost / 3), "PB_INT_MUL_OK( destFrames, sourceChannels )"),
        R(pcmFramesExtend(&d, kMost / 8), "PB_INT_MUL_OK( destFrames, sourceChannels * PB_SIZEOF( PCM_SAMPLE ) )"),
        R(pcmFramesReduce(&noPacket, 0), "*pkt"), R(pcmFramesReduce(p, 1), "div > 1"),
        R(pcmFramesReduce(p, 2), "sourceFrames % div == 0")});
    Check("source/pcm/pcm_level", {
        R(pcmLevelAdjust(&noPacket, kNan), "*pkt")});
    Check("source/pcm/pcm_decibel", {
        R(pcmDecibelFromGain(kNan), "!pbRealIsNan( gain )"),
        R(pcmDecibelFromGain(-kInfinite), "pbRealIsFinite( gain )"), R(pcmDecibelFromGain(-1e-300), "gain >= 0"),
        R(pcmDecibelToGain(kNan), "!pbRealIsNan( decibel )"),
        R(pcmDecibelToGain(-kInfinite), "pbRealIsFinite( decibel )")});
    Check("source/pcm/pcm_convert", {
        R(pcm___Convert(none, 8, none, 8, -1), "samples >= 0"),
        R(pcm___Convert(none, 8, none, 8, kMost), "dest || samples == 0"),
        R(pcm___Convert(room, 8, none, 8, kMost), "source || samples == 0"),
        R(pcm___Convert(room, 8, room, 8, kMost), "PB_INT_MUL_OK( destSize, samples )"),
        R(pcm___Convert(room, 4, room, 8, kMost), "PB_INT_MUL_OK( sourceSize, samples )")});
    pcm::Packet wide(pbInt{1} << 62); // without frames nothing is too wide or too long
    wide.ChannelsAdjustReplaceWithDownmix(pbInt{1} << 61);
    wide.FramesExtend(kMost);
    wide.FramesReduce(kMost);
    EXPECT_EQ(wide.Channels(), pbInt{1} << 61);
}

TEST(Refusals, OfKernels)
{
    Check("source/pcm/pcm_samples_stdc", {
        S(Scale(none, 1, 1.0), "dest || !samples"), S(Add(none, none, -1), "samples >= 0"),
        S(Mul(none, none, 1), "dest || !samples"), S(Mul(room, none, 1), "source || !samples"),
        R(pcmLevelAdjustSamples(none, 1, 1.0), "dest || !samples"),
        S(ChannelCopy(none, 0, 1, none, 0, 1, -1), "frames >= 0"),
        S(ChannelCopy(none, -1, 1, none, 0, 1, 1), "dest || !frames"),
        S(ChannelCopy(room, -1, 1, none, 0, 1, 1), "source || !frames"),
        S(ChannelCopy(room, -1, -1, room, 0, 1, 0), "destChannel >= 0"),
        S(ChannelCopy(room, 0, -1, room, 0, 1, 0), "destChannels >= 0"),
        S(ChannelCopy(room, 1, 1, room, -1, 1, 0), "destChannel < destChannels"),
        S(ChannelCopy(room, 0, 0, room, 0, 1, 0), "destChannel < destChannels"),
        S(ChannelCopy(room, 0, 1, room, -1, 1, 0), "sourceChannel >= 0"),
        S(ChannelCopy(room, 0, 1, room, 0, -1, 0), "sourceChannels >= 0"),
        S(ChannelCopy(room, 0, 1, room, 0, 0, 0), "sourceChannel < sourceChannels"),
        S(ChannelScale(none, 2, 2, 0, 1.0), "destChannel < destChannels")});
}

TEST(Refusals, OfQueuesAndFilters)
{
    Check("source/pcm/pcm_packet_queue", {
        Q(Create(0), "channels > 0"), Q(Write(&noQueue, nullptr), "*queue"), Q(Write(q, nullptr), "pkt"),
        Q(Write(q, s), "pcmPacketChannels( pkt ) == (*queue)->channels"),
        R((pcmPacketQueueClear(q), pcmPacketQueueRead(q)), "pcmPacketQueuePackets( *queue ) > 0"),
        Q(Gather(q, 0), "frames > 0"), Q(Gather(q, 3), "frames <= (*queue)->frames"),
        Q(GatherSamples(q, none, -1), "frames >= 0"), Q(GatherSamples(q, none, 3), "frames == 0 || dest"),
        Q(GatherSamples(q, room, 3), "(*queue)->frames >= frames"), Q(GatherSamplesAdd(q, none, 0), "frames > 0"),
        Q(GatherSamplesAdd(q, none, 3), "frames == 0 || dest"),
        Q(GatherSamplesAdd(q, room, 3), "(*queue)->frames >= frames"), F(Gather(f, 2), "frames <= (*queue)->frames"),
        F(GatherSamples(f, none, 1), "frames == 0 || dest"), F(GatherSamplesAdd(f, none, 0), "frames > 0"),
        R(pcm___PacketQueueFreeFunc(nullptr), "queue")});
    Check("source/pcm/pcm_filter", {
        F(Create(taps, 0), "channels > 0"),
        F(Create(taps, pbInt(1) << 59), "PB_INT_MUL_OK( filter->coefficientsLength, filter->channels )"),
        F(Write(&noFilter, nullptr), "*filter"), F(Write(f, nullptr), "pkt"),
        F(Write(f, d), "pcmPacketChannels( pkt ) == (*filter)->channels"),
        R(pcm___FilterFreeFunc(nullptr), "filter")});
    Check("source/pcm/pcm_filter_coefficients", {
        F(CoefficientsCreateFromSamplesCopy(none, 0), "coefficients"),
        F(CoefficientsCreateFromSamplesCopy(room, 0), "length > 0"),
        F(CoefficientsCreateFromSamplesUse(none, 0), "coefficients"),
        F(CoefficientsCreateFromSamplesUse(room, 0), "length > 0"),
        R(pcm___FilterCoefficientsFreeFunc(nullptr), "coeff"), F(CoefficientsCreate(-1), "PCM_FILTER_TYPE_OK( type )"),
        F(CoefficientsCreate(7), "PCM_FILTER_TYPE_OK( type )")});
    Check("source/pcm/pcm_filter_type", {
        F(TypeToString(-1), "PCM_FILTER_TYPE_OK( type )"), F(TypeToString(7), "PCM_FILTER_TYPE_OK( type )")});
}

TEST(Refusals, OfGenerators)
{
    Check("source/pcm/pcm_tone", {
        R(pcmToneCreate(0), "period > 0"), R(pcmToneTryCreateWithFrequency(0, 0), "frameRate > 0"),
        R(pcmToneTryCreateWithFrequency(8000, 0), "hertz > 0"), R(pcmToneGatherSamples(t, none, -1), "samples >= 0"),
        R(pcmToneGatherSamples(t, none, 1), "samples == 0 || dest"), R(pcmToneGather(t, -1), "samples >= 0")});
    Check("source/pcm/pcm_dual_tone", {
        R(pcmDualToneGatherSamples(t, nullptr, none, -1), "toneB"),
        R(pcmDualToneGatherSamples(t, t, none, -1), "samples >= 0"), R(pcmDualToneGather(t, t, -1), "samples >= 0")});
    Check("source/pcm/pcm_modulated_tone", {
        R(pcmModulatedToneGather(t, t, -1), "samples >= 0"),
        R(pcmModulatedToneGatherSamples(t, nullptr, none, -1), "toneB"),
        R(pcmModulatedToneGatherSamples(t, t, none, -1), "samples >= 0")});
    Check("source/pcm/pcm_noise", {
        R(pcmNoiseGatherSamples(none, -1), "samples >= 0"), R(pcmNoiseGatherSamples(none, 1), "samples == 0 || dest"),
        R(pcmNoiseGather(-1), "samples >= 0")});
    Check("source/pcm/pcm_packet", {
        R(pcmSilenceGather(-1), "frames >= 0"), R(pcmSilenceGather(kMost), kBytes)});
    Check("source/pb/pb_mem", {
        R(pcmToneGather(t, kMost), kSize), R(pcmNoiseGather(kHalf), kSize)});
}

TEST(Refusals, OfTheRuntime)
{
    Check("source/pb/pb_[a-z]+", {
        R(pbBufferCreateFromBytesUse(none, -1), "length >= 0"),
        R(pbEnumGenerate(pcm___FilterTypeEnum, 7), "known != enm->end()"),
        R(pbVectorAppendObj(&noVector, nullptr), "*vec"), R(pbEnumSetEnumerantCstr(&noEnum, nullptr, -1, 0), "*enm"),
        R(pbFlagsetSetFlagCstr(&noFlags, nullptr, -1, 0), "*flags"),
        R(pbFlagsetHasFlagCstr(nullptr, nullptr, -1), "flags"), R(pbMemAllocN(-1, -1), "count >= 0"),
        R(pbMemAllocN(1, -1), "size >= 0"), R(pbMemAllocN(kHalf, 4), kSize), R(pbMemAlloc(-1), "count >= 0"),
        R(pbMemAlloc(kMost), "memory"), R(pbMemCopyN(none, none, 1, 1), "dest"),
        R(pbMemMoveN(none, none, 1, 1), "dest"), R(pb___ObjCreate(8, nullptr), "size >= PB_SIZEOF(PB_OBJ)"),
        R(pb___ObjCreate(sizeof(PB_OBJ), nullptr), "sort"), R(pb___ObjCreate(kMost, pcmPacketSort()), "memory"),
        R(pb___ObjFree(nullptr), "obj"), R(pb___ObjDbgSetAllocationSize(nullptr, -1), "obj"),
        R(pb___ObjDbgSetAllocationSize(string, -1), "bytes >= 0"), R(pbObjRetain(nullptr), "obj"),
        R(pbObjRelease(nullptr), "obj"), R(pb___ObjDbgSetAllocationSizeN(nullptr, kMost, 2), kSize),
        R(pbRandomNonNegativeIntRange(-1, -1), "low >= 0"), R(pbRandomNonNegativeIntRange(3, 3), "low < high"),
        R(pbStringCreateFromCstr(nullptr, -2), "text || length == 0"),
        R(pbStringCreateFromCstr("", -2), "length >= -1"),
        R(pbStringCreateFromCstr("", kMost), "PB_INT_ADD_OK( length, 1 )")});
}

TEST(Refusals, OfTheStandardFunctionsOfSorts)
{
    Check("source/pcm/pcm_packet", {
        P(Retain(nullptr), "stdfunc retain: obj"), P(Release(nullptr), "stdfunc release: obj"),
        P(From(string), "stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_PACKET"),
        P(ToString(nullptr), "stdfunc tostring: obj"), P(Compare(nullptr, nullptr), "stdfunc compare a: objA"),
        P(Compare(*p, nullptr), "stdfunc compare b: objB")});
    Check("source/pcm/pcm_packet_queue", {
        Q(From(string), "stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_PACKET_QUEUE")});
    Check("source/pcm/pcm_filter", {
        F(From(string), "stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_FILTER")});
    Check("source/pcm/pcm_filter_coefficients", {
        F(CoefficientsFrom(string), "stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_FILTER_COEFFICIENTS")});
    Check("source/pcm/pcm_tone", {
        R(pcmToneFrom(string), "stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_TONE")});
    EXPECT_TRUE(!pcmPacketFrom(nullptr) && !pcmPacketObj(nullptr) && pcmPacketEquals(nullptr, nullptr));
}
