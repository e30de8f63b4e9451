// Any bytes between any two encodings. There is no state: the invariant is that every way of converting gives what the
// plain definition says, of whole samples only, and touches no other byte. Random steps find faults because encodings,
// lengths and alignments are independent: too many together for a list, while each fault shows in a good part of them.
#pragma once

#include "../support.h"

#include <algorithm>
#include <malloc.h>

/// The flags of types of sample, as the library knows them: the lowest of two wins, and A-law is the lowest of all.
inline std::vector<PCM_ENCODING> SampleTypes()
{
    std::vector<PCM_ENCODING> types;
    for (PCM_ENCODING flag = 1; flag > 0; flag <<= 1)
        if (pcmEncodingNormalize(flag) && pcmEncodingNormalize(flag | PCM_ENCODING_G711_ALAW) == PCM_ENCODING_G711_ALAW)
            types.push_back(flag);
    return types;
}

/// What the flags of an encoding say, without the library. In each group the lowest flag wins.
struct Plain {
    pbInt type, bytes, container, offset;
    bool isUnsigned, big;

    explicit Plain(PCM_ENCODING encoding)
    {
        type = encoding & 0x7F & -(encoding & 0x7F);
        bytes = type & 7 ? 1 : type == PCM_ENCODING_INT_16 ? 2 : type == PCM_ENCODING_INT_24 ? 3 : 4;
        pbInt pack = 1;
        for (pbInt i = 6; i >= 0; --i)
            if (encoding & (PCM_ENCODING_PACK_16 << i))
                pack = 2 + i;
        container = std::max(bytes, pack);
        isUnsigned = encoding & PCM_ENCODING_UNSIGNED;
        const bool bigFlag = encoding & PCM_ENCODING_BIG_ENDIAN;
        big = bigFlag && type;
        const bool last = encoding & PCM_ENCODING_PAD_BEFORE || (bigFlag && !(encoding & PCM_ENCODING_PAD_AFTER));
        offset = last ? container - bytes : 0;
    }

    bool IsAlaw() const { return type == PCM_ENCODING_G711_ALAW; }
    bool IsG711() const { return IsAlaw() || type == PCM_ENCODING_G711_MULAW; }
    bool IsFloat() const { return type == 0 || type == PCM_ENCODING_FLOAT_32; }

    uint32_t CodeOf(float s) const
    {
        if (IsFloat())
            return std::bit_cast<uint32_t>(s);
        const float full = IsG711() ? 0x1p15f : 0x1p31f, zero = isUnsigned && !IsG711() ? full : 0.0f;
        const float v = std::fma(s, full, zero);
        const auto n = std::isnan(v) ? 0 : static_cast<int64_t>(std::clamp<double>(v, zero - full, zero + full - 1.0));
        if (!IsG711())
            return static_cast<uint32_t>(n) >> (32 - 8 * bytes);
        const auto &table = IsAlaw() ? pcm___EncodeG711AlawTable : pcm___EncodeG711MulawTable;
        return table[std::abs(n) >> 3] | (n >= 0 ? 0x80u : 0u);
    }

    float ValueOf(uint32_t code) const
    {
        if (IsFloat())
            return std::bit_cast<float>(code);
        if (IsG711())
            return (IsAlaw() ? pcm___DecodeG711AlawTable : pcm___DecodeG711MulawTable)[code] / 32768.0f;
        const auto shift = static_cast<int>(32 - 8 * bytes);
        const float step = std::ldexp(1.0f, shift - 31);
        return isUnsigned ? std::fma(static_cast<float>(code), step, -1.0f)
                          : static_cast<float>(static_cast<int32_t>(code << shift) >> shift) * step;
    }

    pbInt PlaceOf(pbInt sample, pbInt significance) const // significance 0: least
    {
        return sample * container + offset + (big ? bytes - 1 - significance : significance);
    }

    Bytes Encode(const Samples &samples) const
    {
        Bytes out(samples.size() * static_cast<std::size_t>(container), 0);
        for (pbInt k = 0; k < std::ssize(samples); ++k) {
            const uint32_t code = CodeOf(samples.begin()[k]);
            for (pbInt b = 0; b < bytes; ++b)
                out.begin()[PlaceOf(k, b)] = static_cast<uint8_t>(code >> (8 * b));
        }
        return out;
    }

    Samples Decode(const Bytes &in) const
    {
        Samples samples;
        for (pbInt k = 0; k < std::ssize(in) / container; ++k) {
            uint32_t code = 0;
            for (pbInt b = 0; b < bytes; ++b)
                code |= static_cast<uint32_t>(in.begin()[PlaceOf(k, b)]) << (8 * b);
            samples.push_back(ValueOf(code));
        }
        return samples;
    }
};

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
            ExpectExactly(converted, expected, to);
        const pcm::Packet pkt = pcm::Packet::TryDecode(buffer, from, channels);
        ASSERT_EQ(static_cast<bool>(pkt), length % frameSize == 0);
        if (pkt) {
            ExpectSound(pkt.Get());
            ASSERT_EQ(pkt.Channels(), channels);
            ASSERT_TRUE(SameBits(pkt.Samples(), samples));
            ExpectExactly(pkt.Encode(to), expected, to);
        }

        const pbInt shift = pcmEncodingNormalize(to) ? random_.From(0, 7) : 0; // PCM_SAMPLE is aligned
        Bytes out(expected.size() + static_cast<std::size_t>(shift));
        const auto at = std::as_writable_bytes(std::span(out)).last(expected.size());
        ASSERT_EQ(pcm::Convert(at, to, buffer.Bytes(), from), std::ssize(samples));
        ASSERT_TRUE(SameBits(at, expected)) << pcm::Encoding(to).ToString();
    }

private:
    /// Any bits, or at most one flag for the type and one for the container.
    PCM_ENCODING AnyEncoding()
    {
        const auto flag = [&] { return 1 << random_.From(0, 7) & 0x7F; };
        return random_.OneIn(4) ? static_cast<PCM_ENCODING>(random_.Bits())
                                : flag() | random_.From(0, 31) << 7 | flag() << 12;
    }

    static void ExpectExactly(const pcm::Buffer &buffer, const Bytes &bytes, PCM_ENCODING encoding)
    {
        EXPECT_TRUE(SameBits(buffer.Bytes(), bytes)) << pcm::Encoding(encoding).ToString();
        EXPECT_GE(malloc_usable_size(const_cast<std::byte *>(buffer.Bytes().data())), bytes.size());
    }

    Random &random_;
};
