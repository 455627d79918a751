#include <object_serialization/component_library.h>
#include <tessel_asset_loading/support/service_fixture.h>

#include <stdexcept>
#include <string>

namespace Kiln::TestSupport {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A listener that throws an exception that is no std::exception.
class ThrowingListener final : public ICreationListener {
public:
    bool acceptsPrefab(const Tessel::GameObjectPrefab& /*prefab*/) override { return true; }
    bool processInstance(int /*worldId*/, CreatedInstance /*instance*/) override { throw 42; }
};

/// Loads whose creation throws: "faulty.prefab" nests "part.prefab", the component of which throws.
class CreationExceptions : public ServiceFixture {
protected:
    CreationExceptions() {
        writeHookedRoot("part.prefab", "part");
        PrefabText faulty;
        faulty.component("TagComponent", faulty.root(id(1), "Faulty"), element("tag", "lit"));
        faulty.nested(id(2), "Part", id(1), "part.prefab");
        writePrefab("faulty.prefab", faulty);
        writeRoot("sound.prefab", "Sound");
        HookComponent::onConstruct = [](const HookComponent::Config&) { throw std::runtime_error("no such texture"); };
    }
    ~CreationExceptions() override { ComponentLibrary::instance().setCreationListener(nullptr); }

    /// The messages about instances that could not be created.
    [[nodiscard]] std::vector<std::string> failures() const {
        std::vector<std::string> texts;
        for (const std::string& line : logged()) {
            if (line.starts_with("5: Failed to create an instance")) {
                texts.push_back(line);
            }
        }
        return texts;
    }
};

TEST_F(CreationExceptions, componentThatThrows_isReportedWithItsNameAndPrefab) {
    load("faulty.prefab");
    finishLoads();

    EXPECT_THAT(failures(), ElementsAre("5: Failed to create an instance of 'faulty.prefab': component "
                                        "'HookComponent': no such texture"));
}

TEST_F(CreationExceptions, componentThatThrows_leavesNoObject) {
    load("faulty.prefab");
    finishLoads();
    tick();

    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(CreationExceptions, componentThatThrowsInEveryFrame_isReportedOnce) {
    load("faulty.prefab");
    finishLoads();
    for (int frame = 0; frame < 100; ++frame) {
        tick();
    }

    EXPECT_EQ(failures().size(), 1U);
    EXPECT_THAT(queued(), ElementsAre(id(100)));
}

TEST_F(CreationExceptions, everyLoader_isReported) {
    load("faulty.prefab", id(100));
    load("faulty.prefab", id(101));
    finishLoads();
    tick();

    EXPECT_EQ(failures().size(), 2U);
}

TEST_F(CreationExceptions, loadersQueuedBeforeAndAfter_areCreatedInTheSameFrame) {
    load("sound.prefab", id(100), makeCallback("before"));
    load("faulty.prefab", id(101), makeCallback("faulty"));
    load("sound.prefab", id(102), makeCallback("after"));
    finishLoads();

    EXPECT_THAT(queued(), ElementsAre(id(101)));
    EXPECT_THAT(events(), ElementsAre("after: onPreactivate", "before: onPreactivate", "after: onObjectLoaded",
                                      "before: onObjectLoaded", "after: onObjectLoadedIntoHierarchy",
                                      "before: onObjectLoadedIntoHierarchy", "after: destroyed", "before: destroyed"));
}

TEST_F(CreationExceptions, componentThatNoLongerThrows_isCreated) {
    load("faulty.prefab");
    finishLoads();
    HookComponent::onConstruct = nullptr;
    tick();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(manager().gameObjectsCount(), 2U);
}

TEST_F(CreationExceptions, listenerThatThrows_isReportedOnceAndLeavesNoObject) {
    ThrowingListener listener;
    ComponentLibrary::instance().setCreationListener(&listener);
    load("sound.prefab");
    finishLoads();
    tick();

    EXPECT_THAT(failures(), ElementsAre("5: Failed to create an instance of 'sound.prefab': creation listener: unknown "
                                        "exception"));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(queued(), ElementsAre(id(100)));
}

TEST_F(CreationExceptions, prefabFromASection_isNamedByItsRoot) {
    PrefabText prefab;
    prefab.component("HookComponent", prefab.root(id(1), "Lamp"));
    loadSection(prefab.section());
    finishLoads();

    EXPECT_THAT(failures(), ElementsAre("5: Failed to create an instance of 'Lamp': component 'HookComponent': no such "
                                        "texture"));
}

TEST_F(CreationExceptions, callbackThatThrows_leavesTickAfterTheOtherLoads) {
    const SmartPointer<RecordingCallback> throwing = makeCallback("throwing");
    throwing->atPreactivate = [](Tessel::GameObject, Tessel::GameObjectManager&) { throw std::logic_error("refused"); };
    load("sound.prefab", id(100), makeCallback("before"));
    load("sound.prefab", id(101), throwing);
    waitForWorkers();

    EXPECT_THROW(service().tick(), std::logic_error);

    EXPECT_THAT(events(), ElementsAre("throwing: onPreactivate", "before: onPreactivate", "before: onObjectLoaded"));
    EXPECT_THAT(queued(), ElementsAre(id(101)));
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
    EXPECT_THAT(failures(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
