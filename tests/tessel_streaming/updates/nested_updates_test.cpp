#include "updates_fixture.h"

#include <tessel_asset_loading/prefab_component.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A lamp whose root and bulb have a StateComponent.
PrefabText lampWithBulb(const std::string& rootText, const std::string& bulbText) {
    PrefabText prefab;
    prefab.component("StateComponent", prefab.root(id(1), "lamp"), element("text", rootText));
    prefab.component("StateComponent", prefab.child(id(2), "bulb", id(1)), element("text", bulbText));
    return prefab;
}

/// A street with two lamps.
PrefabText street(const std::string& overrides = {}, const std::string& secondLamp = "lamp.prefab") {
    PrefabText prefab;
    prefab.root(id(11), "street");
    prefab.nested(id(12), "first lamp", id(11), "lamp.prefab", overrides);
    prefab.nested(id(13), "second lamp", id(11), secondLamp);
    return prefab;
}

class NestedUpdates : public UpdatesFixture {
protected:
    NestedUpdates() {
        write("lamp.prefab", lampWithBulb("root", "dim"));
        write("street.prefab", street());
    }
};

TEST_F(NestedUpdates, reachTheInstancesThatNestTheFile) {
    const GameObject root = create("street.prefab");
    const GameObject alone = create("lamp.prefab");
    const GameObject firstBulb = in(in(root, "first lamp"), "bulb");
    const GameObject secondBulb = in(in(root, "second lamp"), "bulb");
    write("lamp.prefab", lampWithBulb("root", "bright"));
    settle();
    EXPECT_EQ(textOf(firstBulb), "bright");
    EXPECT_EQ(textOf(secondBulb), "bright");
    EXPECT_EQ(textOf(in(alone, "bulb")), "bright");
    ASSERT_THAT(updated, SizeIs(2));
    EXPECT_EQ(updated[0].root, root);
    EXPECT_THAT(updated[0].files, ElementsAre("lamp.prefab"));
    EXPECT_THAT(updated[0].changed, ElementsAre(firstBulb, secondBulb));
    EXPECT_EQ(updated[1].root, alone);
}

TEST_F(NestedUpdates, ofANestedRootReachTheMergedObjects) {
    const GameObject root = create("street.prefab");
    const GameObject lampObject = in(root, "first lamp");
    state(in(lampObject, "bulb"))->state = 7;
    write("lamp.prefab", lampWithBulb("other root", "dim"));
    settle();
    EXPECT_EQ(in(root, "first lamp"), lampObject);
    EXPECT_EQ(textOf(lampObject), "other root");
    EXPECT_EQ(textOf(in(root, "second lamp")), "other root");
    EXPECT_EQ(state(in(lampObject, "bulb"))->state, 7);
    ASSERT_THAT(updated, SizeIs(1));
    EXPECT_THAT(updated[0].changed, ElementsAre(lampObject, in(root, "second lamp")));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedUpdates, addObjectsToNestedInstances) {
    const GameObject root = create("street.prefab");
    PrefabText longer = lampWithBulb("root", "dim");
    longer.component("StateComponent", longer.child(id(3), "foot", id(1)), element("text", "foot"));
    write("lamp.prefab", longer);
    settle();
    EXPECT_EQ(textOf(in(in(root, "first lamp"), "foot")), "foot");
    EXPECT_EQ(textOf(in(in(root, "second lamp"), "foot")), "foot");
    EXPECT_TRUE(manager().isActive(in(root, "foot")));
    EXPECT_THAT(updated, SizeIs(1));
}

TEST_F(NestedUpdates, keepTheOverridesOfOuterPrefabs) {
    OverridesText overrides;
    overrides.record(id(2), "StateComponent", element("text", "overridden"));
    write("street.prefab", street(overrides.text()));
    const GameObject root = create("street.prefab");
    write("lamp.prefab", lampWithBulb("root", "bright"));
    settle();
    EXPECT_EQ(textOf(in(in(root, "first lamp"), "bulb")), "overridden");
    EXPECT_EQ(textOf(in(in(root, "second lamp"), "bulb")), "bright");
}

