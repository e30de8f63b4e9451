// Audio on its way through a program: each stage takes packets from the one before when it is asked for one itself.
#pragma once

#include "audio_file.h"

#include <pcm/pcm.hpp>

#include <memory>

/// A source of packets, all of one channel count and one frame rate.
class Stream {
public:
    Stream(pbInt channels, pbInt rate) : channels_(channels), rate_(rate) {}
    virtual ~Stream() = default;

    /// @return the next packet, which may be of any length; an empty handle at the end
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

/// The same with its level changed.
StreamPtr WithLevel(StreamPtr input, pbReal decibel);
