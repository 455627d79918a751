#include "components.h"

#include <object_serialization/component_registration.h>

#include <atomic>
#include <functional>

namespace Kiln::Fuzz {

namespace {

/// Describes the structures first: a component's description refers to them.
struct StructureDescriptions {
    StructureDescriptions() {
        mirra::StaticMetaObjectBuilder<Measure> measure("Fuzz::Measure");
        measure.addProperty<&Measure::unit>("unit").addProperty<&Measure::amount>("amount").finish();
        mirra::StaticMetaObjectBuilder<Tree> tree("Fuzz::Tree");
        tree.addProperty<&Tree::name>("name").addProperty<&Tree::children>("children").finish();
        mirra::StaticMetaObjectBuilder<Wire> wire("Fuzz::Wire");
        wire.addProperty<&Wire::end>("end").addProperty<&Wire::colour>("colour").finish();
        mirra::StaticMetaObjectBuilder<Cable> cable("Fuzz::Cable");
        cable.addProperty<&Cable::wire>("wire").finish();
    }
};

const StructureDescriptions s_structures;

const ComponentRegistration<ValuesComponent> s_values("ValuesComponent", [](auto& config) {
    config.template addProperty<&ValuesConfig::isOn>("isOn");
    config.template addProperty<&ValuesConfig::int8>("int8");
    config.template addProperty<&ValuesConfig::int16>("int16");
    config.template addProperty<&ValuesConfig::signedNumber>("signedNumber");
    config.template addProperty<&ValuesConfig::int64>("int64");
    config.template addProperty<&ValuesConfig::uint8>("uint8");
    config.template addProperty<&ValuesConfig::uint16>("uint16");
    config.template addProperty<&ValuesConfig::uint32>("uint32");
    config.template addProperty<&ValuesConfig::unsignedNumber>("unsignedNumber");
    config.template addProperty<&ValuesConfig::single>("single");
    config.template addProperty<&ValuesConfig::real>("real");
    config.template addProperty<&ValuesConfig::text>("text");
    config.template addProperty<&ValuesConfig::uuid>("uuid");
    config.template addProperty<&ValuesConfig::matrix>("matrix");
    config.template addProperty<&ValuesConfig::numbers>("numbers");
    config.template addProperty<&ValuesConfig::rows>("rows");
    config.template addProperty<&ValuesConfig::measure>("measure");
    config.template addProperty<&ValuesConfig::measures>("measures");
    config.template addProperty<&ValuesConfig::tree>("tree");
});

const ComponentRegistration<TagComponent> s_tag("TagComponent", [](auto& config) {
    config.template addProperty<&TagConfig::tag>("tag");
    config.template addProperty<&TagConfig::note>("note");
});

const ComponentRegistration<LinksComponent> s_links("LinksComponent", [](auto& config) {
    config.template addProperty<&LinksConfig::target>("target");
    config.template addProperty<&LinksConfig::wire>("wire");
    config.template addProperty<&LinksConfig::cable>("cable");
    config.template addProperty<&LinksConfig::targets>("targets");
    config.template addProperty<&LinksConfig::wires>("wires");
});

} // namespace

void TagComponent::preload(const Config& config) {
    static std::atomic<std::size_t> hashes = 0; // Static, so that the compiler cannot remove the reads.
    hashes += std::hash<std::string>()(config.tag) ^ std::hash<std::string>()(config.note);
}

} // namespace Kiln::Fuzz
