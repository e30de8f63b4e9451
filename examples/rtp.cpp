#include "rtp.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

constexpr unsigned kVersion = 2;
constexpr std::uint8_t kSenderReport = 200, kReceiverReport = 201, kDescription = 202, kGoodbye = 203;
constexpr std::size_t kReportBlockBytes = 24, kSenderInfoBytes = 20;

/// Reads big-endian numbers. The caller has checked that the bytes are there.
std::uint32_t Number(std::span<const std::byte> bytes, std::size_t at, std::size_t count)
{
    std::uint32_t value = 0;
    for (const std::byte byte : bytes.subspan(at, count))
        value = value << 8 | std::to_integer<std::uint32_t>(byte);
    return value;
}

void Put(std::byte *at, std::size_t count, std::uint32_t value)
{
    for (std::size_t i = 0; i < count; ++i)
        at[i] = static_cast<std::byte>(value >> 8 * (count - 1 - i));
}

/// Adds a number to the end.
void Put(Datagram *bytes, std::size_t count, std::uint32_t value)
{
    bytes->resize(bytes->size() + count);
    Put(&bytes->back() - count + 1, count, value);
}

} // namespace

std::optional<RtpPacket> ParseRtp(std::span<const std::byte> datagram)
{
    if (datagram.size() < kRtpHeaderBytes || Number(datagram, 0, 1) >> 6 != kVersion)
        return std::nullopt;
    const std::uint32_t first = Number(datagram, 0, 1), second = Number(datagram, 1, 1);
    const bool padding = first & 0x20, extension = first & 0x10;
    std::size_t begin = kRtpHeaderBytes + 4 * (first & 0x0F), end = datagram.size(); // behind the list of CSRCs
    if (extension) {
        if (end < begin + 4)
            return std::nullopt;
        begin += 4 + 4 * std::size_t{Number(datagram, begin + 2, 2)};
    }
    if (padding) { // the last byte counts the padding, itself included
        const std::size_t padded = Number(datagram, end - 1, 1);
        if (padded == 0 || padded > end)
            return std::nullopt;
        end -= padded;
    }
    if (begin > end)
        return std::nullopt;
    const RtpHeader header{static_cast<std::uint8_t>(second & 0x7F), static_cast<std::uint16_t>(Number(datagram, 2, 2)),
                           Number(datagram, 4, 4), Number(datagram, 8, 4), second >= 0x80};
    return RtpPacket{header, datagram.subspan(begin, end - begin)};
}

std::array<std::byte, kRtpHeaderBytes> RtpHeaderBytes(const RtpHeader &header)
{
    std::array<std::byte, kRtpHeaderBytes> bytes{std::byte{kVersion << 6}};
    Put(&bytes[1], 1, header.payloadType | header.marker << 7);
    Put(&bytes[2], 2, header.sequence);
    Put(&bytes[4], 4, header.timestamp);
    Put(&bytes[8], 4, header.source);
    return bytes;
}

bool IsRtcp(std::span<const std::byte> datagram)
{
    return datagram.size() >= 2 && Number(datagram, 1, 1) >= 192 && Number(datagram, 1, 1) < 224;
}

std::optional<TelephoneEvent> ParseEvent(std::span<const std::byte> payload)
{
    if (payload.size() < 4)
        return std::nullopt;
    const std::uint32_t second = Number(payload, 1, 1);
    return TelephoneEvent{static_cast<std::uint8_t>(Number(payload, 0, 1)), second >= 0x80,
                          static_cast<std::uint8_t>(second & 0x3F), static_cast<std::uint16_t>(Number(payload, 2, 2))};
}

std::array<std::byte, 4> EventBytes(const TelephoneEvent &event)
{
    std::array<std::byte, 4> bytes{std::byte{event.code}};
    Put(&bytes[1], 1, event.volume | event.end << 7);
    Put(&bytes[2], 2, event.duration);
    return bytes;
}

std::optional<Rtcp> ParseRtcp(std::span<const std::byte> datagram)
{
    Rtcp rtcp;
    for (auto rest = datagram; !rest.empty() || rest.data() == datagram.data();) {
        if (rest.size() < 4)
            return std::nullopt;
        const std::uint32_t first = Number(rest, 0, 1), type = Number(rest, 1, 1), count = first & 0x1F;
        const std::size_t length = 4 * (std::size_t{Number(rest, 2, 2)} + 1);
        const bool begins = rest.data() == datagram.data(), padding = first & 0x20;
        const bool report = type == kSenderReport || type == kReceiverReport;
        if (first >> 6 != kVersion || length > rest.size() || (report && length < 8) ||
            (padding && length < rest.size()) || (begins && (padding || !report)))
            return std::nullopt;
        const auto packet = rest.first(length);
        rest = rest.subspan(length);
        if (begins)
            rtcp.from = Number(packet, 4, 4);
        if (report) {
            std::size_t at = 8;
            if (length < at + (type == kSenderReport ? kSenderInfoBytes : 0) + count * kReportBlockBytes)
                return std::nullopt;
            if (type == kSenderReport) {
                rtcp.sent = {std::uint64_t{Number(packet, 8, 4)} << 32 | Number(packet, 12, 4), Number(packet, 16, 4),
                             Number(packet, 20, 4), Number(packet, 24, 4)};
                at += kSenderInfoBytes;
            }
            for (std::uint32_t i = 0; i < count; ++i, at += kReportBlockBytes) {
                const auto lost = static_cast<std::int32_t>(Number(packet, at + 5, 3) << 8) >> 8; // of 24 bits
                rtcp.blocks.push_back({Number(packet, at, 4), static_cast<std::uint8_t>(Number(packet, at + 4, 1)),
                                       lost, Number(packet, at + 8, 4), Number(packet, at + 12, 4),
                                       Number(packet, at + 16, 4), Number(packet, at + 20, 4)});
            }
        } else if (type == kGoodbye) {
            if (length < 4 + 4 * count)
                return std::nullopt;
            for (std::uint32_t i = 0; i < count; ++i)
                rtcp.gone.push_back(Number(packet, 4 + 4 * i, 4));
        }
    }
    return rtcp;
}

