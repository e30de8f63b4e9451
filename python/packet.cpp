// Packet: arrays in, read-only views out, edits in between.
#include "buffers.h"
#include "encoding.h"
#include "module.h"

#include <pybind11/stl.h>

#include <algorithm>

namespace python {
namespace {

using pcm::Packet;
using py::arg;

/// What `with packet.writable() as array` keeps: the packet, taken out of its Python object until the end.
///
/// The array is a view of `root`, and so is every view that is made of it: references to `root` tell whether the array
/// alone is left. If not, what is left keeps the memory, and the packet goes on with a copy.
class Writable {
public:
    explicit Writable(py::object owner) : owner_(std::move(owner)) {}
    Writable(const Writable &) = delete;
    Writable &operator=(const Writable &) = delete;
    ~Writable() { GiveBack(); }

    py::object Enter()
    {
        const auto numpy = py::module_::import("numpy");
        packet_ = owner_.cast<PacketObject &>().Lend([](Packet &packet) { packet.MutableSamples(); });
        root_ = numpy.attr("asarray")(py::cast(std::make_unique<Samples>(packet_)));
        array_ = root_[py::ellipsis()];
        return array_;
    }
    void Exit()
    {
        if (!array_)
            return;
        array_.attr("setflags")(arg("write") = false);
        if (root_.ref_count() > 2 || array_.ref_count() > 2) // the array; this, and the name that it has
            packet_ = Packet::CreateFrom(packet_);
        GiveBack();
    }

    /// The memory while it may be written.
    struct Samples {
        explicit Samples(Packet lent) : packet(std::move(lent)) {}
        Packet packet;
    };

private:
    void GiveBack()
    {
        if (!packet_)
            return;
        array_ = root_ = py::object();
        owner_.cast<PacketObject &>().GiveBack(std::move(packet_));
    }

    py::object owner_, root_, array_;
    Packet packet_;
};

} // namespace
} // namespace python

template <> struct pybind11::detail::type_caster<python::Writable> : initialised_caster<python::Writable> {
};
template <>
struct pybind11::detail::type_caster<python::Writable::Samples> : initialised_caster<python::Writable::Samples> {
};

namespace python {
namespace {

int LendPacket(PyObject *object, const Packet &packet, Py_buffer *view, int flags, bool writable)
{
    return Export(object, pcm::Obj(packet.Get()), packet.Samples(), {packet.Frames(), packet.Channels()}, view, flags,
                  writable);
}
int LendToRead(PyObject *object, PacketObject &self, Py_buffer *view, int flags)
{
    return LendPacket(object, self.Share(), view, flags, false);
}
int LendToWrite(PyObject *object, Writable::Samples &self, Py_buffer *view, int flags)
{
    return LendPacket(object, self.packet, view, flags, true);
}

/// The frames that a slice means.
class Slice {
public:
    explicit Slice(const py::slice &slice)
    {
        Py_ssize_t step;
        if (PySlice_Unpack(slice.ptr(), &start_, &stop_, &step))
            throw py::error_already_set();
        if (step != 1)
            throw py::value_error("a slice of a packet has step 1");
    }

