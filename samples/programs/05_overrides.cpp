// Loads one document twice: with its stored values, and with overrides that apply to that instance only.

#include "sample_support.h"

#include <object_serialization/override_records.h>
#include <tessel_asset_loading/loading.h>

#include <cstdio>
#include <utility>

using namespace Kiln;
using namespace Kiln::Tessel;

namespace {

// The zero UUID of the first record addresses the root; the second record addresses the trolley by its UUID in
// crane.prefab.
constexpr const char* MOVED = R"(<overrides>
    <gameObject>
        <uuid>00000000-0000-0000-0000-000000000000</uuid>
        <component>
            <type>TransformComponent</type>
            <properties><local>1 0 0 0 0 1 0 0 0 0 1 0 100 0 0 1</local></properties>
        </component>
    </gameObject>
    <gameObject>
        <uuid>a3ac7c98-ef90-4fe9-840d-04e4baffef70</uuid>
        <component>
            <type>TransformComponent</type>
            <properties><local>1 0 0 0 0 1 0 0 0 0 1 0 0 -0.6 30 1</local></properties>
        </component>
    </gameObject>
</overrides>)";

void printPositions(const GameObjectManager& manager, GameObject object) {
    Samples::printPosition(manager, object);
    for (const GameObject child : manager.getChildren(object)) {
        printPositions(manager, child);
    }
}

/// Loads a crane and prints the positions of its parts. A document that is loaded from a section does not name its
/// file, so its root has no PrefabComponent, and the log contains a message about this.
bool showCrane(int worldId, SmartPointer<OverrideRecords> overrides) {
    bool isLoaded = false;
    Loading::loadGameObjectSection(FS::Utils::openXmlSection("harbour/crane.prefab", false), worldId, {},
                                   std::move(overrides), [&](GameObject root, GameObjectManager& manager) {
                                       printPositions(manager, root);
                                       return isLoaded = true;
                                   });
    return Samples::runFramesUntil(isLoaded);
}

} // namespace

int main(int argc, char** argv) {
    const Samples::Environment environment(argc, argv);
    const int worldId = EntryPoint::instance().createWorld();

    std::puts("As stored:");
    if (!showCrane(worldId, {})) {
        return 1;
    }
    std::puts("With overrides:");
    return showCrane(worldId, OverrideRecords::create(MOVED)) ? 0 : 1;
}
