#include "harbour_fixture.h"

#include <generic_components/transform_component.h>
#include <gmock/gmock.h>
#include <harbour_components/beacon_component.h>
#include <tessel_asset_loading/prefab_component.h>

#include <set>

namespace Kiln::SamplesTests {

using namespace Kiln::Tessel;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

const Uuid INSTANCE(0x3d0c9f5a12e84b67, 0x9a41c7e05b2f8d36);

[[nodiscard]] std::size_t countDescendants(const GameObjectManager& manager, GameObject object) {
    std::size_t count = 0;
    for (const GameObject child : manager.getChildren(object)) {
        count += 1 + countDescendants(manager, child);
    }
    return count;
}

} // namespace

class HarbourHierarchy : public HarbourFixture {
protected:
    HarbourHierarchy() : m_root(spawn(INSTANCE)) {}

    using HarbourFixture::object;
    [[nodiscard]] GameObject object(const std::vector<std::string>& names) { return object(INSTANCE, names); }
    [[nodiscard]] GameObject parent(const std::vector<std::string>& names) {
        return manager().getParent(object(names));
    }

    GameObject m_root;
};

TEST_F(HarbourHierarchy, spawn_logsOnlyTheDepthLimit) {
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(HarbourHierarchy, spawn_createsEveryObjectBelowTheRoot) {
    EXPECT_EQ(manager().gameObjectsCount(), 92U);
    EXPECT_EQ(countDescendants(manager(), m_root), 91U);
}

TEST_F(HarbourHierarchy, everyObject_hasAUuidOfItsOwn) {
    std::set<Uuid> uuids;
    for (const GameObject object : manager().gameObjects()) {
        uuids.insert(manager().getGameObjectUuid(object));
    }
    EXPECT_EQ(uuids.size(), 92U);
    EXPECT_FALSE(uuids.contains(Uuid::ZERO));
}

TEST_F(HarbourHierarchy, root_namesItsPrefabAndInstance) {
    const auto* const component = manager().findComponent<PrefabComponent>(m_root);
    ASSERT_NE(component, nullptr);
    EXPECT_EQ(component->resource(), HARBOUR);
    EXPECT_EQ(component->instanceUuid(), INSTANCE);
}

TEST_F(HarbourHierarchy, nestedRoot_hasNameAndPlaceOfItsIntegrationPoint) {
    const GameObject ship = object({"Annika"});
    EXPECT_EQ(manager().getGameObjectName(ship), "Annika");
    EXPECT_EQ(manager().findComponent<TransformComponent>(ship)->local, Matrix::translation(34, 0, -40));
}

TEST_F(HarbourHierarchy, objectUnderAnIntegrationPoint_isChildOfTheNestedRoot) {
    EXPECT_EQ(parent({"North quay", "Toolbox"}), object({"North quay", "Crane"}));
    EXPECT_EQ(parent({"South quay", "Toolbox"}), object({"South quay", "Crane"}));
    EXPECT_EQ(parent({"Gangway"}), object({"Meridian"}));
}

TEST_F(HarbourHierarchy, objectUnderAnObjectInsideANestedPrefab_isItsChild) {
    EXPECT_EQ(parent({"North quay", "Load limit plate"}), object({"North quay", "Crane", "Tower"}));
    EXPECT_EQ(parent({"South quay", "Load limit plate"}), object({"South quay", "Crane", "Tower"}));
    EXPECT_EQ(parent({"Signal mast"}), object({"Lighthouse", "Gallery"}));
}

TEST_F(HarbourHierarchy, integrationPoint_isChildOfTheObjectThatItNames) {
    EXPECT_EQ(parent({"Lighthouse"}), object({"Breakwater"}));
    EXPECT_EQ(parent({"North quay"}), m_root);
    EXPECT_EQ(parent({"North quay", "Crane", "Jib lamp"}), object({"North quay", "Crane", "Jib"}));
}

TEST_F(HarbourHierarchy, inactiveByDefault_holdsForTheMarkedObjectsAndWhatIsBelow) {
    std::vector<GameObject> inactive;
    for (const GameObject object : manager().gameObjects()) {
        if (!manager().isActive(object)) {
            inactive.push_back(object);
        }
    }
    EXPECT_THAT(inactive,
                UnorderedElementsAre(object({"Storm warning"}), object({"Night watch lamp"}),
                                     object({"Night watch lamp", "Post"}), object({"Night watch lamp", "Bulb"})));
}

TEST_F(HarbourHierarchy, inactiveByDefault_isAMarkOfTheIntegrationPointAlone) {
    EXPECT_FALSE(manager().isEnabled(object({"Night watch lamp"})));
    EXPECT_TRUE(manager().isEnabled(object({"Night watch lamp", "Post"})));
    EXPECT_TRUE(manager().isActive(object({"North quay", "West lamp"})));
}

TEST_F(HarbourHierarchy, activatingAnInactiveLamp_activatesWhatIsBelow) {
    manager().activateGameObject(object({"Night watch lamp"}));
    EXPECT_TRUE(manager().isActive(object({"Night watch lamp", "Bulb"})));
}

TEST_F(HarbourHierarchy, beacon_showsThePatternOfItsResource) {
    const auto* const beacon = manager().findComponent<Harbour::BeaconComponent>(object({"Lighthouse", "Lantern"}));
    ASSERT_NE(beacon, nullptr);
    EXPECT_EQ(beacon->range, 14);
    EXPECT_EQ(beacon->pattern->colour, "green");
    std::vector<double> seconds;
    for (const Harbour::BeaconPattern::Phase& phase : beacon->pattern->phases) {
        seconds.push_back(phase.seconds);
    }
    EXPECT_THAT(seconds, ElementsAre(0.5, 1.5, 0.5, 7.5));
}

} // namespace Kiln::SamplesTests