Datagram RtcpBytes(const Rtcp &report, const std::string &name)
{
    Datagram bytes;
    const auto begin = [&](std::size_t count, std::uint8_t type, std::size_t length) {
        Put(&bytes, 1, static_cast<std::uint32_t>(kVersion << 6 | count));
        Put(&bytes, 1, type);
        Put(&bytes, 2, static_cast<std::uint32_t>(length / 4 - 1));
        Put(&bytes, 4, report.from);
    };
    const std::size_t sender = report.sent ? kSenderInfoBytes : 0;
    begin(report.blocks.size(), report.sent ? kSenderReport : kReceiverReport,
          8 + sender + report.blocks.size() * kReportBlockBytes);
    if (report.sent) {
        Put(&bytes, 4, static_cast<std::uint32_t>(report.sent->ntp >> 32));
        Put(&bytes, 4, static_cast<std::uint32_t>(report.sent->ntp));
        Put(&bytes, 4, report.sent->timestamp);
        Put(&bytes, 4, report.sent->packets);
        Put(&bytes, 4, report.sent->bytes);
    }
    for (const ReportBlock &block : report.blocks) {
        Put(&bytes, 4, block.source);
        Put(&bytes, 1, block.fraction);
        Put(&bytes, 3, static_cast<std::uint32_t>(block.lost));
        Put(&bytes, 4, block.highest);
        Put(&bytes, 4, block.jitter);
        Put(&bytes, 4, block.lastReport);
        Put(&bytes, 4, block.sinceThen);
    }
    const std::size_t items = (2 + name.size()) / 4 * 4 + 4; // with one to four bytes of 0 behind the name
    begin(1, kDescription, 8 + items);
    Put(&bytes, 1, 1); // CNAME
    Put(&bytes, 1, static_cast<std::uint32_t>(name.size()));
    for (const char c : name)
        Put(&bytes, 1, static_cast<unsigned char>(c));
    bytes.resize(bytes.size() + items - 2 - name.size());
    if (!report.gone.empty())
        begin(1, kGoodbye, 8);
    return bytes;
}

void RtpSource::Begin(std::uint16_t sequence)
{
    lost_ = Lost();
    base_ = highest_ = sequence;
    taken_ = 1;
    receivedNow_ = 0;
    reportedExpected_ = reportedReceived_ = 0;
    valid_ = true;
}

RtpSource::Verdict RtpSource::Take(std::uint16_t sequence)
{
    constexpr std::int64_t kMostAhead = 3000, kMostBehind = 100; // MAX_DROPOUT and MAX_MISORDER
    const auto ahead = static_cast<std::int16_t>(sequence - static_cast<std::uint16_t>(highest_));
    const bool near = valid_ && ahead < kMostAhead && ahead > -kMostBehind;
    if (!near && sequence != next_) {
        next_ = static_cast<std::uint16_t>(sequence + 1);
        return Verdict::kRefused;
    }
    if (!near)
        Begin(sequence);
    else if (ahead > 0) {
        highest_ += ahead;
        taken_ = ahead < 64 ? taken_ << ahead | 1 : 1;
    } else if (ahead > -64) {
        const std::uint64_t bit = std::uint64_t{1} << -ahead;
        if (taken_ & bit)
            return Verdict::kDuplicate;
        taken_ |= bit;
    }
    ++received_;
    ++receivedNow_;
    return near ? Verdict::kTaken : Verdict::kBegun;
}

void RtpSource::TakeLead(double lead)
{
    if (lead_)
        jitter_ += (std::fabs(lead - *lead_) - jitter_) / 16;
    lead_ = lead;
}

ReportBlock RtpSource::Report()
{
    const std::int64_t expected = Expected() - reportedExpected_, received = receivedNow_ - reportedReceived_;
    reportedExpected_ += expected;
    reportedReceived_ += received;
    const std::int64_t lost = std::max<std::int64_t>(expected - received, 0);
    ReportBlock block;
    block.source = id_;
    block.fraction = static_cast<std::uint8_t>(expected > 0 ? std::min<std::int64_t>(lost * 256 / expected, 255) : 0);
    block.lost = static_cast<std::int32_t>(std::clamp<std::int64_t>(Lost(), -0x800000, 0x7FFFFF));
    block.highest = static_cast<std::uint32_t>(highest_);
    block.jitter = static_cast<std::uint32_t>(jitter_);
    return block;
}
