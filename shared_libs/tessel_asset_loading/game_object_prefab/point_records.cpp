#include <tessel_asset_loading/game_object_prefab/point_records.h>

#include <object_serialization/typed_component_descriptor.h>

namespace Kiln::Tessel::detail {

namespace {

/// Null when neither text has records.
[[nodiscard]] SmartPointer<OverrideRecords> merged(const OverrideText& before, const OverrideText& after) {
    if (!before.records() || !after.records()) {
        return before.records() ? before.records() : after.records();
    }
    SmartPointer<OverrideRecords> records = before.records()->clone();
    records->merge(*after.records());
    return records;
}

} // namespace

PointRecords::Point& PointRecords::point(PrefabDescriptor& component) {
    const auto known = m_points.find(&component);
    return known != m_points.end() ? known->second : m_points.try_emplace(&component, component).first->second;
}

PointRecords::Point::Point(PrefabDescriptor& component)
    : m_component(SmartPointer<PrefabDescriptor>::share(&component)),
      m_own(component.prefabProperties().overridesData) {}

SmartPointer<OverrideRecords> PointRecords::Point::find(const std::string& data, const ComponentOverrideRecords* outer,
                                                        const SmartPointer<OverrideRecords>& owner) {
    const auto [entry, isNew] = m_overridden.try_emplace(outer);
    Overridden& overridden = entry->second;
    if (isNew) {
        overridden.owner = owner;
        if (data != m_component->prefabProperties().overridesData) {
            overridden.data.emplace(data);
        }
        overridden.records = merged(m_own, overridden.data ? *overridden.data : m_own);
    }
    (overridden.data ? *overridden.data : m_own).reportProblems();
    return overridden.records;
}

} // namespace Kiln::Tessel::detail
