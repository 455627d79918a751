#pragma once

#include "data_text.h"

#include <common/uuid.h>
#include <prefab_inspection/composition/prefab_file.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

/// The prefab that an integration point nests.
struct NestedBlock {
    static constexpr std::uint32_t NO_VARIANT = std::numeric_limits<std::uint32_t>::max();

    std::uint32_t point;                ///< Index of the object.
    std::string file;                   ///< Resource path.
    std::uint32_t variant = NO_VARIANT; ///< Index in FileBlock::variants; NO_VARIANT without overrides.
};

/// The components of one object. Those in the short form of src/format.ts of the page are numbers: of the type, the
/// line, the values, and for each value the property, the text and the line. The others are JSON objects.
struct ObjectComponents {
    std::vector<std::int32_t> shortForms; ///< -1 stands for the next of the others.
    std::vector<std::string> others;
    std::size_t count = 0;
};

/// What an instance of a file has that differs from an instance without overrides.
struct VariantBlock {
    std::string file;
    std::vector<std::pair<std::uint32_t, ObjectComponents>> changed;
    std::vector<NestedBlock> nested;
    std::vector<std::pair<std::uint32_t, std::int32_t>> parents;
};

/// The objects of one file, as src/format.ts of the page describes them. Texts are indices in `texts`.
struct FileBlock {
    static constexpr std::int32_t NO_PARENT = -1;
    static constexpr std::int32_t PARENT_IN_NESTED = -2;

    TextTable texts;
    std::vector<std::uint32_t> names;
    std::vector<Uuid> uuids;
    std::vector<std::int32_t> parents;
    std::vector<std::uint32_t> flags;
    std::vector<std::size_t> lines;
    std::vector<bool> isRoot;
    std::int32_t root = -1;
    std::vector<NestedBlock> nested;
    std::vector<std::vector<std::uint32_t>> below; ///< The child, integration points, the parent.
    std::vector<std::uint32_t> missing;
    std::vector<ObjectComponents> components;
    std::vector<VariantBlock> variants;
    std::string problem; ///< Why there is no instance; empty if there is one.
};

/// The indices of the files of a report by their paths; -1 for an unknown path.
class FileIndices {
public:
    explicit FileIndices(std::vector<std::string> sortedPaths) : m_paths(std::move(sortedPaths)) {}

    [[nodiscard]] std::int32_t find(const std::string& path) const;
    [[nodiscard]] const std::vector<std::string>& paths() const noexcept { return m_paths; }

private:
    std::vector<std::string> m_paths;
};

/// Makes the block of a file, without an instance UUID. Threads: any; `files` may be shared.
[[nodiscard]] FileBlock makeFileBlock(PrefabInspection::PrefabFiles& files, const std::string& path,
                                      const FileIndices& indices);

} // namespace Kiln::PrefabTool
