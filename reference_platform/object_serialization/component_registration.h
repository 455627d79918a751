#pragma once

#include <core/task_manager.h>
#include <object_serialization/component_library.h>
#include <object_serialization/prefab_format.h>
#include <object_serialization/typed_component_descriptor.h>
#include <reflection/meta_object.h>

#include <string>
#include <typeinfo>

namespace Kiln {

/// The record of component type T under one name, in the default category and the current version.
template <class T>
[[nodiscard]] ComponentRecord makeComponentRecord(const std::string& name) {
    ComponentRecord record;
    record.typeId = Tessel::NativeComponent<T>::getType();
    record.type = typeid(T);
    record.displayName = record.name = name;
    record.category = IComponentDescriptor::DEFAULT_CATEGORY;
    record.version = Tessel::PrefabFormat::DEFAULT_COMPONENT_VERSION;
    record.factory = [&texts =
                          ComponentTexts::of(record.name, record.category)]() -> SmartPointer<IComponentDescriptor> {
        return makeSmart<ComponentDescriptor<T>>(texts);
    };
    return record;
}

/// Registers a component type while its library is loaded: a static object per type.
///
///     const Kiln::ComponentRegistration<Lamp> lampRegistration("LampComponent", [](auto& config) {
///         config.template addProperty<&Lamp::Config::colour>("colour");
///     });
///
/// At exit it joins the file-I/O workers, so that none uses the library's code and data while they are destroyed.
template <class T>
class ComponentRegistration {
public:
    /// Registers T under that name. `describe` is called with a mirra::StaticMetaObjectBuilder of T::Config and adds
    /// the properties.
    template <class Describe>
    ComponentRegistration(const std::string& name, Describe&& describe) {
        mirra::StaticMetaObjectBuilder<typename T::Config> config(name + "::Config");
        describe(config);
        config.finish();
        ComponentLibrary::instance().append(makeComponentRecord<T>(name));
    }

private:
    FileIOTaskManager::ExitGuard m_exitGuard;
};

} // namespace Kiln
