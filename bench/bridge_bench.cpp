// The bridge without its network: how many parties, or calls through gateways, one core carries in real time while all
// of them speak all the time. Beside it the same work by FFmpeg's libraries, G.711 by libavcodec and rates by
// libswresample, with plain loops for the sums; that leaves out RTP and the waiting for late packets.
#include "support.h"

#include <conference.h>

#include <algorithm>
#include <memory>

#ifdef PCM_BENCH_FFMPEG
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}
#endif

namespace {

constexpr RtpFormat kMulaw = kRtpFormats[0];
constexpr RtpFormat kWide = {"L16/16000", kL16, 16000, 96};

/// 20 ms of noise as a party of the format sends it.
std::vector<std::byte> Spoken(const RtpFormat &format)
{
    auto pkt = pcm::Packet(Noise(static_cast<std::size_t>(format.rate / kTicksPerSecond)), 1);
    pkt.LevelAdjust(-20.0);
    const auto payload = pkt.Encode(format.encoding);
    return {payload.Bytes().begin(), payload.Bytes().end()};
}

/// Conferences that are all alike.
class Bridge {
public:
    Bridge(std::size_t conferences, const std::vector<RtpFormat> &formats)
    {
        for (std::size_t i = 0; i < conferences; ++i) {
            std::vector<Party> parties;
            for (const RtpFormat &format : formats)
                parties.emplace_back(format);
            conferences_.emplace_back(std::move(parties), 0);
        }
        for (const RtpFormat &format : formats) {
            datagrams_.emplace_back(kRtpHeaderBytes);
            const auto payload = Spoken(format);
            datagrams_.back().insert(datagrams_.back().end(), payload.begin(), payload.end());
        }
        for (int tick = 0; tick < 10; ++tick) // until what was said first is heard
            Tick();
    }

    void Tick()
    {
        ++tick_;
        for (std::size_t i = 0; i < datagrams_.size(); ++i) {
            const Party &party = conferences_.front().At(i);
            const auto header = RtpHeaderBytes({static_cast<std::uint8_t>(party.Format().payloadType),
                                                static_cast<std::uint16_t>(tick_),
                                                static_cast<std::uint32_t>(tick_ * party.Frames()), 1});
            std::ranges::copy(header, datagrams_[i].begin());
        }
        for (Conference &conference : conferences_) {
            for (std::size_t i = 0; i < datagrams_.size(); ++i)
                conference.Receive(i, datagrams_[i], static_cast<Seconds>(tick_) / kTicksPerSecond);
            conference.Tick();
            benchmark::DoNotOptimize(conference.ToParty(0)[0].data());
        }
    }

private:
    std::vector<Conference> conferences_;
    std::vector<std::vector<std::byte>> datagrams_; // by party, the same in all conferences
    pbInt tick_ = -1;
};

#ifdef PCM_BENCH_FFMPEG
template <class T, void (*free)(T **)> struct Free {
    void operator()(T *object) const { free(&object); }
};
using Context = std::unique_ptr<AVCodecContext, Free<AVCodecContext, avcodec_free_context>>;
using Frame = std::unique_ptr<AVFrame, Free<AVFrame, av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Free<AVPacket, av_packet_free>>;
using Resampler = std::unique_ptr<SwrContext, Free<SwrContext, swr_free>>;

Context Opened(const AVCodec *codec, pbInt rate)
{
    Context context(avcodec_alloc_context3(codec));
    context->sample_rate = static_cast<int>(rate);
    context->sample_fmt = AV_SAMPLE_FMT_S16;
    av_channel_layout_default(&context->ch_layout, 1);
    avcodec_open2(context.get(), codec, nullptr);
    return context;
}

/// One party or leg: bytes in, samples of 16 bits, bytes out.
struct Leg {
    explicit Leg(const RtpFormat &format)
        : decoder(Opened(avcodec_find_decoder(Id(format)), format.rate)),
          encoder(Opened(avcodec_find_encoder(Id(format)), format.rate))
    {
        const auto payload = Spoken(format);
        av_new_packet(in.get(), static_cast<int>(payload.size()));
        std::ranges::copy(std::as_bytes(std::span(payload)), reinterpret_cast<std::byte *>(in->data));
        heard->format = AV_SAMPLE_FMT_S16;
        heard->sample_rate = static_cast<int>(format.rate);
        heard->nb_samples = static_cast<int>(format.rate / kTicksPerSecond);
        av_channel_layout_default(&heard->ch_layout, 1);
        av_frame_get_buffer(heard.get(), 0);
    }

