#pragma once

#include <core/non_copyable.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace Kiln::AgreementTests {

/// What a path of a file set is on disk.
struct FileEntry {
    enum class Kind { FILE, FOLDER, LINK };

    Kind kind = Kind::FILE;
    std::string text; ///< Of a file; the target of a link.

    friend bool operator==(const FileEntry&, const FileEntry&) = default;
};

/// Files by their path below a resource root.
using FileSet = std::map<std::string, FileEntry>;

/// All files below a folder, by their paths there, each behind `prefix`.
[[nodiscard]] FileSet readFiles(const std::filesystem::path& folder, const std::string& prefix = {});

/// A temporary directory that is the only resource root of the process and holds one file set at a time.
class SetFolder : NonCopyable {
public:
    SetFolder();
    ~SetFolder();

    /// Makes the directory hold exactly these files; writes only what differs from the previous set. An entry that
    /// cannot exist beside the others, such as a file below a file, is left out.
    void hold(const FileSet& files);

private:
    void remove(const std::string& name) const;
    void write(const std::string& name, const FileEntry& entry) const;

    std::filesystem::path m_path;
    FileSet m_files;
};

} // namespace Kiln::AgreementTests
