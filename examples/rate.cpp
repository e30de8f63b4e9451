// The change of frame rate. Shows how the library's FIR filters change it by whole factors, and how a resampler of
// another library, here soxr, changes it between all other rates.
//
// Down: the low-pass removes what the lower rate cannot hold, then every div-th frame stays. Up: mult - 1 frames of
// silence go after every frame, the low-pass removes the images of the signal that this makes, and a gain of mult
// restores the level, which was spread over mult frames.
//
// A filter of L taps delays by (L - 1) / 2 frames. To make up for it a step drops the first frames that come out of the
// filter, and feeds the same number of frames of silence after the last. L is even, so half a frame is left over; of
// two steps the first drops half a frame too many and the second half a frame too few. Output and input are then at
// most half a frame of the higher rate apart, and not at all where the two filters work at the same rate.
//
// A filter clamps to full scale, so a step lowers the level before it and raises it after it.
#include "rate_filters.h"
#include "stream.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include <soxr.h>

namespace {

/// Room above full scale while a filter works. A power of 2, by which a float is multiplied without rounding.
constexpr pbReal kHeadroom = 0x1p24;

struct Step {
    pbInt from, to;
    PCM_FILTER_TYPE type;
};

std::optional<Step> OneStep(pbInt from, pbInt to)
{
    const auto type = FilterBetween(from, to);
    return type ? std::optional(Step{from, to, *type}) : std::nullopt;
}

/**
   The steps from one rate to another; none where built-in filters do not suffice. Where one filter does not, two steps
   go by way of a higher rate. Two steps by way of 24000 Hz are also preferred to one between 48000 Hz and less: their
   filters together attenuate more beyond the cut-off (5000 Hz on the way to 8000 Hz by 20.4 dB instead of 16.8 dB).
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

class FilterStage : public Stream {
public:
    /// late: 0 removes half a frame too much of the delay, 1 half a frame too little.
    FilterStage(StreamPtr input, const Step &step, pbInt late)
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
        pkt.LevelAdjust(pcm::DecibelFromGain(kHeadroom * static_cast<pbReal>(mult_)));
        return pkt;
    }

private:
    void Feed()
    {
        auto pkt = input_->Next();
        if (pkt) {
            pkt.LevelAdjust(pcm::DecibelFromGain(1 / kHeadroom));
            if (mult_ > 1)
                pkt.FramesExtend(mult_);
            fed_ += pkt.Frames();
        } else { // silence for the delay, and to complete the last group of frames
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

struct DeleteSoxr {
    void operator()(soxr *resampler) const { soxr_delete(resampler); }
};

class SoxrStage : public Stream {
public:
    SoxrStage(StreamPtr input, pbInt rate) : Stream(input->Channels(), rate), input_(std::move(input))
    {
        const auto quality = soxr_quality_spec(SOXR_VHQ, 0);
        soxr_error_t error = nullptr;
        resampler_.reset(soxr_create(static_cast<double>(input_->Rate()), static_cast<double>(rate),
                                     static_cast<unsigned>(Channels()), &error, nullptr, &quality, nullptr));
        Check(error);
    }

    pcm::Packet Next() override
    {
        if (ended_)
            return {};
        if (const auto pkt = input_->Next()) {
            fed_ += pkt.Frames();
            return Resampled(pkt);
        }
        // Silence after the input, so that the frames which end in it come out, then what the resampler still holds.
        ended_ = true;
        pcm::Packet silence(Channels());
        silence.AppendZero(input_->Rate() / Rate() + 1);
        const pbInt frames = (fed_ * Rate() + input_->Rate() - 1) / input_->Rate() - given_;
        auto pkt = Resampled(silence);
        pkt.Append(Resampled({}));
        pkt.SetFrames(frames);
        return pkt;
    }

private:
    static void Check(soxr_error_t error)
    {
        if (error)
            throw Failure(std::string("soxr cannot change the rate: ") + error);
    }

    /// @return what comes out for these frames; for an empty handle what is left at the end
    pcm::Packet Resampled(const pcm::Packet &pkt)
    {
        const std::span<const PCM_SAMPLE> samples = pkt ? pkt.Samples() : std::span<const PCM_SAMPLE>();
        const auto channels = static_cast<std::size_t>(Channels()), frames = samples.size() / channels;
        pcm::Packet out(Channels());
        std::vector<PCM_SAMPLE> block(4096 * channels);
        std::size_t used = 0, got = 1;
        while (used < frames || got) {
            std::size_t taken = 0;
            Check(soxr_process(resampler_.get(), pkt ? samples.data() + used * channels : nullptr, frames - used,
                               &taken, block.data(), 4096, &got));
            used += taken;
            out.Append(pcm::Packet(std::span(block).first(got * channels), Channels()));
        }
        given_ += out.Frames();
        return out;
    }

    StreamPtr input_;
    std::unique_ptr<soxr, DeleteSoxr> resampler_;
    pbInt fed_ = 0, given_ = 0;
    bool ended_ = false;
};

} // namespace

std::string RateChanger(pbInt from, pbInt to)
{
    const auto steps = StepsBetween(from, to);
    if (steps.empty())
        return std::string(soxr_version()) + ", very high quality";
    std::string text = "built-in filters, " + std::to_string(from);
    for (const auto &step : steps)
        text += " to " + std::to_string(step.to);
    return text + " Hz";
}

StreamPtr AtRate(StreamPtr input, pbInt rate)
{
    if (rate == input->Rate())
        return input;
    const auto steps = StepsBetween(input->Rate(), rate);
    if (steps.empty())
        return std::make_unique<SoxrStage>(std::move(input), rate);
    pbInt late = 0;
    for (const auto &step : steps)
        input = std::make_unique<FilterStage>(std::move(input), step, late++);
    return input;
}
