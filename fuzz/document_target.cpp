// Documents: read, written and read again without a change, as a tree of sections and as a prefab.

#include "fuzz_target.h"

#include <resource/data_section.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/loading.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::Fuzz {

namespace {

using Tessel::GameObjectPrefab;

/// Whether two trees have the same names and texts. Without recursion, because elements may be nested deeply.
[[nodiscard]] bool haveSameContent(DataNode first, DataNode second) {
    std::vector<std::pair<DataNode, DataNode>> pending{{first, second}};
    while (!pending.empty()) {
        const auto [a, b] = pending.back();
        pending.pop_back();
        if (a.name() != b.name() || a.text() != b.text()) {
            return false;
        }
        DataNode childOfA = a.firstChild();
        DataNode childOfB = b.firstChild();
        for (; childOfA && childOfB; childOfA = childOfA.nextSibling(), childOfB = childOfB.nextSibling()) {
            pending.emplace_back(childOfA, childOfB);
        }
        if (childOfA || childOfB) {
            return false;
        }
    }
    return true;
}

void checkDocument(const DataSection& document) {
    const std::string written = document.toText();
    const SmartPointer<DataSection> again = DataSection::fromText(written, "written document");
    require(static_cast<bool>(again), "a written document is well formed");
    require(haveSameContent(document.node(), again->node()), "a document is the same after writing and reading");
    require(again->toText() == written, "a document has one text");
}

[[nodiscard]] std::string textOf(const GameObjectPrefab& prefab) {
    const SmartPointer<DataSection> section = DataSection::create("prefab");
    prefab.serialize(section);
    return section->toText();
}

void checkHierarchy(const GameObjectPrefab& prefab) {
    for (std::size_t id = 0; id < prefab.nodesCount(); ++id) {
        const std::size_t parent = prefab.parentNodeId(id);
        require(parent == GameObjectPrefab::INVALID_NODE_ID || parent < prefab.nodesCount(), "a parent is a node");
        require(!prefab.isRootNode(id) || parent == GameObjectPrefab::INVALID_NODE_ID, "a root has no parent");
    }
    require(!prefab.getGameObject(prefab.nodesCount()), "there is no node beyond the last");
}

void checkPrefab(const SmartPointer<DataSection>& document) {
    Tessel::DeseriralizeErrorHandler handler{"Input", [](const std::string& /*message*/) {}};
    Tessel::Loading::validateHierarchy(document, handler);
    const std::unique_ptr<GameObjectPrefab> prefab = GameObjectPrefab::loadHierarchy(document, nullptr);
    require(prefab != nullptr, "a section always yields a prefab");
    checkHierarchy(*prefab);
    static_cast<void>(prefab->getNestedPrefabs());
    static_cast<void>(GameObjectPrefab::getNestedPrefabs(document));

    const std::string written = textOf(*prefab);
    const SmartPointer<DataSection> section = DataSection::fromText(written, "written prefab");
    require(static_cast<bool>(section), "a written prefab is well formed");
    const std::unique_ptr<GameObjectPrefab> again = GameObjectPrefab::loadHierarchy(section, nullptr);
    require(again->nodesCount() == prefab->nodesCount(), "a prefab has as many nodes after writing and reading");
    require(textOf(*again) == written, "a prefab is the same after writing and reading");

    again->regenerateHierarchyUuids(Uuid(1, 2));
    require(again->nodesCount() == prefab->nodesCount(), "new UUIDs do not change the number of nodes");
    static_cast<void>(textOf(*again));
}

} // namespace

} // namespace Kiln::Fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kiln;
    using namespace Kiln::Fuzz;
    static Environment environment("document");
    const SmartPointer<DataSection> document = DataSection::fromText(asText(data, size), "input");
    environment.countInput(static_cast<bool>(document));
    if (document) {
        checkDocument(*document);
        checkPrefab(document);
    }
    return 0;
}
