#include "plain_values.h"

#include <common/white_space.h>
#include <object_serialization/component_library.h>
#include <reflection/meta_object.h>

#include <algorithm>

namespace Kiln::PrefabTool {

using mirra::ValueKind;
using PrefabInspection::PrefabFile;

PropertyDefaults propertyDefaults(std::size_t typeId) {
    PropertyDefaults defaults;
    const SmartPointer<IComponentDescriptor> descriptor = ComponentLibrary::instance().createDescriptor(typeId);
    mirra::ReflectedObject configuration = descriptor ? descriptor->configuration() : mirra::ReflectedObject();
    if (!configuration.metaObject()) {
        return defaults;
    }
    for (const mirra::Property& property : configuration.metaObject()->properties()) {
        std::string text;
        if (property.type->kind() == ValueKind::SCALAR || property.type->kind() == ValueKind::LINK) {
            property.type->format(property.address(configuration.object()), text);
        }
        defaults.emplace_back(property.name, std::move(text));
    }
    return defaults;
}

std::size_t lineOf(const PrefabFile& file, DataNode element, std::size_t near) {
    return file.text->lineAt(static_cast<std::size_t>(element.offset()), near);
}

PlainValues::Scratch& PlainValues::scratch(std::size_t typeId) {
    if (typeId >= m_scratch.size()) {
        m_scratch.resize(typeId + 1);
    }
    Scratch& scratch = m_scratch[typeId];
    if (!scratch.descriptor) {
        scratch.descriptor = ComponentLibrary::instance().createDescriptor(typeId);
        if (scratch.descriptor) {
            scratch.configuration = scratch.descriptor->configuration();
        }
    }
    return scratch;
}

bool PlainValues::append(const PrefabFile& file, const PrefabFile::Component& component, TextTable& texts,
                         std::vector<std::int32_t>& output) {
    Scratch& target = scratch(component.pool->typeId);
    if (!target.configuration.metaObject()) {
        return false;
    }
    const std::size_t start = output.size();
    m_isSet.assign(target.configuration.metaObject()->properties().size(), false);
    const std::size_t line = lineOf(file, component.item->element, target.line);
    target.line = line;
    m_line = line;
    m_expected = 0;
    output.push_back(static_cast<std::int32_t>(component.pool->typeId));
    output.push_back(static_cast<std::int32_t>(line));
    output.push_back(0);
    const DataNode properties = component.item->properties;
    for (DataNode child = properties.firstChild(); child; child = child.nextSibling()) {
        if (!appendValue(file, child, target, texts, output)) {
            output.resize(start);
            return false;
        }
    }
    for (std::size_t value = start + 5; value < output.size(); value += 3) {
        output[value] -= static_cast<std::int32_t>(line);
    }
    output[start + 2] = static_cast<std::int32_t>((output.size() - start) / 3 - 1);
    return true;
}

bool PlainValues::appendValue(const PrefabFile& file, DataNode element, Scratch& scratch, TextTable& texts,
                              std::vector<std::int32_t>& output) {
    const std::vector<mirra::Property>& properties = scratch.configuration.metaObject()->properties();
    std::size_t steps = 0;
    while (steps < properties.size() && !element.isNamed(properties[(m_expected + steps) % properties.size()].name)) {
        ++steps;
    }
    if (steps == properties.size()) {
        return true; // The loader skips it, too.
    }
    const std::size_t index = (m_expected + steps) % properties.size();
    m_expected = index + 1;
    const mirra::ValueType& type = *properties[index].type;
    if (m_isSet[index] || (type.kind() != ValueKind::SCALAR && type.kind() != ValueKind::LINK)) {
        return false;
    }
    m_isSet[index] = true;
    const std::string_view whole = element.text(m_text);
    const std::string_view text = type.isWhiteSpaceKept() ? whole : trimWhiteSpace(whole);
    if (!file.isFlawless && !type.parse(text, properties[index].address(scratch.configuration.object()))) {
        return false;
    }
    m_line = file.text->lineAt(file.text->valueBegin(element), m_line);
    output.push_back(static_cast<std::int32_t>(index));
    output.push_back(static_cast<std::int32_t>(texts.add(text)));
    output.push_back(static_cast<std::int32_t>(m_line));
    return true;
}

} // namespace Kiln::PrefabTool
