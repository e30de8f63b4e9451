// The change of frame rate, in steps of which each has a built-in filter.
//
// Down: the low-pass takes away what the lower rate cannot hold, then every div-th frame stays. Up: mult - 1 frames of
// silence go after every frame, the low-pass takes away the images of the signal that this makes, and the level that
// was spread over mult frames is given back.
//
// A filter of L taps delays by (L - 1) / 2 frames. To make up for it a step drops the first frames that come out of the
// filter, and feeds as many frames of silence after the last. L is even, so half a frame is left over; of two steps the
// first drops half a frame too many and the second half a frame too few. Output and input are then at most half a frame
// of the higher rate apart, and not at all where the two filters work at the same rate.
//
// So many frames come out as fit between the first and the last of the input: exactly `mult` for each on the way up,
// and on the way down one for each `div`, a last incomplete group included.
#include "stream.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace {

/// A built-in filter and the two rates between which it leads.
struct BuiltIn {
    pbInt high, low;
    PCM_FILTER_TYPE type;
};

constexpr BuiltIn kBuiltIns[] = {
    {16000, 8000, PCM_FILTER_TYPE_LOWPASS_4000_AT_16000},   {24000, 8000, PCM_FILTER_TYPE_LOWPASS_4000_AT_24000},
    {48000, 8000, PCM_FILTER_TYPE_LOWPASS_4000_AT_48000},   {24000, 12000, PCM_FILTER_TYPE_LOWPASS_6000_AT_24000},
    {48000, 12000, PCM_FILTER_TYPE_LOWPASS_6000_AT_48000},  {48000, 16000, PCM_FILTER_TYPE_LOWPASS_8000_AT_48000},
    {48000, 24000, PCM_FILTER_TYPE_LOWPASS_12000_AT_48000},
};

constexpr pbInt kRates[] = {8000, 12000, 16000, 24000, 48000};

struct Step {
    pbInt from, to;
    PCM_FILTER_TYPE type;
};

std::optional<Step> OneStep(pbInt from, pbInt to)
{
    for (const auto &filter : kBuiltIns)
        if (filter.high == std::max(from, to) && filter.low == std::min(from, to))
            return Step{from, to, filter.type};
    return std::nullopt;
}

/**
   The steps from one rate to another; none when no built-in filter leads there. Where there is no single one, two steps
   lead over a higher rate. Two over 24000 Hz also go before a single one between 48000 Hz and less: their filters
   together let less through beyond the cut-off (at 5000 Hz on the way to 8000 Hz -20.4 dB instead of -16.8 dB).
*/
std::vector<Step> StepsBetween(pbInt from, pbInt to)
{
    const auto direct = OneStep(from, to);
    for (const pbInt via : {24000, 48000}) {
        const auto first = OneStep(from, via), second = OneStep(via, to);
        const bool between = std::min(from, to) < via && via < std::max(from, to);
        if (first && second && (between || !direct))
            return {*first, *second};
    }
    if (direct)
        return {*direct};
    return {};
}

class RateStage : public Stream {
public:
    /// late: 0 takes half a frame too much of the delay out, 1 half a frame too little.
    RateStage(StreamPtr input, const Step &step, pbInt late)
        : Stream(input->Channels(), step.to), input_(std::move(input)), mult_(std::max(step.to / step.from, pbInt{1})),
          div_(std::max(step.from / step.to, pbInt{1})),
          filter_(pcm::FilterCoefficients(step.type), input_->Channels()),
          delay_(filter_.Coefficients().Length() / 2 - late), toDrop_(delay_)
    {
    }

    pcm::Packet Next() override
    {
        while (!ended_ && filter_.Frames() < toDrop_ + div_)
            Feed();
        if (toDrop_)
            filter_.Gather(std::exchange(toDrop_, 0));
        const pbInt frames = filter_.Frames() / div_ * div_;
        if (!frames)
            return {};
        auto pkt = filter_.Gather(frames);
        if (div_ > 1)
            pkt.FramesReduce(div_);
        if (mult_ > 1)
            pkt.LevelAdjust(pcm::DecibelFromGain(static_cast<pbReal>(mult_)));
        return pkt;
    }

private:
    void Feed()
    {
        auto pkt = input_->Next();
        if (pkt) {
            if (mult_ > 1)
                pkt.FramesExtend(mult_);
            fed_ += pkt.Frames();
        } else { // the delay's frames, and as many more as the last group lacks, so that no frame of input is lost
            ended_ = true;
            pkt = pcm::Packet(Channels());
            pkt.AppendZero(delay_ + (div_ - fed_ % div_) % div_);
        }
        filter_.Write(pkt);
    }

    StreamPtr input_;
    pbInt mult_, div_;
    pcm::Filter filter_;
    pbInt delay_, toDrop_; // frames of the filter's rate
    pbInt fed_ = 0;
    bool ended_ = false;
};

} // namespace

StreamPtr AtRate(StreamPtr input, pbInt rate)
{
    const pbInt from = input->Rate();
    if (rate == from)
        return input;
    const auto steps = StepsBetween(from, rate);
    if (steps.empty()) {
        std::string possible;
        for (const pbInt to : kRates)
            if (to != from && !StepsBetween(from, to).empty())
                possible += (possible.empty() ? "" : ", ") + std::to_string(to);
        throw Failure("cannot change " + std::to_string(from) + " Hz to " + std::to_string(rate) +
                      " Hz: there are filters " +
                      (possible.empty() ? "between 8000, 12000, 16000, 24000 and 48000 Hz only"
                                        : "from " + std::to_string(from) + " to " + possible + " Hz only"));
    }
    pbInt late = 0;
    for (const auto &step : steps)
        input = std::make_unique<RateStage>(std::move(input), step, late++);
    return input;
}
