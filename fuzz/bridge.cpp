// What comes to the bridge: datagrams of any bytes, and packets of any time and length, audio, noise, events and
// reports among them, to parties of each format.
#include "../bench/load/line.h"
#include "../tests/support.h"

void Drive(Random &random)
{
    std::vector<Party> parties;
    for (RtpFormat format : kRtpFormats)
        if (format.payloadType = 96; CanConvert(8000, format.rate))
            parties.emplace_back(format, PartyOptions{random.From(0, 200), random.From(200, 1000),
                                                      random.OneIn(4) ? 6.0 : 0.0, 10 * random.From(1, 6), 101,
                                                      random.OneIn(2) ? Digits::kTones : Digits::kEvents});
    Conference conference(std::move(parties), 16000);
    const pbInt blocks = pb___MemDbgBlocks(), most = 4 * 140 * static_cast<pbInt>(conference.Parties()); // that wait
    RtpHeader header{96, 0, 0, 1};
    for (double time = 0; !random.Done(); time += static_cast<double>(random.From(0, 30)) / 1000) {
        const auto party = static_cast<std::size_t>(random.From(0, 4));
        Datagram bytes(static_cast<std::size_t>(random.From(0, 255)) << random.From(0, 8));
        for (std::size_t i = 0; i < std::min<std::size_t>(bytes.size(), 20); ++i)
            bytes[i] = static_cast<std::byte>(random.From(0, 255));
        header = {96, static_cast<std::uint16_t>(header.sequence + random.From(-2, 3)),
                  header.timestamp + static_cast<std::uint32_t>(random.From(-999, 2000)), 1};
        header.payloadType = std::array<std::uint8_t, 8>{96, 96, 96, 96, 96, 96, 13, 101}[random.Bits() % 8];
        conference.Receive(party, random.OneIn(4) ? bytes : MakeDatagram(header, bytes), time);
        if (random.OneIn(8))
            conference.At(party).ReceiveReport(bytes, random.Bits());
        if (random.OneIn(3))
            conference.Tick();
        ASSERT_LT(pb___MemDbgBlocks(), blocks + most);
    }
}
