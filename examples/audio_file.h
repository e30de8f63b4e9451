// Audio files for the example programs: libsndfile takes care of the containers, the library of the samples.
#pragma once

#include <pcm/pcm.hpp>

#include <sndfile.h>

#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

/// What went wrong, as one line for the user.
struct Failure : std::runtime_error {
    using runtime_error::runtime_error;
};

/// A way to lay down samples, with its name on the command line.
struct SampleFormat {
    std::string_view name; ///< such as "s16le"
    pcm::Encoding encoding;
    int subtype; ///< libsndfile's subtype and byte order; 0 where only a file without a header can hold it
};

std::span<const SampleFormat> SampleFormats();

/// @return the format of this name; throws Failure when there is none
const SampleFormat &SampleFormatNamed(std::string_view name);

/// The container that a file's name asks for: .wav, .au or .raw; throws Failure for any other.
int ContainerOf(const std::string &path);

/// Whether a file of this container can hold the format.
bool CanHold(int container, const SampleFormat &format);

/// What a container holds most naturally: the wanted sample type, as signed as wanted, in the usual byte order.
const SampleFormat &UsualFormat(int container, pcm::Encoding wanted);

struct CloseSoundFile {
    void operator()(SNDFILE *file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

/// Reads a file that libsndfile knows, from the first frame to the last. Throws Failure.
class AudioReader {
public:
    explicit AudioReader(const std::string &path);

    pbInt Rate() const { return info_.samplerate; }
    pbInt Channels() const { return info_.channels; }
    pbInt Frames() const { return info_.frames; } ///< as the file states them

    std::string Description() const; ///< container and sample format, such as "wav s16le"
    pcm::Encoding Encoding() const;  ///< what the file's samples are, or come closest to

    /// @return the next frames, at most so many; an empty handle after the last
    pcm::Packet Read(pbInt frames);

private:
    [[noreturn]] void Fail(const std::string &what) const;

    std::string path_;
    SF_INFO info_ = {};
    SoundFile file_;
    const SampleFormat *plain_ = nullptr; ///< how the bytes of the file hold the samples; null: only libsndfile knows
    pbInt position_ = 0;
};

/**
   Writes a file that is there only when it is whole: under another name until Finish, and gone without it. One at a
   time in a process, which an interrupt ends as tidily. Throws Failure.
*/
class AudioWriter {
public:
    AudioWriter(const std::string &path, const SampleFormat &format, pbInt rate, pbInt channels);
    ~AudioWriter();
    AudioWriter(const AudioWriter &) = delete;
    AudioWriter &operator=(const AudioWriter &) = delete;

    /// Adds frames that are encoded in the file's format.
    void Write(const pcm::Buffer &frames);

    /// Completes the file and gives it its name.
    void Finish();

private:
    [[noreturn]] void Fail(const std::string &what) const;

    std::string path_;
    int container_;
    SoundFile file_; ///< the file with its header; null for one without
    int fd_ = -1;
    pbInt bytes_ = 0;
};
