#include <tessel_asset_loading/support/creation_fixture.h>

#include <core/stack_tracker.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using Tessel::PrefabComponent;
using Tessel::TransformComponent;
using testing::ElementsAre;
using testing::IsEmpty;

class Creation : public CreationFixture {
protected:
    [[nodiscard]] static PrefabBuilder family() {
        PrefabBuilder builder;
        builder.root(id(1), "Root").child(id(2), "First", id(1)).child(id(3), "Second", id(2));
        return builder;
    }
};

TEST_F(Creation, defaultConfig_hasNoWorldAndIsOtherwiseEmpty) {
    const GameObjectPrefab::CreateConfig defaults;
    EXPECT_EQ(defaults.worldId, -1);
    EXPECT_EQ(defaults.instanceUuid, Uuid::ZERO);
    EXPECT_EQ(defaults.overrides, nullptr);
    EXPECT_THAT(defaults.uuidMap, IsEmpty());
}

TEST_F(Creation, emptyPrefab_failsSilently) {
    EXPECT_THAT(create(GameObjectPrefab()), IsFailure());
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(Creation, result_isOneObjectPerNodeInNodeOrder) {
    EXPECT_THAT(createdNames(family()), ElementsAre("Root", "First", "Second"));
    EXPECT_EQ(manager().gameObjectsCount(), 3U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Creation, result_lastNodeIsTheRoot_isFirstInTheResult) {
    PrefabBuilder builder;
    builder.child(id(2), "First", id(1)).child(id(3), "Second", id(1)).root(id(1), "Root");
    EXPECT_THAT(createdNames(builder), ElementsAre("Root", "First", "Second"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Creation, result_middleNodeIsTheRoot_isFirstInTheResult) {
    PrefabBuilder builder;
    builder.child(id(2), "First", id(1)).root(id(1), "Root").child(id(3), "Second", id(1));
    EXPECT_THAT(createdNames(builder), ElementsAre("Root", "First", "Second"));
}

// Growing step by step, room for five would have become room for eight.
TEST_F(Creation, result_hasRoomForItsObjectsFromTheStart) {
    PrefabBuilder builder = family();
    builder.child(id(4), "Third", id(1)).child(id(5), "Fourth", id(1));
    EXPECT_EQ(create(builder).capacity(), 5U);
}

TEST_F(Creation, objects_haveTheParentsOfTheirNodes) {
    create(family());
    EXPECT_EQ(parentOf("Root"), "");
    EXPECT_EQ(parentOf("First"), "Root");
    EXPECT_EQ(parentOf("Second"), "First");
}

TEST_F(Creation, uuids_areCombinedOfInstanceAndDescriptorInThisOrder) {
    create(family());
    EXPECT_EQ(uuidOf("Root"), Uuid::combine(INSTANCE, id(1)));
    EXPECT_EQ(uuidOf("Second"), Uuid::combine(INSTANCE, id(3)));
}

TEST_F(Creation, twoInstances_areIndependent) {
    create(family());
    GameObjectPrefab::CreateConfig other = makeConfig(id(77));
    const std::vector<GameObject> second = family().build().createGameObjects(other);
    EXPECT_EQ(manager().gameObjectsCount(), 6U);
    EXPECT_EQ(manager().getGameObjectUuid(second[0]), Uuid::combine(id(77), id(1)));
    EXPECT_EQ(manager().getParent(second[1]), second[0]);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Creation, components_areMadeFromTheirConfigurations) {
    PrefabBuilder builder = family();
    builder.with<TagComponent>({"lit", "yes"}).with<TransformComponent>({Matrix::translation(1, 2, 3)});
    create(builder);
    EXPECT_EQ(tagOf("Second"), "lit");
    EXPECT_EQ(configOf<TagComponent>("Second").note, "yes");
    ASSERT_NE(find<TransformComponent>(object("Second")), nullptr);
    EXPECT_EQ(find<TransformComponent>(object("Second"))->local, Matrix::translation(1, 2, 3));
}

TEST_F(Creation, components_areMadeWhenAllObjectsExist) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<HookComponent>().child(id(2), "First", id(1)).child(id(3), "Second", id(1));
    std::vector<std::size_t> counts;
    HookComponent::onConstruct = [&](const HookComponent::Config&) { counts.push_back(manager().gameObjectsCount()); };
    create(builder);
    EXPECT_THAT(counts, ElementsAre(3U));
}

TEST_F(Creation, components_areMadeInItemOrder) {
    PrefabBuilder builder;
    builder.child(id(2), "First", id(1)).with<HookComponent>({"first"});
    builder.root(id(1), "Root").with<HookComponent>({"root"});
    std::vector<std::string> tags;
    HookComponent::onConstruct = [&](const HookComponent::Config& hook) { tags.push_back(hook.tag); };
    create(builder);
    EXPECT_THAT(tags, ElementsAre("first", "root"));
}

TEST_F(Creation, stateFlags_areApplied) {
    PrefabBuilder builder;
    builder.root(id(1), "Root", 0x3E).child(id(2), "Off", id(1), 0x01);
    create(builder);
    EXPECT_EQ(manager().getGameObjectFlags(object("Root")).to_ulong(), 0x3EU);
    EXPECT_EQ(manager().getGameObjectFlags(object("Off")).to_ulong(), 0x01U);
    EXPECT_FALSE(manager().isEnabled(object("Off")));
    EXPECT_TRUE(manager().isEnabled(object("Root")));
}

TEST_F(Creation, stateFlags_areAppliedAfterTheObjectsComponents) {
    std::vector<unsigned long> flags;
    HookComponent::onConstruct = [&](const HookComponent::Config&) {
        flags.push_back(manager().getGameObjectFlags(object("Root")).to_ulong());
    };
    create(PrefabBuilder().root(id(1), "Root", 0x3E).with<HookComponent>());
    EXPECT_THAT(flags, ElementsAre(0U));
}

TEST_F(Creation, stateFlags_areAppliedBeforeTheNextObjectsComponents) {
    std::vector<unsigned long> flags;
    HookComponent::onConstruct = [&](const HookComponent::Config&) {
        flags.push_back(manager().getGameObjectFlags(object("Root")).to_ulong());
    };
    PrefabBuilder builder;
    builder.root(id(1), "Root", 0x3E).child(id(2), "Child", id(1)).with<HookComponent>();
    create(builder);
    EXPECT_THAT(flags, ElementsAre(0x3EU));
}

TEST_F(Creation, objects_areNotActivated) {
    for (const GameObject created : create(family())) {
        EXPECT_FALSE(manager().isActive(created));
    }
}

TEST_F(Creation, rootWithPrefabComponent_isAPlainNode) {
    PrefabBuilder other;
    other.root(id(1), "Other").child(id(2), "Not wanted", id(1));
    cachePrefab("other.prefab", other);
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<PrefabComponent>({"other.prefab", {}});
    EXPECT_THAT(createdNames(builder), ElementsAre("Root"));
    EXPECT_EQ(find<PrefabComponent>(object("Root"))->resource(), "other.prefab");
    EXPECT_EQ(uuidOf("Root"), Uuid::combine(INSTANCE, id(1)));
}

TEST_F(Creation, prefabComponent_ofAFreshRoot_hasNoInstanceUuid) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").with<PrefabComponent>();
    create(builder);
    EXPECT_EQ(find<PrefabComponent>(object("Root"))->instanceUuid(), Uuid::ZERO);
}

TEST_F(Creation, prefabReadFromAFile_isCreatedTheSameWay) {
    PrefabText document;
    document.root(id(1), "Root");
    document.child(id(2), "Child", id(1));
    document.component("TagComponent", 1, element("tag", "read"));
    writePrefab("read.prefab", document);
    EXPECT_THAT(namesOf(manager(), create(*service().loadPrefabData("read.prefab"))), ElementsAre("Root", "Child"));
    EXPECT_EQ(tagOf("Child"), "read");
    EXPECT_EQ(find<PrefabComponent>(object("Root"))->resource(), "read.prefab");
}

// The trail for crash reports.

TEST_F(Creation, instancing_isBracketedInTheStackTrail) {
    std::vector<std::string> trail;
    const ScopedLogSink sink([&trail](const LogMessage& message) {
        if (message.text == "Game Objects hierarchy doesn't have root.") {
            for (const StackTracker::Entry& entry : StackTracker::current()) {
                trail.push_back(std::string(entry.function) + " " + entry.file + " " + std::to_string(entry.line));
            }
        }
    });
    create(PrefabBuilder().child(id(2), "Child", id(1)));
    EXPECT_THAT(trail, ElementsAre("Kiln::Tessel::GameObjectPrefab::createGoInstances "
                                   "shared_libs\\tessel_asset_loading\\game_object_prefab 716"));
}

TEST_F(Creation, stackTrail_isAsBeforeAfterEveryOutcome) {
    create(family());
    EXPECT_TRUE(StackTracker::current().empty());
    create(PrefabBuilder().child(id(2), "Child", id(1)));
    EXPECT_TRUE(StackTracker::current().empty());
    create(PrefabBuilder().root(id(1)).root(id(1)));
    EXPECT_TRUE(StackTracker::current().empty());
}

TEST_F(Creation, components_areMadeOutsideTheBracket) {
    std::size_t depth = 99;
    HookComponent::onConstruct = [&](const HookComponent::Config&) { depth = StackTracker::current().size(); };
    create(PrefabBuilder().root(id(1)).with<HookComponent>());
    EXPECT_EQ(depth, 0U);
}

} // namespace
} // namespace Kiln::TestSupport
