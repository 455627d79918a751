#pragma once

#include <common/uuid.h>
#include <core/smart_pointer.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace Kiln {

/// Texts of the overridden properties of one component, by name.
class ComponentOverrideRecords {
public:
    explicit ComponentOverrideRecords(std::string componentName) : m_componentName(std::move(componentName)) {}
    [[nodiscard]] const std::string& componentName() const { return m_componentName; }

    std::map<std::string, std::string> properties;

private:
    std::string m_componentName;
};

/// The overrides of one game object.
class GameObjectOverrideRecords {
public:
    /// Null when the component has none.
    [[nodiscard]] const ComponentOverrideRecords* find(std::string_view componentName) const {
        const auto found = m_components.find(componentName);
        return found == m_components.end() ? nullptr : &found->second;
    }
    ComponentOverrideRecords& get(const std::string& componentName) {
        return m_components.try_emplace(componentName, componentName).first->second;
    }
    [[nodiscard]] const auto& components() const { return m_components; }

private:
    std::map<std::string, ComponentOverrideRecords, std::less<>> m_components;
};

/// This platform's override data has one record per line: "<uuid> <component> <property> <text>".
class MINIMAL_API OverrideRecords final : public SafeReferenceCount {
public:
    OverrideRecords() = default;
    ~OverrideRecords() override;

    /// Null for an empty text and, with an error in the log, for one that does not parse.
    [[nodiscard]] static SmartPointer<OverrideRecords> create(const std::string& text);
    [[nodiscard]] SmartPointer<OverrideRecords> clone() const { return makeSmart<OverrideRecords>(*this); }

    [[nodiscard]] bool empty() const { return m_objects.empty(); }
    void merge(const OverrideRecords& after);

    /// Adds records that lose to the present ones.
    void addBefore(const Uuid& objectUuid, const ComponentOverrideRecords& before);

    [[nodiscard]] const GameObjectOverrideRecords* getRecord(const Uuid& objectUuid) const;
    [[nodiscard]] const ComponentOverrideRecords* getComponentRecord(const Uuid& objectUuid,
                                                                     std::string_view componentName) const;

private:
    std::unordered_map<Uuid, GameObjectOverrideRecords> m_objects;
};

} // namespace Kiln
