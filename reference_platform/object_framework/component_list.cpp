#include <object_framework/component_list.h>

#include <algorithm>

namespace Kiln::Tessel {

ComponentKind ComponentKinds::search(ComponentTypeId type, IComponentDeleter deleter) {
    const auto known =
        std::find_if(m_kinds.begin(), m_kinds.end(), [&](const Kind& kind) { return kind.isOf(type, deleter); });
    if (known != m_kinds.end()) {
        return known->number;
    }
    const Kind kind{deleter, type, static_cast<ComponentKind>(m_kinds.size())};
    m_firstOfType.resize(std::max(m_firstOfType.size(), type + std::size_t{1}));
    m_kinds.reserve(m_kinds.size() + 1); // So that the second push_back does not throw.
    m_types.push_back(type);
    m_kinds.push_back(kind);
    if (!m_firstOfType[type].deleter.deallocate) {
        m_firstOfType[type] = kind;
    }
    return kind.number;
}

} // namespace Kiln::Tessel
