// Audio files for the example programs. Shows how the library works together with one that knows containers: libsndfile
// reads and writes headers, and the library decodes and encodes the bytes of the samples.
#pragma once

#include <pcm/pcm.hpp>

#include <sndfile.h>

#include <cstdio>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <unistd.h>

constexpr pbInt kMostChannels = 1024, kHighestRate = 655350; // of libsndfile, which reads no files with more

/// What went wrong, as one line for the user.
struct Failure : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Prints how a program is called, where it was asked for or is called otherwise. @return the exit status
inline int PrintUsage(const char *usage, int argc, char **argv)
{
    const bool asked = argc == 2 && (argv[1] == std::string_view("--help") || argv[1] == std::string_view("-h"));
    std::fputs(usage, asked ? stdout : stderr);
    return !asked;
}

/// A way to lay down samples, with its name on the command line.
struct SampleFormat {
    std::string_view name; ///< such as "s16le"
    pcm::Encoding encoding;
    int subtype; ///< libsndfile's subtype and byte order; 0 where only a file without a header can hold it
};

std::span<const SampleFormat> SampleFormats();

/// @return the format of this name; throws Failure when there is none
const SampleFormat &SampleFormatNamed(std::string_view name);

/// @return "wav", "au" or "raw"
std::string ContainerName(int container);

/// @return the container of such a name, in small letters or capitals; throws Failure when there is none
int ContainerNamed(const std::string &name);

/// The container that a file's name asks for, .wav for "-"; throws Failure when it asks for none that there is.
int ContainerOf(const std::string &path);

/// Whether a file of this container can hold the format.
bool CanHold(int container, const SampleFormat &format);

/// What a container holds most naturally: the wanted sample type, as signed as wanted, in the usual byte order.
const SampleFormat &UsualFormat(int container, pcm::Encoding wanted);

/// Where a program reports on its work: standard output, unless the audio goes there.
FILE *ReportFile(const std::string &output);

/// A file descriptor that is closed with its owner.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(other.Release()) {}
    Descriptor &operator=(Descriptor other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor() { Close(); }

    explicit operator bool() const { return fd_ >= 0; }
    int Get() const { return fd_; }
    int Release() { return std::exchange(fd_, -1); }
    bool Close() { return fd_ < 0 || close(Release()) == 0; } ///< @return whether all that was written arrived

private:
    int fd_;
};

struct CloseSoundFile {
    void operator()(SNDFILE *file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

/// Reads a file that libsndfile knows, or standard input for "-", from the first frame to the last. A pipe is first
/// copied to a file. Throws Failure.
class AudioReader {
public:
    explicit AudioReader(const std::string &path);

    pbInt Rate() const { return info_.samplerate; }
    pbInt Channels() const { return info_.channels; }
    pbInt Frames() const { return info_.frames; } ///< as the file states them

    /// Which speaker each channel is for, in libsndfile's numbers; empty when the file does not say.
    const std::vector<int> &Speakers() const { return speakers_; }

    std::string Description() const; ///< container and sample format, such as "wav s16le"
    pcm::Encoding Encoding() const;  ///< what the file's samples are, or come closest to

    /// @return the next frames, at most as many as asked for; an empty handle after the last
    pcm::Packet Read(pbInt frames);

private:
    [[noreturn]] void Fail(const std::string &what) const;

    std::string path_;
    SF_INFO info_ = {};
    SoundFile file_;
    std::vector<int> speakers_;
    const SampleFormat *plain_ = nullptr; ///< how the bytes of the file hold the samples; null: only libsndfile knows
    pbInt position_ = 0;
};

/**
   Writes a file under a temporary name, which Finish replaces with its own; without Finish, and when a signal ends the
   process, the temporary file is removed. So a file that is read may be the one that is written. A symbolic link stays,
   and what it leads to is replaced. What goes to a pipe or device, or to standard output for "-", is collected in a
   file and written there by Finish; without a header it goes there at once. That must not be a file that is read. One
   writer at a time in a process. Throws Failure.
*/
class AudioWriter {
public:
    /// @param speakers  which speaker each channel is for, as of AudioReader; empty when that is not known
    AudioWriter(const std::string &path, int container, const SampleFormat &format, pbInt rate, pbInt channels,
                std::vector<int> speakers = {});
    ~AudioWriter();
    AudioWriter(const AudioWriter &) = delete;
    AudioWriter &operator=(const AudioWriter &) = delete;

    /// Adds frames that are encoded in the file's format.
    void Write(const pcm::Buffer &frames);

    /// Completes the file and gives it its name.
    void Finish();

private:
    void OpenTarget();
    void OpenSoundFile(SF_INFO info);
    [[noreturn]] void Fail(const std::string &what) const;

    std::string path_, target_; ///< the name as it was given, and the file that is replaced
    Descriptor fd_, pipe_;      ///< what is written, and where Finish copies it to, if anywhere
    SoundFile file_;            ///< the file with its header; null for one without
    pbInt bytes_ = 0;
};
