#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <object_framework/link_config.h>
#include <object_serialization/component_registration.h>
#include <tessel_foundation/poolable_component.h>

#include <cstdint>
#include <string>
#include <vector>

/// Component types that cover what a configuration can hold. Each live component keeps the one it was made from.
namespace Kiln::SerializationTests {

/// Base of the components below: all they do is keep their configuration.
template <class Component, class ConfigType>
class KeepingComponent : public Tessel::PoolableComponent<Component, Tessel::IComponent> {
public:
    using Config = ConfigType;

    explicit KeepingComponent(const Config& from) : config(from) {}

    const Config config;
};

struct Point {
    float x = 1;
    std::string label;
};

/// A structure of structures.
struct Route {
    Point start;
    std::vector<Point> stops;
};

/// One value of every type.
struct ValuesConfig {
    bool flag = true;
    std::int8_t int8 = 8;
    std::int16_t int16 = 16;
    std::int32_t int32 = 32;
    std::int64_t int64 = 64;
    std::uint8_t uint8 = 108;
    std::uint16_t uint16 = 116;
    std::uint32_t uint32 = 132;
    std::uint64_t uint64 = 164;
    float single = 0.5F;
    double real = 0.25;
    std::string text = "default";
    Uuid uuid{1, 2};
    Matrix matrix;
    Tessel::GameObjectLink link;
    std::vector<std::int32_t> numbers{7};
    std::vector<std::string> texts;
    std::vector<std::vector<std::uint8_t>> rows;
    Point point;
    std::vector<Point> points;
    Route route;
};

class ValuesComponent final : public KeepingComponent<ValuesComponent, ValuesConfig> {
    using KeepingComponent::KeepingComponent;
};

/// A recursive structure.
struct Tree {
    std::string name;
    std::vector<Tree> children;
};

struct TreeConfig {
    Tree tree;
};

class TreeComponent final : public KeepingComponent<TreeComponent, TreeConfig> {
    using KeepingComponent::KeepingComponent;
};

struct Wire {
    Tessel::GameObjectLink end;
};

/// Links at every position that a configuration can have them at.
struct LinksConfig {
    Tessel::GameObjectLink link;
    std::vector<Tessel::GameObjectLink> links;
    Wire wire;
    std::vector<Wire> wires;
};

class LinksComponent final : public KeepingComponent<LinksComponent, LinksConfig> {
    using KeepingComponent::KeepingComponent;
};

/// `state` is not a property.
struct TextConfig {
    std::string text;
    std::string note;
    int state = 0;
};

class TextComponent final : public KeepingComponent<TextComponent, TextConfig> {
    using KeepingComponent::KeepingComponent;

public:
    static void preload(const Config& config) { preloaded.push_back(config.text); }

    static inline std::vector<std::string> preloaded;
};

/// Not registered, and its configuration has no description.
struct UnknownConfig {
    int number = 0;
};

class UnknownComponent final : public KeepingComponent<UnknownComponent, UnknownConfig> {
    using KeepingComponent::KeepingComponent;
};

namespace Detail {

struct StructureDescriptions {
    StructureDescriptions() {
        mirra::StaticMetaObjectBuilder<Point> point("Point");
        point.addProperty<&Point::x>("x").addProperty<&Point::label>("label").finish();
        mirra::StaticMetaObjectBuilder<Route> route("Route");
        route.addProperty<&Route::start>("start").addProperty<&Route::stops>("stops").finish();
        mirra::StaticMetaObjectBuilder<Tree> tree("Tree");
        tree.addProperty<&Tree::name>("name").addProperty<&Tree::children>("children").finish();
        mirra::StaticMetaObjectBuilder<Wire> wire("Wire");
        wire.addProperty<&Wire::end>("end").finish();
    }
};

inline const StructureDescriptions s_structures;

inline const ComponentRegistration<ValuesComponent> s_values("ValuesComponent", [](auto& config) {
    config.template addProperty<&ValuesConfig::flag>("flag");
    config.template addProperty<&ValuesConfig::int8>("int8");
    config.template addProperty<&ValuesConfig::int16>("int16");
    config.template addProperty<&ValuesConfig::int32>("int32");
    config.template addProperty<&ValuesConfig::int64>("int64");
    config.template addProperty<&ValuesConfig::uint8>("uint8");
    config.template addProperty<&ValuesConfig::uint16>("uint16");
    config.template addProperty<&ValuesConfig::uint32>("uint32");
    config.template addProperty<&ValuesConfig::uint64>("uint64");
    config.template addProperty<&ValuesConfig::single>("single");
    config.template addProperty<&ValuesConfig::real>("real");
    config.template addProperty<&ValuesConfig::text>("text");
    config.template addProperty<&ValuesConfig::uuid>("uuid");
    config.template addProperty<&ValuesConfig::matrix>("matrix");
    config.template addProperty<&ValuesConfig::link>("link");
    config.template addProperty<&ValuesConfig::numbers>("numbers");
    config.template addProperty<&ValuesConfig::texts>("texts");
    config.template addProperty<&ValuesConfig::rows>("rows");
    config.template addProperty<&ValuesConfig::point>("point");
    config.template addProperty<&ValuesConfig::points>("points");
    config.template addProperty<&ValuesConfig::route>("route");
});

inline const ComponentRegistration<TreeComponent> s_tree("TreeComponent", [](auto& config) {
    config.template addProperty<&TreeConfig::tree>("tree");
});

inline const ComponentRegistration<LinksComponent> s_links("LinksComponent", [](auto& config) {
    config.template addProperty<&LinksConfig::link>("link");
    config.template addProperty<&LinksConfig::links>("links");
    config.template addProperty<&LinksConfig::wire>("wire");
    config.template addProperty<&LinksConfig::wires>("wires");
});

inline const ComponentRegistration<TextComponent> s_text("TextComponent", [](auto& config) {
    config.template addProperty<&TextConfig::text>("text");
    config.template addProperty<&TextConfig::note>("note");
});

} // namespace Detail

/// A new descriptor of a registered component type.
template <class Component>
[[nodiscard]] SmartPointer<ComponentDescriptor<Component>> makeDescriptor() {
    const ComponentLibrary& library = ComponentLibrary::instance();
    return staticPointerCast<ComponentDescriptor<Component>>(
        library.createDescriptor(library.findComponent(typeid(Component))));
}

} // namespace Kiln::SerializationTests
