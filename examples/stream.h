// Audio on its way through a program: each stage takes packets from the one before when it is asked for one itself, so
// that however long the audio is, no more of it is in memory than a stage needs.
#pragma once

#include "audio_file.h"

#include <pcm/pcm.hpp>

#include <memory>

/// A source of packets, all of one channel count and one frame rate.
class Stream {
public:
    Stream(pbInt channels, pbInt rate) : channels_(channels), rate_(rate) {}
    virtual ~Stream() = default;

    /// @return the next packet, of any length and at times of none; an empty handle at the end
    virtual pcm::Packet Next() = 0;

    pbInt Channels() const { return channels_; }
    pbInt Rate() const { return rate_; } ///< frames per second

private:
    pbInt channels_, rate_;
};

using StreamPtr = std::unique_ptr<Stream>;

/// 20 ms at a frame rate, rounded down to whole frames.
constexpr pbInt BlockFrames(pbInt rate)
{
    return rate < 50 ? 1 : rate / 50;
}

/// A file, 20 ms at a time.
StreamPtr FromFile(AudioReader &reader);

/// Of the input so many frames from this one on. Takes the input to its end, and throws Failure if it ends before.
StreamPtr Trimmed(StreamPtr input, pbInt start, pbInt frames);

/// The input with its level changed.
StreamPtr WithLevel(StreamPtr input, pbReal decibel);

/// The input with another count of channels: each the average of the input's, or, with `expand`, only those added to
/// them.
StreamPtr WithChannels(StreamPtr input, pbInt channels, bool expand);

/// The input at another frame rate (rate.cpp); throws Failure where no built-in filter leads there.
StreamPtr AtRate(StreamPtr input, pbInt rate);

/// The input and then so many frames of silence.
StreamPtr Padded(StreamPtr input, pbInt frames);

/// The input cut anew, into packets of exactly 20 ms and a last one of what is left.
StreamPtr InBlocks(StreamPtr input);
