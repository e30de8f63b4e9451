#include "audio_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

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

int SizeOf(const std::vector<int> &values)
{
    return static_cast<int>(values.size() * sizeof(int));
}

constexpr struct Container {
    const char *name;
    int format;
} kContainers[] = {{"wav", SF_FORMAT_WAV}, {"au", SF_FORMAT_AU}, {"raw", SF_FORMAT_RAW}};

/// The container of a name, in small letters or capitals; nothing for any other name.
std::optional<int> FindContainer(std::string name)
{
    std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
    for (const Container &container : kContainers)
        if (name == container.name)
            return container.format;
    return std::nullopt;
}

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

/// Whether a header's length means "unknown": programs that write to a pipe state one near 2^31, 2^32 or 2^64.
bool MeansUnknown(unsigned long long length)
{
    const auto isNear = [&](unsigned long long limit) { return length <= limit && limit - length <= 4096; };
    return isNear(1ULL << 31) || isNear(1ULL << 32) || length >> 62;
}

/**
   Whether the file ends too soon. An Ogg stream has a last page, without which libsndfile does not know its length.
   Elsewhere the header states more samples than there are: libsndfile reads those that are there and says so in its
   log, such as "data : 137090 (should be 49956)".
*/
bool IsCutOff(SNDFILE *file, const SF_INFO &info)
{
    if ((info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG && info.seekable && info.frames == kUnknownFrames)
        return true;
    std::string log(16384, '\0');
    sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()));
    for (const char *name : {"data", "SSND", "Data Size", "riff", "Riff size"}) {
        for (auto at = log.find(name); at != std::string::npos; at = log.find(name, at + 1)) {
            unsigned long long stated, there;
            if (std::sscanf(log.c_str() + at + std::strlen(name), " : %llu (should be %llu)", &stated, &there) == 2 &&
                stated > there && !MeansUnknown(stated))
                return true;
        }
    }
    return false;
}

/// Whether a WAV, AIFF or AU file is shorter than its first bytes state, as when it is cut off within its header.
bool IsShorterThanItStates(int fd, off_t length)
{
    std::array<unsigned char, 8> head{};
    if (pread(fd, head.data(), head.size(), 0) < 4)
        return false;
    const std::string_view kind(reinterpret_cast<const char *>(head.data()), 4);
    if (kind == "RIFF")
        std::reverse(head.begin() + 4, head.end());
    else if (kind != "RIFX" && kind != "FORM" && kind != ".snd")
        return false;
    unsigned long long stated = 0;
    for (const unsigned char byte : std::span(head).last(4))
        stated = stated << 8 | byte;
    const off_t before = kind == ".snd" ? 0 : 8; // AU states the length of its header, the others of what follows
    return length < 12 || (!MeansUnknown(stated) && length < static_cast<off_t>(stated) + before);
}

/// The reason why libsndfile could not open a file.
std::string ReasonNotOpened()
{
    std::string reason = sf_strerror(nullptr);
    while (!reason.empty() && (reason.back() == '.' || reason.back() == '\n'))
        reason.pop_back();
    return reason;
}

/// Writes all bytes. @return whether that succeeded; if not, errno is set
bool WriteAll(int fd, std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const auto written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    return true;
}

/// Copies the rest of one file to another. @return whether that succeeded; if not, errno is set
bool CopyRest(int from, int to)
{
    std::vector<std::byte> block(65536);
    for (;;) {
        const auto got = read(from, block.data(), block.size());
        if (got == 0)
            return true;
        if (got < 0 ? errno != EINTR : !WriteAll(to, std::span(block).first(static_cast<std::size_t>(got))))
            return false;
    }
}

/// @return a file without a name, which is gone when it is closed
Descriptor NamelessFile()
{
    const std::unique_ptr<FILE, int (*)(FILE *)> file(std::tmpfile(), std::fclose);
    return Descriptor(file ? dup(fileno(file.get())) : -1);
}

// The files that are read, by device and inode.
std::vector<std::pair<dev_t, ino_t>> filesRead;

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
    std::signal(signal, SIG_DFL); // only now: with SA_RESETHAND a second signal can end the process before this handler
    raise(signal);
}

constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGXCPU, SIGXFSZ};

/// Makes the unfinished file, which a signal that ends the process will remove. An ignored signal stays ignored.
Descriptor MakeUnfinished(const std::string &path)
{
    sigset_t signals, before;
    sigemptyset(&signals);
    for (const int signal : kEndingSignals) {
        sigaddset(&signals, signal);
        struct sigaction action;
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL)
            std::signal(signal, OnEndingSignal);
    }
    sigprocmask(SIG_BLOCK, &signals, &before); // a name that is half written may be that of another file
    std::strcpy(unfinishedPath, path.c_str());
    Descriptor fd(mkstemp(unfinishedPath));
    if (!fd)
        unfinishedPath[0] = '\0';
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return fd;
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

std::string ContainerName(int container)
{
    return std::ranges::find(kContainers, container, &Container::format)->name;
}

int ContainerNamed(const std::string &name)
{
    if (const auto container = FindContainer(name))
        return *container;
    throw Failure("unknown type '" + name + "'; there are wav, au and raw");
}

int ContainerOf(const std::string &path)
{
    if (path == "-")
        return SF_FORMAT_WAV;
    const std::string ending = std::filesystem::path(path).extension();
    if (const auto container = ending.empty() ? std::nullopt : FindContainer(ending.substr(1)))
        return *container;
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

FILE *ReportFile(const std::string &output)
{
    return output == "-" ? stderr : stdout;
}

AudioReader::AudioReader(const std::string &path) : path_(path)
{
    Descriptor fd(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (!fd || fstat(fd.Get(), &status) != 0)
        Fail(std::strerror(errno));
    if (S_ISDIR(status.st_mode))
        Fail(std::strerror(EISDIR));
    if (S_ISREG(status.st_mode))
        filesRead.push_back({status.st_dev, status.st_ino});
    const bool named = path != "-" && S_ISREG(status.st_mode);
    if (!named) { // libsndfile seeks in many kinds of files, which a pipe cannot
        Descriptor copy = NamelessFile();
        if (!copy || !CopyRest(fd.Get(), copy.Get()) || fstat(copy.Get(), &status) != 0)
            Fail(std::strerror(errno));
        lseek(copy.Get(), 0, SEEK_SET);
        fd = std::move(copy);
    }
    const bool isShort = IsShorterThanItStates(fd.Get(), status.st_size);
    file_.reset(named ? sf_open(path.c_str(), SFM_READ, &info_) : sf_open_fd(fd.Release(), SFM_READ, &info_, SF_TRUE));
    if (status.st_size == 0)
        Fail("the file is empty");
    if (!file_)
        Fail(isShort ? "the file is cut off" : ReasonNotOpened());
    if (IsCutOff(file_.get(), info_) || (isShort && info_.frames == 0))
        Fail("the file is cut off");
    if (info_.frames == 0)
        Fail("the file holds no audio");

    speakers_.resize(static_cast<std::size_t>(Channels()));
    if (sf_command(file_.get(), SFC_GET_CHANNEL_MAP_INFO, speakers_.data(), SizeOf(speakers_)) != SF_TRUE)
        speakers_.clear();
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
    // What libsndfile decodes are native floats, the encoding 0.
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

AudioWriter::AudioWriter(const std::string &path, int container, const SampleFormat &format, pbInt rate, pbInt channels,
                         std::vector<int> speakers)
    : path_(path), target_(path)
{
    SF_INFO info = {};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    info.format = container | format.subtype;
    if (!CanHold(container, format))
        Fail("this kind of file cannot hold " + std::string(format.name));
    if (container != SF_FORMAT_RAW && !sf_format_check(&info))
        Fail("this kind of file cannot hold " + std::to_string(channels) + " channels of " + std::string(format.name) +
             " at " + std::to_string(rate) + " Hz");

    OpenTarget();
    if (pipe_)
        fd_ = container == SF_FORMAT_RAW ? std::move(pipe_) : NamelessFile(); // a header is completed at the end
    if (!fd_)
        Fail(std::strerror(errno));
    if (container == SF_FORMAT_RAW)
        return;
    // Extensible WAV is meant for more than two channels or 16 bits, and alone states the speaker of each channel.
    SF_INFO extensible = info;
    extensible.format = SF_FORMAT_WAVEX | format.subtype;
    const bool isExtensible = container == SF_FORMAT_WAV && (channels > 2 || format.encoding.SizeofFrame(1) > 2) &&
                              sf_format_check(&extensible);
    OpenSoundFile(isExtensible ? extensible : info);
    if (isExtensible && std::ssize(speakers) == channels &&
        sf_command(file_.get(), SFC_SET_CHANNEL_MAP_INFO, speakers.data(), SizeOf(speakers)) != SF_TRUE)
        OpenSoundFile(info); // it cannot state speakers in this order, and would state others
}

AudioWriter::~AudioWriter()
{
    file_.reset();
    RemoveUnfinished();
}

void AudioWriter::Fail(const std::string &what) const
{
    RemoveUnfinished();
    throw Failure("cannot write '" + path_ + "': " + what);
}

void AudioWriter::OpenTarget()
{
    struct stat status;
    const bool exists = stat(path_.c_str(), &status) == 0;
    if (path_ == "-" || (exists && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))) {
        pipe_ = Descriptor(path_ == "-" ? dup(STDOUT_FILENO) : open(path_.c_str(), O_WRONLY | O_CLOEXEC));
        if (!pipe_ || fstat(pipe_.Get(), &status) != 0)
            Fail(std::strerror(errno));
        if (std::ranges::find(filesRead, std::pair(status.st_dev, status.st_ino)) != filesRead.end())
            Fail("the input is this same file");
        return;
    }
    if (exists && S_ISDIR(status.st_mode))
        Fail(std::strerror(EISDIR));
    if (exists)
        target_ = std::filesystem::canonical(path_);
    else if (std::error_code error; std::filesystem::is_symlink(path_, error))
        Fail("this symbolic link leads nowhere");

    const std::string unfinished = target_ + ".XXXXXX";
    if (unfinished.size() >= sizeof unfinishedPath)
        Fail(std::strerror(ENAMETOOLONG));
    fd_ = MakeUnfinished(unfinished);
    if (!fd_)
        Fail(std::strerror(errno));
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd_.Get(), 0666 & ~mask); // what a file that is simply opened would get
}

void AudioWriter::OpenSoundFile(SF_INFO info)
{
    file_.reset();
    if (ftruncate(fd_.Get(), 0) == 0 && lseek(fd_.Get(), 0, SEEK_SET) == 0)
        file_.reset(sf_open_fd(fd_.Get(), SFM_WRITE, &info, SF_FALSE));
    if (!file_)
        Fail(ReasonNotOpened());
    sf_command(file_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE); // it would not see the peaks of raw bytes
}

void AudioWriter::Write(const pcm::Buffer &frames)
{
    constexpr pbInt kLargest = 0xFFFFFFFF - 4096; // what the 32-bit sizes of a header allow
    bytes_ += frames.Length();
    if (file_ && bytes_ > kLargest)
        Fail("the audio is too long for this kind of file; .raw has no limit");

    errno = 0;
    const auto bytes = frames.Bytes();
    if (file_ ? sf_write_raw(file_.get(), bytes.data(), std::ssize(bytes)) != std::ssize(bytes)
              : !WriteAll(fd_.Get(), bytes))
        Fail(errno ? std::strerror(errno) : "the device takes no more");
}

void AudioWriter::Finish()
{
    if (file_ && sf_close(file_.release()) != 0)
        Fail("its header could not be completed");
    if (pipe_ && (lseek(fd_.Get(), 0, SEEK_SET) != 0 || !CopyRest(fd_.Get(), pipe_.Get()) || !pipe_.Close()))
        Fail(std::strerror(errno));
    if (!fd_.Close() || (unfinishedPath[0] && std::rename(unfinishedPath, target_.c_str()) != 0))
        Fail(std::strerror(errno));
    unfinishedPath[0] = '\0';
}
