// Objects: references, sharing, and the standard functions of a sort. An object's count is changed and read by Retain,
// Release and IsShared, nowhere else.
#pragma once

#include "../pb/pb_assert.h"

#include <pcm/pcm_module.h>

#include <pb/pb_obj.h>

#include <atomic>
#include <cstring>
#include <utility>

namespace pcm {

template <class T> PB_OBJ *AsObj(T *object)
{
    return reinterpret_cast<PB_OBJ *>(object);
}

/// Follows every change or reading of a count. On x86-64 the locked instruction before it is a full fence already.
inline void FenceAfterCount()
{
#if !defined(__x86_64__) && !defined(__SANITIZE_THREAD__)
    std::atomic_thread_fence(std::memory_order_seq_cst);
#endif
}

inline void Retain(PB_OBJ *obj)
{
    std::atomic_ref(obj->refCount).fetch_add(1, std::memory_order_seq_cst);
    FenceAfterCount();
}

inline void Release(PB_OBJ *obj)
{
    const pbInt left = std::atomic_ref(obj->refCount).fetch_sub(1, std::memory_order_seq_cst) - 1;
    FenceAfterCount();
    if (left == 0)
        pb___ObjFree(obj);
}

inline bool IsShared(PB_OBJ *obj)
{
    pbInt count = 0;
    std::atomic_ref(obj->refCount).compare_exchange_strong(count, 0); // 0 for 0: reads any count, changes none
    FenceAfterCount();
    return count > 1;
}

/// One reference to an object, or none; given up at the end of the scope.
template <class T> class Ref {
public:
    static Ref Adopt(T *object) { return Ref(object); } ///< takes over a reference
    static Ref Share(T *object)                         ///< adds a reference; null stays null
    {
        if (object)
            Retain(AsObj(object));
        return Ref(object);
    }

    Ref(Ref &&other) noexcept : object_(other.Detach()) {}
    Ref &operator=(Ref &&) = delete;
    ~Ref()
    {
        if (object_)
            Release(AsObj(object_));
    }

    T *get() const { return object_; }
    T *operator->() const { return object_; }
    T **Handle() { return &object_; } ///< for operations that may replace the object
    T *Detach()                       ///< gives the reference to the caller
    {
        T *object = object_;
        object_ = nullptr;
        return object;
    }

private:
    explicit Ref(T *object) : object_(object) {}

    T *object_;
};

/// Points the handle at an object that nobody else holds: its own if private, else what `replace` makes of it. Returns
/// the handle's reference to the object that was replaced, if any, for callers that still read there.
template <class T, class Replace> Ref<T> MakePrivate(T **handle, Replace replace)
{
    if (!IsShared(AsObj(*handle)))
        return Ref<T>::Adopt(nullptr);
    T *const replacement = replace(*handle);
    return Ref<T>::Adopt(std::exchange(*handle, replacement));
}

/// Puts a new object into the handle and gives up the one that it held.
template <class T> void Replace(T **handle, Ref<T> replacement)
{
    const auto old = Ref<T>::Adopt(*handle);
    *handle = replacement.Detach();
}

/// Holds the source while the object in a handle is changed, if the two are one object. The object is then shared, so
/// the change goes to a copy and the source stays as it is.
template <class T> Ref<T> KeepIfSame(T *held, T *source)
{
    return Ref<T>::Share(held == source ? source : nullptr);
}

/// Gives up what a field or global holds, if anything, and leaves the all-ones value there. For teardown.
template <class T> void ReleaseAndMark(T **field)
{
    if (*field)
        Release(AsObj(*field));
    *field = reinterpret_cast<T *>(UINTPTR_MAX);
}

/// A new object of a sort. Its own fields are zero, so that it can be destroyed before they are set.
template <class T> Ref<T> CreateObject(const PB_SORT &sort)
{
    PB_OBJ *const obj = pb___ObjCreate(sizeof(T), &sort);
    std::memset(obj + 1, 0, sizeof(T) - sizeof(PB_OBJ));
    return Ref<T>::Adopt(reinterpret_cast<T *>(obj));
}

/// The descriptor of a sort of this module.
constexpr PB_SORT Sort(const char *name, void (*free)(PB_OBJ *))
{
    return {PB_OBJ_STATIC(PB_OBJ_KIND_SORT), &pcm___module, name, free, nullptr, nullptr, {}};
}

} // namespace pcm

/// The eight standard functions of a sort. Its descriptor is pcm___sort_TYPE, in the same file.
#define PCM_DEFINE_SORT(prefix, TYPE)                                                                                  \
    const PB_SORT *prefix##Sort()                                                                                      \
    {                                                                                                                  \
        return &pcm___sort_##TYPE;                                                                                     \
    }                                                                                                                  \
    void prefix##Retain(TYPE *obj)                                                                                     \
    {                                                                                                                  \
        PB_ASSERT_IN("stdfunc retain", obj);                                                                           \
        pcm::Retain(pcm::AsObj(obj));                                                                                  \
    }                                                                                                                  \
    void prefix##Release(TYPE *obj)                                                                                    \
    {                                                                                                                  \
        PB_ASSERT_IN("stdfunc release", obj);                                                                          \
        pcm::Release(pcm::AsObj(obj));                                                                                 \
    }                                                                                                                  \
    PB_OBJ *prefix##Obj(TYPE *obj)                                                                                     \
    {                                                                                                                  \
        return pcm::AsObj(obj);                                                                                        \
    }                                                                                                                  \
    TYPE *prefix##From(PB_OBJ *obj)                                                                                    \
    {                                                                                                                  \
        PB_ASSERT_IN("stdfunc from", !obj || pbObjSort(obj)==&pcm___sort_##TYPE);                                      \
        return reinterpret_cast<TYPE *>(obj);                                                                          \
    }                                                                                                                  \
    PB_STRING *prefix##ToString(TYPE *obj)                                                                             \
    {                                                                                                                  \
        PB_ASSERT_IN("stdfunc tostring", obj);                                                                         \
        return pbObjToString(pcm::AsObj(obj));                                                                         \
    }                                                                                                                  \
    pbInt prefix##Compare(TYPE *objA, TYPE *objB)                                                                      \
    {                                                                                                                  \
        PB_ASSERT_IN("stdfunc compare a", objA);                                                                       \
        PB_ASSERT_IN("stdfunc compare b", objB);                                                                       \
        return pbObjCompare(pcm::AsObj(objA), pcm::AsObj(objB));                                                       \
    }                                                                                                                  \
    pbBool prefix##Equals(TYPE *objA, TYPE *objB)                                                                      \
    {                                                                                                                  \
        return pbObjCompare(pcm::AsObj(objA), pcm::AsObj(objB)) == 0;                                                  \
    }
