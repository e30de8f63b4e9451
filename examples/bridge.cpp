// Bridge: a telephone conference over RTP. Everybody sends to a port of his own and hears all the others.
//
// One thread. Every 20 ms, at times that are counted from the start and so do not drift, it takes what has come to each
// socket, lets the conference (conference.h) go on, and sends to each party what it hears. It never waits for a socket:
// what comes in between waits in the kernel, and of a flood no more than a batch is looked at in a tick.
#include "audio_file.h"
#include "conference.h"
#include "options.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const ProgramText kText = {
    "pcm-bridge",
    "Usage: pcm-bridge --parties N --port P [OPTION]...\n"
    "A telephone conference over RTP. N parties send packets, mostly of 20 ms, to the UDP ports P, P + 2,\n"
    "P + 4 and so on, and each hears all the others. Ctrl-C ends it.\n"};

struct Options {
    pbInt parties = 0, port = 0, payloadType = 96, delay = 60, rate = 0;
    std::string encodings = "PCMU", levels = "0", address = "127.0.0.1", record;
    std::optional<std::pair<std::string, pbInt>> to;
    pbReal seconds = 1e9;
};

using Clock = std::chrono::steady_clock;
constexpr Clock::duration kTick = std::chrono::milliseconds(1000 / kTicksPerSecond);
constexpr pbInt kHighestPort = 65535;

/// @return the item of a comma-separated list, or its last if there are fewer
std::string ItemOf(const std::string &list, std::size_t index)
{
    std::size_t begin = 0;
    for (auto comma = list.find(','); index-- && comma != list.npos; comma = list.find(',', begin))
        begin = comma + 1;
    return list.substr(begin, list.find(',', begin) - begin);
}

RtpFormat FormatOf(std::string name, const Options &options)
{
    if (name == "L16")
        name += '/' + std::to_string(options.rate ? options.rate : 8000);
    const auto found = std::ranges::find(kRtpFormats, name, &RtpFormat::name);
    if (found == std::end(kRtpFormats))
        throw Failure("unknown encoding '" + name + "'; see pcm-bridge --help");
    RtpFormat format = *found;
    if (format.payloadType == kDynamic)
        format.payloadType = static_cast<int>(options.payloadType);
    return format;
}

/// @return nothing when only the help or the version was asked for
std::optional<Options> ParseArguments(const std::vector<std::string> &arguments)
{
    Options options;
    const auto words =
        WordsOf(kText,
                {{"--parties", "N", "how many, 1 to 1000",
                  [&](auto &name, auto &value) { options.parties = CountOf(name, value, 1, 1000); }},
                 {"--port", "P", "the first party's port",
                  [&](auto &name, auto &value) { options.port = CountOf(name, value, 1, kHighestPort); }},
                 {"--encoding", "NAME[,NAME]...",
                  "of each party, the last also of all that follow: PCMU, PCMA, L16/8000, L16/16000,\n"
                  "L16/44100, L16/48000, or L16 at the rate of --rate; default PCMU",
                  [&](auto &, auto &value) { options.encodings = value; }},
                 {"--payload-type", "N", "of L16 at other rates than 44100, 96 to 127; default 96",
                  [&](auto &name, auto &value) { options.payloadType = CountOf(name, value, 96, 127); }},
                 {"--level", "DB[,DB]...",
                  "raise the level of each party by so many decibels, or lower it: -200 to 40;\n"
                  "the last also of all that follow",
                  [&](auto &, auto &value) { options.levels = value; }},
                 {"--delay", "MS", "how long packets wait for those that come late: 0 to 200; default 60",
                  [&](auto &name, auto &value) { options.delay = CountOf(name, value, 0, 200); }},
                 {"--rate", "HZ", "frames per second of the recording; default: as of the first party",
                  [&](auto &name, auto &value) { options.rate = CountOf(name, value, 8000, 48000); }},
                 {"--record", "FILE", "record all parties together, 16 bits in a .wav, .au or .raw file",
                  [&](auto &, auto &value) { options.record = value; }},
                 {"--seconds", "S", "end after so many",
                  [&](auto &name, auto &value) { options.seconds = NumberOf(name, value, 0.02, options.seconds); }},
                 {"--address", "A", "where to listen; default 127.0.0.1, which only this machine reaches",
                  [&](auto &, auto &value) { options.address = value; }},
                 {"--to", "A:P", "send to the ports P, P + 2 ... of A, and not to where a party's packets come from",
                  [&](auto &name, auto &value) {
                      const std::size_t colon = std::min(value.rfind(':'), value.size());
                      const std::string port = value.substr(std::min(colon + 1, value.size()));
                      options.to.emplace(value.substr(0, colon), CountOf(name + " A:P as P", port, 1, kHighestPort));
                  }}},
                arguments);
    if (!words)
        return std::nullopt;
    if (!options.parties || !options.port || !words->empty())
        throw Failure("needs --parties and --port, and takes nothing but options; see pcm-bridge --help");
    if (std::max(options.port, options.to ? options.to->second : 0) + 2 * (options.parties - 1) > kHighestPort)
        throw Failure("so many parties need more ports than there are from this one on");
    return options;
}

