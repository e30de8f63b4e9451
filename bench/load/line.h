// A line between a talker and the bridge in virtual time, with what clocks and networks do to it, and how what the
// others hear of it is judged. For the tests, for the table in docs/live.md and for its picture.
//
// The talker says a number that grows by one with each frame, as 16 bits. So every frame that is heard tells when it
// was said, and a frame that is not one more than the one before it is wrong: silent, concealed, or part of a
// correction.
#pragma once

#include "conference.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <queue>
#include <random>
#include <span>
#include <utility>
#include <vector>

/// What happens between a talker and the bridge. Rates are of packets of 20 ms.
struct Line {
    const char *name;
    double minutes = 2;
    double ppm = 0;    ///< by which the talker's clock is fast
    double jitter = 0; ///< ms; a packet takes up to so much longer than another, at random, and may overtake it
    double loss = 0;   ///< share of packets that get lost
    int burst = 1;     ///< packets that get lost at once
    double stall = 0;  ///< ms for which nothing comes, once in ten seconds; then it comes all at once
    double twice = 0;  ///< share of packets that come twice, the second time 30 ms later
    double talk = 0;   ///< s of a stretch of talk, and of the pause after it; 0: no pauses
    enum class Pause { kZeros, kNothing, kNoise } pause = Pause::kZeros;
    double second = 0;      ///< packets a second of another source
    double strays = 0;      ///< packets a second, each of a source of its own
    bool sine = false;      ///< whether the talker says a sine, and its steps tell whether there is a click
    double jump = 0;        ///< s after which sequence numbers and timestamps jump
    double wrong = 0.0005;  ///< what Heard::wrong may come to
    double spread = 40;     ///< ms that the latency may vary by
    double corrected = 1e9; ///< frames that may be left out or had twice
    double step = 1e9;      ///< what Heard::mostStep may come to
};

/// Of a sine: the height, in steps of 16 bits, and radians from frame to frame, which are its greatest step.
inline constexpr double kSineLevel = 16384, kSineTurn = 0.1117;

inline constexpr int kNoise = 60; ///< -dB, of the pauses of comfort noise

inline constexpr Line kLines[] = {
    {.name = "nothing happens"},
    {.name = "300 ppm slow", .minutes = 4, .ppm = -300},
    {.name = "300 ppm fast", .minutes = 4, .ppm = 300},
    // 8640 frames an hour is what it takes.
    {.name = "300 ppm slow, jitter 60 ms", .minutes = 60, .ppm = -300, .jitter = 60, .corrected = 9600},
    {.name = "300 ppm fast, jitter 60 ms", .minutes = 60, .ppm = 300, .jitter = 60, .corrected = 9600},
    {.name = "50 ppm slow, jitter 5 ms", .minutes = 4, .ppm = -50, .jitter = 5},
    {.name = "jitter 60 ms, speech and pauses", .minutes = 4, .ppm = 100, .jitter = 60, .talk = 1.5},
    {.name = "5 % lost", .minutes = 4, .jitter = 5, .loss = 0.05, .wrong = 0.056, .spread = 100},
    {.name = "5 % lost, three at once",
     .minutes = 4,
     .jitter = 5,
     .loss = 0.05,
     .burst = 3,
     .wrong = 0.056,
     .spread = 120},
    {.name = "150 ms of nothing every 10 s", .minutes = 4, .jitter = 5, .stall = 150, .wrong = 0.001, .spread = 150},
    {.name = "every tenth packet twice", .minutes = 4, .jitter = 20, .twice = 0.1},
    {.name = "pauses without packets",
     .minutes = 4,
     .ppm = 200,
     .jitter = 20,
     .talk = 1.5,
     .pause = Line::Pause::kNothing,
     .wrong = 0.003,
     .spread = 100},
    {.name = "pauses of comfort noise",
     .minutes = 4,
     .ppm = 200,
     .jitter = 20,
     .talk = 1.5,
     .pause = Line::Pause::kNoise,
     .wrong = 0.003,
     .spread = 2000},
    {.name = "a sine, 300 ppm slow",
     .minutes = 4,
     .ppm = -300,
     .sine = true,
     .wrong = 1,
     .spread = 1e9,
     .step = 1.1 * kSineLevel * kSineTurn},
    {.name = "a sine, 300 ppm fast",
     .minutes = 4,
     .ppm = 300,
     .sine = true,
     .wrong = 1,
     .spread = 1e9,
     .step = 1.1 * kSineLevel * kSineTurn},
    {.name = "a second source on the port", .minutes = 4, .jitter = 5, .second = 50},
    {.name = "a stray packet a second", .minutes = 4, .jitter = 5, .strays = 1},
    {.name = "20000 stray packets a second", .minutes = 0.3, .jitter = 5, .strays = 20000, .wrong = 0.002},
    {.name = "numbers that jump", .minutes = 1, .jitter = 5, .jump = 30, .wrong = 0.003, .spread = 60},
};

