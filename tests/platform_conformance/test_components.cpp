#include "test_components.h"

#include <reflection/meta_object.h>

namespace Conformance {

using namespace Kiln;

namespace {

/// In the order in which the product's start-up does it: the type, the record, the descriptions.
const bool s_areRegistered = [] {
    ComponentLibrary::instance().append(makeComponentRecord<Beacon>(Beacon::NAME));
    ComponentLibrary::instance().append(makeComponentRecord<Bell>(Bell::NAME));

    mirra::StaticMetaObjectBuilder<Mark> mark("Conformance::Mark");
    mark.addProperty<&Mark::label>("label");
    mark.addProperty<&Mark::target>("target");
    mark.finish();

    mirra::StaticMetaObjectBuilder<Beacon::Config> beacon("Conformance::Beacon::Config");
    beacon.addProperty<&Beacon::Config::text>("text", {mirra::Meta::View::Path});
    beacon.addProperty<&Beacon::Config::other>("other");
    beacon.addProperty<&Beacon::Config::link>("link");
    beacon.addProperty<&Beacon::Config::mark>("mark");
    beacon.finish();
    return true;
}();

} // namespace

SmartPointer<IComponentDescriptor> makeDescriptor(const char* name) {
    const ComponentLibrary& library = ComponentLibrary::instance();
    return library.createDescriptor(library.findComponent(name));
}

} // namespace Conformance
