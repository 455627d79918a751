#pragma once

#include <core/safe_reference_count.h>

#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

namespace Kiln {

/// Shared ownership of an intrusively counted object (see SafeReferenceCount).
///
/// A SmartPointer may be null. Copying takes a reference, destroying drops it. One SmartPointer object must not be
/// written by two threads at once; different SmartPointers to one object may be used on different threads.
///
///     SmartPointer<Node> node = makeSmart<Node>(arguments);
template <class T>
class SmartPointer {
public:
    /// The name that the standard library expects.
    using element_type = T;

    constexpr SmartPointer() noexcept = default;
    /// Null.
    constexpr SmartPointer(std::nullptr_t) noexcept {}

    /// @{
    /// A copy takes another reference. A move takes over the other pointer's reference and leaves that pointer null.
    SmartPointer(const SmartPointer& other) noexcept : m_object(other.m_object) { acquire(); }
    SmartPointer(SmartPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

    template <class U>
        requires std::convertible_to<U*, T*> SmartPointer(const SmartPointer<U>& other)
    noexcept : m_object(other.get()) { acquire(); }

    template <class U>
        requires std::convertible_to<U*, T*> SmartPointer(SmartPointer<U>&& other)
    noexcept : m_object(other.release()) {}
    /// @}

    ~SmartPointer() {
        if (m_object) {
            m_object->decRef();
        }
    }

    /// Drops the present reference and takes over that of the argument.
    SmartPointer& operator=(SmartPointer other) noexcept {
        swap(other);
        return *this;
    }

    /// Takes another reference to an object that is already referenced; `object` may be null.
    [[nodiscard]] static SmartPointer share(T* object) noexcept {
        SmartPointer pointer = adopt(object);
        pointer.acquire();
        return pointer;
    }

    /// Takes over a reference that the caller holds (for instance the first one of a new object).
    [[nodiscard]] static SmartPointer adopt(T* object) noexcept {
        SmartPointer pointer;
        pointer.m_object = object;
        return pointer;
    }

    /// Passes the reference to the caller and leaves the pointer null.
    [[nodiscard]] T* release() noexcept { return std::exchange(m_object, nullptr); }

    /// Drops the reference and leaves the pointer null.
    void reset() noexcept { SmartPointer().swap(*this); }
    /// Exchanges the objects; their counts stay as they are.
    void swap(SmartPointer& other) noexcept { std::swap(m_object, other.m_object); }

    /// The object, or null; takes no reference.
    [[nodiscard]] T* get() const noexcept { return m_object; }
    /// @{
    /// Access to the object, which must not be null.
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    /// @}
    /// Whether there is an object.
    explicit operator bool() const noexcept { return m_object != nullptr; }

    friend bool operator==(const SmartPointer& a, const SmartPointer& b) noexcept { return a.m_object == b.m_object; }
    friend bool operator==(const SmartPointer& a, std::nullptr_t) noexcept { return !a.m_object; }

private:
    void acquire() const noexcept {
        if (m_object) {
            m_object->incRef();
        }
    }

    T* m_object = nullptr;
};

/// Creates a T and returns the only reference to it.
template <class T, class... Arguments>
[[nodiscard]] SmartPointer<T> makeSmart(Arguments&&... arguments) {
    return SmartPointer<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

/// As static_cast: the caller knows the dynamic type.
template <class T, class U>
[[nodiscard]] SmartPointer<T> staticPointerCast(const SmartPointer<U>& pointer) noexcept {
    return SmartPointer<T>::share(static_cast<T*>(pointer.get()));
}

} // namespace Kiln

template <class T>
struct std::hash<Kiln::SmartPointer<T>> {
    std::size_t operator()(const Kiln::SmartPointer<T>& pointer) const noexcept {
        return std::hash<T*>()(pointer.get());
    }
};
