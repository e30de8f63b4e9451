// Bridge: a telephone conference over RTP. Each party sends to a port of its own and hears all the others.
//
// One thread. Every 20 ms, at times that are counted from the start and so do not drift, it takes what has come to the
// sockets (network.h), advances the conference (conference.h), and sends to each party what it hears. It never waits
// for a socket: what comes in between waits in the kernel, and a tick reads at most one batch of a flood.
#include "audio_file.h"
#include "conference.h"
#include "network.h"
#include "options.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace {

const ProgramText kText = {
    "pcm-bridge",
    "Usage: pcm-bridge --parties N --port P [OPTION]...\n"
    "A telephone conference over RTP. N parties send packets, mostly of 20 ms, to the UDP ports P, P + 2,\n"
    "P + 4 and so on, and each hears all the others. Ctrl-C ends it.\n"};

struct Options {
    pbInt parties = 0, port = 0, payloadType = 96, rate = 0, keep = 30;
    PartyOptions party;
    std::string encodings = "PCMU", levels = "0", address = "127.0.0.1", record, statistics;
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

std::string FormatNames()
{
    std::string names;
    for (const RtpFormat &format : kRtpFormats)
        names += (names.empty() ? "" : ", ") + std::string(format.name);
    return names;
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
    const auto words = WordsOf(
        kText,
        {{"--parties", "N", "how many, 1 to 10000",
          [&](auto &name, auto &value) { options.parties = CountOf(name, value, 1, 10000); }},
         {"--port", "P", "the first party's port",
          [&](auto &name, auto &value) { options.port = CountOf(name, value, 1, kHighestPort); }},
         {"--encoding", "NAME[,NAME]...",
          "of each party, the last also of all that follow; default PCMU:\n" + FormatNames() +
              ",\nor L16 at the rate of --rate",
          [&](auto &, auto &value) { options.encodings = value; }},
         {"--payload-type", "N", "of L16 at other rates than 44100, 96 to 127; default 96",
          [&](auto &name, auto &value) { options.payloadType = CountOf(name, value, 96, 127); }},
         {"--level", "DB[,DB]...",
          "raise the level of each party by DB decibels, or lower it: -200 to 40;\n"
          "the last also of all that follow",
          [&](auto &, auto &value) { options.levels = value; }},
         {"--delay", "MIN[:MAX]",
          "bounds of how long packets wait for those that come late, in milliseconds from 0 to 1000;\n"
          "default 40:400",
          [&](auto &name, auto &value) {
              const std::size_t colon = std::min(value.find(':'), value.size());
              options.party.leastDelay = CountOf(name, value.substr(0, colon), 0, 1000);
              options.party.mostDelay = std::max(options.party.leastDelay, options.party.mostDelay);
              if (colon < value.size())
                  options.party.mostDelay = CountOf(name, value.substr(colon + 1), options.party.leastDelay, 1000);
          }},
         {"--ptime", "MS", "in a packet to a party: 10 to 60, a multiple of 10; default 20",
          [&](auto &name, auto &value) {
              options.party.packetTime = CountOf(name, value, 10, 60);
              if (options.party.packetTime % 10)
                  throw Failure("--ptime takes a multiple of 10, not '" + value + "'");
          }},
         {"--digits", "HOW", "what becomes of telephone events: tones or events; default tones",
          [&](auto &, auto &value) {
              if (value != "tones" && value != "events")
                  throw Failure("--digits takes tones or events, not '" + value + "'");
              options.party.digits = value == "tones" ? Digits::kTones : Digits::kEvents;
          }},
         {"--event-type", "N", "payload type of telephone events, 96 to 127; default 101",
          [&](auto &name, auto &value) { options.party.eventType = static_cast<int>(CountOf(name, value, 96, 127)); }},
         {"--keep", "S", "go on sending to a party that has sent nothing for so long, 0: always; default 30",
          [&](auto &name, auto &value) { options.keep = CountOf(name, value, 0, 1000000); }},
         {"--statistics", "FILE", "write what is known of each party, a line of JSON every second",
          [&](auto &, auto &value) { options.statistics = value; }},
         {"--rate", "HZ", "frames per second of the recording; default: as of the first party",
          [&](auto &name, auto &value) { options.rate = CountOf(name, value, 8000, 48000); }},
         {"--record", "FILE", "record all parties together, 16 bits in a .wav, .au or .raw file",
          [&](auto &, auto &value) { options.record = value; }},
         {"--seconds", "S", "end after S seconds",
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
    if (std::max(options.port, options.to ? options.to->second : 0) + 2 * options.parties - 1 > kHighestPort)
        throw Failure("there are not enough ports above this one for all parties");
    if (options.party.eventType == options.payloadType)
        throw Failure("--event-type and --payload-type are the same");
    return options;
}

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
        PartyOptions party = options.party;
        party.level = NumberOf("--level", ItemOf(options.levels, i), -200.0, 40.0);
        parties.emplace_back(format, party);
        for (const pbInt rate : {parties.front().Format().rate, options.rate ? options.rate : format.rate})
            if (!CanConvert(format.rate, rate))
                throw Failure("there is no filter between " + std::to_string(format.rate) + " Hz and " +
                              std::to_string(rate) + " Hz");
    }
    return parties;
}

/// As many files at once as the system allows: two sockets for each party.
void AllowManyFiles()
{
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

/// The conference's ports, clock and recording.
class Bridge {
public:
    explicit Bridge(const Options &options)
        : conference_(PartiesOf(options), options.rate), forgotten_(options.keep * kTicksPerSecond)
    {
        AllowManyFiles();
        for (pbInt i = 0; i < options.parties; ++i) {
            const pbInt port = options.port + 2 * i;
            try {
                lines_.push_back({Socket(Address(options.address, port)),
                                  Socket(Address(options.address, port + 1)),
                                  {},
                                  false,
                                  false,
                                  {},
                                  NextReport()});
                poll_.Add(lines_.back().rtp, static_cast<std::uint64_t>(2 * i));
                poll_.Add(lines_.back().rtcp, static_cast<std::uint64_t>(2 * i + 1));
            } catch (const Failure &failure) {
                throw Failure("cannot listen on ports " + std::to_string(port) + " and " + std::to_string(port + 1) +
                              ": " + failure.what());
            }
            if (options.to)
                lines_.back().to = Address(options.to->first, options.to->second + 2 * i);
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
        if (!options.statistics.empty()) {
            statistics_.reset(std::fopen(options.statistics.c_str(), "w"));
            if (!statistics_)
                throw Failure("cannot write " + options.statistics);
        }
        report_ = ReportFile(options.record);
    }

    /// Until that many ticks have passed, or a signal ends it.
    void Run(pbInt ticks)
    {
        const bool terminal = isatty(STDERR_FILENO);
        start_ = Clock::now();
        for (; ticks_ < ticks && !interrupted; ++ticks_) {
            const auto due = start_ + ticks_ * kTick;
            std::this_thread::sleep_until(due);
            const auto begun = Clock::now();
            if (begun - due > kMostBehind) // the computer had no time for us: what is missed is not made up for
                start_ += begun - due;
            Tick();
            load_ += std::chrono::duration<double>(Clock::now() - begun) / kTick;
            mostLate_ = std::max(mostLate_, std::chrono::duration<double, std::milli>(begun - due).count());
            if (terminal && ticks_ % (kTicksPerSecond / 5) == 0)
                std::fprintf(stderr, "\r%s\033[K", Status().c_str());
        }
        for (std::size_t i = 0; i < lines_.size(); ++i)
            Report(i, true);
        if (recorder_)
            recorder_->Finish();
        if (terminal)
            std::fputs("\r\033[K", stderr);
        std::fprintf(report_, "%s\n", Status().c_str());
    }

private:
    struct Line {
        Socket rtp, rtcp;
        Address peer;              ///< where the party's packets come from
        bool held;                 ///< whether packets from elsewhere are kept out
        bool oneSocket;            ///< whether its reports come to the port of its packets (RFC 5761)
        std::optional<Address> to; ///< where its own go, if elsewhere
        pbInt nextReport;          ///< tick
    };

    void Tick()
    {
        const Seconds now = std::chrono::duration<double>(Clock::now() - start_).count();
        const double wallClock = WallClock();
        const auto receive = [&](std::uint64_t number) {
            const std::size_t i = number / 2;
            Line &line = lines_[i];
            if (number % 2)
                line.rtcp.Receive(wallClock, [&](auto datagram, const Address &from, double) {
                    const bool known = from.SameHost(line.peer) || (line.to && from.SameHost(*line.to));
                    strange_ += !(known && conference_.At(i).ReceiveReport(datagram, NtpTime()));
                });
            else
                line.rtp.Receive(wallClock, [&](auto datagram, const Address &from, double age) {
                    Take(i, datagram, from, now - age);
                });
        };
        // One of each socket that has any, which is all there is as a rule, and so on until none has.
        for (int round = 0; round < kMostPackets && poll_.Ready(2 * lines_.size(), receive); ++round) {
        }
        conference_.Tick();
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            Line &line = lines_[i];
            if (line.held && !conference_.At(i).Present()) {
                line.rtp.Free();
                line.held = false;
            }
            if (!Listens(i))
                continue;
            const Outgoing &outgoing = conference_.ToParty(i);
            for (std::size_t n = 0; n < outgoing.Size(); ++n)
                sent_ += line.held && !line.to ? line.rtp.Send(outgoing[n])
                                               : line.rtp.Send(outgoing[n], line.to ? *line.to : line.peer);
            if (ticks_ >= line.nextReport) {
                Report(i, false);
                line.nextReport = ticks_ + NextReport();
            }
        }
        if (recorder_)
            Record();
        if (statistics_ && ticks_ % kTicksPerSecond == 0)
            WriteStatistics();
    }

    /// A datagram at a party's port. The sender keeps the port as long as it is present.
    void Take(std::size_t i, std::span<const std::byte> datagram, const Address &from, Seconds arrival)
    {
        Line &line = lines_[i];
        if (line.held && from != line.peer) { // it came before the socket was connected
            ++strange_;
        } else if (IsRtcp(datagram)) {
            if (from == line.peer && conference_.At(i).ReceiveReport(datagram, NtpTime()))
                line.oneSocket = true;
            else
                ++strange_;
        } else if (conference_.Receive(i, datagram, arrival) && !line.held) {
            line.rtp.Hold(from);
            line.held = true;
            line.oneSocket &= from == line.peer;
            line.peer = from;
        }
    }

    /// Whether there is anywhere to send to.
    bool Listens(std::size_t i) const
    {
        const pbInt quiet = conference_.At(i).Quiet();
        return lines_[i].to || quiet < (forgotten_ ? forgotten_ : kNever);
    }

    void Report(std::size_t i, bool last)
    {
        if (!Listens(i))
            return;
        Line &line = lines_[i];
        const Address &to = line.to ? *line.to : line.peer;
        const Datagram report = conference_.At(i).Report(NtpTime(), last);
        if (line.oneSocket)
            line.rtp.Send(report, to);
        else
            line.rtcp.Send(report, to.WithPort(to.Port() + 1));
    }

    /// Ticks until the next report, 2.5 to 7.5 seconds, so that not all parties are sent theirs at once.
    pbInt NextReport() { return kTicksPerSecond * 5 / 2 + static_cast<pbInt>(random_() % (kTicksPerSecond * 5)); }

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

    void WriteStatistics()
    {
        FILE *file = statistics_.get();
        std::fprintf(file, "{\"seconds\":%lld,\"parties\":[", Number(ticks_ / kTicksPerSecond));
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            const Statistics counts = conference_.At(i).Count();
            const double perSecond = static_cast<double>(conference_.At(i).Format().rate);
            std::fprintf(file,
                         "%s{\"party\":%zu,\"received\":%lld,\"lost\":%lld,\"late\":%lld,\"doubled\":%lld,"
                         "\"refused\":%lld,\"concealed_s\":%.3f,\"corrected_s\":%.3f,\"jitter_ms\":%.2f,"
                         "\"delay_ms\":%.1f,\"aim_ms\":%.1f,\"level_db\":%.1f,\"peer_lost\":%.4f,"
                         "\"peer_jitter_ms\":%.2f,\"round_trip_ms\":%.2f}",
                         i ? "," : "", i + 1, Number(counts.received), Number(counts.lost), Number(counts.late),
                         Number(counts.duplicates), Number(counts.refused),
                         static_cast<double>(counts.concealed) / perSecond,
                         static_cast<double>(counts.corrected) / perSecond, counts.jitter, counts.delay, counts.aim,
                         counts.level, counts.peerLost, counts.peerJitter, counts.roundTrip);
        }
        std::fputs("]}\n", file);
        std::fflush(file);
    }

    /// One line: sums, the worst of all parties, and the peaks of the last 20 ms of as many as there is room for.
    std::string Status() const
    {
        Statistics sum, worst;
        pbInt speaking = 0;
        std::string peaks;
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            const Statistics counts = conference_.At(i).Count();
            sum.received += counts.received;
            sum.lost += counts.lost;
            sum.late += counts.late;
            sum.duplicates += counts.duplicates;
            sum.refused += counts.refused;
            worst.lost = std::max(worst.lost, counts.lost);
            worst.jitter = std::max(worst.jitter, counts.jitter);
            worst.delay = std::max(worst.delay, counts.delay);
            speaking += conference_.At(i).Quiet() < kTicksPerSecond;
            PCM_SAMPLE peak = 0;
            if (i < kPeaksShown && conference_.Said(i))
                for (const PCM_SAMPLE sample : conference_.Said(i).Samples())
                    peak = std::max(peak, std::fabs(sample));
            if (i < kPeaksShown)
                peaks += peak > 0 ? ' ' + std::to_string(std::lround(pcm::DecibelFromGain(peak))) : " -";
        }
        char text[500];
        std::snprintf(text, sizeof text,
                      "%.2f s, %lld of %zu parties, %lld in, %lld out, %lld lost, %lld late, %lld doubled, %lld "
                      "refused, at worst %lld lost, jitter %.1f ms, delay %.0f ms, clock %.1f %% busy, at most %.1f ms "
                      "late, peaks%s dB",
                      static_cast<double>(ticks_) / kTicksPerSecond, Number(speaking), lines_.size(),
                      Number(sum.received), Number(sent_), Number(sum.lost), Number(sum.late), Number(sum.duplicates),
                      Number(sum.refused + strange_), Number(worst.lost), worst.jitter, worst.delay,
                      100 * load_ / static_cast<double>(ticks_ + 1), mostLate_, peaks.c_str());
        return text;
    }

    static long long Number(pbInt number) { return number; } // as printf wants it

    struct Close {
        void operator()(FILE *file) const { std::fclose(file); }
    };
    static constexpr int kMostPackets = 32; // of a port in a tick
    static constexpr auto kMostBehind = std::chrono::milliseconds(500);
    static constexpr pbInt kNever = pbInt{1} << 40;
    static constexpr std::size_t kPeaksShown = 8;

    Conference conference_;
    Poll poll_;
    std::vector<Line> lines_;
    std::optional<AudioWriter> recorder_;
    pcm::Encoding recorded_;
    std::unique_ptr<FILE, Close> statistics_;
    FILE *report_ = stdout;
    std::minstd_rand random_{std::random_device()()};
    Clock::time_point start_;
    pbInt forgotten_; // ticks
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
