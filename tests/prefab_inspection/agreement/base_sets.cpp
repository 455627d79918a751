#include "base_sets.h"

#include <build_paths.h>

#include <cstddef>
#include <filesystem>
#include <string_view>

namespace Kiln::AgreementTests {

namespace {

/// A beacon reads a file when it is made, and reports what is wrong with that file only once in the life of the
/// process. Here it is a component of an unknown type.
void replaceBeacons(FileSet& files) {
    constexpr std::string_view BEACON = "BeaconComponent";
    for (auto& [name, entry] : files) {
        if (const std::size_t offset = entry.text.find(BEACON); offset != std::string::npos) {
            entry.text.replace(offset, BEACON.size(), "RadioComponent");
        }
    }
}

} // namespace

FileSet baseSet(const std::string& name) {
    const std::filesystem::path source(KILN_SOURCE_DIR);
    const std::filesystem::path base = source / "tests/prefab_inspection/agreement/base_files";
    FileSet files = name == "harbour" ? readFiles(source / "samples/harbour", "harbour/") : readFiles(base / name);
    replaceBeacons(files);
    files.merge(readFiles(base / "donors", "donors/"));
    return files;
}

} // namespace Kiln::AgreementTests
