#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_serialization/override_records.h>
#include <tessel_asset_loading/prefab_component.h>

#include <optional>
#include <string>
#include <unordered_map>

namespace Kiln::Tessel::detail {

/// The override records that integration points have for the prefabs nested there. One creation may create a point many
/// times, once per instance of the prefab that contains it: each text is parsed once, and the instances share the
/// records. The problems of a text are still reported for every instance.
///
/// Owner: the gathering of a creation. Keeps the descriptors and the records alive that it has been given. Threads: the
/// main thread.
class PointRecords : NonCopyable {
public:
    using PrefabDescriptor = ComponentDescriptor<PrefabComponent>;

    class Point : NonCopyable {
    public:
        explicit Point(PrefabDescriptor& component);

        /// Reports the problems of the prefab's own override data.
        void reportOwnProblems() const { m_own.reportProblems(); }

        /// The prefab's own records, followed by those of `data`, whose problems are reported; null when there are
        /// none. `data` is the point's override data after applying `outer` (null for none), which `owner` holds.
        [[nodiscard]] SmartPointer<OverrideRecords> find(const std::string& data, const ComponentOverrideRecords* outer,
                                                         const SmartPointer<OverrideRecords>& owner);

    private:
        /// The effect of outer overrides.
        struct Overridden {
            SmartPointer<OverrideRecords> owner; ///< Keeps the address of the outer overrides in use.
            std::optional<OverrideText> data;    ///< Empty when it is the prefab's own.
            SmartPointer<OverrideRecords> records;
        };

        SmartPointer<PrefabDescriptor> m_component; ///< Keeps the address of the descriptor in use.
        OverrideText m_own;
        std::unordered_map<const ComponentOverrideRecords*, Overridden> m_overridden; ///< By outer overrides, or null.
    };

    [[nodiscard]] Point& point(PrefabDescriptor& component);

    /// Frees the records of one point. False when there is none.
    bool removeOne() noexcept {
        if (m_points.empty()) {
            return false;
        }
        m_points.erase(m_points.begin());
        return true;
    }

private:
    std::unordered_map<const PrefabDescriptor*, Point> m_points;
};

} // namespace Kiln::Tessel::detail
