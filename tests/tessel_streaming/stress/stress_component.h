#pragma once

#include <core/non_copyable.h>
#include <tessel_foundation/poolable_component.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <vector>

namespace Kiln::StreamingStress {

/// Carries the number of the request that its instance belongs to, which an override of the request sets, and counts
/// what exists. Calls hooks of the stress, which may throw and may request loads. The hooks are set while nothing is
/// loading.
class StressComponent final : public Tessel::PoolableComponent<StressComponent, Tessel::IComponent> {
public:
    /// The prefab's values; counts the configurations that exist, so that a document that is not released is found.
    struct Config {
        Config() { ++s_configs; }
        Config(const Config& other) : request(other.request), colour(other.colour) { ++s_configs; }
        Config& operator=(const Config&) = default;
        ~Config() { --s_configs; }

        std::uint64_t request = 0; ///< 0 for every object but the root of a request.
        std::uint32_t colour = 0;  ///< Changes with the version of the file.
    };

    explicit StressComponent(const Config& from) : request(from.request) {
        if (s_onConstruct) {
            s_onConstruct();
        }
        ++s_components; // A constructor that throws does not count.
    }
    ~StressComponent() override {
        --s_components;
        std::replace(s_activating.begin(), s_activating.end(), this, static_cast<StressComponent*>(nullptr));
    }

    void activate() override {
        if (s_onActivate) {
            const ActivationScope scope(this);
            s_onActivate();
            if (!s_activating.back()) {
                return; // The function has removed the component's own object.
            }
        }
        PoolableComponent::activate();
    }

    /// Worker threads.
    static void preload(const Config& /*config*/) {
        if (s_onPreload) {
            s_onPreload();
        }
    }

    const std::uint64_t request;

private:
    struct ActivationScope : ::Kiln::NonCopyable {
        explicit ActivationScope(StressComponent* component) { s_activating.push_back(component); }
        ~ActivationScope() { s_activating.pop_back(); }
    };

    static inline std::vector<StressComponent*> s_activating; ///< Null for those that were removed meanwhile.

public:
    static inline std::atomic<std::int64_t> s_configs = 0;
    static inline std::int64_t s_components = 0;
    static inline std::function<void()> s_onConstruct;
    static inline std::function<void()> s_onActivate;
    static inline std::function<void()> s_onPreload;
};

} // namespace Kiln::StreamingStress
