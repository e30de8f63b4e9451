// Conversion: each encoding in both directions, between external encodings, and packets to and from bytes.
#include "support.h"

#include <pcm/pcm.hpp>

#include <algorithm>
#include <cstring>
#include <string_view>

#ifdef PCM_BENCH_VOLK
#include <volk/volk.h>
#endif
#ifdef PCM_BENCH_SNDFILE
#include <sndfile.h>
#endif
#ifdef PCM_BENCH_FFMPEG
extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}
#endif

namespace {

constexpr std::size_t kSizes[] = {160, 960, 65536, 16777216}; // samples; the last is 64 MiB of floats

struct Encoding {
    std::string_view name;
    PCM_ENCODING encoding;
};
constexpr Encoding kEncodings[] = {
    {"s8", PCM_ENCODING_INT_8},
    {"u8", PCM_ENCODING_INT_8 | PCM_ENCODING_UNSIGNED},
    {"s16le", PCM_ENCODING_INT_16},
    {"s16be", PCM_ENCODING_INT_16 | PCM_ENCODING_BIG_ENDIAN},
    {"u16le", PCM_ENCODING_INT_16 | PCM_ENCODING_UNSIGNED},
    {"s24le", PCM_ENCODING_INT_24},
    {"s24be", PCM_ENCODING_INT_24 | PCM_ENCODING_BIG_ENDIAN},
    {"s24le-in-32", PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32},
    {"s32le", PCM_ENCODING_INT_32},
    {"s32be", PCM_ENCODING_INT_32 | PCM_ENCODING_BIG_ENDIAN},
    {"u32le", PCM_ENCODING_INT_32 | PCM_ENCODING_UNSIGNED},
    {"f32le", PCM_ENCODING_FLOAT_32},
    {"f32be", PCM_ENCODING_FLOAT_32 | PCM_ENCODING_BIG_ENDIAN},
    {"s16le-in-64", PCM_ENCODING_INT_16 | PCM_ENCODING_PACK_64},
    {"alaw", PCM_ENCODING_G711_ALAW},
    {"mulaw", PCM_ENCODING_G711_MULAW},
};

[[maybe_unused]] PCM_ENCODING EncodingOf(std::string_view name)
{
    return std::ranges::find(kEncodings, name, &Encoding::name)->encoding;
}

std::size_t SizeOf(PCM_ENCODING encoding)
{
    return static_cast<std::size_t>(pcmEncodingSizeofSample(encoding));
}

std::string Name(const char *what, std::string_view encoding, std::size_t samples)
{
    return std::string(what).append("/").append(encoding).append("/").append(std::to_string(samples));
}

/// A row that converts samples between two encodings.
void ConvertRow(const std::string &name, PCM_ENCODING to, PCM_ENCODING from, std::size_t samples)
{
    AddRow(name, Memcpy(samples * SizeOf(from), samples * SizeOf(to)), [=](benchmark::State &state) {
        const Array<float> noise = Noise(samples);
        const auto count = static_cast<pbInt>(samples);
        Array<char> source(samples * SizeOf(from)), dest(samples * SizeOf(to));
        pcm___Convert(source.data(), from, noise.data(), 0, count);
        for (auto _ : state) {
            pcm___Convert(dest.data(), to, source.data(), from, count);
            benchmark::ClobberMemory();
        }
    });
}

#ifdef PCM_BENCH_SNDFILE

/// A file of libsndfile in memory.
struct File {
    Array<char> bytes;
    sf_count_t place = 0;

