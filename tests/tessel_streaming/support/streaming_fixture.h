#pragma once

#include <tessel_asset_loading/support/world_fixture.h>
#include <tessel_streaming/streaming.h>

#include <object_serialization/component_registration.h>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::TestSupport {

/// Calls a hook of the test when it is activated.
class WakingComponent final : public Tessel::PoolableComponent<WakingComponent, Tessel::IComponent> {
public:
    struct Config {
        std::string tag;
    };

    explicit WakingComponent(const Config& from) : config(from) {}

    void activate() override {
        PoolableComponent::activate();
        if (onActivate) {
            onActivate(config);
        }
    }

    const Config config;

    static inline std::function<void(const Config&)> onActivate;
};

namespace Detail {
inline const ComponentRegistration<WakingComponent> s_waking("WakingComponent", [](auto& config) {
    config.template addProperty<&WakingComponent::Config::tag>("tag");
});
} // namespace Detail

/// Loads through Streaming, without a limit of time unless a test sets one. Frames that a helper runs wait for the
/// workers first, so that the number of frames does not depend on their speed.
class StreamingFixture : public WorldFixture {
protected:
    StreamingFixture() { Tessel::Streaming::setFrameBudget(Tessel::Streaming::NO_FRAME_BUDGET); }

    ~StreamingFixture() override {
        WakingComponent::onActivate = nullptr;
        HookComponent::clearHooks();
        Tessel::Streaming::setFrameBudget(Tessel::Streaming::NO_FRAME_BUDGET);
        frames(2);
    }

    /// Runs a frame once the workers are idle.
    static void frame() {
        waitForWorkers();
        tick();
    }
    static void frames(int count) {
        for (int i = 0; i < count; ++i) {
            frame();
        }
    }

    /// Runs frames until a request has reported. Returns their number, or -1 if 100 000 do not suffice.
    static int finish(const Tessel::Streaming::LoadHandle& handle) {
        for (int count = 0; count <= 100'000; ++count) {
            if (handle.isFinished()) {
                return count;
            }
            frame();
        }
        ADD_FAILURE() << "the request is still pending";
        return -1;
    }

    /// Requests an instance and waits for its report.
    [[nodiscard]] Tessel::Streaming::LoadHandle loaded(const std::string& path,
                                                       Tessel::Streaming::LoadOptions options = {}) const {
        Tessel::Streaming::LoadHandle handle = Tessel::Streaming::load(path, worldId, std::move(options));
        finish(handle);
        return handle;
    }

    /// A file with a root and children named "child 1" and so on; each has a TagComponent.
    void writeTree(const std::string& path, std::size_t childrenCount) const {
        PrefabText prefab;
        prefab.component("TagComponent", prefab.root(id(1), "root"), element("tag", path));
        for (std::size_t i = 1; i <= childrenCount; ++i) {
            const std::size_t child = prefab.child(id(i + 1), "child " + std::to_string(i), id(1));
            prefab.component("TagComponent", child, element("tag", std::to_string(i)));
        }
        writePrefab(path, prefab);
    }

    /// A file with one object.
    void writeRoot(const std::string& path, const std::string& name = "root") const {
        PrefabText prefab;
        prefab.root(id(1), name);
        writePrefab(path, prefab);
    }

    /// A file whose root has one child that nests another prefab.
    void writeNesting(const std::string& path, const std::string& nested, const std::string& overrides = {}) const {
        PrefabText prefab;
        prefab.root(id(1), path);
        prefab.nested(id(2), "point", id(1), nested, overrides);
        writePrefab(path, prefab);
    }

    /// The failures of a request as LoadFailure::text().
    [[nodiscard]] static std::vector<std::string> failuresOf(const Tessel::Streaming::LoadHandle& handle) {
        std::vector<std::string> texts;
        for (const Tessel::Streaming::LoadFailure& failure : handle.result().failures) {
            texts.push_back(failure.text());
        }
        return texts;
    }

    /// A completion function that notes "name: STATE" when it is called.
    [[nodiscard]] Tessel::Streaming::CompletionFunction noting(const std::string& name) {
        return [this, name](const Tessel::Streaming::LoadHandle&, const Tessel::Streaming::LoadResult& result) {
            static const char* const NAMES[] = {"PENDING", "SUCCEEDED", "FAILED", "CANCELLED"};
            events.push_back(name + ": " + NAMES[static_cast<std::size_t>(result.state)]);
        };
    }

    [[nodiscard]] std::size_t objectsCount() const { return manager().gameObjectsCount(); }

    std::vector<std::string> events;
};

} // namespace Kiln::TestSupport
