// The component of the tests of UUIDs: "RopeComponent" with links of every form.

#include <common/uuid.h>
#include <object_framework/link_config.h>
#include <object_serialization/component_registration.h>
#include <tessel_foundation/poolable_component.h>

#include <string>
#include <vector>

namespace RopeComponentTypes {

struct Knot {
    Kiln::Tessel::GameObjectLink post;
    std::string name;
};

class RopeComponent final : public Kiln::Tessel::PoolableComponent<RopeComponent, Kiln::Tessel::IComponent> {
public:
    struct Config {
        Kiln::Tessel::GameObjectLink end;
        std::vector<Kiln::Tessel::GameObjectLink> posts;
        Knot knot;
        std::vector<Knot> knots;
        Kiln::Uuid serial;
    };

    explicit RopeComponent(const Config& /*config*/) {}
};

} // namespace RopeComponentTypes

namespace {

using RopeComponentTypes::Knot;
using RopeComponentTypes::RopeComponent;

struct KnotRegistration {
    KnotRegistration() {
        mirra::StaticMetaObjectBuilder<Knot> knot("Knot");
        knot.addProperty<&Knot::post>("post");
        knot.addProperty<&Knot::name>("name");
        knot.finish();
    }
};

const KnotRegistration s_knot;

const Kiln::ComponentRegistration<RopeComponent> s_rope("RopeComponent", [](auto& config) {
    config.template addProperty<&RopeComponent::Config::end>("end");
    config.template addProperty<&RopeComponent::Config::posts>("posts");
    config.template addProperty<&RopeComponent::Config::knot>("knot");
    config.template addProperty<&RopeComponent::Config::knots>("knots");
    config.template addProperty<&RopeComponent::Config::serial>("serial");
});

} // namespace
