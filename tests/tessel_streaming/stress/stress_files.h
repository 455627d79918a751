#pragma once

#include <core/non_copyable.h>
#include <support/temporary_directory.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace Kiln::StreamingStress {

/// The prefab files of a stress: leaves, branches that nest leaves, trunks that nest branches, a large file, a cycle, a
/// chain that is too deep, and paths that name no prefab. The files can be changed at any time.
class StressFiles : NonCopyable {
public:
    static constexpr std::size_t LARGE_COUNT = 400; ///< Objects of the large file.

    /// Writes sound files and makes the directory the only resource root.
    explicit StressFiles(const TestSupport::TemporaryDirectory& directory);

    /// A path that a request may use, mostly a sound one.
    [[nodiscard]] const std::string& anyPath(std::mt19937& random) const;

    /// Rewrites or deletes a file: often sound, else truncated, empty, of a wrong version, without objects, with an
    /// unknown component, or nesting itself.
    void change(std::mt19937& random);

    /// Writes all files as they were at first.
    void restore() const;

private:
    void write(const std::string& path, const std::string& text, bool isAtOnce) const;

    const TestSupport::TemporaryDirectory& m_directory;
    std::vector<std::string> m_paths;
};

} // namespace Kiln::StreamingStress