    struct Frames {
        Py_ssize_t start, count;
    };
    Frames Of(const Packet &packet) const
    {
        Py_ssize_t start = start_, stop = stop_;
        const Py_ssize_t count = PySlice_AdjustIndices(packet.Frames(), &start, &stop, 1); // arithmetic alone
        return {start, count};
    }

private:
    Py_ssize_t start_, stop_;
};

bool SameSamples(const Packet &a, const Packet &b)
{
    const auto bytesA = std::as_bytes(a.Samples()), bytesB = std::as_bytes(b.Samples());
    return a == b || (a.Channels() == b.Channels() && std::ranges::equal(bytesA, bytesB));
}

} // namespace

void DefinePacket(py::module_ &module)
{
    py::class_<Writable>(module, "_Writable", py::module_local())
        .def("__enter__", [](Writable &self) { return self.Enter(); })
        .def("__exit__", [](Writable &self, const py::args &) { self.Exit(); });
    py::class_<Writable::Samples>(module, "_Samples", py::module_local(), Exporting<Writable::Samples, LendToWrite>());

    py::class_<PacketObject> packet(
        module, "Packet", Exporting<PacketObject, LendToRead>(),
        "A run of frames of one channel count.\n\n"
        "numpy.asarray(packet) and memoryview(packet) are read-only views of shape (frames, channels), of 32-bit\n"
        "floats, without a copy. A view never changes: an edit after it goes to a copy of the samples.");
    packet
        .def(py::init([](const SampleSource &samples, std::optional<pbInt> channels) {
                 return New(samples ? PacketOf(samples, channels) : Packet(channels.value_or(1)));
             }),
             arg("samples") = py::none(), arg("channels") = py::none(),
             "A copy of float32 samples of shape (frames,) or (frames, channels); with `channels`, those of shape\n"
             "(frames * channels,) are interleaved. Without samples a packet without frames, of `channels` or 1.\n"
             "TypeError for another dtype: integers are decoded, as decode(array, 's16le').")
        .def("__len__", Asking(&Packet::Frames))
        .def_property_readonly("frames", Asking(&Packet::Frames), "The number of frames.")
        .def_property_readonly("channels", Asking(&Packet::Channels), "The number of channels, at least 1.")
        .def("__copy__", [](PacketObject &self) { return New(self.Share()); })
        .def("__deepcopy__", [](PacketObject &self, py::handle) { return New(Packet::CreateFrom(self.Share())); })
        .def("__reduce__",
             [](PacketObject &self) {
                 const Packet packet = self.Share();
                 return py::make_tuple(py::type::of<PacketObject>(),
                                       py::make_tuple(Array(packet.Samples()), packet.Channels()));
             })
        .def(
            "__eq__", [](PacketObject &self, PacketObject &other) { return SameSamples(self.Share(), other.Share()); },
            py::is_operator(), "Whether channels, frames and all bits of the samples are the same.")
        .def("__repr__",
             [](PacketObject &self) {
                 const Packet packet = self.Share();
                 return "Packet(frames=" + std::to_string(packet.Frames()) +
                        ", channels=" + std::to_string(packet.Channels()) + ")";
             })
        .def(
            "__getitem__",
            [](PacketObject &self, const py::slice &slice) {
                Packet packet = self.Share();
                const auto [start, count] = Slice(slice).Of(packet);
                packet.DelOuter(start, count);
                return New(std::move(packet));
            },
            "The frames of a slice with step 1, as a packet.")
        .def(
            "__setitem__",
            [](PacketObject &self, const py::slice &slice, const Source &source) {
                self.Change(Work(source), [frames = Slice(slice), &source](Packet &packet) {
                    const auto [start, count] = frames.Of(packet);
                    if (source.packet && source.packet.Frames() != count)
                        throw py::value_error("the source has another number of frames");
                    packet.Write(start, source);
                });
            },
            "Overwrites the frames of a slice with as many others.")
        .def(
            "__delitem__",
            [](PacketObject &self, const py::slice &slice) {
                self.Change([frames = Slice(slice)](Packet &packet) {
                    const auto [start, count] = frames.Of(packet);
                    packet.DelInner(start, count);
                });
            },
            "Removes the frames of a slice.")
        .def(
            "writable",
            [](py::object self) {
                if (!py::isinstance<PacketObject>(self))
                    throw py::type_error("self");
                return std::make_unique<Writable>(std::move(self));
            },
            "`with packet.writable() as array:` lends the samples as a writable array of shape (frames, channels).\n\n"
            "Meanwhile the packet is refused to everybody else. Afterwards the array is read-only; views of it that\n"
            "are left keep the memory, and the packet goes on with a copy.")
        .def(
            "encode",
            [encode = module.attr("encode")](py::object self, py::object encoding, py::object out) {
                return encode(self, encoding, out);
            },
            arg("encoding"), arg("out") = py::none(), "As encode(packet, encoding, out).")
        .def("clear", Changing(&Packet::Clear), "Removes all frames.")
        .def("level_adjust", Changing(&Packet::LevelAdjust), arg("decibel"),
             "Multiplies every sample by a gain in decibels. Nothing is clamped.")
        .def("channels_adjust_replace_with_downmix", Changing(&Packet::ChannelsAdjustReplaceWithDownmix),
             arg("channels"), "Makes so many channels, each the average of those that there are.")
        .def("channels_adjust_expand_with_downmix", Changing(&Packet::ChannelsAdjustExpandWithDownmix), arg("channels"),
             "Keeps the channels and adds others that hold their average; with fewer channels, as replace.")
        .def("frames_extend", Changing(&Packet::FramesExtend), arg("mult"),
             "Raises the frame rate: puts mult - 1 frames of silence after each. A low-pass takes the images away.")
        .def("frames_reduce", Changing(&Packet::FramesReduce), arg("div"),
             "Lowers the frame rate: keeps the first of every div frames, of which there is a multiple. Filter first.");

    // Write, insert, prepend, append, delete: frames are counted from 0, and `source` is a packet or float32 samples.
#define RUN "Frames offset to offset + frames of the source."
#define OUTER "All of the source but frames offset to offset + frames."
#define LEADING "The first frames of the source."
#define TRAILING "The last frames of the source."
    packet.def("write", Changing(&Packet::Write), arg("idx"), arg("source"), "Overwrites frames from idx on.")
        .def("write_inner", Changing(&Packet::WriteInner), arg("idx"), arg("source"), arg("offset"), arg("frames"),
             "Overwrites frames from idx on. " RUN)
        .def("write_outer", Changing(&Packet::WriteOuter), arg("idx"), arg("source"), arg("offset"), arg("frames"),
             "Overwrites frames from idx on. " OUTER)
        .def("write_leading", Changing(&Packet::WriteLeading), arg("idx"), arg("source"), arg("frames"),
             "Overwrites frames from idx on. " LEADING)
        .def("write_trailing", Changing(&Packet::WriteTrailing), arg("idx"), arg("source"), arg("frames"),
             "Overwrites frames from idx on. " TRAILING)
        .def("write_zero", Changing(&Packet::WriteZero), arg("idx"), arg("frames"), "Overwrites frames with silence.")
        .def("insert", Changing(&Packet::Insert), arg("idx"), arg("source"), "Inserts frames before frame idx.")
        .def("insert_inner", Changing(&Packet::InsertInner), arg("idx"), arg("source"), arg("offset"), arg("frames"),
             "Inserts before frame idx. " RUN)
        .def("insert_outer", Changing(&Packet::InsertOuter), arg("idx"), arg("source"), arg("offset"), arg("frames"),
             "Inserts before frame idx. " OUTER)
        .def("insert_leading", Changing(&Packet::InsertLeading), arg("idx"), arg("source"), arg("frames"),
             "Inserts before frame idx. " LEADING)
        .def("insert_trailing", Changing(&Packet::InsertTrailing), arg("idx"), arg("source"), arg("frames"),
             "Inserts before frame idx. " TRAILING)
        .def("insert_zero", Changing(&Packet::InsertZero), arg("idx"), arg("frames"), "Inserts silence before idx.")
        .def("prepend", Changing(&Packet::Prepend), arg("source"), "Inserts before the first frame.")
        .def("prepend_inner", Changing(&Packet::PrependInner), arg("source"), arg("offset"), arg("frames"),
             "Inserts before the first frame. " RUN)
        .def("prepend_outer", Changing(&Packet::PrependOuter), arg("source"), arg("offset"), arg("frames"),
             "Inserts before the first frame. " OUTER)
        .def("prepend_leading", Changing(&Packet::PrependLeading), arg("source"), arg("frames"),
             "Inserts before the first frame. " LEADING)
        .def("prepend_trailing", Changing(&Packet::PrependTrailing), arg("source"), arg("frames"),
             "Inserts before the first frame. " TRAILING)
        .def("prepend_zero", Changing(&Packet::PrependZero), arg("frames"), "Inserts silence before the first frame.")
        .def("append", Changing(&Packet::Append), arg("source"), "Puts frames after the last.")
        .def("append_inner", Changing(&Packet::AppendInner), arg("source"), arg("offset"), arg("frames"),
             "Puts frames after the last. " RUN)
        .def("append_outer", Changing(&Packet::AppendOuter), arg("source"), arg("offset"), arg("frames"),
             "Puts frames after the last. " OUTER)
        .def("append_leading", Changing(&Packet::AppendLeading), arg("source"), arg("frames"),
             "Puts frames after the last. " LEADING)
        .def("append_trailing", Changing(&Packet::AppendTrailing), arg("source"), arg("frames"),
             "Puts frames after the last. " TRAILING)
        .def("append_zero", Changing(&Packet::AppendZero), arg("frames"), "Puts silence after the last frame.")
        .def("del_inner", Changing(&Packet::DelInner), arg("idx"), arg("frames"), "Removes frames from idx on.")
        .def("del_outer", Changing(&Packet::DelOuter), arg("idx"), arg("frames"), "Removes all but frames from idx on.")
        .def("del_leading", Changing(&Packet::DelLeading), arg("frames"), "Removes frames at the beginning.")
        .def("del_trailing", Changing(&Packet::DelTrailing), arg("frames"), "Removes frames at the end.")
        .def("set_frames", Changing(&Packet::SetFrames), arg("frames"),
             "Sets the number of frames: removes the last ones, or appends silence.");

    packet
        .def("set_channels", Changing(&Packet::SetChannels), arg("channels"),
             "Sets the number of channels: keeps the first ones, fills new ones with silence.")
        .def("with_channels", Reading(&Packet::WithChannels), arg("channels"),
             "A packet in which every channel is the sum of all channels; the packet itself if it has as many.")
        .def("with_channel_mask", Reading(&Packet::WithChannelMask), arg("channel_mask"),
             "A packet of some channels: bit i of the mask selects channel i; bit 63 is the sign.")
        .def(
            "write_channels",
            [](PacketObject &self, pbInt destChannelOffset, pbInt destFrameOffset, const Source &source,
               pbInt sourceChannelOffset, pbInt sourceFrameOffset, pbInt channels, pbInt frames) {
                self.Change(Work(source), [&](Packet &packet) {
                    packet.WriteChannels(destChannelOffset, destFrameOffset, source, sourceChannelOffset,
                                         sourceFrameOffset, channels, frames);
                });
            },
            arg("dest_channel_offset"), arg("dest_frame_offset"), arg("source"), arg("source_channel_offset"),
            arg("source_frame_offset"), arg("channels"), arg("frames"),
            "Overwrites a rectangle of channels x frames with one of the source's.")
        .def(
            "write_channels_samples",
            [](PacketObject &self, pbInt destChannelOffset, pbInt destFrameOffset, const SampleSource &source,
               pbInt sourceChannelOffset, pbInt sourceChannelCount, pbInt sourceFrameOffset, pbInt channels,
               pbInt frames) {
                pbInt last, end, bytes; // of the array, as far as 64 bits can count them
                if (source && channels > 0 && frames > 0 && sourceFrameOffset >= 0 &&
                    !__builtin_add_overflow(sourceFrameOffset, frames - 1, &last) &&
                    !__builtin_mul_overflow(last, sourceChannelCount, &end) &&
                    !__builtin_add_overflow(end, sourceChannelOffset, &end) &&
                    !__builtin_add_overflow(end, channels, &end) &&
                    !__builtin_mul_overflow(end, PB_SIZEOF(PCM_SAMPLE), &bytes) && bytes > source.Length())
                    throw py::value_error("the array ends before the rectangle does");
                self.Change(Work(source), [&](Packet &packet) {
                    pcmPacketWriteChannelsSamples(packet.Address(), destChannelOffset, destFrameOffset,
                                                  source.Samples().data(), sourceChannelOffset, sourceChannelCount,
                                                  sourceFrameOffset, channels, frames);
                });
            },
            arg("dest_channel_offset"), arg("dest_frame_offset"), arg("source"), arg("source_channel_offset"),
            arg("source_channel_count"), arg("source_frame_offset"), arg("channels"), arg("frames"),
            "As write_channels, of a float32 array of interleaved samples, source_channel_count to a frame.");
}

} // namespace python
