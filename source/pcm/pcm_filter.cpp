// The filter: every packet is filtered into a new one, which waits in a queue. Sums of neighbouring outputs are
// computed side by side (pcm_filter_loops.h), straight from the packet's samples; where they reach back to frames
// before the packet, these and the packet's own are first laid side by side in a block.
#include "pcm_isa.h"
#include "pcm_object.h"

#include <pcm/pcm_filter.h>
#include <pcm/pcm_packet_queue.h>
#include <pcm/pcm_samples.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <algorithm>
#include <bit>
#include <numeric>

/// Between operations the row before historyPosition (modulo coefficientsLength) holds the last frame written, the row
/// before that one the frame before it, and so on; frames before the first are zeros. As many frames wait in the queue
/// as were written and not yet read.
struct PCM_FILTER {
    PB_OBJ obj;
    PCM_FILTER_COEFFICIENTS *coefficients;
    pbInt coefficientsLength;
    const PCM_SAMPLE *coefficientSamples; ///< those of coefficients
    pbInt channels;                       ///< at least 1
    PCM_SAMPLE *history;                  ///< owned; a ring of coefficientsLength rows of channels samples
    pbInt historyPosition;                ///< the row that the next frame overwrites
    PCM_PACKET_QUEUE *outputQueue;
};

static constinit PB_SORT pcm___sort_PCM_FILTER = pcm::Sort("PCM_FILTER", pcm___FilterFreeFunc);

PCM_DEFINE_SORT(pcmFilter, PCM_FILTER)

void pcm___FilterFreeFunc(PB_OBJ *obj)
{
    PCM_FILTER *filter = pcmFilterFrom(obj);
    PB_ASSERT(filter);

    pcm::ReleaseAndMark(&filter->coefficients);
    pbMemFree(filter->history);
    pcm::ReleaseAndMark(&filter->outputQueue);
    pb___ObjDbgSetAllocationSize(obj, 0);
}