    static SF_VIRTUAL_IO Io()
    {
        return {[](void *user) { return static_cast<sf_count_t>(static_cast<File *>(user)->bytes.size()); },
                [](sf_count_t offset, int whence, void *user) {
                    auto *file = static_cast<File *>(user);
                    const auto size = static_cast<sf_count_t>(file->bytes.size());
                    return file->place = offset + (whence == SEEK_CUR ? file->place : whence == SEEK_END ? size : 0);
                },
                [](void *to, sf_count_t count, void *user) {
                    auto *file = static_cast<File *>(user);
                    std::memcpy(to, file->bytes.data() + file->place, static_cast<std::size_t>(count));
                    file->place += count;
                    return count;
                },
                [](const void *from, sf_count_t count, void *user) {
                    auto *file = static_cast<File *>(user);
                    std::memcpy(file->bytes.data() + file->place, from, static_cast<std::size_t>(count));
                    file->place += count;
                    return count;
                },
                [](void *user) { return static_cast<File *>(user)->place; }};
    }
};

/// libsndfile's own conversion, writing and reading a raw file in memory from its start over and over.
void SndfileRows(const char *name, int format, PCM_ENCODING encoding, std::size_t samples)
{
    for (const bool encode : {true, false}) {
        const std::size_t bytes = samples * SizeOf(encoding);
        AddRow(Name(encode ? "sndfile/encode" : "sndfile/decode", name, samples),
               encode ? Memcpy(4 * samples, bytes) : Memcpy(bytes, 4 * samples), [=](benchmark::State &state) {
                   File file;
                   file.bytes.resize(bytes);
                   Array<float> noise = Noise(samples);
                   SF_INFO info = {0, 48000, 1, SF_FORMAT_RAW | format, 0, 0};
                   SF_VIRTUAL_IO io = File::Io();
                   SNDFILE *handle = sf_open_virtual(&io, encode ? SFM_WRITE : SFM_READ, &info, &file);
                   sf_command(handle, SFC_SET_CLIPPING, nullptr, SF_TRUE);
                   const auto count = static_cast<sf_count_t>(samples);
                   for (auto _ : state) {
                       sf_seek(handle, 0, SEEK_SET);
                       if (encode)
                           sf_write_float(handle, noise.data(), count);
                       else
                           sf_read_float(handle, noise.data(), count);
                       benchmark::ClobberMemory();
                   }
                   sf_close(handle);
               });
    }
}

#endif

#ifdef PCM_BENCH_FFMPEG

/// libswresample where neither the rate nor the channels change.
void SwresampleRows(const char *name, AVSampleFormat format, PCM_ENCODING encoding, std::size_t samples)
{
    for (const bool encode : {true, false}) {
        const std::size_t in = encode ? 4 : SizeOf(encoding), out = encode ? SizeOf(encoding) : 4;
        AddRow(Name(encode ? "swresample/encode" : "swresample/decode", name, samples),
               Memcpy(in * samples, out * samples), [=](benchmark::State &state) {
                   const Array<float> noise = Noise(samples);
                   const auto count = static_cast<int>(samples);
                   Array<std::uint8_t> source(in * samples), dest(out * samples);
                   pcm___Convert(source.data(), encode ? 0 : encoding, noise.data(), 0, count);
                   AVChannelLayout mono;
                   av_channel_layout_default(&mono, 1);
                   SwrContext *context = nullptr;
                   swr_alloc_set_opts2(&context, &mono, encode ? format : AV_SAMPLE_FMT_FLT, 48000, &mono,
                                       encode ? AV_SAMPLE_FMT_FLT : format, 48000, 0, nullptr);
                   swr_init(context);
                   const std::uint8_t *from = source.data();
                   std::uint8_t *to = dest.data();
                   for (auto _ : state) {
                       swr_convert(context, &to, count, &from, count);
                       benchmark::ClobberMemory();
                   }
                   swr_free(&context);
               });
    }
}

#endif

#ifdef PCM_BENCH_VOLK

template <class Job>
void VolkRow(const std::string &name, std::size_t in, std::size_t out, std::size_t samples, Job job)
{
    AddRow(name, Memcpy(in * samples, out * samples), [=](benchmark::State &state) {
        Array<float> source = Noise(samples);
        Array<float> dest(samples);
        job(dest.data(), source.data(), static_cast<unsigned>(samples)); // VOLK chooses its kernel in the first call
        for (auto _ : state) {
            job(dest.data(), source.data(), static_cast<unsigned>(samples));
            benchmark::ClobberMemory();
        }
    });
}

void VolkRows(std::size_t samples)
{
    using Volk = void (*)(void *, const void *, unsigned);
    const struct {
        const char *what, *encoding;
        std::size_t in, out;
        Volk job;
    } rows[] = {
        {"volk/encode", "s8", 4, 1,
         [](void *to, const void *from, unsigned n) {
             volk_32f_s32f_convert_8i(static_cast<int8_t *>(to), static_cast<const float *>(from), 127.0f, n);
         }},
        {"volk/encode", "s16le", 4, 2,
         [](void *to, const void *from, unsigned n) {
             volk_32f_s32f_convert_16i(static_cast<int16_t *>(to), static_cast<const float *>(from), 32767.0f, n);
         }},
        {"volk/encode", "s32le", 4, 4,
         [](void *to, const void *from, unsigned n) {
             volk_32f_s32f_convert_32i(static_cast<int32_t *>(to), static_cast<const float *>(from), 0x1p31f, n);
         }},
        {"volk/decode", "s8", 1, 4,
         [](void *to, const void *from, unsigned n) {
             volk_8i_s32f_convert_32f(static_cast<float *>(to), static_cast<const int8_t *>(from), 128.0f, n);
         }},
        {"volk/decode", "s16le", 2, 4,
         [](void *to, const void *from, unsigned n) {
             volk_16i_s32f_convert_32f(static_cast<float *>(to), static_cast<const int16_t *>(from), 32768.0f, n);
         }},
        {"volk/decode", "s32le", 4, 4,
         [](void *to, const void *from, unsigned n) {
             volk_32i_s32f_convert_32f(static_cast<float *>(to), static_cast<const int32_t *>(from), 0x1p31f, n);
         }},
    };
    for (const auto &row : rows)
        VolkRow(Name(row.what, row.encoding, samples), row.in, row.out, samples, row.job);
}

#endif

void PacketRows(pbInt channels, pbInt frames)
{
    const auto samples = static_cast<std::size_t>(channels * frames);
    const std::string yardstick = Memcpy(2 * samples, 4 * samples),
                      size = std::to_string(channels) + "x" + std::to_string(frames);
    AddRow("packet/encode/s16le/" + size, yardstick, [=](benchmark::State &state) {
        const pcm::Packet pkt(Noise(samples), channels);
        for (auto _ : state)
            benchmark::DoNotOptimize(pkt.Encode(PCM_ENCODING_INT_16).Get());
    });
    AddRow("packet/decode/s16le/" + size, yardstick, [=](benchmark::State &state) {
        const auto bytes = pcm::Packet(Noise(samples), channels).Encode(PCM_ENCODING_INT_16);
        for (auto _ : state)
            benchmark::DoNotOptimize(pcm::Packet::TryDecode(bytes, PCM_ENCODING_INT_16, channels).Get());
    });
}

/// Other libraries, where they convert the same.
void PeerRows([[maybe_unused]] std::size_t samples)
{
#ifdef PCM_BENCH_VOLK
    VolkRows(samples);
#endif
#ifdef PCM_BENCH_SNDFILE
    const std::pair<const char *, int> sndfile[] = {
        {"s8", SF_FORMAT_PCM_S8},    {"u8", SF_FORMAT_PCM_U8},
        {"s16le", SF_FORMAT_PCM_16}, {"s16be", SF_FORMAT_PCM_16 | SF_ENDIAN_BIG},
        {"s24le", SF_FORMAT_PCM_24}, {"s24be", SF_FORMAT_PCM_24 | SF_ENDIAN_BIG},
        {"s32le", SF_FORMAT_PCM_32}, {"s32be", SF_FORMAT_PCM_32 | SF_ENDIAN_BIG},
        {"f32le", SF_FORMAT_FLOAT},  {"f32be", SF_FORMAT_FLOAT | SF_ENDIAN_BIG},
        {"alaw", SF_FORMAT_ALAW},    {"mulaw", SF_FORMAT_ULAW},
    };
    for (const auto &[name, format] : sndfile)
        SndfileRows(name, format, EncodingOf(name), samples);
#endif
#ifdef PCM_BENCH_FFMPEG
    const std::pair<const char *, AVSampleFormat> swresample[] = {
        {"u8", AV_SAMPLE_FMT_U8}, {"s16le", AV_SAMPLE_FMT_S16}, {"s32le", AV_SAMPLE_FMT_S32}};
    for (const auto &[name, format] : swresample)
        SwresampleRows(name, format, EncodingOf(name), samples);
#endif
}

const bool registered = [] {
    for (const std::size_t samples : kSizes) {
        for (const auto &row : kEncodings) {
            ConvertRow(Name("encode", row.name, samples), row.encoding, 0, samples);
            ConvertRow(Name("decode", row.name, samples), 0, row.encoding, samples);
        }
        ConvertRow(Name("convert", "s16le-to-mulaw", samples), PCM_ENCODING_G711_MULAW, PCM_ENCODING_INT_16, samples);
        ConvertRow(Name("convert", "mulaw-to-s16le", samples), PCM_ENCODING_INT_16, PCM_ENCODING_G711_MULAW, samples);
        PeerRows(samples);
    }
    PacketRows(1, 160);
    PacketRows(2, 960);
    return true;
}();

} // namespace
