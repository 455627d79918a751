#include "updates_fixture.h"

#include <generic_components/transform_component.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::TransformComponent;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A lamp with a bulb and a foot, each with a StateComponent and a TagComponent.
PrefabText lampWithFoot(const std::string& bulbText, const std::string& rootText = "root") {
    PrefabText prefab;
    const std::size_t root = prefab.root(id(1), "lamp");
    const std::size_t bulb = prefab.child(id(2), "bulb", id(1));
    const std::size_t foot = prefab.child(id(3), "foot", id(1));
    prefab.component("StateComponent", root, element("text", rootText));
    prefab.component("StateComponent", bulb, element("text", bulbText));
    prefab.component("StateComponent", foot, element("text", "foot"));
    prefab.component("TagComponent", bulb, element("tag", "glass"));
    return prefab;
}

class ChangedValues : public UpdatesFixture {
protected:
    ChangedValues() { write("lamp.prefab", lampWithFoot("dim")); }
};

TEST_F(ChangedValues, reachAllInstances) {
    const GameObject first = create("lamp.prefab");
    const GameObject second = create("lamp.prefab");
    write("lamp.prefab", lampWithFoot("bright"));
    settle();
    EXPECT_EQ(textOf(in(first, "bulb")), "bright");
    EXPECT_EQ(textOf(in(second, "bulb")), "bright");
    ASSERT_THAT(updated, SizeIs(2));
    EXPECT_EQ(updated[0].root, first);
    EXPECT_EQ(updated[1].root, second);
    EXPECT_THAT(updated[0].files, ElementsAre("lamp.prefab"));
    EXPECT_THAT(updated[0].changed, ElementsAre(in(first, "bulb")));
    EXPECT_THAT(updated[0].added, IsEmpty());
    EXPECT_THAT(updated[0].removed, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ChangedValues, replaceOnlyTheirComponent) {
    const GameObject root = create("lamp.prefab");
    const GameObject bulb = in(root, "bulb");
    const GameObject foot = in(root, "foot");
    const TagComponent* const tag = find<TagComponent>(bulb);
    state(root)->state = 7;
    state(bulb)->state = 7;
    state(foot)->state = 7;
    write("lamp.prefab", lampWithFoot("bright"));
    settle();
    EXPECT_EQ(in(root, "bulb"), bulb);
    EXPECT_EQ(in(root, "foot"), foot);
    EXPECT_EQ(state(bulb)->state, 0);
    EXPECT_EQ(find<TagComponent>(bulb), tag);
    EXPECT_EQ(state(root)->state, 7);
    EXPECT_EQ(state(foot)->state, 7);
}

TEST_F(ChangedValues, ofTheRootKeepItsUuidAndStamp) {
    const GameObject root = create("lamp.prefab");
    const Uuid uuid = manager().getGameObjectUuid(root);
    state(root)->state = 7;
    write("lamp.prefab", lampWithFoot("dim", "other root"));
    settle();
    EXPECT_EQ(textOf(root), "other root");
    EXPECT_EQ(state(root)->state, 0);
    EXPECT_EQ(manager().getGameObjectUuid(root), uuid);
    EXPECT_THAT(updated, SizeIs(1));
}

TEST_F(ChangedValues, areUpdatedOneAfterTheOther) {
    const GameObject root = create("lamp.prefab");
    for (const std::string text : {"bright", "dark", "red"}) {
        write("lamp.prefab", lampWithFoot(text));
        settle();
        EXPECT_EQ(textOf(in(root, "bulb")), text);
    }
    EXPECT_THAT(updated, SizeIs(3));
}

TEST_F(ChangedValues, reachInstancesThatAreCreatedLater) {
    const GameObject first = create("lamp.prefab");
    write("lamp.prefab", lampWithFoot("bright"));
    settle();
    const GameObject second = create("lamp.prefab");
    EXPECT_EQ(textOf(in(second, "bulb")), "bright");
    write("lamp.prefab", lampWithFoot("dark"));
    settle();
    EXPECT_EQ(textOf(in(first, "bulb")), "dark");
    EXPECT_EQ(textOf(in(second, "bulb")), "dark");
    EXPECT_THAT(updated, SizeIs(3));
}

TEST_F(ChangedValues, keepNamesThatTheGameHasSet) {
    const GameObject root = create("lamp.prefab");
    const GameObject bulb = in(root, "bulb");
    manager().setGameObjectName(bulb, "my bulb");
    write("lamp.prefab", lampWithFoot("bright"));
    settle();
    EXPECT_EQ(manager().getGameObjectName(bulb), "my bulb");
    EXPECT_EQ(textOf(bulb), "bright");
}

TEST_F(ChangedValues, applyTheOverridesOfTheRequest) {
    Options options;
    OverridesText overrides;
    overrides.record(id(2), "StateComponent", element("text", "overridden"));
    overrides.record(Uuid::ZERO, "StateComponent", element("text", "overridden root"));
    options.overrides = OverrideRecords::create(overrides.text());
    const GameObject root = create("lamp.prefab", options);
    write("lamp.prefab", lampWithFoot("bright", "other root"));
    settle();
    EXPECT_EQ(textOf(in(root, "bulb")), "overridden");
    EXPECT_EQ(textOf(root), "overridden root");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ChangedValues, withLinksReferToTheObjectsOfTheirInstance) {
    const auto linked = [](const std::string& target) {
        PrefabText prefab;
        const std::size_t root = prefab.root(id(1), "lamp");
        prefab.child(id(2), "bulb", id(1));
        prefab.child(id(3), "foot", id(1));
        prefab.component("StateComponent", root, element("target", target));
        return prefab;
    };
    write("linked.prefab", linked(id(2).toString()));
    const GameObject first = create("linked.prefab");
    const GameObject second = create("linked.prefab");
    write("linked.prefab", linked(id(3).toString()));
    settle();
    EXPECT_EQ(state(first)->config.target.target(), in(first, "foot"));
    EXPECT_EQ(state(second)->config.target.target(), in(second, "foot"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ChangedValues, keepActiveComponentsActive) {
    const GameObject root = create("lamp.prefab");
    Options inactive;
    inactive.isActive = false;
    const GameObject other = create("lamp.prefab", inactive);
    write("lamp.prefab", lampWithFoot("bright"));
    settle();
    EXPECT_TRUE(state(in(root, "bulb"))->isActive);
    EXPECT_FALSE(state(in(other, "bulb"))->isActive);
    EXPECT_FALSE(manager().isActive(other));
}

TEST_F(ChangedValues, ofATransformKeepThePlacement) {
    const auto placed = [](const Matrix& matrix, const std::string& text) {
        PrefabText prefab = lampWithFoot(text);
        prefab.component("TransformComponent", 0, element("local", matrix.toString()));
        return prefab;
    };
    write("placed.prefab", placed(Matrix::translation(1, 2, 3), "dim"));
    Options options;
    options.parent = manager().createGameObject();
    manager().activateGameObject(options.parent);
    options.placement = Matrix::translation(9, 0, 0);
    const GameObject root = create("placed.prefab", options);
    const GameObject unplaced = create("placed.prefab");
    write("placed.prefab", placed(Matrix::translation(4, 5, 6), "bright"));
    settle();
    EXPECT_EQ(find<TransformComponent>(root)->local, *options.placement);
    EXPECT_EQ(parentOf(root), options.parent);
    EXPECT_EQ(find<TransformComponent>(unplaced)->local, Matrix::translation(4, 5, 6));
    EXPECT_EQ(textOf(in(root, "bulb")), "bright");
}

TEST_F(ChangedValues, thatAreEqualChangeNothing) {
    const GameObject root = create("lamp.prefab");
    state(root)->state = 7;
    write("lamp.prefab", lampWithFoot("dim").text() + "\n<!-- saved again -->\n");
    settle();
    EXPECT_EQ(state(root)->state, 7);
    EXPECT_THAT(updated, IsEmpty());
    EXPECT_THAT(refused, IsEmpty());
}

TEST_F(ChangedValues, ofRemovedObjectsAreIgnored) {
    const GameObject root = create("lamp.prefab");
    manager().removeGameObject(in(root, "bulb"));
    write("lamp.prefab", lampWithFoot("bright"));
    settle();
    EXPECT_THAT(updated, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ChangedValues, goOnWhenAComponentThrows) {
    const GameObject first = create("lamp.prefab");
    const GameObject second = create("lamp.prefab");
    int calls = 0;
    StateComponent::onConstruct = [&calls](const StateComponent::Config&) {
        if (++calls == 1) {
            throw std::runtime_error("no filament");
        }
    };
    write("lamp.prefab", lampWithFoot("bright"));
    settle();
    EXPECT_EQ(textOf(in(first, "bulb")), "<none>");
    EXPECT_EQ(textOf(in(second, "bulb")), "bright");
    EXPECT_THAT(updated, SizeIs(2));
    EXPECT_THAT(logged(), ElementsAre("5: Failed to update an instance of 'lamp.prefab': component 'StateComponent': "
                                      "no filament"));
}

} // namespace
} // namespace Kiln::TestSupport
