#include "uuid_table.h"

namespace Kiln::PrefabTool {

using PrefabInspection::StoredObject;

UuidTable::UuidTable(const PrefabInspection::PrefabFile& file, const MakeUuid& makeUuid) : m_path(file.path) {
    m_byObject.reserve(file.document->objects.size());
    for (const StoredObject& object : file.document->objects) {
        if (object.uuid == Uuid::ZERO) {
            m_byObject.push_back(makeUuid(object.uuid));
            continue;
        }
        const auto [entry, isNew] = m_byUuid.try_emplace(object.uuid);
        if (isNew) {
            entry->second = makeUuid(object.uuid);
        }
        m_byObject.push_back(entry->second);
    }
}

const Uuid* UuidTable::find(const Uuid& old) const {
    const auto entry = m_byUuid.find(old);
    return entry != m_byUuid.end() ? &entry->second : nullptr;
}

} // namespace Kiln::PrefabTool
