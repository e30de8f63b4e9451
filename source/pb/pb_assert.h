// Preconditions, for the runtime and for the libraries above it. The text of a check is its code: the expression is
// turned into a string in the outermost macro, before any macro inside it is expanded.
#pragma once

#include <pb/pb_abort.h>

#include <cstddef>

namespace pb {

/// A source file's path from the project's root, without its ending: "source/pcm/pcm_packet".
struct SourcePath {
    char name[96] = {};

    constexpr explicit SourcePath(const char *file)
    {
        std::size_t start = 0, end = 0, length = 0;
        for (; file[length]; ++length) {
            if (IsRoot(file + length))
                start = length;
            if (file[length] == '.')
                end = length;
        }
        for (std::size_t i = start; i < (end > start ? end : length) && i - start < sizeof(name) - 1; ++i)
            name[i - start] = file[i];
    }

private:
    static constexpr bool IsRoot(const char *text)
    {
        const char root[] = "source/p";
        for (std::size_t i = 0; i < sizeof(root) - 1; ++i)
            if (text[i] != root[i])
                return false;
        return true;
    }
};

} // namespace pb

/// Ends the process with the text of the expression unless it holds.
#define PB_ASSERT(expression) PB_CHECK(nullptr, expression, #expression)

/// The same with a prefix that names the caller.
#define PB_ASSERT_IN(context, expression) PB_CHECK(context, expression, #expression)

#define PB_CHECK(context, condition, expression)                                                                       \
    do {                                                                                                               \
        if (!(condition)) [[unlikely]] {                                                                               \
            static constexpr ::pb::SourcePath kSource{__FILE__};                                                       \
            pb___Abort(context, kSource.name, __LINE__, expression);                                                   \
        }                                                                                                              \
    } while (false)
