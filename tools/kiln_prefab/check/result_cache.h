#pragma once

#include <prefab_inspection/checking/check_cache.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Kiln::PrefabTool {

/// A hash of the program and of all libraries that are loaded into it, by their contents. Another version, another
/// build or another set of component libraries has another one.
[[nodiscard]] std::uint64_t loadedCodeHash();

/// Keeps results in a directory: one file for each key, replaced atomically, so that several processes can share it.
/// Files of other programs and libraries have other names. Nothing is ever removed; the directory can be deleted at any
/// time.
///
/// Threads: any, several at a time.
class ResultCache final : public PrefabInspection::ICheckCache {
public:
    /// Makes the directory. Throws CommandError on failure. `codeHash` is loadedCodeHash() after all libraries were
    /// loaded.
    ResultCache(std::string directory, std::uint64_t codeHash);

    [[nodiscard]] std::optional<std::string> find(const std::string& key) override;
    void store(const std::string& key, std::string_view value) override;

private:
    [[nodiscard]] std::string fileName(const std::string& key) const;

    std::string m_directory; ///< Of this program and these libraries.
};

} // namespace Kiln::PrefabTool
