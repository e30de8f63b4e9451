#include "party.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <random>
#include <utility>

namespace {

constexpr pbInt kLongest = 200;    // ms in a packet that one should accept (RFC 3551, section 4.2)
constexpr pbInt kMostEarly = 1000; // ms before its time, beyond the delay, as of a sender that reads a file in blocks
constexpr pbInt kFirstDelay = 60;  // ms that the first packet waits, before anything is known of the jitter
constexpr pbInt kMargin = 5;       // ms by which the latest packet should come too early
constexpr std::size_t kMostWaiting = 128; // packets
constexpr pbInt kReplaceable = 10;        // ticks without a packet after which another source takes the party's place
constexpr pbInt kMostOutOfStep = 5;       // packets in a row, after which the source begins anew
constexpr pbInt kPause = 3;               // ticks without audio after which the position is free
constexpr std::size_t kMostBytes = 1440;  // of payload, so that a datagram fits a frame of Ethernet
constexpr pbInt kShortestDigit = 3, kBetweenDigits = 3; // ticks of its sound, and of the silence after it
constexpr double kSilence = 1e-5;                       // power: -50 dB
constexpr double kAlike = 0.7;                          // likeness of periods of a voice
constexpr double kNoiseLevel = 4.77; // dB by which the library's noise, uniform, is softer than a square wave

pcm::Packet Silence(pbInt frames)
{
    pcm::Packet silence(1);
    silence.AppendZero(frames);
    return silence;
}

/// As if it had come as 16 bits, so that sums of it are exact (conference.cpp).
pcm::Packet Of16Bits(const pcm::Packet &pkt)
{
    return pcm::Packet::TryDecode(pkt.Encode(kL16), kL16, 1);
}

/// White noise at a level in decibels below the loudest square wave (RFC 3389).
pcm::Packet Noise(pbInt frames, int level)
{
    auto noise = pcm::NoiseGather(frames);
    noise.LevelAdjust(kNoiseLevel - level);
    return Of16Bits(noise);
}

/// The last frames of a packet, to be changed.
std::span<PCM_SAMPLE> Last(pcm::Packet *pkt, pbInt frames)
{
    return pkt->MutableSamples().last(static_cast<std::size_t>(frames));
}

/// The mean square.
double PowerOf(std::span<const PCM_SAMPLE> samples)
{
    std::array<float, 8> sums{}; // separate ones, which the compiler computes in a vector
    std::size_t i = 0;
    for (; i + sums.size() <= samples.size(); i += sums.size())
        for (std::size_t lane = 0; lane < sums.size(); ++lane)
            sums[lane] += samples[i + lane] * samples[i + lane];
    return std::accumulate(sums.begin(), sums.end(), 0.0) / static_cast<double>(std::max<std::size_t>(i, 1));
}

/// How similar a stretch is to the one `lag` frames later: 1 when they differ in level only.
double Likeness(std::span<const PCM_SAMPLE> samples, std::size_t lag, std::size_t length, std::size_t step)
{
    double product = 0, first = 0, second = 0;
    for (std::size_t i = 0; i < length; i += step) {
        const double a = samples[i], b = samples[i + lag];
        product += a * b;
        first += a * a;
        second += b * b;
    }
    return first * second > 0 ? product / std::sqrt(first * second) : 0;
}

/// How a stream is made shorter or longer within a block: it goes over from itself to itself some frames earlier or
/// later, within a quarter of the block.
void FadeOver(std::span<PCM_SAMPLE> to, std::span<const PCM_SAMPLE> from)
{
    for (std::size_t i = 0; i < to.size(); ++i)
        to[i] = from[i] + (to[i] - from[i]) * (static_cast<PCM_SAMPLE>(i) + 1) / static_cast<PCM_SAMPLE>(to.size() + 1);
}

} // namespace

void Outgoing::Add(const RtpHeader &header, std::span<const std::byte> payload)
{
    const auto first = RtpHeaderBytes(header);
    bytes_.insert(bytes_.end(), first.begin(), first.end());
    bytes_.insert(bytes_.end(), payload.begin(), payload.end());
    ends_.push_back(bytes_.size());
}

