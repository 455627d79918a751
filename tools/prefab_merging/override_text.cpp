#include "override_text.h"

#include "markup.h"
#include "override_tree.h"

#include <common/white_space.h>

namespace Kiln::PrefabMerging {

std::optional<KeyedOverrides> readOverrides(const std::string& text) {
    KeyedOverrides result;
    if (trimWhiteSpace(text).empty()) {
        return result;
    }
    try {
        const OverrideTree overrides(text);
        for (const OverrideTree::Property& property : overrides.properties()) {
            if (!result.properties.emplace(property.key, overrides.tree().raw(*property.element)).second) {
                return std::nullopt;
            }
        }
        result.comments = overrides.comments();
        return result;
    } catch (const IrregularText&) {
        return std::nullopt;
    }
}

std::string overrideTextOf(const std::string& element) {
    const MarkupTree tree(element);
    return tree.value(tree.node(0));
}

std::string withOverrideText(const std::string& element, const std::string& text) {
    const MarkupTree tree(element);
    const MarkupNode& node = tree.node(0);
    const bool isCdata = element.find("<![CDATA[") != std::string::npos;
    const std::string value = isCdata ? cdataText(text) : escapedText(text);
    if (node.isEmptyElement) {
        std::string result = "<";
        return result.append(node.name).append(">").append(value).append("</").append(node.name).append(">");
    }
    return std::string(element).replace(node.content.begin, node.content.size(), value);
}

} // namespace Kiln::PrefabMerging
