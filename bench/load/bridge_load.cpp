// Puts a bridge under load and looks at what comes back: bridge_load PORT PARTIES SECONDS [PCMU], with a bridge for as
// many parties of L16/8000, or of PCMU, from this port on. Each party says nothing but a number of its own, positive
// and negative in turn, so each must hear the sum of all numbers less its own, in every frame of every packet: one
// packet of anybody's that is missing would be heard by all. PCMU has no room for such sums; there the packets alone
// are counted.
#include "rtp.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <sys/resource.h>
#include <sys/socket.h>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;
constexpr std::size_t kFrames = 160;
constexpr int kSettled = 100; // ticks after which all hear all

struct Party {
    int fd = -1;
    long long packets = 0;
    RtpHeader last = {};
};

bool mulaw = false;
long long wrong = 0, missing = 0;

int Connected(int port)
{
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<std::uint16_t>(port));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    if (fd < 0 || connect(fd, reinterpret_cast<sockaddr *>(&to), sizeof to) != 0)
        std::abort();
    return fd;
}

/// What the party of this index says.
int Number(int i)
{
    const int number = 1 + i / 2 % 200;
    return i % 2 ? -number : number;
}

void Say(const Party &party, int number, std::uint32_t tick)
{
    const auto header = RtpHeaderBytes({static_cast<std::uint8_t>(mulaw ? 0 : 96), static_cast<std::uint16_t>(tick),
                                        tick * std::uint32_t{kFrames}, 1});
    std::vector<std::byte> datagram(header.begin(), header.end());
    for (std::size_t i = 0; i < kFrames; ++i) {
        if (!mulaw)
            datagram.push_back(static_cast<std::byte>(number >> 8));
        datagram.push_back(static_cast<std::byte>(number));
    }
    send(party.fd, datagram.data(), datagram.size(), 0);
}

void Listen(Party &party, int expected, bool settled)
{
    std::byte bytes[2048];
    for (ssize_t length; (length = recv(party.fd, bytes, sizeof bytes, 0)) > 0; ++party.packets) {
        const auto rtp = ParseRtp({bytes, static_cast<std::size_t>(length)});
        if (!rtp || rtp->payload.size() != (mulaw ? 1 : 2) * kFrames)
            std::abort();
        if (party.packets)
            missing += static_cast<std::uint16_t>(rtp->header.sequence - party.last.sequence - 1) +
                       (rtp->header.timestamp - party.last.timestamp != kFrames);
        party.last = rtp->header;
        for (std::size_t i = 0; settled && !mulaw && i < 2 * kFrames; i += 2)
            wrong += static_cast<std::int16_t>(std::to_integer<int>(rtp->payload[i]) << 8 |
                                               std::to_integer<int>(rtp->payload[i + 1])) != expected;
    }
}

} // namespace

int main(int argc, char **argv)
{
    mulaw = argc == 5 && argv[4] == std::string("PCMU");
    if (argc != 4 && !mulaw)
        return std::fputs("Usage: bridge_load PORT PARTIES SECONDS [PCMU]\n", stderr), 2;
    const int port = std::atoi(argv[1]), count = std::max(std::atoi(argv[2]), 1);
    const auto ticks = static_cast<std::uint32_t>(std::atof(argv[3]) * 50);
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    int sum = 0;
    for (int i = 0; i < count; ++i)
        sum += Number(i);
    std::vector<Party> parties(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        parties[static_cast<std::size_t>(i)].fd = Connected(port + 2 * i);

    const auto start = Clock::now();
    double late = 0;
    for (std::uint32_t tick = 0; tick < ticks; ++tick) {
        const auto due = start + tick * std::chrono::milliseconds(20);
        std::this_thread::sleep_until(due);
        late = std::max(late, Milliseconds(Clock::now() - due).count());
        for (int i = 0; i < count; ++i) {
            Say(parties[static_cast<std::size_t>(i)], Number(i), tick);
            Listen(parties[static_cast<std::size_t>(i)], sum - Number(i), tick > kSettled);
        }
    }
    const auto [fewest, most] = std::ranges::minmax(parties, {}, &Party::packets);
    std::printf("%d parties, %u packets to each in %.3f s: %lld to %lld came back, %lld missing, %lld frames wrong; "
                "the load itself was at most %.1f ms late\n",
                count, ticks, std::chrono::duration<double>(Clock::now() - start).count(), fewest.packets, most.packets,
                missing, wrong, late);
    return missing || wrong;
}
