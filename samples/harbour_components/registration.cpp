// Registers the components of this library when the library is loaded.

#include "beacon_component.h"
#include "berth_component.h"
#include "crane_component.h"
#include "lamp_component.h"
#include "sign_component.h"

#include <object_serialization/component_registration.h>

namespace Harbour {

namespace {

/// Structures inside configurations need descriptions of their own, which are found by C++ type.
struct Structures {
    Structures() {
        mirra::StaticMetaObjectBuilder<Drive> drive("Drive");
        drive.addProperty<&Drive::model>("model");
        drive.addProperty<&Drive::power>("power");
        drive.addProperty<&Drive::hoistSpeed>("hoistSpeed");
        drive.finish();

        using Mooring = BerthComponent::MooringConfig;
        mirra::StaticMetaObjectBuilder<Mooring> mooring("Mooring");
        mooring.addProperty<&Mooring::bollard>("bollard");
        mooring.addProperty<&Mooring::line>("line");
        mooring.finish();
    }
};

const Structures structures;

const Kiln::ComponentRegistration<LampComponent> lamp("LampComponent", [](auto& config) {
    config.template addProperty<&LampComponent::Config::colour>("colour");
    config.template addProperty<&LampComponent::Config::brightness>("brightness");
    config.template addProperty<&LampComponent::Config::isLit>("isLit");
});

const Kiln::ComponentRegistration<SignComponent> sign("SignComponent", [](auto& config) {
    config.template addProperty<&SignComponent::Config::text>("text");
    config.template addProperty<&SignComponent::Config::height>("height");
});

const Kiln::ComponentRegistration<CraneComponent> crane("CraneComponent", [](auto& config) {
    config.template addProperty<&CraneComponent::Config::reach>("reach");
    config.template addProperty<&CraneComponent::Config::capacity>("capacity");
    config.template addProperty<&CraneComponent::Config::drive>("drive");
    config.template addProperty<&CraneComponent::Config::load>("load");
});

const Kiln::ComponentRegistration<BerthComponent> berth("BerthComponent", [](auto& config) {
    config.template addProperty<&BerthComponent::Config::depth>("depth");
    config.template addProperty<&BerthComponent::Config::ships>("ships");
    config.template addProperty<&BerthComponent::Config::moorings>("moorings");
});

const Kiln::ComponentRegistration<BeaconComponent> beacon("BeaconComponent", [](auto& config) {
    config.template addProperty<&BeaconComponent::Config::pattern>("pattern", {mirra::Meta::View::Path});
    config.template addProperty<&BeaconComponent::Config::range>("range");
});

} // namespace

} // namespace Harbour
