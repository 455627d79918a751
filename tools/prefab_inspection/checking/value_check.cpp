#include <prefab_inspection/checking/value_check.h>

#include <common/white_space.h>
#include <object_framework/link_config.h>
#include <object_serialization/component_library.h>
#include <prefab_inspection/documents/prefab_document.h>
#include <reflection/reflected_object.h>

#include <cstdint>

namespace Kiln::PrefabInspection {

namespace {

/// The loader refuses values that are nested deeper.
constexpr int MAX_DEPTH = 128;

class ValueCheck {
public:
    explicit ValueCheck(IValueSink& sink) : m_sink(sink) {}

    void checkObject(DataNode properties, const mirra::BaseStaticMetaObject& type, void* object, int depth) {
        std::size_t expected = 0;  // Files list properties in the order of their description.
        std::uint64_t present = 0; // One bit for each of the first properties of the type.
        for (DataNode child = properties.firstChild(); child; child = child.nextSibling()) {
            const mirra::Property* const property = find(type, child, expected);
            if (!property) {
                m_sink.onUnknownProperty(child, type);
                continue;
            }
            const std::uint64_t bit = expected <= 64 ? std::uint64_t{1} << (expected - 1) : 0;
            if ((present & bit) != 0) {
                m_sink.onRepeatedProperty(child);
            }
            present |= bit;
            checkValue(child, *property->type, property->address(object), depth);
        }
    }

private:
    [[nodiscard]] static const mirra::Property* find(const mirra::BaseStaticMetaObject& type, DataNode node,
                                                     std::size_t& expected) {
        const std::vector<mirra::Property>& properties = type.properties();
        for (std::size_t i = 0; i < properties.size(); ++i) {
            const std::size_t index = (expected + i) % properties.size();
            if (node.isNamed(properties[index].name)) {
                expected = index + 1;
                return &properties[index];
            }
        }
        return nullptr;
    }

    void checkValue(DataNode node, const mirra::ValueType& type, void* value, int depth) {
        if (depth > MAX_DEPTH) {
            m_sink.onTooDeepValue(node);
            return;
        }
        switch (type.kind()) {
        case mirra::ValueKind::SCALAR:
        case mirra::ValueKind::LINK:
            checkScalar(node, type, value);
            break;
        case mirra::ValueKind::VECTOR:
            checkVector(node, type, value, depth);
            break;
        case mirra::ValueKind::STRUCTURE:
            if (const mirra::BaseStaticMetaObject* const structure = type.metaObject()) {
                checkObject(node, *structure, value, depth + 1);
            } else {
                m_sink.onUnreadableValue(node, type, {});
            }
            break;
        }
    }

    void checkScalar(DataNode node, const mirra::ValueType& type, void* value) {
        const std::string_view text = node.text(m_scratch);
        if (const DataNode element = node.firstChild()) {
            m_sink.onElementInScalar(element);
        }
        if (!type.parse(type.isWhiteSpaceKept() ? text : trimWhiteSpace(text), value)) {
            m_sink.onUnreadableValue(node, type, text);
        } else if (type.kind() == mirra::ValueKind::LINK) {
            m_sink.onLink(node, static_cast<const Tessel::LinkValueType&>(type).link(value).uuid());
        }
    }

    void checkVector(DataNode node, const mirra::ValueType& type, void* value, int depth) {
        type.clearElements(value);
        for (DataNode element = node.firstChild(); element; element = element.nextSibling()) {
            if (element.isNamed(ElementName::VALUE)) {
                checkValue(element, *type.elementType(), type.appendElement(value), depth + 1);
            } else {
                m_sink.onUnknownElement(element);
            }
        }
    }

    IValueSink& m_sink;
    std::string m_scratch;
};

} // namespace

IComponentDescriptor* ScratchDescriptors::get(std::size_t typeId) {
    const auto [entry, isNew] = m_descriptors.try_emplace(typeId);
    if (isNew) {
        entry->second = ComponentLibrary::instance().createDescriptor(typeId);
    }
    return entry->second.get();
}

void checkValues(DataNode properties, const mirra::ReflectedObject& configuration, IValueSink& sink) {
    if (configuration.metaObject()) {
        ValueCheck(sink).checkObject(properties, *configuration.metaObject(), configuration.object(), 0);
    }
}

} // namespace Kiln::PrefabInspection
