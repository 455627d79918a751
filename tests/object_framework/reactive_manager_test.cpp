#include "world_fixture.h"

#include <gmock/gmock.h>

#include <memory>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordingManager final : public ReactiveManager<RecordingManager> {
public:
    explicit RecordingManager(std::vector<std::string>& journal, std::string name)
        : m_journal(journal), m_name(std::move(name)) {}
    ~RecordingManager() override { m_journal.push_back("destroy " + m_name); }

    void init(World& world) override { m_journal.push_back("init " + m_name + " " + std::to_string(world.id())); }
    void fini(World& world) override {
        m_journal.push_back("fini " + m_name + (EntryPoint::instance().isWorldValid(world.id()) ? " valid " : " ") +
                            std::to_string(world.id()) + " objects " +
                            std::to_string(world.manager().gameObjectsCount()));
    }

private:
    std::vector<std::string>& m_journal;
    std::string m_name;
};

class PlainManager final : public ReactiveManager<PlainManager> {
public:
    void init(World& /*world*/) override {}
    void fini(World& /*world*/) override {}
};

/// Kinds can't be unregistered, so the fixture disables those of a test at its end.
class ReactiveManagers : public testing::Test {
protected:
    ~ReactiveManagers() override {
        for (const int id : registered) {
            entryPoint.findReactiveManagerRecord(id)->options = {};
        }
    }

    int registerKind(const std::string& name) {
        registered.push_back(
            entryPoint.registerReactiveManager([this, name](std::unique_ptr<IManagerInitData> initData) {
                EXPECT_EQ(initData, nullptr);
                return std::make_unique<RecordingManager>(journal, name);
            }));
        return registered.back();
    }

    EntryPoint& entryPoint = EntryPoint::instance();
    std::vector<std::string> journal;
    std::vector<int> registered;
};

TEST_F(ReactiveManagers, worldMadeAfterRegistration_getsOneOfEveryKind) {
    const int a = registerKind("a");
    const int b = registerKind("b");
    const int worldId = entryPoint.createWorld();
    const std::string id = std::to_string(worldId);
    EXPECT_THAT(journal, ElementsAre("init a " + id, "init b " + id));
    const World& world = *entryPoint.findValidWorld(worldId);
    EXPECT_NE(world.findReactiveManager(a), nullptr);
    EXPECT_NE(world.findReactiveManager(b), nullptr);
    EXPECT_NE(world.findReactiveManager(a), world.findReactiveManager(b));
    entryPoint.destroyWorld(worldId);
}

TEST_F(ReactiveManagers, worldDestroyed_endsThemLastFirstWhileTheObjectsAreThere) {
    registerKind("a");
    registerKind("b");
    const int worldId = entryPoint.createWorld();
    (void)getGameObjectManager(worldId)->createGameObject();
    journal.clear();
    entryPoint.destroyWorld(worldId);
    const std::string id = std::to_string(worldId);
    EXPECT_THAT(journal,
                ElementsAre("fini b " + id + " objects 1", "destroy b", "fini a " + id + " objects 1", "destroy a"));
}

TEST_F(ReactiveManagers, worldThatExisted_getsOneOnRequestOnly) {
    const int worldId = entryPoint.createWorld();
    const int a = registerKind("a");
    World& world = *entryPoint.findValidWorld(worldId);
    EXPECT_EQ(world.findReactiveManager(a), nullptr);
    world.createReactiveManager(a);
    EXPECT_NE(world.findReactiveManager(a), nullptr);
    EXPECT_THAT(journal, ElementsAre("init a " + std::to_string(worldId)));
    entryPoint.destroyWorld(worldId);
}

TEST_F(ReactiveManagers, createReactiveManager_kindThatTheWorldHas_doesNothing) {
    const int a = registerKind("a");
    const int worldId = entryPoint.createWorld();
    World& world = *entryPoint.findValidWorld(worldId);
    const IReactiveManager* const manager = world.findReactiveManager(a);
    world.createReactiveManager(a);
    EXPECT_EQ(world.findReactiveManager(a), manager);
    EXPECT_EQ(journal.size(), 1U);
    entryPoint.destroyWorld(worldId);
}

TEST_F(ReactiveManagers, createReactiveManager_unknownKind_doesNothing) {
    const int worldId = entryPoint.createWorld();
    World& world = *entryPoint.findValidWorld(worldId);
    world.createReactiveManager(-1);
    world.createReactiveManager(100000);
    EXPECT_EQ(world.findReactiveManager(-1), nullptr);
    EXPECT_EQ(world.findReactiveManager(100000), nullptr);
    entryPoint.destroyWorld(worldId);
}

TEST_F(ReactiveManagers, record_defaultsToAllRolesAndIsFoundById) {
    const int a = registerKind("a");
    ASSERT_NE(entryPoint.findReactiveManagerRecord(a), nullptr);
    EXPECT_EQ(entryPoint.findReactiveManagerRecord(a)->options.bits(), 35U);
    EXPECT_EQ(entryPoint.findReactiveManagerRecord(-1), nullptr);
    EXPECT_EQ(entryPoint.findReactiveManagerRecord(a + 1), nullptr);
}

TEST_F(ReactiveManagers, optionsOfOtherRoles_keepTheKindOutOfTheWorlds) {
    const int client = registerKind("client");
    const int server = registerKind("server");
    entryPoint.findReactiveManagerRecord(client)->options = ComponentOption::CLIENT;
    entryPoint.findReactiveManagerRecord(server)->options = ComponentOption::SERVER;
    setProcessRoles(ComponentOption::SERVER);
    const int worldId = entryPoint.createWorld();
    setProcessRoles(ALL_ROLES);
    EXPECT_EQ(entryPoint.findValidWorld(worldId)->findReactiveManager(client), nullptr);
    EXPECT_NE(entryPoint.findValidWorld(worldId)->findReactiveManager(server), nullptr);
    entryPoint.destroyWorld(worldId);
}

TEST_F(ReactiveManagers, everyWorld_hasItsOwn) {
    const int a = registerKind("a");
    const int first = entryPoint.createWorld();
    const int second = entryPoint.createWorld();
    EXPECT_NE(entryPoint.findValidWorld(first)->findReactiveManager(a),
              entryPoint.findValidWorld(second)->findReactiveManager(a));
    entryPoint.destroyWorld(first);
    entryPoint.destroyWorld(second);
}

TEST_F(ReactiveManagers, base_makesTheConcreteManagerAndDoesNothingElse) {
    const std::unique_ptr<IReactiveManager> manager = PlainManager::create(nullptr);
    EXPECT_NE(dynamic_cast<PlainManager*>(manager.get()), nullptr);
    EXPECT_EQ(manager->getWatcher(), nullptr);
    World world(0);
    manager->onMappingLoaded(world);
    manager->onMappingUnloaded(world);
    EXPECT_EQ(world.manager().gameObjectsCount(), 0U);
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
