// Strings: one block with the bytes and a NUL.
#include "pb_object.h"

#include <pb/pb_int.h>
#include <pb/pb_mem.h>
#include <pb/pb_string.h>

#include <algorithm>
#include <cstring>

struct PB_STRING {
    PB_OBJ obj;
    pbInt length;
    char *text; ///< length bytes and a NUL, owned
};

namespace {

PB_STRING *AsString(PB_OBJ *obj)
{
    return reinterpret_cast<PB_STRING *>(obj);
}

void Free(PB_OBJ *obj)
{
    pbMemFree(AsString(obj)->text);
}

pbInt Compare(PB_OBJ *a, PB_OBJ *b)
{
    const PB_STRING *left = AsString(a), *right = AsString(b);
    const auto common = static_cast<std::size_t>(std::min(left->length, right->length));
    const int order = std::memcmp(left->text, right->text, common);
    return order ? order : left->length - right->length;
}

PB_STRING *ToString(PB_OBJ *obj)
{
    pbObjRetain(obj);
    return AsString(obj);
}

constinit PB_SORT sort = pb::Sort("PB_STRING", Free, Compare, ToString);

} // namespace

PB_STRING *pbStringCreateFromCstr(const char *text, pbInt length)
{
    PB_ASSERT(text || length == 0);
    PB_ASSERT(length >= -1);

    if (length < 0)
        length = static_cast<pbInt>(std::strlen(text));
    PB_ASSERT(PB_INT_ADD_OK( length, 1 ));
    auto *pbs = pb::Create<PB_STRING>(sort);
    pbs->length = length;
    pbs->text = static_cast<char *>(pbMemAlloc(length + 1));
    pbMemCopyN(pbs->text, text, length, 1);
    pbs->text[length] = 0;
    pb___ObjDbgSetAllocationSize(&pbs->obj, length + 1);
    return pbs;
}

const char *pbStringCstr(PB_STRING *pbs)
{
    PB_ASSERT(pbs);

    return pbs->text;
}

pbInt pbStringLength(PB_STRING *pbs)
{
    PB_ASSERT(pbs);

    return pbs->length;
}
