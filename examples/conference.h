// A telephone conference without its network: RTP datagrams in, and every 20 ms one for each party, with what all the
// others say. A gateway is a conference of two.
//
// Parties of one frame rate share a bus, where their audio is added up. A bus hears the others through one filter for
// each, however many parties there are, so a tick takes a decoding, an addition, a subtraction and an encoding for each
// party, and nothing that grows faster than their number.
#pragma once

#include "party.h"

#include <pcm/pcm.hpp>

#include <cstddef>
#include <span>
#include <vector>

/// Whether audio of one rate can be made audio of the other.
bool CanConvert(pbInt from, pbInt to);

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

    /// As Party::Receive. The first tick is at 0 seconds.
    bool Receive(std::size_t party, std::span<const std::byte> datagram, Seconds arrival)
    {
        return members_[party].party.Receive(datagram, arrival);
    }

    /// The next 20 ms: takes them from all parties, and makes what goes to each.
    void Tick();

    /// What goes to a party in this tick.
    const Outgoing &ToParty(std::size_t party) const { return members_[party].outgoing; }
    pcm::Packet Mix() const { return buses_.front().Joined(buses_.front().sum); }     ///< of all parties
    pbInt Rate() const { return buses_.front().rate; }                                ///< of Mix
    const pcm::Packet &Said(std::size_t party) const { return members_[party].said; } ///< empty: nothing
    Party &At(std::size_t party) { return members_[party].party; }
    const Party &At(std::size_t party) const { return members_[party].party; }
    std::size_t Parties() const { return members_.size(); }

private:
    struct Member {
        Party party;
        std::size_t bus;
        pcm::Packet said;
        Outgoing outgoing;
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
