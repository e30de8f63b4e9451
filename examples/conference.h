// A telephone conference without its network: RTP datagrams in, and every 20 ms one for each party, with what all the
// others say. A gateway is a conference of two.
//
// Parties of one frame rate share a bus, where their audio is added up. A bus hears the others through one filter for
// each, however many parties there are, so a tick takes a decoding, an addition, a subtraction and an encoding for each
// party, and nothing that grows faster than their number.
#pragma once

#include "rtp.h"

#include <pcm/pcm.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
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

inline constexpr pbInt kTicksPerSecond = 50; ///< a tick is 20 ms

/// Whether audio of one rate can be made audio of the other.
bool CanConvert(pbInt from, pbInt to);

/// What has come from a party.
struct Counts {
    pbInt received = 0;   ///< packets of its format, all that follow but `dropped` included
    pbInt lost = 0;       ///< missing among the sequence numbers
    pbInt late = 0;       ///< came after their time
    pbInt duplicates = 0; ///< came before
    pbInt dropped = 0;    ///< datagrams that are no packet of its format
};

/**
   One end of a call: puts what comes from it in order and into time, and wraps up what goes to it.

   The first packet waits for `delay`, and so do those after it that are sent as steadily; each is played when its
   timestamp says so. What is not there then is silence. What comes later is dropped, as is what comes twice. A party
   starts afresh, as with its first packet, when the source changes, after a second without packets, and when it is out
   of step: a packet comes far too early, as in the end from a sender whose clock runs faster than ours, or five in a
   row come late, as from one whose clock runs slower.
*/
class Party {
public:
    Party(const RtpFormat &format, pbInt delayMilliseconds, pbReal levelDecibel);

    /// Takes a datagram of any bytes. @return whether it is a packet of the party's format
    bool Receive(std::span<const std::byte> datagram);

    /// @return the next 20 ms; an empty handle where there is nothing but silence
    pcm::Packet Play();

    /// Makes what goes to the party: a datagram of 20 ms at its rate.
    void Send(const pcm::Packet &heard, std::vector<std::byte> *datagram);

    const RtpFormat &Format() const { return format_; }
    pbInt Frames() const { return format_.rate / kTicksPerSecond; } ///< in 20 ms
    const Counts &Count() const { return counts_; }
    pbInt Quiet() const { return quiet_; } ///< ticks since its last packet; hugely many before the first

private:
    struct Waiting {
        std::uint16_t sequence;
        bool taken; ///< whether there was a packet of this number
        std::uint32_t timestamp;
        pcm::Packet pkt; ///< empty once it is played
    };
    static constexpr pbInt kMostWaiting = 64; // packets; a power of two

    Waiting &Place(std::uint16_t sequence) { return waiting_[sequence % kMostWaiting]; }
    pbInt Ahead(std::uint32_t timestamp) const { return static_cast<std::int32_t>(timestamp - position_); }
    void Start(const RtpHeader &header);
    void Arrange(const RtpHeader &header, pcm::Packet pkt);

    RtpFormat format_;
    pbInt delay_; // frames
    pbReal level_;
    Counts counts_;
    pbInt quiet_ = pbInt{1} << 48, lateInARow_ = 0;
    std::array<Waiting, kMostWaiting> waiting_{}; // by sequence number
    std::uint16_t oldest_ = 0, newest_ = 0;       // sequence numbers: nothing before and nothing after them waits
    std::uint32_t position_ = 0;                  // timestamp of what is played next
    std::uint32_t source_ = 0;
    RtpHeader next_; // of what is sent next
};

/// A stream of 20 ms packets at another rate, through a built-in filter.
class Converter {
public:
    Converter(pbInt from, pbInt to);

    /// An empty handle stands for silence, here and in the result.
    pcm::Packet Next(pcm::Packet pkt);

private:
    pbInt from_, mult_, div_;
    pbReal level_; // dB
    pcm::Filter filter_;
    bool silent_ = true;
};

class Conference {
public:
    /// Of at least one party. Between any two rates there is a filter (CanConvert).
    /// @param rate  of Mix; 0: that of the first party
    Conference(std::vector<Party> parties, pbInt rate);

    bool Receive(std::size_t party, std::span<const std::byte> datagram)
    {
        return members_[party].party.Receive(datagram);
    }

    /// The next 20 ms: takes them from all parties, and makes what goes to each.
    void Tick();

    std::span<const std::byte> Outgoing(std::size_t party) const { return members_[party].outgoing; }
    pcm::Packet Mix() const { return buses_.front().Joined(buses_.front().sum); }     ///< of all parties
    pbInt Rate() const { return buses_.front().rate; }                                ///< of Mix
    const pcm::Packet &Said(std::size_t party) const { return members_[party].said; } ///< empty: nothing
    const Party &At(std::size_t party) const { return members_[party].party; }
    std::size_t Parties() const { return members_.size(); }

private:
    struct Member {
        Party party;
        std::size_t bus;
        pcm::Packet said;
        std::vector<std::byte> outgoing;
    };
    struct Inlet {
        std::size_t bus;
        Converter converter;
    };
    struct Bus {
        pbInt rate;
        pcm::Packet silence, sum, others, heard; // 20 ms: of its own parties, of the other buses, of both
        std::vector<Inlet> inlets;
        pbInt parties;

        pcm::Packet Joined(pcm::Packet own) const; ///< what is said here and what the others say
    };

    std::size_t BusOf(pbInt rate);

    std::vector<Member> members_;
    std::vector<Bus> buses_; // that of Mix first
};
