#pragma once

#include <common/uuid.h>
#include <core/smart_pointer.h>
#include <resource/data_section.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln {

/// The overridden properties of one component: sections that are applied one after the other.
class ComponentOverrideRecords {
public:
    explicit ComponentOverrideRecords(std::string componentName) : m_componentName(std::move(componentName)) {}
    [[nodiscard]] const std::string& componentName() const { return m_componentName; }

    [[nodiscard]] const std::vector<SmartPointer<DataSection>>& properties() const { return m_properties; }

    void add(SmartPointer<DataSection> properties) { m_properties.push_back(std::move(properties)); }
    void merge(const ComponentOverrideRecords& after) {
        m_properties.insert(m_properties.end(), after.m_properties.begin(), after.m_properties.end());
    }
    void addBefore(const ComponentOverrideRecords& before) {
        m_properties.insert(m_properties.begin(), before.m_properties.begin(), before.m_properties.end());
    }

private:
    std::string m_componentName;
    std::vector<SmartPointer<DataSection>> m_properties; ///< Not changed any more.
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
    friend class OverrideText;

    std::unordered_map<Uuid, GameObjectOverrideRecords> m_objects;
};

/// Override data that several instances use: parsed once, its problem reported as often as wanted.
class OverrideText {
public:
    MINIMAL_API explicit OverrideText(const std::string& text);

    [[nodiscard]] const SmartPointer<OverrideRecords>& records() const { return m_records; }
    MINIMAL_API void reportProblems() const;

private:
    SmartPointer<OverrideRecords> m_records;
    std::string m_problem; ///< Empty if there is none.
};

} // namespace Kiln
