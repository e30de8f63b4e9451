#include "refusal.h"

#include <pb/pb_abort.h>

#include <initializer_list>

void pb___Abort(const char *context, const char *, pbInt, const char *expression)
{
    throw python::Refusal{context ? std::string(context) + ": " + expression : expression};
}

namespace python {
namespace {

/// The exception for a text: the first row that has a word of it.
PyObject *ExceptionFor(const std::string &text)
{
    const struct {
        PyObject *exception;
        std::initializer_list<const char *> words;
    } rows[] = {
        {PyExc_MemoryError, {"memory", "PB_INT_MUL_OK"}}, // allocation fails; more bytes than 64 bits can count
        {PyExc_ValueError, {"channelMask", " % ", "Channels"}},
        {PyExc_IndexError, {"idx", "ffset", "->frames", "Packets("}}, // a place or a run of frames that is not there
        {PyExc_TypeError, {"|| dest", "|| source", "dest ||", "source ||"}}, // an array is missing
        {PyExc_ValueError, {" "}},
    };
    for (const auto &[exception, words] : rows)
        for (const char *word : words)
            if (text.find(word) != std::string::npos)
                return exception;
    return PyExc_TypeError; // the name of an object that is missing
}

} // namespace

void TranslateRefusals()
{
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(thrown);
        } catch (const Refusal &refusal) {
            PyErr_SetString(ExceptionFor(refusal.text), refusal.text.c_str());
        }
    });
}

} // namespace python
