// Encodings by name: those that the programs print, such as "s16le" or "mulaw", and those of the flags.
#pragma once

#include "object.h"

namespace python {

/// An encoding as an argument: a name, a flag word, or an Encoding.
struct EncodingLike {
    PCM_ENCODING flags = 0;
    operator PCM_ENCODING() const { return flags; }
};

} // namespace python

namespace pybind11::detail {

template <> struct type_caster<python::EncodingLike> {
    PYBIND11_TYPE_CASTER(python::EncodingLike, const_name("EncodingLike"));
    bool load(handle source, bool);
};

} // namespace pybind11::detail
