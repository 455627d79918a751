#pragma once

#include <prefab_inspection/checking/pending_finding.h>
#include <prefab_inspection/checking/value_check.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Kiln::PrefabInspection {

/// The names of all component types that the process knows.
[[nodiscard]] std::vector<std::string> componentNames();

/// Makes findings of the problems in the values of one component.
class ValueProblems final : public IValueSink {
public:
    using OnLink = std::function<void(DataNode element, const Uuid& target)>;

    /// `embedding` is that of the anchors (see Anchor). `onLink` receives the links that can be read.
    ValueProblems(std::string component, std::uint32_t object, std::vector<std::size_t> embedding,
                  std::vector<PendingFinding>& findings, OnLink onLink);

    void onUnknownProperty(DataNode element, const mirra::BaseStaticMetaObject& type) override;
    void onUnknownElement(DataNode element) override;
    void onElementInScalar(DataNode element) override;
    void onRepeatedProperty(DataNode element) override;
    void onUnreadableValue(DataNode element, const mirra::ValueType& type, std::string_view text) override;
    void onTooDeepValue(DataNode element) override;
    void onLink(DataNode element, const Uuid& target) override { m_onLink(element, target); }

private:
    PendingFinding& add(FindingCode code, Severity severity, Anchor anchor, DataNode element);

    std::string m_component;
    std::uint32_t m_object;
    std::vector<std::size_t> m_embedding;
    std::vector<PendingFinding>& m_findings;
    OnLink m_onLink;
};

} // namespace Kiln::PrefabInspection
