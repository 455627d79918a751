#pragma once

#include <core/export.h>

#include <atomic>
#include <cstdint>
#include <string_view>
#include <utility>

namespace Kiln {

/// An immutable text that all copies share. An object is one pointer in size, and copying it allocates nothing; the
/// empty text needs no allocation at all.
///
/// Threads: copies of one text may be made, read and destroyed on any thread; assigning to a SharedText needs exclusive
/// access to that object.
class KILN_CORE_EXPORT SharedText {
public:
    SharedText() noexcept = default;
    /// Copies the text; an empty one needs no allocation.
    explicit SharedText(std::string_view text);

    /// @{
    /// Shares the text of another object, or takes it over. Allocates nothing.
    SharedText(const SharedText& other) noexcept : m_shared(other.m_shared) {
        if (m_shared) {
            m_shared->count.fetch_add(1, std::memory_order_relaxed);
        }
    }
    SharedText(SharedText&& other) noexcept : m_shared(std::exchange(other.m_shared, nullptr)) {}
    SharedText& operator=(SharedText other) noexcept {
        std::swap(m_shared, other.m_shared);
        return *this;
    }
    /// @}
    ~SharedText() {
        if (m_shared) {
            release();
        }
    }

    /// A null character, which is not counted, follows the text. Valid as long as any copy exists.
    [[nodiscard]] std::string_view view() const noexcept {
        return m_shared ? std::string_view(m_shared->text(), m_shared->size) : std::string_view("");
    }

private:
    /// The header in front of the characters.
    struct Shared {
        std::atomic<std::uint32_t> count;
        std::uint32_t size;

        [[nodiscard]] char* text() noexcept { return reinterpret_cast<char*>(this + 1); }
    };

    void release() noexcept;

    Shared* m_shared = nullptr;
};

} // namespace Kiln
