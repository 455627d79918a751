#include "load_soak.h"

#include <core/log.h>
#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <resource/data_section.h>
#include <resource/file_system_utils.h>
#include <support/prefab_text.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/object_loaded_callback.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_service.h>
#include <tessel_asset_loading/support/test_components.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Kiln::Soak {

namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::GameObjectManager;
using TestSupport::element;
using TestSupport::HookComponent;
using TestSupport::id;
using TestSupport::LinksComponent;
using TestSupport::PrefabText;
using TestSupport::TagComponent;
namespace Loading = Tessel::Loading;

constexpr int KINDS = 6;
constexpr std::size_t OBJECTS = 7; ///< Of an instance.
constexpr std::size_t WORLDS = 8;
constexpr std::size_t WORKERS = 4;
constexpr int LOADS_OF_ROUND = 32;

/// Abandoned loads stay in the service until the process ends, so there are few of them, all early in a run.
constexpr std::size_t MAX_ABANDONED = 50;

constexpr const char* MISSING = "missing.prefab";
constexpr const char* MALFORMED = "malformed.prefab";
constexpr const char* WRONG_VERSION = "wrong_version.prefab";

/// Static, because workers and frames use them until the process ends.
std::atomic<std::size_t> s_preloads = 0;
std::atomic<std::size_t> s_messages = 0;
std::size_t s_constructions = 0;
std::size_t s_exceptions = 0;

[[nodiscard]] std::string pathOf(int kind) {
    return "outer" + std::to_string(kind) + ".prefab";
}

[[nodiscard]] PrefabText innerPrefab() {
    PrefabText inner;
    const std::size_t root = inner.root(id(1), "Inner");
    inner.component("TagComponent", root, element("tag", "plain")).component("HookComponent", root);
    const std::size_t leaf = inner.child(id(2), "Leaf", id(1));
    inner.component("TagComponent", leaf, element("tag", "plain"));
    inner.component("LinksComponent", leaf, element("target", id(1).toString()));
    return inner;
}

