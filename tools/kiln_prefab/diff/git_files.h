#pragma once

#include <core/non_copyable.h>

#include <filesystem>
#include <string>

/// Files of earlier revisions. The program git is run directly, without a shell. All functions throw CommandError on
/// failure, for example if git is not installed, the file is in no repository, or the revision does not exist.
namespace Kiln::PrefabTool {

/// The hash of the commit that a name such as "HEAD~1" means in the repository that contains a directory.
[[nodiscard]] std::string gitCommit(const std::filesystem::path& directory, const std::string& revision);

/// The content that a file had in a commit. The file need not exist any more.
[[nodiscard]] std::string gitFileText(const std::filesystem::path& file, const std::string& commit,
                                      const std::string& revision);

/// A temporary directory with the prefab files that a directory had in a commit. It is removed with the object.
class GitSnapshot : NonCopyable {
public:
    GitSnapshot(const std::filesystem::path& directory, const std::string& commit);
    ~GitSnapshot();

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return m_path; }

private:
    void extract(const std::filesystem::path& directory, const std::string& commit) const;

    std::filesystem::path m_path;
};

} // namespace Kiln::PrefabTool
