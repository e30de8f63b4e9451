// exhaustive [STRIDE]: every STRIDE-th of the 2^32 floats (every one without an argument) through every integer and
// G.711 encoder, and every STRIDE-th code of every type through its decoder, against the plain definition.
#include "../plain_conversion.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <thread>

namespace {

constexpr pbInt kRun = 1 << 14;
std::atomic<bool> failed = false;

/// Encodes a run of patterns as floats, and decodes it as codes if it begins with a code of the encoding.
void CheckRun(uint64_t first, uint64_t stride)
{
    uint32_t patterns[kRun], codes[kRun], values[kRun], decoded[kRun];
    uint8_t bytes[4 * kRun + 4]; // a code is read and written as 4 bytes, least significant first
    for (pbInt i = 0; i < kRun; ++i)
        patterns[i] = static_cast<uint32_t>(first + static_cast<uint64_t>(i) * stride);
    for (const PCM_ENCODING sign : {PCM_ENCODING(0), PCM_ENCODING_UNSIGNED})
        for (PCM_ENCODING type = PCM_ENCODING_INT_32; type; type >>= 1) { // 32 to 8 bits, mu-law, A-law
            const Plain plain(type | sign);
            const uint64_t count = 1ull << 8 * plain.bytes; // of codes
            const auto compare = [&](const char *what, const void *actual, pbInt size, const uint32_t *expected) {
                for (pbInt i = 0; i < kRun; ++i) {
                    uint32_t value;
                    std::memcpy(&value, static_cast<const uint8_t *>(actual) + i * size, 4);
                    if ((value ^ expected[i]) << (32 - 8 * size) && !failed.exchange(true))
                        std::cout << std::hex << what << (type | sign) << ": wrong for " << patterns[i] << '\n';
                }
            };
            pcm___Convert(bytes, type | sign, patterns, 0, kRun);
            for (pbInt i = 0; i < kRun; ++i) // a narrower integer is the top bytes of the one before
                codes[i] = plain.bytes == 4 || plain.IsG711() ? plain.CodeOf(std::bit_cast<float>(patterns[i]))
                                                              : codes[i] >> 8;
            compare("encoding to ", bytes, plain.bytes, codes);
            if (first >= count)
                continue;
            for (pbInt i = 0; i < kRun; ++i) {
                std::memcpy(bytes + i * plain.bytes, &patterns[i], 4);
                values[i] = std::bit_cast<uint32_t>(plain.ValueOf(static_cast<uint32_t>(patterns[i] % count)));
            }
            pcm___Convert(decoded, 0, bytes, type | sign, kRun);
            compare("decoding from ", decoded, 4, values);
        }
}

} // namespace

int main(int argc, char **argv)
{
    const uint64_t stride = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1;
    std::atomic<uint64_t> next = 0;
    const auto work = [&] {
        for (uint64_t first; (first = next.fetch_add(kRun * stride)) >> 32 == 0 && !failed;)
            CheckRun(first, stride);
    };
    std::thread other(work);
    work();
    other.join();
    if (!failed)
        std::cout << (uint64_t{1} << 32) / stride << " floats and as many codes: all right\n";
    return failed;
}
