// Conversion by its plain definition: one sample at a time, byte by byte, from the flags themselves and without the
// library, but for the G.711 tables, which have a test of their own.
#pragma once

#include <pcm/pcm_convert.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

/// What the flags of an encoding say, without the library.
struct Plain {
    pbInt type, bytes, container, offset;
    bool isUnsigned, big;

    explicit Plain(PCM_ENCODING encoding)
    {
        type = encoding & 0x7F;
        bytes = type & 7 ? 1 : type == PCM_ENCODING_INT_16 ? 2 : type == PCM_ENCODING_INT_24 ? 3 : 4;
        pbInt pack = 1;
        for (pbInt i = 0; i < 7; ++i)
            if (encoding & (PCM_ENCODING_PACK_16 << i))
                pack = 2 + i;
        container = std::max(bytes, pack);
        isUnsigned = encoding & PCM_ENCODING_UNSIGNED;
        const bool bigFlag = encoding & PCM_ENCODING_BIG_ENDIAN;
        big = bigFlag && type;
        const bool last = encoding & PCM_ENCODING_PAD_BEFORE || (bigFlag && !(encoding & PCM_ENCODING_PAD_AFTER));
        offset = last ? container - bytes : 0;
    }

    bool IsG711() const { return type == PCM_ENCODING_G711_ALAW || type == PCM_ENCODING_G711_MULAW; }
    bool IsFloat() const { return type == 0 || type == PCM_ENCODING_FLOAT_32; }

    uint32_t CodeOf(float s) const
    {
        if (IsFloat())
            return std::bit_cast<uint32_t>(s);
        if (IsG711()) {
            const auto &table = type == PCM_ENCODING_G711_ALAW ? pcm___EncodeG711AlawTable : pcm___EncodeG711MulawTable;
            const float v = s * 32768.0f;
            if (v <= -32768.0f)
                return type == PCM_ENCODING_G711_ALAW ? 0x2A : 0x00;
            if (v >= 32767.0f)
                return type == PCM_ENCODING_G711_ALAW ? 0xAA : 0x80;
            const int x = std::isnan(v) ? 0 : static_cast<int>(v);
            return x >= 0 ? table[x >> 3] | 0x80u : table[-x >> 3];
        }
        uint32_t n = 0;
        if (isUnsigned) {
            const float v = std::fma(s, 2147483648.0f, 2147483648.0f);
            if (v >= 4294967296.0f)
                n = 0xFFFFFFFF;
            else if (v > 0.0f)
                n = static_cast<uint32_t>(v);
        } else {
            const float v = s * 2147483648.0f;
            if (v <= -2147483648.0f)
                n = 0x80000000;
            else if (v >= 2147483648.0f)
                n = 0x7FFFFFFF;
            else if (!std::isnan(v))
                n = static_cast<uint32_t>(static_cast<int32_t>(v));
        }
        return n >> (32 - 8 * bytes);
    }

    float ValueOf(uint32_t code) const
    {
        if (IsFloat())
            return std::bit_cast<float>(code);
        if (IsG711())
            return static_cast<float>((type == PCM_ENCODING_G711_ALAW ? pcm___DecodeG711AlawTable
                                                                      : pcm___DecodeG711MulawTable)[code]) *
                   3.0517578125e-05f;
        const auto scale = static_cast<float>(std::ldexp(1.0, static_cast<int>(1 - 8 * bytes)));
        if (isUnsigned)
            return std::fma(static_cast<float>(code), scale, -1.0f);
        const auto shift = static_cast<int>(32 - 8 * bytes);
        return static_cast<float>(static_cast<int32_t>(code << shift) >> shift) * scale;
    }

    pbInt PlaceOf(pbInt sample, pbInt significance) const // significance 0: least
    {
        return sample * container + offset + (big ? bytes - 1 - significance : significance);
    }

    std::vector<uint8_t> Encode(const std::vector<float> &samples) const
    {
        std::vector<uint8_t> out(samples.size() * static_cast<std::size_t>(container), 0);
        for (std::size_t k = 0; k < samples.size(); ++k)
            for (pbInt b = 0; b < bytes; ++b)
                out[static_cast<std::size_t>(PlaceOf(static_cast<pbInt>(k), b))] =
                    static_cast<uint8_t>(CodeOf(samples[k]) >> (8 * b));
        return out;
    }

    std::vector<float> Decode(const std::vector<uint8_t> &in) const
    {
        std::vector<float> samples;
        for (pbInt k = 0; k < static_cast<pbInt>(in.size()) / container; ++k) {
            uint32_t code = 0;
            for (pbInt b = 0; b < bytes; ++b)
                code |= static_cast<uint32_t>(in[static_cast<std::size_t>(PlaceOf(k, b))]) << (8 * b);
            samples.push_back(ValueOf(code));
        }
        return samples;
    }
};
