// The product on the minimal platform, from documents in memory to live objects: a nested prefab from the cache, one
// that a worker loads by path, overrides, parents, UUIDs, callbacks, writing and removal; then the streaming layer.

#include <core/log.h>
#include <core/task_manager.h>
#include <generic_components/transform_component.h>
#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_service.h>
#include <tessel_streaming/streaming.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace {

using namespace Kiln;
using namespace Kiln::Tessel;

int s_failuresCount = 0;

void check(bool condition, const char* text, int line) {
    if (!condition) {
        std::printf("line %d: %s does not hold\n", line, text);
        ++s_failuresCount;
    }
}

#define CHECK(condition) check((condition), #condition, __LINE__)

// Random ones: the platform's combine() keeps the small distances of UUIDs that are counted up.
constexpr Uuid HARBOUR(0x4164d8399f767c45, 0x5bc8fbbcbde5c099);
constexpr Uuid GATE_LAMP(0xb0c11fdecb91ce37, 0xd76d4330f1446bea);
constexpr Uuid QUAY_LAMP(0xa6eb8c9ebd69fe29, 0x87b0b125ec1d7da0);
constexpr Uuid CRATE(0xd7210dff076ce2ef, 0xc6a5387777330bdb);
constexpr Uuid LAMP(0x3fc1ea36f17fd374, 0x0d464138a6233255);
constexpr Uuid BULB(0x2827688de6a16a3b, 0x5f2dd97f1cfb10f6);

/// A document in the layout of the platform.
class DocumentBuilder {
public:
    DocumentBuilder() {
        m_document->writeString("formatVersion", "1");
        m_gameObjects = m_document->newSection("gameObjects");
        m_components = m_document->newSection("components");
    }

    DocumentBuilder& object(const Uuid& uuid, const std::string& name) {
        const SmartPointer<DataSection> section = m_gameObjects->newSection("gameObject");
        section->writeString("uuid", uuid.toString());
        section->writeString("name", name);
        ++m_objectsCount;
        return *this;
    }

    /// Adds a component with one property to the last object.
    DocumentBuilder& component(const std::string& type, const std::string& property, const std::string& value) {
        const SmartPointer<DataSection> pool = m_components->newSection("pool");
        pool->writeString("type", type);
        const SmartPointer<DataSection> item = pool->newSection("item");
        item->writeString("gameObject", std::to_string(m_objectsCount - 1));
        item->openSection("properties", true)->writeString(property, value);
        return *this;
    }

    DocumentBuilder& under(const Uuid& parent) { return component("HierarchyComponent", "parent", parent.toString()); }

    [[nodiscard]] SmartPointer<DataSection> document() const { return m_document; }

private:
    SmartPointer<DataSection> m_document = makeSmart<DataSection>("prefab");
    SmartPointer<DataSection> m_gameObjects;
    SmartPointer<DataSection> m_components;
    int m_objectsCount = 0;
};

[[nodiscard]] std::string translation(const std::string& x) {
    return "1 0 0 0 0 1 0 0 0 0 1 0 " + x + " 0 0 1";
}

[[nodiscard]] SmartPointer<DataSection> lampDocument() {
    return DocumentBuilder()
        .object(LAMP, "Lamp")
        .component("TransformComponent", "local", translation("1"))
        .object(BULB, "Bulb")
        .under(LAMP)
        .component("TransformComponent", "local", translation("2"))
        .document();
}

/// A harbour with two nested lamps, by different paths, and a crate under the integration point of the first.
[[nodiscard]] SmartPointer<DataSection> harbourDocument() {
    return DocumentBuilder()
        .object(HARBOUR, "Harbour")
        .component("PrefabComponent", "resource", "harbour.prefab")
        .object(GATE_LAMP, "Lamp by the gate")
        .under(HARBOUR)
        .component("PrefabComponent", "resource", "cached/lamp.prefab")
        .object(QUAY_LAMP, "Lamp on the quay")
        .under(HARBOUR)
        .component("PrefabComponent", "resource", "resource/lamp.prefab")
        .object(CRATE, "Crate")
        .under(GATE_LAMP)
        .document();
}

[[nodiscard]] GameObject findByUuid(const GameObjectManager& manager, const Uuid& uuid) {
    for (const GameObject object : manager.gameObjects()) {
        if (manager.getGameObjectUuid(object) == uuid) {
            return object;
        }
    }
    return GameObject::INVALID_GAME_OBJECT;
}

