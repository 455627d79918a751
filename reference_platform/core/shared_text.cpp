#include <core/shared_text.h>

#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace Kiln {

SharedText::SharedText(std::string_view text) {
    if (text.empty()) {
        return;
    }
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw std::length_error("The text is too long for a SharedText");
    }
    m_shared =
        ::new (::operator new(sizeof(Shared) + text.size() + 1)) Shared{1, static_cast<std::uint32_t>(text.size())};
    std::memcpy(m_shared->text(), text.data(), text.size());
    m_shared->text()[text.size()] = '\0';
}

void SharedText::release() noexcept {
    // Acquire and release order all other accesses to the text before its deallocation.
    if (m_shared->count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        ::operator delete(m_shared);
    }
}

} // namespace Kiln
