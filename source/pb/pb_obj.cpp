// Objects: creation, destruction, accounts, order and text. The account of live objects is one relaxed counter.
#include "pb_heap.h"
#include "pb_object.h"

#include <pb/pb_int.h>
#include <pb/pb_string.h>

#include <cstdio>

namespace {

std::atomic<pbInt> liveObjects{0};

} // namespace

PB_OBJ *pb___ObjCreate(pbInt size, const PB_SORT *sort)
{
    PB_ASSERT(size >= PB_SIZEOF(PB_OBJ));
    PB_ASSERT(sort);

    void *memory = pb::HeapResize(nullptr, static_cast<std::size_t>(size));
    PB_ASSERT(memory);
    liveObjects.fetch_add(1, std::memory_order_relaxed);
    return new (memory) PB_OBJ{PB_OBJ_KIND_INSTANCE, sort, 0, 1, {}};
}

void pb___ObjFree(PB_OBJ *obj)
{
    PB_ASSERT(obj);
    if (pb::kLiberal)
        PB_ASSERT(obj->refCount == 0);

    if (obj->sort->free)
        obj->sort->free(obj);
    if (pb::kLiberal && obj->sort->module != &pb___module)
        PB_ASSERT(obj->allocationSize == 0);
    pb::HeapFree(obj);
    liveObjects.fetch_sub(1, std::memory_order_relaxed);
}

void pb___ObjDbgSetAllocationSize(PB_OBJ *obj, pbInt bytes)
{
    PB_ASSERT(obj);
    PB_ASSERT(bytes >= 0);

    obj->allocationSize = bytes;
}

void pb___ObjDbgSetAllocationSizeN(PB_OBJ *obj, pbInt count, pbInt size)
{
    PB_ASSERT(PB_INT_MUL_OK( count, size ));

    pb___ObjDbgSetAllocationSize(obj, count * size);
}

const PB_SORT *pbObjSort(PB_OBJ *obj)
{
    PB_ASSERT(obj);

    return obj->sort;
}

pbInt pbObjCompare(PB_OBJ *a, PB_OBJ *b)
{
    if (a && b && a->sort == b->sort && a->sort && a->sort->compare)
        return a->sort->compare(a, b);
    const auto addressA = reinterpret_cast<uintptr_t>(a), addressB = reinterpret_cast<uintptr_t>(b);
    return (addressA > addressB) - (addressA < addressB);
}

PB_STRING *pbObjToString(PB_OBJ *obj)
{
    PB_ASSERT(obj);

    if (obj->sort && obj->sort->toString)
        return obj->sort->toString(obj);
    char text[128];
    std::snprintf(text, sizeof(text), "%s %p", obj->sort ? obj->sort->name : "PB_OBJ", static_cast<void *>(obj));
    return pbStringCreateFromCstr(text, -1);
}

void pbObjRetain(PB_OBJ *obj)
{
    PB_ASSERT(obj);

    std::atomic_ref(obj->refCount).fetch_add(1);
}

void pbObjRelease(PB_OBJ *obj)
{
    PB_ASSERT(obj);

    if (std::atomic_ref(obj->refCount).fetch_sub(1) == 1)
        pb___ObjFree(obj);
}

pbInt pb___ObjDbgAllocationSize(PB_OBJ *obj)
{
    PB_ASSERT(obj);

    return obj->allocationSize;
}

pbInt pb___ObjDbgObjects()
{
    return liveObjects.load(std::memory_order_relaxed);
}