/// A prefab with three nested instances of the inner one, of which two have different overrides.
[[nodiscard]] PrefabText outerPrefab(int kind) {
    const auto overrides = [kind](const std::string& which) {
        return TestSupport::OverridesText()
            .record(id(2), "TagComponent", element("tag", which + std::to_string(kind)))
            .text();
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

void writeFiles(const TestSupport::TemporaryDirectory& directory) {
    directory.writeFile("inner.prefab", innerPrefab().text());
    for (int kind = 0; kind < KINDS; ++kind) {
        directory.writeFile(pathOf(kind), outerPrefab(kind).text());
    }
    directory.writeFile(MALFORMED, outerPrefab(0).text().substr(0, 1000));
    directory.writeFile(WRONG_VERSION, outerPrefab(0).formatVersion(99).text());
}

/// Checks an instance that is complete but not active.
void checkInstance(GameObject root, const GameObjectManager& manager, int kind) {
    const std::array<std::pair<const char*, std::string>, 3> expected{
        {{"First", "first" + std::to_string(kind)}, {"Second", "second" + std::to_string(kind)}, {"Plain", "plain"}}};
    require(!manager.isActive(root), "a new root is inactive");
    const std::vector<GameObject> nested = manager.getChildren(root);
    require(nested.size() == expected.size(), "an instance has three nested ones");
    for (std::size_t i = 0; i < expected.size(); ++i) {
        require(manager.getGameObjectName(nested[i]) == expected[i].first, "nested instances are in their order");
        require(manager.findComponent<TagComponent>(nested[i])->config.tag == "plain", "an inner root is as stored");
        const std::vector<GameObject> leaves = manager.getChildren(nested[i]);
        require(leaves.size() == 1, "an inner instance has one leaf");
        require(manager.findComponent<TagComponent>(leaves[0])->config.tag == expected[i].second,
                "overrides reach the instance that they are for, and no other");
        require(manager.findComponent<LinksComponent>(leaves[0])->config.target.target() == nested[i],
                "links refer to objects of their instance");
    }
}

[[nodiscard]] Tessel::PrefabService& service() {
    return *EntryPoint::instance().getService<Tessel::PrefabService>();
}

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
            Loading::cacheGameObjects({pathOf(kind), MISSING}, kind % 2 == 0);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    std::atomic<bool> m_isOver = false;
    std::thread m_thread; ///< Last: it uses the other member.
};

void throwSometimes(const HookComponent::Config& /*config*/) {
    if (++s_constructions % 997 == 0) {
        ++s_exceptions;
        throw std::runtime_error("injected by the soak");
    }
}

void preloadSlowly(const HookComponent::Config& /*config*/) {
    if (++s_preloads % 16 == 0) { // Simulates a component that reads a file.
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

} // namespace

void require(bool condition, const std::string& what) {
    if (!condition) {
        std::fprintf(stderr, "FAILED: %s\n", what.c_str());
        std::_Exit(1);
    }
}

/// Checks the calls for one load and continues its chain from one of them.
class LoadSoak::Callback final : public IObjectLoadedCallback {
public:
    Callback(LoadSoak& soak, int kind, int furtherLoads)
        : m_soak(soak), m_counts(soak.m_counts), m_kind(kind), m_furtherLoads(furtherLoads) {}
    ~Callback() override { ++m_counts->released; }

    [[nodiscard]] int kind() const { return m_kind; }

    bool onPreactivate(GameObject root, GameObjectManager& manager) override {
        ++m_counts->preactivated;
        checkInstance(root, manager, m_kind);
        continueChainIn(0);
        return true;
    }
    void onObjectLoaded(GameObject root, GameObjectManager& manager) override {
        ++m_counts->loaded;
        require(manager.isActive(root), "a loaded root is active");
        continueChainIn(1);
    }
    void onObjectLoadedIntoHierarchy(GameObject root, GameObjectManager& manager) override {
        ++m_counts->loadedIntoHierarchy;
        require(manager.isGameObjectValid(root), "a loaded root is alive");
        continueChainIn(2);
    }
    void releaseCallback() override { require(false, "the service never calls releaseCallback"); }

private:
    void continueChainIn(int call) {
        if (m_furtherLoads > 0 && m_furtherLoads % 3 == call) {
            m_soak.load(m_soak.anyWorld(), (m_kind + 1) % KINDS, m_furtherLoads % 4 == 0, m_furtherLoads - 1);
        }
    }

    LoadSoak& m_soak;
    std::shared_ptr<Counts> m_counts;
    int m_kind;
    int m_furtherLoads;
};

/// For a load whose world is destroyed: nobody may call it.
class LoadSoak::AbandonedCallback final : public IObjectLoadedCallback {
public:
    bool onPreactivate(GameObject /*root*/, GameObjectManager& /*manager*/) override {
        require(false, "a load into a destroyed world does not finish");
        return false;
    }
    void onObjectLoaded(GameObject /*root*/, GameObjectManager& /*manager*/) override {}
    void onObjectLoadedIntoHierarchy(GameObject /*root*/, GameObjectManager& /*manager*/) override {}
    void releaseCallback() override {}
};

LoadSoak::LoadSoak(unsigned seed, const TestSupport::TemporaryDirectory& directory) : m_random(seed) {
    prefab_component();
    // The sink is never removed: workers may log until the process ends.
    Log::instance().addSink([](const LogMessage& /*message*/) { ++s_messages; });
    FileIOTaskManager::instance().setThreadCount(WORKERS);
    FS::Utils::clearResourceRoots();
    FS::Utils::addResourceRoot(directory.path().string());
    HookComponent::onConstruct = throwSometimes;
    HookComponent::onPreload = preloadSlowly;
    writeFiles(directory);
    createWorlds();
}

void LoadSoak::createWorlds() {
    while (m_worlds.size() < WORLDS) {
        m_worlds.push_back(EntryPoint::instance().createWorld());
        ++m_totals.worlds;
    }
}

void LoadSoak::load(int worldId, int kind, bool fromSection, int furtherLoads) {
    ++m_counts->issued;
    const auto callback = makeSmart<Callback>(*this, kind, furtherLoads);
    if (fromSection) {
        service().loadGameObject(outerPrefab(kind).section(), worldId, Uuid::generate(), callback, nullptr);
    } else {
        service().loadGameObject(pathOf(kind), worldId, Uuid::generate(), callback, nullptr);
    }
}

void LoadSoak::loadAtRandom() {
    const int kind = static_cast<int>(m_random() % KINDS);
    load(anyWorld(), kind, isOneIn(8), isOneIn(3) ? 5 : 0);
}

/// Requests a prefab that cannot be created; completeFaultyLoads() replaces it.
void LoadSoak::loadFaultyFile() {
    const std::array<std::pair<const char*, std::size_t*>, 3> files{{{MISSING, &m_totals.missingFiles},
                                                                     {MALFORMED, &m_totals.malformedFiles},
                                                                     {WRONG_VERSION, &m_totals.wrongVersions}}};
    const auto& [path, count] = files[m_random() % files.size()];
    ++*count;
    ++m_counts->issued;
    service().loadGameObject(path, anyWorld(), Uuid::generate(), makeSmart<Callback>(*this, 0, 0), nullptr);
}

void LoadSoak::abandonLoad() {
    ++m_totals.abandoned;
    const int worldId = EntryPoint::instance().createWorld();
    ++m_totals.worlds;
    service().loadGameObject(pathOf(0), worldId, Uuid::generate(), makeSmart<AbandonedCallback>(), nullptr);
    EntryPoint::instance().destroyWorld(worldId);
}

void LoadSoak::disturbCache() {
    if (isOneIn(10)) {
        Loading::fullyClearCache();
        ++m_totals.cacheClears;
    }
    if (isOneIn(6)) {
        Loading::clearGameObjectsCache({pathOf(static_cast<int>(m_random() % KINDS)), "inner.prefab"});
        ++m_totals.cacheClears;
    }
}

void LoadSoak::startLoads() {
    for (int i = 0; i < LOADS_OF_ROUND; ++i) {
        loadAtRandom();
        disturbCache();
        if (isOneIn(8)) {
            loadFaultyFile();
        }
        if (isOneIn(8) && m_totals.abandoned < MAX_ABANDONED) {
            abandonLoad();
        }
        if (i % 4 == 3) {
            EntryPoint::instance().tick();
        }
    }
}

void LoadSoak::runRound() {
    {
        const CachingThread cachingThread;
        startLoads();
        settle();
    }
    checkCounts();
    removeObjects();
    createWorlds();
    Loading::fullyClearCache();
    ++m_totals.rounds;
}

/// Runs frames until no load waits except abandoned ones.
void LoadSoak::settle() {
    for (int frame = 0; service().loadingQueue().size() > m_totals.abandoned; ++frame) {
        require(frame < 1000, "loads finish within 1000 frames");
        require(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(60)), "background loads end");
        EntryPoint::instance().tick();
        completeFaultyLoads();
    }
}

/// Gives loads whose prefab will never arrive, because the file is faulty or the cache was cleared, a sound one.
void LoadSoak::completeFaultyLoads() {
    if (FileIOTaskManager::instance().unfinishedTasks() > 0) {
        return;
    }
    for (const Tessel::GameObjectLoader& loader : service().loadingQueue()) {
        const bool hasPrefab = loader.descriptor->prefab && !loader.descriptor->prefab->isEmpty();
        if (hasPrefab || !EntryPoint::instance().isWorldValid(loader.worldId)) {
            continue;
        }
        const int kind = static_cast<const Callback&>(*loader.callback).kind();
        loader.descriptor->prefab.publish(
            Tessel::GameObjectPrefab::loadHierarchy(outerPrefab(kind).section(), nullptr));
    }
}

void LoadSoak::checkCounts() {
    const std::size_t issued = m_counts->issued;
    require(m_counts->preactivated == issued && m_counts->loaded == issued && m_counts->loadedIntoHierarchy == issued &&
                m_counts->released == issued,
            "every load gets each call once");
    std::size_t objects = 0;
    for (const int worldId : m_worlds) {
        objects += Tessel::getGameObjectManager(worldId)->gameObjectsCount();
    }
    require(objects == issued * OBJECTS, "the worlds hold the objects of all loads and nothing else");
    m_totals.loads += issued;
    m_totals.objects += objects;
    *m_counts = Counts();
}

/// Empties every second world by removing objects, and destroys the others.
void LoadSoak::removeObjects() {
    std::vector<int> remaining;
    for (std::size_t i = 0; i < m_worlds.size(); ++i) {
        const int worldId = m_worlds[i];
        if (i % 2 == 0) {
            EntryPoint::instance().destroyWorld(worldId);
            continue;
        }
        GameObjectManager& manager = *Tessel::getGameObjectManager(worldId);
        for (const GameObject object : manager.gameObjects()) {
            manager.removeGameObject(object);
        }
        require(manager.gameObjectsCount() == 0, "a world whose objects were removed is empty");
        remaining.push_back(worldId);
    }
    m_worlds = remaining;
}

Totals LoadSoak::totals() const {
    Totals totals = m_totals;
    totals.exceptions = s_exceptions;
    totals.messages = s_messages;
    return totals;
}

} // namespace Kiln::Soak