void Leads::Add(double lead, pbInt tick)
{
    constexpr std::size_t kSeconds = 15;
    if (!Any() || tick - extremes_.back().begun >= kTicksPerSecond) {
        extremes_.push_back({tick, lead, lead});
        if (extremes_.size() > kSeconds)
            extremes_.pop_front();
        least_ = std::ranges::min(extremes_, {}, &Extremes::least).least;
        greatest_ = std::ranges::max(extremes_, {}, &Extremes::greatest).greatest;
        if (extremes_.size() == 1)
            average_ = lead;
    }
    extremes_.back().least = std::min(extremes_.back().least, lead);
    extremes_.back().greatest = std::max(extremes_.back().greatest, lead);
    least_ = std::min(least_, lead);
    greatest_ = std::max(greatest_, lead);
    average_ += (lead - average_) / kTicksPerSecond;
}

Party::Party(const RtpFormat &format, const PartyOptions &options) : format_(format), options_(options)
{
    std::random_device random; // where a stream begins is not to be guessed (RFC 3550, section 5.1)
    next_ = {static_cast<std::uint8_t>(format.payloadType), static_cast<std::uint16_t>(random()), random(), random()};
    const auto tenth = static_cast<std::size_t>(FramesOf(10) * format.encoding.SizeofSample());
    packetBytes_ =
        tenth * std::clamp<std::size_t>(kMostBytes / tenth, 1, static_cast<std::size_t>(options.packetTime / 10));
}

pbInt Party::Unwrapped(std::uint32_t timestamp) const
{
    return position_ + static_cast<std::int32_t>(timestamp - static_cast<std::uint32_t>(position_));
}

RtpSource::Verdict Party::Identify(const RtpHeader &header)
{
    if (source_ && header.source == source_->Id())
        return source_->Take(header.sequence);
    if (!candidate_ || header.source != candidate_->Id()) {
        candidate_.emplace(header.source, static_cast<std::uint16_t>(header.sequence + 1));
        return RtpSource::Verdict::kRefused;
    }
    if (candidate_->Take(header.sequence) == RtpSource::Verdict::kRefused || (source_ && sourceQuiet_ < kReplaceable))
        return RtpSource::Verdict::kRefused;
    if (source_) {
        receivedBefore_ += source_->Received();
        lostBefore_ += source_->Lost();
    }
    source_.emplace(header.source, header.sequence);
    candidate_.reset();
    return source_->Take(header.sequence);
}

bool Party::Receive(std::span<const std::byte> datagram, Seconds arrival)
{
    const auto rtp = ParseRtp(datagram);
    const auto verdict = rtp ? Identify(rtp->header) : RtpSource::Verdict::kRefused;
    if (verdict == RtpSource::Verdict::kRefused) {
        ++counts_.refused;
        return false;
    }
    quiet_ = sourceQuiet_ = 0;
    if (verdict == RtpSource::Verdict::kBegun)
        started_ = false;
    bool known = true;
    if (verdict == RtpSource::Verdict::kDuplicate)
        ++counts_.duplicates;
    else if (rtp->header.payloadType == format_.payloadType)
        known = TakeAudio(*rtp, arrival);
    else if (rtp->header.payloadType == options_.eventType)
        known = TakeEvent(*rtp);
    else if (rtp->header.payloadType == kComfortNoise && !rtp->payload.empty())
        TakePause(rtp->header, std::to_integer<int>(rtp->payload.front()) & 0x7F);
    else
        known = false;
    counts_.refused += !known;
    return true;
}

/// The lead that the position should have: so that the latest packet comes a margin and a tick before it is played, for
/// a block is played at once; and within the bounds of the delay, which count from the packet that comes first.
double Party::Aim() const
{
    const auto frames = [&](pbInt milliseconds) { return static_cast<double>(FramesOf(milliseconds)); };
    const pbInt least =
        leads_.Settled() ? options_.leastDelay : std::clamp(kFirstDelay, options_.leastDelay, options_.mostDelay);
    return std::clamp(leads_.Least() - static_cast<double>(Frames()) - frames(kMargin),
                      leads_.Greatest() - frames(options_.mostDelay), leads_.Greatest() - frames(least));
}

/// Moves the position so that a packet that begins here is played when it should be. It is played as a block of its
/// own.
void Party::StartAt(pbInt begin)
{
    const pbInt wait = begin - ticks_ * Frames() - static_cast<pbInt>(std::floor(Aim()));
    position_ = begin - std::max<pbInt>((wait + Frames() - 1) / Frames(), 0) * Frames();
    concealment_.reset();
}

