#pragma once

#include "file_block.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// The JSON of a block and of its variants.
struct BlockText {
    std::string block;
    std::string variants; ///< Each after a comma.
};

/// Writes the block of a file. `newIndices` are those of the block's texts in the table of the document;
/// `variantsBefore` is the index of the file's first variant among all blocks.
[[nodiscard]] BlockText blockText(std::size_t file, const FileBlock& block, const FileIndices& indices,
                                  const std::vector<std::uint32_t>& newIndices, std::size_t variantsBefore);

void appendUuid(std::string& output, const Uuid& uuid);

} // namespace Kiln::PrefabTool
