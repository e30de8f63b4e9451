// The inside of the bridge, without a network and in virtual time: what parties hear of each other, over lines of every
// kind.
#include "support.h"

#include "conference.h"
#include "line.h"

namespace {

constexpr std::size_t kMulaw = 0, kAlaw = 1, kL8 = 2; // of kRtpFormats
constexpr pbInt kBlock = 160;

/// @return what the conference decodes
Samples Say(Conference &call, std::size_t party, pbInt tick, const RtpHeader &header, const Samples &samples)
{
    const PCM_ENCODING encoding = call.At(party).Format().encoding;
    const pcm::Buffer payload = MakePacket(1, samples).Encode(encoding);
    call.Receive(party, MakeDatagram(header, payload.Bytes()), static_cast<double>(tick) / kTicksPerSecond);
    return SamplesOf(pcm::Packet::TryDecode(payload, encoding, 1).Get());
}

// The packets of each party are of a length of their own, and its line doubles and delays some.
TEST(Bridge, EachHearsToTheBitTheSumOfTheOthers)
{
    constexpr pbInt kLengths[] = {160, 40, 250, 160, 320, 80, 1600}, kFrames = 64000, kDelay = 800;
    Conference call = MakeCall({kMulaw, kL8, kAlaw, kL8, kMulaw, kL8, kL8}, {.leastDelay = 100, .mostDelay = 100});
    Random random;
    std::vector<Samples> heard(7, Samples(kFrames + 2000)); // by party
    for (pbInt tick = 0; tick < kFrames / kBlock; ++tick) {
        for (std::size_t party = 0; party < 7; ++party)
            for (pbInt n = 0, begin = 0, end; (end = begin + kLengths[party]) <= kFrames; ++n, begin = end) {
                if (tick != begin / kBlock + (n % 7 == 3 ? 2 : 0))
                    continue;
                Samples samples = random.Run(end - begin);
                for (pbInt copies = n % 5 == 2 ? 2 : 1; copies--;)
                    samples = Say(call, party, tick, {kType, uint16_t(n + 65500), uint32_t(begin - 9999), 1}, samples);
                const pbInt lead = kLengths[party] % kBlock; // of the second packet, with which the source is one
                for (pbInt i = begin; n > 0 && i < end; ++i)
                    heard[party][static_cast<std::size_t>(i - lead + kDelay)] =
                        samples[static_cast<std::size_t>(i - begin)];
            }
        call.Tick();
        for (std::size_t i = 0; i < 7; ++i) {
            Samples sum(kBlock); // exact: few bits
            for (std::size_t other = 0; other < 7; ++other)
                for (std::size_t t = 0; other != i && t < kBlock; ++t)
                    sum[t] += heard[other][static_cast<std::size_t>(tick * kBlock) + t];
            const pcm::Buffer expected = MakePacket(1, sum).Encode(call.At(i).Format().encoding);
            ASSERT_TRUE(std::ranges::equal(call.ToParty(i)[0].subspan(kRtpHeaderBytes), expected.Bytes()))
                << tick << ' ' << i;
        }
    }
    EXPECT_EQ(call.At(0).Count().duplicates, 80);
}

TEST(Bridge, HoldsOnEveryLine)
{
    for (const Line &line : kLines) {
        SCOPED_TRACE(line.name);
        Conference call = MakeCall({kL8, kL8});
        const Heard heard = Listen(line, call);
        EXPECT_LE(heard.wrong, line.wrong);
        EXPECT_LE(heard.mostLatency - heard.leastLatency, line.spread);
        EXPECT_LE(heard.mostOff, 40);
        EXPECT_LE(heard.mostStep, line.step);
        EXPECT_NEAR(heard.noise, line.pause == Line::Pause::kNoise ? -kNoise : 0, 1);
        EXPECT_LE(static_cast<double>(heard.counts.corrected), line.corrected);
    }
}

TEST(Bridge, DatagramsThatAreNoPacketsAreRefusedAndCounted)
{
    Conference call = MakeCall({kL8});
    for (uint16_t n = 0; n < 2; ++n)
        Say(call, 0, n, {kType, n, 0, 0}, Samples(160));
    // clang-format off
    const struct { const char *name; std::size_t length, payload = 0; int first = 0x80, type = kType, words = 0, last = 0; }
    rows[] = {
        {"200 ms", 3212, 3200}, {"more than 200 ms", 3214}, {"half a sample", 331}, {"no payload", 12},
        {"half a header", 11}, {"marked", 332, 320, 0x80, 0x80 | kType}, {"other version", 332, 0, 0x40},
        {"other type", 332, 0, 0x80, 0}, {"CSRCs", 332, 312, 0x82}, {"CSRCs beyond the end", 60, 0, 0x8F},
        {"extension", 332, 304, 0x90, kType, 3}, {"beyond the end", 332, 0, 0x90, kType, 80}, {"cut off", 15, 0, 0x90},
        {"padding", 332, 300, 0xA0, kType, 0, 20}, {"padding of 0", 332, 0, 0xA0},
        {"padding of the header", 212, 0, 0xA0, kType, 0, 201}, {"and beyond", 100, 0, 0xA0, kType, 0, 255}};
    // clang-format on
    uint8_t sequence = 2;
    for (const auto &row : rows) {
        Datagram bytes(16);
        bytes[0] = std::byte(row.first);
        bytes[1] = std::byte(row.type);
        bytes[3] = std::byte{sequence++};
        bytes[15] = std::byte(row.words);
        bytes.resize(row.length);
        bytes.back() = std::byte(row.last);
        const pbInt refused = call.At(0).Count().refused;
        call.Receive(0, bytes, 0.1);
        const std::size_t taken = call.At(0).Count().refused == refused ? ParseRtp(bytes)->payload.size() : 0;
        EXPECT_EQ(taken, row.payload) << row.name;
    }
}

TEST(Bridge, PassesDigitsOnOnceAndInOrderAsEventsOrAsTones)
{
    for (const Digits digits : {Digits::kEvents, Digits::kTones}) {
        Conference call = MakeCall({kL8, kL8}, {.digits = digits});
        std::string codes;
        uint32_t last = 1;
        double loud = 0;
        for (pbInt tick = 0, n = 0; tick < 200; ++tick) {
            const pbInt key = tick / 20; // each for 100 ms; of the first all ends are lost, of all every third packet
            for (int copy = tick % 20 == 5 ? 3 : tick % 20 < 5; copy--; ++n) {
                const TelephoneEvent event{uint8_t(key), tick % 20 == 5, 10, uint16_t(kBlock * (tick % 20))};
                if (n < 2 || (n % 3 && (key || !event.end)))
                    call.Receive(0, MakeDatagram({101, uint16_t(n), uint32_t(key * 9999), 1}, EventBytes(event)), 0);
            }
            call.Tick();
            const auto rtp = ParseRtp(call.ToParty(1)[0]); // an event comes before the audio
            const auto event = ParseEvent(rtp->payload);
            if (rtp->header.payloadType == 101 && event->end &&
                rtp->header.timestamp != std::exchange(last, rtp->header.timestamp))
                codes += static_cast<char>('0' + event->code);
            for (const float sample : SamplesOf(call.Mix().Get()))
                loud += sample * sample;
        }
        EXPECT_EQ(codes, digits == Digits::kEvents ? "0123456789" : "");
        EXPECT_NEAR(loud, digits == Digits::kTones ? 10 * 800 * 0.025 : 0, 10); // the squares of 100 ms, 10 dB down
    }
}

TEST(Bridge, ReportsWhatItHasHeardAndReadsReports)
{
    constexpr uint64_t kSecond = uint64_t{1} << 32;
    Conference call = MakeCall({kL8, kL8});
    for (uint16_t n = 0; n < 100; ++n)
        if (n % 10 != 5)
            Say(call, 0, n, {kType, n, uint32_t(n * kBlock), 77}, Samples(kBlock));
    Rtcp sent{77, SenderReport{5 * kSecond, 0, 90, 28800}, {}, {}};
    EXPECT_TRUE(call.At(0).ReceiveReport(RtcpBytes(sent, "somebody"), 9 * kSecond));
    const Datagram bytes = call.At(0).Report(11 * kSecond, true);
    for (std::size_t length = 0; length < bytes.size(); ++length) // without what follows a whole packet it is whole too
        EXPECT_EQ(!!ParseRtcp(std::span(bytes).first(length)), length == 52 || length == 72) << length;
    const auto report = ParseRtcp(bytes);
    ASSERT_TRUE(report && report->blocks.size() == 1 && report->gone.size() == 1);
    const ReportBlock &block = report->blocks[0];
    EXPECT_EQ((std::array{int(block.fraction), block.lost, int(block.lastReport), int(block.sinceThen)}),
              (std::array{10 * 256 / 99, 10, 5 << 16, 2 << 16}));    // 99 since it is known as a source
    sent.blocks = {{report->from, 64, 1, 1, 80, 11 << 16, 1 << 16}}; // ours came at 11 s, and waited for 1 s
    EXPECT_TRUE(call.At(0).ReceiveReport(RtcpBytes(sent, "somebody"), 12 * kSecond + kSecond / 2));
    EXPECT_EQ(call.At(0).Count().roundTrip, 500);
}

TEST(Bridge, SendsPacketsThatFitTheNetwork)
{
    // clang-format off
    const struct { std::size_t format; pbInt packetTime; std::size_t packets, bytes; } rows[] = {
        {5, 20, 2, 960}, {5, 60, 2, 960}, {kMulaw, 60, 1, 480}, {kMulaw, 10, 2, 80}, {3, 30, 1, 960}, {4, 20, 2, 882}};
    // clang-format on
    for (const auto &row : rows) {
        Conference call = MakeCall({row.format}, {.packetTime = row.packetTime});
        for (int tick = 0; tick < 3; ++tick) // with the third one, a packet ends
            call.Tick();
        EXPECT_EQ(call.ToParty(0).Size(), row.packets);
        EXPECT_EQ(call.ToParty(0)[0].size(), kRtpHeaderBytes + row.bytes);
    }
}

} // namespace
