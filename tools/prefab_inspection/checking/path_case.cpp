#include <prefab_inspection/checking/path_case.h>

#include <resource/file_system_utils.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

namespace Kiln::PrefabInspection {

namespace {

namespace fs = std::filesystem;

[[nodiscard]] bool isEqualIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char first, unsigned char second) {
        return std::tolower(first) == std::tolower(second);
    });
}

/// The entries of a directory with that name in any case.
[[nodiscard]] std::vector<fs::path> entriesNamed(const fs::path& directory, const fs::path& name) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
        if (isEqualIgnoringCase(entry->path().filename().string(), name.string())) {
            found.push_back(entry->path().filename());
        }
    }
    return found;
}

void addMatches(const fs::path& root, const fs::path& path, std::vector<std::string>& matches) {
    std::vector<fs::path> candidates{{}};
    for (const fs::path& name : path) {
        if (name == ".." || name == "." || name.empty() || candidates.size() > 16) {
            return;
        }
        std::vector<fs::path> next;
        for (const fs::path& candidate : candidates) {
            for (const fs::path& entry : entriesNamed(root / candidate, name)) {
                next.push_back(candidate / entry);
            }
        }
        candidates = std::move(next);
    }
    std::error_code error;
    for (const fs::path& candidate : candidates) {
        if (fs::is_regular_file(root / candidate, error)) {
            matches.push_back(candidate.generic_string());
        }
    }
}

} // namespace

std::optional<std::string> findPathWithOtherCase(const std::string& path) {
    if (path.empty() || path.front() == '/' || path.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    std::vector<std::string> roots = FS::Utils::resourceRoots();
    if (roots.empty()) {
        roots.emplace_back(".");
    }
    std::vector<std::string> matches;
    for (const std::string& root : roots) {
        addMatches(root.empty() ? "." : root, path, matches);
    }
    std::sort(matches.begin(), matches.end());
    matches.erase(std::unique(matches.begin(), matches.end()), matches.end());
    return matches.size() == 1 ? std::optional(matches.front()) : std::nullopt;
}

} // namespace Kiln::PrefabInspection
