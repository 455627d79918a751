// Builds a prefab in memory, writes it to a file and reads it again. The second argument names the file; without it,
// the program writes to the system's directory for temporary files.

#include "sample_support.h"

#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <object_serialization/typed_component_descriptor.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/prefab_component.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

using namespace Kiln;
using namespace Kiln::Tessel;

namespace {

SmartPointer<GameObjectDescriptor> addObject(GameObjectPrefab& prefab, const char* name) {
    SmartPointer<GameObjectDescriptor> object = makeSmart<GameObjectDescriptor>();
    object->setUuid(Uuid::generate());
    object->setName(name);
    prefab.addGameObject(object);
    return object;
}

/// Adds a component of type T to an object. Returns its configuration, which the caller fills before writing the
/// prefab.
template <class T>
typename T::Config& addComponent(GameObjectDescriptor& object) {
    const ComponentLibrary& library = ComponentLibrary::instance();
    const SmartPointer<IComponentDescriptor> component = library.createDescriptor(library.findComponent(typeid(T)));
    object.addComponent(component);
    return static_cast<ComponentDescriptor<T>&>(*component).config();
}

GameObjectPrefab buildJetty() {
    GameObjectPrefab jetty;
    const SmartPointer<GameObjectDescriptor> root = addObject(jetty, "Jetty"); // No parent: this is the root.
    addComponent<TransformComponent>(*root);

    const SmartPointer<GameObjectDescriptor> steps = addObject(jetty, "Steps");
    addComponent<HierarchyComponent>(*steps).parent.setUuid(root->uuid());
    addComponent<TransformComponent>(*steps).local = Matrix::translation(3, -1, 0);

    // An object with a parent and a PrefabComponent nests another prefab.
    const SmartPointer<GameObjectDescriptor> lamp = addObject(jetty, "Lamp at the end");
    addComponent<HierarchyComponent>(*lamp).parent.setUuid(root->uuid());
    addComponent<TransformComponent>(*lamp).local = Matrix::translation(12, 0, 0);
    addComponent<PrefabComponent>(*lamp).resource = "harbour/props/lamp.prefab";
    return jetty;
}

} // namespace

int main(int argc, char** argv) {
    const Samples::Environment environment(argc, argv);
    const std::filesystem::path file = argc > 2 ? std::filesystem::absolute(argv[2])
                                                : std::filesystem::temp_directory_path() / "kiln_sample_jetty.prefab";

    const GameObjectPrefab jetty = buildJetty();
    const SmartPointer<DataSection> document = DataSection::create("prefab");
    jetty.serialize(document);
    if (!document->saveFile(file)) {
        return 1;
    }

    FS::Utils::addResourceRoot(file.parent_path()); // Only files beneath a resource root are read.
    const std::unique_ptr<GameObjectPrefab> read = GameObjectPrefab::loadHierarchy(file, nullptr);
    if (!read) {
        return 1;
    }
    for (std::size_t node = 0; node < read->nodesCount(); ++node) {
        const SmartPointer<GameObjectDescriptor> object = read->getGameObject(node);
        const bool isSame = object->uuid() == jetty.getGameObject(node)->uuid();
        std::printf("%s, %zu components, %s\n", object->name().data(), object->components().size(),
                    isSame ? "same UUID" : "another UUID");
    }

    GameObjectPrefab::CreateConfig config;
    config.worldId = EntryPoint::instance().createWorld();
    config.instanceUuid = Uuid::generate();
    const GameObject created = read->createGameObjects(config).front();
    GameObjectManager& manager = *getGameObjectManager(config.worldId);
    manager.activateGameObject(created); // Loading does this for its callers.
    Samples::printTree(manager, created);
    return 0;
}
