#include <tessel_asset_loading/support/service_fixture.h>

#include <stdexcept>
#include <unordered_map>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Records its calls and returns what the test has set.
class TestListener final : public ICreationListener {
public:
    bool acceptsPrefab(const GameObjectPrefab& prefab) override {
        calls.emplace_back("acceptsPrefab");
        lastPrefab = &prefab;
        return isAccepting;
    }
    bool processInstance(int worldId, CreatedInstance instance) override {
        calls.emplace_back("processInstance");
        lastWorldId = worldId;
        lastInstance = std::move(instance);
        if (atProcess) {
            atProcess();
        }
        return isProcessed;
    }

    bool isAccepting = true;
    bool isProcessed = true;
    std::function<void()> atProcess;
    std::vector<std::string> calls;
    const GameObjectPrefab* lastPrefab = nullptr;
    int lastWorldId = -1;
    CreatedInstance lastInstance;
};

/// The component library's listener, which may veto an instance at two points. The prefab is a root with one child.
class CreationListener : public ServiceFixture {
protected:
    CreationListener() {
        PrefabBuilder prefab;
        prefab.root(id(1), "Root").with<Tessel::PrefabComponent>();
        prefab.child(id(2), "Child", id(1));
        cachePrefab("lamp.prefab", prefab);
        ComponentLibrary::instance().setCreationListener(&listener);
    }
    ~CreationListener() override { ComponentLibrary::instance().setCreationListener(nullptr); }

    TestListener listener;
};

TEST_F(CreationListener, throwingOnce_leavesNoInstanceAndTheLoadIsRepeated) {
    load("lamp.prefab", id(100), makeCallback("lamp"));
    listener.atProcess = [] { throw std::runtime_error("refused"); };
    tick();
    EXPECT_EQ(manager().gameObjectsCount(), 0U);

    listener.atProcess = nullptr;
    tick();
    EXPECT_EQ(manager().gameObjectsCount(), 2U);
}

TEST_F(CreationListener, notAccepting_isNotGivenTheInstance) {
    listener.isAccepting = false;
    load("lamp.prefab", id(100), makeCallback("lamp"));
    tick();

    EXPECT_THAT(listener.calls, ElementsAre("acceptsPrefab"));
    EXPECT_EQ(listener.lastPrefab, service().loadPrefabData("lamp.prefab"));
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_TRUE(manager().isActive(findByName(manager(), "Root")));
}

TEST_F(CreationListener, accepting_isGivenWorldInstanceUuidAndObjects) {
    load("lamp.prefab", id(100));
    tick();

    EXPECT_THAT(listener.calls, ElementsAre("acceptsPrefab", "processInstance"));
    EXPECT_EQ(listener.lastWorldId, worldId);
    EXPECT_EQ(listener.lastInstance.instanceUuid, id(100));
    const UuidMap expected{{Uuid::combine(id(100), id(1)), findByName(manager(), "Root")},
                           {Uuid::combine(id(100), id(2)), findByName(manager(), "Child")}};
    EXPECT_EQ(listener.lastInstance.objects, expected);
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(CreationListener, accepting_isAskedBeforeRootIsStampedAndOffered) {
    Uuid stamp = id(1);
    listener.atProcess = [this, &stamp] {
        stamp = find<Tessel::PrefabComponent>(findByName(manager(), "Root"))->instanceUuid();
        EXPECT_THAT(events(), IsEmpty());
    };
    load("lamp.prefab", id(100), makeCallback("lamp"));
    tick();

    EXPECT_EQ(stamp, Uuid::ZERO);
    EXPECT_EQ(find<Tessel::PrefabComponent>(findByName(manager(), "Root"))->instanceUuid(), id(100));
}

TEST_F(CreationListener, refusing_removesHierarchyAndLoaderStays) {
    listener.isProcessed = false;
    load("lamp.prefab", id(100), makeCallback("lamp"));
    tick();

    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(queued(), ElementsAre(id(100)));
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(CreationListener, refusing_isOfferedANewHierarchyEveryTick) {
    listener.isProcessed = false;
    load("lamp.prefab", id(100), makeCallback("lamp"));
    tick();
    const UuidMap first = listener.lastInstance.objects;
    tick();
    const UuidMap second = listener.lastInstance.objects;
    listener.isProcessed = true;
    tick();

    EXPECT_EQ(listener.calls.size(), 6U);
    EXPECT_EQ(first.size(), 2U);
    EXPECT_NE(first, second);
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(manager().gameObjectsCount(), 2U);
    EXPECT_THAT(events(), ElementsAre("lamp: onPreactivate", "lamp: onObjectLoaded",
                                      "lamp: onObjectLoadedIntoHierarchy", "lamp: destroyed"));
}

TEST_F(CreationListener, listenerTakenAwayDuringTheCreation_isStillAsked) {
    PrefabBuilder prefab;
    prefab.root(id(1), "Root").with<HookComponent>();
    cachePrefab("hook.prefab", prefab);
    HookComponent::onConstruct = [](const HookComponent::Config&) {
        ComponentLibrary::instance().setCreationListener(nullptr);
    };
    load("hook.prefab");
    tick();

    EXPECT_THAT(listener.calls, ElementsAre("acceptsPrefab", "processInstance"));
}

TEST_F(CreationListener, failingCreation_isNotOffered) {
    cachePrefab("bad.prefab", PrefabBuilder().root(id(1)).root(id(2)));
    load("bad.prefab");
    tick();

    EXPECT_THAT(listener.calls, IsEmpty());
}

TEST_F(CreationListener, rootRemovedByListener_isReportedAndNotOffered) {
    listener.atProcess = [this] { Tessel::removeGameObject(findByName(manager(), "Root")); };
    load("lamp.prefab", id(100), makeCallback("lamp"));
    tick();

    EXPECT_THAT(logged(), ElementsAre("4: Root GO [], is missing PrefabComponent"));
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(events(), ElementsAre("lamp: onObjectLoaded", "lamp: onObjectLoadedIntoHierarchy", "lamp: destroyed"));
}

TEST_F(CreationListener, worldDestroyedByListener_loaderStays) {
    const int otherId = Tessel::EntryPoint::instance().createWorld();
    listener.atProcess = [otherId] { Tessel::EntryPoint::instance().destroyWorld(otherId); };
    service().loadGameObject("lamp.prefab", otherId, id(100), makeCallback("lamp"), nullptr);
    tick();
    tick();

    EXPECT_THAT(queued(), ElementsAre(id(100)));
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(listener.calls.size(), 2U);
}

} // namespace
} // namespace Kiln::TestSupport
