// RTP (RFC 3550, section 5.1): a datagram's header read and written, every length in it checked.
//
// Why without a library: those at hand (oRTP, ccRTP, GStreamer's) come with sessions, sockets, clocks and jitter
// buffers of their own, and the last of these is what the bridge is to show. The header alone is less code than their
// set-up.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

struct RtpHeader {
    std::uint8_t payloadType; ///< 0 to 127
    std::uint16_t sequence;   ///< one more with each packet
    std::uint32_t timestamp;  ///< of the first frame, in frames
    std::uint32_t source;     ///< the sender's number (SSRC)
};

struct RtpPacket {
    RtpHeader header;
    std::span<const std::byte> payload; ///< a part of the datagram, maybe none of it
};

inline constexpr std::size_t kRtpHeaderBytes = 12;

/// @return what the datagram holds; nothing when it is no RTP packet from end to end
inline std::optional<RtpPacket> ParseRtp(std::span<const std::byte> datagram)
{
    const auto number = [&](std::size_t at, std::size_t bytes) {
        std::uint32_t value = 0;
        for (const std::byte byte : datagram.subspan(at, bytes))
            value = value << 8 | std::to_integer<std::uint32_t>(byte);
        return value;
    };
    if (datagram.size() < kRtpHeaderBytes || number(0, 1) >> 6 != 2) // the version
        return std::nullopt;
    const bool padding = number(0, 1) & 0x20, extension = number(0, 1) & 0x10;
    std::size_t begin = kRtpHeaderBytes + 4 * (number(0, 1) & 0x0F), end = datagram.size(); // behind the list of CSRCs
    if (extension) {
        if (end < begin + 4)
            return std::nullopt;
        begin += 4 + 4 * std::size_t{number(begin + 2, 2)};
    }
    if (padding) { // the last byte counts the padding, itself included
        const std::size_t padded = number(end - 1, 1);
        if (padded == 0 || padded > end)
            return std::nullopt;
        end -= padded;
    }
    if (begin > end)
        return std::nullopt;
    return RtpPacket{{static_cast<std::uint8_t>(number(1, 1) & 0x7F), static_cast<std::uint16_t>(number(2, 2)),
                      number(4, 4), number(8, 4)},
                     datagram.subspan(begin, end - begin)};
}

/// The header of a packet without padding, extension and CSRCs.
inline std::array<std::byte, kRtpHeaderBytes> RtpHeaderBytes(const RtpHeader &header)
{
    std::array<std::byte, kRtpHeaderBytes> bytes{std::byte{0x80}, std::byte{header.payloadType}};
    const auto put = [&](std::size_t at, std::size_t count, std::uint32_t value) {
        for (std::size_t i = 0; i < count; ++i)
            bytes[at + i] = static_cast<std::byte>(value >> 8 * (count - 1 - i));
    };
    put(2, 2, header.sequence);
    put(4, 4, header.timestamp);
    put(8, 4, header.source);
    return bytes;
}
