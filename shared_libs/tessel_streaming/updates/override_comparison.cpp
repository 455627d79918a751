#include <tessel_streaming/updates/override_comparison.h>

#include <resource/data_node.h>
#include <resource/data_section.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

namespace {

/// Compares names and texts of two elements and of everything in them.
[[nodiscard]] bool areEqual(DataNode a, DataNode b) {
    std::vector<std::pair<DataNode, DataNode>> pending{{a, b}};
    std::string scratchOfA;
    std::string scratchOfB;
    while (!pending.empty()) {
        const auto [first, second] = pending.back();
        pending.pop_back();
        if (first.name() != second.name() || first.text(scratchOfA) != second.text(scratchOfB)) {
            return false;
        }
        DataNode firstChild = first.firstChild();
        DataNode secondChild = second.firstChild();
        for (; firstChild && secondChild;
             firstChild = firstChild.nextSibling(), secondChild = secondChild.nextSibling()) {
            pending.emplace_back(firstChild, secondChild);
        }
        if (firstChild || secondChild) {
            return false;
        }
    }
    return true;
}

} // namespace

const GameObjectOverrideRecords* findOverrides(const GameObjectPrefab::GameObjectCreationItem& item, bool isFirstItem) {
    if (!item.overrides) {
        return nullptr;
    }
    const GameObjectOverrideRecords* const record = item.overrides->getRecord(item.descriptor->uuid());
    return !record && isFirstItem ? item.overrides->getRecord(Uuid::ZERO) : record;
}

bool areEqual(const ComponentOverrideRecords* a, const ComponentOverrideRecords* b) {
    if (a == b) {
        return true;
    }
    if (!a || !b) {
        return false;
    }
    return std::equal(a->properties().begin(), a->properties().end(), b->properties().begin(), b->properties().end(),
                      [](const SmartPointer<DataSection>& first, const SmartPointer<DataSection>& second) {
                          return first == second || areEqual(first->node(), second->node());
                      });
}

} // namespace Kiln::Tessel::Streaming::detail
