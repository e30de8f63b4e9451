// Queues, filters and their coefficients: signals that come in pieces.
#include "buffers.h"
#include "module.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <variant>

namespace python {
namespace {

using pcm::Filter;
using pcm::FilterCoefficients;
using pcm::Packet;
using pcm::PacketQueue;
using py::arg;

/// Gathers frames into an array of the caller's, with the C operation.
template <class H, auto gather> void GatherInto(Object<H> &self, const SampleDest &dest, std::optional<pbInt> frames)
{
    self.Change(Work(dest), [&](H &handle) {
        const auto room = dest.For(frames, handle ? handle.Channels() : 1);
        gather(handle.Address(), room.dest, room.runs);
    });
}

/// What queues and filters have in common: they are written and read in the same way.
template <class H, auto gather, auto gatherAdd> void DefineReading(py::class_<Object<H>> &type)
{
    type.def_property_readonly("channels", Asking(&H::Channels), "The channel count of every packet.")
        .def_property_readonly("packets", Asking(&H::Packets), "The packets that wait; one that is partly read counts.")
        .def_property_readonly("frames", Asking(&H::Frames), "The frames that wait to be read.")
        .def("write", Changing(&H::Write), arg("pkt"), "Puts in a packet of this channel count, or float32 samples.")
        .def("read", Changing(&H::Read), "Takes the next packet, or the rest of it. IndexError when there is none.")
        .def("gather", Changing(&H::Gather), arg("frames"), "Takes frames, at least 1, as one packet.")
        .def("gather_samples", &GatherInto<H, gather>, arg("dest"), arg("frames") = py::none(),
             "Takes frames into a writable float32 array; as many as it has room for, where no number is given.")
        .def("gather_samples_add", &GatherInto<H, gatherAdd>, arg("dest"), arg("frames") = py::none(),
             "Takes frames and adds them to what a writable float32 array holds. Nothing is clamped.")
        .def("__copy__", [](Object<H> &self) { return New(self.Share()); })
        .def("__deepcopy__", [](Object<H> &self, py::handle) { return New(H::CreateFrom(self.Share())); })
        .def(
            "__eq__", [](Object<H> &self, Object<H> &other) { return self.Share() == other.Share(); },
            py::is_operator(), "Whether both hold the same object.");
}

std::string Describe(const char *name, pbInt channels, pbInt packets, pbInt frames)
{
    return std::string(name) + "(channels=" + std::to_string(channels) + ", packets=" + std::to_string(packets) +
           ", frames=" + std::to_string(frames) + ")";
}

/// A built-in set by its number, or by its name, whole or without what all names begin with.
FilterCoefficients BuiltIn(const std::variant<PCM_FILTER_TYPE, std::string> &type)
{
    if (const auto *number = std::get_if<PCM_FILTER_TYPE>(&type))
        return FilterCoefficients(*number);
    for (const char *prefix : {"", "PCM_FILTER_TYPE_"})
        if (const auto known = pcm::FilterTypeFromString(prefix + std::get<std::string>(type)); known >= 0)
            return FilterCoefficients(known);
    throw py::value_error("no filter type is called '" + std::get<std::string>(type) + "'");
}

int LendTaps(PyObject *object, Object<FilterCoefficients> &self, Py_buffer *view, int flags)
{
    const FilterCoefficients set = self.Share();
    return Export(object, pcm::Obj(set.Get()), set.Taps(), {set.Length()}, view, flags, false);
}

} // namespace

void DefineStreams(py::module_ &module)
{
    py::class_<Object<PacketQueue>> queue(module, "PacketQueue",
                                          "Packets of one channel count, first in, first out; read by the packet or\n"
                                          "by any number of frames. Takes references: no sample is copied on writing.");
    queue.def(py::init([](pbInt channels, const std::vector<Source> &packets) {
                  PacketQueue queue(channels);
                  for (const Source &packet : packets)
                      queue.Write(packet);
                  return New(std::move(queue));
              }),
              arg("channels") = 1, arg("packets") = py::tuple(), "A queue of a channel count, with packets if given.");
    DefineReading<PacketQueue, pcmPacketQueueGatherSamples, pcmPacketQueueGatherSamplesAdd>(queue);
    queue.def("clear", Changing(&PacketQueue::Clear), "Removes all packets.")
        .def("__repr__",
             [](Object<PacketQueue> &self) {
                 const PacketQueue queue = self.Share();
                 return Describe("PacketQueue", queue.Channels(), queue.Packets(), queue.Frames());
             })
        .def("__reduce__", [](Object<PacketQueue> &self) {
            PacketQueue queue = self.Share();
            const pbInt channels = queue.Channels();
            py::list packets;
            while (queue.Packets())
                packets.append(New(queue.Read()));
            return py::make_tuple(py::type::of<Object<PacketQueue>>(), py::make_tuple(channels, packets));
        });

    py::class_<Object<FilterCoefficients>> coefficients(
        module, "FilterCoefficients", Exporting<Object<FilterCoefficients>, LendTaps>(),
        "The taps of an FIR filter, the one for the newest frame first. A set never changes. numpy.asarray(set) is a\n"
        "read-only view of shape (taps,), without a copy.");
    coefficients
        .def(py::init([](const SampleSource &taps) { return New(FilterCoefficients(taps.Samples())); }), arg("taps"),
             "A copy of float32 taps, at least 1.")
        .def(py::init([](const std::variant<PCM_FILTER_TYPE, std::string> &type) { return New(BuiltIn(type)); }),
             arg("type"), "A built-in low-pass by its name, such as 'LOWPASS_4000_AT_16000', or its number.")
        .def("__len__", Asking(&FilterCoefficients::Length), "The number of taps.")
        .def("__copy__", [](py::object self) { return self; })
        .def("__deepcopy__",
             [](Object<FilterCoefficients> &self, py::handle) {
                 const FilterCoefficients set = self.Share();
                 return New(set ? FilterCoefficients::CreateFrom(set) : set);
             })
        .def("__reduce__",
             [](Object<FilterCoefficients> &self) {
                 const FilterCoefficients set = self.Share();
                 return py::make_tuple(py::type::of<Object<FilterCoefficients>>(), py::make_tuple(Array(set.Taps())));
             })
        .def(
            "__eq__",
            [](Object<FilterCoefficients> &self, Object<FilterCoefficients> &other) {
                const FilterCoefficients a = self.Share(), b = other.Share();
                return a == b || std::ranges::equal(std::as_bytes(a.Taps()), std::as_bytes(b.Taps()));
            },
            py::is_operator(), "Whether all bits of the taps are the same.")
        .def("__repr__", [](Object<FilterCoefficients> &self) {
            return "FilterCoefficients(taps=" + std::to_string(self.Share().Length()) + ")";
        });

    py::class_<Object<Filter>> filter(module, "Filter",
                                      "A stream through an FIR filter: packets in, the same frames out, filtered and\n"
                                      "clamped to [-1, 1]; the same however the signal is cut into packets.");
    filter
        .def(py::init([](Object<FilterCoefficients> *coefficients, pbInt channels) {
                 return New(Filter(coefficients ? coefficients->Share() : FilterCoefficients(), channels));
             }),
             arg("coefficients"), arg("channels") = 1, "A filter that has seen no frames.")
        .def_property_readonly(
            "coefficients", [](Object<Filter> &self) { return New(self.Share().Coefficients()); }, "The taps.")
        .def("reset", Changing(&Filter::Reset), "Forgets all frames, those remembered and those that wait.")
        .def("__repr__", [](Object<Filter> &self) {
            const Filter filter = self.Share();
            return Describe("Filter", filter.Channels(), filter.Packets(), filter.Frames());
        });
    DefineReading<Filter, pcmFilterGatherSamples, pcmFilterGatherSamplesAdd>(filter);

    module.def(
        "filter_type_from_string", [](const std::string &name) { return pcm::FilterTypeFromString(name); }, arg("name"),
        "The number of a built-in set of coefficients; -1 when the name names none.");
    module.def("filter_type_to_string", &pcm::FilterTypeToString, arg("type"), "The name of a built-in set.");
}

} // namespace python
