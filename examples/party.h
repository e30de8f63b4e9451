// A party of the conference: puts its packets in order and into time, conceals what is missing, and makes the packets
// that are sent to it.
//
// The two clocks. A party's timestamps count frames of its own clock, which runs a little faster or slower than ours.
// What is played of it is at `position_`, which goes on by 20 ms with each tick. How early a packet comes is its lead:
// its timestamp minus the time of its arrival on our clock. Leads wander with the two clocks and scatter with the
// network's jitter, so the least and the greatest lead of the last fifteen seconds say where the position should be: so
// that the latest packet is just in time, within the bounds that are set for the delay. In a pause the position is
// corrected at once, by dropping or repeating frames; in speech by one period of the voice at a time.
#pragma once

#include "concealment.h"
#include "rtp.h"

#include <pcm/pcm.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// How a party's audio travels, named as in SDP (RFC 3551).
struct RtpFormat {
    std::string_view name;
    pcm::Encoding encoding;
    pbInt rate;      ///< frames per second
    int payloadType; ///< kDynamic: as agreed
};

inline constexpr int kDynamic = -1;
inline constexpr PCM_ENCODING kL16 = PCM_ENCODING_INT_16 | PCM_ENCODING_BIG_ENDIAN;
inline constexpr RtpFormat kRtpFormats[] = {
    {"PCMU", PCM_ENCODING_G711_MULAW, 8000, 0},
    {"PCMA", PCM_ENCODING_G711_ALAW, 8000, 8},
    {"L16/8000", kL16, 8000, kDynamic},
    {"L16/16000", kL16, 16000, kDynamic},
    {"L16/44100", kL16, 44100, 11},
    {"L16/48000", kL16, 48000, kDynamic},
};
inline constexpr int kComfortNoise = 13; ///< payload type

inline constexpr pbInt kTicksPerSecond = 50; ///< a tick is 20 ms

/// What becomes of a party's telephone events.
enum class Digits {
    kTones,  ///< the others hear them
    kEvents, ///< the others are sent them
};

struct PartyOptions {
    pbInt leastDelay = 40, mostDelay = 400; ///< ms between a packet's arrival and when it is played
    pbReal level = 0;                       ///< dB
    pbInt packetTime = 20; ///< ms in a packet to the party, a multiple of 10; less where they get too long
    int eventType = 101;   ///< payload type of telephone events
    Digits digits = Digits::kTones;
};

/// A key that was pressed.
struct Digit {
    std::uint8_t code;   ///< as in TelephoneEvent
    std::uint8_t volume; ///< decibels below full scale
    pbInt milliseconds;
};

/// What has come from a party, and what it says has come from us.
struct Statistics {
    pbInt received = 0;                   ///< packets of its source; neither refused nor doubled ones
    pbInt lost = 0;                       ///< missing among the sequence numbers
    pbInt late = 0;                       ///< received after their time
    pbInt duplicates = 0;                 ///< came before
    pbInt refused = 0;                    ///< datagrams that are no packet of the party's, or of another source
    pbInt concealed = 0;                  ///< frames filled in where none had come
    pbInt corrected = 0;                  ///< frames dropped or repeated because of the clocks
    double jitter = 0;                    ///< ms, as in RFC 3550
    double delay = 0;                     ///< ms between arrival and play, on average
    double aim = 0;                       ///< ms; the delay that is aimed at
    double level = -200;                  ///< dB; root mean square of about the last second
    double peerLost = 0;                  ///< share of our packets since the last report, as the party says
    double peerJitter = 0, roundTrip = 0; ///< ms; 0: the party sends no reports
};

/// Datagrams of one tick, in memory that serves those of the next.
class Outgoing {
public:
    void Clear() { bytes_.clear(), ends_.clear(); }
    void Add(const RtpHeader &header, std::span<const std::byte> payload);
    std::size_t Size() const { return ends_.size(); }
    std::span<const std::byte> operator[](std::size_t i) const
    {
        const std::size_t begin = i ? ends_[i - 1] : 0;
        return std::span(bytes_).subspan(begin, ends_[i] - begin);
    }

private:
    Datagram bytes_;
    std::vector<std::size_t> ends_;
};

/// The least and the greatest lead of packets in about fifteen seconds.
class Leads {
public:
    void Add(double lead, pbInt tick);
    bool Any() const { return !extremes_.empty(); }
    bool Settled() const { return extremes_.size() > 1; } ///< whether there is more than a second of them
    double Least() const { return least_; }
    double Greatest() const { return greatest_; }
    double Average() const { return average_; } ///< of the last second

private:
    struct Extremes {
        pbInt begun; // tick
        double least, greatest;
    };
    std::deque<Extremes> extremes_; // of a second each, the newest last
    double least_ = 0, greatest_ = 0, average_ = 0;
};

class Party {
public:
    explicit Party(const RtpFormat &format, const PartyOptions &options = {});

