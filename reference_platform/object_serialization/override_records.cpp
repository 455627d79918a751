#include <object_serialization/override_records.h>

#include <common/white_space.h>
#include <core/formatter.h>
#include <core/log.h>
#include <core/printable_text.h>

#include <algorithm>
#include <optional>

namespace Kiln {

namespace {

constexpr const char* SOURCE = "object_serialization/override_records";
constexpr const char* DATA_NAME = "override data"; ///< Stands for the text in messages.

} // namespace

const ComponentOverrideRecords* GameObjectOverrideRecords::find(std::string_view componentName) const {
    const auto found = m_components.find(componentName);
    if (found != m_components.end()) {
        return &found->second;
    }
    return m_parts.empty() ? nullptr : findInParts(componentName);
}

const ComponentOverrideRecords* GameObjectOverrideRecords::findInParts(std::string_view componentName) const {
    const ComponentOverrideRecords* first = nullptr;
    std::optional<ComponentOverrideRecords> merged;
    for (const GameObjectOverrideRecords* const part : m_parts) {
        const ComponentOverrideRecords* const found = part->find(componentName);
        if (!found) {
            continue;
        }
        if (!first) {
            first = found;
            continue;
        }
        if (!merged) {
            merged = *first;
        }
        merged->merge(*found);
    }
    // Kept only when it is complete, also if an allocation fails.
    return merged ? &m_components.emplace(componentName, std::move(*merged)).first->second : first;
}

ComponentOverrideRecords& GameObjectOverrideRecords::get(std::string_view componentName) {
    const auto found = m_components.find(componentName);
    if (found != m_components.end()) {
        return found->second;
    }
    std::string name(componentName);
    return m_components.try_emplace(name, name).first->second;
}

void GameObjectOverrideRecords::merge(const GameObjectOverrideRecords& after) {
    for (const auto& [name, component] : after.m_components) {
        get(name).merge(component);
    }
}

/// The records stay in the order of the text, in which their memory was allocated. They are found by an ordered list of
/// their UUIDs: a file may have many records, most of which nobody looks up.
struct OverrideRecords::Layer final : SafeReferenceCount {
    struct Position {
        Uuid uuid;
        std::size_t index; ///< Of the record.
    };

    /// Adds a record; the caller sorts the layer afterwards.
    GameObjectOverrideRecords& add(const Uuid& uuid) {
        positions.push_back({uuid, objects.size()});
        return objects.emplace_back();
    }

    /// Merges the records that an object has several times, the later ones into the first.
    void sort() {
        std::stable_sort(positions.begin(), positions.end(),
                         [](const Position& a, const Position& b) { return a.uuid < b.uuid; });
        const auto last = std::unique(positions.begin(), positions.end(), [this](const Position& a, const Position& b) {
            if (a.uuid != b.uuid) {
                return false;
            }
            objects[a.index].merge(objects[b.index]);
            return true;
        });
        positions.erase(last, positions.end());
    }

    [[nodiscard]] const GameObjectOverrideRecords* find(const Uuid& uuid) const {
        const auto found =
            std::lower_bound(positions.begin(), positions.end(), uuid,
                             [](const Position& position, const Uuid& wanted) { return position.uuid < wanted; });
        return found != positions.end() && found->uuid == uuid ? &objects[found->index] : nullptr;
    }