namespace pcm {
namespace {

/// Sums of neighbouring outputs: dest[j] = coefficients[-tap] * source[j + tap * stride], added up with one rounding
/// each for the taps in ascending order, which goes from older frames to newer ones, and clamped.
struct FilterTerms {
    PCM_SAMPLE *dest;
    pbInt samples;                  ///< outputs
    const PCM_SAMPLE *source;       ///< may be read as if there were a vector of outputs, at least
    pbInt stride;                   ///< from one frame to the next
    const PCM_SAMPLE *coefficients; ///< that of the oldest frame; those of newer ones lie before it
    pbInt taps;
};

using FilterLoop = void(const FilterTerms &terms);

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_filter_loops.h"
#include "pcm_each_isa.h"

namespace {

constexpr pbInt kSample = PB_SIZEOF(PCM_SAMPLE);

/// A packet's frames.
struct Run {
    const PCM_SAMPLE *samples;
    pbInt frames;
};

/// Filters a packet's frames into dest, another array. The filter goes on remembering the frames before.
void FilterFrames(const PCM_FILTER *filter, Run packet, PCM_SAMPLE *dest)
{
    constexpr pbInt kLocal = 4096; // samples: 16 KiB of stack
    constexpr pbInt kSmall = 640;  // a packet of no more samples is copied whole
    constexpr pbInt kHead = 192;   // samples that are worth a call of the loop
    constexpr pbInt kVector = 16;  // samples in the widest
    const pbInt channels = filter->channels, before = filter->coefficientsLength - 1;
    pcm::FilterTerms terms = {.dest = dest,
                              .samples = 0,
                              .source = nullptr,
                              .stride = channels,
                              .coefficients = filter->coefficientSamples + before,
                              .taps = filter->coefficientsLength};

    // The first outputs reach back beyond the packet: what they need is laid side by side. Those of a small packet are
    // all of them.
    pbInt head = packet.frames;
    if (head * channels > kSmall)
        head = pbIntMin(head, pbIntMax(before, (kHead + channels - 1) / channels));
    if ((packet.frames - head) * channels < kVector)
        head = packet.frames;
    const pbInt needed = (before + head) * channels, older = before - filter->historyPosition;
    alignas(64) PCM_SAMPLE local[kLocal];
    PCM_SAMPLE *const block =
        needed + kVector <= kLocal ? local : static_cast<PCM_SAMPLE *>(pbMemAllocN(needed + kVector, kSample));
    pcm___SamplesCopy(block, filter->history + (before + 1 - older) * channels, older * channels);
    pcm___SamplesCopy(block + older * channels, filter->history, (before - older) * channels);
    pcm___SamplesCopy(block + before * channels, packet.samples, head * channels);
    pcm___SamplesZero(block + needed, kVector);
    terms.source = block;
    terms.samples = head * channels;
    pcm::loops(terms);
    if (block != local)
        pbMemFree(block);

    // The others find theirs in the packet.
    if (head == packet.frames)
        return;
    terms.dest = dest + head * channels;
    terms.source = packet.samples + (head - before) * channels;
    terms.samples = (packet.frames - head) * channels;
    pcm::loops(terms);
}

/// Puts the last frames of a packet into the ring.
void Remember(PCM_FILTER *filter, Run packet)
{
    const pbInt channels = filter->channels, length = filter->coefficientsLength;
    const pbInt kept = pbIntMin(packet.frames, length), passed = packet.frames - kept;
    const PCM_SAMPLE *last = packet.samples + passed * channels;
    const pbInt row = (filter->historyPosition + passed) % length;
    const pbInt toEnd = pbIntMin(kept, length - row);
    pcm___SamplesCopy(filter->history + row * channels, last, toEnd * channels);
    pcm___SamplesCopy(filter->history, last + toEnd * channels, (kept - toEnd) * channels);
    filter->historyPosition = (row + kept) % length;
}

/// Gives a filter its ring, still to be filled. @return the samples in it
pbInt MakeHistory(PCM_FILTER *filter)
{
    const pbInt samples = filter->coefficientsLength * filter->channels;
    filter->history = static_cast<PCM_SAMPLE *>(pbMemAllocN(samples, kSample));
    pb___ObjDbgSetAllocationSizeN(pcm::AsObj(filter), samples, kSample);
    return samples;
}

/// The output queue of a filter that nobody else holds, for operations that change it.
PCM_PACKET_QUEUE **Queue(PCM_FILTER **filter)
{
    PB_ASSERT(filter);
    PB_ASSERT(*filter);

    pcm::MakePrivate(filter, pcmFilterCreateFrom);
    return &(*filter)->outputQueue;
}

} // namespace

PCM_FILTER *pcmFilterCreate(PCM_FILTER_COEFFICIENTS *coefficients, pbInt channels)
{
    PB_ASSERT(coefficients);
    PB_ASSERT(channels > 0);

    auto filter = pcm::CreateObject<PCM_FILTER>(pcm___sort_PCM_FILTER);
    filter->coefficients = pcm::Ref<PCM_FILTER_COEFFICIENTS>::Share(coefficients).Detach();
    filter->coefficientsLength = pcmFilterCoefficientsLength(coefficients);
    filter->coefficientSamples = pcmFilterCoefficientsBacking(coefficients);
    filter->channels = channels;
    filter->historyPosition = 0;
    filter->outputQueue = pcmPacketQueueCreate(channels);
    PB_ASSERT(PB_INT_MUL_OK( filter->coefficientsLength, filter->channels ));
    const pbInt samples = MakeHistory(filter.get());
    pcm___SamplesZero(filter->history, samples);
    return filter.Detach();
}

PCM_FILTER *pcmFilterCreateFrom(PCM_FILTER *source)
{
    PB_ASSERT(source);

    auto filter = pcm::CreateObject<PCM_FILTER>(pcm___sort_PCM_FILTER);
    filter->coefficients = pcm::Ref<PCM_FILTER_COEFFICIENTS>::Share(source->coefficients).Detach();
    filter->coefficientsLength = source->coefficientsLength;
    filter->coefficientSamples = source->coefficientSamples;
    filter->channels = source->channels;
    filter->historyPosition = source->historyPosition;
    filter->outputQueue = pcm::Ref<PCM_PACKET_QUEUE>::Share(source->outputQueue).Detach();
    const pbInt samples = MakeHistory(filter.get());
    pcm___SamplesCopy(filter->history, source->history, samples);
    return filter.Detach();
}

PCM_FILTER_COEFFICIENTS *pcmFilterCoefficients(PCM_FILTER *filter)
{
    PB_ASSERT(filter);

    return pcm::Ref<PCM_FILTER_COEFFICIENTS>::Share(filter->coefficients).Detach();
}

pbInt pcmFilterChannels(PCM_FILTER *filter)
{
    PB_ASSERT(filter);

    return filter->channels;
}

pbInt pcmFilterPackets(PCM_FILTER *filter)
{
    PB_ASSERT(filter);

    return pcmPacketQueuePackets(filter->outputQueue);
}

pbInt pcmFilterFrames(PCM_FILTER *filter)
{
    PB_ASSERT(filter);

    return pcmPacketQueueFrames(filter->outputQueue);
}

void pcmFilterReset(PCM_FILTER **filter)
{
    PCM_PACKET_QUEUE **queue = Queue(filter);
    pcm___SamplesZero((*filter)->history, (*filter)->coefficientsLength * (*filter)->channels);
    (*filter)->historyPosition = 0;
    pcmPacketQueueClear(queue);
}

void pcmFilterWrite(PCM_FILTER **filter, PCM_PACKET *pkt)
{
    PB_ASSERT(filter);
    PB_ASSERT(*filter);
    PB_ASSERT(pkt);
    PB_ASSERT(pcmPacketChannels( pkt ) == (*filter)->channels);

    PCM_PACKET_QUEUE **queue = Queue(filter);
    const Run packet = {pcmPacketBacking(pkt), pcmPacketFrames(pkt)};
    PCM_SAMPLE *samples = nullptr;
    if (packet.frames) {
        samples = static_cast<PCM_SAMPLE *>(pbMemAllocN(packet.frames * (*filter)->channels, kSample));
        FilterFrames(*filter, packet, samples);
        Remember(*filter, packet);
    }
    const auto filtered =
        pcm::Ref<PCM_PACKET>::Adopt(pcmPacketCreateFromSamplesUse(samples, (*filter)->channels, packet.frames));
    pcmPacketQueueWrite(queue, filtered.get());
}

// Reading is the queue's affair.

// clang-format off
PCM_PACKET *pcmFilterRead(PCM_FILTER **filter)
{ return pcmPacketQueueRead(Queue(filter)); }
PCM_PACKET *pcmFilterGather(PCM_FILTER **filter, pbInt frames)
{ return pcmPacketQueueGather(Queue(filter), frames); }
void pcmFilterGatherSamples(PCM_FILTER **filter, PCM_SAMPLE *dest, pbInt frames)
{ pcmPacketQueueGatherSamples(Queue(filter), dest, frames); }
void pcmFilterGatherSamplesAdd(PCM_FILTER **filter, PCM_SAMPLE *dest, pbInt frames)
{ pcmPacketQueueGatherSamplesAdd(Queue(filter), dest, frames); }
// clang-format on
