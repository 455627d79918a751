#include <resource/element_depth.h>

#include <bit>
#include <vector>

#include <pugixml.hpp>

namespace Kiln {

namespace {

/// Whether a text of `size` bytes may contain `depth` nested elements: <a><a/></a> has 11 bytes.
bool mayContain(std::size_t size, std::size_t depth) {
    constexpr std::size_t INNERMOST = 4;
    constexpr std::size_t EACH_OTHER = 7;
    return (size + EACH_OTHER - INNERMOST) / EACH_OTHER >= depth;
}

/// Number of elements whose size is determined at once. An offset costs several times as much as a step to the next
/// element.
constexpr int GROUP_SIZE = 16;

/// The elements of one level that are still to be visited.
struct Level {
    DataNode next;
    std::size_t nextBegin = 0; ///< Offset of its name.
    std::size_t end = 0;       ///< Offset in front of which all elements of the level end.
    int ungrouped = 0;         ///< Number of elements that are visited one by one.
};

Level levelFrom(DataNode first, std::size_t end) {
    return {first, first ? static_cast<std::size_t>(first.offset()) : end, end};
}

/// As in data_node.cpp, a conversion of bits in place of a call into the library.
DataNode cursor(pugi::xml_node node) {
    return DataNode(std::bit_cast<pugi::xml_node_struct*>(node));
}

/// The element that follows `count` further siblings, which may also be texts.
DataNode skip(DataNode element, int count) {
    auto node = std::bit_cast<pugi::xml_node>(element.parsedElement());
    for (; count > 0 && cursor(node); --count) {
        node = node.next_sibling();
    }
    return cursor(node).nextSibling();
}

} // namespace

// Without recursion: documents can be nested deeper than the stack allows.
DataNode findElementBelow(DataNode root, std::size_t size, std::size_t limit) {
    std::vector<Level> levels{levelFrom(root, size)};
    while (!levels.empty()) {
        const std::size_t depth = levels.size();
        Level& level = levels.back();
        if (!level.next) {
            levels.pop_back();
            continue;
        }
        if (depth > limit) {
            return level.next;
        }
        const bool isGroup = level.ungrouped == 0;
        const DataNode following = isGroup ? skip(level.next, GROUP_SIZE - 1) : level.next.nextSibling();
        const Level rest = levelFrom(following, level.end);
        const bool mayReachLimit = mayContain(rest.nextBegin - level.nextBegin, limit - depth + 1);
        if (isGroup && mayReachLimit) {
            level.ungrouped = GROUP_SIZE;
            continue;
        }
        const DataNode element = level.next;
        level.next = rest.next;
        level.nextBegin = rest.nextBegin;
        level.ungrouped -= isGroup ? 0 : 1;
        if (mayReachLimit) {
            levels.push_back(levelFrom(element.firstChild(), rest.nextBegin));
        }
    }
    return {};
}

} // namespace Kiln
