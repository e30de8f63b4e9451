// The filter: every packet is filtered into a new one, which waits in a queue. Sums of neighbouring outputs are
// computed side by side (pcm_filter_loops.h), straight from the packet's samples; where they reach back to frames
// before the packet, these and the packet's own are first laid side by side on the stack.
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
    const PCM_SAMPLE *source;       ///< readable for at least one vector of outputs, even if there are fewer
    pbInt stride;                   ///< from one frame to the next
    const PCM_SAMPLE *coefficients; ///< that of the oldest frame; those of newer ones lie before it
    pbInt taps;
    bool first = true, last = true; ///< else sums go on from what dest holds, or are not clamped yet. Such parts of
                                    ///< sums are a multiple of kVector, or fewer
};

constexpr pbInt kVector = 16; ///< samples in the widest vector

using FilterLoop = void(const FilterTerms &terms);

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_filter_loops.h"
#include "pcm_each_isa.h"

namespace {

constexpr pbInt kSample = PB_SIZEOF(PCM_SAMPLE);

/// Samples side by side.
struct Run {
    const PCM_SAMPLE *samples;
    pbInt count;
};

/// Copies samples of the signal that consists of the frames which the first output of a packet reaches back to, and the
/// packet; then as many zeros as may be read behind them.
void CopySignal(PCM_SAMPLE *dest, const PCM_FILTER *filter, Run packet, pbInt from, pbInt samples)
{
    const pbInt newer = filter->historyPosition * filter->channels, oldest = newer + filter->channels;
    const Run parts[] = {
        {filter->history + oldest, filter->coefficientsLength * filter->channels - oldest}, // less a row, never needed
        {filter->history, newer},
        packet,
    };
    for (const Run &part : parts) {
        const pbInt skipped = std::min(from, part.count), count = std::min(samples, part.count - skipped);
        if (count)
            pcm___SamplesCopy(dest, part.samples + skipped, count);
        dest += count;
        from -= skipped;
        samples -= count;
    }
    std::fill_n(dest, pcm::kVector, 0.0f);
}

/// Filters a packet's samples into dest, another array. The history stays as it is.
void FilterSamples(PCM_SAMPLE *dest, const PCM_FILTER *filter, Run packet)
{
    constexpr pbInt kBlock = 4064; // samples laid side by side; with kVector behind them just under 16 KiB of stack
    constexpr pbInt kSmall = 640;  // a packet of no more samples is copied whole: with 320 480 frames took 1.09 of the
                                   // time, with 1280 960 frames of 16 taps 1.07
    constexpr pbInt kHead = 192;   // samples, a block of the loop's: with 64 960 frames of 128 taps took 1.17, and 384
                                   // gained nothing
    const pbInt channels = filter->channels, taps = filter->coefficientsLength, before = (taps - 1) * channels;
    const PCM_SAMPLE *const coefficients = filter->coefficientSamples + taps - 1;

    // The first outputs reach back beyond the packet: what they need is laid side by side. Those of a small packet are
    // all of them.
    pbInt head = packet.count;
    if (head > kSmall)
        head = std::min(head, std::max(before, kHead));
    if (packet.count - head < pcm::kVector)
        head = packet.count;

    // As many outputs at once as the block has room for. Where these would be few, half a block of them, their sums
    // made in parts: of as many taps as there is room for.
    alignas(64) PCM_SAMPLE block[kBlock + pcm::kVector];
    const pbInt room = kBlock - before, piece = room < kBlock / 8 ? kBlock / 2 : room;
    for (pbInt at = 0, samples; at < head; at += samples) {
        samples = std::min(head - at, piece);
        const bool whole = samples <= room;
        if (!whole && samples > pcm::kVector)
            samples -= samples % pcm::kVector;
        const pbInt most = whole ? taps : 1 + (kBlock - samples) / channels;
        for (pbInt tap = 0; tap < taps; tap += most) {
            const pbInt count = std::min(most, taps - tap);
            CopySignal(block, filter, packet, at + tap * channels, samples + (count - 1) * channels);
            pcm::loops({dest + at, samples, block, channels, coefficients - tap, count, tap == 0, tap + count == taps});
        }
    }

    // The others find theirs in the packet.
    if (head < packet.count)
        pcm::loops({dest + head, packet.count - head, packet.samples + head - before, channels, coefficients, taps});
}

/// Puts the last frames of a packet into the ring.
void Remember(PCM_FILTER *filter, const PCM_SAMPLE *samples, pbInt frames)
{
    const pbInt channels = filter->channels, length = filter->coefficientsLength;
    if (frames >= length) {
        pcm___SamplesCopy(filter->history, samples + (frames - length) * channels, length * channels);
        filter->historyPosition = 0;
        return;
    }
    const pbInt row = filter->historyPosition, toEnd = std::min(frames, length - row);
    pcm___SamplesCopy(filter->history + row * channels, samples, toEnd * channels);
    pcm___SamplesCopy(filter->history, samples + toEnd * channels, (frames - toEnd) * channels);
    filter->historyPosition = row + toEnd < length ? row + toEnd : frames - toEnd;
}

/// The samples in a filter's ring.
pbInt HistorySamples(const PCM_FILTER *filter)
{
    return filter->coefficientsLength * filter->channels;
}

/// A filter with its ring and the position in it still to be set. The queue's reference is taken over.
pcm::Ref<PCM_FILTER> CreateWith(PCM_FILTER_COEFFICIENTS *coefficients, pbInt channels, PCM_PACKET_QUEUE *outputQueue)
{
    auto filter = pcm::CreateObject<PCM_FILTER>(pcm___sort_PCM_FILTER);
    filter->coefficients = pcm::Ref<PCM_FILTER_COEFFICIENTS>::Share(coefficients).Detach();
    filter->coefficientsLength = pcmFilterCoefficientsLength(coefficients);
    filter->coefficientSamples = pcmFilterCoefficientsBacking(coefficients);
    filter->channels = channels;
    filter->outputQueue = outputQueue;
    PB_ASSERT(PB_INT_MUL_OK( filter->coefficientsLength, filter->channels ));
    const pbInt samples = HistorySamples(filter.get());
    filter->history = static_cast<PCM_SAMPLE *>(pbMemAllocN(samples, kSample));
    pb___ObjDbgSetAllocationSizeN(pcm::AsObj(filter.get()), samples, kSample);
    return filter;
}

/// Makes the filter private. @return its output queue, to be changed
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

