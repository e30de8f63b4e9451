/**
   @file
   The library for C++20 callers: the C operations, with handles that take and give up references by themselves.
   Header-only; adds no behaviour of its own, so the C headers say what an operation does and what ends the process.

   A handle (pcm::Packet, ...) holds one reference, or none when it is empty. Copying one retains, destroying one
   releases, moving one leaves it empty. Changing operations pass the handle's address on, so a shared object is
   replaced in this handle alone. Samples are passed as std::span. `Try` operations give an empty handle when there is
   no result. Threads: as the C operations; one handle must not be used by two threads at once.

   @since 1.0
*/
#ifndef PCM_HPP
#define PCM_HPP

#include <pcm/pcm.h>

#include <algorithm>
#include <compare>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace pcm {

/// Returns any object as a generic one; null stays null.
template <class T> PB_OBJ *Obj(T *object) noexcept
{
    return reinterpret_cast<PB_OBJ *>(object);
}
/// Takes one more reference to an object of the runtime.
template <class T> void Retain(T *object)
{
    pbObjRetain(Obj(object));
}
/// Gives up a reference to an object of the runtime.
template <class T> void Release(T *object)
{
    pbObjRelease(Obj(object));
}

/// Returns the number of elements of a span, in the library's integers.
template <class T> constexpr pbInt Size(std::span<T> run) noexcept
{
    return static_cast<pbInt>(run.size());
}

