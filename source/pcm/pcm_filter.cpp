// The filter: every packet is filtered into a new one, which waits in a queue. Sums of neighbouring outputs are
// computed side by side (pcm_filter_loops.h), straight from the packet's samples; where they reach back to frames
// before the packet, these and the packet's own are first laid side by side in a small local array.
#include "pcm_levels.h"
#include "pcm_object.h"

#include <pcm/pcm_filter.h>
#include <pcm/pcm_packet_queue.h>
#include <pcm/pcm_samples.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <cmath>
#include <utility>

#ifdef __x86_64__
#include <immintrin.h>
#endif

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

/// Some terms of the sums of neighbouring outputs: dest[j] takes coefficients[-tap] * source[j + tap * stride] for each
/// tap in ascending order, which goes from older frames to newer ones.
struct FilterTerms {
    PCM_SAMPLE *dest;
    pbInt samples; ///< outputs
    const PCM_SAMPLE *source;
    pbInt stride;                   ///< from one frame to the next
    const PCM_SAMPLE *coefficients; ///< that of the oldest frame; those of newer ones lie before it
    pbInt taps;
    bool first; ///< the sums begin at 0, not with what dest holds
    bool last;  ///< the sums are complete and are clamped
};

using FilterLoop = void(const FilterTerms &terms);

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_filter_loops.h"
#include "pcm_each_level.h"

namespace {

pcm::FilterLoop *const sum = pcm::ForThisProcessor(pcm::base::kLoops, pcm::v3::kLoops, pcm::v4::kLoops);

constexpr pbInt kSample = PB_SIZEOF(PCM_SAMPLE);

/// Frames that lie one after another in memory.
struct Run {
    const PCM_SAMPLE *samples;
    pbInt frames;
};

/// What the filter remembers, and after it a packet's frames, which are numbered from 0.
class Stream {
public:
    Stream(const PCM_FILTER *filter, Run packet) : filter_(filter), packet_(packet) {}

    /// The run from a frame on; at most coefficientsLength - 1 before the packet.
    Run From(pbInt frame) const
    {
        const pbInt channels = filter_->channels, row = filter_->historyPosition + frame;
        if (frame >= 0)
            return {packet_.samples + frame * channels, packet_.frames - frame};
        if (row >= 0)
            return {filter_->history + row * channels, -frame};
        return {filter_->history + (filter_->coefficientsLength + row) * channels, -row};
    }

    void Copy(PCM_SAMPLE *dest, pbInt frame, pbInt frames) const
    {
        while (frames > 0) {
            const Run run = From(frame);
            const pbInt count = pbIntMin(run.frames, frames);
            pcm___SamplesCopy(dest, run.samples, count * filter_->channels);
            dest += count * filter_->channels;
            frame += count;
            frames -= count;
        }
    }

private:
    const PCM_FILTER *filter_;
    Run packet_;
};

/// Filters a packet's frames into dest, another array. The filter goes on remembering the frames before.
void FilterFrames(const PCM_FILTER *filter, Run packet, PCM_SAMPLE *dest)
{
    constexpr pbInt kWindow = 4096; // samples: 16 KiB of stack
    constexpr pbInt kBlock = 64;    // frames; keeps the loop's vectors full
    PCM_SAMPLE window[kWindow];     // frames from here and there, side by side
    const pbInt channels = filter->channels, length = filter->coefficientsLength;
    const Stream stream(filter, packet);

    // At first, outputs reach back beyond the packet. Of those, no more at once than leave half of the window to taps.
    pbInt count = 0; // outputs at once
    for (pbInt begin = 0; begin < packet.frames; begin += count) {
        const pbInt reaching = length - 1 - begin;
        count = packet.frames - begin;
        if (reaching > 0) {
            const pbInt rounded = (reaching + kBlock - 1) / kBlock * kBlock;
            count = pbIntMin(count, pbIntMin(rounded, pbIntMax(kWindow / 2 / channels, 1)));
        }

        // As many taps at a time as find their frames side by side, in place or in the window.
        pbInt taps = 0;
        for (pbInt done = 0; done < length; done += taps) {
            const pbInt oldest = begin - (length - 1) + done, rest = length - done;
            const Run run = stream.From(oldest);
            const pbInt inPlace = run.frames - (count - 1);
            const bool restFits = (rest + count - 1) * channels <= kWindow;
            const PCM_SAMPLE *source = run.samples;
            if (inPlace >= rest || (inPlace > 0 && !restFits)) {
                taps = pbIntMin(inPlace, rest);
            } else {
                taps = restFits ? rest : kWindow / channels - (count - 1);
                stream.Copy(window, oldest, taps + count - 1);
                source = window;
            }
            sum({.dest = dest + begin * channels,
                 .samples = count * channels,
                 .source = source,
                 .stride = channels,
                 .coefficients = filter->coefficientSamples + rest - 1,
                 .taps = taps,
                 .first = done == 0,
                 .last = taps == rest});
        }
    }
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
