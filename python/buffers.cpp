#include "buffers.h"

#include <array>
#include <bit>
#include <cstdint>
#include <string_view>

namespace python {

bool Memory::Load(py::handle object, int flags)
{
    if (object.is_none())
        return true;
    if (!PyObject_CheckBuffer(object.ptr()))
        return false;
    if (PyObject_GetBuffer(object.ptr(), &view_, flags | PyBUF_C_CONTIGUOUS | PyBUF_FORMAT) == 0) {
        if (view_.format && std::string_view(view_.format).find('O') != std::string_view::npos)
            throw py::type_error("an array of Python objects holds no bytes");
        static std::byte none;
        data_ = view_.buf ? static_cast<std::byte *>(view_.buf) : &none;
        return true;
    }
    py::error_already_set error;
    if (flags & PyBUF_WRITABLE)
        throw py::value_error(error.what());
    if (PyObject_GetBuffer(object.ptr(), &view_, PyBUF_FULL_RO))
        throw py::error_already_set();
    Copy();
    return true;
}

void Memory::Copy()
{
    copy_.resize(static_cast<std::size_t>(view_.len) + 1);
    if (PyBuffer_ToContiguous(copy_.data(), &view_, view_.len, 'C'))
        throw py::error_already_set();
    data_ = copy_.data();
}

namespace {

/// Refuses what is not 32-bit floats in the host's byte order.
void CheckSamples(const Memory &memory)
{
    std::string_view format = memory.View().format ? memory.View().format : "B";
    const bool prefixed = format.starts_with('@') || format.starts_with('=') ||
                          format.starts_with(std::endian::native == std::endian::little ? '<' : '>');
    if (memory && format.substr(prefixed) != "f")
        throw py::type_error("samples are 32-bit floats, not of the format '" + std::string(format) + "'");
}

bool Misaligned(const Memory &memory)
{
    return reinterpret_cast<std::uintptr_t>(memory.Data()) % alignof(PCM_SAMPLE);
}

} // namespace

bool SampleSource::Load(py::handle object)
{
    const bool loaded = Memory::Load(object);
    CheckSamples(*this);
    if (Misaligned(*this))
        Copy();
    return loaded;
}

std::span<const PCM_SAMPLE> SampleSource::Samples() const
{
    return {reinterpret_cast<const PCM_SAMPLE *>(Data()), static_cast<std::size_t>(Length()) / sizeof(PCM_SAMPLE)};
}

bool SampleDest::Load(py::handle object)
{
    const bool loaded = Memory::Load(object, PyBUF_WRITABLE);
    CheckSamples(*this);
    if (Misaligned(*this))
        throw py::value_error("the samples are not aligned");
    return loaded;
}

SampleDest::Room SampleDest::For(std::optional<pbInt> runs, pbInt width) const
{
    if (!*this)
        return {nullptr, runs.value_or(1)};
    const pbInt room = Length() / PB_SIZEOF(PCM_SAMPLE) / width;
    if (runs && *runs > room)
        throw py::value_error("the array has no room for this number");
    return {reinterpret_cast<PCM_SAMPLE *>(Data()), runs.value_or(room)};
}

pcm::Packet PacketOf(const SampleSource &samples, std::optional<pbInt> channels)
{
    const Py_buffer &view = samples.View();
    if (view.ndim < 1 || view.ndim > 2)
        throw py::value_error("samples are of shape (frames,) or (frames, channels)");
    const pbInt width = channels ? *channels : view.ndim == 2 ? view.shape[1] : 1;
    if (channels && view.ndim == 2 && view.shape[1] != *channels)
        throw py::value_error("the samples are of another channel count");
    if (width > 0 && pcm::Size(samples.Samples()) % width)
        throw py::value_error("the samples are not a whole number of frames");
    const Released released(Work(samples));
    return pcm::Packet(samples.Samples(), width);
}

py::object Array(std::span<const PCM_SAMPLE> samples)
{
    const py::bytes bytes(reinterpret_cast<const char *>(samples.data()), samples.size_bytes());
    return py::module_::import("array").attr("array")("f", bytes);
}

namespace {

/// What a lent buffer holds: the object whose samples they are, and their shape.
struct SharedObject : pcm::Handle<SharedObject, PB_OBJ> {};
struct Lent {
    SharedObject held;
    std::array<Py_ssize_t, 2> shape, strides;
};

} // namespace

int Export(PyObject *object, PB_OBJ *held, std::span<const PCM_SAMPLE> samples, std::initializer_list<pbInt> shape,
           Py_buffer *view, int flags, bool writable)
{
    static PCM_SAMPLE none;
    static char format[] = "f";
    const pbInt sample = PB_SIZEOF(PCM_SAMPLE);
    const bool fortran = (flags & PyBUF_F_CONTIGUOUS) == PyBUF_F_CONTIGUOUS && !samples.empty() && shape.size() > 1;
    if (fortran || (flags & PyBUF_WRITABLE && !writable)) {
        PyErr_SetString(PyExc_BufferError, fortran ? "the samples are interleaved, not channel after channel"
                                                   : "a packet is written in `with packet.writable() as array`");
        return -1;
    }
    auto *const lent = new Lent{SharedObject::Share(held), {}, {}};
    std::ranges::copy(shape, lent->shape.begin());
    lent->strides = {samples.empty() || shape.size() == 1 ? sample : shape.begin()[1] * sample, sample};

    *view = {};
    view->buf = samples.empty() ? &none : const_cast<PCM_SAMPLE *>(samples.data());
    view->obj = Py_NewRef(object);
    view->len = pcm::Size(samples) * sample;
    view->readonly = !writable;
    view->itemsize = sample;
    view->ndim = flags & PyBUF_ND ? static_cast<int>(shape.size()) : 1;
    view->format = flags & PyBUF_FORMAT ? format : nullptr;
    view->shape = flags & PyBUF_ND ? lent->shape.data() : nullptr;
    view->strides = (flags & PyBUF_STRIDES) == PyBUF_STRIDES ? lent->strides.data() : nullptr;
    view->internal = lent;
    return 0;
}

void EndExport(PyObject *, Py_buffer *view)
{
    delete static_cast<Lent *>(view->internal);
}

} // namespace python

bool pybind11::detail::type_caster<python::Source>::load(handle source, bool)
{
    if (source.is_none())
        return true;
    make_caster<python::PacketObject> packet;
    if (packet.load(source, false)) {
        value.packet = cast_op<python::PacketObject &>(packet).Share();
        return true;
    }
    python::SampleSource samples;
    if (!samples.Load(source))
        return false;
    value.packet = python::PacketOf(samples, {});
    return true;
}
