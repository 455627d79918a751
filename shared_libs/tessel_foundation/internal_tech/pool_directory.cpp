#include <tessel_foundation/internal_tech/pool_directory.h>

namespace Kiln::Tessel {

PoolDirectory::PoolDirectory() = default;
PoolDirectory::~PoolDirectory() = default;

std::size_t PoolDirectory::addBlock(const void* buffer, std::size_t bytes) {
    const std::size_t block = m_buffers.size();
    if (block / WORD_BITS == m_roomWords.size()) {
        m_roomWords.push_back(0);
    }
    const auto begin = reinterpret_cast<std::uintptr_t>(buffer);
    const auto position = std::upper_bound(m_buffers.begin(), m_buffers.end(), begin,
                                           [](std::uintptr_t address, const Buffer& b) { return address < b.begin; });
    m_buffers.insert(position, {begin, begin + bytes, block});
    noteRoom(block);
    return block;
}

std::size_t PoolDirectory::findBlock(const void* address) const noexcept {
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    const auto after = std::upper_bound(m_buffers.begin(), m_buffers.end(), wanted,
                                        [](std::uintptr_t value, const Buffer& b) { return value < b.begin; });
    if (after == m_buffers.begin() || wanted >= (after - 1)->end) {
        return NO_BLOCK;
    }
    return (after - 1)->block;
}

} // namespace Kiln::Tessel
