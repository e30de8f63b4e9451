// RTP (RFC 3550): reads and writes packets and reports, checks every length in them, and keeps account of a source:
// whether it is valid, how many of its packets are lost, and their jitter. Also the payloads of telephone events
// (RFC 4733) and comfort noise (RFC 3389).
//
// Why without a library. Those at hand (oRTP, re, GStreamer's) come as sessions with sockets, clocks, event loops and
// jitter buffers of their own. The bridge needs the parts between them: it reads a thousand sockets in one go, plays on
// one clock for all, changes the delay in pauses and by whole periods of the voice, and runs in virtual time in its
// tests, none of which a session lets go of. Of what is left, headers, reports and the estimates of RFC 3550's
// appendix A, a library saves less code than its set-up takes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Time since the conference began, in seconds.
using Seconds = double;
using Datagram = std::vector<std::byte>;

struct RtpHeader {
    std::uint8_t payloadType; ///< 0 to 127
    std::uint16_t sequence;   ///< one more with each packet
    std::uint32_t timestamp;  ///< of the first frame, in frames
    std::uint32_t source;     ///< the sender's number (SSRC)
    bool marker = false;      ///< the first packet after a pause, or of an event
};

struct RtpPacket {
    RtpHeader header;
    std::span<const std::byte> payload; ///< a part of the datagram, maybe none of it
};

inline constexpr std::size_t kRtpHeaderBytes = 12;

/// @return what the datagram holds; nothing when it is no RTP packet from end to end
std::optional<RtpPacket> ParseRtp(std::span<const std::byte> datagram);

/// The header of a packet without padding, extension and CSRCs.
std::array<std::byte, kRtpHeaderBytes> RtpHeaderBytes(const RtpHeader &header);

/// Whether a datagram is RTCP, and not RTP that came to the same port (RFC 5761, section 4).
bool IsRtcp(std::span<const std::byte> datagram);

/// A key or another event of the telephone network.
struct TelephoneEvent {
    std::uint8_t code;      ///< 0 to 9, 10 for *, 11 for #, 12 to 15 for A to D
    bool end;               ///< whether it is over
    std::uint8_t volume;    ///< decibels below full scale, 0 to 63
    std::uint16_t duration; ///< until now, in frames
};

std::optional<TelephoneEvent> ParseEvent(std::span<const std::byte> payload);
std::array<std::byte, 4> EventBytes(const TelephoneEvent &event);

/// What a receiver reports of a source.
struct ReportBlock {
    std::uint32_t source = 0;
    std::uint8_t fraction = 0;    ///< lost since the last report, in 256ths
    std::int32_t lost = 0;        ///< in all
    std::uint32_t highest = 0;    ///< sequence number, with the number of its wraps above it
    std::uint32_t jitter = 0;     ///< in frames
    std::uint32_t lastReport = 0; ///< the middle of the NTP time of the source's last report; 0: there was none
    std::uint32_t sinceThen = 0;  ///< 2^-16 seconds
};

/// What a source reports of itself.
struct SenderReport {
    std::uint64_t ntp = 0;       ///< wall clock, in 2^-32 seconds since 1900
    std::uint32_t timestamp = 0; ///< of its packets at that time
    std::uint32_t packets = 0, bytes = 0;
};

struct Rtcp {
    std::uint32_t from = 0;
    std::optional<SenderReport> sent;
    std::vector<ReportBlock> blocks;
    std::vector<std::uint32_t> gone; ///< sources that say goodbye
};

/// @return what a datagram of RTCP reports; nothing when it is none from end to end (RFC 3550, A.2)
std::optional<Rtcp> ParseRtcp(std::span<const std::byte> datagram);

/// A sender's report with one block at most, its name (CNAME) and, where it has one, its goodbye.
Datagram RtcpBytes(const Rtcp &report, const std::string &name);

/**
   A source as its receiver sees it (RFC 3550, A.1, A.3 and A.8). It is one when two packets have come with consecutive
   sequence numbers, and begins anew in the same way where its sequence numbers jump.
*/
class RtpSource {
public:
    enum class Verdict {
        kTaken,     ///< the packet is the source's next, or one that was missing
        kBegun,     ///< the first one taken, or the first after a jump
        kDuplicate, ///< it has been taken before
        kRefused,   ///< not yet or no longer in sequence
    };

    RtpSource() = default;
    /// @param next  the sequence number with which it is one; another makes it wait for the one after that
    RtpSource(std::uint32_t id, std::uint16_t next) : id_(id), next_(next) {}

    Verdict Take(std::uint16_t sequence);

    /// Counts a packet of audio for the jitter. @param lead  frames by which its timestamp is before its arrival
    void TakeLead(double lead);

    std::uint32_t Id() const { return id_; }
    bool Valid() const { return valid_; }
    std::int64_t Received() const { return received_; } ///< packets, duplicates not counted
    std::int64_t Lost() const { return lost_ + (valid_ ? Expected() - receivedNow_ : 0); }
    double Jitter() const { return jitter_; } ///< in frames

    /// Of what has come since the last call.
    ReportBlock Report();

private:
    std::int64_t Expected() const { return highest_ - base_ + 1; }
    void Begin(std::uint16_t sequence);

    std::uint32_t id_ = 0;
    bool valid_ = false;
    std::uint16_t next_ = 0;                      // the sequence number that makes it valid, or that ends a jump
    std::int64_t base_ = 0, highest_ = 0;         // sequence numbers since it began, wraps counted
    std::uint64_t taken_ = 0;                     // bit i: the packet i before the highest
    std::int64_t received_ = 0, receivedNow_ = 0; // in all, and since it began
    std::int64_t lost_ = 0;                       // before it began anew
    std::int64_t reportedExpected_ = 0, reportedReceived_ = 0;
    double jitter_ = 0;
    std::optional<double> lead_; // of the last packet
};