bool Party::TakeAudio(const RtpPacket &rtp, Seconds arrival)
{
    const auto most = static_cast<std::size_t>(FramesOf(kLongest) * format_.encoding.SizeofSample());
    pcm::Packet pkt;
    if (!rtp.payload.empty() && rtp.payload.size() <= most)
        pkt = pcm::Packet::TryDecode(pcm::Buffer(rtp.payload), format_.encoding, 1);
    if (!pkt) // also where the payload is no whole number of samples
        return false;

    if (!started_)
        position_ = played_ = rtp.header.timestamp;
    const pbInt begin = Unwrapped(rtp.header.timestamp);
    const double lead = static_cast<double>(begin) - arrival * static_cast<double>(format_.rate);
    const pbInt early = begin - position_;
    // Late, though nothing that comes after it has been played: then there is only more delay.
    const bool held = early < 0 && begin >= played_ &&
                      leads_.Greatest() - static_cast<double>(begin - ticks_ * Frames()) <=
                          static_cast<double>(FramesOf(options_.mostDelay));
    if (started_ && (early > FramesOf(options_.mostDelay + kMostEarly) || (!held && early + pkt.Frames() <= 0))) {
        counts_.late += early < 0;
        counts_.refused += early > 0;
        if (++outOfStep_ < kMostOutOfStep) {
            if (early < 0)
                leads_.Add(lead, ticks_); // so that those after it wait longer
            return true;
        }
        started_ = false;
        position_ = played_ = begin;
    }
    if (!started_) {
        waiting_.clear();
        leads_ = {};
        noise_.reset();
        paused_ = false;
    }
    outOfStep_ = 0;
    leads_.Add(lead, ticks_);
    source_->TakeLead(lead);
    if (!started_ || (waiting_.empty() && silent_ >= kPause && begin >= played_))
        StartAt(begin);
    else if (held)
        position_ = begin;
    started_ = true;
    Insert({begin, std::move(pkt), {}});
    return true;
}

void Party::Insert(Waiting waiting)
{
    auto at = waiting_.end();
    while (at != waiting_.begin() && std::prev(at)->begin > waiting.begin)
        --at;
    waiting_.insert(at, std::move(waiting));
    if (waiting_.size() > kMostWaiting)
        waiting_.erase(waiting_.begin());
}

void Party::TakePause(const RtpHeader &header, std::optional<int> noise)
{
    if (started_)
        Insert({Unwrapped(header.timestamp), {}, noise});
}

bool Party::TakeEvent(const RtpPacket &rtp)
{
    const auto event = ParseEvent(rtp.payload);
    if (!event)
        return false;
    const std::uint32_t timestamp = rtp.header.timestamp;
    if (!event_ || timestamp != event_->timestamp) {
        if (event_ && static_cast<std::int32_t>(timestamp - event_->timestamp) < 0)
            return true; // it belongs to an earlier one
        // A long press comes in segments, each of which begins where the one before ended.
        const bool goesOn = event_ && !event_->done && event->code == event_->last.code &&
                            timestamp - event_->timestamp == event_->last.duration;
        if (event_ && !goesOn)
            FinishEvent();
        const pbInt before = goesOn ? event_->before + event_->last.duration : 0;
        event_ = Event{timestamp, *event, before, 0, false};
        TakePause(rtp.header, std::nullopt);
    }
    event_->quiet = 0;
    event_->last.duration = std::max(event_->last.duration, event->duration);
    if (event->end)
        FinishEvent();
    return true;
}

void Party::FinishEvent()
{
    constexpr std::size_t kMost = 32; // that wait
    if (std::exchange(event_->done, true) || pressed_.size() >= kMost)
        return;
    const auto duration = Milliseconds(static_cast<double>(event_->before + event_->last.duration));
    pressed_.push_back({event_->last.code, event_->last.volume, static_cast<pbInt>(duration)});
}

/// Whether the next `frames` to be played have come.
bool Party::Has(pbInt frames) const
{
    pbInt until = position_;
    for (const Waiting &waiting : waiting_)
        if (waiting.pkt && waiting.begin <= until)
            until = std::max(until, waiting.End());
    return until >= position_ + frames;
}