    std::vector<GameObjectOverrideRecords> objects;
    std::vector<Position> positions; ///< In the order of the UUIDs.
};

OverrideRecords::OverrideRecords() = default;
OverrideRecords::~OverrideRecords() = default;

SmartPointer<OverrideRecords> OverrideRecords::create(const std::string& text) {
    const OverrideText parsed(text);
    parsed.reportProblems();
    return parsed.records();
}

SmartPointer<OverrideRecords> OverrideRecords::clone() const {
    SmartPointer<OverrideRecords> copy = makeSmart<OverrideRecords>();
    copy->m_layers = m_layers;
    return copy;
}

bool OverrideRecords::empty() const noexcept {
    return std::all_of(m_layers.begin(), m_layers.end(), [](const auto& layer) { return layer->objects.empty(); });
}

void OverrideRecords::merge(const OverrideRecords& after) {
    const std::vector<SmartPointer<Layer>> added = after.m_layers; // A copy, because `after` may be this object.
    m_layers.insert(m_layers.end(), added.begin(), added.end());
    m_merged.clear();
}

void OverrideRecords::addBefore(const Uuid& objectUuid, const ComponentOverrideRecords& before) {
    SmartPointer<Layer> layer = makeSmart<Layer>();
    layer->add(objectUuid).get(before.componentName()).merge(before);
    m_layers.insert(m_layers.begin(), std::move(layer));
    m_merged.clear();
}

const GameObjectOverrideRecords* OverrideRecords::getRecord(const Uuid& objectUuid) const {
    if (const auto merged = m_merged.find(objectUuid); merged != m_merged.end()) {
        return &merged->second;
    }
    std::vector<const GameObjectOverrideRecords*> parts;
    const GameObjectOverrideRecords* first = nullptr;
    for (const SmartPointer<Layer>& layer : m_layers) {
        const GameObjectOverrideRecords* const found = layer->find(objectUuid);
        if (!found) {
            continue;
        }
        if (first) {
            if (parts.empty()) {
                parts.push_back(first);
            }
            parts.push_back(found);
        } else {
            first = found;
        }
    }
    return parts.empty() ? first : &m_merged.emplace(objectUuid, std::move(parts)).first->second;
}

const ComponentOverrideRecords* OverrideRecords::getComponentRecord(const Uuid& objectUuid,
                                                                    std::string_view componentName) const {
    const GameObjectOverrideRecords* const object = getRecord(objectUuid);
    return object ? object->find(componentName) : nullptr;
}

OverrideText::OverrideText(const std::string& text) {
    if (text.empty()) {
        return;
    }
    std::string problem;
    const SmartPointer<DataSection> document = DataSection::fromText(text, DATA_NAME, &problem);
    if (document) {
        parse(document);
    } else {
        m_problems.push_back(std::move(problem));
    }
}

void OverrideText::reportProblems() const {
    for (const std::string& problem : m_problems) {
        DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE).message("%s", problem.c_str());
    }
}

void OverrideText::parse(const SmartPointer<DataSection>& document) {
    if (document->sectionName() != "overrides") {
        m_problems.push_back(formatText("The root of the override data is '%s' instead of 'overrides'",
                                        shortenedText(document->sectionName()).c_str()));
        return;
    }
    SmartPointer<OverrideRecords::Layer> layer = makeSmart<OverrideRecords::Layer>();
    for (DataNode child = document->node().firstChild(); child; child = child.nextSibling()) {
        if (child.name() == "gameObject") {
            addObject(*layer, document, child);
        }
    }
    layer->sort();
    m_records = makeSmart<OverrideRecords>();
    m_records->m_layers.push_back(std::move(layer));
}

void OverrideText::addObject(OverrideRecords::Layer& layer, const SmartPointer<DataSection>& document,
                             DataNode gameObject) {
    const std::string uuidText = gameObject.child("uuid").text();
    const std::optional<Uuid> uuid = Uuid::fromString(trimWhiteSpace(uuidText));
    if (!uuid) {
        m_problems.push_back(formatText("Override data, line %zu: '%s' is not a UUID; the record is skipped",
                                        document->positionOf(gameObject).line, shortenedText(uuidText).c_str()));
        return;
    }
    GameObjectOverrideRecords* object = nullptr; // Added with its first component.
    for (DataNode child = gameObject.firstChild(); child; child = child.nextSibling()) {
        if (child.name() != "component") {
            continue;
        }
        const std::string type = child.child("type").text();
        const DataNode properties = child.child("properties");
        if (type.empty()) {
            m_problems.push_back(formatText("Override data, line %zu: a component without type is skipped",
                                            document->positionOf(child).line));
        } else if (properties) {
            if (!object) {
                object = &layer.add(*uuid);
            }
            object->get(type).add(makeSmart<DataSection>(*document, properties));
        }
    }
}

} // namespace Kiln