TEST_F(NestedUpdates, ofOverridesReachOnlyTheOverriddenComponent) {
    const GameObject root = create("street.prefab");
    for (const char* const name : {"first lamp", "second lamp"}) {
        state(in(root, name))->state = 7;
        state(in(in(root, name), "bulb"))->state = 7;
    }
    OverridesText overrides;
    overrides.record(id(2), "StateComponent", element("text", "overridden"));
    write("street.prefab", street(overrides.text()));
    settle();
    const GameObject bulb = in(in(root, "first lamp"), "bulb");
    EXPECT_EQ(textOf(bulb), "overridden");
    EXPECT_EQ(state(bulb)->state, 0);
    EXPECT_EQ(state(in(root, "first lamp"))->state, 7);
    EXPECT_EQ(state(in(root, "second lamp"))->state, 7);
    EXPECT_EQ(state(in(in(root, "second lamp"), "bulb"))->state, 7);
    ASSERT_THAT(updated, SizeIs(1));
    EXPECT_THAT(updated[0].changed, ElementsAre(in(root, "first lamp"), bulb))
        << "the lamp's PrefabComponent has changed";
    EXPECT_EQ(find<Tessel::PrefabComponent>(in(root, "first lamp"))->overridesData(), overrides.text());
}

TEST_F(NestedUpdates, ofEqualOverridesReplaceNothing) {
    OverridesText overrides;
    overrides.record(id(2), "StateComponent", element("text", "overridden"));
    write("street.prefab", street(overrides.text()));
    const GameObject root = create("street.prefab");
    const GameObject bulb = in(in(root, "first lamp"), "bulb");
    state(bulb)->state = 7;
    overrides.record(id(1), "StateComponent", element("text", "overridden root"));
    write("street.prefab", street(overrides.text()));
    settle();
    EXPECT_EQ(textOf(in(root, "first lamp")), "overridden root");
    EXPECT_EQ(state(bulb)->state, 7);
}

