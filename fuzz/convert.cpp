// Conversion of any bytes between any flag words, at any alignment, against the plain definition.
#include "../tests/plain_conversion.h"
#include "fuzz.h"

#include <memory>

namespace {

PCM_ENCODING AnyEncoding(Random &random)
{
    return random.OneIn(4) ? static_cast<PCM_ENCODING>(random.Bits()) : random.From(0, 0x7FFFF);
}

/// A block of exactly so many bytes, at an alignment of its own where the encoding allows any.
struct Block {
    Block(PCM_ENCODING encoding, std::size_t size, Random &random)
        : shift(pcmEncodingNormalize(encoding) ? static_cast<std::size_t>(random.From(0, 7)) : 0),
          bytes(new uint8_t[shift + size])
    {
    }
    uint8_t *Data() const { return bytes.get() + shift; }

    const std::size_t shift;
    const std::unique_ptr<uint8_t[]> bytes;
};

} // namespace

void Drive(Random &random)
{
    const PCM_ENCODING to = AnyEncoding(random), from = AnyEncoding(random);
    const Plain source(pcmEncodingNormalize(from)), dest(pcmEncodingNormalize(to));
    ASSERT_EQ(pcmEncodingSizeofSample(from), source.container);
    ASSERT_EQ(pcm::Encoding::FromString(pcm::Encoding(from).ToString()), pcmEncodingNormalize(from));

    const pbInt samples = random.From(0, 300), channels = random.From(1, 5), odd = random.From(0, 3);
    Bytes codes(static_cast<std::size_t>(samples * source.container));
    for (uint8_t &byte : codes)
        byte = static_cast<uint8_t>(random.From(0, 255));
    const Bytes expected = dest.Encode(source.Decode(codes));

    const Block in(from, codes.size(), random), out(to, expected.size(), random);
    std::copy(codes.begin(), codes.end(), in.Data());
    pcm___Convert(out.Data(), to, in.Data(), from, samples);
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out.Data()));

    codes.resize(codes.size() + static_cast<std::size_t>(odd), 0x55);
    const auto length = static_cast<pbInt>(codes.size());
    const pcm::Buffer buffer(std::as_bytes(std::span(codes)));
    const auto equal = [](const Bytes &bytes, const pcm::Buffer &converted) {
        return std::ranges::equal(std::as_bytes(std::span(bytes)), converted.Bytes());
    };
    const auto converted = pcm::TryConvert(to, buffer, from);
    ASSERT_EQ(static_cast<bool>(converted), length && length % source.container == 0);
    if (converted)
        ASSERT_TRUE(equal(dest.Encode(source.Decode(codes)), converted));
    const auto pkt = pcm::Packet::TryDecode(buffer, from, channels);
    ASSERT_EQ(static_cast<bool>(pkt), length % (source.container * channels) == 0);
    if (pkt) {
        ASSERT_EQ(BitsOf(SamplesOf(pkt.Get())), BitsOf(source.Decode(codes)));
        ASSERT_TRUE(equal(dest.Encode(source.Decode(codes)), pkt.Encode(to)));
    }
}
