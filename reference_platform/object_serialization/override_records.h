#pragma once

#include <common/uuid.h>
#include <core/safe_reference_count.h>
#include <core/smart_pointer.h>
#include <object_serialization/export.h>
#include <resource/data_section.h>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Kiln {

/// The overridden properties of one component: sections that are applied one after the other, so that the last one
/// that sets a property wins. Immutable once its OverrideRecords is in use.
class ComponentOverrideRecords {
public:
    explicit ComponentOverrideRecords(std::string componentName) : m_componentName(std::move(componentName)) {}

    [[nodiscard]] const std::string& componentName() const noexcept { return m_componentName; }
    [[nodiscard]] const std::vector<SmartPointer<DataSection>>& properties() const noexcept { return m_properties; }

    void add(SmartPointer<DataSection> properties) { m_properties.push_back(std::move(properties)); }
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
    /// Null when the component has none.
    [[nodiscard]] const ComponentOverrideRecords* find(std::string_view componentName) const noexcept;

    /// The records of a component, created when it has none.
    ComponentOverrideRecords& get(std::string_view componentName);

    void merge(const GameObjectOverrideRecords& after);

private:
    std::vector<ComponentOverrideRecords> m_components; ///< Searched linearly, since they are few.
};

/// Per-instance override records, keyed by the UUID of a game object in the prefab that contains it and by the
/// component's registered name. The zero UUID addresses the root.
///
/// Ownership: shared; immutable once shared. Threads: one at a time while it is built, any afterwards.
class KILN_OBJECT_SERIALIZATION_EXPORT OverrideRecords final : public SafeReferenceCount {
public:
    OverrideRecords();
    ~OverrideRecords() override;

    /// Parses override data. Null for an empty text; null with one error in the log for a text that is not well formed
    /// or whose root is not `overrides`. A record with a malformed UUID or without component type is skipped with an
    /// error.
    [[nodiscard]] static SmartPointer<OverrideRecords> create(const std::string& text);

    /// A copy that can be changed.
    [[nodiscard]] SmartPointer<OverrideRecords> clone() const;

    [[nodiscard]] bool empty() const noexcept { return m_objects.empty(); }

    /// Adds every record of `after`; a property that both set takes the value of `after`.
    void merge(const OverrideRecords& after);

    /// Inserts records of one component before the existing ones, which therefore win.
    void addBefore(const Uuid& objectUuid, const ComponentOverrideRecords& before);

    /// The records of a game object, or null.
    [[nodiscard]] const GameObjectOverrideRecords* getRecord(const Uuid& objectUuid) const;

    /// The records of one component, or null.
    [[nodiscard]] const ComponentOverrideRecords* getComponentRecord(const Uuid& objectUuid,
                                                                     std::string_view componentName) const;

private:
    void addObject(const SmartPointer<DataSection>& document, DataNode gameObject);

    std::unordered_map<Uuid, GameObjectOverrideRecords> m_objects;
};

} // namespace Kiln
