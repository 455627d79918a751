#include <prefab_comparison/changed_items.h>

#include <resource/resource_text.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace Kiln::PrefabComparison {

using PrefabInspection::PrefabDocument;
using PrefabInspection::StoredItem;

namespace {

constexpr std::string_view ITEM_START = "<item";
constexpr std::string_view ITEM_END = "</item";
constexpr std::size_t SEARCHED_SIZE = 65536; ///< An item whose start is further away is not searched for.
constexpr std::size_t BLOCK_SIZE = 4096;
constexpr std::string_view WRAPPER_START = "<prefab><components><pool>";
constexpr std::string_view WRAPPER_END = "</pool></components></prefab>";

/// In blocks and words, which is many times as fast as byte by byte.
[[nodiscard]] std::size_t commonPrefix(std::string_view a, std::string_view b) {
    const std::size_t size = std::min(a.size(), b.size());
    std::size_t same = 0;
    while (size - same >= BLOCK_SIZE && std::memcmp(a.data() + same, b.data() + same, BLOCK_SIZE) == 0) {
        same += BLOCK_SIZE;
    }
    while (size - same >= sizeof(std::uint64_t) &&
           std::memcmp(a.data() + same, b.data() + same, sizeof(std::uint64_t)) == 0) {
        same += sizeof(std::uint64_t);
    }
    while (same < size && a[same] == b[same]) {
        ++same;
    }
    return same;
}

/// The begin of the item that has started and not ended before a position; none before `earliest`.
[[nodiscard]] std::optional<std::size_t> itemBegin(std::string_view text, std::size_t position, std::size_t earliest) {
    const std::size_t from = std::max(earliest, position - std::min(position, SEARCHED_SIZE));
    const std::string_view before = text.substr(from, position - from);
    const std::size_t begin = before.rfind(ITEM_START);
    if (begin == std::string_view::npos || before.find(ITEM_END, begin) != std::string_view::npos) {
        return std::nullopt;
    }
    return from + begin;
}

[[nodiscard]] std::optional<std::size_t> itemEnd(std::string_view text, std::size_t begin) {
    const std::size_t endTag = text.find(ITEM_END, begin);
    const std::size_t end = endTag == std::string_view::npos ? endTag : text.find('>', endTag);
    return end == std::string_view::npos ? std::nullopt : std::optional(end + 1);
}

} // namespace

std::optional<std::vector<ChangedItem>> findChangedItems(std::string_view a, std::string_view b) {
    std::vector<ChangedItem> items;
    std::size_t positionA = 0;
    std::size_t positionB = 0;
    std::size_t changedSize = 0;
    while (true) {
        const std::size_t same = commonPrefix(a.substr(positionA), b.substr(positionB));
        if (positionA + same == a.size() && positionB + same == b.size()) {
            return items;
        }
        const std::optional<std::size_t> beginA = itemBegin(a, positionA + same, positionA);
        if (!beginA) {
            return std::nullopt;
        }
        const std::size_t beginB = *beginA - positionA + positionB;
        const std::optional<std::size_t> endA = itemEnd(a, *beginA);
        const std::optional<std::size_t> endB = itemEnd(b, beginB);
        if (!endA || !endB) {
            return std::nullopt;
        }
        items.push_back({{*beginA, *endA}, {beginB, *endB}});
        changedSize += *endA - *beginA;
        if (changedSize > a.size() / 2) {
            return std::nullopt;
        }
        positionA = *endA;
        positionB = *endB;
    }
}

std::optional<PrefabDocument> parseItems(std::string_view text, const std::vector<ItemRange>& ranges) {
    std::size_t size = WRAPPER_START.size() + WRAPPER_END.size();
    for (const ItemRange& range : ranges) {
        size += range.end - range.begin;
    }
    std::string wrapped;
    wrapped.reserve(size);
    wrapped += WRAPPER_START;
    for (const ItemRange& range : ranges) {
        wrapped += text.substr(range.begin, range.end - range.begin);
    }
    wrapped += WRAPPER_END;
    XmlProblem problem;
    SmartPointer<DataSection> section = parseXml(FileContent::copyOf(wrapped), {}, problem);
    if (!section) {
        return std::nullopt;
    }
    const DataNode components = section->node().firstChild();
    const DataNode pool = components.firstChild();
    if (components.nextSibling() || pool.nextSibling() || pool.childrenCount() != ranges.size()) {
        return std::nullopt;
    }
    // Where an item begins, the one before has ended: its first end tag is the last thing in its range.
    auto expected = static_cast<std::ptrdiff_t>(WRAPPER_START.size() + 1);
    DataNode item = pool.firstChild();
    for (const ItemRange& range : ranges) {
        if (!item.isNamed(PrefabInspection::ElementName::ITEM) || item.offset() != expected) {
            return std::nullopt;
        }
        expected += static_cast<std::ptrdiff_t>(range.end - range.begin);
        item = item.nextSibling();
    }
    return PrefabDocument(std::move(section));
}

} // namespace Kiln::PrefabComparison