/// Where datagrams come from or go to.
struct Address {
    sockaddr_storage bytes = {};
    socklen_t length = sizeof bytes; ///< of what is known, or of the room for it

    bool operator==(const Address &other) const
    {
        return length == other.length && std::memcmp(&bytes, &other.bytes, length) == 0;
    }
    sockaddr *Get() { return reinterpret_cast<sockaddr *>(&bytes); }
};

Address AddressOf(const std::string &host, pbInt port)
{
    addrinfo hints = {}, *found = nullptr;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_DGRAM;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0)
        throw Failure("'" + host + "' is no address");
    Address address;
    std::memcpy(&address.bytes, found->ai_addr, address.length = found->ai_addrlen);
    freeaddrinfo(found);
    return address;
}

/// A UDP port that never waits.
class Socket {
public:
    explicit Socket(Address address) : fd_(socket(address.bytes.ss_family, SOCK_DGRAM | SOCK_NONBLOCK, 0))
    {
        if (!fd_ || bind(fd_.Get(), address.Get(), address.length) != 0)
            throw Failure(std::strerror(errno));
    }

    /// Hands over what has come, at most a batch of it. What is longer than any packet comes cut off.
    template <class Take> void Receive(Take take)
    {
        static std::byte bytes[20480]; // 200 ms of L16 at 48000 Hz are 19200
        for (int i = 0; i < 32; ++i) {
            Address from;
            const auto length = recvfrom(fd_.Get(), bytes, sizeof bytes, 0, from.Get(), &from.length);
            if (length < 0)
                break;
            take(std::span<const std::byte>(bytes, static_cast<std::size_t>(length)), from);
        }
    }

    /// @return whether the kernel took it
    bool Send(std::span<const std::byte> datagram, Address &to)
    {
        return sendto(fd_.Get(), datagram.data(), datagram.size(), 0, to.Get(), to.length) >= 0;
    }

private:
    Descriptor fd_;
};

volatile std::sig_atomic_t interrupted = 0;

extern "C" void OnInterrupt(int)
{
    interrupted = 1;
}

std::vector<Party> PartiesOf(const Options &options)
{
    std::vector<Party> parties;
    for (std::size_t i = 0; i < static_cast<std::size_t>(options.parties); ++i) {
        const RtpFormat format = FormatOf(ItemOf(options.encodings, i), options);
        parties.emplace_back(format, options.delay, NumberOf("--level", ItemOf(options.levels, i), -200.0, 40.0));
        for (const pbInt rate : {parties.front().Format().rate, options.rate ? options.rate : format.rate})
            if (!CanConvert(format.rate, rate))
                throw Failure("there is no filter between " + std::to_string(format.rate) + " Hz and " +
                              std::to_string(rate) + " Hz");
    }
    return parties;
}

/// The conference's ports, clock and recording.
class Bridge {
public:
    explicit Bridge(const Options &options) : conference_(PartiesOf(options), options.rate)
    {
        for (pbInt i = 0; i < options.parties; ++i) {
            const pbInt port = options.port + 2 * i;
            try {
                lines_.push_back({Socket(AddressOf(options.address, port)), {}, {}});
            } catch (const Failure &failure) {
                throw Failure("cannot listen on port " + std::to_string(port) + ": " + failure.what());
            }
            if (options.to)
                lines_.back().to = AddressOf(options.to->first, options.to->second + 2 * i);
        }
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) // before the recorder sets its own, which gives the file up
            if (std::signal(signal, OnInterrupt) == SIG_IGN)
                std::signal(signal, SIG_IGN);
        if (!options.record.empty()) {
            const int container = ContainerOf(options.record);
            const SampleFormat &format = UsualFormat(container, PCM_ENCODING_INT_16);
            recorder_.emplace(options.record, container, format, conference_.Rate(), 1);
            recorded_ = format.encoding;
        }
        report_ = ReportFile(options.record);
    }

    /// Until so many ticks are over, or somebody ends it.
    void Run(pbInt ticks)
    {
        const bool terminal = isatty(STDERR_FILENO);
        const auto start = Clock::now();
        for (; ticks_ < ticks && !interrupted; ++ticks_) {
            const auto due = start + ticks_ * kTick;
            std::this_thread::sleep_until(due);
            const auto begun = Clock::now();
            Tick();
            load_ += std::chrono::duration<double>(Clock::now() - begun) / kTick;
            mostLate_ = std::max(mostLate_, std::chrono::duration<double, std::milli>(begun - due).count());
            if (terminal && ticks_ % (kTicksPerSecond / 5) == 0)
                std::fprintf(stderr, "\r%s\033[K", Status().c_str());
        }
        if (recorder_)
            recorder_->Finish();
        if (terminal)
            std::fputs("\r\033[K", stderr);
        std::fprintf(report_, "%s\n", Status().c_str());
    }

