// The inside of the bridge, without a network: what parties hear of each other, over lines of every kind.
#include "support.h"

#include "conference.h"

#include <complex>
#include <map>
#include <numbers>

namespace {

constexpr pbInt kDelay = 3;                                               // ticks
constexpr std::size_t kMulaw = 0, kAlaw = 1, kL8 = 2, kL16 = 3, kL48 = 5; // of kRtpFormats

struct Call : Conference {
    explicit Call(std::initializer_list<std::size_t> formats, pbReal level = 0.0)
        : Conference(PartiesOf(formats, level), 0)
    {
    }
    static std::vector<Party> PartiesOf(std::initializer_list<std::size_t> formats, pbReal level)
    {
        std::vector<Party> parties;
        for (const std::size_t i : formats)
            parties.emplace_back(RtpFormat{"", kRtpFormats[i].encoding, kRtpFormats[i].rate, static_cast<int>(i)},
                                 kDelay * 20, level);
        return parties;
    }
    PCM_ENCODING Encoding(std::size_t party) const { return At(party).Format().encoding; }
    void Say(std::size_t party, pbInt sequence, pbInt timestamp, const Samples &samples, uint32_t source = 1)
    {
        const auto header = RtpHeaderBytes({static_cast<uint8_t>(At(party).Format().payloadType),
                                            static_cast<uint16_t>(sequence), static_cast<uint32_t>(timestamp), source});
        const pcm::Buffer payload = MakePacket(1, samples).Encode(Encoding(party));
        std::vector<std::byte> bytes(header.begin(), header.end());
        bytes.insert(bytes.end(), payload.Bytes().begin(), payload.Bytes().end());
        EXPECT_TRUE(Receive(party, bytes));
    }
    /// What becomes of samples on their way to a party or from it.
    Samples Carried(std::size_t party, const pcm::Buffer &payload) const
    {
        return SamplesOf(pcm::Packet::TryDecode(payload, Encoding(party), 1).Get());
    }
    Samples Heard(std::size_t party) const { return Carried(party, pcm::Buffer(Outgoing(party).subspan(12))); }
};

TEST(Bridge, EachHearsTheSumOfTheOthersToTheBit)
{
    Call call({kMulaw, kL8, kAlaw, kL8, kMulaw, kL8, kL8});
    Random random;
    const auto carried = [&](std::size_t party, const Samples &samples) {
        return call.Carried(party, MakePacket(1, samples).Encode(call.Encoding(party)));
    };
    std::map<pbInt, std::vector<Samples>> said;
    for (pbInt tick = 0; tick < 10; ++tick) {
        for (std::size_t i = 0; i < call.Parties(); ++i)
            call.Say(i, tick + 65530, tick * 160 - 500, said[tick].emplace_back(carried(i, random.Run(160))));
        call.Tick();
        for (std::size_t i = 0; tick >= kDelay && i < call.Parties(); ++i) {
            Samples sum(160); // exact: few bits
            for (std::size_t other = 0; other < call.Parties(); ++other)
                for (std::size_t t = 0; other != i && t < sum.size(); ++t)
                    sum[t] += said[tick - kDelay][other][t];
            ASSERT_EQ(call.Heard(i), carried(i, sum)) << tick << ' ' << i;
        }
    }
}

TEST(Bridge, ALineThatLosesDoublesAndDelaysLeavesTheRestInTime)
{
    for (const pbInt frames : {160, 40, 250}) { // in a packet
        SCOPED_TRACE(frames);
        Call call({kL8, kL8});
        std::multimap<pbInt, std::pair<pbInt, Samples>> line; // by the tick of arrival: number and frames
        Samples expected(kDelay * 160);
        pbInt lost = 0, late = 0, doubled = 0;
        for (pbInt n = 0; n * frames < 64000; ++n) {
            const pbInt sent = n * frames / 160, arrives = sent + (n % 7 == 3 ? 2 : n % 13 == 6 ? 6 : 0);
            const pbInt copies = n % 11 == 5 ? 0 : n % 5 == 1 && arrives == sent ? 2 : 1;
            Samples samples;
            for (pbInt frame = n * frames; frame < (n + 1) * frames; ++frame) {
                samples.push_back(static_cast<float>(frame % 30000 + 1) / 32768);
                expected.push_back(copies && arrives <= frame / 160 + kDelay ? samples.back() : 0);
            }
            for (pbInt i = 0; i < copies; ++i)
                line.emplace(arrives, std::pair(n, samples));
            lost += copies == 0, doubled += copies == 2;
            late += copies && arrives > ((n + 1) * frames - 1) / 160 + kDelay;
        }
        for (pbInt tick = 0; tick < 400; ++tick) {
            for (auto [at, end] = line.equal_range(tick); at != end; ++at)
                call.Say(0, at->second.first + 65500, at->second.first * frames - 9999, at->second.second);
            call.Tick();
            ASSERT_EQ(call.Heard(1), Samples(&expected[tick * 160], &expected[tick * 160 + 160])) << tick;
        }
        EXPECT_NEAR(call.At(0).Count().lost, lost, 2); // the last are on their way, or not missed yet
        EXPECT_NEAR(call.At(0).Count().late, late, 2);
        EXPECT_EQ(call.At(0).Count().duplicates, doubled);
    }
}

TEST(Bridge, SourcesThatChangeAndWhoseClocksRunOtherwiseThanOursAreHeard)
{
    Call call({kMulaw, kL8});
    for (const pbInt interval : {90, 99, 101, 110}) { // hundredths of a tick between packets
        pbInt heard = 0;
        for (pbInt tick = 0, n = 0; tick < 1000; ++tick) {
            for (; n * interval <= tick * 100; ++n)
                call.Say(0, n, n * 160, Samples(160, 0.5f), static_cast<uint32_t>(interval));
            call.Tick();
            heard += call.Heard(1) == Samples(160, call.Heard(1)[0]) && call.Heard(1)[0] > 0.4f;
        }
        EXPECT_GT(heard, 800) << interval;
    }
}

TEST(Bridge, EveryRateHearsTheTonesOfTheOthers)
{
    Call call({kL8, kL16, kL48}, -20.0);
    std::vector<pcm::Tone> tones{pcm::Tone(16), pcm::Tone(16), pcm::Tone(24)}; // cycles in frames
    const double cycles[] = {10, 20, 40};                                      // in 20 ms
    for (pbInt tick = 0; tick < 10; ++tick) {
        for (std::size_t i = 0; i < 3; ++i) {
            const auto tone = tones[i].Gather(call.At(i).Frames());
            call.Say(i, tick, tick * tone.Frames(), SamplesOf(tone.Get()));
        }
        call.Tick();
    }
    for (std::size_t i = 0; i < 9; ++i) {
        const Samples heard = call.Heard(i / 3);
        const auto count = static_cast<double>(heard.size());
        std::complex<double> amplitude; // 1: as it was sent
        for (std::size_t t = 0; t < heard.size(); ++t)
            amplitude += std::polar(20 * heard[t] / count,
                                    2 * std::numbers::pi * cycles[i % 3] / count * static_cast<double>(t));
        const bool own = i / 3 == i % 3;
        EXPECT_NEAR(std::abs(amplitude), own ? 0 : 1, own ? 0.001 : 0.1) << i / 3 << " hears " << i % 3;
    }
}

TEST(Bridge, DatagramsThatAreNoPacketsAreDroppedAndCounted)
{
    Call call({kL8});
    // clang-format off
    const struct { const char *name; int first, type, words, last; std::size_t length, payload; } rows[] = {
        {"a packet, marked", 0x80, 0x82, 0, 0, 332, 320}, {"another version", 0x40, 2, 0, 0, 332, 0},
        {"200 ms", 0x80, 2, 0, 0, 3212, 3200},            {"more than 200 ms", 0x80, 2, 0, 0, 3214, 0},
        {"another type", 0x80, 0, 0, 0, 332, 0},          {"half a sample", 0x80, 2, 0, 0, 331, 0},
        {"half a header", 0x80, 2, 0, 0, 11, 0},          {"no payload", 0x80, 2, 0, 0, 12, 0},
        {"two CSRCs", 0x82, 2, 0, 0, 332, 312},           {"CSRCs beyond the end", 0x8F, 2, 0, 0, 60, 0},
        {"an extension", 0x90, 2, 3, 0, 332, 304},        {"one beyond the end", 0x90, 2, 80, 0, 332, 0},
        {"one cut off", 0x90, 2, 0, 0, 15, 0},            {"padding", 0xA0, 2, 0, 20, 332, 300},
        {"none that counts itself", 0xA0, 2, 0, 0, 332, 0}, {"padding of the header", 0xA0, 2, 0, 201, 212, 0},
        {"padding beyond it", 0xA0, 2, 0, 255, 100, 0},
    };
    // clang-format on
    pbInt dropped = 0;
    for (const auto &row : rows) {
        std::vector<std::byte> bytes(row.length);
        bytes[0] = std::byte(row.first), bytes[1] = std::byte(row.type), bytes.back() = std::byte(row.last);
        if (row.words)
            bytes[15] = std::byte(row.words);
        const bool taken = call.Receive(0, bytes);
        EXPECT_EQ(taken ? ParseRtp(bytes)->payload.size() : 0, row.payload) << row.name;
        EXPECT_EQ(call.At(0).Count().dropped, dropped += !taken) << row.name;
    }
}

} // namespace