/// The next `frames` from the position on: what has come, and what fills the gaps between. Advances the position.
pcm::Packet Party::Take(pbInt frames)
{
    const pbInt end = position_ + frames;
    pcm::Packet block;
    auto next = waiting_.begin();
    for (; next != waiting_.end() && next->begin < end; ++next) {
        if (!next->pkt) {
            paused_ = true;
            noise_ = next->noise;
            concealment_.reset();
            continue;
        }
        const pbInt from = std::max(next->begin, position_), until = std::min(next->End(), end);
        if (from < until) {
            if (from > position_)
                Fill(&block, from - position_);
            Hear(&block, *next, from, until);
        }
        if (next->End() > end)
            break;
    }
    waiting_.erase(waiting_.begin(), next);
    if (position_ < end)
        Fill(&block, end - position_);
    return block;
}

/// Adds frames of a packet that waits to the block. As nearly always, the block is the packet, and nothing is copied.
void Party::Hear(pcm::Packet *block, Waiting &waiting, pbInt from, pbInt until)
{
    const pbInt frames = until - from;
    if (!*block && frames == Frames() && frames == waiting.pkt.Frames()) {
        *block = std::move(waiting.pkt);
    } else {
        if (!*block)
            *block = pcm::Packet(1);
        block->AppendInner(waiting.pkt, from - waiting.begin, frames);
    }
    if (concealment_)
        concealment_->Hear(Last(block, frames));
    concealment_.reset();
    paused_ = false;
    silent_ = 0;
    position_ = played_ = until;
}

/// Fills a gap of the block: with the pause's noise, with what conceals a loss, or, when there has been no audio for a
/// while, with silence, of which a whole block is an empty handle.
void Party::Fill(pcm::Packet *block, pbInt frames)
{
    position_ += frames;
    if (!paused_ && !concealment_ && last_[1]) {
        concealment_.emplace(format_.rate);
        for (pcm::Packet heard : {last_[0], last_[1], *block})
            if (heard)
                concealment_->Hear(heard.MutableSamples());
    }
    const bool concealed = concealment_ && !concealment_->Silent();
    if (!*block && !concealed && !(paused_ && noise_)) {
        if (frames < Frames())
            *block = Silence(frames);
        return;
    }
    if (!*block)
        *block = pcm::Packet(1);
    if (paused_ && noise_) {
        block->Append(Noise(frames, *noise_));
        return;
    }
    block->AppendZero(frames);
    if (concealed) {
        concealment_->Fill(Last(block, frames));
        counts_.concealed += frames;
    }
}

/// The next block made shorter or longer, where the position is not where it should be: in a pause by what it takes, in
/// speech by what looks most like one period of the voice or several. Nothing where it is better left as it is.
pcm::Packet Party::Corrected()
{
    const pbInt frames = Frames(), shortest = frames / 8, longest = frames / 8 * 5; // 2.5 and 12.5 ms
    if (!leads_.Any())
        return {};
    const pbInt surplus = static_cast<pbInt>(std::floor(Aim())) - (position_ - ticks_ * frames); // of frames that wait
    const bool shorter = surplus > frames / 2, urgent = surplus < -frames / 2;
    if ((!shorter && surplus > -frames / 16) || (shorter && !leads_.Settled()) ||
        (!urgent && (ticks_ + next_.source) % (kTicksPerSecond / 5) != 0) || !Has(shorter ? frames + longest : frames))
        return {};
    pcm::Packet pkt(1);
    for (const Waiting &waiting : waiting_) {
        const pbInt from = position_ + pkt.Frames(), until = position_ + frames + (shorter ? longest : 0);
        if (waiting.pkt && waiting.begin <= from && from < std::min(waiting.End(), until))
            pkt.AppendInner(waiting.pkt, from - waiting.begin, std::min(waiting.End(), until) - from);
    }
    const auto samples = pkt.Samples();
    pbInt lag = std::clamp(std::abs(surplus), shortest, longest);
    if (PowerOf(samples) > std::max(kSilence, loud_ / 100)) {
        if (surplus > -frames / 8 && surplus < frames + frames / 4)
            return {};
        const auto step = std::max<pbInt>(format_.rate / 8000, 1);
        double best = -1;
        for (pbInt candidate = shortest; candidate <= longest; candidate += step) {
            const double likeness =
                Likeness(samples, static_cast<std::size_t>(candidate), static_cast<std::size_t>(frames - longest),
                         static_cast<std::size_t>(step));
            if (likeness > best) {
                best = likeness;
                lag = candidate;
            }
        }
        if (best < kAlike && !urgent && surplus < 2 * frames)
            return {};
    }
    pcm::Packet block(1);
    if (shorter)
        block.AppendInner(pkt, lag, frames);
    else {
        block.AppendInner(pkt, 0, lag);
        block.AppendInner(pkt, 0, frames - lag);
    }
    const auto at = static_cast<std::size_t>(shorter ? 0 : lag), fade = static_cast<std::size_t>(frames / 4);
    FadeOver(block.MutableSamples().subspan(at, fade), samples.subspan(at, fade));
    position_ = played_ = position_ + frames + (shorter ? lag : -lag);
    std::erase_if(waiting_, [&](const Waiting &waiting) { return waiting.pkt && waiting.End() <= position_; });
    counts_.corrected += lag;
    silent_ = 0;
    return Of16Bits(block);
}

