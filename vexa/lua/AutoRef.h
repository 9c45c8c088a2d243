#pragma once

#include <cstddef>
#include <utility>

namespace vexa::binding {

// A shared owner of an object that counts its references with AddRef and Release; the last owner's
// Release deletes it. One AutoRef belongs to one thread, like any pointer.
template <class T>
class AutoRef {
public:
    AutoRef() = default;
    AutoRef(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)
    explicit AutoRef(T* object) : m_object(object) { Add(); }
    AutoRef(const AutoRef& other) : m_object(other.m_object) { Add(); }
    AutoRef(AutoRef&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    template <class Derived>
    AutoRef(const AutoRef<Derived>& other)  // NOLINT(google-explicit-constructor)
        : m_object(other.Get()) {
        Add();
    }
    ~AutoRef() { Reset(); }

    AutoRef& operator=(AutoRef other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }

    void Reset() {
        if (T* const object = std::exchange(m_object, nullptr)) object->Release();
    }

    T* Get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    void Add() {
        if (m_object) m_object->AddRef();
    }

    T* m_object = nullptr;
};

template <class T, class... Arguments>
AutoRef<T> MakeRef(Arguments&&... arguments) {
    return AutoRef<T>(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace vexa::binding