    static AVCodecID Id(const RtpFormat &format)
    {
        return format.rate == 8000 ? AV_CODEC_ID_PCM_MULAW : AV_CODEC_ID_PCM_S16BE;
    }
    static std::span<std::int16_t> Samples(const Frame &frame)
    {
        return {reinterpret_cast<std::int16_t *>(frame->data[0]), static_cast<std::size_t>(frame->nb_samples)};
    }

    std::span<const std::int16_t> Receive()
    {
        avcodec_send_packet(decoder.get(), in.get());
        avcodec_receive_frame(decoder.get(), said.get());
        return Samples(said);
    }
    void Send()
    {
        avcodec_send_frame(encoder.get(), heard.get());
        avcodec_receive_packet(encoder.get(), out.get());
        benchmark::DoNotOptimize(out->data);
    }

    Context decoder, encoder;
    Packet in{av_packet_alloc()}, out{av_packet_alloc()};
    Frame said{av_frame_alloc()}, heard{av_frame_alloc()};
};

struct FFmpegConference {
    explicit FFmpegConference(std::size_t parties)
    {
        for (std::size_t i = 0; i < parties; ++i)
            legs.emplace_back(kMulaw);
    }

    void Tick()
    {
        std::ranges::fill(sum, 0);
        for (Leg &leg : legs)
            std::ranges::transform(sum, leg.Receive(), sum.begin(), std::plus<int>());
        for (Leg &leg : legs) {
            av_frame_make_writable(leg.heard.get());
            std::ranges::transform(sum, Leg::Samples(leg.said), Leg::Samples(leg.heard).begin(), [](int all, int own) {
                return static_cast<std::int16_t>(std::clamp(all - own, -32768, 32767));
            });
            leg.Send();
        }
    }

    std::vector<Leg> legs;
    std::vector<int> sum = std::vector<int>(160);
};

struct FFmpegGateways {
    struct Gateway {
        Leg legs[2] = {Leg(kMulaw), Leg(kWide)};
        Resampler to[2] = {Between(legs[1], legs[0]), Between(legs[0], legs[1])};

        static Resampler Between(const Leg &from, const Leg &to)
        {
            SwrContext *context = nullptr;
            swr_alloc_set_opts2(&context, &to.heard->ch_layout, AV_SAMPLE_FMT_S16, to.heard->sample_rate,
                                &from.heard->ch_layout, AV_SAMPLE_FMT_S16, from.heard->sample_rate, 0, nullptr);
            av_opt_set_int(context, "filter_size", 8, 0); // at 8000 Hz: 16 taps at 16000 Hz, as ours
            swr_init(context);
            return Resampler(context);
        }
    };

    explicit FFmpegGateways(std::size_t count) : gateways(count) {}

    void Tick()
    {
        for (Gateway &gateway : gateways)
            for (int i = 0; i < 2; ++i) {
                Leg &from = gateway.legs[1 - i], &to = gateway.legs[i];
                from.Receive();
                av_frame_make_writable(to.heard.get());
                auto *in = const_cast<const std::uint8_t **>(from.said->data);
                swr_convert(gateway.to[i].get(), to.heard->data, to.heard->nb_samples, in, from.said->nb_samples);
                to.Send();
            }
    }

    std::vector<Gateway> gateways;
};
#endif

/// Adds a row of `count` parties or calls, 20 ms in an iteration: "x real time" is how many one core carries.
template <class Calls, class... Arguments>
void Row(const std::string &name, const std::string &yardstick, std::size_t count, Arguments... arguments)
{
    AddRow(name, yardstick, [=](benchmark::State &state) {
        Calls calls(arguments...);
        for (auto _ : state)
            calls.Tick();
        state.counters[kRealTime] =
            benchmark::Counter(0.02 * static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate);
    });
}

const bool registered = [] {
    constexpr std::size_t kGateways = 1000;
    const auto parties = [](std::size_t count) { return "conference/" + std::to_string(count) + " parties of mu-law"; };
    const std::string gateways = "gateways/1000 of mu-law and 16 kHz L16";
#ifdef PCM_BENCH_FFMPEG
    for (const std::size_t count : {3, 10, 100, 1000})
        Row<FFmpegConference>("ffmpeg " + parties(count), "", count, count);
    Row<FFmpegGateways>("ffmpeg " + gateways, "", kGateways, kGateways);
#endif
    for (const std::size_t count : {3, 10, 100, 1000})
        Row<Bridge>("bridge " + parties(count), "ffmpeg " + parties(count), count, 1, std::vector(count, kMulaw));
    Row<Bridge>("bridge " + gateways, "ffmpeg " + gateways, kGateways, kGateways, std::vector{kMulaw, kWide});
    return true;
}();

} // namespace
