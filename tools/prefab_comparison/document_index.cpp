#include <prefab_comparison/document_index.h>

#include <common/white_space.h>
#include <prefab_inspection/composition/prefab_file.h>

#include <algorithm>
#include <bit>
#include <numeric>
#include <unordered_set>

namespace Kiln::PrefabComparison {

using PrefabInspection::NestingTypes;
using PrefabInspection::StoredItem;
using PrefabInspection::StoredObject;
using PrefabInspection::StoredPool;

namespace {

constexpr const char* PARENT_PROPERTY = "parent";
constexpr std::size_t MAX_PATH_NAMES = 100;

} // namespace

DocumentIndex::DocumentIndex(const PrefabInspection::PrefabDocument& document) : m_document(document) {
    indexUuids();
    indexComponents();
}

void DocumentIndex::indexUuids() {
    const std::vector<StoredObject>& objects = m_document.objects;
    m_slots.assign(std::bit_ceil(objects.size() * 2 + 1), 0);
    std::unordered_map<std::size_t, std::size_t> lastWithSameUuid; // By the first one.
    for (std::size_t object = 0; object < objects.size(); ++object) {
        if (!objects[object].isUuidReadable) {
            continue;
        }
        std::size_t slot = objects[object].uuid.hash() & (m_slots.size() - 1);
        while (m_slots[slot] != 0 && objects[m_slots[slot] - 1].uuid != objects[object].uuid) {
            slot = (slot + 1) & (m_slots.size() - 1);
        }
        if (m_slots[slot] == 0) {
            m_slots[slot] = static_cast<std::uint32_t>(object + 1);
        } else {
            const std::size_t first = m_slots[slot] - 1;
            std::size_t& last = lastWithSameUuid.try_emplace(first, first).first->second;
            m_nextWithSameUuid.emplace(last, object);
            last = object;
        }
    }
}

std::size_t DocumentIndex::findObject(const Uuid& uuid) const noexcept {
    std::size_t slot = uuid.hash() & (m_slots.size() - 1);
    while (m_slots[slot] != 0) {
        if (m_document.objects[m_slots[slot] - 1].uuid == uuid) {
            return m_slots[slot] - 1;
        }
        slot = (slot + 1) & (m_slots.size() - 1);
    }
    return NONE;
}

std::size_t DocumentIndex::nextWithSameUuid(std::size_t object) const {
    const auto next = m_nextWithSameUuid.find(object);
    return next == m_nextWithSameUuid.end() ? NONE : next->second;
}

void DocumentIndex::indexComponents() {
    const std::size_t stray = objectsCount();
    const auto forEach = [this, stray](const auto& visit) {
        for (const StoredPool& pool : m_document.pools) {
            for (const StoredItem& item : pool.items) {
                visit(static_cast<std::size_t>(std::min<std::uint64_t>(item.object.value, stray)), pool, item);
            }
        }
    };
    m_firstByObject.assign(stray + 2, 0);
    forEach([this](std::size_t object, const StoredPool&, const StoredItem&) { ++m_firstByObject[object + 1]; });
    std::partial_sum(m_firstByObject.begin(), m_firstByObject.end(), m_firstByObject.begin());
    m_components.resize(m_firstByObject.back());
    std::vector<std::size_t> next = m_firstByObject;
    forEach([this, &next](std::size_t object, const StoredPool& pool, const StoredItem& item) {
        m_components[next[object]++] = {&pool, &item};
    });
}

std::span<const DocumentIndex::Component> DocumentIndex::components(std::size_t object) const noexcept {
    return std::span(m_components)
        .subspan(m_firstByObject[object], m_firstByObject[object + 1] - m_firstByObject[object]);
}

const DocumentIndex::Component* DocumentIndex::findComponent(std::size_t object, std::string_view type,
                                                             std::size_t occurrence) const noexcept {
    for (const Component& component : components(object)) {
        if (component.pool->type == type && occurrence-- == 0) {
            return &component;
        }
    }
    return nullptr;
}

std::optional<DocumentIndex::Parent> DocumentIndex::parent(std::size_t object) const {
    for (const Component& component : components(object)) {
        if (component.pool->typeId == NestingTypes::get().hierarchy) {
            Parent parent;
            parent.element = component.item->properties.child(PARENT_PROPERTY);
            if (parent.element) {
                std::string scratch;
                const std::optional<Uuid> uuid = Uuid::fromString(trimWhiteSpace(parent.element.text(scratch)));
                parent.uuid = uuid.value_or(Uuid::ZERO);
                parent.isReadable = uuid.has_value();
            }
            return parent;
        }
    }
    return std::nullopt;
}

std::string DocumentIndex::name(std::size_t object) const {
    return m_document.objects[object].nameElement.text();
}

std::string DocumentIndex::path(std::size_t object) const {
    std::vector<std::size_t> chain;
    std::unordered_set<std::size_t> listed;
    while (object != NONE && chain.size() < MAX_PATH_NAMES && listed.insert(object).second) {
        chain.push_back(object);
        const std::optional<Parent> above = parent(object);
        object = above && above->isReadable ? findObject(above->uuid) : NONE;
    }
    std::string path = chain.size() == MAX_PATH_NAMES ? "..." : "";
    for (auto next = chain.rbegin(); next != chain.rend(); ++next) {
        const std::string own = name(*next);
        path += path.empty() ? "" : "/";
        path += own.empty() ? m_document.objects[*next].uuid.toString() : own;
    }
    return path;
}

} // namespace Kiln::PrefabComparison
