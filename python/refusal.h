// Broken preconditions as Python's exceptions.
//
// The module holds the library built once more, with exceptions: there pb___Abort, which never returns, throws a
// Refusal. So the check that C makes is the check that Python sees, with its text, and none is written twice. What a
// refused operation had begun is given up on the way out.
#pragma once

#include <pybind11/pybind11.h>

#include <string>

namespace python {

namespace py = pybind11;

/// The text of a condition that does not hold.
struct Refusal {
    std::string text;
};

/// Has refusals arrive as TypeError, IndexError, MemoryError or ValueError, by what the text is about.
void TranslateRefusals();

} // namespace python
