#pragma once

#include <object_framework/entry_point.h>
#include <object_framework/link_config.h>
#include <object_framework/world.h>
#include <object_serialization/component_registration.h>
#include <tessel_foundation/poolable_component.h>

#include <string>
#include <utility>

/// Component types of the tests, registered as the product registers its own.
namespace Conformance {

/// A structure inside of a configuration.
struct Mark {
    std::string label;
    Kiln::Tessel::GameObjectLink target;
};

class Beacon final : public Kiln::Tessel::PoolableComponent<Beacon, Kiln::Tessel::IComponent> {
public:
    static constexpr const char* NAME = "ConformanceBeacon";

    struct Config {
        std::string text = "unlit";
        std::string other;
        Kiln::Tessel::GameObjectLink link;
        Mark mark;
        bool isMarked = false; ///< Not reflected.
    };

    explicit Beacon(const Config& from) : config(from) {}

    const Config config;
};

/// A component without properties that counts its activations.
class Bell final : public Kiln::Tessel::PoolableComponent<Bell, Kiln::Tessel::IComponent> {
public:
    static constexpr const char* NAME = "ConformanceBell";

    struct Config {};

    explicit Bell(const Config& /*config*/) {}

    void activate() override {
        PoolableComponent::activate();
        ++activationsCount;
    }
    void deactivate() override {
        PoolableComponent::deactivate();
        ++deactivationsCount;
    }

    int activationsCount = 0;
    int deactivationsCount = 0;
};

using BeaconDescriptor = Kiln::ComponentDescriptor<Beacon>;

/// A new descriptor from the component library.
[[nodiscard]] Kiln::SmartPointer<Kiln::IComponentDescriptor> makeDescriptor(const char* name);

/// Adds a component that is made from `arguments` to an object; null when it is refused.
template <class T, class... Arguments>
T* addComponent(Kiln::Tessel::GameObject object, const Arguments&... arguments) {
    using namespace Kiln::Tessel;
    World& world = *EntryPoint::instance().findValidWorld(object.getWorldId());
    ComponentPointer component = world.getStorage<T>().create(arguments...);
    return static_cast<T*>(world.manager().addComponent(object, std::move(component), NativeComponent<T>::getType()));
}

} // namespace Conformance
