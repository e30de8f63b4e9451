// Enumerations: exact names, one value each.
#include "pb_heap.h"
#include "pb_names.h"

#include <pb/pb_enum.h>

struct PB_ENUM : pb::Names {};

namespace {

constinit PB_SORT sort = pb::Sort("PB_ENUM", pb::FreeNames);

PB_ENUM *Copy(PB_ENUM *source)
{
    return static_cast<PB_ENUM *>(pb::CopyNames(source));
}

} // namespace

PB_ENUM *pbEnumCreate()
{
    return static_cast<PB_ENUM *>(pb::CreateNames(sort));
}

void pbEnumSetEnumerantCstr(PB_ENUM **enm, const char *name, pbInt length, pbInt value)
{
    PB_ASSERT(enm);
    PB_ASSERT(*enm);
    PB_ASSERT(name);

    pb::MakePrivate(enm, Copy);
    (*enm)->Set(name, length, value);
}

pbInt pbEnumParse(PB_ENUM *enm, PB_STRING *pbs)
{
    PB_ASSERT(enm);
    PB_ASSERT(pbs);

    const pb::Name *known = enm->Find({pbStringCstr(pbs), static_cast<std::size_t>(pbStringLength(pbs))});
    return known ? known->value : -1;
}

PB_STRING *pbEnumGenerate(PB_ENUM *enm, pbInt value)
{
    PB_ASSERT(enm);

    const pb::Name *known =
        std::find_if(enm->begin(), enm->end(), [&](const pb::Name &item) { return item.value == value; });
    PB_ASSERT(known != enm->end());
    if (pb::kLiberal)
        return pbStringCreateFromCstr(pbStringCstr(known->text), pbStringLength(known->text));
    pbObjRetain(pb::AsObj(known->text));
    return known->text;
}
