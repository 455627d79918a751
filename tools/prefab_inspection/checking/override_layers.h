#pragma once

#include <core/non_copyable.h>
#include <prefab_inspection/checking/file_facts.h>
#include <prefab_inspection/checking/override_document.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::PrefabInspection {

/// An override text: the own one of an integration point, or one that overrides give to an integration point.
struct OverrideLayer {
    OverrideLayer(std::string fileName, std::uint32_t point, const Uuid& pointUuid, std::vector<std::size_t> elements,
                  const std::string& text)
        : file(std::move(fileName)),
          object(point),
          objectUuid(pointUuid),
          embedding(std::move(elements)),
          document(text) {}

    std::string file;     ///< The file that contains the text.
    std::uint32_t object; ///< The integration point in that file whose override data contains the text.
    Uuid objectUuid;

    /// The elements whose values contain the text, outermost first (see Anchor).
    std::vector<std::size_t> embedding;
    OverrideDocument document;
};

/// What overrides make of an integration point's own PrefabComponent.
struct PointOverrides {
    DataNode resource; ///< The element that names the nested prefab; null if it is not overridden.
    const OverrideLayer* resourceLayer = nullptr;
    const OverrideLayer* overridesLayer = nullptr; ///< The text that is used besides the own one.

    [[nodiscard]] bool isEmpty() const noexcept { return !resource && !overridesLayer; }
};

/// The override texts of a check, each of which is parsed once. Owns the layers.
class OverrideLayers : NonCopyable {
public:
    /// The integration point's own override text; null if it has none.
    [[nodiscard]] const OverrideLayer* ownLayer(const std::string& file, const NestingFacts& point,
                                                const Uuid& pointUuid);

    /// The overrides of the integration point with that UUID, of which the last ones win.
    [[nodiscard]] PointOverrides overridesOf(const std::vector<const OverrideLayer*>& layers, const Uuid& point);

private:
    void addOverridesOf(const OverrideLayer& layer, const OverriddenObject& object, PointOverrides& overrides);
    [[nodiscard]] const OverrideLayer* innerLayer(const OverrideLayer& layer, DataNode element);

    std::map<std::pair<std::string, std::uint32_t>, std::unique_ptr<OverrideLayer>> m_own;
    std::map<std::pair<const OverrideLayer*, std::ptrdiff_t>, std::unique_ptr<OverrideLayer>> m_inner;
};

} // namespace Kiln::PrefabInspection
