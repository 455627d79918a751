#include <object_serialization/component_registration.h>
#include <tessel_foundation/poolable_component.h>

#include <string>
#include <vector>

namespace Kiln::CorpusTests {

/// One of a node's property lines, unchanged from the scene that the prefab was made from.
struct NodeValue {
    std::string name;
    std::string value;
};

/// The data of a node besides its name, transform and parent.
class NodeComponent final : public Tessel::PoolableComponent<NodeComponent, Tessel::IComponent> {
public:
    struct Config {
        std::string kind;
        std::vector<std::string> groups;
        std::string script;
        std::vector<NodeValue> values;
    };

    explicit NodeComponent(const Config& from) : config(from) {}

    const Config config;
};

namespace {

/// Described before the component, whose description refers to it.
const mirra::BaseStaticMetaObject& s_nodeValue = mirra::StaticMetaObjectBuilder<NodeValue>("NodeComponent::Value")
                                                     .addProperty<&NodeValue::name>("name")
                                                     .addProperty<&NodeValue::value>("value")
                                                     .finish();

const ComponentRegistration<NodeComponent> s_nodeComponent("NodeComponent", [](auto& config) {
    config.template addProperty<&NodeComponent::Config::kind>("kind");
    config.template addProperty<&NodeComponent::Config::groups>("groups");
    config.template addProperty<&NodeComponent::Config::script>("script");
    config.template addProperty<&NodeComponent::Config::values>("values");
});

} // namespace

} // namespace Kiln::CorpusTests
