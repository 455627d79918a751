#include <prefab_comparison/value_text.h>

#include <common/white_space.h>
#include <prefab_inspection/documents/prefab_document.h>

namespace Kiln::PrefabComparison {

namespace {

void append(DataNode element, std::string& text) {
    if (!element.firstChild()) {
        text += element.text();
        return;
    }
    const bool hasNames = !isVector(element);
    text += hasNames ? '{' : '[';
    const std::string ownText = element.text();
    if (const std::string_view trimmed = trimWhiteSpace(ownText); !trimmed.empty()) {
        text.append("'").append(trimmed).append("', ");
    }
    for (DataNode child = element.firstChild(); child; child = child.nextSibling()) {
        if (hasNames) {
            text += child.name();
            text += ": ";
        }
        append(child, text);
        text += child.nextSibling() ? ", " : "";
    }
    text += hasNames ? '}' : ']';
}

} // namespace

std::string valueText(DataNode element) {
    std::string text;
    append(element, text);
    return text;
}

bool isVector(DataNode element) {
    DataNode child = element.firstChild();
    while (child && child.isNamed(PrefabInspection::ElementName::VALUE)) {
        child = child.nextSibling();
    }
    return element.firstChild() && !child;
}

} // namespace Kiln::PrefabComparison
