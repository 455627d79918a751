#include <resource/file_system_utils.h>

#include <filesystem>
#include <mutex>
#include <shared_mutex>
#include <system_error>
#include <utility>

namespace Kiln::FS::Utils {

namespace {

struct Roots {
    std::shared_mutex mutex; ///< Guards directories. No other lock is taken under it.
    std::vector<std::string> directories;
};

/// Never destroyed: worker threads may open files while the process exits.
Roots& roots() {
    static Roots* const instance = new Roots;
    return *instance;
}

std::string pathUnder(const std::string& directory, std::string_view resourcePath) {
    std::string path = directory;
    if (!path.empty() && path.back() != '/') {
        path += '/';
    }
    return path.append(resourcePath);
}

bool isRegularFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

} // namespace

void addResourceRoot(std::string directory) {
    const std::unique_lock lock(roots().mutex);
    roots().directories.push_back(std::move(directory));
}

void clearResourceRoots() {
    const std::unique_lock lock(roots().mutex);
    roots().directories.clear();
}

std::vector<std::string> resourceRoots() {
    const std::shared_lock lock(roots().mutex);
    return roots().directories;
}

std::string resolveResourcePath(std::string_view resourcePath) {
    if (resourcePath.empty() || resourcePath.front() == '/') {
        return std::string(resourcePath);
    }
    const std::shared_lock lock(roots().mutex);
    const std::vector<std::string>& directories = roots().directories;
    if (directories.empty()) {
        return std::string(resourcePath);
    }
    if (directories.size() > 1) {
        for (const std::string& directory : directories) {
            std::string path = pathUnder(directory, resourcePath);
            if (isRegularFile(path)) {
                return path;
            }
        }
    }
    return pathUnder(directories.front(), resourcePath);
}

SmartPointer<DataSection> openXmlSection(const std::string& resourcePath, bool callerReportsMissing) {
    return DataSection::fromFile(resolveResourcePath(resourcePath), resourcePath, !callerReportsMissing);
}

} // namespace Kiln::FS::Utils
