#pragma once

#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <resource/file_system_utils.h>
#include <support/log_capture.h>
#include <support/prefab_text.h>
#include <support/temporary_directory.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/prefab_service.h>
#include <tessel_asset_loading/support/live_objects.h>
#include <tessel_asset_loading/support/prefab_builder.h>
#include <tessel_asset_loading/support/test_components.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::TestSupport {

/// A fresh world, an empty prefab cache, an empty directory as the only resource root, and the log captured. At the end
/// of the test the previous state is restored: no background work is pending, and the world is destroyed.
///
/// Loaders that a test leaves in the service's queue stay there without a world; count from the queue's size at the
/// start of the test.
class WorldFixture : public ::testing::Test {
protected:
    WorldFixture() {
        prefab_component();
        Tessel::Loading::fullyClearCache();
        FS::Utils::clearResourceRoots();
        FS::Utils::addResourceRoot(directory.path().string());
        worldId = Tessel::EntryPoint::instance().createWorld();
    }

    ~WorldFixture() override {
        waitForWorkers();
        HookComponent::clearHooks();
        Tessel::EntryPoint::instance().destroyWorld(worldId);
        Tessel::Loading::fullyClearCache();
        FS::Utils::clearResourceRoots();
    }

    [[nodiscard]] Tessel::World& world() const { return *Tessel::EntryPoint::instance().findValidWorld(worldId); }
    [[nodiscard]] Tessel::GameObjectManager& manager() const { return world().manager(); }
    [[nodiscard]] static Tessel::PrefabService& service() {
        return *Tessel::EntryPoint::instance().getService<Tessel::PrefabService>();
    }

    /// Waits until every background load has run.
    static void waitForWorkers() { EXPECT_TRUE(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(60))); }

    /// Runs one frame.
    static void tick() { Tessel::EntryPoint::instance().tick(); }

    /// Writes a file below the resource root.
    void writePrefab(const std::string& path, const PrefabText& prefab) const {
        directory.writeFile(path, prefab.text());
    }

    /// Puts a prefab into the cache, so that other prefabs can nest it without a file. Unlike a prefab that was read
    /// from a file, its root gets no PrefabComponent.
    static void cachePrefab(const std::string& path, const PrefabBuilder& prefab) {
        service().cachePrefabData(path, prefab.buildUnique());
    }

    /// The component of type T of a live object, or null.
    template <class T>
    [[nodiscard]] const T* find(Tessel::GameObject object) const {
        return manager().findComponent<T>(object);
    }

    /// The configuration that the component of type T of the object of that name was made from. Without such a
    /// component the test fails, and the result is a default configuration.
    template <class T>
    [[nodiscard]] typename T::Config configOf(const std::string& name) const {
        const T* const component = find<T>(findByName(manager(), name));
        EXPECT_NE(component, nullptr) << "component of '" << name << "'";
        return component ? component->config : typename T::Config();
    }

    /// All captured messages as "severity: text"; each must be of the empty category.
    [[nodiscard]] std::vector<std::string> logged() const {
        std::vector<std::string> lines;
        for (const LogCapture::Message& message : log.messages()) {
            EXPECT_EQ(message.category, "");
            lines.push_back(std::to_string(message.severity) + ": " + message.text);
        }
        return lines;
    }

    TemporaryDirectory directory;
    LogCapture log;
    int worldId = -1;
};

} // namespace Kiln::TestSupport
