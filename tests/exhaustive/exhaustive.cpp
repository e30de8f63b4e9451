// exhaustive [STRIDE]: every STRIDE-th of the 2^32 floats (every one without an argument) through every integer and
// G.711 encoder, and every STRIDE-th code of every type through its decoder, against the plain definition.
#include "../plain_conversion.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

namespace {

constexpr pbInt kRun = 1 << 14;

template <int kBytes>
constexpr PCM_ENCODING kInteger = kBytes == 1   ? PCM_ENCODING_INT_8
                                  : kBytes == 2 ? PCM_ENCODING_INT_16
                                  : kBytes == 3 ? PCM_ENCODING_INT_24
                                                : PCM_ENCODING_INT_32;

uint64_t stride = 1;
std::atomic<bool> failed = false;

void Fail(const char *what, PCM_ENCODING encoding, uint64_t pattern)
{
    static std::mutex one;
    const std::lock_guard lock(one);
    if (!failed.exchange(true))
        std::printf("%s, encoding %llx: wrong for the pattern %llx\n", what, static_cast<unsigned long long>(encoding),
                    static_cast<unsigned long long>(pattern));
}

/// A code in memory, least significant byte first.
template <int kBytes> uint32_t CodeAt(const uint8_t *bytes, pbInt sample)
{
    uint32_t code = 0;
    std::memcpy(&code, bytes + sample * kBytes, kBytes);
    return code;
}

/// Compares what the library makes of the samples with the top bytes of the words.
template <int kBytes>
void CheckCodes(PCM_ENCODING encoding, const float *samples, const uint32_t *words, int shift = 32 - 8 * kBytes)
{
    uint8_t bytes[kBytes * kRun];
    pcm___Convert(bytes, encoding, samples, 0, kRun);
    for (pbInt i = 0; i < kRun; ++i)
        if (CodeAt<kBytes>(bytes, i) != words[i] >> shift)
            return Fail("encoding", encoding, std::bit_cast<uint32_t>(samples[i]));
}

/// Encodes a run of floats that begins with this pattern.
void EncodeRun(uint64_t first)
{
    float samples[kRun];
    uint32_t words[kRun];
    for (pbInt i = 0; i < kRun; ++i)
        samples[i] = std::bit_cast<float>(static_cast<uint32_t>(first + static_cast<uint64_t>(i) * stride));
    const auto define = [&](PCM_ENCODING encoding) {
        const Plain plain(encoding);
        for (pbInt i = 0; i < kRun; ++i)
            words[i] = plain.CodeOf(samples[i]);
    };
    for (const PCM_ENCODING sign : {PCM_ENCODING(0), PCM_ENCODING_UNSIGNED}) {
        define(kInteger<4> | sign);
        CheckCodes<1>(kInteger<1> | sign, samples, words);
        CheckCodes<2>(kInteger<2> | sign, samples, words);
        CheckCodes<3>(kInteger<3> | sign, samples, words);
        CheckCodes<4>(kInteger<4> | sign, samples, words);
    }
    for (const PCM_ENCODING law : {PCM_ENCODING_G711_ALAW, PCM_ENCODING_G711_MULAW}) {
        define(law);
        CheckCodes<1>(law, samples, words, 0);
    }
}

/// Decodes a run of codes that begins with this one.
template <int kBytes> void DecodeRun(uint64_t first)
{
    if (first >> (8 * kBytes))
        return;
    uint8_t bytes[kBytes * kRun];
    float samples[kRun];
    for (pbInt i = 0; i < kRun; ++i) {
        const auto code = static_cast<uint32_t>(first + static_cast<uint64_t>(i) * stride);
        std::memcpy(bytes + i * kBytes, &code, kBytes);
    }
    for (const PCM_ENCODING sign : {PCM_ENCODING(0), PCM_ENCODING_UNSIGNED}) {
        const PCM_ENCODING encoding = kInteger<kBytes> | sign;
        const Plain plain(encoding);
        pcm___Convert(samples, 0, bytes, encoding, kRun);
        for (pbInt i = 0; i < kRun; ++i)
            if (std::bit_cast<uint32_t>(plain.ValueOf(CodeAt<kBytes>(bytes, i))) != std::bit_cast<uint32_t>(samples[i]))
                return Fail("decoding", encoding, CodeAt<kBytes>(bytes, i));
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 1)
        stride = std::strtoull(argv[1], nullptr, 10);
    std::atomic<uint64_t> next = 0;
    const auto work = [&] {
        for (;;) {
            const uint64_t first = next.fetch_add(kRun * stride);
            if (first >> 32 || failed)
                return;
            EncodeRun(first);
            DecodeRun<1>(first);
            DecodeRun<2>(first);
            DecodeRun<3>(first);
            DecodeRun<4>(first);
        }
    };
    std::thread other(work);
    work();
    other.join();
    if (!failed)
        std::printf("%llu floats and as many codes: all right\n",
                    static_cast<unsigned long long>((1ull << 32) / stride));
    return failed;
}
