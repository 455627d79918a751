#include <prefab_inspection/composition/composed_value.h>

#include <common/number_text.h>
#include <common/white_space.h>
#include <object_serialization/component_library.h>
#include <reflection/meta_object.h>
#include <reflection/reflected_object.h>

#include <algorithm>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

using mirra::ValueKind;

/// Values that are nested deeper are ignored, as by readProperties().
constexpr int MAX_DEPTH = 128;

[[nodiscard]] ComposedValue describe(std::string name, const mirra::ValueType& type, void* value);

[[nodiscard]] std::vector<ComposedValue> describeMembers(const mirra::BaseStaticMetaObject& meta, void* object) {
    std::vector<ComposedValue> values;
    values.reserve(meta.properties().size());
    for (const mirra::Property& property : meta.properties()) {
        values.push_back(describe(property.name, *property.type, property.address(object)));
    }
    return values;
}

/// A value as it is in an object that no layer has changed.
ComposedValue describe(std::string name, const mirra::ValueType& type, void* value) {
    ComposedValue described;
    described.name = std::move(name);
    described.kind = type.kind();
    std::string layerText;
    if (type.kind() == ValueKind::VECTOR) {
        for (std::size_t i = 0; i < type.elementsCount(value); ++i) {
            described.children.push_back(describe({}, *type.elementType(), type.elementAt(value, i)));
        }
        layerText = std::to_string(described.children.size());
    } else if (type.kind() == ValueKind::STRUCTURE) {
        if (const mirra::BaseStaticMetaObject* const meta = type.metaObject()) {
            described.children = describeMembers(*meta, value);
        }
    } else {
        type.format(value, described.text);
        layerText = described.text;
    }
    described.layers.push_back({ValueLayer::Kind::DEFAULT, ValueLayer::Effect::WINS, Origin(), std::move(layerText)});
    return described;
}

void addWinner(ComposedValue& value, ValueLayer layer) {
    for (ValueLayer& earlier : value.layers) {
        if (earlier.effect == ValueLayer::Effect::WINS) {
            earlier.effect = ValueLayer::Effect::OVERRIDDEN;
        }
    }
    value.layers.push_back(std::move(layer));
}

/// Applies the properties of one element to an object and to its description.
class LayerReader {
public:
    LayerReader(ValueLayer::Kind kind, const Origin& origin) : m_kind(kind), m_origin(origin) {}

    void readObject(DataNode properties, const mirra::BaseStaticMetaObject& meta, void* object,
                    std::vector<ComposedValue>& values, int depth) {
        for (DataNode child = properties.firstChild(); child; child = child.nextSibling()) {
            for (std::size_t i = 0; i < values.size(); ++i) {
                if (child.isNamed(values[i].name)) {
                    const mirra::Property& property = meta.properties()[i];
                    readValue(child, *property.type, property.address(object), values[i], depth);
                    break;
                }
            }
        }
    }

private:
    void readValue(DataNode node, const mirra::ValueType& type, void* object, ComposedValue& value, int depth) {
        if (depth > MAX_DEPTH) {
            return;
        }
        switch (type.kind()) {
        case ValueKind::SCALAR:
        case ValueKind::LINK:
            readText(node, type, object, value);
            break;
        case ValueKind::VECTOR:
            readVector(node, type, object, value, depth);
            break;
        case ValueKind::STRUCTURE:
            if (const mirra::BaseStaticMetaObject* const meta = type.metaObject()) {
                addWinner(value, layer(node, {}));
                readObject(node, *meta, object, value.children, depth + 1);
            }
            break;
        }
    }

    void readText(DataNode node, const mirra::ValueType& type, void* object, ComposedValue& value) {
        const std::string whole = node.text();
        const std::string text(type.isWhiteSpaceKept() ? std::string_view(whole) : trimWhiteSpace(whole));
        ValueLayer added = layer(node, text);
        if (type.parse(text, object)) {
            value.text = text;
            addWinner(value, std::move(added));
        } else {
            added.effect = ValueLayer::Effect::UNREADABLE;
            value.layers.push_back(std::move(added));
        }
    }

    void readVector(DataNode node, const mirra::ValueType& type, void* object, ComposedValue& value, int depth) {
        type.clearElements(object);
        value.children.clear();
        for (DataNode child = node.firstChild(); child; child = child.nextSibling()) {
            if (child.isNamed(ElementName::VALUE)) {
                void* const element = type.appendElement(object);
                value.children.push_back(describe({}, *type.elementType(), element));
                readValue(child, *type.elementType(), element, value.children.back(), depth + 1);
            }
        }
        addWinner(value, layer(node, std::to_string(value.children.size())));
    }

    [[nodiscard]] ValueLayer layer(DataNode node, std::string text) const {
        return {m_kind, ValueLayer::Effect::WINS, {m_origin.file, m_origin.text, node}, std::move(text)};
    }

    ValueLayer::Kind m_kind;
    const Origin& m_origin;
};

/// Whether an element of a type that is not known looks like a vector.
[[nodiscard]] bool isVectorOfValues(DataNode node) {
    DataNode child = node.firstChild();
    while (child && child.isNamed(ElementName::VALUE)) {
        child = child.nextSibling();
    }
    return node.firstChild() && !child;
}

/// Reads what is written, whether or not the loader can use it.
class StoredReader {
public:
    explicit StoredReader(const Origin& origin) : m_origin(origin) {}

