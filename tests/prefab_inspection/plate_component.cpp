// The component of the tests of compositions.

#include <object_framework/link_config.h>
#include <object_serialization/component_registration.h>
#include <tessel_foundation/poolable_component.h>

#include <cstdint>
#include <string>
#include <vector>

namespace PlateComponentTypes {

struct Style {
    std::string colour;
    std::string size;
};

class PlateComponent final : public Kiln::Tessel::PoolableComponent<PlateComponent, Kiln::Tessel::IComponent> {
public:
    struct Config {
        std::string text = "plain";
        std::int32_t width = 3;
        Style style;
        std::vector<Style> rows;
        Kiln::Tessel::GameObjectLink target;
    };

    explicit PlateComponent(const Config& /*config*/) {}
};

} // namespace PlateComponentTypes

namespace {

using PlateComponentTypes::PlateComponent;
using PlateComponentTypes::Style;

struct Structures {
    Structures() {
        mirra::StaticMetaObjectBuilder<Style> style("Style");
        style.addProperty<&Style::colour>("colour");
        style.addProperty<&Style::size>("size");
        style.finish();
    }
};

const Structures s_structures;

const Kiln::ComponentRegistration<PlateComponent> s_plate("PlateComponent", [](auto& config) {
    config.template addProperty<&PlateComponent::Config::text>("text");
    config.template addProperty<&PlateComponent::Config::width>("width");
    config.template addProperty<&PlateComponent::Config::style>("style");
    config.template addProperty<&PlateComponent::Config::rows>("rows");
    config.template addProperty<&PlateComponent::Config::target>("target");
});

} // namespace
