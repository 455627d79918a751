#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <object_framework/link_config.h>
#include <object_serialization/component_registration.h>
#include <tessel_foundation/poolable_component.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// Component types for tests. Each live component keeps the configuration that it was made from.
namespace Kiln::TestSupport {

/// A structure that is used as a property.
struct Measure {
    std::string unit;
    double amount = 0;

    friend bool operator==(const Measure&, const Measure&) = default;
};

/// Every kind of value except links.
class ValuesComponent final : public Tessel::PoolableComponent<ValuesComponent, Tessel::IComponent> {
public:
    struct Config {
        bool isOn = false;
        std::int32_t signedNumber = 0;
        std::uint64_t unsignedNumber = 0;
        float single = 0;
        double real = 0;
        std::string text;
        Uuid uuid;
        Matrix matrix;
        std::vector<std::int32_t> numbers;
        Measure measure;
        std::vector<Measure> measures;

        friend bool operator==(const Config&, const Config&) = default;
    };

    explicit ValuesComponent(const Config& from) : config(from) {}

    const Config config;
};

/// One string, to identify where a component came from.
class TagComponent final : public Tessel::PoolableComponent<TagComponent, Tessel::IComponent> {
public:
    struct Config {
        std::string tag;
        std::string note;
    };

    explicit TagComponent(const Config& from) : config(from) {}

    const Config config;
};

/// A structure with a link in it.
struct Wire {
    Tessel::GameObjectLink end;
    std::string colour;
};

/// A structure with a structure with a link in it.
struct Cable {
    Wire wire;
};

/// Links at every position that a configuration can have them at.
class LinksComponent final : public Tessel::PoolableComponent<LinksComponent, Tessel::IComponent> {
public:
    struct Config {
        Tessel::GameObjectLink target;
        Wire wire;
        Cable cable;
        std::vector<Tessel::GameObjectLink> targets;
        std::vector<Wire> wires;
    };

    explicit LinksComponent(const Config& from) : config(from) {}

    const Config config;
};

/// Calls hooks of the test when one is constructed (main thread) or preloaded (worker threads). The hooks are set while
/// nothing is loading.
class HookComponent final : public Tessel::PoolableComponent<HookComponent, Tessel::IComponent> {
public:
    struct Config {
        std::string tag;
    };
    using Hook = std::function<void(const Config&)>;

    explicit HookComponent(const Config& from) : config(from) {
        if (onConstruct) {
            onConstruct(config);
        }
    }

    static void preload(const Config& config) {
        if (onPreload) {
            onPreload(config);
        }
    }

    static void clearHooks() {
        onConstruct = nullptr;
        onPreload = nullptr;
    }

    const Config config;

    static inline Hook onConstruct;
    static inline Hook onPreload;
};

namespace Detail {

/// Describes the structures first: a component's description refers to them.
struct StructureDescriptions {
    StructureDescriptions() {
        mirra::StaticMetaObjectBuilder<Measure> measure("TestSupport::Measure");
        measure.addProperty<&Measure::unit>("unit").addProperty<&Measure::amount>("amount").finish();
        mirra::StaticMetaObjectBuilder<Wire> wire("TestSupport::Wire");
        wire.addProperty<&Wire::end>("end").addProperty<&Wire::colour>("colour").finish();
        mirra::StaticMetaObjectBuilder<Cable> cable("TestSupport::Cable");
        cable.addProperty<&Cable::wire>("wire").finish();
    }
};

inline const StructureDescriptions s_structures;

inline const ComponentRegistration<ValuesComponent> s_values("ValuesComponent", [](auto& config) {
    using Config = ValuesComponent::Config;
    config.template addProperty<&Config::isOn>("isOn");
    config.template addProperty<&Config::signedNumber>("signedNumber");
    config.template addProperty<&Config::unsignedNumber>("unsignedNumber");
    config.template addProperty<&Config::single>("single");
    config.template addProperty<&Config::real>("real");
    config.template addProperty<&Config::text>("text");
    config.template addProperty<&Config::uuid>("uuid");
    config.template addProperty<&Config::matrix>("matrix");
    config.template addProperty<&Config::numbers>("numbers");
    config.template addProperty<&Config::measure>("measure");
    config.template addProperty<&Config::measures>("measures");
});

inline const ComponentRegistration<TagComponent> s_tag("TagComponent", [](auto& config) {
    config.template addProperty<&TagComponent::Config::tag>("tag");
    config.template addProperty<&TagComponent::Config::note>("note");
});

inline const ComponentRegistration<LinksComponent> s_links("LinksComponent", [](auto& config) {
    using Config = LinksComponent::Config;
    config.template addProperty<&Config::target>("target");
    config.template addProperty<&Config::wire>("wire");
    config.template addProperty<&Config::cable>("cable");
    config.template addProperty<&Config::targets>("targets");
    config.template addProperty<&Config::wires>("wires");
});

inline const ComponentRegistration<HookComponent> s_hook("HookComponent", [](auto& config) {
    config.template addProperty<&HookComponent::Config::tag>("tag");
});

} // namespace Detail

} // namespace Kiln::TestSupport
