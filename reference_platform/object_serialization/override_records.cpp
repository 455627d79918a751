#include <object_serialization/override_records.h>

#include <common/white_space.h>
#include <core/log.h>

#include <optional>

namespace Kiln {

namespace {

constexpr const char* SOURCE = "object_serialization/override_records";
constexpr const char* DATA_NAME = "override data"; ///< Stands for the text in messages.

[[nodiscard]] DebugMessageHelper errorLog() {
    return {0, LogSeverity::ERROR, "", SOURCE};
}

} // namespace

const ComponentOverrideRecords* GameObjectOverrideRecords::find(std::string_view componentName) const noexcept {
    for (const ComponentOverrideRecords& component : m_components) {
        if (component.componentName() == componentName) {
            return &component;
        }
    }
    return nullptr;
}

ComponentOverrideRecords& GameObjectOverrideRecords::get(std::string_view componentName) {
    if (const ComponentOverrideRecords* const found = find(componentName)) {
        return const_cast<ComponentOverrideRecords&>(*found);
    }
    return m_components.emplace_back(std::string(componentName));
}

void GameObjectOverrideRecords::merge(const GameObjectOverrideRecords& after) {
    for (const ComponentOverrideRecords& component : after.m_components) {
        get(component.componentName()).merge(component);
    }
}

OverrideRecords::OverrideRecords() = default;
OverrideRecords::~OverrideRecords() = default;

SmartPointer<OverrideRecords> OverrideRecords::create(const std::string& text) {
    if (text.empty()) {
        return nullptr;
    }
    const SmartPointer<DataSection> document = DataSection::fromText(text, DATA_NAME);
    if (!document) {
        return nullptr;
    }
    if (document->sectionName() != "overrides") {
        errorLog().message("The root of the override data is '%s' instead of 'overrides'",
                           std::string(document->sectionName()).c_str());
        return nullptr;
    }
    SmartPointer<OverrideRecords> records = makeSmart<OverrideRecords>();
    for (DataNode child = document->node().firstChild(); child; child = child.nextSibling()) {
        if (child.name() == "gameObject") {
            records->addObject(document, child);
        }
    }
    return records;
}

void OverrideRecords::addObject(const SmartPointer<DataSection>& document, DataNode gameObject) {
    const std::string uuidText = gameObject.child("uuid").text();
    const std::optional<Uuid> uuid = Uuid::fromString(trimWhiteSpace(uuidText));
    if (!uuid) {
        errorLog().message("Override data, line %zu: '%s' is not a UUID; the record is skipped",
                           document->positionOf(gameObject).line, uuidText.c_str());
        return;
    }
    for (DataNode child = gameObject.firstChild(); child; child = child.nextSibling()) {
        if (child.name() != "component") {
            continue;
        }
        const std::string type = child.child("type").text();
        const DataNode properties = child.child("properties");
        if (type.empty()) {
            errorLog().message("Override data, line %zu: a component without type is skipped",
                               document->positionOf(child).line);
        } else if (properties) {
            m_objects[*uuid].get(type).add(makeSmart<DataSection>(*document, properties));
        }
    }
}

SmartPointer<OverrideRecords> OverrideRecords::clone() const {
    SmartPointer<OverrideRecords> copy = makeSmart<OverrideRecords>();
    copy->m_objects = m_objects;
    return copy;
}

void OverrideRecords::merge(const OverrideRecords& after) {
    for (const auto& [uuid, object] : after.m_objects) {
        m_objects[uuid].merge(object);
    }
}

void OverrideRecords::addBefore(const Uuid& objectUuid, const ComponentOverrideRecords& before) {
    ComponentOverrideRecords& records = m_objects[objectUuid].get(before.componentName());
    ComponentOverrideRecords merged = before;
    merged.merge(records);
    records = std::move(merged);
}

const GameObjectOverrideRecords* OverrideRecords::getRecord(const Uuid& objectUuid) const {
    const auto found = m_objects.find(objectUuid);
    return found == m_objects.end() ? nullptr : &found->second;
}

const ComponentOverrideRecords* OverrideRecords::getComponentRecord(const Uuid& objectUuid,
                                                                    std::string_view componentName) const {
    const GameObjectOverrideRecords* const object = getRecord(objectUuid);
    return object ? object->find(componentName) : nullptr;
}

} // namespace Kiln
