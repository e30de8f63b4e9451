#include "audio_file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr PCM_ENCODING kLittle = PCM_ENCODING_LITTLE_ENDIAN, kBig = PCM_ENCODING_BIG_ENDIAN,
                       kUnsigned = PCM_ENCODING_UNSIGNED;

constexpr SampleFormat kFormats[] = {
    {"s8", PCM_ENCODING_INT_8, SF_FORMAT_PCM_S8},
    {"u8", PCM_ENCODING_INT_8 | kUnsigned, SF_FORMAT_PCM_U8},
    {"s16le", PCM_ENCODING_INT_16 | kLittle, SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE},
    {"s16be", PCM_ENCODING_INT_16 | kBig, SF_FORMAT_PCM_16 | SF_ENDIAN_BIG},
    {"u16le", PCM_ENCODING_INT_16 | kUnsigned | kLittle, 0},
    {"u16be", PCM_ENCODING_INT_16 | kUnsigned | kBig, 0},
    {"s24le", PCM_ENCODING_INT_24 | kLittle, SF_FORMAT_PCM_24 | SF_ENDIAN_LITTLE},
    {"s24be", PCM_ENCODING_INT_24 | kBig, SF_FORMAT_PCM_24 | SF_ENDIAN_BIG},
    {"u24le", PCM_ENCODING_INT_24 | kUnsigned | kLittle, 0},
    {"u24be", PCM_ENCODING_INT_24 | kUnsigned | kBig, 0},
    {"s32le", PCM_ENCODING_INT_32 | kLittle, SF_FORMAT_PCM_32 | SF_ENDIAN_LITTLE},
    {"s32be", PCM_ENCODING_INT_32 | kBig, SF_FORMAT_PCM_32 | SF_ENDIAN_BIG},
    {"u32le", PCM_ENCODING_INT_32 | kUnsigned | kLittle, 0},
    {"u32be", PCM_ENCODING_INT_32 | kUnsigned | kBig, 0},
    {"f32le", PCM_ENCODING_FLOAT_32 | kLittle, SF_FORMAT_FLOAT | SF_ENDIAN_LITTLE},
    {"f32be", PCM_ENCODING_FLOAT_32 | kBig, SF_FORMAT_FLOAT | SF_ENDIAN_BIG},
    {"alaw", PCM_ENCODING_G711_ALAW, SF_FORMAT_ALAW},
    {"mulaw", PCM_ENCODING_G711_MULAW, SF_FORMAT_ULAW},
};

/// The sample type of an encoding, without signedness and byte order.
PCM_ENCODING TypeOf(pcm::Encoding encoding)
{
    return encoding & (PCM_ENCODING_G711_ALAW | PCM_ENCODING_G711_MULAW | PCM_ENCODING_INT_8 | PCM_ENCODING_INT_16 |
                       PCM_ENCODING_INT_24 | PCM_ENCODING_INT_32 | PCM_ENCODING_FLOAT_32);
}

const SampleFormat *FormatOfSubtype(int subtype, bool bigEndian)
{
    const int order = bigEndian ? SF_ENDIAN_BIG : SF_ENDIAN_LITTLE;
    const auto found = std::ranges::find_if(
        kFormats, [&](int ours) { return ours && (ours == subtype || ours == (subtype | order)); },
        &SampleFormat::subtype);
    return found == std::end(kFormats) ? nullptr : found;
}

/// What libsndfile says where it cannot know.
constexpr sf_count_t kUnknownFrames = std::numeric_limits<sf_count_t>::max();

/// Containers in which the samples stand one after another and nothing else stands between them.
bool HoldsPlainSamples(int container)
{
    switch (container) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
    case SF_FORMAT_RF64:
    case SF_FORMAT_W64:
    case SF_FORMAT_AIFF:
    case SF_FORMAT_AU:
    case SF_FORMAT_CAF: return true;
    default: return false;
    }
}

/**
   Whether the file ends too soon. An Ogg stream has a last page, without which libsndfile does not know its length.
   Elsewhere the header states more samples than there are: libsndfile makes do with what is there and says so in its
   log, such as "data : 137090 (should be 49956)". Lengths near 2^31 and 2^32 are what programs state that write to a
   pipe and cannot know.
*/
bool IsCutOff(SNDFILE *file, const SF_INFO &info)
{
    if ((info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG && info.seekable && info.frames == kUnknownFrames)
        return true;
    constexpr unsigned long long kUnknownLength = 0x7FFFF000;
    std::string log(16384, '\0');
    sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()));
    for (const char *name : {"data", "SSND", "Data Size", "riff"}) {
        for (auto at = log.find(name); at != std::string::npos; at = log.find(name, at + 1)) {
            unsigned long long stated, there;
            if (std::sscanf(log.c_str() + at + std::strlen(name), " : %llu (should be %llu)", &stated, &there) == 2 &&
                stated > there && stated < kUnknownLength)
                return true;
        }
    }
    return false;
}

