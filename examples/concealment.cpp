#include "concealment.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

#include <spandsp/telephony.h>

#include <spandsp/plc.h>

namespace {

constexpr pbInt kRate = 8000;    // for which it is made
constexpr int kSilentFrom = 400; // frames of a gap
constexpr PCM_ENCODING kNative =
    PCM_ENCODING_INT_16 |
    (std::endian::native == std::endian::big ? PCM_ENCODING_BIG_ENDIAN : PCM_ENCODING_LITTLE_ENDIAN);

} // namespace

struct Concealment::Streams {
    std::vector<plc_state_t> states;
    std::size_t phase = 0; // the stream whose sample is next
    std::vector<PCM_SAMPLE> part;
    std::vector<std::int16_t> numbers; // of the part

    template <class Operation> void Process(std::span<PCM_SAMPLE> samples, Operation operation)
    {
        for (std::size_t i = 0; i < std::min(states.size(), samples.size()); ++i) {
            part.clear();
            for (std::size_t n = i; n < samples.size(); n += states.size())
                part.push_back(samples[n]);
            numbers.resize(part.size());
            pcm::Convert(std::as_writable_bytes(std::span(numbers)), kNative, std::as_bytes(std::span(part)), 0);
            operation(&states[(phase + i) % states.size()], numbers.data(), static_cast<int>(numbers.size()));
            pcm::Convert(std::as_writable_bytes(std::span(part)), 0, std::as_bytes(std::span(numbers)), kNative);
            for (std::size_t n = 0; n < part.size(); ++n)
                samples[i + n * states.size()] = part[n];
        }
        phase = (phase + samples.size()) % states.size();
    }
};

Concealment::Concealment(pbInt rate) : streams_(std::make_unique<Streams>())
{
    streams_->states.resize(static_cast<std::size_t>(std::max<pbInt>(rate / kRate, 1)));
    for (plc_state_t &state : streams_->states)
        plc_init(&state);
}

Concealment::~Concealment() = default;
Concealment::Concealment(Concealment &&) noexcept = default;
Concealment &Concealment::operator=(Concealment &&) noexcept = default;

void Concealment::Hear(std::span<PCM_SAMPLE> samples)
{
    streams_->Process(samples, plc_rx);
}

void Concealment::Fill(std::span<PCM_SAMPLE> samples)
{
    streams_->Process(samples, plc_fillin);
}

bool Concealment::Silent() const
{
    return streams_->states.front().missing_samples >= kSilentFrom;
}
