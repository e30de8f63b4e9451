// A table of names and values, in ascending order of value, names of one value in the order in which they were set.
// Enumerations and flag sets are such tables.
#pragma once

#include "pb_object.h"

#include <pb/pb_mem.h>
#include <pb/pb_string.h>

#include <algorithm>
#include <string_view>

namespace pb {

struct Name {
    PB_STRING *text; ///< one reference held
    pbInt value;

    std::string_view View() const { return {pbStringCstr(text), static_cast<std::size_t>(pbStringLength(text))}; }
};

/// An object of a table's sort. PB_ENUM and PB_FLAGSET are this structure.
struct Names {
    PB_OBJ obj;
    Name *items; ///< length of them, owned
    pbInt length;

    Name *begin() const { return items; }
    Name *end() const { return items + length; }

    Name *Find(std::string_view name) const
    {
        Name *found = std::find_if(begin(), end(), [&](const Name &item) { return item.View() == name; });
        return found == end() ? nullptr : found;
    }

    void Insert(PB_STRING *text, pbInt value) ///< takes over the reference
    {
        items = static_cast<Name *>(pbMemReallocN(items, length + 1, sizeof(Name)));
        Name *place = std::find_if(begin(), end(), [&](const Name &item) { return item.value > value; });
        std::move_backward(place, end(), end() + 1);
        *place = {text, value};
        ++length;
        pb___ObjDbgSetAllocationSizeN(&obj, length, sizeof(Name));
    }

    void Set(const char *text, pbInt textLength, pbInt value)
    {
        PB_STRING *name = pbStringCreateFromCstr(text, textLength);
        if (Name *known = Find(Name{name, 0}.View())) {
            pbObjRelease(AsObj(known->text));
            std::move(known + 1, end(), known);
            --length;
        }
        Insert(name, value);
    }
};

inline void FreeNames(PB_OBJ *obj)
{
    auto *names = reinterpret_cast<Names *>(obj);
    for (const Name &item : *names)
        pbObjRelease(AsObj(item.text));
    pbMemFree(names->items);
}

inline Names *CreateNames(const PB_SORT &sort)
{
    auto *names = Create<Names>(sort);
    names->items = nullptr;
    names->length = 0;
    return names;
}

inline Names *CopyNames(Names *source)
{
    Names *names = CreateNames(*source->obj.sort);
    for (const Name &item : *source) {
        pbObjRetain(AsObj(item.text));
        names->Insert(item.text, item.value);
    }
    return names;
}

inline std::string_view View(const char *text, pbInt length)
{
    return length < 0 ? std::string_view(text) : std::string_view(text, static_cast<std::size_t>(length));
}

} // namespace pb
