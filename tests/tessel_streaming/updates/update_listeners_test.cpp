#include "updates_fixture.h"

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

PrefabText plainLamp(const std::string& text) {
    PrefabText prefab;
    prefab.component("StateComponent", prefab.root(id(1), "lamp"), element("text", text));
    return prefab;
}

class UpdateListeners : public UpdatesFixture {
protected:
    UpdateListeners() { write("lamp.prefab", plainLamp("dim")); }

    [[nodiscard]] GameObject createFor(std::uint64_t request) {
        Options options;
        options.request = request;
        return create("lamp.prefab", options);
    }

    void update() {
        write("lamp.prefab", plainLamp("bright"));
        settle();
    }

    int listen(std::function<void(const InstanceUpdate&)> function) {
        return updates->addListener({std::move(function), nullptr});
    }
};

TEST_F(UpdateListeners, areCalledInTheOrderOfTheRequests) {
    const GameObject third = createFor(30);
    const GameObject first = createFor(10);
    const GameObject second = createFor(20);
    const GameObject alsoSecond = createFor(20);
    update();
    std::vector<GameObject> roots;
    for (const InstanceUpdate& each : updated) {
        roots.push_back(each.root);
    }
    EXPECT_THAT(roots, ElementsAre(first, second, alsoSecond, third));
}

TEST_F(UpdateListeners, areCalledWhenAllInstancesAreUpdated) {
    const GameObject first = createFor(1);
    const GameObject second = createFor(2);
    std::vector<std::string> texts;
    listen([&](const InstanceUpdate&) {
        texts.push_back(textOf(first));
        texts.push_back(textOf(second));
    });
    update();
    EXPECT_THAT(texts, ElementsAre("bright", "bright", "bright", "bright"));
}

TEST_F(UpdateListeners, areCalledInTheirOrderUntilTheyAreRemoved) {
    static_cast<void>(createFor(1));
    std::vector<std::string> calls;
    const int first = listen([&](const InstanceUpdate&) { calls.emplace_back("first"); });
    const int second = listen([&](const InstanceUpdate&) { calls.emplace_back("second"); });
    EXPECT_NE(first, second);
    update();
    EXPECT_THAT(calls, ElementsAre("first", "second"));
    updates->removeListener(first);
    updates->removeListener(1234);
    write("lamp.prefab", plainLamp("dark"));
    settle();
    EXPECT_THAT(calls, ElementsAre("first", "second", "second"));
}

TEST_F(UpdateListeners, mayRemoveListenersAndAddSome) {
    static_cast<void>(createFor(1));
    std::vector<std::string> calls;
    int second = 0;
    int first = 0;
    first = listen([&](const InstanceUpdate&) {
        calls.emplace_back("first");
        updates->removeListener(first);
        updates->removeListener(second);
        listen([&](const InstanceUpdate&) { calls.emplace_back("third"); });
    });
    second = listen([&](const InstanceUpdate&) { calls.emplace_back("second"); });
    update();
    EXPECT_THAT(calls, ElementsAre("first"));
    write("lamp.prefab", plainLamp("dark"));
    settle();
    EXPECT_THAT(calls, ElementsAre("first", "third"));
}

TEST_F(UpdateListeners, mayEndTheFollowingOfOthers) {
    static_cast<void>(createFor(1));
    static_cast<void>(createFor(2));
    const GameObject third = createFor(3);
    listen([&](const InstanceUpdate& each) {
        if (each.root != third) {
            updates->unfollow(2);
        }
    });
    update();
    EXPECT_THAT(updated, SizeIs(2)) << "an instance that is not followed any more is not reported";
    EXPECT_EQ(updates->followedCount(), 2U);
}

TEST_F(UpdateListeners, mayRemoveTheInstances) {
    const GameObject first = createFor(1);
    const GameObject second = createFor(2);
    listen([&](const InstanceUpdate&) {
        Tessel::removeGameObject(first);
        Tessel::removeGameObject(second);
    });
    update();
    EXPECT_THAT(updated, SizeIs(1));
    EXPECT_EQ(updates->followedCount(), 0U);
}

TEST_F(UpdateListeners, mayDestroyTheWorld) {
    static_cast<void>(createFor(1));
    static_cast<void>(createFor(2));
    listen([&](const InstanceUpdate&) {
        Tessel::EntryPoint::instance().destroyWorld(worldId);
        updates->onWorldDestroyed(worldId);
    });
    update();
    EXPECT_THAT(updated, SizeIs(1));
    EXPECT_EQ(updates->followedCount(), 0U);
}

TEST_F(UpdateListeners, mayRunFramesAndStopWatching) {
    static_cast<void>(createFor(1));
    listen([&](const InstanceUpdate&) {
        frame();
        updates->watch(false);
    });
    update();
    EXPECT_THAT(updated, SizeIs(1));
    write("lamp.prefab", plainLamp("dark"));
    settle();
    EXPECT_THAT(updated, SizeIs(1));
}

TEST_F(UpdateListeners, mayFollowFurtherInstances) {
    static_cast<void>(createFor(1));
    bool isCreated = false;
    listen([&](const InstanceUpdate&) {
        if (!std::exchange(isCreated, true)) {
            static_cast<void>(createFor(2));
        }
    });
    update();
    EXPECT_THAT(updated, SizeIs(1));
    write("lamp.prefab", plainLamp("dark"));
    settle();
    EXPECT_THAT(updated, SizeIs(3));
}

TEST_F(UpdateListeners, thatThrowAreReportedAndDoNotDisturbTheOthers) {
    static_cast<void>(createFor(1));
    listen([](const InstanceUpdate&) { throw std::runtime_error("not now"); });
    listen([](const InstanceUpdate&) { throw 1; });
    int calls = 0;
    listen([&](const InstanceUpdate&) { ++calls; });
    update();
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(logged(), ElementsAre("5: An update listener has failed: not now",
                                      "5: An update listener has failed: unknown exception"));
}

TEST_F(UpdateListeners, mayBeEmpty) {
    const GameObject root = createFor(1);
    updates->addListener({});
    update();
    write("lamp.prefab", "<prefab>");
    settle();
    EXPECT_EQ(textOf(root), "bright");
    EXPECT_THAT(refused, SizeIs(1));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(UpdateListeners, hearOfUpdatesOnceWhenComponentsRunFrames) {
    const GameObject root = createFor(1);
    StateComponent::onConstruct = [this](const StateComponent::Config&) { frame(); };
    update();
    EXPECT_EQ(textOf(root), "bright");
    EXPECT_THAT(updated, SizeIs(1));
}

TEST_F(UpdateListeners, doNotHearOfInstancesWhoseComponentsRemoveThem) {
    const GameObject first = createFor(1);
    const GameObject second = createFor(2);
    StateComponent::onConstruct = [&](const StateComponent::Config&) { Tessel::removeGameObject(first); };
    update();
    ASSERT_THAT(updated, SizeIs(1));
    EXPECT_EQ(updated[0].root, second);
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
}

} // namespace
} // namespace Kiln::TestSupport
