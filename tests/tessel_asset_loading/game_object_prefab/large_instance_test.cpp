// Instances with so many objects that their UUIDs are entered in a separate pass.

#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using testing::ElementsAre;
using testing::IsEmpty;

class LargeInstance : public CreationFixture {
protected:
    static constexpr std::uint64_t COUNT = 5000;

    /// Nodes with the ids from 1 to COUNT, all below the first one.
    [[nodiscard]] static PrefabBuilder flock() {
        PrefabBuilder builder;
        builder.root(id(1), "Root");
        for (std::uint64_t number = 2; number <= COUNT; ++number) {
            builder.child(id(number), std::to_string(number), id(1));
        }
        return builder;
    }
};

TEST_F(LargeInstance, uuidMap_hasEachObjectUnderItsUuid) {
    const std::vector<GameObject> created = create(flock());
    ASSERT_EQ(created.size(), COUNT);
    ASSERT_EQ(config.uuidMap.size(), COUNT);
    for (std::uint64_t number = 1; number <= COUNT; ++number) {
        const Uuid uuid = Uuid::combine(INSTANCE, id(number));
        ASSERT_EQ(config.uuidMap.at(uuid), created[number - 1]);
        ASSERT_EQ(manager().getGameObjectUuid(created[number - 1]), uuid);
    }
    EXPECT_EQ(manager().getChildren(created.front()).size(), COUNT - 1);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LargeInstance, duplicateUuid_failsAsInASmallOne) {
    EXPECT_THAT(create(flock().child(id(7), "Again", id(1))), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(config.uuidMap, IsEmpty());
}

TEST_F(LargeInstance, secondRoot_failsAsInASmallOne) {
    EXPECT_THAT(create(flock().root(id(COUNT + 1), "Second")), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(SECOND_ROOT, FAILED));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(config.uuidMap, IsEmpty());
}

TEST_F(LargeInstance, objectOfTheCallersMap_isReused) {
    const GameObject own = manager().createGameObject();
    config.uuidMap.emplace(Uuid::combine(INSTANCE, id(9)), own);
    const std::vector<GameObject> created = create(flock());
    ASSERT_EQ(created.size(), COUNT);
    EXPECT_EQ(created[8], own);
    EXPECT_EQ(manager().gameObjectsCount(), COUNT);
}

/// Returns the number of a node's parent, which may come before or after the node.
struct NodeOrder {
    const char* name;
    std::uint64_t (*parent)(std::uint64_t number);
};

void PrintTo(const NodeOrder& order, std::ostream* stream) {
    *stream << order.name;
}

class LargeInstanceInOrder : public CreationFixture, public testing::WithParamInterface<NodeOrder> {};

TEST_P(LargeInstanceInOrder, eachObject_isBelowItsParent) {
    constexpr std::uint64_t COUNT = 5000;
    PrefabBuilder builder;
    builder.root(id(1), "Root");
    for (std::uint64_t number = 2; number <= COUNT; ++number) {
        builder.child(id(number), std::to_string(number), id(GetParam().parent(number)));
    }
    const std::vector<GameObject> created = create(builder);
    ASSERT_EQ(created.size(), COUNT);
    for (std::uint64_t number = 2; number <= COUNT; ++number) {
        ASSERT_EQ(manager().getParent(created[number - 1]), created[GetParam().parent(number) - 1]) << number;
    }
    EXPECT_THAT(logged(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Orders, LargeInstanceInOrder,
    testing::Values(NodeOrder{"breadth first", [](std::uint64_t number) { return (number + 8) / 10; }},
                    NodeOrder{"depth first", [](std::uint64_t number) { return number - 1 - (number - 2) % 3; }},
                    NodeOrder{"one chain", [](std::uint64_t number) { return number - 1; }},
                    NodeOrder{"parents last", [](std::uint64_t number) { return number < 4000 ? number + 1000 : 1; }},
                    NodeOrder{"scattered", [](std::uint64_t number) { return 1 + number * 7919 % (number - 1); }}));

TEST_F(LargeInstance, nestedTwice_eachObjectIsBelowTheParentOfItsInstance) {
    cachePrefab("flock.prefab", flock());
    const std::vector<GameObject> created = create(PrefabBuilder()
                                                       .root(id(1), "Root")
                                                       .nested(id(2), "A", id(1), "flock.prefab")
                                                       .nested(id(3), "B", id(1), "flock.prefab"));
    ASSERT_EQ(created.size(), 1 + 2 * COUNT);
    EXPECT_EQ(manager().getChildren(created.front()).size(), 2U);
    for (const std::string point : {"A", "B"}) {
        EXPECT_EQ(parentOf(point), "Root");
        EXPECT_EQ(manager().getChildren(object(point)).size(), COUNT - 1) << point;
    }
    EXPECT_THAT(logged(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
