#include <tessel_streaming/support/streaming_fixture.h>

#include <gmock/gmock.h>

#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using Tessel::GameObject;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LoadOutcome : public StreamingFixture {};

TEST_F(LoadOutcome, soundPrefab_succeedsWithAnActiveRoot) {
    writeTree("tree.prefab", 2);
    const LoadHandle handle = loaded("tree.prefab");
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_EQ(manager().getGameObjectName(handle.root()), "root");
    EXPECT_TRUE(manager().isActive(handle.root()));
    EXPECT_EQ(objectsCount(), 3U);
    EXPECT_THAT(failuresOf(handle), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadOutcome, nestedPrefabs_logNothing) {
    writeNesting("a.prefab", "b.prefab");
    writeNesting("b.prefab", "c.prefab");
    writeRoot("c.prefab");
    EXPECT_EQ(loaded("a.prefab").state(), LoadState::SUCCEEDED);
    EXPECT_EQ(objectsCount(), 3U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadOutcome, instanceUuid_isTheOneOfTheOptions) {
    writeRoot("root.prefab");
    LoadOptions options;
    options.instanceUuid = id(77);
    const LoadHandle handle = loaded("root.prefab", options);
    EXPECT_THAT(handle.result().instanceUuids, ElementsAre(id(77)));
    EXPECT_EQ(manager().getGameObjectUuid(handle.root()), Uuid::combine(id(77), id(1)));
    EXPECT_EQ(manager().findComponent<Tessel::PrefabComponent>(handle.root())->instanceUuid(), id(77));
}

TEST_F(LoadOutcome, overrides_applyToTheInstance) {
    writeTree("tree.prefab", 0);
    LoadOptions options;
    options.overrides = OverrideRecords::create("<overrides><gameObject><uuid>" + id(1).toString() +
                                                "</uuid><component><type>TagComponent</type><properties><tag>new</"
                                                "tag></properties></component></gameObject></overrides>");
    ASSERT_TRUE(options.overrides);
    const LoadHandle handle = loaded("tree.prefab", options);
    EXPECT_EQ(find<TagComponent>(handle.root())->config.tag, "new");
}

TEST_F(LoadOutcome, parent_getsTheRootAsItsChild) {
    writeRoot("root.prefab");
    const LoadHandle parent = loaded("root.prefab");
    LoadOptions options;
    options.parent = parent.root();
    const LoadHandle child = loaded("root.prefab", options);
    EXPECT_EQ(manager().getParent(child.root()), parent.root());
    EXPECT_TRUE(manager().isActive(child.root()));
}

TEST_F(LoadOutcome, missingFile_failsWithItsPath) {
    const LoadHandle handle = loaded("none.prefab");
    EXPECT_EQ(handle.state(), LoadState::FAILED);
    ASSERT_EQ(handle.result().failures.size(), 1U);
    EXPECT_EQ(handle.result().failures.front().code, FailureCode::MISSING_FILE);
    EXPECT_EQ(handle.result().failures.front().file, "none.prefab");
    EXPECT_THAT(handle.result().failures.front().chain, ElementsAre("none.prefab"));
    EXPECT_TRUE(handle.root().isInvalid());
}

TEST_F(LoadOutcome, fileThatAppears_isReadByTheNextRequest) {
    const LoadHandle first = loaded("late.prefab");
    EXPECT_EQ(first.state(), LoadState::FAILED);
    writeRoot("late.prefab");
    EXPECT_EQ(loaded("late.prefab").state(), LoadState::SUCCEEDED);
}

TEST_F(LoadOutcome, malformedFile_failsWithItsLine) {
    directory.writeFile("bad.prefab", "<prefab>\n<formatVersion>\n</prefab>");
    const LoadHandle handle = loaded("bad.prefab");
    ASSERT_EQ(handle.result().failures.size(), 1U);
    EXPECT_EQ(handle.result().failures.front().code, FailureCode::MALFORMED_FILE);
    EXPECT_EQ(handle.result().failures.front().line, 3U);
}

TEST_F(LoadOutcome, emptyPath_fails) {
    const LoadHandle handle = loaded("");
    ASSERT_EQ(handle.result().failures.size(), 1U);
    EXPECT_EQ(handle.result().failures.front().code, FailureCode::INVALID_PATH);
}

TEST_F(LoadOutcome, pathOutsideOfTheRoots_fails) {
    const LoadHandle handle = loaded("../outside.prefab");
    ASSERT_EQ(handle.result().failures.size(), 1U);
    EXPECT_EQ(handle.result().failures.front().code, FailureCode::OUTSIDE_OF_ROOTS);
}

TEST_F(LoadOutcome, worldThatNeverExisted_failsInTheNextFrame) {
    const LoadHandle handle = load("none.prefab", 123'456);
    EXPECT_FALSE(handle.isFinished());
    tick();
    EXPECT_THAT(failuresOf(handle), ElementsAre("none.prefab: World 123456 does not exist. (INVALID_WORLD)"));
}

TEST_F(LoadOutcome, worldThatIsDestroyed_failsThePendingRequest) {
    writeRoot("root.prefab");
    const int otherWorld = Tessel::EntryPoint::instance().createWorld();
    const LoadHandle handle = load("root.prefab", otherWorld);
    Tessel::EntryPoint::instance().destroyWorld(otherWorld);
    EXPECT_LE(finish(handle), 1);
    EXPECT_THAT(failuresOf(handle), ElementsAre("root.prefab: The world was destroyed while the prefab was loaded. "
                                                "(INVALID_WORLD)"));
}

TEST_F(LoadOutcome, parentThatIsGone_fails) {
    writeRoot("root.prefab");
    LoadOptions options;
    options.parent = manager().createGameObject();
    manager().removeGameObject(options.parent);
    const LoadHandle handle = loaded("root.prefab", options);
    EXPECT_THAT(failuresOf(handle), ElementsAre("root.prefab: The parent does not exist any more. (INVALID_PARENT)"));
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(LoadOutcome, parentThatIsRemovedByAComponent_fails) {
    PrefabText prefab;
    prefab.component("HookComponent", prefab.root(id(1), "root"));
    writePrefab("hook.prefab", prefab);
    LoadOptions options;
    options.parent = manager().createGameObject();
    HookComponent::onConstruct = [this, &options](const HookComponent::Config&) {
        manager().removeGameObject(options.parent);
    };
    const LoadHandle handle = loaded("hook.prefab", options);
    EXPECT_THAT(failuresOf(handle), ElementsAre("hook.prefab: The parent does not exist any more. (INVALID_PARENT)"));
    frames(2);
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(LoadOutcome, parentInAnotherWorld_fails) {
    writeRoot("root.prefab");
    const int otherWorld = Tessel::EntryPoint::instance().createWorld();
    LoadOptions options;
    options.parent = Tessel::getGameObjectManager(otherWorld)->createGameObject();
    const LoadHandle handle = loaded("root.prefab", options);
    EXPECT_THAT(failuresOf(handle),
                ElementsAre("root.prefab: The parent is an object of world " + std::to_string(otherWorld) +
                            ", not of world " + std::to_string(worldId) + ". (PARENT_IN_OTHER_WORLD)"));
    Tessel::EntryPoint::instance().destroyWorld(otherWorld);
}

TEST_F(LoadOutcome, duplicateUuids_failWithTheMessagesOfTheLog) {
    PrefabText prefab;
    prefab.root(id(1), "root");
    prefab.child(id(2), "a", id(1));
    prefab.child(id(2), "b", id(1));
    writePrefab("twice.prefab", prefab);
    const LoadHandle handle = loaded("twice.prefab");
    EXPECT_THAT(failuresOf(handle),
                ElementsAre("twice.prefab: UUID conflict detected. Trying to generate new instance UUID. Failed to "
                            "workaround UUID conflict. Check content for Game Objects with duplicate UUIDs. "
                            "(CREATION_FAILED)"));
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(LoadOutcome, componentThatThrows_failsWithItsNameAndLeavesNothing) {
    PrefabText prefab;
    prefab.root(id(1), "root");
    prefab.component("HookComponent", prefab.child(id(2), "child", id(1)));
    writePrefab("hook.prefab", prefab);
    HookComponent::onConstruct = [](const HookComponent::Config&) { throw std::runtime_error("no lamp"); };
    const LoadHandle handle = loaded("hook.prefab");
    EXPECT_THAT(failuresOf(handle), ElementsAre("hook.prefab: Component 'HookComponent' threw an exception: no lamp "
                                                "(COMPONENT_THREW)"));
    frames(2);
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(LoadOutcome, componentThatThrowsWhenActivated_failsAndLeavesNothing) {
    PrefabText prefab;
    prefab.component("WakingComponent", prefab.root(id(1), "root"));
    writePrefab("waking.prefab", prefab);
    WakingComponent::onActivate = [](const WakingComponent::Config&) { throw std::runtime_error("no power"); };
    const LoadHandle handle = loaded("waking.prefab");
    EXPECT_THAT(failuresOf(handle), ElementsAre("waking.prefab: A component threw an exception when it was activated: "
                                                "no power (COMPONENT_THREW)"));
    frames(2);
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(LoadOutcome, componentThatDestroysTheWorld_fails) {
    PrefabText prefab;
    prefab.component("HookComponent", prefab.root(id(1), "root"));
    writePrefab("hook.prefab", prefab);
    const int otherWorld = Tessel::EntryPoint::instance().createWorld();
    HookComponent::onConstruct = [otherWorld](const HookComponent::Config&) {
        Tessel::EntryPoint::instance().destroyWorld(otherWorld);
    };
    const LoadHandle handle = load("hook.prefab", otherWorld);
    EXPECT_GE(finish(handle), 0);
    ASSERT_EQ(handle.result().failures.size(), 1U);
    EXPECT_EQ(handle.result().failures.front().code, FailureCode::INVALID_WORLD);
}

TEST_F(LoadOutcome, unknownComponents_areListed) {
    PrefabText prefab;
    prefab.component("RocketComponent", prefab.root(id(1), "root"));
    writePrefab("rocket.prefab", prefab);
    const LoadHandle handle = loaded("rocket.prefab");
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_FALSE(handle.result().isPartial);
    EXPECT_THAT(handle.result().skippedComponents, ElementsAre(SkippedComponents{"rocket.prefab", "RocketComponent"}));
}

class RefusingListener final : public ICreationListener {
public:
    RefusingListener() { ComponentLibrary::instance().setCreationListener(this); }
    ~RefusingListener() override { ComponentLibrary::instance().setCreationListener(nullptr); }
    bool acceptsPrefab(const Tessel::GameObjectPrefab&) override { return true; }
    bool processInstance(int, CreatedInstance) override { return false; }
};

TEST_F(LoadOutcome, listenerThatRefuses_failsOnce) {
    const RefusingListener listener;
    writeRoot("root.prefab");
    const LoadHandle handle = loaded("root.prefab");
    EXPECT_THAT(failuresOf(handle), ElementsAre("root.prefab: The creation listener refused the instance. "
                                                "(REFUSED_BY_LISTENER)"));
    frames(2);
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(LoadOutcome, clearedCache_doesNotDisturbPendingRequests) {
    writeNesting("a.prefab", "b.prefab");
    writeRoot("b.prefab");
    const LoadHandle handle = load("a.prefab", worldId);
    waitForWorkers();
    Tessel::Loading::fullyClearCache();
    directory.writeFile("b.prefab", "");
    finish(handle);
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_EQ(objectsCount(), 2U);
}

TEST_F(LoadOutcome, parentThatIsRemovedBeforeTheActivation_fails) {
    for (const Activation activation : {Activation::AT_ONCE, Activation::BY_SUBTREE}) {
        writeTree("tree.prefab", 100);
        LoadOptions options;
        options.parent = manager().createGameObject();
        options.activation = activation;
        manager().activateGameObject(options.parent);
        setFrameBudget(std::chrono::microseconds(0));
        const LoadHandle handle = load("tree.prefab", worldId, options);
        for (int i = 0; i < 10'000 && handle.progress().phase != LoadPhase::ACTIVATING; ++i) {
            frame();
        }
        manager().removeGameObject(options.parent);
        finish(handle);
        EXPECT_THAT(failuresOf(handle),
                    ElementsAre("tree.prefab: The parent does not exist any more. (INVALID_PARENT)"));
    }
}

TEST_F(LoadOutcome, rootThatIsRemovedBeforeTheActivation_fails) {
    writeTree("tree.prefab", 10);
    setFrameBudget(std::chrono::microseconds(0));
    const LoadHandle handle = load("tree.prefab", worldId);
    for (int i = 0; i < 10'000 && handle.progress().phase != LoadPhase::ACTIVATING; ++i) {
        frame();
    }
    manager().removeGameObject(findByName(manager(), "root"));
    finish(handle);
    EXPECT_THAT(failuresOf(handle), ElementsAre("tree.prefab: The root was removed before the load was complete. "
                                                "(CREATION_FAILED)"));
}

TEST_F(LoadOutcome, componentOfANestedPrefabThatThrows_isNamedWithItsFileAndChain) {
    PrefabText inner;
    inner.root(id(1), "inner");
    inner.component("HookComponent", inner.child(id(2), "child", id(1)));
    writePrefab("inner.prefab", inner);
    writeNesting("outer.prefab", "inner.prefab");
    HookComponent::onConstruct = [](const HookComponent::Config&) { throw std::runtime_error("boom"); };
    EXPECT_THAT(failuresOf(loaded("outer.prefab")),
                ElementsAre("inner.prefab: Component 'HookComponent' threw an exception: boom (COMPONENT_THREW; "
                            "outer.prefab > inner.prefab)"));
}

} // namespace
} // namespace Kiln::TestSupport
