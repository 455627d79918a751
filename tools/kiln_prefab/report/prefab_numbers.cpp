#include "prefab_numbers.h"

#include <algorithm>
#include <map>

namespace Kiln::PrefabTool {

namespace {

void add(std::uint64_t& sum, std::uint64_t number) {
    sum = std::min(PrefabNumbers::MAX, sum + number);
}

/// Counts nested instances, which have all objects of their files but the roots, from the innermost ones outwards.
class Counter {
public:
    Counter(const std::vector<FileBlock>& blocks, const FileIndices& indices)
        : m_blocks(blocks), m_indices(indices), m_nested(blocks.size()), m_states(blocks.size(), State::UNKNOWN) {}

    [[nodiscard]] PrefabNumbers count(std::size_t file) {
        const PrefabNumbers& nested = countNested(file);
        PrefabNumbers numbers = nested;
        const FileBlock& block = m_blocks[file];
        for (std::size_t object = 0; object < block.names.size(); ++object) {
            if (block.isRoot[object] && isPresent(block, object)) {
                add(numbers.objects, 1);
                add(numbers.components, block.components[object].count);
            }
        }
        return numbers;
    }

private:
    enum class State { UNKNOWN, BEGUN, KNOWN };

    [[nodiscard]] static bool isPresent(const FileBlock& block, std::size_t object) {
        return !std::binary_search(block.missing.begin(), block.missing.end(), static_cast<std::uint32_t>(object));
    }

    /// The recursion ends where the check reports a nesting that is too deep, see MAX_DEPTH.
    [[nodiscard]] const PrefabNumbers& countNested(std::size_t file, std::size_t depth = 0) {
        if (m_states[file] != State::UNKNOWN || depth > MAX_DEPTH) {
            return m_nested[file]; // Empty for a file of a cycle.
        }
        m_states[file] = State::BEGUN;
        const FileBlock& block = m_blocks[file];
        PrefabNumbers numbers;
        for (std::size_t object = 0; object < block.names.size(); ++object) {
            if (!block.isRoot[object] && isPresent(block, object)) {
                add(numbers.objects, 1);
                add(numbers.components, block.components[object].count);
            }
        }
        addNested(numbers, block, block.nested, depth);
        m_nested[file] = numbers;
        m_states[file] = State::KNOWN;
        return m_nested[file];
    }

    void addNested(PrefabNumbers& numbers, const FileBlock& block, const std::vector<NestedBlock>& nested,
                   std::size_t depth) {
        for (const NestedBlock& point : nested) {
            PrefabNumbers inner;
            if (point.variant != NestedBlock::NO_VARIANT) {
                inner = countVariant(block, block.variants[point.variant], depth + 1);
            } else if (const std::int32_t file = m_indices.find(point.file); file >= 0) {
                inner = countNested(static_cast<std::size_t>(file), depth + 1);
            }
            add(numbers.objects, inner.objects);
            add(numbers.components, inner.components);
            add(numbers.instances, inner.instances + 1);
            numbers.depth = std::max(numbers.depth, inner.depth + 1);
        }
    }

    /// A variant that nests other files than its base differs from it in what they have.
    [[nodiscard]] PrefabNumbers countVariant(const FileBlock& owner, const VariantBlock& variant, std::size_t depth) {
        const std::int32_t file = m_indices.find(variant.file);
        if (file < 0 || depth > MAX_DEPTH) {
            return {};
        }
        const FileBlock& base = m_blocks[static_cast<std::size_t>(file)];
        PrefabNumbers numbers;
        std::map<std::uint32_t, std::size_t> changedCounts;
        for (const auto& [object, components] : variant.changed) {
            changedCounts[object] = components.count;
        }
        for (std::uint32_t object = 0; object < base.names.size(); ++object) {
            if (!base.isRoot[object] && isPresent(base, object)) {
                const auto changed = changedCounts.find(object);
                add(numbers.objects, 1);
                add(numbers.components,
                    changed == changedCounts.end() ? base.components[object].count : changed->second);
            }
        }
        std::vector<NestedBlock> unchanged;
        for (const NestedBlock& point : base.nested) {
            const bool isChanged =
                std::any_of(variant.nested.begin(), variant.nested.end(),
                            [&point](const NestedBlock& changed) { return changed.point == point.point; });
            if (!isChanged) {
                unchanged.push_back(point);
            }
        }
        addNested(numbers, base, unchanged, depth);
        addNested(numbers, owner, variant.nested, depth);
        return numbers;
    }

    /// More than any prefab that can be loaded nests.
    static constexpr std::size_t MAX_DEPTH = 200;

    const std::vector<FileBlock>& m_blocks;
    const FileIndices& m_indices;
    std::vector<PrefabNumbers> m_nested; ///< Without the roots.
    std::vector<State> m_states;
};

} // namespace

std::vector<PrefabNumbers> countPrefabs(const std::vector<FileBlock>& blocks, const FileIndices& indices) {
    Counter counter(blocks, indices);
    std::vector<PrefabNumbers> numbers;
    for (std::size_t file = 0; file < blocks.size(); ++file) {
        numbers.push_back(counter.count(file));
    }
    return numbers;
}

} // namespace Kiln::PrefabTool
