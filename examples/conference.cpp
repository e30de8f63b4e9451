#include "conference.h"

#include "rate_filters.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace {

pcm::Packet Silence(pbInt frames)
{
    pcm::Packet silence(1);
    silence.AppendZero(frames);
    return silence;
}

/// Changes each sample of a packet by that of another; other holders of the packet keep it as it was.
template <class Operation> void Combine(pcm::Packet *pkt, const pcm::Packet &other, Operation operation)
{
    const auto samples = pkt->MutableSamples();
    std::ranges::transform(samples, other.Samples(), samples.begin(), operation);
}

/// An empty handle is silence. What is added to silence is shared, not copied.
void Add(pcm::Packet *sum, const pcm::Packet &pkt)
{
    if (!*sum)
        *sum = pkt;
    else if (pkt)
        Combine(sum, pkt, std::plus<PCM_SAMPLE>());
}

} // namespace

bool CanConvert(pbInt from, pbInt to)
{
    return from == to || FilterBetween(from, to);
}

Converter::Converter(pbInt from, pbInt to)
    : from_(from), mult_(std::max<pbInt>(to / from, 1)), div_(std::max<pbInt>(from / to, 1)),
      level_(pcm::DecibelFromGain(static_cast<pbReal>(mult_))),
      filter_(pcm::FilterCoefficients(*FilterBetween(from, to)), 1)
{
}

pcm::Packet Converter::Next(pcm::Packet pkt)
{
    if (!pkt && std::exchange(silent_, true)) // 20 ms of silence, and the filter remembers nothing else
        return {};
    if (pkt)
        silent_ = false;
    else
        pkt = Silence(from_ / kTicksPerSecond);
    if (mult_ > 1)
        pkt.FramesExtend(mult_);
    filter_.Write(pkt);
    auto converted = filter_.Read();
    if (div_ > 1)
        converted.FramesReduce(div_);
    else
        converted.LevelAdjust(level_); // the level was spread over the frames
    return converted;
}

Conference::Conference(std::vector<Party> parties, pbInt rate)
{
    BusOf(rate ? rate : parties.front().Format().rate);
    for (auto &party : parties) {
        const std::size_t bus = BusOf(party.Format().rate);
        ++buses_[bus].parties;
        members_.push_back({std::move(party), bus, {}, {}});
    }
    for (Bus &to : buses_)
        for (std::size_t from = 0; from < buses_.size(); ++from)
            if (&to != &buses_[from])
                to.inlets.push_back({from, Converter(buses_[from].rate, to.rate)});
}

std::size_t Conference::BusOf(pbInt rate)
{
    const auto found = std::ranges::find(buses_, rate, &Bus::rate);
    if (found != buses_.end())
        return static_cast<std::size_t>(found - buses_.begin());
    buses_.push_back({rate, Silence(rate / kTicksPerSecond), {}, {}, {}, {}, 0});
    return buses_.size() - 1;
}

/**
   What a party hears is the sum of all minus its own voice: one addition and one subtraction for each party, where
   adding up the others for each would take as many as there are others.

   That nothing of its own voice stays behind: what G.711 and L16 decode to are whole multiples of 2^-15 in [-1, 1], and
   single precision holds all such multiples up to 512. So as long as a bus has at most 512 parties, none at a level of
   its own, its sum is exact in any order, and so is the difference. Otherwise, and where a filter has added other
   buses, an operation rounds by at most 2^-24 of its result: for a sum at full scale by less than a thousandth of a
   step of 16 bits, and for one that a level has raised by 40 dB by an eighth. NaN and infinity do not come in these
   formats.

   A sum beyond full scale is not clamped, or a loud voice would be heard again where it is taken away; encoding
   saturates.
*/
void Conference::Tick()
{
    for (Bus &bus : buses_)
        bus.sum = bus.others = {};
    for (Member &member : members_) {
        member.said = member.party.Play();
        Add(&buses_[member.bus].sum, member.said);
        while (const auto digit = member.party.TakeDigit())
            for (Member &other : members_)
                if (&other != &member)
                    other.party.SendDigit(*digit);
    }
    for (Bus &bus : buses_) {
        for (Inlet &inlet : bus.inlets)
            Add(&bus.others, inlet.converter.Next(buses_[inlet.bus].sum));
        bus.heard = bus.Joined(bus.parties > 1 ? bus.sum : pcm::Packet());
    }
    for (Member &member : members_) {
        const Bus &bus = buses_[member.bus];
        pcm::Packet heard = bus.heard; // shared by all who say nothing
        if (member.said && bus.parties > 1)
            Combine(&heard, member.said, std::minus<PCM_SAMPLE>());
        member.party.Send(heard, &member.outgoing);
    }
}

pcm::Packet Conference::Bus::Joined(pcm::Packet own) const
{
    Add(&own, others);
    return own ? own : silence;
}
