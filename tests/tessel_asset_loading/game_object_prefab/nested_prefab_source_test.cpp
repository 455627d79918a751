#include <tessel_asset_loading/game_object_prefab/instance_creation.h>
#include <tessel_asset_loading/support/creation_fixture.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using Tessel::detail::Deadline;
using Tessel::detail::INestedPrefabs;
using Tessel::detail::InstanceCreation;
using Tessel::detail::NestedPrefab;
using testing::ElementsAre;
using testing::IsEmpty;

/// Supplies prefabs by resource path, and records each request as "resource: names of the enclosing prefabs' roots".
class RecordingPrefabs final : public INestedPrefabs {
public:
    NestedPrefab load(const std::string& resource, std::span<const GameObjectPrefab* const> enclosing) override {
        std::string request = resource + ":";
        for (const GameObjectPrefab* const prefab : enclosing) {
            request.append(" ").append(prefab->findRootGameObject()->name());
        }
        requests.push_back(std::move(request));
        if (resource == "throwing.prefab") {
            throw std::runtime_error("no answer");
        }
        const auto found = prefabs.find(resource);
        return found == prefabs.end() ? NestedPrefab() : NestedPrefab(&found->second, nullptr);
    }

    std::map<std::string, GameObjectPrefab> prefabs;
    std::vector<std::string> requests;
};

class NestedPrefabSource : public CreationFixture {
protected:
    NestedPrefabSource() {
        PrefabBuilder lamp;
        lamp.root(id(1), "lamp").child(id(2), "bulb", id(1));
        source.prefabs["lamp.prefab"] = lamp.build();
    }

    /// Names of the created objects.
    std::vector<std::string> createFromSource(const PrefabBuilder& builder) {
        const GameObjectPrefab prefab = builder.build();
        InstanceCreation creation(prefab, config, &source);
        creation.step(Deadline());
        return namesOf(manager(), creation.takeObjects());
    }

    RecordingPrefabs source;
};

TEST_F(NestedPrefabSource, suppliesPrefabsThatTheServiceDoesNotHave) {
    PrefabBuilder house;
    house.root(id(1), "House").nested(id(2), "Lamp", id(1), "lamp.prefab");
    EXPECT_THAT(createFromSource(house), ElementsAre("House", "Lamp", "bulb"));
    EXPECT_THAT(source.requests, ElementsAre("lamp.prefab: House"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedPrefabSource, comesBeforeTheServicesCache) {
    PrefabBuilder cached;
    cached.root(id(1), "cached").child(id(2), "cached child", id(1));
    cachePrefab("lamp.prefab", cached);
    PrefabBuilder house;
    house.root(id(1), "House").nested(id(2), "Lamp", id(1), "lamp.prefab");
    EXPECT_THAT(createFromSource(house), ElementsAre("House", "Lamp", "bulb"));
}

TEST_F(NestedPrefabSource, prefabIsMissing_pointIsLeftOutWithoutAMessageAndWithoutReadingTheFile) {
    directory.writeFile("gone.prefab", "not a prefab");
    PrefabBuilder house;
    house.root(id(1), "House").nested(id(2), "Gone", id(1), "gone.prefab").child(id(3), "Door", id(1));
    EXPECT_THAT(createFromSource(house), ElementsAre("House", "Door"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedPrefabSource, receivesTheEnclosingPrefabsFromTheTopToTheOneThatNests) {
    PrefabBuilder room;
    room.root(id(1), "room").nested(id(2), "", id(1), "lamp.prefab").nested(id(3), "", id(1), "gone.prefab");
    source.prefabs["room.prefab"] = room.build();
    PrefabBuilder floor;
    floor.root(id(1), "floor").nested(id(2), "", id(1), "room.prefab").nested(id(3), "", id(1), "lamp.prefab");
    source.prefabs["floor.prefab"] = floor.build();
    PrefabBuilder house;
    house.root(id(1), "House").nested(id(2), "", id(1), "floor.prefab").nested(id(3), "", id(1), "lamp.prefab");
    createFromSource(house);
    EXPECT_THAT(source.requests,
                ElementsAre("floor.prefab: House", "room.prefab: House floor", "lamp.prefab: House floor room",
                            "gone.prefab: House floor room", "lamp.prefab: House floor", "lamp.prefab: House"));
}

TEST_F(NestedPrefabSource, neighboursNestTheSamePrefab_isAskedOnce) {
    PrefabBuilder house;
    house.root(id(1), "House").nested(id(2), "1", id(1), "lamp.prefab").nested(id(3), "2", id(1), "lamp.prefab");
    EXPECT_THAT(createFromSource(house), ElementsAre("House", "1", "bulb", "2", "bulb"));
    EXPECT_THAT(source.requests, ElementsAre("lamp.prefab: House"));
}

TEST_F(NestedPrefabSource, neighboursNestTheSameMissingPrefab_isAskedForEach) {
    PrefabBuilder house;
    house.root(id(1), "House").nested(id(2), "1", id(1), "gone.prefab").nested(id(3), "2", id(1), "gone.prefab");
    EXPECT_THAT(createFromSource(house), ElementsAre("House"));
    EXPECT_THAT(source.requests, ElementsAre("gone.prefab: House", "gone.prefab: House"));
}

TEST_F(NestedPrefabSource, overridesReplaceTheResource_isAskedForTheReplacement) {
    PrefabBuilder house;
    house.root(id(1), "House").nested(id(2), "Lamp", id(1), "gone.prefab");
    setOverrides(OverridesText().record(id(2), "PrefabComponent", element("resource", "lamp.prefab")));
    EXPECT_THAT(createFromSource(house), ElementsAre("House", "Lamp", "bulb"));
    EXPECT_THAT(source.requests, ElementsAre("lamp.prefab: House"));
}

TEST_F(NestedPrefabSource, throws_theCreationFailsAndTheExceptionLeavesTheStep) {
    PrefabBuilder house;
    house.root(id(1), "House").nested(id(2), "Lamp", id(1), "throwing.prefab");
    const GameObjectPrefab prefab = house.build();
    InstanceCreation creation(prefab, config, &source);
    EXPECT_THROW(creation.step(Deadline()), std::runtime_error);
    EXPECT_EQ(creation.stage(), InstanceCreation::Stage::FAILED);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

} // namespace
} // namespace Kiln::TestSupport
