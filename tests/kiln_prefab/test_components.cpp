// Components for the tests of kiln-prefab, registered when the program loads this library.

#include <core/log.h>
#include <object_serialization/component_registration.h>
#include <tessel_foundation/poolable_component.h>

#include <stdexcept>
#include <string>
#include <thread>

#include <unistd.h>

namespace {

using Kiln::Tessel::IComponent;
using Kiln::Tessel::PoolableComponent;

/// Logs its text when it is activated, at its severity.
class NoteComponent final : public PoolableComponent<NoteComponent, IComponent> {
public:
    struct Config {
        std::string text;
        int severity = Kiln::LogSeverity::INFO;
    };

    explicit NoteComponent(const Config& config) : m_config(config) {}

    void activate() override {
        PoolableComponent::activate();
        if (!m_config.text.empty()) {
            Kiln::DebugMessageHelper(0, m_config.severity, "", "test").message("%s", m_config.text.c_str());
        }
    }

private:
    Config m_config;
};

/// Its constructor throws.
class ThrowingComponent final : public PoolableComponent<ThrowingComponent, IComponent> {
public:
    struct Config {};

    explicit ThrowingComponent(const Config& /*config*/) { throw std::runtime_error("a component threw"); }
};

/// Logs an error when it is destroyed.
class FarewellComponent final : public PoolableComponent<FarewellComponent, IComponent> {
public:
    struct Config {};

    explicit FarewellComponent(const Config& /*config*/) {}
    ~FarewellComponent() override {
        Kiln::DebugMessageHelper(0, Kiln::LogSeverity::ERROR, "", "test").message("farewell");
    }
};

const std::thread::id s_mainThread = std::this_thread::get_id();

/// Reading its configuration never ends on a worker.
class StuckComponent final : public PoolableComponent<StuckComponent, IComponent> {
public:
    struct Config {
        Config() {
            while (std::this_thread::get_id() != s_mainThread) {
                pause();
            }
        }
    };

    explicit StuckComponent(const Config& /*config*/) {}
};

const Kiln::ComponentRegistration<NoteComponent> s_note("NoteComponent", [](auto& config) {
    config.template addProperty<&NoteComponent::Config::text>("text");
    config.template addProperty<&NoteComponent::Config::severity>("severity");
});
const Kiln::ComponentRegistration<ThrowingComponent> s_throwing("ThrowingComponent", [](auto& /*config*/) {});
const Kiln::ComponentRegistration<FarewellComponent> s_farewell("FarewellComponent", [](auto& /*config*/) {});
const Kiln::ComponentRegistration<StuckComponent> s_stuck("StuckComponent", [](auto& /*config*/) {});

} // namespace
