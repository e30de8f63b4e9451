#include "check.h"

#include <pcm/pcm.hpp>

#include <vector>

static void Decode()
{
    const unsigned char line[] = {0x00, 0x40, 0x00, 0xC0}; // 0.5 and -0.5
    const pcm::Buffer bytes(std::as_bytes(std::span(line)));
    const auto pkt = pcm::Packet::TryDecode(bytes, PCM_ENCODING_INT_16 | PCM_ENCODING_LITTLE_ENDIAN, 2);
    if (!pkt)
        return;                                          // not a whole number of frames
    const auto law = pkt.Encode(PCM_ENCODING_G711_ALAW); // two bytes
    const auto same = pcm::TryConvert(PCM_ENCODING_G711_ALAW, bytes, PCM_ENCODING_INT_16);
    CHECK(pkt.Frames() == 1 && pkt.Samples()[1] == -0.5f);
    CHECK(law.Length() == 2 && same.Bytes()[0] == law.Bytes()[0]);
}

// Decodes 16-bit bytes into an array, as many samples as there are and fit. Returns their number.
static pbInt DecodeInto(std::span<float> samples, std::span<const std::byte> bytes)
{
    return pcm::Convert(std::as_writable_bytes(samples), 0, bytes, PCM_ENCODING_INT_16);
}

// 16-bit codes rounded to the nearest.
static pcm::Buffer EncodeRounded(pcm::Packet pkt)
{
    for (float &sample : pkt.MutableSamples())
        sample += 0.5f / 32768; // half a step
    return pkt.Encode(PCM_ENCODING_INT_16);
}

// The same with dither: triangular noise of up to one step in either direction.
static pcm::Buffer EncodeDithered(pcm::Packet pkt)
{
    const auto samples = pkt.MutableSamples();
    std::vector<float> noise(samples.size());
    pcm::NoiseGatherSamples(noise);    // uniform from -1 to 1
    pcm::NoiseGatherSamplesAdd(noise); // the sum of two: triangular from -2 to 2
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] += (0.5f + 0.5f * noise[i]) / 32768;
    return pkt.Encode(PCM_ENCODING_INT_16);
}

/// The mean error of 16-bit codes in steps, over a ramp through a few of them.
template <class Encode> static double MeanError(Encode encode)
{
    std::vector<float> ramp;
    for (int i = 0; i < 8192; ++i)
        ramp.push_back(static_cast<float>(i % 1024 - 512) / 64 / 32768);
    const auto decoded = pcm::Packet::TryDecode(encode(pcm::Packet(ramp, 1)), PCM_ENCODING_INT_16, 1);
    double sum = 0;
    for (std::size_t i = 0; i < ramp.size(); ++i)
        sum += static_cast<double>(decoded.Samples()[i] - ramp[i]) * 32768;
    return sum / static_cast<double>(ramp.size());
}

static void Rounding()
{
    const std::byte bytes[] = {std::byte{0x00}, std::byte{0x40}, std::byte{0x00}};
    float samples[4] = {};
    CHECK(DecodeInto(samples, bytes) == 1 && samples[0] == 0.5f);
    const auto plain = [](const pcm::Packet &pkt) { return pkt.Encode(PCM_ENCODING_INT_16); };
    CHECK(std::abs(MeanError(plain) + 0.5) < 0.01);
    CHECK(std::abs(MeanError(EncodeRounded)) < 0.01);
    CHECK(std::abs(MeanError(EncodeDithered)) < 0.05);
}

static void Words()
{
    const pcm::Encoding card(PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32 | PCM_ENCODING_PAD_BEFORE);
    const pbInt sample = card.SizeofSample(); // 4
    const pbInt frame = card.SizeofFrame(2);  // 8
    const std::string text = card.ToString(); // PCM_ENCODING_INT_24|PCM_ENCODING_PAD_BEFORE|PCM_ENCODING_PACK_32
    const auto again = pcm::Encoding::FromString(text);
    CHECK(sample == 4 && frame == 8 && again == card);
    CHECK(text == "PCM_ENCODING_INT_24|PCM_ENCODING_PAD_BEFORE|PCM_ENCODING_PACK_32");
}

// The rows of the page's table: 0.5 in each layout.
static void Table()
{
    const struct {
        PCM_ENCODING encoding;
        std::vector<unsigned char> bytes;
    } rows[] = {
        {0, {0x00, 0x00, 0x00, 0x3F}},
        {PCM_ENCODING_FLOAT_32 | PCM_ENCODING_BIG_ENDIAN, {0x3F, 0x00, 0x00, 0x00}},
        {PCM_ENCODING_INT_8, {0x40}},
        {PCM_ENCODING_INT_8 | PCM_ENCODING_UNSIGNED, {0xC0}},
        {PCM_ENCODING_INT_16, {0x00, 0x40}},
        {PCM_ENCODING_INT_16 | PCM_ENCODING_BIG_ENDIAN, {0x40, 0x00}},
        {PCM_ENCODING_INT_16 | PCM_ENCODING_UNSIGNED, {0x00, 0xC0}},
        {PCM_ENCODING_INT_24, {0x00, 0x00, 0x40}},
        {PCM_ENCODING_INT_24 | PCM_ENCODING_BIG_ENDIAN, {0x40, 0x00, 0x00}},
        {PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32, {0x00, 0x00, 0x40, 0x00}},
        {PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32 | PCM_ENCODING_PAD_BEFORE, {0x00, 0x00, 0x00, 0x40}},
        {PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32 | PCM_ENCODING_BIG_ENDIAN, {0x00, 0x40, 0x00, 0x00}},
        {PCM_ENCODING_INT_32, {0x00, 0x00, 0x00, 0x40}},
        {PCM_ENCODING_G711_ALAW, {0xA5}},
        {PCM_ENCODING_G711_MULAW, {0x8F}},
    };
    const pcm::Packet half(std::vector<float>{0.5f}, 1);
    for (const auto &row : rows) {
        const auto bytes = half.Encode(row.encoding);
        CHECK(bytes.Length() == static_cast<pbInt>(row.bytes.size()));
        for (std::size_t i = 0; i < row.bytes.size(); ++i)
            CHECK(std::to_integer<int>(bytes.Bytes()[i]) == row.bytes[i]);
    }
}

int main()
{
    const pcm::Module module;
    Decode();
    Words();
    Rounding();
    Table();
}
