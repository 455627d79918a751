#include <prefab_inspection/checking/value_problems.h>

#include <common/number_text.h>
#include <common/white_space.h>
#include <core/formatter.h>
#include <core/printable_text.h>
#include <object_serialization/component_library.h>
#include <prefab_inspection/checking/nearest_name.h>
#include <prefab_inspection/documents/prefab_document.h>

#include <charconv>
#include <system_error>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

/// Whether a text that is no value of the type is a number nevertheless, which then is outside of the type's range.
[[nodiscard]] bool isOutOfRange(const mirra::ValueType& type, std::string_view text) {
    const bool isInteger = type.name().starts_with("int") || type.name().starts_with("uint");
    const bool isFloat = type.name() == "float" || type.name() == "double";
    const std::string_view digits = trimWhiteSpace(text).substr(trimWhiteSpace(text).starts_with('-') ? 1 : 0);
    if (isInteger) {
        return !digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos;
    }
    double number = 0;
    const std::string_view trimmed = trimWhiteSpace(text);
    const char* const end = trimmed.data() + trimmed.size();
    const auto [position, error] = std::from_chars(trimmed.data(), end, number);
    return isFloat && position == end && !trimmed.empty() &&
           (error == std::errc::result_out_of_range || error == std::errc());
}

/// What a text must be to be read as a value of the type.
[[nodiscard]] std::string describe(const mirra::ValueType& type) {
    if (type.kind() == mirra::ValueKind::LINK || type.name() == "Uuid") {
        return "a UUID: 8-4-4-4-12 hexadecimal digits";
    }
    if (type.name() == "Matrix") {
        return "16 numbers, separated by spaces";
    }
    return type.name() == "bool" ? "true or false" : "a value of the type " + type.name();
}

} // namespace

std::vector<std::string> componentNames() {
    std::vector<std::string> names;
    const ComponentLibrary& library = ComponentLibrary::instance();
    for (std::size_t id = 0; id < library.componentsCount(); ++id) {
        if (std::string name = library.componentName(id); !name.empty()) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

ValueProblems::ValueProblems(std::string component, std::uint32_t object, std::vector<std::size_t> embedding,
                             std::vector<PendingFinding>& findings, OnLink onLink)
    : m_component(std::move(component)),
      m_object(object),
      m_embedding(std::move(embedding)),
      m_findings(findings),
      m_onLink(std::move(onLink)) {}

void ValueProblems::onUnknownProperty(DataNode element, const mirra::BaseStaticMetaObject& type) {
    std::vector<std::string> names;
    std::string known;
    for (const mirra::Property& property : type.properties()) {
        names.push_back(property.name);
        known += (known.empty() ? "'" : ", '") + property.name + "'";
    }
    const std::optional<NearestName> nearest = nearestName(element.name(), std::move(names));
    PendingFinding& finding = add(FindingCode::UNKNOWN_PROPERTY, Severity::WARNING, Anchor::name(element), element);
    finding.message = formatText("'%s' has no property '%s', so the value is ignored.", m_component.c_str(),
                                 shortenedText(element.name()).c_str()) +
                      suggestion(nearest);
    finding.cure = nearest         ? "Rename the element to '" + nearest->name + "', or remove it."
                   : known.empty() ? std::string("Remove the element.")
                                   : "Remove the element; the properties are " + known + ".";
}

void ValueProblems::onUnknownElement(DataNode element) {
    PendingFinding& finding = add(FindingCode::UNKNOWN_ELEMENT, Severity::WARNING, Anchor::name(element), element);
    finding.message = "The element '" + shortenedText(element.name()) + "' is not an element of a list and is ignored.";
    finding.cure = std::string("Rename the element to '") + ElementName::VALUE + "', or remove it.";
}

void ValueProblems::onElementInScalar(DataNode element) {
    PendingFinding& finding = add(FindingCode::UNKNOWN_ELEMENT, Severity::WARNING, Anchor::name(element), element);
    finding.message =
        "The value is one text, so that the element '" + shortenedText(element.name()) + "' in it is ignored.";
    finding.cure = "Remove the element; if it is part of the text, escape it or put the text into a CDATA section.";
}

void ValueProblems::onRepeatedProperty(DataNode element) {
    PendingFinding& finding = add(FindingCode::REPEATED_ELEMENT, Severity::WARNING, Anchor::name(element), element);
    finding.message = "The property '" + std::string(element.name()) + "' appears again; the last value is used.";
    finding.cure = "Keep the value that is meant, and remove the others.";
}

void ValueProblems::onUnreadableValue(DataNode element, const mirra::ValueType& type, std::string_view text) {
    PendingFinding& finding = add(FindingCode::UNREADABLE_VALUE, Severity::ERROR, Anchor::value(element), element);
    const std::string value = "'" + shortenedText(text) + "'";
    finding.message =
        isOutOfRange(type, text)
            ? formatText("The value %s is outside of the range of %s.", value.c_str(), type.name().c_str())
            : formatText("The value %s can't be read as %s.", value.c_str(), type.name().c_str());
    finding.message += " '" + m_component + "." + shortenedText(element.name()) + "' keeps " +
                       (m_embedding.empty() ? "its default." : "the value that it has without this override.");
    finding.cure = "Write " + describe(type) + ".";
}

void ValueProblems::onTooDeepValue(DataNode element) {
    PendingFinding& finding = add(FindingCode::UNREADABLE_VALUE, Severity::ERROR, Anchor::name(element), element);
    finding.message = "The value is nested too deep and is skipped.";
    finding.cure = "Remove levels of nested values.";
}

PendingFinding& ValueProblems::add(FindingCode code, Severity severity, Anchor anchor, DataNode element) {
    PendingFinding& finding = m_findings.emplace_back();
    finding.code = code;
    finding.severity = severity;
    finding.anchor = std::move(anchor).in(m_embedding);
    finding.object = m_object;
    finding.subject = m_component + "." + std::string(element.name());
    return finding;
}

} // namespace Kiln::PrefabInspection
