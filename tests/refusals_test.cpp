// What ends the process, in the order of the checks: each call breaks a condition and, where it can, all that are
// checked after it. A call that is refused has changed nothing.
#include "operations.h"

#include <algorithm>
#include <map>
#include <sstream>

#include <unistd.h>

namespace {

// clang-format off

/// Operations, and calls of each of them: the arguments, and the text of the check, before it its file where that is
/// not the operation's own.
///
/// An argument is a number; M is the greatest, m the least, M/4 a part of it, ^60 a power of two; 0 is null, n a handle
/// of null, a an array. The packets p, s, d, e, w and v are mono of 3 frames and of 5, stereo of 3 frames and of none,
/// and without frames of 2^62 and 2^60 channels; q and r are stereo queues of 2 frames and of none, f is a mono filter of
/// 1 frame, c a set of coefficients, t a tone, b a buffer, y an enumeration, x another object.
const struct {
    const char *operations, *calls;
} kRefusals[] = {
    {"pcmPacketCreate pcmPacketQueueCreate", "0: channels > 0"},
    {"pcmPacketCreateFromSamplesUse", "0 0 -1: channels > 0; 0 1 -1: frames >= 0; 0 1 1: frames == 0 || source; "
     "a M 2: source/pb/pb_obj PB_INT_MUL_OK( count, size )"},
    {"pcmPacketCreateFromSamplesCopy", "0 -1 -1: channels > 0; 0 M 1: frames == 0 || source; "
     "0 ^61 0: PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ); "
     "a M/4 2: PB_INT_MUL_OK( pkt->frames, pkt->channels * PB_SIZEOF( PCM_SAMPLE ) )"},
    {"pcmPacketTryDecode", "b 0 0: channels > 0; b 0 M: source/pcm/pcm_encoding PB_INT_MUL_OK( channels, s )"},
    {"pcm___PacketFreeFunc", "0: pkt"},
    {"pcmEncodingSizeofFrame", "0 0: channels > 0; 0 M/3: PB_INT_MUL_OK( channels, s )"},
    {"pcmPacketEncode", "w 0: source/pcm/pcm_encoding PB_INT_MUL_OK( channels, s )"},
    {"pcmPacketWriteInner", "n -1 0 -1 -1: *pkt; p -1 0 -1 -1: idx >= 0; p 4 0 -1 -1: source; "
     "p 4 s -1 -1: offset >= 0; p 4 s 9 -1: frames >= 0; p M s M 1: PB_INT_ADD_OK( offset, frames ); "
     "p M s 4 2: offset + frames <= source->frames; p M s 6 0: offset + frames <= source->frames; "
     "p M s 4 1: PB_INT_ADD_OK( idx, frames ); p 3 d 0 1: idx + frames <= (*pkt)->frames; "
     "p 4 d 3 0: idx + frames <= (*pkt)->frames; p 3 d 3 0: (*pkt)->channels == source->channels"},
    {"pcmPacketWrite", "0 0 0: source; p 0 s: idx + frames <= (*pkt)->frames"},
    {"pcmPacketWriteTrailing", "0 0 s m: PB_INT_SUB_OK( source->frames, frames ); p 0 s 6: offset >= 0"},
    {"pcmPacketWriteOuter", "p -1 0 -1 -1: idx >= 0; p M s 5 1: offset + frames <= source->frames; "
     "p M s 0 0: PB_INT_ADD_OK( idx, source->frames - frames ); "
     "p 2 d 0 1: idx + (source->frames - frames) <= (*pkt)->frames; p 3 d 0 3: (*pkt)->channels == source->channels"},
    {"pcmPacketWriteZero", "n -1 -1: *pkt; p -1 -1: idx >= 0; p 4 -1: frames >= 0; "
     "p 1 M: PB_INT_ADD_OK( idx, frames ); p 4 0: idx + frames <= (*pkt)->frames; "
     "p 2 2: idx + frames <= (*pkt)->frames"},
    {"pcmPacketInsertInner", "n -1 0 -1 -1: *pkt; p -1 0 -1 -1: idx >= 0; p 4 0 -1 -1: frames >= 0; "
     "p 1 0 -1 M: PB_INT_ADD_OK( idx, frames ); p 0 0 -1 M: PB_INT_ADD_OK( (*pkt)->frames, frames ); "
     "p 4 0 -1 1: idx + frames <= (*pkt)->frames; p 3 0 -1 1: source; p 3 s -1 1: offset >= 0; "
     "p 0 s 0 M/2: offset + frames <= source->frames; p 4 d 3 0: idx + frames <= (*pkt)->frames; "
     "p 3 d 0 1: (*pkt)->channels == source->channels"},
    {"pcmPacketInsertOuter", "n -1 0 -1 -1: source; n -1 s -1 m: PB_INT_SUB_OK( source->frames, frames ); "
     "n -1 s -1 6: *pkt; p 4 s -1 6: frames >= 0; p 3 s -1 -1: offset >= 0; "
     "p 3 d 0 3: (*pkt)->channels == source->channels"},
    {"pcmPacketInsertZero", "p 4 M/2: idx + frames <= (*pkt)->frames; "
     "p 3 M/2: PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )"},
    {"pcmPacketInsert", "0 0 0: source"},
    {"pcmPacketPrependLeading", "p s 6: offset + frames <= source->frames"},
    {"pcmPacketAppend", "n 0: *pkt"},
    {"pcmPacketAppendTrailing", "n 0 -1: *pkt"},
    {"pcmPacketAppendZero", "w 1: PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )"},
    {"pcmPacketSetFrames", "v 2: PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) ); n -1: *pkt; "
     "p -1: frames >= 0"},
    {"pcmPacketDelInner", "p -1 -1: idx >= 0; p 1 3: idx + frames <= (*pkt)->frames"},
    {"pcmPacketDelOuter", "p 4 0: idx + frames <= (*pkt)->frames"},
    {"pcmPacketDelTrailing", "n -1: *pkt; p m: PB_INT_SUB_OK( (*pkt)->frames, frames ); p 4: idx >= 0"},
    {"pcmPacketSetChannels", "n 0: *pkt; p 0: channels > 0; "
     "e ^61: PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ); "
     "p ^60: PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )"},
    {"pcmPacketCreateFromWithChannels", "s 0: channels > 0; "
     "s ^61: PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ); "
     "s ^60: PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )"},
    {"pcmPacketCreateFromWithChannelMask", "d 0: channelMask; d 5: HighestChannel(channelMask) < source->channels; "
     "d m: HighestChannel(channelMask) < source->channels"},
    {"pcmPacketWriteChannelsSamples", "n -1 -1 0 -1 -1 -1 -1 -1: *pkt; "
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
     "d 1 1 a M/4 M 0 1 1: PB_INT_MUL_OK( lastFrame * sourceChannelCount + end, PB_SIZEOF( PCM_SAMPLE ) )"},
    {"pcmPacketWriteChannels", "0 -1 -1 0 -1 -1 -1 -1: pkt; n -1 -1 0 -1 M -1 1: source; "
     "n -1 -1 s -1 M -1 1: PB_INT_ADD_OK( sourceFrameOffset, frames ); "
     "n -1 -1 s -1 5 -1 1: sourceFrameOffset + frames <= source->frames; n -1 -1 s -1 0 -1 1: *pkt; "
     "p 0 0 d 2 0 1 1: sourceChannelOffset + channels <= sourceChannelCount"},
    {"pcmChannelsAdjustReplaceWithDownmix pcmChannelsAdjustExpandWithDownmix", "n 0: *pkt; p 0: channels > 0; "
     "p ^61: source/pcm/pcm_packet PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) ); "
     "p M/4: source/pcm/pcm_packet PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )"},
    {"pcmFramesExtend", "n 0: *pkt; p 1: mult > 1; p M: PB_INT_MUL_OK( sourceFrames, mult ); "
     "d M/3: PB_INT_MUL_OK( destFrames, sourceChannels ); "
     "d M/8: PB_INT_MUL_OK( destFrames, sourceChannels * PB_SIZEOF( PCM_SAMPLE ) )"},
    {"pcmFramesReduce", "n 0: *pkt; p 1: div > 1; p 2: sourceFrames % div == 0"},
    {"pcmLevelAdjust", "n nan: *pkt"},
    {"pcmDecibelFromGain", "nan: !pbRealIsNan( gain ); -inf: pbRealIsFinite( gain ); -1e-300: gain >= 0"},
    {"pcmDecibelToGain", "nan: !pbRealIsNan( decibel ); -inf: pbRealIsFinite( decibel )"},
    {"pcm___Convert", "0 8 0 8 -1: samples >= 0; 0 8 0 8 M: dest || samples == 0; a 8 0 8 M: source || samples == 0; "
     "a 8 a 8 M: PB_INT_MUL_OK( destSize, samples ); a 4 a 8 M: PB_INT_MUL_OK( sourceSize, samples )"},
    {"pcm___SamplesScale", "0 1 1.0: dest || !samples"},
    {"pcm___SamplesAdd", "0 0 -1: samples >= 0"},
    {"pcm___SamplesMul", "0 0 1: dest || !samples; a 0 1: source || !samples"},
    {"pcmLevelAdjustSamples", "0 1 1.0: source/pcm/pcm_samples_stdc dest || !samples"},
    {"pcm___SamplesChannelCopy", "0 0 1 0 0 1 -1: frames >= 0; 0 -1 1 0 0 1 1: dest || !frames; "
     "a -1 1 0 0 1 1: source || !frames; a -1 -1 a 0 1 0: destChannel >= 0; a 0 -1 a 0 1 0: destChannels >= 0; "
     "a 1 1 a -1 1 0: destChannel < destChannels; a 0 0 a 0 1 0: destChannel < destChannels; "
     "a 0 1 a -1 1 0: sourceChannel >= 0; a 0 1 a 0 -1 0: sourceChannels >= 0; "
     "a 0 1 a 0 0 0: sourceChannel < sourceChannels"},
    {"pcm___SamplesChannelScale", "0 2 2 0 1.0: destChannel < destChannels"},
    {"pcmPacketQueueWrite", "n 0: *queue; q 0: pkt; q s: pcmPacketChannels( pkt ) == (*queue)->channels"},
    {"pcmPacketQueueRead", "r: pcmPacketQueuePackets( *queue ) > 0"},
    {"pcmPacketQueueGather", "q 0: frames > 0; q 3: frames <= (*queue)->frames"},
    {"pcmPacketQueueGatherSamples", "q 0 -1: frames >= 0; q 0 3: frames == 0 || dest; "
     "q a 3: (*queue)->frames >= frames"},
    {"pcmPacketQueueGatherSamplesAdd", "q 0 0: frames > 0; q 0 3: frames == 0 || dest; "
     "q a 3: (*queue)->frames >= frames"},
    {"pcmFilterGather", "f 2: source/pcm/pcm_packet_queue frames <= (*queue)->frames"},
    {"pcmFilterGatherSamples", "f 0 1: source/pcm/pcm_packet_queue frames == 0 || dest"},
    {"pcmFilterGatherSamplesAdd", "f 0 0: source/pcm/pcm_packet_queue frames > 0"},
    {"pcm___PacketQueueFreeFunc", "0: queue"},
    {"pcmFilterCreate", "c 0: channels > 0; c ^59: PB_INT_MUL_OK( filter->coefficientsLength, filter->channels )"},
    {"pcmFilterWrite", "n 0: *filter; f 0: pkt; f d: pcmPacketChannels( pkt ) == (*filter)->channels"},
    {"pcm___FilterFreeFunc", "0: filter"},
    {"pcmFilterCoefficientsCreateFromSamplesCopy "
     "pcmFilterCoefficientsCreateFromSamplesUse", "0 0: coefficients; a 0: length > 0"},
    {"pcm___FilterCoefficientsFreeFunc", "0: coeff"},
    {"pcmFilterCoefficientsCreate pcmFilterTypeToString", "-1: PCM_FILTER_TYPE_OK( type ); "
     "7: PCM_FILTER_TYPE_OK( type )"},
    {"pcmToneCreate", "0: period > 0"},
    {"pcmToneTryCreateWithFrequency", "0 0: frameRate > 0; 8000 0: hertz > 0"},
    {"pcmSilenceGather", "-1: source/pcm/pcm_packet frames >= 0; "
     "M: source/pcm/pcm_packet PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )"},
    {"pbBufferCreateFromBytesUse", "0 -1: length >= 0"},
    {"pbEnumGenerate", "y 7: known != enm->end()"},
    {"pbVectorAppendObj", "n 0: *vec"},
    {"pbEnumSetEnumerantCstr", "n 0 -1 0: *enm"},
    {"pbFlagsetSetFlagCstr", "n 0 -1 0: *flags"},
    {"pbFlagsetHasFlagCstr", "0 0 -1: flags"},
    {"pbMemAllocN", "-1 -1: count >= 0; 1 -1: size >= 0; M/2 4: PB_INT_MUL_OK( count, size )"},
    {"pbMemAlloc", "-1: count >= 0; M: memory"},
    {"pbMemCopyN pbMemMoveN", "0 0 1 1: dest"},
    {"pb___ObjCreate", "8 0: size >= PB_SIZEOF(PB_OBJ); 80 0: sort; M a: memory"},
    {"pb___ObjFree pbObjRetain pbObjRelease", "0: obj"},
    {"pb___ObjDbgSetAllocationSize", "0 -1: obj; x -1: bytes >= 0"},
    {"pb___ObjDbgSetAllocationSizeN", "0 M 2: PB_INT_MUL_OK( count, size )"},
    {"pbRandomNonNegativeIntRange", "-1 -1: low >= 0; 3 3: low < high"},
    {"pbStringCreateFromCstr", "0 -2: text || length == 0; a -2: length >= -1; a M: PB_INT_ADD_OK( length, 1 )"},
    {"pcmPacketRetain", "0: stdfunc retain: obj"},
    {"pcmPacketRelease", "0: stdfunc release: obj"},
    {"pcmPacketFrom", "x: stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_PACKET"},
    {"pcmPacketToString", "0: stdfunc tostring: obj"},
    {"pcmPacketCompare", "0 0: stdfunc compare a: objA; p 0: stdfunc compare b: objB"},
    {"pcmPacketQueueFrom", "x: stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_PACKET_QUEUE"},
    {"pcmFilterFrom", "x: stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_FILTER"},
    {"pcmFilterCoefficientsFrom", "x: stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_FILTER_COEFFICIENTS"},
    {"pcmToneFrom", "x: stdfunc from: !obj || pbObjSort(obj)==&pcm___sort_PCM_TONE"},
    {"pcmToneGatherSamples pcmToneGatherSamplesAdd", "0 0 -1: tone; t 0 -1: samples >= 0; "
     "t 0 1: samples == 0 || dest"},
    {"pcmToneGather", "0 -1: tone; t -1: samples >= 0; t M: source/pb/pb_mem PB_INT_MUL_OK( count, size )"},
    {"pcmDualToneGatherSamples pcmDualToneGatherSamplesAdd pcmModulatedToneGatherSamples "
     "pcmModulatedToneGatherSamplesAdd", "0 0 0 -1: toneA; t 0 0 -1: toneB; t t 0 -1: samples >= 0; "
     "t t 0 1: samples == 0 || dest"},
    {"pcmDualToneGather pcmModulatedToneGather", "0 0 -1: toneA; t 0 -1: toneB; t t -1: samples >= 0; "
     "t t M: source/pb/pb_mem PB_INT_MUL_OK( count, size )"},
    {"pcmNoiseGatherSamples pcmNoiseGatherSamplesAdd", "0 -1: samples >= 0; 0 1: samples == 0 || dest"},
    {"pcmNoiseGather", "-1: samples >= 0; M/2: source/pb/pb_mem PB_INT_MUL_OK( count, size )"},
};

/// And those operations that are in no table of all.
std::vector<Operation> Operations()
{
    std::vector<Operation> all = AllOperations();
    OPERATIONS("cm/pcm_packet", pcmPacketCreateFromSamplesUse, pcm___PacketFreeFunc, pcmPacketRetain,
        pcmPacketRelease, pcmPacketFrom, pcmPacketToString, pcmPacketCompare);
    OPERATIONS("cm/pcm_packet_queue", pcm___PacketQueueFreeFunc, pcmPacketQueueFrom);
    OPERATIONS("cm/pcm_filter", pcm___FilterFreeFunc, pcmFilterFrom);
    OPERATIONS("cm/pcm_filter_coefficients", pcmFilterCoefficientsCreateFromSamplesUse,
        pcm___FilterCoefficientsFreeFunc, pcmFilterCoefficientsFrom);
    OPERATIONS("b/pb_[a-z]+", pbBufferCreateFromBytesUse, pbEnumGenerate, pbMemAllocN, pbMemAlloc, pb___ObjCreate,
        pb___ObjFree, pb___ObjDbgSetAllocationSize, pbObjRetain, pbObjRelease, pb___ObjDbgSetAllocationSizeN,
        pbRandomNonNegativeIntRange);
    OPERATIONS("cm/pcm_tone", pcmToneFrom);
    return all;
}

// clang-format on

/// An object by its letter, and handles to objects.
std::map<char, PB_OBJ *> objects = {{'n', nullptr}};

Word WordOf(const std::string &token, const Argument &argument)
{
    static PCM_SAMPLE array[8];
    if (argument.kind == Argument::Real)
        return std::bit_cast<Word>(std::stod(token));
    if (argument.kind == Argument::Array)
        return token == "a" ? reinterpret_cast<Word>(array) : 0;
    if (argument.kind == Argument::Int && token[0] == '^')
        return Word{1} << std::stoi(token.substr(1));
    if (argument.kind == Argument::Int && token[0] == 'M')
        return static_cast<Word>(INT64_MAX / (token[1] == '/' ? std::stoi(token.substr(2)) : 1));
    if (argument.kind == Argument::Int && token[0] == 'm')
        return static_cast<Word>(INT64_MIN);
    if (argument.kind == Argument::Int || token == "0")
        return static_cast<Word>(std::stoll(token));
    PB_OBJ *&object = objects.at(token[0]);
    return reinterpret_cast<Word>(argument.kind == Argument::Handle ? static_cast<void *>(&object) : object);
}

/// The end by a failed check is left alone only if the packets are as they were.
void (*endAnyway)(int) = nullptr;
void EndIfUntouched(int signal)
{
    const auto held = [](char name) { return SamplesOf(pcmPacketFrom(objects[name])); };
    if (held('p') != Samples{1, 2, 3} || held('d') != Samples(6) || held('e') != Samples())
        _exit(1);
    if (endAnyway)
        endAnyway(signal);
}

} // namespace

