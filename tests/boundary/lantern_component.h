#pragma once

#include <object_serialization/component_registration.h>
#include <tessel_foundation/poolable_component.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>

namespace Kiln::BoundaryTests {

/// A component type that two plug-ins know from this header; one of them registers it. Its preload is slow and uses
/// static objects of the plug-in throughout.
class LanternComponent final : public Tessel::PoolableComponent<LanternComponent, Tessel::IComponent> {
public:
    struct Config {
        std::int32_t brightness = 0;
        std::int32_t preloadMilliseconds = 0;
    };

    explicit LanternComponent(const Config& config) : brightness(config.brightness) {}

    static void preload(const Config& config) {
        s_isPreloading = true;
        s_isPreloading.notify_all();
        std::this_thread::sleep_for(std::chrono::milliseconds(config.preloadMilliseconds)); // Simulates reading data.
        if (s_text != "a text that is too long to be kept inside of the string object itself") {
            std::abort(); // The plug-in's static objects were destroyed while the worker used them.
        }
    }

    const std::int32_t brightness;

    static inline std::atomic<bool> s_isPreloading = false;
    static inline const std::string s_text = "a text that is too long to be kept inside of the string object itself";
};

} // namespace Kiln::BoundaryTests