/// Parties of these of kRtpFormats, all with the same payload type.
inline constexpr std::uint8_t kType = 96;
inline Conference MakeCall(std::initializer_list<std::size_t> formats, const PartyOptions &options = {})
{
    std::vector<Party> parties;
    for (const std::size_t i : formats)
        parties.emplace_back(RtpFormat{"", kRtpFormats[i].encoding, kRtpFormats[i].rate, kType}, options);
    return Conference(std::move(parties), 0);
}

/// A datagram with this header and payload.
inline Datagram MakeDatagram(const RtpHeader &header, std::span<const std::byte> payload)
{
    const auto first = RtpHeaderBytes(header);
    Datagram datagram(first.begin(), first.end());
    datagram.insert(datagram.end(), payload.begin(), payload.end());
    return datagram;
}

struct Heard {
    double wrong =
        0; ///< share of frames that are said and not heard, or, without pauses, heard and not as they were said
    double wrongAtWorst = 0;                    ///< of those heard, in the worst ten seconds
    double leastLatency = 1e9, mostLatency = 0; ///< ms from when a frame is said to when the bridge sends it
    double mostOff = 0;                         ///< ms between the delay and its aim, at the worst of all seconds
    int mostStep = 0;                           ///< between frames that follow each other
    double noise = 0;                           ///< dB, in pauses of comfort noise
    Statistics counts;
    std::vector<double> latency; ///< ms, the mean of each second; 0: nothing was heard
};

/// Says what the first of two parties of L16/8000 says, and lets it come as the line has it.
class Talker {
public:
    Talker(const Line &line, std::uint32_t seed) : line_(line), rate_(8000 * (1 + line.ppm * 1e-6)), engine_(seed) {}

    double Rate() const { return rate_; } ///< frames per second of our clock

    /// Says everything until now and receives what has come. @return frames said, pauses left out
    pbInt Until(Seconds now, Conference &conference)
    {
        pbInt said = 0;
        for (; static_cast<double>((packets_ + 1) * kBlock) / rate_ <= now; ++packets_)
            said += Say(static_cast<double>((packets_ + 1) * kBlock) / rate_) ? kBlock : 0;
        for (; line_.second && second_ <= now; second_ += 1 / line_.second) {
            const auto number = static_cast<std::uint32_t>(std::lrint(second_ * line_.second));
            Send(second_, {kType, static_cast<std::uint16_t>(number), number * std::uint32_t{kBlock}, 8}, kOther);
        }
        for (; line_.strays && stray_ <= now; stray_ += 1 / line_.strays) {
            const auto any = static_cast<std::uint32_t>(engine_());
            Send(stray_, {kType, static_cast<std::uint16_t>(any), any, any}, kOther);
        }
        for (; !coming_.empty() && coming_.top().time <= now; coming_.pop())
            conference.Receive(0, coming_.top().datagram, coming_.top().time);
        return said;
    }

private:
    static constexpr pbInt kBlock = 160;
    inline static const Datagram kOther = Datagram(2 * kBlock, std::byte{9});
    struct Coming {
        Seconds time;
        Datagram datagram;
        bool operator<(const Coming &other) const { return time > other.time; } // the top is the earliest
    };

    bool Chance(double share) { return engine_() / 0x1p32 < share; }
    void Send(Seconds time, const RtpHeader &header, std::span<const std::byte> payload)
    {
        coming_.push({time, MakeDatagram(header, payload)});
    }

    Datagram Payload(bool pause) const
    {
        Datagram payload;
        for (pbInt frame = packets_ * kBlock; frame < (packets_ + 1) * kBlock; ++frame) {
            const double sine = kSineLevel * std::sin(kSineTurn * static_cast<double>(frame));
            const auto number = static_cast<std::uint16_t>(pause ? 0 : line_.sine ? std::lrint(sine) : frame);
            payload.insert(payload.end(), {std::byte(number >> 8), std::byte(number & 0xFF)});
        }
        return payload;
    }

