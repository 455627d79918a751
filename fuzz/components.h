#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <object_framework/link_config.h>
#include <tessel_foundation/poolable_component.h>

#include <cstdint>
#include <string>
#include <vector>

/// The component types of the fuzz targets. They have the names and properties of the types that the scenarios of
/// tests/scenarios/ use, so that the scenarios' files are useful seeds, and properties of every other kind.
namespace Kiln::Fuzz {

/// Base of the components below: all they do is keep their configuration.
template <class Component, class ConfigType>
class KeepingComponent : public Tessel::PoolableComponent<Component, Tessel::IComponent> {
public:
    using Config = ConfigType;

    explicit KeepingComponent(const Config& from) : config(from) {}

    const Config config;
};

struct Measure {
    std::string unit;
    double amount = 0;
};

/// A recursive structure.
struct Tree {
    std::string name;
    std::vector<Tree> children;
};

/// A property of every type but links.
struct ValuesConfig {
    bool isOn = false;
    std::int8_t int8 = 0;
    std::int16_t int16 = 0;
    std::int32_t signedNumber = 0;
    std::int64_t int64 = 0;
    std::uint8_t uint8 = 0;
    std::uint16_t uint16 = 0;
    std::uint32_t uint32 = 0;
    std::uint64_t unsignedNumber = 0;
    float single = 0;
    double real = 0;
    std::string text;
    Uuid uuid;
    Matrix matrix;
    std::vector<std::int32_t> numbers;
    std::vector<std::vector<std::string>> rows;
    Measure measure;
    std::vector<Measure> measures;
    Tree tree;
};

class ValuesComponent final : public KeepingComponent<ValuesComponent, ValuesConfig> {
    using KeepingComponent::KeepingComponent;
};

struct TagConfig {
    std::string tag;
    std::string note;
};

class TagComponent final : public KeepingComponent<TagComponent, TagConfig> {
    using KeepingComponent::KeepingComponent;

public:
    /// Reads the whole configuration, as a component that loads data by it does.
    static void preload(const Config& config);
};

struct Wire {
    Tessel::GameObjectLink end;
    std::string colour;
};

struct Cable {
    Wire wire;
};

/// Links at every position that a configuration can have them at.
struct LinksConfig {
    Tessel::GameObjectLink target;
    Wire wire;
    Cable cable;
    std::vector<Tessel::GameObjectLink> targets;
    std::vector<Wire> wires;
};

class LinksComponent final : public KeepingComponent<LinksComponent, LinksConfig> {
    using KeepingComponent::KeepingComponent;
};

} // namespace Kiln::Fuzz
