#include <prefab_comparison/text_comparison.h>

#include <prefab_comparison/changed_items.h>
#include <prefab_comparison/document_comparison.h>
#include <prefab_comparison/loaded_document.h>
#include <prefab_inspection/composition/prefab_file.h>

#include <algorithm>
#include <future>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace Kiln::PrefabComparison {

using PrefabInspection::NestingTypes;
using PrefabInspection::PrefabDocument;
using PrefabInspection::StoredItem;
using PrefabInspection::StoredPool;

namespace {

/// The changed items of two texts, those of the second one parsed apart from the rest.
struct ItemVersions {
    std::vector<ChangedItem> ranges;
    PrefabDocument changed; ///< One pool with the items of the second text, in the order of the ranges.
};

/// None if the texts do not differ in complete items only.
[[nodiscard]] std::optional<ItemVersions> parseVersions(std::string_view a, std::string_view b,
                                                        std::vector<ChangedItem> items) {
    std::vector<ItemRange> rangesA;
    std::vector<ItemRange> rangesB;
    rangesA.reserve(items.size());
    rangesB.reserve(items.size());
    for (const ChangedItem& item : items) {
        rangesA.push_back(item.a);
        rangesB.push_back(item.b);
    }
    std::optional<PrefabDocument> changed = parseItems(b, rangesB);
    if (!changed || !parseItems(a, rangesA)) {
        return std::nullopt;
    }
    return ItemVersions{std::move(items), std::move(*changed)};
}

/// The items of a document that begin where the ranges do; null for a range that is no item of a pool.
[[nodiscard]] std::vector<DocumentIndex::Component> findItems(const PrefabDocument& document,
                                                              const std::vector<ChangedItem>& ranges) {
    std::vector<DocumentIndex::Component> found;
    found.reserve(ranges.size());
    const auto offsetOf = [](const StoredItem& item) { return static_cast<std::size_t>(item.element.offset()) - 1; };
    for (const StoredPool& pool : document.pools) {
        auto item = pool.items.begin();
        while (found.size() < ranges.size() && item != pool.items.end()) {
            const std::size_t begin = ranges[found.size()].a.begin;
            item = std::lower_bound(item, pool.items.end(), begin, [&offsetOf](const auto& stored, std::size_t offset) {
                return offsetOf(stored) < offset;
            });
            if (item == pool.items.end() || offsetOf(*item) != begin) {
                break; // It is in a later pool.
            }
            found.push_back({&pool, &*item});
        }
    }
    found.resize(ranges.size(), {nullptr, nullptr});
    return found;
}

/// Whether the comparison of the versions finds everything that the comparison of the whole documents would find.
[[nodiscard]] bool isComparedAlone(const LoadedDocument& document, const DocumentIndex::Component& before,
                                   const StoredItem& after) {
    // A move changes the paths of other objects.
    return before.item && before.item->object.value < document.index().objectsCount() &&
           before.item->object.value == after.object.value && before.pool->typeId != NestingTypes::get().hierarchy;
}

/// Compares a document with a text that differs from it in items only; none if the documents have to be compared as a
/// whole. All versions of the items are complete elements, so that the parser is in the same state before and after
/// them: the second text is well formed, and everything else in it is the same.
[[nodiscard]] std::optional<std::vector<Change>> compareItems(const LoadedDocument& a, std::string_view b,
                                                              const ItemVersions& versions) {
    const std::vector<DocumentIndex::Component> before = findItems(a.document(), versions.ranges);
    const std::vector<StoredItem>& after = versions.changed.pools.front().items;
    const DataSection& sectionA = *a.document().section;
    const DataSection& changed = *versions.changed.section;
    std::vector<ComponentVersion> compared;
    compared.reserve(before.size());
    std::ptrdiff_t addedLines = 0; // By the earlier items.
    const auto linesIn = [](std::string_view text, const ItemRange& range) {
        return std::count(text.data() + range.begin, text.data() + range.end, '\n');
    };
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (!isComparedAlone(a, before[i], after[i])) {
            return std::nullopt;
        }
        const auto line = static_cast<std::ptrdiff_t>(sectionA.positionOf(before[i].item->element).line);
        const auto parsedLine = static_cast<std::ptrdiff_t>(changed.positionOf(after[i].element).line);
        compared.push_back({static_cast<std::size_t>(before[i].item->object.value), before[i], &after[i],
                            line + addedLines - parsedLine});
        addedLines += linesIn(b, versions.ranges[i].b) - linesIn(a.text(), versions.ranges[i].a);
    }
    std::stable_sort(compared.begin(), compared.end(),
                     [](const auto& left, const auto& right) { return left.object < right.object; });
    return compareVersions(a, compared, changed);
}

[[nodiscard]] TextComparison compareLoaded(const LoadedDocument& a, const LoadedDocument& b) {
    const std::string& problem = a.problem().empty() ? b.problem() : a.problem();
    return problem.empty() ? TextComparison{{}, compareDocuments(a, b)} : TextComparison{problem, {}};
}

} // namespace

TextComparison compareTexts(std::string nameA, FileContent a, std::string nameB, FileContent b) {
    std::optional<std::vector<ChangedItem>> items = findChangedItems(a.text(), b.text());
    const bool areSame = items && items->empty();
    std::optional<ItemVersions> versions;
    const std::string_view textA = a.text(); // The bytes stay where they are.
    auto first = std::async(std::launch::async,
                            [&nameA, &a] { return std::make_unique<LoadedDocument>(std::move(nameA), std::move(a)); });
    if (items && !areSame) {
        versions = parseVersions(textA, b.text(), std::move(*items));
    }
    if (!versions && !areSame) {
        const LoadedDocument second(std::move(nameB), std::move(b));
        return compareLoaded(*first.get(), second);
    }
    const std::unique_ptr<LoadedDocument> before = first.get();
    if (!before->problem().empty() || !versions) {
        return {before->problem(), {}};
    }
    if (std::optional<std::vector<Change>> changes = compareItems(*before, b.text(), *versions)) {
        return {{}, std::move(*changes)};
    }
    return compareLoaded(*before, LoadedDocument(std::move(nameB), std::move(b)));
}

} // namespace Kiln::PrefabComparison
