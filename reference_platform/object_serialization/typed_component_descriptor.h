#pragma once

#include <object_framework/entry_point.h>
#include <object_framework/link_config.h>
#include <object_framework/world.h>
#include <object_serialization/component_descriptor.h>
#include <object_serialization/component_texts.h>
#include <object_serialization/property_io.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace Kiln {

/// The descriptor of component type T, whose configuration is a `T::Config`: a copyable structure with a registered
/// description, from which a T can be constructed. T may have a static `preload(const Config&)`.
///
/// A configuration with a single link may name it by a static constant `ONLY_LINK`, a pointer to the member: a creation
/// then resolves that link directly instead of by the description.
///
/// The prefab's own values are written only while the descriptor is stored, so that workers can read them while objects
/// are created. Changes of the configuration during a creation go to a copy.
template <class T>
class ComponentDescriptor final : public IComponentDescriptor {
public:
    /// What a prefab stores of the component.
    using Config = typename T::Config;

    /// @{
    /// A descriptor with a default configuration and the texts of its type.
    explicit ComponentDescriptor(const ComponentTexts& texts) : m_texts(&texts) {}
    ComponentDescriptor(const std::string& name, const std::string& category)
        : ComponentDescriptor(ComponentTexts::of(name, category)) {}
    /// @}

    ComponentDescriptor(const ComponentDescriptor&) = delete;
    ComponentDescriptor& operator=(const ComponentDescriptor&) = delete;
    ~ComponentDescriptor() override { dropChanges(); }

    [[nodiscard]] const std::string& name() const override { return m_texts->name; }
    [[nodiscard]] const std::string& libraryPath() const override { return m_texts->libraryPath; }
    [[nodiscard]] const std::string& category() const override { return m_texts->category; }

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
        if (!world || !world->manager().canAddComponent(object, type())) {
            return nullptr;
        }
        return world->manager().addComponent(object, make(*world, std::as_const(*this).config()), type());
    }

    void instantiate(ObjectCreation& creation, const ComponentOverrideRecords* overrides) override {
        if (overrides || isOffPrefabProperties()) {
            instantiateChanged(creation, overrides);
        } else {
            add(creation, m_prefabProperties);
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
        return view(m_editable ? *m_editable : m_prefabProperties);
    }

    void storePrefabProperties() override {
        if (isOffPrefabProperties()) {
            m_prefabProperties = std::move(*m_editable);
        }
        dropChanges();
    }

    void setupOverrides(const ComponentOverrideRecords* overrides) override {
        dropChanges();
        if (overrides) {
            applyOverrides(*overrides, view(config()), name());
        }
    }

    [[nodiscard]] bool isOffPrefabProperties() const override {
        return m_editable != nullptr && m_editable != &m_prefabProperties;
    }

    [[nodiscard]] bool hasLinks() const override { return configMeta() && configMeta()->containsLinks(); }

    /// The current configuration.
    [[nodiscard]] const Config& config() const { return m_editable ? *m_editable : m_prefabProperties; }

    /// The configuration, to be changed until it is stored or restored.
    [[nodiscard]] Config& config() {
        if (!m_editable) {
            m_editable = new Config(m_prefabProperties);
        }
        return *m_editable;
    }

    /// The prefab's own values.
    [[nodiscard]] const Config& prefabProperties() const { return m_prefabProperties; }

    /// Sets a member in the configuration and in the prefab's own values: for state that is not reflected and so
    /// neither stored nor restored. Workers may read other members at the same time.
    template <class Value>
    void setState(Value Config::*member, Value value) {
        m_prefabProperties.*member = value;
        if (isOffPrefabProperties()) {
            m_editable->*member = value;
        }
    }

private:
    /// Not inlined, so that the storage's operations are inlined here.
    [[nodiscard, gnu::noinline]] static Tessel::ComponentPointer make(Tessel::World& world, const Config& config) {
        return world.getStorage<T>().create(config);
    }

    /// instantiate() with a configuration that differs from the prefab's own values. It is taken out of the descriptor,
    /// which has these values again: the component's constructor may create further instances, and it may throw.
    [[gnu::noinline]] void instantiateChanged(ObjectCreation& creation, const ComponentOverrideRecords* overrides) {
        if (overrides) {
            setupOverrides(overrides);
        }
        const std::unique_ptr<Config> changed(isOffPrefabProperties() ? std::exchange(m_editable, nullptr) : nullptr);
        add(creation, changed ? *changed : m_prefabProperties);
    }

    /// Whether the configuration names its only link. A base class that does so does not count.
    static constexpr bool HAS_ONLY_LINK = requires {
        requires std::is_same_v<decltype(Config::ONLY_LINK), Tessel::GameObjectLink Config::*const>;
    };

    /// Resolves the links of a configuration and adds a component that is made from it.
    void add(ObjectCreation& creation, Config& config) {
        const mirra::BaseStaticMetaObject* const meta = configMeta();
        if constexpr (HAS_ONLY_LINK) {
            if (meta) {
                resolveLink(creation, config.*Config::ONLY_LINK);
            }
        } else if (meta && meta->containsLinks()) {
            IComponentDescriptor::resolveLinks(creation, *meta, &config);
        }
        creation.addComponent(make(creation.world(), config), Tessel::NativeComponent<T>::getType());
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

    /// Drops the changed copy. Before the first store there is none; then this only makes later changes go to a copy.
    void dropChanges() {
        if (isOffPrefabProperties()) {
            delete m_editable;
        }
        m_editable = nullptr;
    }

    const ComponentTexts* m_texts;
    Config m_prefabProperties;

    /// The configuration that callers change: before the first store the prefab's own values themselves, later an owned
    /// copy, null until it is needed. A single pointer, because there is a descriptor per stored component.
    Config* m_editable = &m_prefabProperties;
};

} // namespace Kiln
