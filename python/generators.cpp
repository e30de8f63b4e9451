// Tones, noise and silence.
#include "buffers.h"
#include "module.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <functional>

namespace python {
namespace {

using pcm::Packet;
using pcm::Tone;
using py::arg;
using ToneObject = Object<Tone>;

/// Calls use(toneA, toneB) with no other thread at either; a missing tone is an empty handle. Locks are taken in the
/// order of the addresses.
template <class F> auto ChangeBoth(ToneObject *a, ToneObject *b, double work, F use)
{
    Tone missing;
    if (!a)
        return use(missing, missing);
    if (!b || a == b)
        return a->Change(work, [&](Tone &tone) { return use(tone, b ? tone : missing); });
    const auto [first, second] = std::minmax(a, b, std::less<>());
    return first->Change([&](Tone &one) {
        return second->Change(work, [&](Tone &other) { return first == a ? use(one, other) : use(other, one); });
    });
}

/// Into an array of the caller's, with the C operation.
template <auto gather, class... T> void GatherInto(const SampleDest &dest, std::optional<pbInt> samples, T *...objects)
{
    const auto room = dest.For(samples);
    gather(objects..., room.dest, room.runs);
}

template <auto gather> void GatherTone(ToneObject &self, const SampleDest &dest, std::optional<pbInt> samples)
{
    self.Change(Work(dest), [&](Tone &tone) { GatherInto<gather>(dest, samples, tone.Get()); });
}

template <auto gather>
void GatherTwo(ToneObject *toneA, ToneObject *toneB, const SampleDest &dest, std::optional<pbInt> samples)
{
    ChangeBoth(toneA, toneB, Work(dest),
               [&](Tone &a, Tone &b) { GatherInto<gather>(dest, samples, a.Get(), b.Get()); });
}

template <auto gather>
std::unique_ptr<PacketObject> GatherPacketOfTwo(ToneObject *toneA, ToneObject *toneB, pbInt samples)
{
    return New(ChangeBoth(toneA, toneB, Work(samples), [&](Tone &a, Tone &b) { return gather(a, b, samples); }));
}

template <auto gather> void GatherArray(const SampleDest &dest, std::optional<pbInt> samples)
{
    const Released released(Work(dest));
    GatherInto<gather>(dest, samples);
}

template <auto gather> std::unique_ptr<PacketObject> GatherPacket(pbInt samples)
{
    const auto make = [samples] {
        const Released released(Work(samples));
        return gather(samples);
    };
    return New(make());
}

constexpr const char *kInto = "Writes samples into a writable float32 array; as many as it has room for, where no "
                              "number is given.";
constexpr const char *kAdd = "Adds samples to those of a writable float32 array. Nothing is clamped.";

} // namespace

void DefineGenerators(py::module_ &module)
{
    py::class_<ToneObject>(module, "Tone",
                           "A full-scale sine with a period of a whole number of frames, which goes on where it\n"
                           "stopped. There is one phase for all its holders, so a copy is the tone itself.")
        .def(py::init([](pbInt period) { return New(Tone(period)); }), arg("period"), "A new tone, at phase 0.")
        .def_static(
            "try_create_with_frequency",
            [](pbInt frameRate, pbInt hertz) -> std::unique_ptr<ToneObject> {
                Tone tone = Tone::TryCreateWithFrequency(frameRate, hertz);
                return tone ? New(std::move(tone)) : nullptr;
            },
            arg("frame_rate"), arg("hertz"),
            "The tone whose period comes nearest to that of a frequency; None when it is below 1 frame.")
        .def("gather", Changing(&Tone::Gather), arg("samples"), "A packet of one channel of the next samples.")
        .def("gather_samples", &GatherTone<pcmToneGatherSamples>, arg("dest"), arg("samples") = py::none(), kInto)
        .def("gather_samples_add", &GatherTone<pcmToneGatherSamplesAdd>, arg("dest"), arg("samples") = py::none(), kAdd)
        .def("__copy__", [](py::object self) { return self; })
        .def("__repr__", [](ToneObject &self) { return "<" + self.Share().ToString() + ">"; });

    module
        .def("dual_tone_gather", &GatherPacketOfTwo<pcm::DualToneGather>, arg("tone_a"), arg("tone_b"), arg("samples"),
             "A packet of one channel: the average of two tones, which both go on.")
        .def("dual_tone_gather_samples", &GatherTwo<pcmDualToneGatherSamples>, arg("tone_a"), arg("tone_b"),
             arg("dest"), arg("samples") = py::none(), kInto)
        .def("dual_tone_gather_samples_add", &GatherTwo<pcmDualToneGatherSamplesAdd>, arg("tone_a"), arg("tone_b"),
             arg("dest"), arg("samples") = py::none(), kAdd)
        .def("modulated_tone_gather", &GatherPacketOfTwo<pcm::ModulatedToneGather>, arg("tone_a"), arg("tone_b"),
             arg("samples"), "A packet of one channel: the product of two tones, which both go on.")
        .def("modulated_tone_gather_samples", &GatherTwo<pcmModulatedToneGatherSamples>, arg("tone_a"), arg("tone_b"),
             arg("dest"), arg("samples") = py::none(), kInto)
        .def("modulated_tone_gather_samples_add", &GatherTwo<pcmModulatedToneGatherSamplesAdd>, arg("tone_a"),
             arg("tone_b"), arg("dest"), arg("samples") = py::none(), kAdd)
        .def("noise_gather", &GatherPacket<pcm::NoiseGather>, arg("samples"),
             "A packet of one channel of white noise at full scale.")
        .def("noise_gather_samples", &GatherArray<pcmNoiseGatherSamples>, arg("dest"), arg("samples") = py::none(),
             kInto)
        .def("noise_gather_samples_add", &GatherArray<pcmNoiseGatherSamplesAdd>, arg("dest"),
             arg("samples") = py::none(), kAdd)
        .def("silence_gather", &GatherPacket<pcm::SilenceGather>, arg("frames"), "A packet of one channel of silence.")
        .def("silence_gather_samples", &GatherArray<pcmSilenceGatherSamples>, arg("dest"), arg("samples") = py::none(),
             "Sets the samples of a writable float32 array to 0.");
}

} // namespace python