// The name of the file that is being written, for the handler of signals and for the writer. Empty: none.
char unfinishedPath[PATH_MAX];

void RemoveUnfinished()
{
    if (unfinishedPath[0])
        unlink(unfinishedPath);
    unfinishedPath[0] = '\0';
}

extern "C" void OnEndingSignal(int signal)
{
    RemoveUnfinished();
    std::signal(signal, SIG_DFL);
    raise(signal);
}

} // namespace

std::span<const SampleFormat> SampleFormats()
{
    return kFormats;
}

const SampleFormat &SampleFormatNamed(std::string_view name)
{
    const auto found = std::ranges::find(kFormats, name, &SampleFormat::name);
    if (found != std::end(kFormats))
        return *found;
    std::string names;
    for (const auto &format : kFormats)
        names += ' ' + std::string(format.name);
    throw Failure("unknown encoding '" + std::string(name) + "'; there are" + names);
}

int ContainerOf(const std::string &path)
{
    const auto ending = std::filesystem::path(path).extension();
    if (ending == ".wav")
        return SF_FORMAT_WAV;
    if (ending == ".au")
        return SF_FORMAT_AU;
    if (ending == ".raw")
        return SF_FORMAT_RAW;
    throw Failure("cannot tell what to write to '" + path + "': its name has to end in .wav, .au or .raw");
}

bool CanHold(int container, const SampleFormat &format)
{
    if (container == SF_FORMAT_RAW)
        return true;
    SF_INFO info = {};
    info.samplerate = 48000;
    info.channels = 1;
    info.format = container | format.subtype;
    return format.subtype && sf_format_check(&info);
}

const SampleFormat &UsualFormat(int container, pcm::Encoding wanted)
{
    const PCM_ENCODING otherOrder = container == SF_FORMAT_AU ? kLittle : kBig;
    const SampleFormat *best = nullptr;
    for (const auto &format : kFormats) {
        if (TypeOf(format.encoding) != TypeOf(wanted) || format.encoding & otherOrder || !CanHold(container, format))
            continue;
        if (!best || (format.encoding & kUnsigned) == (wanted & kUnsigned))
            best = &format;
    }
    return *best; // each container holds each type, one way or the other
}

AudioReader::AudioReader(const std::string &path) : path_(path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0)
        Fail(std::strerror(errno));
    if (S_ISDIR(status.st_mode))
        Fail(std::strerror(EISDIR));
    if (S_ISREG(status.st_mode) && status.st_size == 0)
        Fail("the file is empty");
    file_.reset(sf_open(path.c_str(), SFM_READ, &info_));
    if (!file_) {
        std::string reason = sf_strerror(nullptr);
        while (!reason.empty() && (reason.back() == '.' || reason.back() == '\n'))
            reason.pop_back();
        Fail(reason);
    }
    if (IsCutOff(file_.get(), info_))
        Fail("the file is cut off");
    if (info_.frames == 0)
        Fail("the file holds no audio");

    if (HoldsPlainSamples(info_.format & SF_FORMAT_TYPEMASK)) {
        const bool swapped = sf_command(file_.get(), SFC_RAW_DATA_NEEDS_ENDSWAP, nullptr, 0) == SF_TRUE;
        constexpr bool hostIsBig = std::endian::native == std::endian::big;
        plain_ = FormatOfSubtype(info_.format & SF_FORMAT_SUBMASK, swapped != hostIsBig);
    }
}

void AudioReader::Fail(const std::string &what) const
{
    throw Failure("cannot read '" + path_ + "': " + what);
}

std::string AudioReader::Description() const
{
    SF_FORMAT_INFO major = {};
    major.format = info_.format & SF_FORMAT_TYPEMASK;
    sf_command(nullptr, SFC_GET_FORMAT_INFO, &major, sizeof major);
    SF_FORMAT_INFO minor = {};
    minor.format = info_.format & SF_FORMAT_SUBMASK;
    sf_command(nullptr, SFC_GET_FORMAT_INFO, &minor, sizeof minor);
    const std::string container = major.extension ? major.extension : "unknown";
    if (plain_)
        return container + ' ' + std::string(plain_->name);
    return container + ' ' + (minor.name ? minor.name : "unknown");
}