pcm::Packet Party::Play()
{
    ++silent_;
    pcm::Packet block = Corrected();
    if (!block)
        block = Take(Frames());
    last_ = {std::move(last_[1]), block};
    const double power = block ? PowerOf(block.Samples()) : 0;
    power_ += (power - power_) / 16;
    loud_ = std::max(power, loud_ * 0.998);
    ++ticks_;
    ++quiet_;
    ++sourceQuiet_;
    if (event_ && !event_->done && ++event_->quiet > kTicksPerSecond / 10) // its end is lost
        FinishEvent();
    if (options_.digits == Digits::kTones && !pressed_.empty())
        block = PlayDigit();
    if (block && options_.level != 0.0)
        block.LevelAdjust(options_.level);
    return block;
}

std::optional<Digit> Party::TakeDigit()
{
    if (options_.digits != Digits::kEvents || pressed_.empty())
        return std::nullopt;
    const Digit digit = pressed_.front();
    pressed_.pop_front();
    return digit;
}

/// The next 20 ms of the first digit, as two tones (ITU-T Q.23), or of the silence after it. The tones are made at a
/// multiple of the rate, where their periods are whole numbers of frames within half a percent.
pcm::Packet Party::PlayDigit()
{
    constexpr pbInt kRows[] = {697, 770, 852, 941}, kColumns[] = {1209, 1336, 1477, 1633};
    constexpr int kKeys[] = {13, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 14, 3, 7, 11, 15}; // of a code: four keys in each row
    const Digit &digit = pressed_.front();
    const pbInt multiple = (200000 + format_.rate - 1) / format_.rate;
    if (digitTicks_ == 0 && digit.code < std::size(kKeys)) {
        const pbInt row = kRows[kKeys[digit.code] / 4], column = kColumns[kKeys[digit.code] % 4];
        tones_ = {pcm::Tone(pbRealToInt(static_cast<pbReal>(format_.rate * multiple) / static_cast<pbReal>(row))),
                  pcm::Tone(pbRealToInt(static_cast<pbReal>(format_.rate * multiple) / static_cast<pbReal>(column)))};
    }
    const pbInt sounds = std::max(kShortestDigit, digit.milliseconds * kTicksPerSecond / 1000);
    pcm::Packet block;
    if (digitTicks_++ < sounds && digit.code < std::size(kKeys)) {
        block = pcm::DualToneGather((*tones_)[0], (*tones_)[1], Frames() * multiple);
        block.FramesReduce(multiple);
        block.LevelAdjust(-static_cast<pbReal>(digit.volume));
        block = Of16Bits(block);
    }
    if (digitTicks_ >= sounds + kBetweenDigits) {
        pressed_.pop_front();
        digitTicks_ = 0;
    }
    return block;
}

void Party::Send(const pcm::Packet &heard, Outgoing *outgoing)
{
    outgoing->Clear();
    SendEvent(outgoing);
    const auto payload = heard.Encode(format_.encoding);
    const auto add = [&](std::span<const std::byte> bytes) {
        outgoing->Add(next_, bytes);
        ++next_.sequence;
        next_.timestamp += static_cast<std::uint32_t>(pcm::Size(bytes) / format_.encoding.SizeofSample());
        ++packetsSent_;
        bytesSent_ += pcm::Size(bytes);
    };
    if (pending_.empty() && payload.Bytes().size() == packetBytes_)
        return add(payload.Bytes());
    pending_.insert(pending_.end(), payload.Bytes().begin(), payload.Bytes().end());
    std::span<const std::byte> rest(pending_);
    for (; rest.size() >= packetBytes_; rest = rest.subspan(packetBytes_))
        add(rest.first(packetBytes_));
    pending_.erase(pending_.begin(), pending_.end() - pcm::Size(rest));
}

