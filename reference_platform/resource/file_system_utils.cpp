#include <resource/file_system_utils.h>

#include <core/log.h>
#include <core/printable_text.h>
#include <resource/confined_file.h>
#include <resource/document_file.h>
#include <resource/resource_pack.h>
#include <resource/resource_path.h>
#include <resource/resource_text.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

namespace Kiln::FS::Utils {

namespace {

constexpr const char* SOURCE = "resource/file_system_utils";

using Directories = std::vector<ConfinedDirectory>;
using Packs = std::vector<SmartPointer<const ResourcePack>>;

struct Roots {
    std::mutex mutex; ///< Guards the members. No other lock is taken under it.

    /// Replaced as a whole, so that files are opened without the lock.
    std::shared_ptr<const Directories> directories = std::make_shared<Directories>();
    std::shared_ptr<const Packs> packs = std::make_shared<Packs>();
};

/// Never destroyed: worker threads may open files while the process exits.
Roots& roots() {
    static Roots* const instance = new Roots;
    return *instance;
}

std::atomic<bool> s_isConfined{true};

/// The directories in which paths are looked up: the roots, or the current directory if there are neither roots nor
/// packs. In place of an empty list, null.
std::shared_ptr<const Directories> searchedDirectories() {
    static const auto* const currentDirectory =
        new std::shared_ptr<const Directories>(std::make_shared<Directories>(1));
    const std::lock_guard lock(roots().mutex);
    if (!roots().directories->empty()) {
        return roots().directories;
    }
    return roots().packs->empty() ? *currentDirectory : nullptr;
}

std::shared_ptr<const Packs> searchedPacks() {
    const std::lock_guard lock(roots().mutex);
    return roots().packs;
}

bool isRegularFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

std::string resolveUnconfined(std::string_view resourcePath) {
    if (resourcePath.empty() || resourcePath.front() == '/') {
        return std::string(resourcePath);
    }
    const std::shared_ptr<const Directories> directories = searchedDirectories();
    if (!directories) {
        return {};
    }
    if (directories->size() > 1) {
        for (const ConfinedDirectory& directory : *directories) {
            std::string path = pathUnder(directory.name, resourcePath);
            if (isRegularFile(path)) {
                return path;
            }
        }
    }
    return pathUnder(directories->front().name, resourcePath);
}

/// A file that was looked up beneath the roots.
struct ConfinedLookup {
    InputFile file;
    ConfinedDirectory directory; ///< In which it was found; the first one if it was not.
};

/// Whether the lookup continues in the next root.
bool isPassedOver(const InputFile& file) {
    return !file.isOpen();
}

/// How much a result says about a path that no root has: what is there but is no file comes first. A relative path
/// that leads out of one root may still be a mistake that the user wants to know; an absolute one is always outside of
/// all roots but one.
int rankOf(InputFile::Status status, bool isAbsolute) {
    if (status == InputFile::Status::NOT_REGULAR) {
        return 3;
    }
    return (status == InputFile::Status::MISSING) == isAbsolute ? 2 : 1;
}

/// The outcome if there are only packs.
ConfinedLookup lookUpWithoutDirectories(const std::string& resourcePath) {
    ConfinedLookup result;
    if (resourcePath.starts_with('/') || leadsAboveItsBeginning(resourcePath)) {
        result.file.status = InputFile::Status::OUTSIDE;
        result.file.problem = OUTSIDE_PROBLEM;
    }
    return result;
}

ConfinedLookup lookUp(const std::string& resourcePath, int flags) {
    ConfinedLookup result;
    if (hasControlCharacters(resourcePath)) {
        result.file.status = InputFile::Status::OUTSIDE;
        result.file.problem = "the path has a control character";
        return result;
    }
    const std::shared_ptr<const Directories> directories = searchedDirectories();
    if (!directories) {
        return lookUpWithoutDirectories(resourcePath);
    }
    result.directory = directories->front();
    if (resourcePath.empty()) {
        return result;
    }
    if (resourcePath.front() == '/' && resourceRoots().empty()) {
        result.file = InputFile::fromOpen(::open(resourcePath.c_str(), flags, 0));
        return result;
    }
    int rank = 0;
    for (const ConfinedDirectory& directory : *directories) {
        InputFile file = openBeneath(directory, resourcePath, flags);
        if (!isPassedOver(file)) {
            return {std::move(file), directory};
        }
        const int fileRank = rankOf(file.status, resourcePath.starts_with('/'));
        if (fileRank > rank) {
            rank = fileRank;
            result.file = std::move(file);
        }
    }
    return result;
}

/// Opens the file that a resource path names.
InputFile openResource(const std::string& resourcePath) {
    return isPathConfined() ? std::move(lookUp(resourcePath, READ_FLAGS).file)
                            : openFile(resolveUnconfined(resourcePath));
}

/// A document of a pack; none if the pack is null.
struct PackedResource {
    SmartPointer<const ResourcePack> pack;
    std::size_t index = 0;
};

/// Looks a path up in the packs.
PackedResource findPacked(const std::string& resourcePath) {
    const std::shared_ptr<const Packs> packs = searchedPacks();
    if (packs->empty() || resourcePath.starts_with('/') || resourcePath.ends_with('/') ||
        leadsAboveItsBeginning(resourcePath)) {
        return {};
    }
    const std::string path = packedPath(resourcePath);
    for (const SmartPointer<const ResourcePack>& pack : *packs) {
        if (const std::optional<std::size_t> index = pack->find(path)) {
            return {pack, *index};
        }
    }
    return {};
}

ResourceText::Status statusOf(InputFile::Status status) {
    switch (status) {
    case InputFile::Status::MISSING:
        return ResourceText::Status::MISSING;
    case InputFile::Status::OUTSIDE:
        return ResourceText::Status::OUTSIDE;
    case InputFile::Status::NOT_REGULAR:
        return ResourceText::Status::NOT_REGULAR;
    case InputFile::Status::OPEN:
    case InputFile::Status::FAILED:
        break;
    }
    return ResourceText::Status::FAILED;
}

} // namespace

void addResourceRoot(std::string directory, RootOptions options) {
    const std::lock_guard lock(roots().mutex);
    auto directories = std::make_shared<Directories>(*roots().directories);
    directories->push_back({std::move(directory), options.allowsOutsideLinks});
    roots().directories = std::move(directories);
}

void clearResourceRoots() {
    const std::lock_guard lock(roots().mutex);
    roots().directories = std::make_shared<Directories>();
}

bool addResourcePack(const std::string& fileName) {
    std::string problem;
    SmartPointer<const ResourcePack> pack = ResourcePack::open(fileName, problem);
    if (!pack) {
        DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE)
            .message("Cannot open the pack '%s': %s", printableText(fileName).c_str(), problem.c_str());
        return false;
    }
    const std::lock_guard lock(roots().mutex);
    auto packs = std::make_shared<Packs>(*roots().packs);
    const auto known = std::find_if(packs->begin(), packs->end(),
                                    [&fileName](const auto& other) { return other->fileName() == fileName; });
    if (known != packs->end()) {
        *known = std::move(pack);
    } else {
        packs->push_back(std::move(pack));
    }
    roots().packs = std::move(packs);
    return true;
}