TEST_F(NestedUpdates, replaceANestedPrefabByAnother) {
    PrefabText torch;
    torch.component("StateComponent", torch.root(id(21), "torch"), element("text", "torch"));
    torch.component("StateComponent", torch.child(id(22), "flame", id(21)), element("text", "flame"));
    write("torch.prefab", torch);
    const auto withMoth = [](PrefabText prefab) {
        prefab.component("StateComponent", prefab.child(id(14), "moth", id(13)), element("target", id(13).toString()));
        return prefab;
    };
    write("street.prefab", withMoth(street()));
    const GameObject root = create("street.prefab");
    const GameObject lampObject = in(root, "second lamp");
    const GameObject moth = in(root, "moth");
    state(in(root, "first lamp"))->state = 7;
    ASSERT_EQ(parentOf(moth), lampObject);
    write("street.prefab", withMoth(street({}, "torch.prefab")));
    settle();
    const GameObject torchObject = in(root, "second lamp");
    EXPECT_NE(torchObject, lampObject);
    EXPECT_FALSE(Tessel::isValid(lampObject));
    EXPECT_EQ(textOf(torchObject), "torch");
    EXPECT_EQ(textOf(in(torchObject, "flame")), "flame");
    EXPECT_TRUE(manager().isActive(in(torchObject, "flame")));
    EXPECT_EQ(parentOf(moth), torchObject) << "the child of the point stays its child";
    EXPECT_EQ(state(moth)->config.target.target(), torchObject);
    EXPECT_EQ(state(in(root, "first lamp"))->state, 7);
    EXPECT_THAT(refused, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedUpdates, readFilesThatAreNestedAdditionally) {
    const GameObject root = create("lamp.prefab");
    PrefabText shade;
    shade.component("StateComponent", shade.root(id(31), "shade"), element("text", "shade"));
    shade.nested(id(32), "fringe", id(31), "fringe.prefab");
    write("shade.prefab", shade);
    PrefabText fringe;
    fringe.component("StateComponent", fringe.root(id(41), "fringe"), element("text", "fringe"));
    write("fringe.prefab", fringe);
    PrefabText shaded = lampWithBulb("root", "dim");
    shaded.nested(id(3), "my shade", id(1), "shade.prefab");
    write("lamp.prefab", shaded);
    settle();
    EXPECT_EQ(textOf(in(root, "my shade")), "shade");
    EXPECT_EQ(textOf(in(root, "fringe")), "fringe");
    EXPECT_THAT(updated, SizeIs(1));
    EXPECT_THAT(logged(), IsEmpty());
    fringe.component("TagComponent", 0, element("tag", "silk"));
    write("fringe.prefab", fringe);
    settle();
    EXPECT_EQ(tagOf(in(root, "fringe")), "silk") << "the file is watched from now on";
}

TEST_F(NestedUpdates, ofSeveralFilesAreAppliedTogether) {
    const GameObject root = create("street.prefab");
    PrefabText wider = street();
    wider.component("StateComponent", wider.child(id(15), "gutter", id(11)), element("text", "gutter"));
    write("street.prefab", wider);
    write("lamp.prefab", lampWithBulb("root", "bright"));
    settle();
    EXPECT_EQ(textOf(in(root, "gutter")), "gutter");
    EXPECT_EQ(textOf(in(root, "bulb")), "bright");
    ASSERT_THAT(updated, SizeIs(1));
    EXPECT_THAT(updated[0].files, testing::UnorderedElementsAre("lamp.prefab", "street.prefab"));
}

TEST_F(NestedUpdates, areRefusedIfANewlyNestedFileIsMissingUntilItAppears) {
    const GameObject root = create("street.prefab");
    state(in(root, "first lamp"))->state = 7;
    PrefabText shaded = lampWithBulb("root", "bright");
    shaded.nested(id(3), "shade", id(1), "shade.prefab");
    write("lamp.prefab", shaded);
    settle();
    EXPECT_EQ(textOf(in(root, "bulb")), "dim");
    EXPECT_THAT(updated, IsEmpty());
    ASSERT_THAT(refused, SizeIs(1));
    EXPECT_EQ(refused[0].file, "lamp.prefab");
    ASSERT_THAT(refused[0].failures, SizeIs(1));
    EXPECT_EQ(refused[0].failures[0].code, Tessel::Streaming::FailureCode::MISSING_FILE);
    EXPECT_EQ(refused[0].failures[0].file, "shade.prefab");
    EXPECT_THAT(refused[0].failures[0].chain, ElementsAre("lamp.prefab", "shade.prefab"));
    PrefabText shade;
    shade.component("StateComponent", shade.root(id(31), "shade"), element("text", "shade"));
    write("shade.prefab", shade);
    settle();
    EXPECT_EQ(textOf(in(root, "bulb")), "bright");
    EXPECT_EQ(textOf(in(root, "shade")), "shade");
    EXPECT_EQ(state(in(root, "first lamp"))->state, 7);
    EXPECT_THAT(refused, SizeIs(1));
}

TEST_F(NestedUpdates, areRefusedIfTheFileWouldNestItself) {
    const GameObject root = create("street.prefab");
    PrefabText endless = lampWithBulb("root", "bright");
    endless.nested(id(3), "street again", id(1), "street.prefab");
    write("lamp.prefab", endless);
    settle();
    EXPECT_EQ(textOf(in(root, "bulb")), "dim");
    ASSERT_THAT(refused, SizeIs(1));
    ASSERT_THAT(refused[0].failures, SizeIs(1));
    EXPECT_EQ(refused[0].failures[0].text(),
              "lamp.prefab: The prefab nests itself. (CYCLE; lamp.prefab > street.prefab "
              "> lamp.prefab)");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedUpdates, areRefusedIfTheFileHasNoRoot) {
    const GameObject root = create("street.prefab");
    PrefabText rootless;
    rootless.child(id(2), "bulb", id(1));
    write("lamp.prefab", rootless);
    settle();
    EXPECT_EQ(textOf(in(root, "bulb")), "dim");
    ASSERT_THAT(refused, SizeIs(1));
    ASSERT_THAT(refused[0].failures, SizeIs(1));
    EXPECT_EQ(refused[0].failures[0].text(), "lamp.prefab: The prefab has no root. (NO_ROOT)");
}

TEST_F(NestedUpdates, areRefusedIfANewlyNestedFileHasNoRootUntilItGetsOne) {
    const GameObject root = create("street.prefab");
    PrefabText shade;
    shade.child(id(31), "shade", id(30));
    write("shade.prefab", shade);
    PrefabText shaded = lampWithBulb("root", "bright");
    shaded.nested(id(3), "my shade", id(1), "shade.prefab");
    write("lamp.prefab", shaded);
    settle();
    EXPECT_EQ(textOf(in(root, "bulb")), "dim");
    EXPECT_EQ(library.find("lamp.prefab")->prefab()->nodesCount(), 2U);
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab")->prefab->nodesCount(), 2U);
    EXPECT_THAT(updated, IsEmpty());
    ASSERT_THAT(refused, SizeIs(1));
    ASSERT_THAT(refused[0].failures, SizeIs(1));
    EXPECT_EQ(refused[0].failures[0].text(),
              "shade.prefab: The prefab has no game object without a parent, so that it cannot be nested. (NO_ROOT; "
              "lamp.prefab > shade.prefab)");
    PrefabText rooted;
    rooted.component("StateComponent", rooted.root(id(31), "shade"), element("text", "shade"));
    write("shade.prefab", rooted);
    settle();
    EXPECT_EQ(textOf(in(root, "bulb")), "bright");
    EXPECT_EQ(textOf(in(root, "my shade")), "shade");
    EXPECT_THAT(refused, SizeIs(1));
}

TEST_F(NestedUpdates, areCheckedAgainstTheVersionsThatStay) {
    PrefabText shade;
    shade.component("StateComponent", shade.root(id(31), "shade"), element("text", "shade"));
    write("shade.prefab", shade);
    hold("shade.prefab");
    const GameObject root = create("street.prefab");
    PrefabText unsound;
    unsound.child(id(31), "shade", id(30));
    write("shade.prefab", unsound);
    PrefabText shaded = lampWithBulb("root", "bright");
    shaded.nested(id(3), "my shade", id(1), "shade.prefab");
    write("lamp.prefab", shaded);
    settle();
    ASSERT_THAT(refused, SizeIs(1));
    EXPECT_EQ(refused[0].file, "shade.prefab");
    EXPECT_EQ(textOf(in(root, "my shade")), "shade");
}

TEST_F(NestedUpdates, areRefusedIfTheFileHasTwoRoots) {
    const GameObject root = create("street.prefab");
    const GameObject alone = create("lamp.prefab");
    PrefabText twofold = lampWithBulb("root", "bright");
    twofold.root(id(3), "second root");
    write("lamp.prefab", twofold);
    settle();
    EXPECT_EQ(textOf(in(root, "bulb")), "dim");
    EXPECT_EQ(textOf(in(alone, "bulb")), "dim");
    EXPECT_EQ(library.find("lamp.prefab")->prefab()->nodesCount(), 2U);
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab")->prefab->nodesCount(), 2U);
    EXPECT_THAT(updated, IsEmpty());
    ASSERT_THAT(refused, SizeIs(1));
    ASSERT_THAT(refused[0].failures, SizeIs(1));
    EXPECT_EQ(refused[0].failures[0].text(),
              "lamp.prefab: The prefab has more than one game object without a parent. (NOT_A_PREFAB)");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestedUpdates, thatAnInstanceCannotTakeAreMadeUpForByTheNextOnes) {
    const auto level = [](int number, bool hasNested) {
        PrefabText prefab;
        prefab.component("StateComponent", prefab.root(id(1), "level"), element("text", std::to_string(number)));
        if (hasNested) {
            prefab.nested(id(2), "level " + std::to_string(number + 1), id(1),
                          "level" + std::to_string(number + 1) + ".prefab");
        }
        return prefab;
    };
    const int deepest = Tessel::GameObjectPrefab::MAX_NESTING_DEPTH;
    for (int i = 0; i <= deepest; ++i) {
        write("level" + std::to_string(i) + ".prefab", level(i, i < deepest));
    }
    const GameObject root = create("level0.prefab");
    const GameObject last = in(root, "level " + std::to_string(deepest));
    ASSERT_EQ(textOf(last), std::to_string(deepest));
    const std::string path = "level" + std::to_string(deepest) + ".prefab";
    write("level" + std::to_string(deepest + 1) + ".prefab", level(deepest + 1, false));
    write(path, level(deepest, true));
    settle();
    EXPECT_THAT(updated, IsEmpty());
    ASSERT_THAT(refused, SizeIs(1));
    EXPECT_EQ(refused[0].file, "level0.prefab");
    ASSERT_THAT(refused[0].failures, SizeIs(1));
    EXPECT_EQ(refused[0].failures[0].text(), "level0.prefab: An instance cannot be updated. (CREATION_FAILED)");
    write(path, level(9, false));
    settle();
    EXPECT_EQ(textOf(last), "9");
    EXPECT_THAT(refused, SizeIs(1));
    EXPECT_THAT(updated, SizeIs(1));
}

TEST_F(NestedUpdates, reachWhatTheOverridesOfTheRequestNest) {
    PrefabText torch;
    torch.component("StateComponent", torch.root(id(21), "torch"), element("text", "torch"));
    write("torch.prefab", torch);
    hold("torch.prefab");
    Options options;
    OverridesText overrides;
    overrides.record(id(13), "PrefabComponent", element("resource", "torch.prefab"));
    options.overrides = OverrideRecords::create(overrides.text());
    const GameObject root = create("street.prefab", options);
    ASSERT_EQ(textOf(in(root, "second lamp")), "torch");
    PrefabText brighter;
    brighter.component("StateComponent", brighter.root(id(21), "torch"), element("text", "bright torch"));
    write("torch.prefab", brighter);
    settle();
    EXPECT_EQ(textOf(in(root, "second lamp")), "bright torch");
    ASSERT_THAT(updated, SizeIs(1));
    EXPECT_THAT(updated[0].files, ElementsAre("torch.prefab"));
}

} // namespace
} // namespace Kiln::TestSupport
