#pragma once

#include <core/non_copyable.h>
#include <object_framework/component_option.h>
#include <object_serialization/deseriralize_error_handler.h>
#include <object_serialization/game_object_descriptor.h>
#include <reflection/reflected_object.h>
#include <resource/data_section.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Views of the sections of a prefab document.
namespace Kiln::Tessel {

class MINIMAL_API GameObjectData {
public:
    explicit GameObjectData(SmartPointer<DataSection> section) : m_section(std::move(section)) {}
    [[nodiscard]] SmartPointer<GameObjectDescriptor> getDescriptor() const;

private:
    SmartPointer<DataSection> m_section;
};

class MINIMAL_API GameObjectPool {
public:
    explicit GameObjectPool(SmartPointer<DataSection> section) : m_section(std::move(section)) {}
    [[nodiscard]] std::size_t gameObjectsCount() const {
        return static_cast<std::size_t>(m_section->end() - m_section->begin());
    }
    [[nodiscard]] GameObjectData gameObjectData(std::size_t index) const {
        return GameObjectData(m_section->begin()[static_cast<std::ptrdiff_t>(index)]);
    }
    void addGameObject(const SmartPointer<GameObjectDescriptor>& descriptor);

private:
    SmartPointer<DataSection> m_section;
};

class PropertyItem {
public:
    explicit PropertyItem(std::string text) : m_text(std::move(text)) {}
    [[nodiscard]] const std::string& getSimpleValue() const { return m_text; }

private:
    std::string m_text;
};

class MINIMAL_API ComponentItem {
public:
    explicit ComponentItem(SmartPointer<DataSection> section) : m_section(std::move(section)) {}
    [[nodiscard]] std::uint64_t getGameObjectIndex() const;
    [[nodiscard]] ComponentOptions getInstanceOptions() const;
    void setInstanceOptions(ComponentOptions options);
    void constructConfig(const mirra::ReflectedObject& configuration, const DeseriralizeErrorHandler* handler) const;
    void storeConfig(const mirra::ReflectedObject& configuration);
    [[nodiscard]] std::optional<PropertyItem> findProperty(std::string_view name) const;

private:
    SmartPointer<DataSection> m_section;
};

class MINIMAL_API ComponentPool {
public:
    explicit ComponentPool(SmartPointer<DataSection> section);
    [[nodiscard]] const std::string& getComponentType() const { return m_type; }
    [[nodiscard]] std::uint32_t getComponentVersion() const;
    void setComponentVersion(std::uint32_t version);
    [[nodiscard]] std::size_t itemsCount() const { return m_items.size(); }
    [[nodiscard]] ComponentItem getComponentItem(std::size_t index) const { return ComponentItem(m_items[index]); }
    ComponentItem addComponent(std::uint64_t gameObjectIndex);

private:
    SmartPointer<DataSection> m_section;
    std::string m_type;
    std::vector<SmartPointer<DataSection>> m_items;
};

class MINIMAL_API ComponentPoolStorage {
public:
    explicit ComponentPoolStorage(SmartPointer<DataSection> section);
    [[nodiscard]] std::size_t poolsCount() const { return m_pools.size(); }
    [[nodiscard]] ComponentPool& getComponentPool(std::size_t index) { return *m_pools[index]; }
    [[nodiscard]] ComponentPool* findComponentPool(std::string_view name);
    ComponentPool& createComponentPool(std::string_view name);

private:
    SmartPointer<DataSection> m_section;
    std::vector<std::unique_ptr<ComponentPool>> m_pools;
};

class MINIMAL_API PrefabFormat : NonCopyable {
public:
    static constexpr std::uint32_t FORMAT_VERSION = 1;
    static constexpr std::uint32_t DEFAULT_COMPONENT_VERSION = 1;

    explicit PrefabFormat(SmartPointer<DataSection> section);

    [[nodiscard]] std::uint32_t getFormatVersion() const;
    void setFormatVersion(std::uint32_t version);
    [[nodiscard]] GameObjectPool* getGameObjects() { return m_gameObjects ? &*m_gameObjects : nullptr; }
    [[nodiscard]] ComponentPoolStorage* getComponents() { return m_components ? &*m_components : nullptr; }
    GameObjectPool& createGameObjectPool() { return m_gameObjects.emplace(m_section->newSection("gameObjects")); }
    ComponentPoolStorage& createComponentPoolStorage() {
        return m_components.emplace(m_section->newSection("components"));
    }

private:
    SmartPointer<DataSection> m_section;
    std::optional<GameObjectPool> m_gameObjects;
    std::optional<ComponentPoolStorage> m_components;
};

} // namespace Kiln::Tessel
