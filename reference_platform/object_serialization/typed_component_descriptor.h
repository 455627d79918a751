#pragma once

#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <object_serialization/component_descriptor.h>
#include <object_serialization/property_io.h>

#include <memory>
#include <string>
#include <utility>

namespace Kiln {

/// The descriptor of component type T, whose configuration is a `T::Config`: a copyable structure with a registered
/// description, from which a T can be constructed. T may have a static `preload(const Config&)`.
///
/// The prefab's own values are written only while the descriptor is stored or edited for good, so that workers can
/// read them while objects are created; a configuration that is changed meanwhile is a copy.
template <class T>
class ComponentDescriptor final : public IComponentDescriptor {
public:
    using Config = typename T::Config;

    ComponentDescriptor(std::string name, std::string category)
        : m_name(std::move(name)), m_libraryPath("components/" + m_name), m_category(std::move(category)) {}

    [[nodiscard]] const std::string& name() const override { return m_name; }
    [[nodiscard]] const std::string& libraryPath() const override { return m_libraryPath; }
    [[nodiscard]] const std::string& category() const override { return m_category; }

    void removeFromObject(Tessel::GameObject object) override {
        Tessel::GameObjectManager* const manager = Tessel::getGameObjectManager(object);
        if (manager && manager->hasComponent(object, type())) {
            manager->removeComponent(object, type());
        }
    }

    [[nodiscard]] vessa::Variant reflect() override { return vessa::Variant::own(configuration()); }

    [[nodiscard]] const mirra::BaseStaticMetaObject* metaType() const override {
        return mirra::MetaObjectManager::instance().findType(typeid(T));
    }

    void preload() const override {
        if constexpr (requires(const Config& config) { T::preload(config); }) {
            T::preload(m_prefabProperties);
        }
    }

    Tessel::IComponent* createOnObject(Tessel::GameObject object) override {
        Tessel::World* const world = Tessel::EntryPoint::instance().findValidWorld(object.getWorldId());
        return world ? world->manager().addComponent(object, make(*world), type()) : nullptr;
    }

    void instantiate(ObjectCreation& creation, const ComponentOverrideRecords* overrides) override {
        if (overrides) {
            setupOverrides(overrides);
        }
        const mirra::BaseStaticMetaObject* const meta = configMeta();
        if (meta && meta->containsLinks()) {
            IComponentDescriptor::resolveLinks(creation, *meta, m_changed ? m_changed.get() : &m_prefabProperties);
        }
        creation.addComponent(make(creation.world()), Tessel::NativeComponent<T>::getType());
        if (m_changed) {
            setupOverrides(nullptr);
        }
    }

    Tessel::IComponent* reapplyOnObject(Tessel::GameObject object, const Uuid& instanceUuid,
                                        const UuidMap& uuidMap) override {
        if (!Tessel::isValid(object)) {
            return nullptr;
        }
        resolveLinks(object, instanceUuid, uuidMap);
        removeFromObject(object);
        return createOnObject(object);
    }

    [[nodiscard]] Tessel::ComponentTypeId type() const override { return Tessel::NativeComponent<T>::getType(); }

    [[nodiscard]] mirra::ReflectedObject configuration() override { return view(config()); }
    [[nodiscard]] mirra::ReflectedObject viewConfiguration() override {
        return view(m_changed ? *m_changed : m_prefabProperties);
    }

    void storePrefabProperties() override {
        if (m_changed) {
            m_prefabProperties = std::move(*m_changed);
            m_changed.reset();
        }
        m_areStored = true;
    }

    void setupOverrides(const ComponentOverrideRecords* overrides) override {
        if (!m_areStored) {
            storePrefabProperties();
        }
        m_changed.reset();
        if (overrides) {
            applyOverrides(*overrides, view(config()), m_name);
        }
    }

    [[nodiscard]] bool isOffPrefabProperties() const override { return m_changed != nullptr; }

    [[nodiscard]] bool hasLinks() const override { return configMeta() && configMeta()->containsLinks(); }

    /// The configuration as it stands.
    [[nodiscard]] const Config& config() const { return m_changed ? *m_changed : m_prefabProperties; }

    /// The configuration, to be changed until it is stored or restored.
    [[nodiscard]] Config& config() {
        if (!m_areStored) {
            return m_prefabProperties;
        }
        if (!m_changed) {
            m_changed = std::make_unique<Config>(m_prefabProperties);
        }
        return *m_changed;
    }

    /// The prefab's own values.
    [[nodiscard]] const Config& prefabProperties() const { return m_prefabProperties; }

    /// Sets a member in both faces of the configuration: for state that is not reflected and so neither stored nor
    /// restored. A worker that reads other members meanwhile is not disturbed.
    template <class Value>
    void setState(Value Config::*member, Value value) {
        m_prefabProperties.*member = value;
        if (m_changed) {
            (*m_changed).*member = value;
        }
    }

private:
    [[nodiscard]] Tessel::ComponentPointer make(Tessel::World& world) const {
        return world.getStorage<T>().create(config());
    }

    [[nodiscard]] static const mirra::BaseStaticMetaObject* configMeta() {
        static const mirra::BaseStaticMetaObject* const metaObject =
            mirra::MetaObjectManager::instance().findType(typeid(Config));
        return metaObject;
    }

    [[nodiscard]] static mirra::ReflectedObject view(Config& config) {
        mirra::ReflectedObject object;
        if (configMeta()) {
            object.init(*configMeta(), &config);
        }
        return object;
    }

    Config m_prefabProperties;
    std::unique_ptr<Config> m_changed; ///< The configuration while it differs from the prefab's own values.
    bool m_areStored = false;          ///< Before the first store, both faces are one.
    std::string m_name;
    std::string m_libraryPath;
    std::string m_category;
};

} // namespace Kiln