/// Frames until the condition holds; false after ten seconds.
[[nodiscard]] bool tickUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition() && std::chrono::steady_clock::now() < end) {
        EntryPoint::instance().tick();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

class RecordingCallback final : public IObjectLoadedCallback {
public:
    bool onPreactivate(GameObject root, GameObjectManager& manager) override {
        CHECK(!manager.isActive(root));
        calls += "preactivate ";
        return true;
    }
    void onObjectLoaded(GameObject root, GameObjectManager& manager) override {
        CHECK(manager.isActive(root));
        calls += "loaded ";
        loadedRoot = root;
    }
    void onObjectLoadedIntoHierarchy(GameObject /*root*/, GameObjectManager& /*manager*/) override {
        calls += "hierarchy";
    }
    void releaseCallback() override {}

    std::string calls;
    GameObject loadedRoot;
};

/// A request that nests a prefab, one with an override that is read late, one that fails, and one that is cancelled.
void checkStreaming() {
    EntryPoint& entryPoint = EntryPoint::instance();
    const int worldId = entryPoint.createWorld();
    const GameObjectManager& manager = *getGameObjectManager(worldId);
    const auto isFinished = [](const Streaming::LoadHandle& handle) {
        return [&handle] { return handle.isFinished(); };
    };
    FS::Utils::enterResource("streamed/harbour.prefab", harbourDocument());
    FS::Utils::enterResource("cached/lamp.prefab", lampDocument());

    Streaming::LoadOptions options;
    options.overrides =
        OverrideRecords::create(GATE_LAMP.toString() + " PrefabComponent resource resource/lamp.prefab");
    Streaming::LoadHandle harbour = Streaming::load("streamed/harbour.prefab", worldId, options);
    CHECK(tickUntil(isFinished(harbour)));
    CHECK(harbour.state() == Streaming::LoadState::SUCCEEDED);
    CHECK(harbour.progress().ratio == 1);
    CHECK(manager.gameObjects().size() == 6);
    CHECK(manager.isActive(harbour.root()));
    CHECK(manager.getGameObjectName(harbour.root()) == "Harbour");

    const Streaming::LoadHandle missing = Streaming::load("missing.prefab", worldId);
    CHECK(tickUntil(isFinished(missing)));
    CHECK(missing.state() == Streaming::LoadState::FAILED);
    CHECK(missing.result().failures.front().code == Streaming::FailureCode::MISSING_FILE);

    const Streaming::LoadHandle cancelled = Streaming::load("streamed/harbour.prefab", worldId);
    cancelled.cancel();
    CHECK(tickUntil(isFinished(cancelled)));
    CHECK(cancelled.state() == Streaming::LoadState::CANCELLED);
    CHECK(manager.gameObjects().size() == 6);

    harbour = {};
    entryPoint.destroyWorld(worldId);
    entryPoint.tick();
    CHECK(Streaming::statistics().pendingRequests == 0);
    CHECK(Streaming::statistics().heldDocuments == 0);
}

} // namespace

