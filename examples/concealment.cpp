#include "concealment.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

#include <spandsp/telephony.h>

#include <spandsp/plc.h>

namespace {

constexpr pbInt kRate = 8000;    // the rate that SpanDSP's concealment is made for
constexpr int kSilentFrom = 400; // frames of a gap
constexpr PCM_ENCODING kNative =
    PCM_ENCODING_INT_16 |
    (std::endian::native == std::endian::big ? PCM_ENCODING_BIG_ENDIAN : PCM_ENCODING_LITTLE_ENDIAN);

} // namespace

struct Concealment::Streams {
    std::vector<plc_state_t> states;  // used from a gap's beginning until after its end
    std::vector<PCM_SAMPLE> history;  // the last that was heard: as much as all states remember
    bool gap = false;                 // whether the states are in use
    std::size_t phase = 0;            // the state for which the next sample is
    std::vector<PCM_SAMPLE> part;     // of one state
    std::vector<std::int16_t> number; // the same in 16 bits

    void Process(std::span<PCM_SAMPLE> samples, int (*operation)(plc_state_t *, std::int16_t *, int))
    {
        const std::size_t count = states.size();
        for (std::size_t i = 0; i < std::min(count, samples.size()); ++i) {
            part.clear();
            for (std::size_t n = i; n < samples.size(); n += count)
                part.push_back(samples[n]);
            number.resize(part.size());
            pcm::Convert(std::as_writable_bytes(std::span(number)), kNative, std::as_bytes(std::span(part)), 0);
            operation(&states[(phase + i) % count], number.data(), static_cast<int>(number.size()));
            pcm::Convert(std::as_writable_bytes(std::span(part)), 0, std::as_bytes(std::span(number)), kNative);
            for (std::size_t n = 0; n < part.size(); ++n)
                samples[i + n * count] = part[n];
        }
        phase = (phase + samples.size()) % count;
    }

    void Remember(std::span<const PCM_SAMPLE> samples)
    {
        const std::size_t most = history.size();
        history.insert(history.end(), samples.begin(), samples.end());
        history.erase(history.begin(), history.end() - static_cast<std::ptrdiff_t>(most));
    }
};

Concealment::Concealment(pbInt rate) : streams_(std::make_unique<Streams>())
{
    streams_->states.resize(static_cast<std::size_t>(std::max<pbInt>(rate / kRate, 1)));
    streams_->history.resize(PLC_HISTORY_LEN * streams_->states.size());
}

Concealment::~Concealment() = default;
Concealment::Concealment(Concealment &&) noexcept = default;
Concealment &Concealment::operator=(Concealment &&) noexcept = default;

void Concealment::Hear(std::span<PCM_SAMPLE> samples)
{
    if (streams_->gap)
        streams_->Process(samples, plc_rx);
    streams_->gap = false;
    streams_->Remember(samples);
}

/// A gap begins with a state that is given its whole memory at once. Given it in pieces, the state would move what it
/// has by memcpy within itself.
void Concealment::Fill(std::span<PCM_SAMPLE> samples)
{
    if (!streams_->gap) {
        for (plc_state_t &state : streams_->states)
            plc_init(&state);
        streams_->phase = 0;
        auto history = streams_->history;
        streams_->Process(history, plc_rx);
        streams_->gap = true;
    }
    streams_->Process(samples, plc_fillin);
    streams_->Remember(samples);
}

bool Concealment::Silent() const
{
    return streams_->gap && streams_->states.front().missing_samples >= kSilentFrom;
}
