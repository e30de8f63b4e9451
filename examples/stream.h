// A pipeline of stages. Shows how packets of any length go through a program: each stage asks the one before for
// packets when it is asked for one itself, so that the memory does not grow with the length of the audio.
#pragma once

#include "audio_file.h"

#include <pcm/pcm.hpp>

#include <memory>
#include <string>

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

/// `frames` of the input, from frame `start` on. Reads the input to its end; throws Failure if it ends too soon.
StreamPtr Trimmed(StreamPtr input, pbInt start, pbInt frames);

/// The input with its level changed.
StreamPtr WithLevel(StreamPtr input, pbReal decibel);

/// The input with another number of channels, each the average of the input's channels; with `expand` the input's
/// channels stay as they are and only those added are the average.
StreamPtr WithChannels(StreamPtr input, pbInt channels, bool expand);

/**
   The input at another frame rate (rate.cpp). Output and input are aligned in time, and ceil(frames * new rate / old
   rate) frames come out. The library's filters do it where whole factors lead from one rate to the other, and soxr
   elsewhere.
*/
StreamPtr AtRate(StreamPtr input, pbInt rate);

/// What changes one rate to another: the filters with their rates, or soxr's version.
std::string RateChanger(pbInt from, pbInt to);

/// The input and then `frames` of silence.
StreamPtr Padded(StreamPtr input, pbInt frames);

/// The input cut anew, into packets of exactly 20 ms and a last one of what is left.
StreamPtr InBlocks(StreamPtr input);