int main() {
    prefab_component();
    EntryPoint& entryPoint = EntryPoint::instance();
    PrefabService& service = *entryPoint.getService<PrefabService>();
    const int worldId = entryPoint.createWorld();
    GameObjectManager& manager = *getGameObjectManager(worldId);

    service.cachePrefabData("cached/lamp.prefab", GameObjectPrefab::loadHierarchy(lampDocument(), nullptr));
    FS::Utils::enterResource("resource/lamp.prefab", lampDocument());

    const Uuid instance = Uuid::generate();
    const Uuid gateLamp = Uuid::combine(instance, GATE_LAMP);
    const Uuid quayLamp = Uuid::combine(instance, QUAY_LAMP);
    const SmartPointer<RecordingCallback> callback = makeSmart<RecordingCallback>();
    // The record for the bulb is addressed to the lamp's integration point, which passes it on to the nested prefab.
    const std::string bulbRecord = BULB.toString() + " TransformComponent local " + translation("5");
    const SmartPointer<OverrideRecords> overrides =
        OverrideRecords::create(QUAY_LAMP.toString() + " PrefabComponent overridesData " + bulbRecord);
    service.loadGameObject(harbourDocument(), worldId, instance, callback, overrides);

    CHECK(tickUntil([&] { return !callback->loadedRoot.isInvalid(); }));
    CHECK(callback->calls == "preactivate loaded hierarchy");
    CHECK(manager.gameObjects().size() == 6);

    const GameObject root = callback->loadedRoot;
    const GameObject gate = findByUuid(manager, Uuid::combine(gateLamp, LAMP));
    const GameObject gateBulb = findByUuid(manager, Uuid::combine(gateLamp, BULB));
    const GameObject quay = findByUuid(manager, Uuid::combine(quayLamp, LAMP));
    const GameObject quayBulb = findByUuid(manager, Uuid::combine(quayLamp, BULB));
    const GameObject crate = findByUuid(manager, Uuid::combine(instance, CRATE));
    CHECK(manager.getGameObjectUuid(root) == Uuid::combine(instance, HARBOUR));
    CHECK(manager.getGameObjectName(root) == "Harbour");
    CHECK(manager.getGameObjectName(gate) == "Lamp by the gate");
    CHECK(manager.getGameObjectName(quayBulb) == "Bulb");

    CHECK(manager.getParent(root).isInvalid());
    CHECK(manager.getParent(gate) == root);
    CHECK(manager.getParent(gateBulb) == gate);
    CHECK(manager.getParent(quay) == root);
    CHECK(manager.getParent(quayBulb) == quay);
    CHECK(manager.getParent(crate) == gate);
    for (const GameObject object : {root, gate, gateBulb, quay, quayBulb, crate}) {
        CHECK(manager.isActive(object));
    }
    CHECK(manager.findComponent<PrefabComponent>(root)->instanceUuid() == instance);
    CHECK(manager.findComponent<TransformComponent>(gateBulb)->local.values[12] == 2);
    CHECK(manager.findComponent<TransformComponent>(quayBulb)->local.values[12] == 5);

    // A load by path, parsed by the worker, placed and attached to a parent that then is inactive.
    Matrix matrix;
    matrix.values[12] = 9;
    GameObject lamp;
    FS::Utils::enterResource("late/lamp.prefab", lampDocument());
    Loading::loadGameObjectIntoHierarchy("late/lamp.prefab", crate, matrix, [&lamp](GameObject object, auto&) {
        lamp = object;
        return true;
    });
    CHECK(tickUntil([&] { return !lamp.isInvalid(); }));
    CHECK(manager.getParent(lamp) == crate);
    CHECK(manager.isActive(lamp));
    CHECK(manager.findComponent<TransformComponent>(lamp)->world.values[12] == 9);
    CHECK(manager.findComponent<PrefabComponent>(lamp)->resource() == "late/lamp.prefab");
    manager.deactivateGameObject(crate);
    CHECK(!manager.isActive(lamp));

    // What is written reads back as the same document.
    const SmartPointer<DataSection> written = makeSmart<DataSection>("prefab");
    GameObjectPrefab::loadHierarchy(harbourDocument(), nullptr)->serialize(written);
    const std::unique_ptr<GameObjectPrefab> readBack = GameObjectPrefab::loadHierarchy(written, nullptr);
    CHECK(readBack->nodesCount() == 4);
    CHECK(readBack->parentNodeId(3) == 1);
    CHECK((GameObjectPrefab::getNestedPrefabs(written) ==
           std::vector<std::string>{"harbour.prefab", "cached/lamp.prefab", "resource/lamp.prefab"}));

    readBack->regenerateHierarchyUuids(Uuid::generate());
    CHECK(readBack->getGameObject(0)->uuid() != HARBOUR);
    CHECK(readBack->parentNodeId(3) == 1);

    Loading::loadGameObject("missing.prefab", worldId, {}, {});
    CHECK(tickUntil([] { return loggedCount("Prefab not found missing.prefab") > 0; }));
    CHECK(service.loadingQueue().size() == 1);
    CHECK(loggedCount("UUID conflict detected. Trying to generate new instance UUID.") == 0);

    manager.removeGameObject(root);
    CHECK(manager.gameObjects().empty());
    entryPoint.destroyWorld(worldId);
    CHECK(!entryPoint.isWorldValid(worldId));

    checkStreaming();

    std::printf(s_failuresCount == 0 ? "ok\n" : "failed\n");
    return s_failuresCount == 0 ? 0 : 1;
}