TEST(Refusals, ComeInTheOrderOfTheChecks)
{
    const auto p = MakePacket(1, {1, 2, 3}), s = MakePacket(1, Samples(5)), d = MakePacket(2, Samples(6)),
               e = pcm::Packet(2), w = pcm::Packet(pbInt{1} << 62), v = pcm::Packet(pbInt{1} << 60);
    const pcm::FilterCoefficients c(PCM_FILTER_TYPE_LOWPASS_4000_AT_16000);
    pcm::PacketQueue q(2), r(2);
    pcm::Filter f(c, 1);
    q.Write(MakePacket(2, Samples(4)));
    f.Write(MakePacket(1, Samples(1)));
    const pcm::Tone t(5);
    const pcm::Buffer b(std::span<std::byte>{});
    const pcm::String x("");
    const std::map<char, void *> all = {{'p', p.Get()}, {'s', s.Get()},
                                        {'d', d.Get()}, {'e', e.Get()},
                                        {'w', w.Get()}, {'v', v.Get()},
                                        {'c', c.Get()}, {'q', q.Get()},
                                        {'r', r.Get()}, {'f', f.Get()},
                                        {'t', t.Get()}, {'b', b.Get()},
                                        {'x', x.Get()}, {'y', pcm___FilterTypeEnum}};
    for (const auto &[name, object] : all)
        objects[name] = static_cast<PB_OBJ *>(object);
    const auto operations = Operations();
    for (const auto &[names, calls] : kRefusals) {
        std::istringstream each(names);
        for (std::string name; each >> name;) {
            const auto operation = std::ranges::find(operations, name, &Operation::name);
            ASSERT_NE(operation, operations.end()) << name;
            std::istringstream rows(calls);
            for (std::string row, token; std::getline(rows, row, ';');) {
                SCOPED_TRACE(name + ' ' + row);
                std::istringstream tokens(row.substr(0, row.find(':')));
                std::vector<Word> words;
                for (const Argument &argument : operation->arguments)
                    tokens >> token, words.push_back(WordOf(token, argument));
                std::string file = operation->file, text = row.substr(row.find(": ") + 2);
                if (const auto end = text.find(' '); text.starts_with("source/p"))
                    file = text.substr(0, end), text.erase(0, end + 1);
                EXPECT_ABORT((endAnyway = std::signal(SIGABRT, EndIfUntouched), operation->call(words.data())), file,
                             text);
            }
        }
    }
}
