// What a Python object of the module holds: a handle, and a lock, so that threads which share the object take turns.
//
// A handle must not be used by two threads at once, and calls on many samples release the interpreter's lock. So every
// use of a handle is made under the object's own lock: an operation that changes the handle keeps it to the end; one
// that reads takes a reference and lets go, for a shared packet never changes. A thread never waits for an object's
// lock while it holds the interpreter's, and runs no Python code while it holds an object's.
#pragma once

#include "refusal.h"

#include <pcm/pcm.hpp>

#include <atomic>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace python {

/// The samples of a call above which the interpreter's lock is released: fewer take less time than releasing it does.
constexpr double kMany = 4096;

/// Releases the interpreter's lock until the end of the scope, for work on many samples.
class Released {
public:
    explicit Released(double samples)
    {
        if (samples > kMany)
            released_.emplace();
    }

private:
    std::optional<py::gil_scoped_release> released_;
};

/// How many samples a call touches, as far as the size of one of its arguments tells.
inline double Work(pbReal)
{
    return 0;
}
inline double Work(pbInt number)
{
    return static_cast<double>(number);
}
template <class H> double Work(const H &handle)
{
    if constexpr (requires { handle.Frames(); })
        return handle ? static_cast<double>(handle.Frames()) * static_cast<double>(handle.Channels()) : 0;
    else
        return 0;
}

template <class H> class Object {
public:
    explicit Object(H handle) : handle_(std::move(handle)) {}
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    /// One more reference to the present object.
    H Share()
    {
        const Held held(*this);
        return handle_;
    }
    /// Calls change(handle) with no other thread at the handle, and, for much work, without the interpreter's lock:
    /// what is called is not Python's.
    template <class F> decltype(auto) Change(F change)
    {
        const Held held(*this);
        return change(handle_);
    }
    template <class F> decltype(auto) Change(double work, F change)
    {
        const Held held(*this);
        const Released released(work + Work(handle_));
        return change(handle_);
    }
    /// Takes the handle away, after prepare(handle), until GiveBack; meanwhile every other use is refused.
    template <class F> H Lend(F prepare)
    {
        const Held held(*this);
        prepare(handle_);
        lent_ = true;
        return std::move(handle_);
    }
    void GiveBack(H handle)
    {
        const Lock lock(*this);
        lent_ = false;
        handle_ = std::move(handle);
    }

private:
    struct Lock {
        explicit Lock(Object &object) : object_(object)
        {
            if (object.locked_.exchange(1, std::memory_order_acquire)) {
                const py::gil_scoped_release released;
                while (object.locked_.exchange(1, std::memory_order_acquire))
                    object.locked_.wait(1);
            }
        }
        ~Lock()
        {
            object_.locked_.store(0, std::memory_order_release);
            object_.locked_.notify_one();
        }
        Object &object_;
    };
    struct Held : Lock {
        explicit Held(Object &object) : Lock(object)
        {
            if (object.lent_)
                throw py::value_error("the packet is open for writing");
        }
    };

    std::atomic<int> locked_{0};
    bool lent_ = false;
    H handle_;
};

using PacketObject = Object<pcm::Packet>;

/// A Python object that holds what an operation has returned.
template <class H> std::unique_ptr<Object<H>> New(H handle)
{
    return std::make_unique<Object<H>>(std::move(handle));
}

/// A packet, or samples from which one is made; None is a packet that is missing.
struct Source {
    pcm::Packet packet;
    operator const pcm::Packet &() const { return packet; }
};
inline double Work(const Source &source)
{
    return Work(source.packet);
}

/// How an argument of an operation comes in, and how its result goes out.
template <class A> struct In {
    using Type = A;
};
template <> struct In<const pcm::Packet &> {
    using Type = Source;
};
template <class R> auto Out(R result)
{
    if constexpr (requires { result.Detach(); })
        return New(std::move(result));
    else
        return result;
}

/// A method that changes the handle.
template <class H, class R, class... A> auto Changing(R (H::*method)(A...))
{
    return [method](Object<H> &self, typename In<A>::Type... args) {
        const auto change = [&](H &handle) { return (handle.*method)(args...); };
        if constexpr (std::is_void_v<R>)
            self.Change((0.0 + ... + Work(args)), change);
        else
            return Out(self.Change((0.0 + ... + Work(args)), change));
    };
}

/// A method that reads what the handle refers to.
template <class H, class R, class... A> auto Reading(R (H::*method)(A...) const)
{
    return [method](Object<H> &self, typename In<A>::Type... args) {
        const H handle = self.Share();
        const auto read = [&] {
            const Released released(Work(handle) + (0.0 + ... + Work(args)));
            return (handle.*method)(args...);
        };
        return Out(read());
    };
}

/// Properties and short questions: as Reading, without releasing the interpreter's lock.
template <class H, class R> auto Asking(R (H::*method)() const)
{
    return [method](Object<H> &self) {
        return self.Change([method](H &handle) { return (std::as_const(handle).*method)(); });
    };
}

} // namespace python

namespace pybind11::detail {

/// Objects whose __init__ was not called, as `Packet.__new__(Packet)`, are refused: pybind11 would lend wild memory.
template <class T> struct initialised_caster : type_caster_base<T> {
    bool load(handle source, bool convert)
    {
        const type_info *type = this->typeinfo;
        if (PyObject_TypeCheck(source.ptr(), type->type) &&
            !reinterpret_cast<instance *>(source.ptr())->get_value_and_holder(type).holder_constructed())
            throw type_error("the object is not initialised");
        return type_caster_base<T>::load(source, convert);
    }
};

template <class H> struct type_caster<python::Object<H>> : initialised_caster<python::Object<H>> {
};

} // namespace pybind11::detail
