// The inside of the bridge, without a network: what parties hear of each other, over lines of every kind.
#include "support.h"

#include "conference.h"

namespace {

constexpr pbInt kDelay = 3;                           // ticks
constexpr std::size_t kMulaw = 0, kAlaw = 1, kL8 = 2; // of kRtpFormats

Conference MakeCall(std::initializer_list<std::size_t> formats)
{
    std::vector<Party> parties;
    for (const std::size_t i : formats)
        parties.emplace_back(RtpFormat{"", kRtpFormats[i].encoding, kRtpFormats[i].rate, 2}, kDelay * 20, 0.0);
    return Conference(std::move(parties), 0);
}

/// @return what the conference decodes
Samples Say(Conference &call, std::size_t party, const RtpHeader &header, const Samples &samples)
{
    const PCM_ENCODING encoding = call.At(party).Format().encoding;
    const pcm::Buffer payload = MakePacket(1, samples).Encode(encoding);
    const auto first = RtpHeaderBytes(header);
    std::vector<std::byte> bytes(first.begin(), first.end());
    bytes.insert(bytes.end(), payload.Bytes().begin(), payload.Bytes().end());
    EXPECT_TRUE(call.Receive(party, bytes));
    return SamplesOf(pcm::Packet::TryDecode(payload, encoding, 1).Get());
}

// The packets of each party are of a length of their own, and its line loses, doubles and delays some. Whatever frame
// comes in time is heard by all the others when its time has come; the rest is silence.
TEST(Bridge, EachHearsToTheBitTheSumOfWhatComesInTimeFromTheOthers)
{
    constexpr pbInt kLengths[] = {160, 40, 250, 160, 320, 80, 1600}, kFrames = 64000;
    Conference call = MakeCall({kMulaw, kL8, kAlaw, kL8, kMulaw, kL8, kL8});
    Random random;
    std::vector<Samples> inTime(7, Samples(kFrames + 2000)); // by party
    std::vector<std::array<pbInt, 5>> counts(7);             // as in Counts
    for (pbInt tick = 0; tick < kFrames / 160 + 7; ++tick) {
        for (std::size_t party = 0; party < 7; ++party)
            for (pbInt n = 0, begin = 0, end; (end = begin + kLengths[party]) <= kFrames; ++n, begin = end) {
                const pbInt delay = n % 7 == 3 ? 2 : n % 13 == 6 ? 6 : 0;
                if (tick != begin / 160 + delay)
                    continue;
                const pbInt copies = n % 11 == 5 ? 0 : n % 5 == 1 && !delay ? 2 : 1;
                Samples samples = random.Run(end - begin);
                for (pbInt i = 0; i < copies; ++i)
                    samples = Say(call, party, {2, uint16_t(n + 65500), uint32_t(begin - 9999), 1}, samples);
                for (pbInt i = std::max(begin, (tick - kDelay) * 160); copies && i < end; ++i)
                    inTime[party][i + kDelay * 160] = samples[i - begin];
                auto &[came, lost, late, twice, dropped] = counts[party];
                came += copies, lost += !copies, twice += copies == 2, late += copies && (tick - kDelay) * 160 >= end;
            }
        call.Tick();
        for (std::size_t i = 0; i < 7; ++i) {
            Samples sum(160); // exact: few bits
            for (std::size_t other = 0; other < 7; ++other)
                for (pbInt t = 0; other != i && t < 160; ++t)
                    sum[t] += inTime[other][tick * 160 + t];
            const pcm::Buffer expected = MakePacket(1, sum).Encode(call.At(i).Format().encoding);
            ASSERT_TRUE(std::ranges::equal(call.Outgoing(i).subspan(12), expected.Bytes())) << tick << ' ' << i;
        }
    }
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ((std::bit_cast<std::array<pbInt, 5>>(call.At(i).Count())), counts[i]);
}

TEST(Bridge, SourcesThatChangeAndWhoseClocksRunOtherwiseThanOursAreHeard)
{
    Conference call = MakeCall({kMulaw, kL8});
    for (const pbInt interval : {90, 99, 101, 110}) { // hundredths of a tick between packets
        pbInt heard = 0;
        for (pbInt tick = 0, n = 0; tick < 1000; ++tick) {
            for (; n * interval <= tick * 100; ++n)
                Say(call, 0, {2, uint16_t(n), uint32_t(n * 160), uint32_t(interval)}, Samples(160, 0.5f));
            call.Tick();
            heard += std::ranges::count_if(call.Mix().Samples(), [](float sample) { return sample > 0.4f; });
        }
        EXPECT_GT(heard, 800 * 160) << interval;
    }
}

TEST(Bridge, DatagramsThatAreNoPacketsAreDroppedAndCounted)
{
    Conference call = MakeCall({kL8});
    // clang-format off
    const struct { const char *name; std::size_t length, payload = 0; int first = 0x80, type = 2, words = 0, last = 0; }
    rows[] = {
        {"200 ms", 3212, 3200}, {"more than 200 ms", 3214}, {"half a sample", 331}, {"no payload", 12},
        {"half a header", 11}, {"marked", 332, 320, 0x80, 0x82}, {"other version", 332, 0, 0x40},
        {"other type", 332, 0, 0x80, 0}, {"CSRCs", 332, 312, 0x82}, {"CSRCs beyond the end", 60, 0, 0x8F},
        {"extension", 332, 304, 0x90, 2, 3}, {"beyond the end", 332, 0, 0x90, 2, 80}, {"cut off", 15, 0, 0x90},
        {"padding", 332, 300, 0xA0, 2, 0, 20}, {"padding of 0", 332, 0, 0xA0},
        {"padding of the header", 212, 0, 0xA0, 2, 0, 201}, {"and beyond", 100, 0, 0xA0, 2, 0, 255}};
    // clang-format on
    for (const auto &row : rows) {
        std::vector<std::byte> bytes(16);
        bytes[0] = std::byte(row.first), bytes[1] = std::byte(row.type), bytes[15] = std::byte(row.words);
        bytes.resize(row.length), bytes.back() = std::byte(row.last);
        EXPECT_EQ(call.Receive(0, bytes) ? ParseRtp(bytes)->payload.size() : 0, row.payload) << row.name;
    }
    EXPECT_EQ(call.At(0).Count().dropped, 12);
}

} // namespace
