#include "encoding.h"

#include "module.h"

#include <string_view>

namespace python {
namespace {

constexpr struct {
    const char *name;
    PCM_ENCODING flags;
} kNames[] = {
    {"s8", PCM_ENCODING_INT_8},
    {"u8", PCM_ENCODING_INT_8 | PCM_ENCODING_UNSIGNED},
    {"s16le", PCM_ENCODING_INT_16 | PCM_ENCODING_LITTLE_ENDIAN},
    {"s16be", PCM_ENCODING_INT_16 | PCM_ENCODING_BIG_ENDIAN},
    {"u16le", PCM_ENCODING_INT_16 | PCM_ENCODING_UNSIGNED | PCM_ENCODING_LITTLE_ENDIAN},
    {"u16be", PCM_ENCODING_INT_16 | PCM_ENCODING_UNSIGNED | PCM_ENCODING_BIG_ENDIAN},
    {"s24le", PCM_ENCODING_INT_24 | PCM_ENCODING_LITTLE_ENDIAN},
    {"s24be", PCM_ENCODING_INT_24 | PCM_ENCODING_BIG_ENDIAN},
    {"u24le", PCM_ENCODING_INT_24 | PCM_ENCODING_UNSIGNED | PCM_ENCODING_LITTLE_ENDIAN},
    {"u24be", PCM_ENCODING_INT_24 | PCM_ENCODING_UNSIGNED | PCM_ENCODING_BIG_ENDIAN},
    {"s32le", PCM_ENCODING_INT_32 | PCM_ENCODING_LITTLE_ENDIAN},
    {"s32be", PCM_ENCODING_INT_32 | PCM_ENCODING_BIG_ENDIAN},
    {"u32le", PCM_ENCODING_INT_32 | PCM_ENCODING_UNSIGNED | PCM_ENCODING_LITTLE_ENDIAN},
    {"u32be", PCM_ENCODING_INT_32 | PCM_ENCODING_UNSIGNED | PCM_ENCODING_BIG_ENDIAN},
    {"f32le", PCM_ENCODING_FLOAT_32 | PCM_ENCODING_LITTLE_ENDIAN},
    {"f32be", PCM_ENCODING_FLOAT_32 | PCM_ENCODING_BIG_ENDIAN},
    {"alaw", PCM_ENCODING_G711_ALAW},
    {"mulaw", PCM_ENCODING_G711_MULAW},
};

/// The flag words of all names that have been asked for, in a dict of the interpreter's, which knows the hashes of its
/// strings.
PyObject *KnownNames()
{
    static PyObject *const known = [] {
        py::dict names;
        for (const auto &[name, flags] : kNames)
            names[name] = flags;
        return names.release().ptr();
    }();
    return known;
}

/// Names of flags joined by `|`. The library passes over those that it does not know; here they are mistakes.
PCM_ENCODING ParseFlags(std::string_view names)
{
    PCM_ENCODING all = 0;
    for (std::string_view rest = names; !rest.empty();) {
        const std::string_view name = rest.substr(0, rest.find('|'));
        const PCM_ENCODING flag = pcm::Encoding::FromString(name);
        if (!flag)
            throw py::value_error("no encoding is called '" + std::string(names) + "'");
        all |= flag;
        rest.remove_prefix(std::min(name.size() + 1, rest.size()));
    }
    return pcm::Encoding(all).Normalize();
}

std::string NameOf(pcm::Encoding encoding)
{
    for (const auto &[name, flags] : kNames)
        if (flags == encoding)
            return name;
    return encoding.ToString();
}

/// A method, for an encoding that is there: None may come as `self`.
template <class R, class... A> auto Of(R (pcm::Encoding::*method)(A...) const)
{
    return [method](const pcm::Encoding &self, A... args) { return (self.*method)(args...); };
}

} // namespace

void DefineEncoding(py::module_ &module)
{
    py::class_<pcm::Encoding> encoding(
        module, "Encoding",
        "How a sample lies in bytes: a flag word with its text form and sizes.\n\n"
        "Wherever an encoding is wanted, its name does: s8, u8, s16le, s16be, u16le ... "
        "s24le ... s32le ..., f32le, f32be, alaw, mulaw, or flag names joined by `|` for "
        "other layouts, such as 'PCM_ENCODING_INT_24|PCM_ENCODING_PACK_32'.");
    encoding
        .def(py::init([](EncodingLike encoding) { return pcm::Encoding(encoding); }), py::arg("encoding"),
             "Of a name, a flag word, or another encoding. ValueError for a name that there is not.")
        .def("normalize", Of(&pcm::Encoding::Normalize), "The encoding with at most one flag of each group.")
        .def("to_string", Of(&pcm::Encoding::ToString), "The names of the normalised flags, joined by `|`.")
        .def("sizeof_sample", Of(&pcm::Encoding::SizeofSample), "Bytes of a sample with its container: 1 to 8.")
        .def("sizeof_frame", Of(&pcm::Encoding::SizeofFrame), py::arg("channels"),
             "Bytes of a frame. ValueError for channels below 1, MemoryError where the size does not fit in 64 bits.")
        .def_property_readonly("name", &NameOf, "The short name such as 's16le' where there is one.")
        .def("__int__", [](pcm::Encoding encoding) { return PCM_ENCODING(encoding); })
        .def("__index__", [](pcm::Encoding encoding) { return PCM_ENCODING(encoding); })
        .def("__hash__", [](pcm::Encoding encoding) { return PCM_ENCODING(encoding); })
        .def(
            "__eq__", [](pcm::Encoding a, pcm::Encoding b) { return PCM_ENCODING(a) == PCM_ENCODING(b); },
            py::is_operator())
        .def("__str__", Of(&pcm::Encoding::ToString))
        .def("__repr__", [](pcm::Encoding encoding) { return "Encoding('" + NameOf(encoding) + "')"; })
        .def("__reduce__", [](pcm::Encoding self) {
            return py::make_tuple(py::type::of<pcm::Encoding>(), py::make_tuple(PCM_ENCODING(self)));
        });
}

} // namespace python

bool pybind11::detail::type_caster<python::EncodingLike>::load(handle source, bool)
{
    if (PyUnicode_CheckExact(source.ptr())) {
        PyObject *const names = python::KnownNames();
        if (PyObject *const flags = PyDict_GetItemWithError(names, source.ptr())) {
            value.flags = PyLong_AsLongLong(flags);
            return true;
        }
        Py_ssize_t length;
        const char *const text = PyUnicode_AsUTF8AndSize(source.ptr(), &length);
        if (!text)
            throw error_already_set();
        value.flags = python::ParseFlags({text, static_cast<std::size_t>(length)});
        return PyDict_SetItem(names, source.ptr(), int_(value.flags).ptr()) == 0;
    }
    make_caster<pcm::Encoding> encoding;
    if (encoding.load(source, false)) {
        value.flags = cast_op<pcm::Encoding &>(encoding);
        return true;
    }
    make_caster<PCM_ENCODING> flags;
    const bool loaded = flags.load(source, false);
    if (loaded)
        value.flags = cast_op<PCM_ENCODING>(flags);
    return loaded;
}
