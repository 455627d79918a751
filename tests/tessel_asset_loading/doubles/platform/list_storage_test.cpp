#include "allocation_log.h"
#include <tessel_asset_loading/support/document_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;

/// The allocations of the list of nodes.
class ListStorage : public DocumentFixture {
protected:
    /// Not a power of two, as the sizes of lists that grow step by step are.
    static constexpr std::size_t NODES = 1000;
    static constexpr std::size_t LIST_BYTES = NODES * sizeof(SmartPointer<GameObjectDescriptor>);

    ListStorage() {
        PrefabText document;
        for (std::size_t i = 0; i < NODES; ++i) {
            document.root(id(i));
        }
        section = document.section();
    }

    SmartPointer<DataSection> section;
};

TEST_F(ListStorage, deserialize_takesRoomForThePoolAtOnce) {
    const AllocationLog allocations;
    prefab.deserialize(section, nullptr);
    EXPECT_EQ(allocations.count(LIST_BYTES), 1U);
}

TEST_F(ListStorage, deserialize_nodesThatAreThereDoNotAddToTheRoom) {
    prefab.addGameObject(makeNode(id(1)));
    const AllocationLog allocations;
    prefab.deserialize(section, nullptr);
    EXPECT_EQ(allocations.count(LIST_BYTES), 1U);
    EXPECT_EQ(prefab.nodesCount(), NODES + 1);
}

TEST_F(ListStorage, deserialize_roomIsThere_takesNone) {
    prefab.deserialize(section, nullptr);
    prefab.clear();
    const AllocationLog allocations;
    prefab.deserialize(section, nullptr);
    EXPECT_EQ(allocations.count(LIST_BYTES), 0U);
    EXPECT_EQ(prefab.nodesCount(), NODES);
}

TEST_F(ListStorage, clear_keepsTheRoom) {
    prefab.deserialize(section, nullptr);
    const SmartPointer<GameObjectDescriptor> node = makeNode(id(1));
    prefab.clear();
    const AllocationLog allocations;
    for (std::size_t i = 0; i < NODES; ++i) {
        prefab.addGameObject(node);
    }
    EXPECT_EQ(allocations.count(), 0U);
}

TEST_F(ListStorage, prefab_isItsListOfNodesAlone) {
    EXPECT_EQ(sizeof(GameObjectPrefab), sizeof(std::vector<SmartPointer<GameObjectDescriptor>>));
}

} // namespace
} // namespace Kiln::TestSupport