    [[nodiscard]] std::vector<ComposedValue> readMembers(DataNode node, const mirra::BaseStaticMetaObject* meta) const {
        std::vector<ComposedValue> values;
        for (DataNode child = node.firstChild(); child; child = child.nextSibling()) {
            const mirra::Property* const property = meta ? meta->findProperty(child.name()) : nullptr;
            values.push_back(readValue(child, std::string(child.name()), property ? property->type : nullptr));
        }
        return values;
    }

private:
    [[nodiscard]] static ValueKind kindOf(DataNode node, const mirra::ValueType* type) {
        if (type) {
            return type->kind();
        }
        if (!node.firstChild()) {
            return ValueKind::SCALAR;
        }
        return isVectorOfValues(node) ? ValueKind::VECTOR : ValueKind::STRUCTURE;
    }

    [[nodiscard]] ComposedValue readValue(DataNode node, std::string name, const mirra::ValueType* type) const {
        ComposedValue value;
        value.name = std::move(name);
        value.kind = kindOf(node, type);
        std::string layerText;
        if (value.kind == ValueKind::VECTOR) {
            for (DataNode child = node.firstChild(); child; child = child.nextSibling()) {
                if (child.isNamed(ElementName::VALUE)) {
                    value.children.push_back(readValue(child, {}, type ? type->elementType() : nullptr));
                }
            }
            layerText = std::to_string(value.children.size());
        } else if (value.kind == ValueKind::STRUCTURE) {
            value.children = readMembers(node, type ? type->metaObject() : nullptr);
        } else {
            const std::string whole = node.text();
            value.text = !type || type->isWhiteSpaceKept() ? whole : std::string(trimWhiteSpace(whole));
            layerText = value.text;
        }
        value.layers.push_back({ValueLayer::Kind::FILE,
                                ValueLayer::Effect::WINS,
                                {m_origin.file, m_origin.text, node},
                                std::move(layerText)});
        return value;
    }

    const Origin& m_origin;
};

void addReplacedLayers(DataNode properties, const Origin& origin, std::vector<ComposedValue>& values) {
    for (DataNode child = properties.firstChild(); child; child = child.nextSibling()) {
        const auto value = std::find_if(values.begin(), values.end(),
                                        [child](const ComposedValue& known) { return child.isNamed(known.name); });
        if (value != values.end()) {
            const bool isText = value->kind == ValueKind::SCALAR || value->kind == ValueKind::LINK;
            value->layers.push_back({ValueLayer::Kind::OVERRIDE,
                                     ValueLayer::Effect::REPLACED,
                                     {origin.file, origin.text, child},
                                     isText ? std::string(trimWhiteSpace(child.text())) : std::string()});
        }
    }
}

/// Takes the index of a path that continues with "[index]"; false if it does not.
[[nodiscard]] bool takeIndex(std::string_view& path, std::size_t& index) {
    const std::size_t end = path.find(']');
    if (!path.starts_with('[') || end == std::string_view::npos || !readNumber(path.substr(1, end - 1), index)) {
        return false;
    }
    path.remove_prefix(end + 1);
    return true;
}

} // namespace

ValueComposer::ValueComposer(std::size_t typeId) : m_descriptor(ComponentLibrary::instance().createDescriptor(typeId)) {
    if (m_descriptor) {
        m_configuration = m_descriptor->configuration();
        if (m_configuration.metaObject()) {
            m_values = describeMembers(*m_configuration.metaObject(), m_configuration.object());
        }
    }
}

void ValueComposer::apply(ValueLayer::Kind kind, const Origin& properties) {
    if (!m_values.empty()) {
        LayerReader(kind, properties)
            .readObject(properties.element, *m_configuration.metaObject(), m_configuration.object(), m_values, 0);
    }
}

void ValueComposer::addReplaced(const Origin& properties) {
    addReplacedLayers(properties.element, properties, m_values);
}

void ValueComposer::setByLoader(std::string_view property, const std::string& text) {
    for (ComposedValue& value : m_values) {
        if (value.name == property) {
            value.text = text;
            addWinner(value, {ValueLayer::Kind::LOADING, ValueLayer::Effect::WINS, Origin(), text});
        }
    }
}

std::vector<ComposedValue> storedValues(std::size_t typeId, const Origin& properties) {
    const SmartPointer<IComponentDescriptor> descriptor = ComponentLibrary::instance().createDescriptor(typeId);
    const mirra::BaseStaticMetaObject* const meta = descriptor ? descriptor->configuration().metaObject() : nullptr;
    return StoredReader(properties).readMembers(properties.element, meta);
}

const ComposedValue* findValue(const std::vector<ComposedValue>& values, std::string_view path) {
    const std::vector<ComposedValue>* members = &values;
    while (true) {
        const std::string_view name = path.substr(0, path.find_first_of(".["));
        path.remove_prefix(name.size());
        const auto member = std::find_if(members->begin(), members->end(),
                                         [name](const ComposedValue& value) { return value.name == name; });
        if (member == members->end()) {
            return nullptr;
        }
        const ComposedValue* found = &*member;
        for (std::size_t index = 0; takeIndex(path, index);) {
            if (found->kind != ValueKind::VECTOR || index >= found->children.size()) {
                return nullptr;
            }
            found = &found->children[index];
        }
        if (path.empty()) {
            return found;
        }
        if (!path.starts_with('.') || found->kind != ValueKind::STRUCTURE) {
            return nullptr;
        }
        path.remove_prefix(1);
        members = &found->children;
    }
}

} // namespace Kiln::PrefabInspection
