#include "stream.h"

#include <utility>

namespace {

class FileStream : public Stream {
public:
    explicit FileStream(AudioReader &reader) : Stream(reader.Channels(), reader.Rate()), reader_(reader) {}

    pcm::Packet Next() override { return reader_.Read(BlockFrames(Rate())); }

private:
    AudioReader &reader_;
};

class LevelStream : public Stream {
public:
    LevelStream(StreamPtr input, pbReal decibel)
        : Stream(input->Channels(), input->Rate()), input_(std::move(input)), decibel_(decibel)
    {
    }

    pcm::Packet Next() override
    {
        auto pkt = input_->Next();
        if (pkt)
            pkt.LevelAdjust(decibel_);
        return pkt;
    }

private:
    StreamPtr input_;
    pbReal decibel_;
};

} // namespace

StreamPtr FromFile(AudioReader &reader)
{
    return std::make_unique<FileStream>(reader);
}

StreamPtr WithLevel(StreamPtr input, pbReal decibel)
{
    return std::make_unique<LevelStream>(std::move(input), decibel);
}
