// What the tests share: packets at hand, checks that end the process, random input from a printed seed.
#pragma once

#include <pcm/pcm.hpp>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

using Samples = std::vector<PCM_SAMPLE>;
using Bytes = std::vector<uint8_t>;

/// Expects the statement to end the process with this expression, or with "context: expression", reported from a file
/// such as "source/pcm/pcm_packet".
#define EXPECT_ABORT(statement, file, expression)                                                                      \
    EXPECT_EXIT(statement, ::testing::KilledBySignal(SIGABRT), AbortLine(file, expression))

/// Matches the one line that an abort prints.
inline testing::Matcher<const std::string &> AbortLine(const std::string &file, const std::string &expression)
{
    std::string quoted;
    for (const char c : expression)
        quoted += std::isalnum(c) ? std::string{c} : std::string{'[', c, ']'};
    return testing::ContainsRegex("(^|\n)" + file + ":[0-9]+: " + quoted + "\n");
}

/// A function of the runtime, for tests that define one of the same name. The library then calls the test's, while the
/// runtime's own calls stay inside it.
template <class Function> Function *Runtime(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

/// An object of the runtime, for which pcm.hpp has no handle.
template <class T> struct Held : pcm::Handle<Held<T>, T> {
};

inline pcm::Packet MakePacket(pbInt channels, const Samples &samples)
{
    return pcm::Packet(samples, channels);
}

inline pbInt RefCount(PCM_PACKET *pkt)
{
    return pcmPacketObj(pkt)->refCount;
}

inline Samples SamplesOf(PCM_PACKET *pkt)
{
    const PCM_SAMPLE *samples = pcmPacketBacking(pkt);
    const pbInt count = pcmPacketFrames(pkt) * pcmPacketChannels(pkt);
    return count ? Samples(samples, samples + count) : Samples();
}

/// The packet's invariant: a block exactly when there are frames, and an account that says how much it is.
inline void ExpectSound(PCM_PACKET *pkt)
{
    EXPECT_EQ(pcmPacketBacking(pkt) == nullptr, pcmPacketFrames(pkt) == 0);
    EXPECT_EQ(pb___ObjDbgAllocationSize(pcmPacketObj(pkt)), pcmPacketFrames(pkt) * pcmPacketChannels(pkt) * 4);
}

/// The objects and the blocks that there are.
inline std::pair<pbInt, pbInt> Alive()
{
    return {pb___ObjDbgObjects(), pb___MemDbgBlocks()};
}

/// The blocks that pbMemAllocN has made so far: packet_test.cpp counts its calls.
extern pbInt allocatedBlocks;

/// Equal elements; or where the first differ, and both of them.
template <class A, class B, class Equal = std::equal_to<>>
testing::AssertionResult Same(const A &actual, const B &expected, Equal equal = {})
{
    if (std::size(actual) != std::size(expected))
        return testing::AssertionFailure() << std::size(actual) << " elements, not " << std::size(expected);
    for (std::size_t i = 0; i < std::size(actual); ++i)
        if (!equal(actual[i], expected[i]))
            return testing::AssertionFailure() << "element " << i << " is " << testing::PrintToString(actual[i])
                                               << ", not " << testing::PrintToString(expected[i]);
    return testing::AssertionSuccess();
}

template <class A, class B> bool EqualBits(const A &a, const B &b)
{
    static_assert(sizeof a == sizeof b);
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Equal bits, by which -0.0 differs from 0.0, and a NaN equals itself.
template <class A, class B> testing::AssertionResult SameBits(const A &actual, const B &expected)
{
    return Same(actual, expected, EqualBits<std::ranges::range_value_t<A>, std::ranges::range_value_t<B>>);
}

/// Equal bits, or both NaN: which NaN pattern arithmetic gives is unspecified.
inline testing::AssertionResult Same(const Samples &actual, const Samples &expected)
{
    return Same(actual, expected, [](PCM_SAMPLE a, PCM_SAMPLE b) {
        return EqualBits(a, b) || (std::isnan(a) && std::isnan(b) && std::bit_cast<uint32_t>(b) & 0x400000);
    });
}

/// Random input. The seed is new in every run, or PCM_TEST_SEED; a failing test prints it. Or the input is given:
/// bytes, and zeros behind them.
class Random {
public:
    explicit Random(uint64_t seed = NextSeed()) : engine_(seed)
    {
        trace_.emplace(__FILE__, __LINE__, "seed " + std::to_string(seed));
    }
    explicit Random(std::span<const uint8_t> bytes) : given_(true), bytes_(bytes) {}

    /// Whether all the bytes are used up.
    bool Done() const { return given_ && bytes_.empty(); }

    uint64_t Bits() { return given_ ? Take(UINT64_MAX) : engine_(); }
    pbInt From(pbInt low, pbInt high) ///< inclusive
    {
        const uint64_t span = static_cast<uint64_t>(high) - static_cast<uint64_t>(low);
        const uint64_t bits = given_ ? Take(span) : engine_();
        return static_cast<pbInt>(static_cast<uint64_t>(low) + (span == UINT64_MAX ? bits : bits % (span + 1)));
    }
    bool OneIn(pbInt n) { return From(1, n) == 1; }
    template <class T> auto &Of(T &items) { return items[static_cast<std::size_t>(From(0, std::ssize(items) - 1))]; }
    PCM_SAMPLE Sample()
    {
        return given_ ? static_cast<float>(From(-128, 127)) / 128
                      : std::uniform_real_distribution<float>(-1.0f, 1.0f)(engine_);
    }
    /// A special sample: a limit, tiny, huge, or any bits at all.
    PCM_SAMPLE Odd()
    {
        constexpr uint32_t edges[] = {0x00000000, 0x80000000, 0x7F800000, 0xFF800000, 0x7FC00000, 0xFFC12345,
                                      0x7F812345, 0x00000001, 0x7F7FFFFF, 0x3F800000, 0xBF800000, 0x3FC00000};
        switch (From(0, 3)) {
        case 0: return std::bit_cast<float>(static_cast<uint32_t>(Bits()));
        case 1: return Sample() * 1e-38f;
        case 2: return Sample() * 3e38f;
        default: return std::bit_cast<float>(edges[From(0, std::ssize(edges) - 1)]);
        }
    }
    Samples Run(pbInt count)
    {
        Samples samples;
        for (pbInt i = 0; i < count; ++i)
            samples.push_back(Sample());
        return samples;
    }
    /// Samples of which about every sixth is special.
    Samples OddRun(pbInt count)
    {
        Samples samples = Run(count);
        for (PCM_SAMPLE &sample : samples)
            if (OneIn(6))
                sample = Odd();
        return samples;
    }

    static uint64_t NextSeed()
    {
        const char *fixed = std::getenv("PCM_TEST_SEED");
        return fixed ? std::strtoull(fixed, nullptr, 10) : std::random_device()();
    }

private:
    /// As many of the bytes as a number up to the limit needs.
    uint64_t Take(uint64_t limit)
    {
        uint64_t bits = 0;
        for (; limit && !bytes_.empty(); limit >>= 8, bytes_ = bytes_.subspan(1))
            bits = bits << 8 | bytes_.front();
        return bits;
    }

    std::optional<testing::ScopedTrace> trace_;
    std::mt19937_64 engine_;
    const bool given_ = false;
    std::span<const uint8_t> bytes_;
};
