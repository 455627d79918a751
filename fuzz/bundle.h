#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Kiln::Fuzz {

/// One file of a bundle.
struct BundleFile {
    std::string name; ///< A relative path of letters, digits and "._-/", without "..".
    std::string text;
};

/// The files of a folder in one input. Each file begins with a line "=== <name>". Text before the first such line, and
/// files beyond MAX_FILES, are ignored. A name that is not usable or was used before becomes "<index>.prefab".
[[nodiscard]] std::vector<BundleFile> parseBundle(std::string_view text);

/// The bundle's text.
[[nodiscard]] std::string bundleText(const std::vector<BundleFile>& files);

inline constexpr std::size_t MAX_FILES = 8;

/// The name of the file that holds the overrides of the instance; every other file is a prefab.
inline constexpr std::string_view OVERRIDES_FILE = "overrides.xml";

} // namespace Kiln::Fuzz
