// A host that observes, at two points, how the module registers itself. Argument: the directory of the libraries.
// Prints what the framework knows about the module at each step; errors are reported on stderr with exit status 3.

#include <core/log.h>
#include <core/profiler.h>
#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <object_framework/query.h>
#include <object_framework/world.h>
#include <object_serialization/component_library.h>
#include <reflection/meta_object.h>

#include "plugin_loading.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <tuple>
#include <typeinfo>

namespace {

using namespace Kiln;
using namespace Kiln::BoundaryTests;
using Tessel::EntryPoint;

/// The type of the module's service; a host that does not link the module knows only its name.
class ServiceType final : public std::type_info {
public:
    ServiceType() : std::type_info("N4Kiln6Tessel13PrefabServiceE") {}
};

/// Uses the configuration of the module's query first.
struct EarlierQuery;

std::size_t s_typesBefore = 0;

[[nodiscard]] int countManagers() {
    int count = 0;
    while (EntryPoint::instance().findReactiveManagerRecord(count)) {
        ++count;
    }
    return count;
}

[[nodiscard]] int hasMeta(const char* name) {
    return mirra::MetaObjectManager::instance().findType(name) ? 1 : 0;
}

void print(const std::string& step) {
    static const ServiceType serviceType;
    std::printf("%s: types %zu, record %d, managers %d, meta objects %d, service %d\n", step.c_str(),
                Tessel::IComponent::types().typesCount() - s_typesBefore,
                ComponentLibrary::instance().findComponent("PrefabComponent") != ComponentLibrary::INVALID_ID,
                countManagers(),
                hasMeta("Kiln::Tessel::PrefabComponent::Config") + hasMeta("Kiln::Tessel::PrefabComponent"),
                EntryPoint::instance().getService(serviceType) != nullptr);
}

/// The module's component will get the next id, so that its query can be entered before it.
void enterEarlierQuery() {
    Tessel::QueryConfig config{{static_cast<Tessel::ComponentTypeId>(s_typesBefore),
                                Tessel::NativeComponent<Tessel::HierarchyComponent>::getType()},
                               true};
    std::sort(config.types.begin(), config.types.end());
    Tessel::QueryIsUniqueAsserter::enter(config, typeid(EarlierQuery*));
}

/// Called while a world initialises its post-load manager.
void onMessage(const LogMessage& message) {
    print("[" + std::to_string(message.severity) + "] " + std::string(message.text));
    Tessel::ReactiveManagerRecord* const record = EntryPoint::instance().findReactiveManagerRecord(countManagers() - 1);
    require(record != nullptr, "the manager is not registered when a world makes one");
    record->options = Tessel::ComponentOptions(0x01U);
}

} // namespace

int main(int argumentsCount, char** arguments) {
    require(argumentsCount == 2, "usage: boundary_start_up_host <libraries>");
    std::ignore = openLibrary(arguments[1], "libkiln_generic_components.so"); // Otherwise the module loads it.
    const int firstWorld = EntryPoint::instance().createWorld();
    const int secondWorld = EntryPoint::instance().createWorld();
    s_typesBefore = Tessel::IComponent::types().typesCount();
    enterEarlierQuery();
    print("before");

    const ScopedLogSink sink(&onMessage);
    setProfilerHooks({[](const char* name) { print(std::string("begin ") + name); },
                      [](const char* name) { print(std::string("end ") + name); }});
    std::ignore = openLibrary(arguments[1], "libkiln_tessel_asset_loading.so");
    setProfilerHooks({});
    print("after");

    for (const int worldId : {firstWorld, secondWorld}) {
        require(EntryPoint::instance().findValidWorld(worldId)->findReactiveManager(countManagers() - 1) != nullptr,
                "a world that existed did not get its manager");
    }
    std::printf("options of the manager: %u\n",
                EntryPoint::instance().findReactiveManagerRecord(countManagers() - 1)->options.bits());
    return 0;
}
