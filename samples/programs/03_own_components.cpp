// Registers a component of the program, loads a document that uses it, and processes all components of that type.

#include "sample_support.h"

#include <object_framework/query.h>
#include <object_framework/world.h>
#include <object_serialization/component_registration.h>
#include <tessel_asset_loading/loading.h>

#include <cstdio>
#include <memory>

using namespace Kiln;
using namespace Kiln::Tessel;

// The name of a type identifies it in the whole process, so a component must not be in an unnamed namespace.
namespace Samples {

/// A buoy that drifts with the tide.
class BuoyComponent final : public PoolableComponent<BuoyComponent, IComponent> {
public:
    /// The values that a prefab stores. Properties that a prefab leaves out keep these defaults.
    struct Config {
        float drift = 0; ///< Metres per frame.
    };

    explicit BuoyComponent(const Config& config) : drift(config.drift) {}

    float drift;
    float distance = 0; ///< Metres since the buoy was created.
};

} // namespace Samples

namespace {

using Samples::BuoyComponent;

// A static object registers the component under the name that prefabs use, and describes its properties.
const ComponentRegistration<BuoyComponent> buoyRegistration("BuoyComponent", [](auto& config) {
    config.template addProperty<&BuoyComponent::Config::drift>("drift");
});

constexpr const char* BUOYS = R"(<prefab>
    <formatVersion>1</formatVersion>
    <gameObjects>
        <gameObject>
            <uuid>0c8b8f7e-8d3b-4a52-9a55-2b9f1b0a6d11</uuid>
            <name>Fairway</name>
        </gameObject>
        <gameObject>
            <uuid>6f3a7b1d-52c4-4f0e-b8a9-c1d2470e9f33</uuid>
            <name>Green buoy</name>
        </gameObject>
        <gameObject>
            <uuid>a94e2c60-7b1f-4d85-93c7-58e06f21bd47</uuid>
            <name>Red buoy</name>
        </gameObject>
    </gameObjects>
    <components>
        <pool>
            <type>HierarchyComponent</type>
            <item>
                <gameObject>1</gameObject>
                <properties><parent>0c8b8f7e-8d3b-4a52-9a55-2b9f1b0a6d11</parent></properties>
            </item>
            <item>
                <gameObject>2</gameObject>
                <properties><parent>0c8b8f7e-8d3b-4a52-9a55-2b9f1b0a6d11</parent></properties>
            </item>
        </pool>
        <pool>
            <type>BuoyComponent</type>
            <item>
                <gameObject>1</gameObject>
                <properties><drift>0.25</drift></properties>
            </item>
            <item>
                <gameObject>2</gameObject>
                <properties><drift>0.5</drift></properties>
            </item>
        </pool>
    </components>
</prefab>)";

} // namespace

int main(int argc, char** argv) {
    const Samples::Environment environment(argc, argv);

    const int worldId = EntryPoint::instance().createWorld();
    bool isLoaded = false;
    Loading::loadGameObjectSection(DataSection::fromText(BUOYS, "buoys"), worldId, {}, {},
                                   [&](GameObject, GameObjectManager&) { return isLoaded = true; });
    if (!Samples::runFramesUntil(isLoaded)) {
        return 1;
    }

    // A query lists the active objects that have all of its components. Callers with the same query type share it.
    using Buoys = Query<BuoyComponent, GameObject>;
    World& world = *EntryPoint::instance().findValidWorld(worldId);
    const std::shared_ptr<Buoys> buoys =
        world.manager().getQuery<Buoys>(Buoys::makeConfig(), [] { return std::make_unique<Buoys>(); });

    for (int frame = 0; frame < 4; ++frame) {
        EntryPoint::instance().tick();
        buoys->forEach([](BuoyComponent& buoy, GameObject) { buoy.distance += buoy.drift; });
    }
    buoys->forEach([&](const BuoyComponent& buoy, GameObject object) {
        std::printf("%s has drifted %g m\n", world.manager().getGameObjectName(object).c_str(),
                    static_cast<double>(buoy.distance));
    });
    return buoys->size() == 2 ? 0 : 1;
}
