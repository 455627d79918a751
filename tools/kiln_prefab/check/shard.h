#pragma once

#include <cstdint>
#include <string>

namespace Kiln::PrefabTool {

/// One of several parts into which the findings of a check are divided, each of which another machine reports. A
/// finding belongs to the shard of its file, so that every finding belongs to exactly one shard, whatever else is
/// checked.
struct Shard {
    std::uint64_t index = 1; ///< From 1 to `count`.
    std::uint64_t count = 1;

    /// Whether the findings of a file belong to this shard, which depends on the file's resource path only.
    [[nodiscard]] bool contains(const std::string& resourcePath) const;
};

/// Reads "INDEX/COUNT". Throws CommandError.
[[nodiscard]] Shard readShard(const std::string& text);

} // namespace Kiln::PrefabTool
