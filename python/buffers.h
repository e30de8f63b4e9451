// Memory of others: bytes and samples that come in through Python's buffer protocol, from numpy or anything else.
#pragma once

#include "object.h"

#include <cstddef>
#include <initializer_list>
#include <span>
#include <vector>

namespace python {

/// The memory of a Python object, kept where it is until the end of the scope; or none, for None.
class Memory {
public:
    Memory() = default;
    Memory(const Memory &) = delete;
    Memory &operator=(const Memory &) = delete;
    ~Memory() { PyBuffer_Release(&view_); }

    explicit operator bool() const { return data_; }
    const Py_buffer &View() const { return view_; } ///< for its shape and format
    std::byte *Data() const { return data_; }       ///< not null, also of 0 bytes
    pbInt Length() const { return view_.len; }
    std::span<const std::byte> Bytes() const { return {Data(), static_cast<std::size_t>(Length())}; }

protected:
    /// With the flags of the buffer protocol. What lies scattered is copied if it is only read.
    bool Load(py::handle object, int flags = 0);
    /// Goes on with a copy, in order and aligned.
    void Copy();

private:
    Py_buffer view_{};
    std::byte *data_ = nullptr;
    std::vector<std::byte> copy_;
};

/// Bytes to read.
struct ByteSource : Memory {
    bool Load(py::handle object) { return Memory::Load(object); }
};
/// Bytes to write.
struct ByteDest : Memory {
    bool Load(py::handle object) { return Memory::Load(object, PyBUF_WRITABLE); }
};
/// 32-bit floats: any number of dimensions.
struct SampleSource : Memory {
    bool Load(py::handle object);
    std::span<const PCM_SAMPLE> Samples() const;
};
struct SampleDest : Memory {
    bool Load(py::handle object);
    struct Room {
        PCM_SAMPLE *dest;
        pbInt runs;
    };
    /// Room for a number of runs of `width` samples, or for as many as there are. A missing array is one that C
    /// refuses.
    Room For(std::optional<pbInt> runs, pbInt width = 1) const;
};

inline double Work(const Memory &memory)
{
    return static_cast<double>(memory.Length()) / 2;
}

/// A packet of samples of shape (frames,) or (frames, channels); of interleaved ones where the channels are given.
pcm::Packet PacketOf(const SampleSource &samples, std::optional<pbInt> channels);

/// The samples as an array.array, which pickles.
py::object Array(std::span<const PCM_SAMPLE> samples);

/// Lends samples of an object of the library, to which the lent buffer holds a reference. @return 0, or -1 with an
/// exception
int Export(PyObject *object, PB_OBJ *held, std::span<const PCM_SAMPLE> samples, std::initializer_list<pbInt> shape,
           Py_buffer *view, int flags, bool writable);

/// Gives up what Export holds.
void EndExport(PyObject *, Py_buffer *view);

/// Has the objects of a type lend samples, by a function (PyObject *, T &, Py_buffer *, int flags) that calls Export.
template <class T, auto lend> auto Exporting()
{
    return py::custom_type_setup([](PyHeapTypeObject *type) {
        type->as_buffer.bf_getbuffer = [](PyObject *object, Py_buffer *view, int flags) {
            view->obj = nullptr;
            try {
                return lend(object, py::handle(object).cast<T &>(), view, flags);
            } catch (const py::builtin_exception &error) {
                error.set_error();
            } catch (const Refusal &refusal) {
                PyErr_SetString(PyExc_TypeError, refusal.text.c_str());
            }
            return -1;
        };
        type->as_buffer.bf_releasebuffer = EndExport;
        type->ht_type.tp_as_buffer = &type->as_buffer;
    });
}

} // namespace python

namespace pybind11::detail {

template <class T> struct memory_caster {
    bool load(handle source, bool) { return value.Load(source); }
    template <class> using cast_op_type = T &;
    operator T &() { return value; }
    T value;
};

template <> struct type_caster<python::ByteSource> : memory_caster<python::ByteSource> {
    static constexpr auto name = const_name("Buffer");
};
template <> struct type_caster<python::ByteDest> : memory_caster<python::ByteDest> {
    static constexpr auto name = const_name("Buffer");
};
template <> struct type_caster<python::SampleSource> : memory_caster<python::SampleSource> {
    static constexpr auto name = const_name("Samples");
};
template <> struct type_caster<python::SampleDest> : memory_caster<python::SampleDest> {
    static constexpr auto name = const_name("Samples");
};

template <> struct type_caster<python::Source> {
    PYBIND11_TYPE_CASTER(python::Source, const_name("Union[Packet, Samples]"));
    bool load(handle source, bool);
};

} // namespace pybind11::detail
