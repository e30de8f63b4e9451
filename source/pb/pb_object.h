// What the runtime's own sorts share: their descriptors, references, and privacy before a change.
#pragma once

#include "pb_assert.h"

#include <pb/pb_obj.h>

#include <atomic>

extern PB_MODULE pb___module;

namespace pb {

/// The descriptor of a sort of the runtime.
constexpr PB_SORT Sort(const char *name, void (*free)(PB_OBJ *), pbInt (*compare)(PB_OBJ *, PB_OBJ *) = nullptr,
                       PB_STRING *(*toString)(PB_OBJ *) = nullptr)
{
    return {PB_OBJ_STATIC(PB_OBJ_KIND_SORT), &pb___module, name, free, compare, toString, {}};
}

template <class T> PB_OBJ *AsObj(T *obj)
{
    return reinterpret_cast<PB_OBJ *>(obj);
}

template <class T> T *Create(const PB_SORT &sort)
{
    return reinterpret_cast<T *>(pb___ObjCreate(sizeof(T), &sort));
}

inline bool IsShared(PB_OBJ *obj)
{
    return std::atomic_ref(obj->refCount).load() > 1;
}

/// Points the handle at an object that nobody else holds: its own if private, else a copy.
template <class T> void MakePrivate(T **handle, T *(*copy)(T *))
{
    if (!IsShared(AsObj(*handle)))
        return;
    T *shared = *handle;
    *handle = copy(shared);
    pbObjRelease(AsObj(shared));
}

} // namespace pb
