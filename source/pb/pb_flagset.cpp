// Flag sets: names joined by '|'.
#include "pb_names.h"

#include <pb/pb_flagset.h>
#include <pb/pb_int.h>

#include <algorithm>

struct PB_FLAGSET : pb::Names {};

namespace {

constinit PB_SORT sort = pb::Sort("PB_FLAGSET", pb::FreeNames);

PB_FLAGSET *Copy(PB_FLAGSET *source)
{
    return static_cast<PB_FLAGSET *>(pb::CopyNames(source));
}

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == text.npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

/// Calls `each` with the names of the flags of which `value` has every bit.
template <class Each> void ForNamesOf(const PB_FLAGSET *flags, pbInt value, Each each)
{
    for (const pb::Name &item : *flags)
        if (item.value && (value & item.value) == item.value)
            each(item.View());
}

} // namespace

PB_FLAGSET *pbFlagsetCreate()
{
    return static_cast<PB_FLAGSET *>(pb::CreateNames(sort));
}

pbBool pbFlagsetHasFlagCstr(PB_FLAGSET *flags, const char *name, pbInt length)
{
    PB_ASSERT(flags);
    PB_ASSERT(name);

    return flags->Find(pb::View(name, length)) != nullptr;
}

void pbFlagsetSetFlagCstr(PB_FLAGSET **flags, const char *name, pbInt length, pbInt value)
{
    PB_ASSERT(flags);
    PB_ASSERT(*flags);
    PB_ASSERT(name);

    pb::MakePrivate(flags, Copy);
    (*flags)->Set(name, length, value);
}

pbInt pbFlagsetParse(PB_FLAGSET *flags, PB_STRING *pbs)
{
    PB_ASSERT(flags);
    PB_ASSERT(pbs);

    pbInt value = 0;
    std::string_view rest(pbStringCstr(pbs), static_cast<std::size_t>(pbStringLength(pbs)));
    for (;;) {
        const std::size_t bar = rest.find('|');
        if (const pb::Name *known = flags->Find(Trim(rest.substr(0, bar))))
            value |= known->value;
        if (bar == rest.npos)
            return value;
        rest.remove_prefix(bar + 1);
    }
}

PB_STRING *pbFlagsetGenerate(PB_FLAGSET *flags, pbInt value)
{
    PB_ASSERT(flags);

    pbInt length = 0;
    ForNamesOf(flags, value, [&](std::string_view name) { length += static_cast<pbInt>(name.size()) + 1; });
    auto *text = static_cast<char *>(pbMemAlloc(length));
    char *end = text;
    ForNamesOf(flags, value, [&](std::string_view name) {
        end = std::copy(name.begin(), name.end(), end);
        *end++ = '|';
    });
    PB_STRING *pbs = pbStringCreateFromCstr(text, pbIntMax(0, length - 1));
    pbMemFree(text);
    return pbs;
}
