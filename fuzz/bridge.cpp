// What comes to the bridge: datagrams of any bytes, and packets of any time and length, to parties of each format.
#include "../examples/conference.h"
#include "../tests/support.h"

void Drive(Random &random)
{
    std::vector<Party> parties;
    for (RtpFormat format : kRtpFormats)
        if (format.payloadType = 96; CanConvert(8000, format.rate))
            parties.emplace_back(format, random.From(0, 200), random.OneIn(4) ? 6.0 : 0.0);
    Conference conference(std::move(parties), 16000);
    const pbInt blocks = pb___MemDbgBlocks(), most = 4 * 64 * static_cast<pbInt>(conference.Parties()); // that wait
    RtpHeader header{96, 0, 0, 1};
    while (!random.Done()) {
        std::vector<std::byte> datagram(static_cast<std::size_t>(random.From(0, 255)) << random.From(0, 8));
        for (std::size_t i = 0; i < std::min<std::size_t>(datagram.size(), 20); ++i)
            datagram[i] = static_cast<std::byte>(random.From(0, 255));
        header.sequence += static_cast<std::uint16_t>(random.From(-2, 3));
        header.timestamp += static_cast<std::uint32_t>(random.From(-999, 2000));
        if (datagram.size() >= kRtpHeaderBytes && !random.OneIn(4))
            std::ranges::copy(RtpHeaderBytes(header), datagram.begin());
        conference.Receive(static_cast<std::size_t>(random.From(0, 4)), datagram);
        if (random.OneIn(3))
            conference.Tick();
        ASSERT_LT(pb___MemDbgBlocks(), blocks + most);
    }
}