pcm::Encoding AudioReader::Encoding() const
{
    if (plain_)
        return plain_->encoding;
    switch (info_.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8: return PCM_ENCODING_INT_8;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24: return PCM_ENCODING_INT_24;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32: return PCM_ENCODING_INT_32;
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE: return PCM_ENCODING_FLOAT_32;
    default: return PCM_ENCODING_INT_16;
    }
}

pcm::Packet AudioReader::Read(pbInt frames)
{
    // What libsndfile has to decode comes as native floats, which is what no flag at all stands for.
    const pcm::Encoding encoding = plain_ ? plain_->encoding : pcm::Encoding();
    const pbInt frameSize = encoding.SizeofFrame(Channels());
    void *block = pbMemAllocN(frames, frameSize);
    const sf_count_t got = plain_ ? sf_read_raw(file_.get(), block, frames * frameSize) / frameSize
                                  : sf_readf_float(file_.get(), static_cast<float *>(block), frames);
    const auto bytes = pcm::Buffer::Adopt(pbBufferCreateFromBytesUse(block, got * frameSize));
    position_ += got;
    if (got > 0)
        return pcm::Packet::TryDecode(bytes, encoding, Channels());
    if (position_ == 0)
        Fail("the file holds no audio");
    if (info_.frames != kUnknownFrames && position_ < info_.frames)
        Fail("the file is cut off after " + std::to_string(position_) + " of " + std::to_string(info_.frames) +
             " frames");
    return {};
}

AudioWriter::AudioWriter(const std::string &path, const SampleFormat &format, pbInt rate, pbInt channels)
    : path_(path), container_(ContainerOf(path))
{
    SF_INFO info = {};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    info.format = container_ | format.subtype;
    if (!CanHold(container_, format))
        Fail("this kind of file cannot hold " + std::string(format.name));
    if (container_ != SF_FORMAT_RAW && !sf_format_check(&info))
        Fail("this kind of file cannot hold " + std::to_string(channels) + " channels of " + std::string(format.name) +
             " at " + std::to_string(rate) + " Hz");
    if (std::filesystem::is_directory(path))
        Fail(std::strerror(EISDIR));

    const std::string unfinished = path + ".XXXXXX";
    if (unfinished.size() >= sizeof unfinishedPath)
        Fail(std::strerror(ENAMETOOLONG));
    std::strcpy(unfinishedPath, unfinished.c_str());
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, OnEndingSignal);
    fd_ = mkstemp(unfinishedPath);
    if (fd_ < 0) {
        unfinishedPath[0] = '\0';
        Fail(std::strerror(errno));
    }
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd_, 0666 & ~mask); // what a file that is simply opened would get

    if (container_ != SF_FORMAT_RAW) {
        file_.reset(sf_open_fd(fd_, SFM_WRITE, &info, SF_FALSE));
        if (!file_) {
            const std::string reason = sf_strerror(nullptr);
            close(fd_);
            RemoveUnfinished();
            Fail(reason);
        }
        sf_command(file_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE); // it would not see the peaks of raw bytes
    }
}

AudioWriter::~AudioWriter()
{
    file_.reset();
    if (fd_ >= 0)
        close(fd_);
    RemoveUnfinished();
}

void AudioWriter::Fail(const std::string &what) const
{
    throw Failure("cannot write '" + path_ + "': " + what);
}

void AudioWriter::Write(const pcm::Buffer &frames)
{
    constexpr pbInt kLargest = 0xFFFFFFFF - 4096; // what the 32-bit sizes of a header allow
    bytes_ += frames.Length();
    if (file_ && bytes_ > kLargest)
        Fail("the audio is too long for this kind of file; .raw has no limit");

    auto left = frames.Bytes();
    while (!left.empty()) {
        errno = 0;
        const auto written = file_ ? sf_write_raw(file_.get(), left.data(), static_cast<sf_count_t>(left.size()))
                                   : write(fd_, left.data(), left.size());
        if (written <= 0 && errno != EINTR)
            Fail(errno ? std::strerror(errno) : "the device takes no more");
        left = left.subspan(static_cast<std::size_t>(std::max<long>(written, 0)));
    }
}

void AudioWriter::Finish()
{
    if (file_ && sf_close(file_.release()) != 0)
        Fail("its header could not be completed");
    if (close(std::exchange(fd_, -1)) != 0 || std::rename(unfinishedPath, path_.c_str()) != 0)
        Fail(std::strerror(errno));
    unfinishedPath[0] = '\0';
}