private:
    struct Line {
        Socket socket;
        Address peer;              ///< where the party's packets come from
        std::optional<Address> to; ///< where its own go, if elsewhere
    };

    void Tick()
    {
        for (std::size_t i = 0; i < lines_.size(); ++i)
            lines_[i].socket.Receive([&](std::span<const std::byte> datagram, const Address &from) {
                // Who speaks keeps the port until he has been quiet for a second.
                if (from != lines_[i].peer && conference_.At(i).Quiet() < kTicksPerSecond)
                    ++strange_;
                else if (conference_.Receive(i, datagram))
                    lines_[i].peer = from;
            });
        conference_.Tick();
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            Line &line = lines_[i];
            if (line.to || conference_.At(i).Quiet() < kForgotten)
                sent_ += line.socket.Send(conference_.Outgoing(i), line.to ? *line.to : line.peer);
        }
        if (recorder_)
            Record();
    }

    /// A recording that fails is given up; the conference goes on.
    void Record()
    {
        try {
            recorder_->Write(conference_.Mix().Encode(recorded_));
        } catch (const Failure &failure) {
            std::fprintf(stderr, "pcm-bridge: %s\n", failure.what());
            recorder_.reset();
        }
    }

    /// One line: numbers, and the peaks of the last 20 ms of as many parties as there is room for.
    std::string Status() const
    {
        Counts sum;
        pbInt speaking = 0;
        std::string peaks;
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            const Counts &counts = conference_.At(i).Count();
            sum.received += counts.received;
            sum.lost += std::max<pbInt>(counts.lost, 0);
            sum.late += counts.late;
            sum.duplicates += counts.duplicates;
            sum.dropped += counts.dropped;
            speaking += conference_.At(i).Quiet() < kTicksPerSecond;
            PCM_SAMPLE peak = 0;
            if (i < kPeaksShown && conference_.Said(i))
                for (const PCM_SAMPLE sample : conference_.Said(i).Samples())
                    peak = std::max(peak, std::fabs(sample));
            if (i < kPeaksShown)
                peaks += peak > 0 ? ' ' + std::to_string(std::lround(pcm::DecibelFromGain(peak))) : " -";
        }
        char text[400];
        std::snprintf(text, sizeof text,
                      "%.2f s, %lld of %zu parties, %lld in, %lld out, %lld lost, %lld late, %lld doubled, %lld "
                      "refused, clock %.1f %% busy, at most %.1f ms late, peaks%s dB",
                      static_cast<double>(ticks_) / kTicksPerSecond, Number(speaking), lines_.size(),
                      Number(sum.received), Number(sent_), Number(sum.lost), Number(sum.late), Number(sum.duplicates),
                      Number(sum.dropped + strange_), 100 * load_ / static_cast<double>(ticks_ + 1), mostLate_,
                      peaks.c_str());
        return text;
    }

    static long long Number(pbInt number) { return number; } // as printf wants it

    static constexpr pbInt kForgotten = 30 * kTicksPerSecond; // who has been quiet for so long is sent no more
    static constexpr std::size_t kPeaksShown = 8;

    Conference conference_;
    std::vector<Line> lines_;
    std::optional<AudioWriter> recorder_;
    pcm::Encoding recorded_;
    FILE *report_ = stdout;
    pbInt ticks_ = 0, sent_ = 0, strange_ = 0;
    double load_ = 0;     // 1: a whole tick
    double mostLate_ = 0; // milliseconds
};

void Run(const std::vector<std::string> &arguments)
{
    const auto options = ParseArguments(arguments);
    if (!options)
        return;
    const pcm::Module module;
    Bridge(*options).Run(static_cast<pbInt>(options->seconds * kTicksPerSecond));
}

} // namespace

int main(int argc, char **argv)
{
    return RunProgram(kText, [&] { Run({argv + 1, argv + argc}); });
}
