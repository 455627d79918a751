#pragma once

#include <core/safe_reference_count.h>

#include <cstddef>
#include <utility>

namespace Kiln {

template <class T>
class SmartPointer {
public:
    SmartPointer() = default;
    SmartPointer(std::nullptr_t) {}
    SmartPointer(const SmartPointer& other) : SmartPointer(other.m_object, true) {}
    SmartPointer(SmartPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    template <class U>
    SmartPointer(const SmartPointer<U>& other) : SmartPointer(other.get(), true) {}
    ~SmartPointer() {
        if (m_object) {
            m_object->decRef();
        }
    }
    SmartPointer& operator=(SmartPointer other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }

    /// Takes over the first reference to a new object.
    [[nodiscard]] static SmartPointer adopt(T* object) { return SmartPointer(object, false); }

    /// A further reference to an object that has one.
    [[nodiscard]] static SmartPointer share(T* object) { return SmartPointer(object, true); }

    void swap(SmartPointer& other) noexcept { std::swap(m_object, other.m_object); }
    void reset() { *this = SmartPointer(); }
    [[nodiscard]] T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }
    friend bool operator==(const SmartPointer& a, const SmartPointer& b) { return a.m_object == b.m_object; }

private:
    SmartPointer(T* object, bool isNewReference) : m_object(object) {
        if (object && isNewReference) {
            object->incRef();
        }
    }

    T* m_object = nullptr;
};

template <class T, class... Arguments>
[[nodiscard]] SmartPointer<T> makeSmart(Arguments&&... arguments) {
    return SmartPointer<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

} // namespace Kiln