void clearResourcePacks() {
    const std::lock_guard lock(roots().mutex);
    roots().packs = std::make_shared<Packs>();
}

std::vector<std::string> resourcePacks() {
    std::vector<std::string> names;
    for (const SmartPointer<const ResourcePack>& pack : *searchedPacks()) {
        names.push_back(pack->fileName());
    }
    return names;
}

std::vector<std::string> resourceRoots() {
    const std::lock_guard lock(roots().mutex);
    std::vector<std::string> names;
    for (const ConfinedDirectory& directory : *roots().directories) {
        names.push_back(directory.name);
    }
    return names;
}

void setPathConfinement(bool isConfined) noexcept {
    s_isConfined.store(isConfined, std::memory_order_relaxed);
}

bool isPathConfined() noexcept {
    return s_isConfined.load(std::memory_order_relaxed);
}

std::string resolveResourcePath(std::string_view resourcePath) {
    if (!isPathConfined()) {
        return resolveUnconfined(resourcePath);
    }
    std::string path(resourcePath);
    // The file is only looked up, so that neither its permissions nor its content matter.
    const ConfinedLookup found = lookUp(path, O_PATH | O_CLOEXEC);
    if (path.empty() || found.file.status == InputFile::Status::OUTSIDE || !searchedDirectories()) {
        return {};
    }
    return path.starts_with('/') ? path : pathUnder(found.directory.name, path);
}

SmartPointer<DataSection> openXmlSection(const std::string& resourcePath, bool callerReportsMissing) {
    const InputFile file = openResource(resourcePath);
    if (file.status == InputFile::Status::MISSING) {
        if (const PackedResource packed = findPacked(resourcePath); packed.pack) {
            return readPackedDocument(*packed.pack, packed.index, resourcePath);
        }
    }
    return readDocument(file, resourcePath, !callerReportsMissing);
}

ResourceText readResource(const std::string& resourcePath) {
    InputFile file = openResource(resourcePath);
    ResourceText text;
    const auto setRead = [&text](bool isRead) {
        text.status = isRead ? ResourceText::Status::READ : ResourceText::Status::FAILED;
    };
    if (file.isOpen()) {
        setRead(readFile(file, text.content, text.problem));
        return text;
    }
    if (file.status == InputFile::Status::MISSING) {
        if (const PackedResource packed = findPacked(resourcePath); packed.pack) {
            setRead(packed.pack->read(packed.index, text.content, text.problem));
            return text;
        }
    }
    text.status = statusOf(file.status);
    text.problem = std::move(file.problem);
    return text;
}

} // namespace Kiln::FS::Utils
