#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_framework/component_option.h>
#include <object_serialization/deseriralize_error_handler.h>
#include <object_serialization/export.h>
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

/// The element layout of prefab documents. All classes here are views of a document's sections: they keep the document
/// alive and are used by one thread at a time.
namespace Kiln::Tessel {

/// A stored game object.
class KILN_OBJECT_SERIALIZATION_EXPORT GameObjectData {
public:
    /// A view of the element of a game object. It refers to the document, which must outlive it.
    GameObjectData(const DataSection& document, DataNode node) : m_document(&document), m_node(node) {}

    /// A new descriptor without components; never null. Problems are reported in the log: a UUID that is missing or
    /// malformed becomes Uuid::ZERO, malformed flags become 0.
    [[nodiscard]] SmartPointer<GameObjectDescriptor> getDescriptor() const;

private:
    [[nodiscard]] Uuid parseUuid(DataNode node) const;

    const DataSection* m_document;
    DataNode m_node;
};

/// The game objects of a document. Their indices count from 0 in the order of the document.
class KILN_OBJECT_SERIALIZATION_EXPORT GameObjectPool : NonCopyable {
public:
    /// A view of the section that contains the game objects.
    explicit GameObjectPool(SmartPointer<DataSection> section);

    /// Number of stored game objects.
    [[nodiscard]] std::size_t gameObjectsCount() const noexcept { return m_nodes.size(); }

    /// `index` must be less than gameObjectsCount().
    [[nodiscard]] GameObjectData gameObjectData(std::size_t index) const { return {*m_section, m_nodes[index]}; }

    /// Appends a game object, without its components.
    void addGameObject(const SmartPointer<GameObjectDescriptor>& descriptor);

private:
    SmartPointer<DataSection> m_section;
    std::vector<DataNode> m_nodes;
};

/// A named property of a stored component.
class KILN_OBJECT_SERIALIZATION_EXPORT PropertyItem {
public:
    /// A view of the element of a property.
    explicit PropertyItem(DataNode node) : m_node(node) {}

    /// The value's text.
    [[nodiscard]] std::string getSimpleValue() const { return m_node.text(); }

private:
    DataNode m_node;
};

/// A stored component.
class KILN_OBJECT_SERIALIZATION_EXPORT ComponentItem {
public:
    /// A view of the element of a component. It refers to the document and to the name, which must outlive it.
    ComponentItem(const DataSection& document, const std::string& componentName, DataNode node);

    /// Index of the game object that owns the component; 2^64 - 1 when it is missing or malformed.
    [[nodiscard]] std::uint64_t getGameObjectIndex() const;

    /// ALL_ROLES when they are missing or malformed; the latter is an error in the log.
    [[nodiscard]] ComponentOptions getInstanceOptions() const;
    /// Stores the options instead of the previous ones.
    void setInstanceOptions(ComponentOptions options);

    /// Reads the stored properties into a configuration. Problems go to the handler when there is one, otherwise to the
    /// log.
    void constructConfig(const mirra::ReflectedObject& configuration, const DeseriralizeErrorHandler* handler) const;

    /// Stores a configuration's properties.
    void storeConfig(const mirra::ReflectedObject& configuration);

    /// The property of that name; none when it is not stored.
    [[nodiscard]] std::optional<PropertyItem> findProperty(std::string_view name) const;

private:
    friend class ComponentPool;

    /// A new item without children.
    ComponentItem(const DataSection& document, const std::string& componentName, DataNode node,
                  std::uint64_t gameObjectIndex);

    /// `known`, or the child of that name when it was added after this view was made.
    [[nodiscard]] DataNode child(DataNode known, std::string_view name) const {
        return known ? known : m_node.child(name);
    }

    const DataSection* m_document;
    const std::string* m_componentName;
    DataNode m_node;
    DataNode m_gameObject; ///< Children of the item; null for those that were missing.
    DataNode m_options;
    DataNode m_properties;
};

/// The stored components of one type.
class KILN_OBJECT_SERIALIZATION_EXPORT ComponentPool : NonCopyable {
public:
    /// A view of the section of a pool.
    explicit ComponentPool(SmartPointer<DataSection> section);

    /// The type's registered name.
    [[nodiscard]] const std::string& getComponentType() const noexcept { return m_type; }

    /// DEFAULT_COMPONENT_VERSION when it is missing, 0 when it is malformed.
    [[nodiscard]] std::uint32_t getComponentVersion() const;
    /// Stores the version in which the components' data is written.
    void setComponentVersion(std::uint32_t version);

    /// Number of stored components.
    [[nodiscard]] std::size_t itemsCount() const noexcept { return m_items.size(); }

    /// `index` must be less than itemsCount(). The pool must outlive the item.
    [[nodiscard]] ComponentItem getComponentItem(std::size_t index) const {
        return {*m_section, m_type, m_items[index]};
    }

    /// Appends a component of a game object; the pool must outlive the item.
    ComponentItem addComponent(std::uint64_t gameObjectIndex);

private:
    SmartPointer<DataSection> m_section;
    std::string m_type;
    std::vector<DataNode> m_items;
};

/// The component pools of a document.
class KILN_OBJECT_SERIALIZATION_EXPORT ComponentPoolStorage : NonCopyable {
public:
    /// A view of the section that contains the pools.
    explicit ComponentPoolStorage(SmartPointer<DataSection> section);

    /// Number of pools.
    [[nodiscard]] std::size_t poolsCount() const noexcept { return m_pools.size(); }

    /// `index` must be less than poolsCount(). Pools belong to the storage.
    [[nodiscard]] ComponentPool& getComponentPool(std::size_t index) { return *m_pools[index]; }

    /// The first pool of that type name; null when there is none.
    [[nodiscard]] ComponentPool* findComponentPool(std::string_view name);

    /// Appends an empty pool.
    ComponentPool& createComponentPool(std::string_view name);

private:
    SmartPointer<DataSection> m_section;
    std::vector<std::unique_ptr<ComponentPool>> m_pools;
};

/// A view of a whole prefab document. It owns the views of its pools.
class KILN_OBJECT_SERIALIZATION_EXPORT PrefabFormat : NonCopyable {
public:
    /// @{
    /// The version of the layout, and that of the data of components whose pool names none.
    static constexpr std::uint32_t FORMAT_VERSION = 1;
    static constexpr std::uint32_t DEFAULT_COMPONENT_VERSION = 1;
    /// @}

    /// `section` is the document's root; null is an empty document that can't be written to.
    explicit PrefabFormat(SmartPointer<DataSection> section);
    ~PrefabFormat();

    /// 0 when it is missing or malformed.
    [[nodiscard]] std::uint32_t getFormatVersion() const;
    /// Stores the version of the layout.
    void setFormatVersion(std::uint32_t version);

    /// @{
    /// Null when the document has none.
    [[nodiscard]] GameObjectPool* getGameObjects();
    [[nodiscard]] ComponentPoolStorage* getComponents();
    /// @}

    /// @{
    /// Make an empty one; the document must have none.
    GameObjectPool& createGameObjectPool();
    ComponentPoolStorage& createComponentPoolStorage();
    /// @}

private:
    SmartPointer<DataSection> m_section;
    std::unique_ptr<GameObjectPool> m_gameObjects;
    std::unique_ptr<ComponentPoolStorage> m_components;
};

} // namespace Kiln::Tessel
