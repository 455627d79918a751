#pragma once

#include <common/matrix.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_registration.h>
#include <support/wait_for.h>
#include <tessel_asset_loading/game_object_prefab/instance_creation.h>
#include <tessel_asset_loading/loading/root_placing.h>
#include <tessel_asset_loading/prefab_component/service/root_finishing.h>
#include <tessel_asset_loading/support/world_fixture.h>
#include <tessel_streaming/budget/frame_budget.h>
#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/streaming.h>
#include <tessel_streaming/tracing/tracer.h>
#include <tessel_streaming/updates/live_updates.h>

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::TestSupport {

/// A component with a state that game code changes. A component that replaces it has the state 0.
class StateComponent final : public Tessel::PoolableComponent<StateComponent, Tessel::IComponent> {
public:
    struct Config {
        std::string text;
        Tessel::GameObjectLink target;
    };
    using Hook = std::function<void(const Config&)>;

    explicit StateComponent(const Config& from) : config(from) {
        if (onConstruct) {
            onConstruct(config);
        }
    }

    void activate() override { isActive = true; }
    void deactivate() override { isActive = false; }

    const Config config;
    int state = 0;
    bool isActive = false;

    static inline Hook onConstruct;
};

inline const ComponentRegistration<StateComponent> s_stateComponent("StateComponent", [](auto& config) {
    config.template addProperty<&StateComponent::Config::text>("text");
    config.template addProperty<&StateComponent::Config::target>("target");
});

/// A document library and live updates for files in the fixture's directory, without the service that owns them
/// otherwise. A poll of the files happens in frames only, one at a time.
class UpdatesFixture : public WorldFixture, private Tessel::detail::INestedPrefabs {
protected:
    using GameObject = Tessel::GameObject;
    using InstanceUpdate = Tessel::Streaming::InstanceUpdate;
    using RefusedUpdate = Tessel::Streaming::RefusedUpdate;

    using Followed = std::unique_ptr<Tessel::Streaming::detail::FollowedInstance>;

    struct Options {
        std::uint64_t request = 0; ///< The next one if it is 0.
        SmartPointer<OverrideRecords> overrides;
        std::optional<Matrix> placement;
        GameObject parent;
        bool isActive = true;
        std::optional<std::uint64_t> documentsVersion;
    };

    UpdatesFixture() {
        budget.set(Tessel::Streaming::NO_FRAME_BUDGET);
        updates->setPollInterval(std::chrono::milliseconds(0));
        updates->watch(true);
        updates->addListener({[this](const InstanceUpdate& update) { updated.push_back(update); },
                              [this](const RefusedUpdate& update) { refused.push_back(update); }});
    }
    ~UpdatesFixture() override {
        updates.reset();
        StateComponent::onConstruct = nullptr;
        waitForWorkers();
    }

    /// Writes a version of a file. Each has a time stamp of its own.
    void write(const std::string& path, const std::string& text) {
        const std::filesystem::path file = directory.writeFile(path, text);
        ++m_writes;
        std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1) +
                                                   std::chrono::seconds(m_writes));
    }
    void write(const std::string& path, const PrefabText& prefab) { write(path, prefab.text()); }

    /// Reads a file and everything that it nests.
    void hold(const std::string& path) {
        const auto need = library.add(path, 0, false);
        ASSERT_TRUE(waitFor([&] { return library.isComplete(need); }));
    }

    [[nodiscard]] GameObject create(const std::string& path) { return create(path, Options()); }

    /// Creates an instance and follows it.
    [[nodiscard]] GameObject create(const std::string& path, const Options& options) {
        auto instance = makeInstance(path, options);
        const GameObject root = instance->root;
        updates->follow(std::move(instance));
        return root;
    }

    [[nodiscard]] Followed makeInstance(const std::string& path) { return makeInstance(path, Options()); }
    [[nodiscard]] Followed makeInstance(const std::string& path, const Options& options) {
        hold(path);
        auto instance = std::make_unique<Tessel::Streaming::detail::FollowedInstance>();
        instance->request = options.request > 0 ? options.request : ++m_requests;
        instance->path = path;
        instance->worldId = worldId;
        instance->instanceUuid = Uuid::generate();
        instance->overrides = options.overrides;
        instance->placement = options.placement;
        instance->documentsVersion = options.documentsVersion.value_or(updates->documentsVersion());
        createObjects(*instance);
        const GameObject root = instance->root;
        Tessel::detail::stampRoot(manager(), root, instance->instanceUuid);
        if (!options.parent.isInvalid()) {
            Tessel::detail::attachRoot(root, options.parent, manager());
        }
        if (options.placement) {
            Tessel::detail::placeRoot(root, *options.placement, manager());
        }
        if (options.isActive) {
            manager().activateGameObject(root);
        }
        return instance;
    }

    void frame() {
        budget.beginFrame();
        hasWorked = updates->tick(budget);
        library.releaseUnused();
        budget.endFrame(hasWorked);
    }

    /// A frame that starts a poll, and the end of the poll.
    void poll() {
        frame();
        waitForWorkers();
    }

    /// Runs frames until all changes have settled and have been applied.
    void settle() {
        for (int i = 0; i < 6; ++i) {
            poll();
        }
    }

    /// The object of that name in an instance; the invalid object if there is none.
    [[nodiscard]] GameObject in(GameObject root, const std::string& name) const {
        if (manager().getGameObjectName(root) == name) {
            return root;
        }
        for (const GameObject child : manager().getChildren(root)) {
            if (const GameObject found = in(child, name); !found.isInvalid()) {
                return found;
            }
        }
        return GameObject::INVALID_GAME_OBJECT;
    }

    [[nodiscard]] StateComponent* state(GameObject object) const {
        return manager().findComponent<StateComponent>(object);
    }
    [[nodiscard]] std::string textOf(GameObject object) const {
        const StateComponent* const component = state(object);
        return component ? component->config.text : "<none>";
    }
    [[nodiscard]] std::string tagOf(GameObject object) const {
        const TagComponent* const component = find<TagComponent>(object);
        return component ? component->config.tag : "<none>";
    }
    [[nodiscard]] GameObject parentOf(GameObject object) const { return manager().getParent(object); }

    Tessel::Streaming::detail::Tracer tracer;
    Tessel::Streaming::detail::FrameBudget budget;
    Tessel::Streaming::detail::DocumentLibrary library{service(), FileIOTaskManager::instance(), tracer};
    std::optional<Tessel::Streaming::detail::LiveUpdates> updates{std::in_place, library, FileIOTaskManager::instance(),
                                                                  tracer};
    bool hasWorked = false; ///< In the last frame.
    std::vector<InstanceUpdate> updated;
    std::vector<RefusedUpdate> refused;

private:
    Tessel::detail::NestedPrefab load(const std::string& resource,
                                      std::span<const Tessel::GameObjectPrefab* const> /*enclosing*/) override {
        const auto file = library.find(resource);
        return file && file->prefab() ? Tessel::detail::NestedPrefab(file->prefab(), file->entry)
                                      : Tessel::detail::NestedPrefab();
    }

    void createObjects(Tessel::Streaming::detail::FollowedInstance& instance) {
        const auto file = library.find(instance.path);
        ASSERT_TRUE(file && file->prefab());
        Tessel::GameObjectPrefab::CreateConfig config{worldId, instance.instanceUuid, instance.overrides, {}};
        Tessel::detail::InstanceCreation creation(*file->prefab(), config, this);
        creation.step(Tessel::detail::Deadline());
        for (std::size_t i = 0; i < creation.items().size(); ++i) {
            instance.items.push_back(creation.items()[i]);
            instance.objects.push_back(creation.itemObjects()[i].object);
            instance.uuids.push_back(creation.itemObjects()[i].uuid);
        }
        instance.root = creation.takeObjects().front();
    }

    int m_writes = 0;
    std::uint64_t m_requests = 0;
};

} // namespace Kiln::TestSupport
