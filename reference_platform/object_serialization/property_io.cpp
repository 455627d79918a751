#include <object_serialization/property_io.h>

#include <common/white_space.h>
#include <core/formatter.h>
#include <core/log.h>
#include <core/printable_text.h>
#include <object_serialization/override_records.h>

namespace Kiln {

namespace {

constexpr const char* SOURCE = "object_serialization/property_io";

/// Limit of nested values. Deeper values are refused, so that they do not exhaust the stack.
constexpr int MAX_DEPTH = 128;

class PropertyReader {
public:
    PropertyReader(const DataSection& document, const std::string& componentName,
                   const Tessel::DeseriralizeErrorHandler* handler)
        : m_document(document), m_componentName(componentName), m_handler(handler) {}

    void readObject(DataNode properties, const mirra::BaseStaticMetaObject& metaObject, void* object, int depth) {
        // Files list properties in the order of their description, so the search starts after the last one found.
        std::size_t expected = 0;
        for (DataNode child = properties.firstChild(); child; child = child.nextSibling()) {
            const mirra::Property* const property = findProperty(metaObject, child, expected);
            if (!property) {
                report(LogSeverity::WARNING, child, "is not known and is skipped");
                continue;
            }
            readValue(child, *property->type, property->address(object), depth);
        }
    }

private:
    [[nodiscard]] static const mirra::Property* findProperty(const mirra::BaseStaticMetaObject& metaObject,
                                                             DataNode node, std::size_t& expected) {
        const std::vector<mirra::Property>& properties = metaObject.properties();
        std::size_t index = expected;
        for (std::size_t i = 0; i < properties.size(); ++i) {
            if (index == properties.size()) {
                index = 0;
            }
            if (node.isNamed(properties[index].name)) {
                expected = index + 1;
                return &properties[index];
            }
            ++index;
        }
        return nullptr;
    }

    void readValue(DataNode node, const mirra::ValueType& type, void* value, int depth) {
        if (depth > MAX_DEPTH) {
            report(LogSeverity::ERROR, node, "is nested too deep and is skipped");
            return;
        }
        switch (type.kind()) {
        case mirra::ValueKind::SCALAR:
        case mirra::ValueKind::LINK: {
            if (setBinaryValue(node, type, value)) {
                break;
            }
            const std::string_view text = node.text(m_scratch);
            if (!type.parse(type.isWhiteSpaceKept() ? text : trimWhiteSpace(text), value)) {
                reportUnreadable(node, type, text);
            }
            break;
        }
        case mirra::ValueKind::VECTOR:
            type.clearElements(value);
            for (DataNode element = node.firstChild(); element; element = element.nextSibling()) {
                if (element.isNamed("value")) {
                    readValue(element, *type.elementType(), type.appendElement(value), depth + 1);
                } else {
                    report(LogSeverity::WARNING, element, "is not an element of a vector and is skipped");
                }
            }
            break;
        case mirra::ValueKind::STRUCTURE:
            if (const mirra::BaseStaticMetaObject* const metaObject = type.metaObject()) {
                readObject(node, *metaObject, value, depth + 1);
            } else {
                report(LogSeverity::ERROR, node, "has a type without description and is skipped");
            }
            break;
        }
    }

    /// Sets a value without its text; false if only the text can do it.
    [[nodiscard]] static bool setBinaryValue(DataNode node, const mirra::ValueType& type, void* value) {
        switch (node.valueKind()) {
        case DataValueKind::TEXT:
            return false;
        case DataValueKind::INTEGER:
            return type.setInteger(node.integerValue(), value);
        case DataValueKind::FLOAT:
            return type.setFloat(node.floatValue(), value);
        case DataValueKind::UUID:
            return type.setUuid(node.uuidValue(), value);
        case DataValueKind::MATRIX:
            return type.setMatrix(node.matrixValue(), value);
        }
        return false;
    }

    void report(int severity, DataNode node, const char* problem) const {
        const std::string text = formatText("Component '%s': property '%s' %s (%s, line %zu)", m_componentName.c_str(),
                                            std::string(node.name()).c_str(), problem, m_document.source().c_str(),
                                            m_document.positionOf(node).line);
        if (m_handler) {
            m_handler->callback(m_handler->context + ". " + text);
        } else {
            DebugMessageHelper(0, severity, "", SOURCE).message("%s", text.c_str());
        }
    }

    void reportUnreadable(DataNode node, const mirra::ValueType& type, std::string_view text) const {
        report(LogSeverity::ERROR, node,
               ("can't be read as " + type.name() + " from '" + shortenedText(text) + "'").c_str());
    }

    const DataSection& m_document;
    const std::string& m_componentName;
    const Tessel::DeseriralizeErrorHandler* m_handler;
    std::string m_scratch;
};

class PropertyWriter {
public:
    void write(DataNode node, const mirra::ValueType& type, void* value) {
        switch (type.kind()) {
        case mirra::ValueKind::SCALAR:
        case mirra::ValueKind::LINK:
            m_text.clear();
            type.format(value, m_text);
            node.setText(m_text);
            break;
        case mirra::ValueKind::VECTOR:
            for (std::size_t i = 0; i < type.elementsCount(value); ++i) {
                write(node.append("value"), *type.elementType(), type.elementAt(value, i));
            }
            break;
        case mirra::ValueKind::STRUCTURE:
            if (const mirra::BaseStaticMetaObject* const metaObject = type.metaObject()) {
                for (const mirra::Property& property : metaObject->properties()) {
                    write(node.append(property.name), *property.type, property.address(value));
                }
            }
            break;
        }
    }

private:
    std::string m_text;
};

} // namespace

void readProperties(const DataSection& document, DataNode properties, const mirra::ReflectedObject& object,
                    const std::string& componentName, const Tessel::DeseriralizeErrorHandler* handler) {
    if (object.metaObject()) {
        PropertyReader(document, componentName, handler)
            .readObject(properties, *object.metaObject(), object.object(), 0);
    }
}

void writeProperties(DataNode properties, const mirra::ReflectedObject& object) {
    PropertyWriter writer;
    for (std::size_t i = 0; i < object.properties(); ++i) {
        const mirra::BoundProperty property = object.propertyAt(i);
        writer.write(properties.append(property.name()), property.type(), property.value());
    }
}

void applyOverrides(const ComponentOverrideRecords& overrides, const mirra::ReflectedObject& object,
                    const std::string& componentName) {
    for (const SmartPointer<DataSection>& properties : overrides.properties()) {
        readProperties(*properties, properties->node(), object, componentName);
    }
}

} // namespace Kiln
