#include "live_text.h"

#include <generic_components/transform_component.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <reflection/reflected_object.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/support/test_components.h>

namespace Kiln::ScenarioRunner {

namespace {

using namespace Tessel;
using TestSupport::HookComponent;
using TestSupport::LinksComponent;
using TestSupport::TagComponent;
using TestSupport::ValuesComponent;

/// Escapes line breaks and tabs, so that a text stays on its line.
[[nodiscard]] std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char character : text) {
        result += character == '\n' ? "\\n" : character == '\t' ? "\\t" : std::string(1, character);
    }
    return result + "\"";
}

class LiveText {
public:
    explicit LiveText(World& world) : m_manager(world.manager()) {}

    [[nodiscard]] std::string text() {
        for (const GameObject object : m_manager.gameObjects()) {
            if (m_manager.getParent(object).isInvalid()) {
                addTree(object, "");
            }
        }
        return m_text;
    }

private:
    void addTree(GameObject object, const std::string& indentation) {
        m_text += indentation + quoted(m_manager.getGameObjectName(object)) + " " +
                  m_manager.getGameObjectUuid(object).toString() +
                  (m_manager.isActive(object) ? " active" : " inactive") +
                  (m_manager.isEnabled(object) ? "" : " disabled");
        if (const auto flags = m_manager.getGameObjectFlags(object); flags.any()) {
            m_text += " flags " + std::to_string(flags.to_ulong());
        }
        m_text += "\n";
        for (const ComponentTypeId type : m_manager.componentTypes(object)) {
            m_text += indentation + "    - " + ComponentLibrary::instance().componentName(type);
            addProperties(object, type);
            m_text += "\n";
        }
        for (const GameObject child : m_manager.getChildren(object)) {
            addTree(child, indentation + "    ");
        }
    }

    void addProperties(GameObject object, ComponentTypeId type) {
        if (const auto* const prefab = find<PrefabComponent>(object, type)) {
            m_text += " resource=" + quoted(prefab->resource()) + " instance=" + prefab->instanceUuid().toString() +
                      (prefab->hasOverrides() ? " hasOverrides" : "") +
                      " overridesData=" + quoted(prefab->overridesData());
        } else if (const auto* const transform = find<TransformComponent>(object, type)) {
            m_text += transform->local == Matrix() ? "" : " local=" + transform->local.toString();
            m_text += transform->world == transform->local ? "" : " world=" + transform->world.toString();
        } else {
            addConfig<TagComponent>(object, type);
            addConfig<HookComponent>(object, type);
            addConfig<ValuesComponent>(object, type);
            addConfig<LinksComponent>(object, type);
        }
    }

    template <class T>
    [[nodiscard]] const T* find(GameObject object, ComponentTypeId type) const {
        return type == NativeComponent<T>::getType() ? m_manager.findComponent<T>(object) : nullptr;
    }

    template <class T>
    void addConfig(GameObject object, ComponentTypeId type) {
        if (const T* const component = find<T>(object, type)) {
            const typename T::Config defaults;
            const auto& meta = *mirra::MetaObjectManager::instance().findType(typeid(typename T::Config));
            addStructure(meta, const_cast<void*>(static_cast<const void*>(&component->config)),
                         const_cast<void*>(static_cast<const void*>(&defaults)), " ");
        }
    }

    void addStructure(const mirra::BaseStaticMetaObject& meta, void* object, void* defaults, const char* separator) {
        for (const mirra::Property& property : meta.properties()) {
            void* const value = property.address(object);
            if (!property.type->isEqual(value, property.address(defaults))) {
                m_text += separator + property.name + "=";
                addValue(*property.type, value, property.address(defaults));
            }
        }
    }

    void addValue(const mirra::ValueType& type, void* value, void* defaults) {
        switch (type.kind()) {
        case mirra::ValueKind::SCALAR: {
            std::string text;
            type.format(value, text);
            m_text += type.isWhiteSpaceKept() ? quoted(text) : text;
            return;
        }
        case mirra::ValueKind::LINK:
            addLink(static_cast<const LinkValueType&>(type).link(value));
            return;
        case mirra::ValueKind::STRUCTURE:
            m_text += "{";
            addStructure(*type.metaObject(), value, defaults, " ");
            m_text += " }";
            return;
        case mirra::ValueKind::VECTOR:
            m_text += "[";
            for (std::size_t i = 0; i < type.elementsCount(value); ++i) {
                m_text += i == 0 ? "" : ", ";
                addElement(*type.elementType(), type.elementAt(value, i));
            }
            m_text += "]";
            return;
        }
    }

    /// Elements have no defaults, so all are written.
    void addElement(const mirra::ValueType& type, void* value) {
        if (type.kind() != mirra::ValueKind::STRUCTURE) {
            addValue(type, value, value);
            return;
        }
        m_text += "{";
        for (const mirra::Property& property : type.metaObject()->properties()) {
            m_text += " " + property.name + "=";
            addElement(*property.type, property.address(value));
        }
        m_text += " }";
    }

    void addLink(const ILinkConfig& link) {
        m_text += link.target().isInvalid() ? "nothing" : quoted(m_manager.getGameObjectName(link.target()));
        m_text += " (" + link.uuid().toString() + ")";
    }

    GameObjectManager& m_manager;
    std::string m_text;
};

} // namespace

std::string liveText(World& world) {
    return LiveText(world).text();
}

} // namespace Kiln::ScenarioRunner