/// One reference to an object of the sort T, or none. Class is the handle type that derives from this one.
template <class Class, class T, void (*retain)(T *) = Retain<T>, void (*release)(T *) = Release<T>> class Handle {
public:
    Handle() noexcept = default; ///< an empty handle
    /// One more reference to the same object.
    Handle(const Handle &other) noexcept : object_(other.object_)
    {
        if (object_)
            retain(object_);
    }
    /// Leaves the other empty.
    Handle(Handle &&other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    /// Gives up what the handle holds; assigning a handle to itself changes nothing.
    Handle &operator=(Handle other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }
    /// Gives up the reference.
    ~Handle()
    {
        if (object_)
            release(object_);
    }

    /// Takes over a reference.
    [[nodiscard]] static Class Adopt(T *object) noexcept
    {
        Class handle;
        *handle.Address() = object;
        return handle;
    }
    /// Takes one more reference; null gives an empty handle.
    [[nodiscard]] static Class Share(T *object) noexcept
    {
        if (object)
            retain(object);
        return Adopt(object);
    }

    explicit operator bool() const noexcept { return object_; } ///< whether there is an object
    /// The object, for the C operations; the handle keeps its reference.
    T *Get() const noexcept { return object_; }
    /// The handle's address, for C operations that may replace the object.
    T **Address() noexcept { return &object_; }
    /// Gives the reference to the caller and leaves the handle empty.
    [[nodiscard]] T *Detach() noexcept { return std::exchange(object_, nullptr); }

    /// Describes the object, as pbObjToString. Ends the process when the handle is empty.
    std::string ToString() const;
    /// Orders two objects as pbObjCompare: by the sort's own order, else by address; an empty handle comes first.
    friend std::weak_ordering operator<=>(const Handle &a, const Handle &b)
    {
        return pbObjCompare(Obj(a.object_), Obj(b.object_)) <=> 0;
    }
    /// Returns whether that order is 0: two packets, queues, filters, coefficient sets or tones are equal when they are
    /// the same object, two strings when they have the same text.
    friend bool operator==(const Handle &a, const Handle &b) { return (a <=> b) == 0; }

protected:
    /// Takes over a reference.
    explicit Handle(T *adopted) noexcept : object_(adopted) {}

private:
    T *object_ = nullptr;
};

/// Starts the library's module through its descriptor and stops it at the end of the scope. One at a time.
class Module {
public:
    /// Starts the module; ends the process when that fails.
    Module()
    {
        if (!pcmModule()->startup())
            pb___Abort(nullptr, "include/pcm/pcm", __LINE__, "pcmModule()->startup()");
    }
    /// Stops it.
    ~Module() { pcmModule()->shutdown(); }
    Module(const Module &) = delete;
    Module &operator=(const Module &) = delete;
};

/// A text.
class String : public Handle<String, PB_STRING> {
public:
    String() noexcept = default; ///< an empty handle
    /// A copy of the text.
    explicit String(std::string_view text)
        : Handle(pbStringCreateFromCstr(text.data(), static_cast<pbInt>(text.size())))
    {
    }

    /// The text, valid while somebody holds the string.
    std::string_view View() const { return {pbStringCstr(Get()), static_cast<std::size_t>(pbStringLength(Get()))}; }
};

template <class Class, class T, void (*retain)(T *), void (*release)(T *)>
std::string Handle<Class, T, retain, release>::ToString() const
{
    return std::string(String::Adopt(pbObjToString(Obj(object_))).View());
}

/// An immutable run of bytes.
class Buffer : public Handle<Buffer, PB_BUFFER> {
public:
    Buffer() noexcept = default; ///< an empty handle
    /// A copy of the bytes.
    explicit Buffer(std::span<const std::byte> bytes)
    {
        const pbInt length = Size(bytes);
        void *block = pbMemAlloc(length);
        pbMemCopyN(block, bytes.data(), length, 1);
        *this = Adopt(pbBufferCreateFromBytesUse(block, length));
    }

    pbInt Length() const { return pbBufferLength(Get()); } ///< in bytes
    /// The bytes, valid while somebody holds the buffer.
    std::span<const std::byte> Bytes() const
    {
        return {static_cast<const std::byte *>(pbBufferBacking(Get())), static_cast<std::size_t>(Length())};
    }
};

/// An encoding's flag word with its text form and sizes.
class Encoding {
public:
    /// Of a flag word, which is kept as it is.
    constexpr Encoding(PCM_ENCODING flags = 0) noexcept : flags_(flags) {}
    /// As pcmEncodingFromString.
    static Encoding FromString(std::string_view names) { return pcmEncodingFromString(String(names).Get()); }

    /// The flag word.
    constexpr operator PCM_ENCODING() const noexcept { return flags_; }

    /** @name As the C operation pcmEncoding... of this name (pcm_encoding.h) */
    /** @{ */
    /// As the C operation pcmEncoding... of this name.
    Encoding Normalize() const { return pcmEncodingNormalize(flags_); }
    std::string ToString() const { return std::string(String::Adopt(pcmEncodingToString(flags_)).View()); }
    pbInt SizeofSample() const { return pcmEncodingSizeofSample(flags_); }
    pbInt SizeofFrame(pbInt channels) const { return pcmEncodingSizeofFrame(flags_, channels); }
    /** @} */

private:
    PCM_ENCODING flags_;
};

/// The buffer's samples in another encoding; empty when it holds none, or not a whole number of them.
inline Buffer TryConvert(PCM_ENCODING destEncoding, const Buffer &source, PCM_ENCODING sourceEncoding)
{
    return Buffer::Adopt(pcmTryConvert(destEncoding, source.Get(), sourceEncoding));
}

/// Converts as many samples as both runs of bytes have room for, into memory of the caller's own; returns how many.
/// Nothing is allocated, and the runs must not overlap. The encoding 0 is PCM_SAMPLE, aligned: `std::as_bytes` and
/// `std::as_writable_bytes` make bytes of samples.
inline pbInt Convert(std::span<std::byte> dest, PCM_ENCODING destEncoding, std::span<const std::byte> source,
                     PCM_ENCODING sourceEncoding)
{
    const pbInt samples = std::min(Size(dest) / pcmEncodingSizeofSample(destEncoding),
                                   Size(source) / pcmEncodingSizeofSample(sourceEncoding));
    pcm___Convert(dest.data(), destEncoding, source.data(), sourceEncoding, samples);
    return samples;
}

/// As pcmDecibelFromGain.
inline pbReal DecibelFromGain(pbReal gain)
{
    return pcmDecibelFromGain(gain);
}
/// As pcmDecibelToGain.
inline pbReal DecibelToGain(pbReal decibel)
{
    return pcmDecibelToGain(decibel);
}

/// As pcmLevelAdjustSamples.
inline void LevelAdjust(std::span<PCM_SAMPLE> samples, pbReal decibel)
{
    pcmLevelAdjustSamples(samples.data(), Size(samples), decibel);
}

/// A run of frames.
class Packet : public Handle<Packet, PCM_PACKET, pcmPacketRetain, pcmPacketRelease> {
public:
    Packet() noexcept = default; ///< an empty handle
    /// A packet without frames, as pcmPacketCreate.
    explicit Packet(pbInt channels) : Handle(pcmPacketCreate(channels)) {}

    /// A copy of interleaved samples; what is beyond the last whole frame is left out.
    Packet(std::span<const PCM_SAMPLE> samples, pbInt channels)
        : Handle(pcmPacketCreateFromSamplesCopy(samples.data(), channels, channels > 0 ? Size(samples) / channels : 0))
    {
    }
    /// A packet that takes over a block from pbMemAllocN, as pcmPacketCreateFromSamplesUse.
    static Packet CreateFromSamplesUse(PCM_SAMPLE *source, pbInt channels, pbInt frames)
    {
        return Adopt(pcmPacketCreateFromSamplesUse(source, channels, frames));
    }
    /// A new packet with a copy of every sample, as pcmPacketCreateFrom.
    static Packet CreateFrom(const Packet &source) { return Adopt(pcmPacketCreateFrom(source.Get())); }

    /** @name As the C operation pcmPacket... of this name (pcm_packet.h) */
    /** @{ */
    /// As the C operation pcmPacket... of this name.
    static Packet TryDecode(const Buffer &source, PCM_ENCODING encoding, pbInt channels)
    {
        return Adopt(pcmPacketTryDecode(source.Get(), encoding, channels));
    }
    Buffer Encode(PCM_ENCODING encoding) const { return Buffer::Adopt(pcmPacketEncode(Get(), encoding)); }

    pbInt Channels() const { return pcmPacketChannels(Get()); }
    pbInt Frames() const { return pcmPacketFrames(Get()); }
    std::span<const PCM_SAMPLE> Samples() const { return {pcmPacketBacking(Get()), Count()}; }
    std::span<PCM_SAMPLE> MutableSamples()
    {
        PCM_SAMPLE *samples = pcmPacketMutableBacking(Address());
        return {samples, Count()};
    }

    void Clear() { pcmPacketClear(Address()); }
    /** @} */

    /** @name As the C operation of this name, pcmLevelAdjust and so on (pcm_level.h, pcm_channels.h, pcm_frames.h) */
    /** @{ */
    /// As the C operation pcm... of this name.
    void LevelAdjust(pbReal decibel) { pcmLevelAdjust(Address(), decibel); }
    void ChannelsAdjustReplaceWithDownmix(pbInt channels) { pcmChannelsAdjustReplaceWithDownmix(Address(), channels); }
    void ChannelsAdjustExpandWithDownmix(pbInt channels) { pcmChannelsAdjustExpandWithDownmix(Address(), channels); }
    void FramesExtend(pbInt mult) { pcmFramesExtend(Address(), mult); }
    void FramesReduce(pbInt div) { pcmFramesReduce(Address(), div); }
    /** @} */

    /** @name Write, Insert, Prepend, Append, Del (pcm_packet.h) */
    /** @{ */
    /// As the C operation pcmPacket... of this name. What is written or inserted is all of the source or a part of it,
    /// or silence.
    // clang-format off
    void Write(pbInt idx, const Packet &source) { pcmPacketWrite(Address(), idx, source.Get()); }
    void WriteInner(pbInt idx, const Packet &source, pbInt offset, pbInt frames)
    { pcmPacketWriteInner(Address(), idx, source.Get(), offset, frames); }
    void WriteOuter(pbInt idx, const Packet &source, pbInt offset, pbInt frames)
    { pcmPacketWriteOuter(Address(), idx, source.Get(), offset, frames); }
    void WriteLeading(pbInt idx, const Packet &source, pbInt frames)
    { pcmPacketWriteLeading(Address(), idx, source.Get(), frames); }
    void WriteTrailing(pbInt idx, const Packet &source, pbInt frames)
    { pcmPacketWriteTrailing(Address(), idx, source.Get(), frames); }
    void WriteZero(pbInt idx, pbInt frames) { pcmPacketWriteZero(Address(), idx, frames); }
    void Insert(pbInt idx, const Packet &source) { pcmPacketInsert(Address(), idx, source.Get()); }
    void InsertInner(pbInt idx, const Packet &source, pbInt offset, pbInt frames)
    { pcmPacketInsertInner(Address(), idx, source.Get(), offset, frames); }
    void InsertOuter(pbInt idx, const Packet &source, pbInt offset, pbInt frames)
    { pcmPacketInsertOuter(Address(), idx, source.Get(), offset, frames); }
    void InsertLeading(pbInt idx, const Packet &source, pbInt frames)
    { pcmPacketInsertLeading(Address(), idx, source.Get(), frames); }
    void InsertTrailing(pbInt idx, const Packet &source, pbInt frames)
    { pcmPacketInsertTrailing(Address(), idx, source.Get(), frames); }
    void InsertZero(pbInt idx, pbInt frames) { pcmPacketInsertZero(Address(), idx, frames); }
    void Prepend(const Packet &source) { pcmPacketPrepend(Address(), source.Get()); }
    void PrependInner(const Packet &source, pbInt offset, pbInt frames)
    { pcmPacketPrependInner(Address(), source.Get(), offset, frames); }
    void PrependOuter(const Packet &source, pbInt offset, pbInt frames)
    { pcmPacketPrependOuter(Address(), source.Get(), offset, frames); }
    void PrependLeading(const Packet &source, pbInt frames)
    { pcmPacketPrependLeading(Address(), source.Get(), frames); }
    void PrependTrailing(const Packet &source, pbInt frames)
    { pcmPacketPrependTrailing(Address(), source.Get(), frames); }
    void PrependZero(pbInt frames) { pcmPacketPrependZero(Address(), frames); }
    void Append(const Packet &source) { pcmPacketAppend(Address(), source.Get()); }
    void AppendInner(const Packet &source, pbInt offset, pbInt frames)
    { pcmPacketAppendInner(Address(), source.Get(), offset, frames); }
    void AppendOuter(const Packet &source, pbInt offset, pbInt frames)
    { pcmPacketAppendOuter(Address(), source.Get(), offset, frames); }
    void AppendLeading(const Packet &source, pbInt frames) { pcmPacketAppendLeading(Address(), source.Get(), frames); }
    void AppendTrailing(const Packet &source, pbInt frames)
    { pcmPacketAppendTrailing(Address(), source.Get(), frames); }
    void AppendZero(pbInt frames) { pcmPacketAppendZero(Address(), frames); }
    void DelInner(pbInt idx, pbInt frames) { pcmPacketDelInner(Address(), idx, frames); }
    void DelOuter(pbInt idx, pbInt frames) { pcmPacketDelOuter(Address(), idx, frames); }
    void DelLeading(pbInt frames) { pcmPacketDelLeading(Address(), frames); }
    void DelTrailing(pbInt frames) { pcmPacketDelTrailing(Address(), frames); }
    void SetFrames(pbInt frames) { pcmPacketSetFrames(Address(), frames); }
    // clang-format on
    /** @} */

    /// As pcmPacketSetChannels.
    void SetChannels(pbInt channels) { pcmPacketSetChannels(Address(), channels); }
    /// As pcmPacketCreateFromWithChannels.
    Packet WithChannels(pbInt channels) const { return Adopt(pcmPacketCreateFromWithChannels(Get(), channels)); }
    /// As pcmPacketCreateFromWithChannelMask.
    Packet WithChannelMask(pbInt channelMask) const
    {
        return Adopt(pcmPacketCreateFromWithChannelMask(Get(), channelMask));
    }
    /// As pcmPacketWriteChannelsSamples; the array's samples reach at least to the end of the rectangle.
    void WriteChannels(pbInt destChannelOffset, pbInt destFrameOffset, std::span<const PCM_SAMPLE> source,
                       pbInt sourceChannelOffset, pbInt sourceChannelCount, pbInt sourceFrameOffset, pbInt channels,
                       pbInt frames)
    {
        pcmPacketWriteChannelsSamples(Address(), destChannelOffset, destFrameOffset, source.data(), sourceChannelOffset,
                                      sourceChannelCount, sourceFrameOffset, channels, frames);
    }
    /// As pcmPacketWriteChannels.
    void WriteChannels(pbInt destChannelOffset, pbInt destFrameOffset, const Packet &source, pbInt sourceChannelOffset,
                       pbInt sourceFrameOffset, pbInt channels, pbInt frames)
    {
        pcmPacketWriteChannels(Address(), destChannelOffset, destFrameOffset, source.Get(), sourceChannelOffset,
                               sourceFrameOffset, channels, frames);
    }

private:
    std::size_t Count() const { return static_cast<std::size_t>(Frames() * Channels()); }
};

/// Packets of one channel count, first in, first out. Handing a handle on shares the queue; writing or reading through
/// one of them then leaves the other's queue as it is.
class PacketQueue : public Handle<PacketQueue, PCM_PACKET_QUEUE, pcmPacketQueueRetain, pcmPacketQueueRelease> {
public:
    PacketQueue() noexcept = default; ///< an empty handle
    /// A queue without packets, as pcmPacketQueueCreate.
    explicit PacketQueue(pbInt channels) : Handle(pcmPacketQueueCreate(channels)) {}
    /// A new queue that shares the waiting packets, as pcmPacketQueueCreateFrom.
    static PacketQueue CreateFrom(const PacketQueue &source) { return Adopt(pcmPacketQueueCreateFrom(source.Get())); }

    /** @name As the C operation pcmPacketQueue... of this name (pcm_packet_queue.h) */
    /** @{ */
    /// As the C operation pcmPacketQueue... of this name.
    pbInt Channels() const { return pcmPacketQueueChannels(Get()); }
    pbInt Packets() const { return pcmPacketQueuePackets(Get()); }
    pbInt Frames() const { return pcmPacketQueueFrames(Get()); }

    void Clear() { pcmPacketQueueClear(Address()); }
    void Write(const Packet &pkt) { pcmPacketQueueWrite(Address(), pkt.Get()); }
    Packet Read() { return Packet::Adopt(pcmPacketQueueRead(Address())); }
    Packet Gather(pbInt frames) { return Packet::Adopt(pcmPacketQueueGather(Address(), frames)); }
    /** @} */

    /// Fills the span with whole frames; what is beyond the last of them, or too short for one, stays as it is.
    void GatherSamples(std::span<PCM_SAMPLE> dest)
    {
        pcmPacketQueueGatherSamples(Address(), dest.data(), Size(dest) / Channels());
    }
    /// Adds whole frames to what the span holds; what is beyond the last of them, or too short for one, stays.
    void GatherSamplesAdd(std::span<PCM_SAMPLE> dest)
    {
        if (const pbInt frames = Size(dest) / Channels(); frames > 0)
            pcmPacketQueueGatherSamplesAdd(Address(), dest.data(), frames);
    }
};

/// The type that a name stands for; -1 when there is none.
inline PCM_FILTER_TYPE FilterTypeFromString(std::string_view name)
{
    return pcmFilterTypeFromString(String(name).Get());
}
/// The type's name.
inline std::string FilterTypeToString(PCM_FILTER_TYPE type)
{
    return std::string(String::Adopt(pcmFilterTypeToString(type)).View());
}

/// The taps of a filter.
class FilterCoefficients : public Handle<FilterCoefficients, PCM_FILTER_COEFFICIENTS, pcmFilterCoefficientsRetain,
                                         pcmFilterCoefficientsRelease> {
public:
    FilterCoefficients() noexcept = default; ///< an empty handle
    /// A built-in set, as pcmFilterCoefficientsCreate.
    explicit FilterCoefficients(PCM_FILTER_TYPE type) : Handle(pcmFilterCoefficientsCreate(type)) {}
    /// A copy of the taps.
    explicit FilterCoefficients(std::span<const PCM_SAMPLE> taps)
        : Handle(pcmFilterCoefficientsCreateFromSamplesCopy(taps.data(), Size(taps)))
    {
    }
    /// A set that takes over a block from pbMemAllocN, as pcmFilterCoefficientsCreateFromSamplesUse.
    static FilterCoefficients CreateFromSamplesUse(PCM_SAMPLE *taps, pbInt length)
    {
        return Adopt(pcmFilterCoefficientsCreateFromSamplesUse(taps, length));
    }
    /// A new set with a copy of the taps, as pcmFilterCoefficientsCreateFrom.
    static FilterCoefficients CreateFrom(const FilterCoefficients &source)
    {
        return Adopt(pcmFilterCoefficientsCreateFrom(source.Get()));
    }

    pbInt Length() const { return pcmFilterCoefficientsLength(Get()); } ///< the number of taps
    /// The taps, valid while somebody holds the set.
    std::span<const PCM_SAMPLE> Taps() const
    {
        return {pcmFilterCoefficientsBacking(Get()), static_cast<std::size_t>(Length())};
    }
};

/// A stream through an FIR filter: packets in, the same frames out, filtered.
class Filter : public Handle<Filter, PCM_FILTER, pcmFilterRetain, pcmFilterRelease> {
public:
    Filter() noexcept = default; ///< an empty handle
    /// As pcmFilterCreate.
    Filter(const FilterCoefficients &coefficients, pbInt channels)
        : Handle(pcmFilterCreate(coefficients.Get(), channels))
    {
    }
    /// A new filter with the same memory and waiting packets, as pcmFilterCreateFrom.
    static Filter CreateFrom(const Filter &source) { return Adopt(pcmFilterCreateFrom(source.Get())); }

    /** @name As the C operation pcmFilter... of this name (pcm_filter.h) */
    /** @{ */
    /// As the C operation pcmFilter... of this name.
    FilterCoefficients Coefficients() const { return FilterCoefficients::Adopt(pcmFilterCoefficients(Get())); }
    pbInt Channels() const { return pcmFilterChannels(Get()); }
    pbInt Packets() const { return pcmFilterPackets(Get()); }
    pbInt Frames() const { return pcmFilterFrames(Get()); }

    void Reset() { pcmFilterReset(Address()); }
    void Write(const Packet &pkt) { pcmFilterWrite(Address(), pkt.Get()); }
    Packet Read() { return Packet::Adopt(pcmFilterRead(Address())); }
    Packet Gather(pbInt frames) { return Packet::Adopt(pcmFilterGather(Address(), frames)); }
    /** @} */

    /// Fills the span with whole frames; what is beyond the last of them, or too short for one, stays as it is.
    void GatherSamples(std::span<PCM_SAMPLE> dest)
    {
        pcmFilterGatherSamples(Address(), dest.data(), Size(dest) / Channels());
    }
    /// Adds whole frames to what the span holds; what is beyond the last of them, or too short for one, stays.
    void GatherSamplesAdd(std::span<PCM_SAMPLE> dest)
    {
        if (const pbInt frames = Size(dest) / Channels(); frames > 0)
            pcmFilterGatherSamplesAdd(Address(), dest.data(), frames);
    }
};

/// A sine that goes on where it stopped. Copies of the handle share the one tone.
class Tone : public Handle<Tone, PCM_TONE, pcmToneRetain, pcmToneRelease> {
public:
    Tone() noexcept = default; ///< an empty handle
    /// As pcmToneCreate.
    explicit Tone(pbInt period) : Handle(pcmToneCreate(period)) {}
    /** @name As the C operation pcmTone... of this name (pcm_tone.h) */
    /** @{ */
    /// As the C operation pcmTone... of this name.
    static Tone TryCreateWithFrequency(pbInt frameRate, pbInt hertz)
    {
        return Adopt(pcmToneTryCreateWithFrequency(frameRate, hertz));
    }

    Packet Gather(pbInt samples) { return Packet::Adopt(pcmToneGather(Get(), samples)); }
    void GatherSamples(std::span<PCM_SAMPLE> dest) { pcmToneGatherSamples(Get(), dest.data(), Size(dest)); }
    void GatherSamplesAdd(std::span<PCM_SAMPLE> dest) { pcmToneGatherSamplesAdd(Get(), dest.data(), Size(dest)); }
    /** @} */
};

/** @name Generators without a handle of their own: as the C operation pcm... of this name */
/** @{ */
/// As the C operation pcm... of this name.
// clang-format off
inline Packet DualToneGather(Tone &toneA, Tone &toneB, pbInt samples)
{ return Packet::Adopt(pcmDualToneGather(toneA.Get(), toneB.Get(), samples)); }
inline void DualToneGatherSamples(Tone &toneA, Tone &toneB, std::span<PCM_SAMPLE> dest)
{ pcmDualToneGatherSamples(toneA.Get(), toneB.Get(), dest.data(), Size(dest)); }
inline void DualToneGatherSamplesAdd(Tone &toneA, Tone &toneB, std::span<PCM_SAMPLE> dest)
{ pcmDualToneGatherSamplesAdd(toneA.Get(), toneB.Get(), dest.data(), Size(dest)); }
inline Packet ModulatedToneGather(Tone &toneA, Tone &toneB, pbInt samples)
{ return Packet::Adopt(pcmModulatedToneGather(toneA.Get(), toneB.Get(), samples)); }
inline void ModulatedToneGatherSamples(Tone &toneA, Tone &toneB, std::span<PCM_SAMPLE> dest)
{ pcmModulatedToneGatherSamples(toneA.Get(), toneB.Get(), dest.data(), Size(dest)); }
inline void ModulatedToneGatherSamplesAdd(Tone &toneA, Tone &toneB, std::span<PCM_SAMPLE> dest)
{ pcmModulatedToneGatherSamplesAdd(toneA.Get(), toneB.Get(), dest.data(), Size(dest)); }
inline Packet NoiseGather(pbInt samples) { return Packet::Adopt(pcmNoiseGather(samples)); }
inline void NoiseGatherSamples(std::span<PCM_SAMPLE> dest) { pcmNoiseGatherSamples(dest.data(), Size(dest)); }
inline void NoiseGatherSamplesAdd(std::span<PCM_SAMPLE> dest) { pcmNoiseGatherSamplesAdd(dest.data(), Size(dest)); }
inline Packet SilenceGather(pbInt frames) { return Packet::Adopt(pcmSilenceGather(frames)); }
inline void SilenceGatherSamples(std::span<PCM_SAMPLE> dest) { pcmSilenceGatherSamples(dest.data(), Size(dest)); }
// clang-format on
/** @} */

} // namespace pcm

#endif