    auto filter = CreateWith(coefficients, channels, pcmPacketQueueCreate(channels));
    pcm___SamplesZero(filter->history, HistorySamples(filter.get()));
    return filter.Detach();
}

PCM_FILTER *pcmFilterCreateFrom(PCM_FILTER *source)
{
    PB_ASSERT(source);

    auto queue = pcm::Ref<PCM_PACKET_QUEUE>::Share(source->outputQueue);
    auto filter = CreateWith(source->coefficients, source->channels, queue.Detach());
    filter->historyPosition = source->historyPosition;
    pcm___SamplesCopy(filter->history, source->history, HistorySamples(source));
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
    pcm___SamplesZero((*filter)->history, HistorySamples(*filter));
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
    const pbInt channels = (*filter)->channels, frames = pcmPacketFrames(pkt);
    PCM_SAMPLE *samples = nullptr;
    if (frames) {
        const PCM_SAMPLE *const source = pcmPacketBacking(pkt);
        samples = static_cast<PCM_SAMPLE *>(pbMemAllocN(frames * channels, kSample));
        FilterSamples(samples, *filter, {source, frames * channels});
        Remember(*filter, source, frames);
    }
    const auto filtered = pcm::Ref<PCM_PACKET>::Adopt(pcmPacketCreateFromSamplesUse(samples, channels, frames));
    pcmPacketQueueWrite(queue, filtered.get());
}

// Reading forwards to the queue.

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
