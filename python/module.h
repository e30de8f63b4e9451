// The parts of the module, each defined in the file of its name.
#pragma once

#include "object.h"

namespace python {

void DefineEncoding(py::module_ &module);
void DefinePacket(py::module_ &module);
void DefineConvert(py::module_ &module);
void DefineStreams(py::module_ &module);
void DefineGenerators(py::module_ &module);

} // namespace python
