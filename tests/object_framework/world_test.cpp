#include "world_fixture.h"

#include <gmock/gmock.h>

#include <memory>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Worlds : public WorldTest {};

TEST_F(Worlds, id_isThatOfItsManagerAndObjects) {
    EXPECT_EQ(world().id(), worldId);
    EXPECT_EQ(&world().manager(), getGameObjectManager(worldId));
}

TEST_F(Worlds, findStorage_noComponentOfTheTypeYet_isNull) {
    EXPECT_EQ(world().findStorage(typeOf<ComponentA>()), nullptr);
    EXPECT_EQ(world().findStorage(IComponent::MAX_TYPES), nullptr);
}

TEST_F(Worlds, getStorage_isMadeOnFirstUseAndStays) {
    ComponentStorage<ComponentA>& storage = world().getStorage<ComponentA>();
    EXPECT_EQ(storage.type(), typeOf<ComponentA>());
    EXPECT_EQ(&world().getStorage<ComponentA>(), &storage);
    EXPECT_EQ(world().findStorage(typeOf<ComponentA>()), &storage);
}

TEST_F(Worlds, addStorage_typeThatHasOne_keepsTheFirst) {
    ComponentStorage<ComponentA>& first = world().getStorage<ComponentA>();
    world().addStorage(typeOf<ComponentA>(), std::make_unique<ComponentStorage<ComponentA>>());
    EXPECT_EQ(world().findStorage(typeOf<ComponentA>()), &first);
}

TEST_F(Worlds, addStorage_newType_isFound) {
    auto storage = std::make_unique<ComponentStorage<ComponentB>>();
    const GenericComponentStorage* const added = storage.get();
    world().addStorage(typeOf<ComponentB>(), std::move(storage));
    EXPECT_EQ(world().findStorage(typeOf<ComponentB>()), added);
    EXPECT_EQ(&world().getStorage<ComponentB>(), added);
}

TEST_F(Worlds, storages_areListedByAscendingType) {
    EXPECT_THAT(world().storages(), IsEmpty());
    const bool isAFirst = typeOf<ComponentA>() < typeOf<ComponentB>();
    GenericComponentStorage* const b = &world().getStorage<ComponentB>();
    GenericComponentStorage* const a = &world().getStorage<ComponentA>();
    EXPECT_THAT(world().storages(), isAFirst ? ElementsAre(a, b) : ElementsAre(b, a));
}

TEST_F(Worlds, storages_areThoseOfOneWorld) {
    const int otherWorld = EntryPoint::instance().createWorld();
    (void)world().getStorage<ComponentA>();
    EXPECT_EQ(EntryPoint::instance().findValidWorld(otherWorld)->findStorage(typeOf<ComponentA>()), nullptr);
    EntryPoint::instance().destroyWorld(otherWorld);
}

TEST_F(Worlds, tickReaction_runsOncePerReactionPhase) {
    int runs = 0;
    world().addTickReaction("group", "name", [&runs] { ++runs; });
    world().runReactions();
    world().runReactions();
    EXPECT_EQ(runs, 2);
}

TEST_F(Worlds, tickReaction_runsInTheFrame) {
    int runs = 0;
    const int id = world().addTickReaction("group", "name", [&runs] { ++runs; });
    EntryPoint::instance().tick();
    EXPECT_EQ(runs, 1);
    world().removeTickReaction(id);
    EntryPoint::instance().tick();
    EXPECT_EQ(runs, 1);
}

TEST_F(Worlds, fini_removesEveryObjectAndCanBeCalledAgain) {
    const GameObject object = create();
    add<ComponentA>(object);
    manager().activateGameObject(object);
    world().fini();
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_EQ(ComponentA::livingCount, 0);
    world().fini();
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
