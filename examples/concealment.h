// What is heard where a packet is lost: the last period of the voice over and over, softer and softer, silent after
// 50 ms. SpanDSP's concealment does it, which is made for 8000 frames per second; at a multiple of
// that rate the frames are dealt out to several streams of that rate.
#pragma once

#include <pcm/pcm.hpp>

#include <cstddef>
#include <memory>
#include <span>

/// One channel. Its samples become whole multiples of 2^-15 in [-1, 1), as of 16 bits.
class Concealment {
public:
    explicit Concealment(pbInt rate);
    ~Concealment();
    Concealment(Concealment &&) noexcept;
    Concealment &operator=(Concealment &&) noexcept;

    /// What is heard: remembers the last 35 ms of it and, after a gap, fades over to it from what the gap was filled
    /// with.
    void Hear(std::span<PCM_SAMPLE> samples);

    /// Fills a gap.
    void Fill(std::span<PCM_SAMPLE> samples);

    /// Whether a gap has been so long that it is filled with silence.
    bool Silent() const;

private:
    struct Streams;
    std::unique_ptr<Streams> streams_; // in a file of its own: SpanDSP's headers define macros such as lrint
};