/// An event's packets, beside the audio: one in each tick while it lasts, the last one three times (RFC 4733, 2.5.1).
void Party::SendEvent(Outgoing *outgoing)
{
    constexpr pbInt kAgain = 2;
    if (toSend_.empty())
        return;
    const Digit &digit = toSend_.front();
    const pbInt ticks = std::max(kShortestDigit, digit.milliseconds * kTicksPerSecond / 1000);
    if (sentTicks_ == 0)
        eventTimestamp_ = next_.timestamp +
                          static_cast<std::uint32_t>(pcm::Size(std::span(pending_)) / format_.encoding.SizeofSample());
    if (sentTicks_++ < ticks + kAgain) {
        const pbInt duration = std::min(std::min(sentTicks_, ticks) * Frames(), pbInt{0xFFFF});
        const TelephoneEvent event{digit.code, sentTicks_ >= ticks, digit.volume, static_cast<std::uint16_t>(duration)};
        outgoing->Add({static_cast<std::uint8_t>(options_.eventType), next_.sequence++, eventTimestamp_, next_.source,
                       sentTicks_ == 1},
                      EventBytes(event));
        ++packetsSent_;
        bytesSent_ += 4;
    }
    if (sentTicks_ >= ticks + kAgain + kBetweenDigits) {
        toSend_.pop_front();
        sentTicks_ = 0;
    }
}

Datagram Party::Report(std::uint64_t ntp, bool last)
{
    Rtcp report;
    report.from = next_.source;
    report.sent = {ntp, next_.timestamp, static_cast<std::uint32_t>(packetsSent_),
                   static_cast<std::uint32_t>(bytesSent_)};
    if (source_) {
        ReportBlock block = source_->Report();
        block.lastReport = lastReport_;
        if (lastReport_)
            block.sinceThen = static_cast<std::uint32_t>((ntp - lastReportCame_) >> 16);
        report.blocks.push_back(block);
    }
    if (last)
        report.gone.push_back(next_.source);
    char name[9];
    std::snprintf(name, sizeof name, "%08x", static_cast<unsigned>(next_.source));
    return RtcpBytes(report, name);
}

bool Party::ReceiveReport(std::span<const std::byte> datagram, std::uint64_t ntp)
{
    const auto report = ParseRtcp(datagram);
    if (!report)
        return false;
    quiet_ = 0;
    reports_ = report->gone.empty();
    if (source_ && report->from == source_->Id() && report->sent) {
        lastReport_ = static_cast<std::uint32_t>(report->sent->ntp >> 16);
        lastReportCame_ = ntp;
    }
    if (source_ && std::ranges::find(report->gone, source_->Id()) != report->gone.end())
        sourceQuiet_ = kReplaceable;
    for (const ReportBlock &block : report->blocks)
        if (block.source == next_.source) {
            counts_.peerLost = block.fraction / 256.0;
            counts_.peerJitter = Milliseconds(block.jitter);
            const auto trip =
                static_cast<std::int32_t>(static_cast<std::uint32_t>(ntp >> 16) - block.lastReport - block.sinceThen);
            if (block.lastReport && trip >= 0)
                counts_.roundTrip = trip * 1000 / 0x1p16;
        }
    return true;
}

Statistics Party::Count() const
{
    Statistics counts = counts_;
    counts.received = receivedBefore_;
    counts.lost = lostBefore_;
    if (source_) {
        counts.received += source_->Received();
        counts.lost += source_->Lost();
        counts.jitter = Milliseconds(source_->Jitter());
    }
    if (leads_.Any()) {
        counts.delay = Milliseconds(leads_.Average() - static_cast<double>(position_ - ticks_ * Frames()));
        counts.aim = Milliseconds(leads_.Average() - Aim());
    }
    counts.level = pcm::DecibelFromGain(std::sqrt(std::max(power_, 1e-20)));
    return counts;
}
