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
        throw std::length_error("A shared text can't be so long");
    }
    m_shared =
        ::new (::operator new(sizeof(Shared) + text.size() + 1)) Shared{1, static_cast<std::uint32_t>(text.size())};
    std::memcpy(m_shared->text(), text.data(), text.size());
    m_shared->text()[text.size()] = '\0';
}

void SharedText::release() noexcept {
    // Whoever is last must have seen all that the others did with the text.
    if (m_shared->count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        ::operator delete(m_shared);
    }
}

} // namespace Kiln
