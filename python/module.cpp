// The module `pcm`: the library for Python, on the handles of pcm.hpp.
#include "module.h"

PYBIND11_MODULE(pcm, module)
{
    static const auto *const library = new pcm::Module; // never stopped: objects outlive the interpreter's last words
    static_cast<void>(library);

    module.doc() =
        "PCM audio: packets of samples, conversion, levels, queues, filters, generators.\n\n"
        "Samples are 32-bit floats, nominally -1.0 to 1.0; frames hold a sample for each channel; counts of\n"
        "frames and samples are ints. What an operation refuses raises ValueError, TypeError, IndexError\n"
        "or MemoryError with the text of the condition that does not hold, and has changed no sample.";
    module.attr("__version__") = PCM_PYTHON_VERSION;
    python::TranslateRefusals();
    python::DefineEncoding(module);
    python::DefineConvert(module);
    python::DefinePacket(module);
    python::DefineStreams(module);
    python::DefineGenerators(module);
}
