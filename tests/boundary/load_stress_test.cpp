#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <random>
#include <set>

namespace Kiln::TestSupport {
namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::GameObjectManager;
namespace Loading = Tessel::Loading;

/// Loads into many worlds at once, while workers preload slowly, the cache is cleared and worlds are destroyed. Every
/// instance that arrives is checked: two nested instances of one prefab with overrides of their own. Meant for
/// ThreadSanitizer above all.
class LoadStressTest : public WorldFixture {
protected:
    static constexpr int KINDS = 6;

    LoadStressTest() {
        FileIOTaskManager::instance().setThreadCount(4);
        HookComponent::onPreload = [this](const HookComponent::Config&) {
            ++m_preloads;
            std::this_thread::yield();
        };
        PrefabText inner;
        const std::size_t root = inner.root(id(1), "Inner");
        inner.component("TagComponent", root, element("tag", "plain")).component("HookComponent", root);
        const std::size_t leaf = inner.child(id(2), "Leaf", id(1));
        inner.component("TagComponent", leaf, element("tag", "plain"));
        inner.component("LinksComponent", leaf, element("target", id(1).toString()));
        writePrefab("inner.prefab", inner);
        for (int kind = 0; kind < KINDS; ++kind) {
            writePrefab(pathOf(kind), outer(kind));
        }
    }

    ~LoadStressTest() override {
        waitForWorkers();
        FileIOTaskManager::instance().setThreadCount(2);
        for (const int other : m_worlds) {
            EntryPoint::instance().destroyWorld(other);
        }
    }

    [[nodiscard]] static std::string pathOf(int kind) { return "outer" + std::to_string(kind) + ".prefab"; }

    [[nodiscard]] static PrefabText outer(int kind) {
        const auto overrides = [kind](const std::string& which) {
            return OverridesText().record(id(2), "TagComponent", element("tag", which + std::to_string(kind))).text();
        };
        PrefabText prefab;
        const std::size_t root = prefab.root(id(1), "Outer");
        prefab.component("HookComponent", root);
        prefab.component("PrefabComponent", root, PrefabText::prefabProperties(""));
        prefab.nested(id(2), "First", id(1), "inner.prefab", overrides("first"));
        prefab.nested(id(3), "Second", id(1), "inner.prefab", overrides("second"));
        prefab.nested(id(4), "Plain", id(1), "inner.prefab");
        return prefab;
    }

    /// Checks one arrived instance.
    bool check(GameObject root, const GameObjectManager& itsManager, int kind) {
        ++m_arrived;
        const std::array<std::pair<const char*, std::string>, 3> expected{{{"First", "first" + std::to_string(kind)},
                                                                           {"Second", "second" + std::to_string(kind)},
                                                                           {"Plain", "plain"}}};
        const std::vector<GameObject> nested = itsManager.getChildren(root);
        EXPECT_EQ(nested.size(), expected.size());
        for (std::size_t i = 0; i < std::min(nested.size(), expected.size()); ++i) {
            EXPECT_EQ(itsManager.getGameObjectName(nested[i]), expected[i].first);
            EXPECT_EQ(itsManager.findComponent<TagComponent>(nested[i])->config.tag, "plain");
            const std::vector<GameObject> leaves = itsManager.getChildren(nested[i]);
            EXPECT_EQ(leaves.size(), 1U);
            if (!leaves.empty()) {
                EXPECT_EQ(itsManager.findComponent<TagComponent>(leaves[0])->config.tag, expected[i].second);
                EXPECT_EQ(itsManager.findComponent<LinksComponent>(leaves[0])->config.target.target(), nested[i]);
                EXPECT_TRUE(itsManager.isActive(leaves[0]));
            }
        }
        return true;
    }

    void load(int intoWorld, int kind) {
        ++m_issued;
        Loading::loadGameObject(
            pathOf(kind), intoWorld, std::nullopt,
            [this, kind](GameObject root, GameObjectManager& itsManager) { return check(root, itsManager, kind); });
    }

    void loadSection(int intoWorld, int kind) {
        ++m_issued;
        Loading::loadGameObjectSection(
            outer(kind).section(), intoWorld, std::nullopt, nullptr,
            [this, kind](GameObject root, GameObjectManager& itsManager) { return check(root, itsManager, kind); });
    }

    /// Loads that neither arrived nor were dropped.
    [[nodiscard]] std::size_t waiting() const { return service().loadingQueue().size() - m_oldLoaders; }

    std::vector<int> m_worlds;
    std::size_t m_issued = 0;
    std::size_t m_arrived = 0;
    std::atomic<std::size_t> m_preloads = 0;

private:
    std::size_t m_oldLoaders = service().loadingQueue().size();
};

TEST_F(LoadStressTest, steadyLoads_allArriveIntact) {
    for (int i = 0; i < 6; ++i) {
        m_worlds.push_back(EntryPoint::instance().createWorld());
    }
    for (int round = 0; round < 20; ++round) {
        for (const int into : m_worlds) {
            load(into, (round + into) % KINDS);
            if (round % 4 == 0) {
                loadSection(into, (round + into) % KINDS);
            }
        }
        tick();
    }
    waitForWorkers();
    tick();

    EXPECT_EQ(m_issued, 150U);
    EXPECT_EQ(m_arrived, m_issued);
    EXPECT_EQ(waiting(), 0U);
    EXPECT_GT(m_preloads, 0U);
    std::size_t objects = 0;
    for (const int other : m_worlds) {
        objects += Tessel::getGameObjectManager(other)->gameObjectsCount();
    }
    EXPECT_EQ(objects, m_issued * 7);
}

TEST_F(LoadStressTest, clearedCacheAndDestroyedWorlds_whatArrivesIsIntactAndTheRestWaits) {
    std::mt19937 random(20);
    const auto chance = [&random](unsigned oneIn) { return random() % oneIn == 0; };
    for (int round = 0; round < 200; ++round) {
        if (m_worlds.size() < 6) {
            m_worlds.push_back(EntryPoint::instance().createWorld());
        }
        const std::size_t place = random() % m_worlds.size();
        const int kind = static_cast<int>(random() % KINDS);
        load(m_worlds[place], kind);
        if (chance(8)) {
            loadSection(m_worlds[place], kind);
        }
        if (chance(10)) {
            Loading::fullyClearCache();
        }
        if (chance(6)) {
            Loading::clearGameObjectsCache({pathOf(kind), "inner.prefab"});
        }
        if (chance(12)) {
            EntryPoint::instance().destroyWorld(m_worlds[place]);
            m_worlds.erase(m_worlds.begin() + static_cast<std::ptrdiff_t>(place));
        }
        tick();
    }
    waitForWorkers();
    tick();
    EXPECT_EQ(m_arrived + waiting(), m_issued);
    EXPECT_GT(m_arrived, 0U);

    // Nothing is left in a state that would keep further loads from arriving.
    Loading::fullyClearCache();
    const std::size_t arrivedBefore = m_arrived;
    for (const int other : m_worlds) {
        load(other, 0);
    }
    waitForWorkers();
    tick();
    EXPECT_EQ(m_arrived, arrivedBefore + m_worlds.size());
}

} // namespace
} // namespace Kiln::TestSupport
