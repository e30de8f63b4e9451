// Bytes to samples and back, and levels: what works on memory of the caller's.
#include "buffers.h"
#include "encoding.h"
#include "module.h"

#include "../source/pb/pb_assert.h"

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <bit>
#include <cstdint>

namespace python {
namespace {

constexpr PCM_ENCODING kFloats =
    PCM_ENCODING_FLOAT_32 |
    (std::endian::native == std::endian::little ? PCM_ENCODING_LITTLE_ENDIAN : PCM_ENCODING_BIG_ENDIAN);

/// The encoding 0 wants aligned samples, which bytes need not be; floats in the host's order are the same bytes.
pcm::Encoding OfBytes(pcm::Encoding encoding)
{
    return encoding.Normalize() ? encoding : pcm::Encoding(kFloats);
}

bool Overlap(std::span<const std::byte> a, std::span<const std::byte> b)
{
    const auto start = [](auto run) { return reinterpret_cast<std::uintptr_t>(run.data()); };
    return start(a) < start(b) + b.size() && start(b) < start(a) + a.size();
}

/// Converts as many samples as there are in `out`, or all of them into new bytes.
py::object ConvertInto(const Memory &out, pcm::Encoding to, std::span<const std::byte> source, pcm::Encoding from)
{
    const pbInt samples = pcm::Size(source) / from.SizeofSample(), size = to.SizeofSample();
    const auto convert = [&](std::byte *dest, pbInt length) {
        const Released released(static_cast<double>(samples));
        return pcm::Convert({dest, static_cast<std::size_t>(length)}, OfBytes(to), source, OfBytes(from));
    };
    if (out) {
        const std::span dest(out.Data(), static_cast<std::size_t>(out.Length()));
        if (Overlap(dest, source))
            throw py::value_error("out and source overlap");
        return py::int_(convert(out.Data(), out.Length()));
    }
    PB_ASSERT(PB_INT_MUL_OK( samples, size ));
    auto bytes = py::reinterpret_steal<py::object>(PyBytes_FromStringAndSize(nullptr, samples * size));
    if (!bytes)
        throw py::error_already_set();
    convert(reinterpret_cast<std::byte *>(PyBytes_AS_STRING(bytes.ptr())), samples * size);
    return bytes;
}

py::object Convert(const ByteSource &source, pcm::Encoding from, pcm::Encoding to, const ByteDest &out)
{
    PB_ASSERT(source);
    if (!out && source.Length() % from.SizeofSample())
        throw py::value_error("the bytes are not a whole number of samples");
    return ConvertInto(out, to, source.Bytes(), from);
}

py::object Decode(const ByteSource &source, pcm::Encoding encoding, pbInt channels, const SampleDest &out)
{
    PB_ASSERT(source);
    const pbInt frameSize = encoding.SizeofFrame(channels), frames = source.Length() / frameSize;
    if (out)
        return ConvertInto(out, kFloats, source.Bytes(), encoding);
    if (source.Length() % frameSize)
        throw py::value_error("the bytes are not a whole number of frames");

    const auto decode = [&] {
        if (frames == 0)
            return pcm::Packet(channels);
        const Released released(Work(source));
        const pbInt samples = frames * channels;
        auto *block = static_cast<PCM_SAMPLE *>(pbMemAllocN(samples, PB_SIZEOF(PCM_SAMPLE)));
        const std::span dest(block, static_cast<std::size_t>(samples));
        pcm::Convert(std::as_writable_bytes(dest), 0, source.Bytes(), OfBytes(encoding));
        return pcm::Packet::CreateFromSamplesUse(block, channels, frames);
    };
    return py::cast(New(decode()), py::return_value_policy::take_ownership);
}

py::object Encode(const Source &source, pcm::Encoding encoding, const ByteDest &out)
{
    encoding.SizeofFrame(source.packet.Channels());
    return ConvertInto(out, encoding, std::as_bytes(source.packet.Samples()), kFloats);
}

} // namespace

void DefineConvert(py::module_ &module)
{
    using py::arg;
    module.def(
        "convert",
        [](const ByteSource &source, EncodingLike from, EncodingLike to, const ByteDest &out) {
            return Convert(source, PCM_ENCODING(from), PCM_ENCODING(to), out);
        },
        arg("source"), arg("source_encoding"), arg("dest_encoding"), arg("out") = py::none(),
        "Samples in another encoding: the result of decoding and then encoding.\n\n"
        "source: bytes, or anything with the buffer protocol. Returns bytes. With `out`, a writable buffer that does\n"
        "not overlap the source, converts as many samples as both have room for and returns how many.\n"
        "ValueError where the bytes are not a whole number of samples.");
    module.def(
        "decode",
        [](const ByteSource &source, EncodingLike encoding, pbInt channels, const SampleDest &out) {
            return Decode(source, PCM_ENCODING(encoding), channels, out);
        },
        arg("source"), arg("encoding"), arg("channels") = 1, arg("out") = py::none(),
        "A packet of the frames in bytes, or in anything with the buffer protocol.\n\n"
        "With `out`, a writable float32 array, decodes as many samples as it has room for and returns how many.\n"
        "ValueError where the bytes are not a whole number of frames, or channels is below 1.");
    module.def(
        "encode",
        [](const Source &source, EncodingLike encoding, const ByteDest &out) {
            return Encode(source, PCM_ENCODING(encoding), out);
        },
        arg("source"), arg("encoding"), arg("out") = py::none(),
        "The bytes of a packet, or of a float32 array of shape (frames,) or (frames, channels).\n\n"
        "Integers and G.711 saturate at full scale. With `out`, a writable buffer, encodes as many samples as it has\n"
        "room for and returns how many.");
    module.def(
        "level_adjust",
        [](const SampleDest &dest, pbReal decibel) {
            const Released released(Work(dest));
            const auto room = dest.For({});
            pcmLevelAdjustSamples(room.dest, room.runs, decibel);
        },
        arg("samples"), arg("decibel"),
        "Multiplies the samples of a writable float32 array by a gain in decibels, in place. Nothing is clamped.");
    module.def("decibel_from_gain", &pcm::DecibelFromGain, arg("gain"),
               "20 log10(gain), from -200.0 to 200.0. ValueError unless the gain is finite and at least 0.");
    module.def("decibel_to_gain", &pcm::DecibelToGain, arg("decibel"),
               "10 ** (decibel / 20), from 1e-10 to 1e10. ValueError unless the decibels are finite.");
}

} // namespace python
