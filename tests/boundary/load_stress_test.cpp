#include <support/assertion_capture.h>
#include <tessel_asset_loading/support/world_fixture.h>

#include <array>
#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <random>
#include <thread>

namespace Kiln::TestSupport {
namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::GameObjectManager;
namespace Loading = Tessel::Loading;

/// Counts the loads of a test by their result. Each requested load either waits or gets each of the calls once.
struct Counts {
    std::size_t issued = 0;
    std::size_t preactivated = 0;
    std::size_t loaded = 0;
    std::size_t loadedIntoHierarchy = 0;
    std::size_t released = 0; ///< Callbacks that the service has released.

    bool operator==(const Counts&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const Counts& counts) {
        return stream << counts.issued << " issued, " << counts.preactivated << " preactivated, " << counts.loaded
                      << " loaded, " << counts.loadedIntoHierarchy << " loaded into the hierarchy, " << counts.released
                      << " released";
    }
};

/// Loads into many worlds at once, while workers preload slowly, the cache is cleared and worlds are destroyed. Every
/// instance is checked before its activation: two nested instances of one prefab with different overrides. Meant mainly
/// for ThreadSanitizer.
class LoadStress : public WorldFixture {
protected:
    static constexpr int KINDS = 6;
    static constexpr std::size_t OBJECTS = 7; ///< Per instance.

