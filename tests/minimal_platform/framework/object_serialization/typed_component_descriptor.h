#pragma once

#include <object_framework/entry_point.h>
#include <object_serialization/component_descriptor.h>

#include <string>
#include <utility>

namespace Kiln {

/// The configuration has two faces from the first store on: the prefab's own values and the changes upon them.
template <class T>
class ComponentDescriptor final : public IComponentDescriptor {
public:
    using Config = typename T::Config;

    explicit ComponentDescriptor(std::string name) : m_name(std::move(name)) {}

    [[nodiscard]] const std::string& name() const override { return m_name; }
    [[nodiscard]] Tessel::ComponentTypeId type() const override { return Tessel::NativeComponent<T>::getType(); }
    void preload() const override {}

    [[nodiscard]] mirra::ReflectedObject configuration() override { return {typeid(Config), &config()}; }
    [[nodiscard]] mirra::ReflectedObject viewConfiguration() override { return {typeid(Config), &config()}; }

    void storePrefabProperties() override {
        if (m_isStored) {
            m_prefabProperties = m_config;
        }
        setupOverrides(nullptr);
    }

    void setupOverrides(const ComponentOverrideRecords* overrides) override {
        m_config = m_prefabProperties;
        m_isStored = true;
        if (overrides) {
            applyOverrides(*overrides, configuration());
        }
    }

    Tessel::IComponent* createOnObject(Tessel::GameObject object) override {
        Tessel::World* const world = Tessel::EntryPoint::instance().findValidWorld(object.getWorldId());
        return world ? world->manager().addComponent(object, world->template getStorage<T>().create(config()), type())
                     : nullptr;
    }

    void instantiate(ObjectCreation& creation, const ComponentOverrideRecords* overrides) override {
        if (overrides) {
            setupOverrides(overrides);
        }
        resolveLinks(creation, configuration());
        createOnObject(creation.object());
        setupOverrides(nullptr);
    }

    [[nodiscard]] const Config& config() const { return m_isStored ? m_config : m_prefabProperties; }
    [[nodiscard]] Config& config() { return m_isStored ? m_config : m_prefabProperties; }
    [[nodiscard]] const Config& prefabProperties() const { return m_prefabProperties; }

    /// Sets a member that is not reflected in both faces.
    template <class Value>
    void setState(Value Config::*member, Value value) {
        m_prefabProperties.*member = value;
        m_config.*member = value;
    }

private:
    std::string m_name;
    Config m_prefabProperties;
    Config m_config;
    bool m_isStored = false;
};

} // namespace Kiln
