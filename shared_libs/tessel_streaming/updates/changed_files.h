#pragma once

#include <core/non_copyable.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// Numbers the changes of files, and tells which files have changed since a number. Keeps only the last change of each
/// file, so that its size does not grow with the number of changes. Main thread.
class ChangedFiles : NonCopyable {
public:
    void add(const std::string& path) {
        const auto [entry, isNew] = m_versions.try_emplace(path, m_version + 1);
        m_paths.emplace(m_version + 1, path);
        if (!isNew) {
            m_paths.erase(entry->second);
            entry->second = m_version + 1;
        }
        ++m_version;
    }

    /// The number of changes so far.
    [[nodiscard]] std::uint64_t version() const noexcept { return m_version; }

    /// The files that have changed after that version, in the order of their last changes.
    [[nodiscard]] std::vector<std::string> since(std::uint64_t version) const {
        std::vector<std::string> paths;
        for (auto entry = m_paths.upper_bound(version); entry != m_paths.end(); ++entry) {
            paths.push_back(entry->second);
        }
        return paths;
    }

    /// The number of files that have ever changed.
    [[nodiscard]] std::size_t size() const noexcept { return m_paths.size(); }

private:
    std::uint64_t m_version = 0;
    std::unordered_map<std::string, std::uint64_t> m_versions; ///< Of the last change of each file.
    std::map<std::uint64_t, std::string> m_paths;              ///< By the same versions.
};

} // namespace Kiln::Tessel::Streaming::detail
