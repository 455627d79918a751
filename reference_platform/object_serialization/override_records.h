#pragma once

#include <common/uuid.h>
#include <core/safe_reference_count.h>
#include <core/smart_pointer.h>
#include <object_serialization/export.h>
#include <resource/data_section.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln {

/// The overridden properties of one component: sections that are applied one after the other, so that the last one
/// that sets a property wins. Immutable once its OverrideRecords is in use.
class ComponentOverrideRecords {
public:
    /// No properties yet, for the component with that registered name.
    explicit ComponentOverrideRecords(std::string componentName) : m_componentName(std::move(componentName)) {}

    /// Registered name of the component.
    [[nodiscard]] const std::string& componentName() const noexcept { return m_componentName; }
    /// The sections in the order in which they are applied.
    [[nodiscard]] const std::vector<SmartPointer<DataSection>>& properties() const noexcept { return m_properties; }

    /// Appends a section, which is applied last.
    void add(SmartPointer<DataSection> properties) { m_properties.push_back(std::move(properties)); }
    /// Appends the sections of other records.
    void merge(const ComponentOverrideRecords& after) {
        m_properties.insert(m_properties.end(), after.m_properties.begin(), after.m_properties.end());
    }

private:
    std::string m_componentName;
    std::vector<SmartPointer<DataSection>> m_properties;
};

/// The overrides of one game object, by component name.
class KILN_OBJECT_SERIALIZATION_EXPORT GameObjectOverrideRecords {
public:
    GameObjectOverrideRecords() = default;

    /// The merged records of `parts`, which are applied one after the other and must outlive this object. The records
    /// of a component are merged when they are first looked up.
    explicit GameObjectOverrideRecords(std::vector<const GameObjectOverrideRecords*> parts)
        : m_parts(std::move(parts)) {}

    /// Null when the component has none.
    [[nodiscard]] const ComponentOverrideRecords* find(std::string_view componentName) const;

    /// The records of a component, created when it has none. Not for merged records.
    ComponentOverrideRecords& get(std::string_view componentName);

    /// Adds records of an object that is not merged.
    void merge(const GameObjectOverrideRecords& after);

private:
    [[nodiscard]] const ComponentOverrideRecords* findInParts(std::string_view componentName) const;

    std::vector<const GameObjectOverrideRecords*> m_parts; ///< None if this object is not merged.

    /// Of a merged object: the components that have been looked up and that several parts have. A file chooses the
    /// names and their number, so they are kept in order rather than searched linearly or hashed.
    mutable std::map<std::string, ComponentOverrideRecords, std::less<>> m_components;
};

/// Per-instance override records, keyed by the UUID of a game object in the prefab that contains it and by the
/// component's registered name. The zero UUID addresses the root.
///
/// The records are a list of layers, which are applied one after the other. Copies and merged records share layers, so
/// that large records which many instances use exist only once. The records of one object are merged when they are
/// first looked up.
///
/// Ownership: shared; not to be changed once shared. Threads: one at a time, also for lookups.
class KILN_OBJECT_SERIALIZATION_EXPORT OverrideRecords final : public SafeReferenceCount {
public:
    OverrideRecords();
    ~OverrideRecords() override;

    /// Parses override data. Null for an empty text; null with one error in the log for a text that is not well formed
    /// or whose root is not `overrides`. A record with a malformed UUID or without component type is skipped with an
    /// error.
    [[nodiscard]] static SmartPointer<OverrideRecords> create(const std::string& text);

    /// A copy that can be changed. Takes constant time.
    [[nodiscard]] SmartPointer<OverrideRecords> clone() const;

    /// Whether there are no records.
    [[nodiscard]] bool empty() const noexcept;

    /// Adds every record of `after`; a property that both set takes the value of `after`. Takes constant time.
    void merge(const OverrideRecords& after);

    /// Inserts records of one component before the existing ones, which therefore win.
    void addBefore(const Uuid& objectUuid, const ComponentOverrideRecords& before);

    /// The records of a game object, or null. Valid until these records are changed.
    [[nodiscard]] const GameObjectOverrideRecords* getRecord(const Uuid& objectUuid) const;

    /// The records of one component, or null. Valid until these records are changed.
    [[nodiscard]] const ComponentOverrideRecords* getComponentRecord(const Uuid& objectUuid,
                                                                     std::string_view componentName) const;

private:
    friend class OverrideText;

    /// The records of one text, or those of one call of addBefore(). Immutable.
    struct Layer;

    std::vector<SmartPointer<Layer>> m_layers;

    /// The records of objects that several layers have, as far as they have been looked up.
    mutable std::unordered_map<Uuid, GameObjectOverrideRecords> m_merged;
};

/// Override data that several instances use: a text is parsed only once, although its problems are reported every time
/// that it is used.
///
/// Owner: the creation of the instances. Threads: one at a time.
class KILN_OBJECT_SERIALIZATION_EXPORT OverrideText {
public:
    /// Parses the text as OverrideRecords::create() does, but logs nothing.
    explicit OverrideText(const std::string& text);

    /// The result of OverrideRecords::create(). Everybody shares the records, so they must not be changed.
    [[nodiscard]] const SmartPointer<OverrideRecords>& records() const noexcept { return m_records; }

    /// Logs the messages of OverrideRecords::create().
    void reportProblems() const;

private:
    void parse(const SmartPointer<DataSection>& document);
    void addObject(OverrideRecords::Layer& layer, const SmartPointer<DataSection>& document, DataNode gameObject);

    SmartPointer<OverrideRecords> m_records;
    std::vector<std::string> m_problems; ///< In the order of the text.
};

} // namespace Kiln
