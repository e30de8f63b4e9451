// The stages of stream.h, except the change of the frame rate. Shows the operations that each needs: deleting frames,
// changing the level and the channels, silence, and a queue that cuts a stream into equal blocks.
#include "stream.h"

#include <algorithm>
#include <utility>

namespace {

class FileStream : public Stream {
public:
    explicit FileStream(AudioReader &reader) : Stream(reader.Channels(), reader.Rate()), reader_(reader) {}

    pcm::Packet Next() override { return reader_.Read(BlockFrames(Rate())); }

private:
    AudioReader &reader_;
};

/// A stage that changes packets; channels and rate are those of its input unless it says otherwise.
class Stage : public Stream {
protected:
    explicit Stage(StreamPtr input) : Stream(input->Channels(), input->Rate()), input_(std::move(input)) {}

    pcm::Packet Silence(pbInt frames) const
    {
        pcm::Packet pkt(Channels());
        pkt.AppendZero(frames);
        return pkt;
    }

    StreamPtr input_;
};

class TrimStage : public Stage {
public:
    TrimStage(StreamPtr input, pbInt start, pbInt frames) : Stage(std::move(input)), toSkip_(start), toGive_(frames) {}

    pcm::Packet Next() override
    {
        auto pkt = input_->Next();
        if (!pkt) {
            if (toSkip_ || toGive_)
                throw Failure("cannot trim: the input lacks the last " + std::to_string(toSkip_ + toGive_) +
                              " of the frames asked for");
            return pkt;
        }
        const pbInt skipped = std::min(toSkip_, pkt.Frames());
        pkt.DelLeading(skipped);
        toSkip_ -= skipped;
        const pbInt given = std::min(toGive_, pkt.Frames());
        pkt.DelTrailing(pkt.Frames() - given);
        toGive_ -= given;
        return pkt;
    }

private:
    pbInt toSkip_, toGive_;
};

class LevelStage : public Stage {
public:
    LevelStage(StreamPtr input, pbReal decibel) : Stage(std::move(input)), decibel_(decibel) {}

    pcm::Packet Next() override
    {
        auto pkt = input_->Next();
        if (pkt)
            pkt.LevelAdjust(decibel_);
        return pkt;
    }

private:
    pbReal decibel_;
};

class ChannelStage : public Stream {
public:
    ChannelStage(StreamPtr input, pbInt channels, bool expand)
        : Stream(channels, input->Rate()), input_(std::move(input)), expand_(expand)
    {
    }

    pcm::Packet Next() override
    {
        auto pkt = input_->Next();
        if (!pkt)
            return pkt;
        if (expand_)
            pkt.ChannelsAdjustExpandWithDownmix(Channels());
        else
            pkt.ChannelsAdjustReplaceWithDownmix(Channels());
        return pkt;
    }

private:
    StreamPtr input_;
    bool expand_;
};

class PadStage : public Stage {
public:
    PadStage(StreamPtr input, pbInt frames) : Stage(std::move(input)), toGive_(frames) {}

    pcm::Packet Next() override
    {
        if (!ended_) {
            if (auto pkt = input_->Next())
                return pkt;
            ended_ = true;
        }
        const pbInt given = std::min(toGive_, BlockFrames(Rate()));
        toGive_ -= given;
        return given ? Silence(given) : pcm::Packet();
    }

private:
    pbInt toGive_;
    bool ended_ = false;
};

class BlockStage : public Stage {
public:
    explicit BlockStage(StreamPtr input) : Stage(std::move(input)), queue_(Channels()) {}

    pcm::Packet Next() override
    {
        const pbInt frames = BlockFrames(Rate());
        while (queue_.Frames() < frames) {
            const auto pkt = input_->Next();
            if (!pkt)
                return queue_.Frames() ? queue_.Gather(queue_.Frames()) : pcm::Packet();
            queue_.Write(pkt);
        }
        return queue_.Gather(frames);
    }

private:
    pcm::PacketQueue queue_;
};

} // namespace

StreamPtr FromFile(AudioReader &reader)
{
    return std::make_unique<FileStream>(reader);
}

StreamPtr Trimmed(StreamPtr input, pbInt start, pbInt frames)
{
    return std::make_unique<TrimStage>(std::move(input), start, frames);
}

StreamPtr WithLevel(StreamPtr input, pbReal decibel)
{
    return std::make_unique<LevelStage>(std::move(input), decibel);
}

StreamPtr WithChannels(StreamPtr input, pbInt channels, bool expand)
{
    return std::make_unique<ChannelStage>(std::move(input), channels, expand);
}

StreamPtr Padded(StreamPtr input, pbInt frames)
{
    return std::make_unique<PadStage>(std::move(input), frames);
}

StreamPtr InBlocks(StreamPtr input)
{
    return std::make_unique<BlockStage>(std::move(input));
}
