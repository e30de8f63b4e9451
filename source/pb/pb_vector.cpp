// Vectors: a block of references of which the elements occupy a stretch. Taking from the front moves the stretch's
// start; an append that finds no room behind the stretch moves it to the block's start if half of the block is free,
// and doubles the block otherwise, so both cost constant time on average.
#include "pb_object.h"

#include <pb/pb_int.h>
#include <pb/pb_mem.h>
#include <pb/pb_vector.h>

struct PB_VECTOR {
    PB_OBJ obj;
    PB_OBJ **items; ///< capacity places, owned; the elements are items[start] to items[start + length - 1]
    pbInt capacity, start, length;
};

namespace {

constexpr pbInt kItem = sizeof(PB_OBJ *);

PB_VECTOR *AsVector(PB_OBJ *obj)
{
    return reinterpret_cast<PB_VECTOR *>(obj);
}

void ReleaseAll(PB_VECTOR *vec)
{
    for (pbInt i = 0; i < vec->length; ++i)
        pbObjRelease(vec->items[vec->start + i]);
}

void Free(PB_OBJ *obj)
{
    ReleaseAll(AsVector(obj));
    pbMemFree(AsVector(obj)->items);
}

constinit PB_SORT sort = pb::Sort("PB_VECTOR", Free);

void SetCapacity(PB_VECTOR *vec, pbInt capacity)
{
    vec->items = static_cast<PB_OBJ **>(pbMemReallocN(vec->items, capacity, kItem));
    vec->capacity = capacity;
    pb___ObjDbgSetAllocationSizeN(&vec->obj, capacity, kItem);
}

PB_VECTOR *Copy(PB_VECTOR *source)
{
    PB_VECTOR *vec = pbVectorCreate();
    SetCapacity(vec, source->length);
    vec->length = source->length;
    if (source->length) // a vector without elements may have no block
        pbMemCopyN(vec->items, source->items + source->start, source->length, kItem);
    for (pbInt i = 0; i < vec->length; ++i)
        pbObjRetain(vec->items[i]);
    return vec;
}

void MakeRoomBehind(PB_VECTOR *vec)
{
    if (vec->start + vec->length < vec->capacity)
        return;
    if (vec->capacity > 2 * vec->length) {
        pbMemMoveN(vec->items, vec->items + vec->start, vec->length, kItem);
        vec->start = 0;
    } else {
        SetCapacity(vec, pbIntMax(4, 2 * vec->capacity));
    }
}

} // namespace

PB_VECTOR *pbVectorCreate()
{
    auto *vec = pb::Create<PB_VECTOR>(sort);
    vec->items = nullptr;
    vec->capacity = vec->start = vec->length = 0;
    return vec;
}

pbInt pbVectorLength(PB_VECTOR *vec)
{
    PB_ASSERT(vec);

    return vec->length;
}

void pbVectorAppendObj(PB_VECTOR **vec, PB_OBJ *obj)
{
    PB_ASSERT(vec);
    PB_ASSERT(*vec);
    PB_ASSERT(obj);

    pb::MakePrivate(vec, Copy);
    MakeRoomBehind(*vec);
    pbObjRetain(obj);
    (*vec)->items[(*vec)->start + (*vec)->length++] = obj;
}

PB_OBJ *pbVectorUnshift(PB_VECTOR **vec)
{
    PB_ASSERT(vec);
    PB_ASSERT(*vec);
    PB_ASSERT((*vec)->length > 0);

    pb::MakePrivate(vec, Copy);
    PB_OBJ *first = (*vec)->items[(*vec)->start++];
    if (--(*vec)->length == 0)
        (*vec)->start = 0;
    return first;
}

void pbVectorClear(PB_VECTOR **vec)
{
    PB_ASSERT(vec);
    PB_ASSERT(*vec);

    if (pb::IsShared(pb::AsObj(*vec))) {
        PB_VECTOR *shared = *vec;
        *vec = pbVectorCreate();
        pbObjRelease(pb::AsObj(shared));
        return;
    }
    ReleaseAll(*vec);
    (*vec)->start = (*vec)->length = 0;
    SetCapacity(*vec, 0);
}