    /// One packet. @param spoken  when its last frame has been said. @return whether it is no pause
    bool Say(Seconds spoken)
    {
        const bool pause = line_.talk && std::fmod(spoken, 2 * line_.talk) > line_.talk;
        if (pause && line_.pause == Line::Pause::kNothing)
            return false;
        const bool noise = pause && line_.pause == Line::Pause::kNoise, jumped = line_.jump && spoken >= line_.jump;
        const RtpHeader header{noise ? std::uint8_t{kComfortNoise} : kType,
                               static_cast<std::uint16_t>(sequence_++ + jumped * 20000),
                               static_cast<std::uint32_t>(packets_ * kBlock - 9999 + jumped * 123456789), 7};
        if (!toLose_ && Chance(line_.loss / line_.burst))
            toLose_ = line_.burst;
        if (toLose_) {
            --toLose_;
            return !pause;
        }
        const Datagram payload = noise ? Datagram{std::byte{kNoise}} : Payload(pause);
        Seconds time = spoken + 0.02 + line_.jitter * 1e-3 * (engine_() / 0x1p32);
        if (const double since = std::fmod(time, 10.0); since < line_.stall * 1e-3)
            time += line_.stall * 1e-3 - since;
        Send(time, header, payload);
        if (Chance(line_.twice))
            Send(time + 0.03, header, payload);
        return !pause;
    }

    const Line &line_;
    double rate_;
    std::mt19937 engine_;
    std::priority_queue<Coming> coming_;
    pbInt packets_ = 0;
    std::uint16_t sequence_ = 65000;
    int toLose_ = 0;
    Seconds second_ = 5, stray_ = 5;
};

/// Lets the first of two parties talk over the line, and judges what the second hears.
inline Heard Listen(const Line &line, Conference &conference)
{
    constexpr pbInt kSettling = 2 * kTicksPerSecond, kSpan = 10 * kTicksPerSecond; // ticks
    constexpr pbInt kRun = 16; // right frames after which one is taken as heard in its place, and not by chance
    Talker talker(line, 1);
    Heard heard;
    pbInt said = 0, right = 0, wrong = 0, wrongInSpan = 0, run = 0, last = 0, inSecond = 0;
    double latencies = 0, noise = 0; // ms of a second; of noise, the sum of the squares
    pbInt noiseFrames = 0;
    std::int16_t before = 0;
    const auto ticks = static_cast<pbInt>(line.minutes * 60 * kTicksPerSecond);
    for (pbInt tick = 0; tick < ticks; ++tick) {
        const Seconds now = static_cast<double>(tick) / kTicksPerSecond;
        const pbInt more = talker.Until(now, conference);
        conference.Tick();
        if (tick % kTicksPerSecond == 0) {
            heard.latency.push_back(inSecond ? latencies / static_cast<double>(inSecond) : 0);
            latencies = 0;
            inSecond = 0;
        }
        const auto bytes = conference.ToParty(1)[0].subspan(kRtpHeaderBytes);
        for (std::size_t i = 0; tick >= kSettling && i < bytes.size() / 2; ++i) {
            const auto number = static_cast<std::int16_t>(std::to_integer<int>(bytes[2 * i]) << 8 |
                                                          std::to_integer<int>(bytes[2 * i + 1]));
            if (tick > kSettling)
                heard.mostStep = std::max(heard.mostStep, std::abs(number - before));
            const bool next = number == static_cast<std::int16_t>(before + 1);
            before = number;
            const double sinceTalk = line.talk ? std::fmod(now, 2 * line.talk) - line.talk : 0;
            if (line.pause == Line::Pause::kNoise && sinceTalk > line.talk / 2) {
                noise += static_cast<double>(number) * number;
                ++noiseFrames;
            }
            run = next ? run + 1 : 0;
            wrong += !next;
            wrongInSpan += !next;
            if (!next)
                continue;
            const auto latest = static_cast<pbInt>(now * talker.Rate()); // that can have been said
            const pbInt frame = latest - static_cast<std::uint16_t>(latest - number);
            right += frame > last;
            last = std::max(last, frame);
            if (run < kRun)
                continue;
            const double latency =
                1000 * (now + static_cast<double>(i) / 8000 - static_cast<double>(frame) / talker.Rate());
            heard.leastLatency = std::min(heard.leastLatency, latency);
            heard.mostLatency = std::max(heard.mostLatency, latency);
            latencies += latency;
            ++inSecond;
        }
        if (tick < kSettling)
            continue;
        said += more;
        if (tick % kSpan == 0)
            heard.wrongAtWorst =
                std::max(heard.wrongAtWorst, static_cast<double>(std::exchange(wrongInSpan, 0)) / (kSpan * 160));
        if (tick % kTicksPerSecond == 0 && tick > 15 * kTicksPerSecond) {
            const Statistics counts = conference.At(0).Count();
            heard.mostOff = std::max(heard.mostOff, std::fabs(counts.delay - counts.aim));
        }
    }
    heard.wrong = static_cast<double>(std::max(said - right, line.talk ? 0 : wrong)) / static_cast<double>(said);
    if (noiseFrames)
        heard.noise = 10 * std::log10(noise / static_cast<double>(noiseFrames) / 0x1p30);
    heard.counts = conference.At(0).Count();
    return heard;
}
