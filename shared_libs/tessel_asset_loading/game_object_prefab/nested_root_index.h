#pragma once

#include <common/uuid.h>
#include <object_framework/game_object.h>
#include <object_serialization/object_creation.h>

#include <unordered_map>

namespace Kiln::Tessel::detail {

/// The nested roots of a creation by the UUIDs of their instances. Main thread.
class NestedRootIndex final : public INestedRoots {
public:
    /// The first object of an instance stays.
    void add(const Uuid& nestedInstanceUuid, GameObject object) { m_objects.try_emplace(nestedInstanceUuid, object); }

    [[nodiscard]] GameObject findNestedRoot(const Uuid& nestedInstanceUuid) override {
        const auto found = m_objects.find(nestedInstanceUuid);
        return found == m_objects.end() ? GameObject::INVALID_GAME_OBJECT : found->second;
    }

    /// False when there is none.
    bool removeOne() noexcept {
        if (m_objects.empty()) {
            return false;
        }
        m_objects.erase(m_objects.begin());
        return true;
    }

private:
    std::unordered_map<Uuid, GameObject> m_objects;
};

} // namespace Kiln::Tessel::detail
