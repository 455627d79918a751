#pragma once

#include "file_set.h"
#include "random_choice.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Kiln::AgreementTests {

/// Makes mistakes in the prefab files of a set, of the kinds that authors, merges, editors and disks make: in elements,
/// values, UUIDs, links, indices, nesting, override texts at any depth, bytes, and whole files. The same set and seed
/// yield the same mistakes.
class FileMutator {
public:
    FileMutator(FileSet files, std::uint64_t seed);

    /// Makes one mistake and returns a description.
    std::string mutate();

    [[nodiscard]] const FileSet& files() const noexcept { return m_files; }

    /// The path of the file that the last mistake was made in.
    [[nodiscard]] const std::string& lastFile() const noexcept { return m_lastFile; }

private:
    [[nodiscard]] std::string mutateTree(const std::string& name);
    [[nodiscard]] std::string mutateBytes(const std::string& name);
    [[nodiscard]] std::string mutateFile(const std::string& name);

    FileSet m_files;
    RandomChoice m_random;
    std::vector<std::string> m_names; ///< Of the files that mistakes are made in: not of those to be nested by mistake.
    std::string m_lastFile;
};

} // namespace Kiln::AgreementTests
