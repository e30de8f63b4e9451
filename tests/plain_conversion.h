// Conversion by its plain definition: one sample at a time, byte by byte, from the flags themselves and without the
// library, but for the G.711 tables, which have a test of their own.
#pragma once

#include <pcm/pcm_convert.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

/// What the flags of an encoding say, without the library. In each group the lowest flag counts.
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

    std::vector<uint8_t> Encode(const std::vector<float> &samples) const
    {
        std::vector<uint8_t> out(samples.size() * static_cast<std::size_t>(container), 0);
        for (pbInt k = 0; k < std::ssize(samples); ++k) {
            const uint32_t code = CodeOf(samples.begin()[k]);
            for (pbInt b = 0; b < bytes; ++b)
                out.begin()[PlaceOf(k, b)] = static_cast<uint8_t>(code >> (8 * b));
        }
        return out;
    }

    std::vector<float> Decode(const std::vector<uint8_t> &in) const
    {
        std::vector<float> samples;
        for (pbInt k = 0; k < std::ssize(in) / container; ++k) {
            uint32_t code = 0;
            for (pbInt b = 0; b < bytes; ++b)
                code |= static_cast<uint32_t>(in.begin()[PlaceOf(k, b)]) << (8 * b);
            samples.push_back(ValueOf(code));
        }
        return samples;
    }
};