    /**
       Takes a datagram of any bytes. A source is listened to when two of its packets have come in sequence, and another
       one when it has been quiet for 200 ms besides.

       @return whether the datagram is of the source that is listened to
    */
    bool Receive(std::span<const std::byte> datagram, Seconds arrival);

    /// Takes a datagram of RTCP. @param ntp  the time as in SenderReport. @return whether it is one
    bool ReceiveReport(std::span<const std::byte> datagram, std::uint64_t ntp);

    /// @return the next 20 ms; an empty handle where there is nothing but silence
    pcm::Packet Play();

    /// @return a key that was pressed; nothing but with Digits::kEvents, where each comes once
    std::optional<Digit> TakeDigit();
    void SendDigit(const Digit &digit) { toSend_.push_back(digit); }

    /// Makes what goes to the party in a tick of which it hears these 20 ms.
    void Send(const pcm::Packet &heard, Outgoing *outgoing);

    /// A report to the party. @param last  whether it is the last one
    Datagram Report(std::uint64_t ntp, bool last);

    const RtpFormat &Format() const { return format_; }
    pbInt Frames() const { return format_.rate / kTicksPerSecond; } ///< in 20 ms
    Statistics Count() const;
    pbInt Quiet() const { return quiet_; } ///< ticks since anything of it came; very many before the first
    /// Whether something has come in the last second or, as RTCP comes every five, in the last ten from who sends it.
    bool Present() const { return quiet_ < (reports_ ? 10 : 1) * kTicksPerSecond; }

private:
    struct Waiting {
        pbInt begin;              // on the scale of position_
        pcm::Packet pkt;          // empty: a pause begins
        std::optional<int> noise; // of the pause: -dB
        pbInt End() const { return pkt ? begin + pkt.Frames() : begin; }
    };
    struct Event {
        std::uint32_t timestamp;
        TelephoneEvent last;
        pbInt before; // frames of it in earlier segments
        pbInt quiet;  // ticks since its last packet
        bool done;
    };

    double Milliseconds(double frames) const { return frames * 1000 / static_cast<double>(format_.rate); }
    pbInt FramesOf(pbInt milliseconds) const { return milliseconds * format_.rate / 1000; }
    pbInt Unwrapped(std::uint32_t timestamp) const;
    RtpSource::Verdict Identify(const RtpHeader &header);
    bool TakeAudio(const RtpPacket &rtp, Seconds arrival);
    void TakePause(const RtpHeader &header, std::optional<int> noise);
    bool TakeEvent(const RtpPacket &rtp);
    void FinishEvent();
    void Insert(Waiting waiting);
    double Aim() const;
    void StartAt(pbInt begin);
    bool Has(pbInt frames) const;
    pcm::Packet Take(pbInt frames);
    void Hear(pcm::Packet *block, Waiting &waiting, pbInt from, pbInt until);
    void Fill(pcm::Packet *block, pbInt frames);
    pcm::Packet Corrected();
    pcm::Packet PlayDigit();
    void SendEvent(Outgoing *outgoing);

    RtpFormat format_;
    PartyOptions options_;

    // Who sends.
    std::optional<RtpSource> source_, candidate_;
    bool started_ = false; // whether audio of the source has come
    pbInt ticks_ = 0, quiet_ = pbInt{1} << 48, sourceQuiet_ = 0;
    pbInt receivedBefore_ = 0, lostBefore_ = 0; // of earlier sources
    Statistics counts_;

    // What waits to be played, and when.
    std::vector<Waiting> waiting_; // in the order of their frames
    pbInt position_ = 0;           // timestamp of what is played next, its wraps counted
    pbInt played_ = 0;             // the end of what was played last, on the same scale
    pbInt outOfStep_ = 0;          // packets in a row
    pbInt silent_ = 0;             // ticks since audio was played
    Leads leads_;
    std::optional<int> noise_; // -dB of the pause that there is
    bool paused_ = false;
    std::array<pcm::Packet, 2> last_; // blocks played, the newest last
    std::optional<Concealment> concealment_;
    double power_ = 0, loud_ = 0; // of about a second, and of its loudest blocks

    // Digits.
    std::optional<Event> event_;
    std::deque<Digit> pressed_, toSend_;
    pbInt digitTicks_ = 0, sentTicks_ = 0; // of the first in each
    std::optional<std::array<pcm::Tone, 2>> tones_;
    std::uint32_t eventTimestamp_ = 0;

    // What is sent.
    RtpHeader next_{};
    Datagram pending_; // encoded, of less than a packet
    std::size_t packetBytes_ = 0;
    pbInt packetsSent_ = 0, bytesSent_ = 0;
    bool reports_ = false;         // whether the party sends RTCP
    std::uint32_t lastReport_ = 0; // as in ReportBlock
    std::uint64_t lastReportCame_ = 0;
};
