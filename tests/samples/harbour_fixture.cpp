#include "harbour_fixture.h"

#include <build_paths.h>
#include <core/task_manager.h>
#include <dlfcn.h>
#include <object_framework/hierarchy_component.h>
#include <resource/file_system_utils.h>
#include <support/wait_for.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <chrono>
#include <string_view>

namespace Kiln::SamplesTests {

using namespace Kiln::Tessel;

namespace {

constexpr const char* PLUG_IN = KILN_BUILD_LIB_DIR "/libharbour_components.so";

[[nodiscard]] bool isAboutDepth(std::string_view text) {
    return text.starts_with("Nested prefabs depth has exceeded limit.");
}

/// The prefab that is nested at a node; empty for a root and for a node without PrefabComponent.
[[nodiscard]] std::string nestedPrefab(const GameObjectDescriptor& node) {
    const auto* const component = findPrefabDescriptor(node);
    const bool isRoot = !node.hasComponent(NativeComponent<HierarchyComponent>::getType());
    return component && !isRoot ? component->prefabProperties().resource : std::string();
}

[[nodiscard]] const GameObjectDescriptor* findNode(const GameObjectPrefab& prefab, const std::string& name) {
    for (std::size_t node = 0; node < prefab.nodesCount(); ++node) {
        if (prefab.getGameObject(node)->name() == name) {
            return prefab.getGameObject(node).get();
        }
    }
    return nullptr;
}

} // namespace

HarbourFixture::HarbourFixture()
    : m_sink([this](const LogMessage& message) {
          if (!isAboutDepth(message.text)) {
              const std::lock_guard lock(m_mutex);
              m_messages.emplace_back(message.text);
          }
      }),
      m_worldId(EntryPoint::instance().createWorld()) {
    FS::Utils::clearResourceRoots();
    addResources(KILN_SOURCE_DIR "/samples");
    EXPECT_NE(dlopen(PLUG_IN, RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
}

HarbourFixture::~HarbourFixture() {
    EXPECT_TRUE(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(60)));
    EntryPoint::instance().destroyWorld(m_worldId);
    Loading::fullyClearCache();
    FS::Utils::clearResourceRoots();
    FS::Utils::clearResourcePacks();
}

GameObject HarbourFixture::spawn(const Uuid& instanceUuid) {
    GameObject loaded;
    Loading::loadGameObject(
        HARBOUR, m_worldId, {},
        [&](GameObject root, GameObjectManager&) {
            loaded = root;
            return true;
        },
        instanceUuid);
    EXPECT_TRUE(TestSupport::waitFor([&] {
        EntryPoint::instance().tick();
        return !loaded.isInvalid();
    }));
    EXPECT_TRUE(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(60)));
    return loaded;
}

GameObjectManager& HarbourFixture::manager() const {
    return *getGameObjectManager(m_worldId);
}

GameObject HarbourFixture::object(const Uuid& instanceUuid, const std::vector<std::string>& names) {
    Uuid uuid = instanceUuid;
    std::string path = HARBOUR;
    for (const std::string& name : names) {
        const GameObjectDescriptor* const node = findNode(document(path), name);
        if (!node) {
            ADD_FAILURE() << "no '" << name << "' in " << path;
            return GameObject::INVALID_GAME_OBJECT;
        }
        uuid = Uuid::combine(uuid, node->uuid());
        path = nestedPrefab(*node);
    }
    if (!path.empty()) {
        uuid = Uuid::combine(uuid, document(path).findRootGameObject()->uuid());
    }
    const GameObject found = manager().findGameObject(uuid);
    EXPECT_FALSE(found.isInvalid()) << "no live object for '" << names.back() << "'";
    return found;
}

std::vector<std::string> HarbourFixture::messages() const {
    const std::lock_guard lock(m_mutex);
    return m_messages;
}

const GameObjectPrefab& HarbourFixture::document(const std::string& path) {
    std::unique_ptr<GameObjectPrefab>& entry = m_documents[path];
    if (!entry) {
        entry = GameObjectPrefab::loadHierarchy(path, nullptr);
    }
    return *entry;
}

} // namespace Kiln::SamplesTests
