// Any bytes between any two encodings. There is no state: the invariant is that every way of converting gives what the
// plain definition says, of whole samples only, and touches no other byte. Random steps find faults because encodings,
// lengths and alignments are independent: too many together for a list, while each fault shows in a good part of them.
#pragma once

#include "../plain_conversion.h"
#include "../support.h"

#include <malloc.h>

class ConversionModel {
public:
    explicit ConversionModel(Random &random) : random_(random) {}

    void Step()
    {
        const PCM_ENCODING to = AnyEncoding(), from = AnyEncoding();
        const Plain dest(to), source(from);
        const pbInt channels = random_.From(1, 5), frameSize = channels * source.container;
        ASSERT_EQ(pcmEncodingSizeofFrame(from, channels), frameSize);
        ASSERT_EQ(pcm::Encoding::FromString(pcm::Encoding(from).ToString()), pcmEncodingNormalize(from));

        const pbInt length = frameSize * random_.From(0, 120) + (random_.OneIn(2) ? random_.From(1, 40) : 0);
        Bytes codes(static_cast<std::size_t>(length));
        for (uint8_t &code : codes)
            code = static_cast<uint8_t>(random_.From(0, 255));
        const Samples samples = source.Decode(codes);
        const Bytes expected = dest.Encode(samples);

        const pcm::Buffer buffer(std::as_bytes(std::span(codes))), converted = pcm::TryConvert(to, buffer, from);
        ASSERT_EQ(static_cast<bool>(converted), length && length % source.container == 0);
        if (converted)
            ExpectExactly(converted, expected);
        const pcm::Packet pkt = pcm::Packet::TryDecode(buffer, from, channels);
        ASSERT_EQ(static_cast<bool>(pkt), length % frameSize == 0);
        if (pkt) {
            ExpectSound(pkt.Get());
            ASSERT_EQ(pkt.Channels(), channels);
            ASSERT_EQ(BitsOf(SamplesOf(pkt.Get())), BitsOf(samples));
            ExpectExactly(pkt.Encode(to), expected);
        }

        const pbInt shift = pcmEncodingNormalize(to) ? random_.From(0, 7) : 0; // PCM_SAMPLE is aligned
        Bytes out(expected.size() + static_cast<std::size_t>(shift));
        const auto at = std::as_writable_bytes(std::span(out)).last(expected.size());
        ASSERT_EQ(pcm::Convert(at, to, buffer.Bytes(), from), std::ssize(samples));
        ASSERT_TRUE(std::ranges::equal(at, std::as_bytes(std::span(expected))));
    }

private:
    /// Any bits, or at most one flag for the type and one for the container.
    PCM_ENCODING AnyEncoding()
    {
        const auto flag = [&] { return 1 << random_.From(0, 7) & 0x7F; };
        return random_.OneIn(4) ? static_cast<PCM_ENCODING>(random_.Bits())
                                : flag() | random_.From(0, 31) << 7 | flag() << 12;
    }

    static void ExpectExactly(const pcm::Buffer &buffer, const Bytes &bytes)
    {
        EXPECT_TRUE(std::ranges::equal(buffer.Bytes(), std::as_bytes(std::span(bytes))));
        EXPECT_GE(malloc_usable_size(const_cast<std::byte *>(buffer.Bytes().data())), bytes.size());
    }

    Random &random_;
};