    LoadStress() {
        FileIOTaskManager::instance().setThreadCount(4);
        HookComponent::onPreload = [this](const HookComponent::Config&) {
            ++m_preloads;
            std::this_thread::sleep_for(std::chrono::microseconds(50)); // Simulates a component that reads a file.
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

    ~LoadStress() override {
        waitForWorkers();
        EXPECT_EQ(m_assertions.count(), 0U);
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

    void createWorlds(std::size_t count) {
        while (m_worlds.size() < count) {
            m_worlds.push_back(EntryPoint::instance().createWorld());
        }
    }

    /// Loads a kind of prefab, by path or from a section, and then `furtherLoads` more. Each of these is requested by a
    /// callback of the previous load, for the next world and the next kind.
    void load(std::size_t world, int kind, bool fromSection, int furtherLoads = 0) {
        ++m_counts->issued;
        const int into = m_worlds[world % m_worlds.size()];
        const auto callback = makeSmart<ChainCallback>(*this, world, kind, furtherLoads);
        if (fromSection) {
            service().loadGameObject(outer(kind).section(), into, Uuid::generate(), callback, nullptr);
        } else {
            service().loadGameObject(pathOf(kind), into, Uuid::generate(), callback, nullptr);
        }
    }

    /// Loads that have neither finished nor been dropped.
    [[nodiscard]] std::size_t waiting() const { return service().loadingQueue().size() - m_oldLoaders; }

    [[nodiscard]] std::size_t objectsCount() const {
        std::size_t count = 0;
        for (const int other : m_worlds) {
            count += Tessel::getGameObjectManager(other)->gameObjectsCount();
        }
        return count;
    }

    void expectNothingWaits() const {
        const std::size_t issued = m_counts->issued;
        EXPECT_EQ(*m_counts, (Counts{issued, issued, issued, issued, issued}));
        EXPECT_EQ(waiting(), 0U);
        EXPECT_GT(m_preloads, 0U);
    }

    /// Prints the counts of the run, which vary with the timing of the threads.
    void report() const { std::cout << *m_counts << ", " << waiting() << " waiting, " << m_preloads << " preloads\n"; }

    std::vector<int> m_worlds;
    std::shared_ptr<Counts> m_counts = std::make_shared<Counts>();
    AssertionCapture m_assertions; ///< Mainly those on the order of the service's locks.
    std::atomic<std::size_t> m_preloads = 0;

private:
    class ChainCallback final : public IObjectLoadedCallback {
    public:
        ChainCallback(LoadStress& test, std::size_t world, int kind, int furtherLoads)
            : m_test(test), m_counts(test.m_counts), m_world(world), m_kind(kind), m_furtherLoads(furtherLoads) {}
        ~ChainCallback() override { ++m_counts->released; }

        bool onPreactivate(GameObject root, GameObjectManager& itsManager) override {
            ++m_counts->preactivated;
            check(root, itsManager, m_kind);
            continueChainIn(0);
            return true;
        }
        void onObjectLoaded(GameObject root, GameObjectManager& itsManager) override {
            ++m_counts->loaded;
            EXPECT_TRUE(itsManager.isActive(root));
            continueChainIn(1);
        }
        void onObjectLoadedIntoHierarchy(GameObject root, GameObjectManager& itsManager) override {
            ++m_counts->loadedIntoHierarchy;
            EXPECT_TRUE(itsManager.isGameObjectValid(root));
            continueChainIn(2);
        }
        void releaseCallback() override { ADD_FAILURE() << "nobody is to call this"; }

    private:
        void continueChainIn(int call) {
            if (m_furtherLoads > 0 && m_furtherLoads % 3 == call) {
                m_test.load(m_world + 1, (m_kind + 1) % KINDS, m_furtherLoads % 4 == 0, m_furtherLoads - 1);
            }
        }

        LoadStress& m_test; ///< Destroyed before the loaders that still wait.
        std::shared_ptr<Counts> m_counts;
        std::size_t m_world;
        int m_kind;
        int m_furtherLoads;
    };

    /// Checks one instance that has arrived and is not active yet.
    static void check(GameObject root, const GameObjectManager& itsManager, int kind) {
        const std::array<std::pair<const char*, std::string>, 3> expected{{{"First", "first" + std::to_string(kind)},
                                                                           {"Second", "second" + std::to_string(kind)},
                                                                           {"Plain", "plain"}}};
        EXPECT_FALSE(itsManager.isActive(root));
        const std::vector<GameObject> nested = itsManager.getChildren(root);
        ASSERT_EQ(nested.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(itsManager.getGameObjectName(nested[i]), expected[i].first);
            EXPECT_EQ(itsManager.findComponent<TagComponent>(nested[i])->config.tag, "plain");
            const std::vector<GameObject> leaves = itsManager.getChildren(nested[i]);
            ASSERT_EQ(leaves.size(), 1U);
            EXPECT_EQ(itsManager.findComponent<TagComponent>(leaves[0])->config.tag, expected[i].second);
            EXPECT_EQ(itsManager.findComponent<LinksComponent>(leaves[0])->config.target.target(), nested[i]);
        }
    }

    std::size_t m_oldLoaders = service().loadingQueue().size();
};

TEST_F(LoadStress, steadyLoads_allArriveIntact) {
    createWorlds(6);
    for (int round = 0; round < 20; ++round) {
        for (std::size_t into = 0; into < m_worlds.size(); ++into) {
            const int kind = (round + static_cast<int>(into)) % KINDS;
            load(into, kind, false);
            if (round % 4 == 0) {
                load(into, kind, true);
            }
        }
        tick();
    }
    waitForWorkers();
    tick();

    EXPECT_EQ(m_counts->issued, 150U);
    expectNothingWaits();
    EXPECT_EQ(objectsCount(), 150U * OBJECTS);
    report();
}

TEST_F(LoadStress, callbacksThatLoad_everyChainRunsToItsEnd) {
    createWorlds(16);
    for (std::size_t into = 0; into < m_worlds.size(); ++into) {
        load(into, static_cast<int>(into) % KINDS, false, 11);
    }
    for (int step = 0; step < 12; ++step) {
        waitForWorkers();
        tick();
    }

    EXPECT_EQ(m_counts->issued, 16U * 12);
    expectNothingWaits();
    EXPECT_EQ(objectsCount(), 16U * 12 * OBJECTS);
    report();
}

/// Loads while the cache is cleared, other prefabs are cached and worlds are destroyed, all at random.
class LoadStressWithDisturbances : public LoadStress {
protected:
    /// Caches prefabs on another thread, as a loading screen may, until the object is destroyed.
    class CachingThread : NonCopyable {
    public:
        CachingThread() : m_thread([this] { run(); }) {}
        ~CachingThread() {
            m_isOver = true;
            m_thread.join();
        }

    private:
        void run() const {
            for (int kind = 0; !m_isOver; kind = (kind + 1) % KINDS) {
                Loading::cacheGameObjects({pathOf(kind), "no-such-file.prefab"}, kind % 2 == 0);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }

        std::atomic<bool> m_isOver = false;
        std::thread m_thread; ///< Last: it uses the other members.
    };

    void runRound() {
        createWorlds(8);
        const std::size_t worldIndex = m_random() % m_worlds.size();
        const int kind = static_cast<int>(m_random() % KINDS);
        load(worldIndex, kind, isOneIn(8), isOneIn(3) ? 5 : 0);
        if (isOneIn(10)) {
            Loading::fullyClearCache();
        }
        if (isOneIn(6)) {
            Loading::clearGameObjectsCache({pathOf(kind), "inner.prefab"});
        }
        if (isOneIn(9)) {
            ++m_requests;
            Loading::loadDescriptorAsync(pathOf(kind), [this](Tessel::GameObjectPrefab*) { ++m_answers; });
        }
        if (isOneIn(20)) {
            EntryPoint::instance().destroyWorld(m_worlds[worldIndex]);
            m_worlds.erase(m_worlds.begin() + static_cast<std::ptrdiff_t>(worldIndex));
        }
    }

    void expectEveryLoadIsAccountedFor() const {
        EXPECT_EQ(m_counts->preactivated + waiting(), m_counts->issued);
        EXPECT_EQ(m_counts->loaded, m_counts->preactivated);
        EXPECT_EQ(m_counts->loadedIntoHierarchy, m_counts->preactivated);
        EXPECT_EQ(m_counts->released, m_counts->preactivated);
        EXPECT_GT(m_counts->preactivated, 0U);
        EXPECT_GT(m_requests, 0U);
        EXPECT_EQ(m_answers, 0U);
        EXPECT_EQ(service().descriptorRequestsCount(), m_requestsBefore + m_requests);
    }

    void expectFurtherLoadsFinish() {
        Loading::fullyClearCache();
        const std::size_t finishedBefore = m_counts->preactivated;
        createWorlds(8);
        for (std::size_t worldIndex = 0; worldIndex < m_worlds.size(); ++worldIndex) {
            load(worldIndex, 0, false);
        }
        waitForWorkers();
        tick();
        EXPECT_EQ(m_counts->preactivated, finishedBefore + m_worlds.size());
    }

private:
    [[nodiscard]] bool isOneIn(unsigned number) { return m_random() % number == 0; }

    std::mt19937 m_random{20};
    std::size_t m_requestsBefore = service().descriptorRequestsCount();
    std::size_t m_requests = 0;
    std::size_t m_answers = 0;
};

TEST_F(LoadStressWithDisturbances, finishedInstances_areIntactAndOtherLoadsWait) {
    {
        const CachingThread cachingThread;
        for (int round = 0; round < 200; ++round) {
            runRound();
            if (round % 8 == 7) {
                waitForWorkers();
            }
            tick();
        }
    }
    for (int step = 0; step < 6; ++step) {
        waitForWorkers();
        tick();
    }
    expectEveryLoadIsAccountedFor();
    report();
    expectFurtherLoadsFinish();
}

} // namespace
} // namespace Kiln::TestSupport
