#include "result_cache.h"

#include "command_error.h"

#include <core/formatter.h>
#include <prefab_editing/text_file.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>
#include <vector>

#include <link.h>
#include <unistd.h>

namespace Kiln::PrefabTool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t MAX_RESULT_SIZE = std::size_t{2} << 30U;
constexpr std::size_t FOLDER_NAME_SIZE = 2;

/// Adds the name of a loaded file; the program itself has none.
int addName(dl_phdr_info* object, std::size_t /*size*/, void* names) {
    const std::string name = object->dlpi_name;
    static_cast<std::vector<std::string>*>(names)->push_back(name.empty() ? "/proc/self/exe" : name);
    return 0;
}

} // namespace

std::uint64_t loadedCodeHash() {
    std::vector<std::string> names;
    dl_iterate_phdr(addName, &names);
    std::vector<std::uint64_t> hashes;
    for (const std::string& name : names) {
        const PrefabEditing::TextFile file = PrefabEditing::readTextFile(name, MAX_RESULT_SIZE);
        if (file.status == PrefabEditing::TextFile::Status::READ) { // The kernel's own object has no file.
            hashes.push_back(PrefabInspection::fastHash(file.text));
        }
    }
    // The order in which libraries were loaded has no influence on results.
    std::sort(hashes.begin(), hashes.end());
    const auto* const bytes = reinterpret_cast<const char*>(hashes.data());
    return PrefabInspection::fastHash({bytes, hashes.size() * sizeof(std::uint64_t)});
}

ResultCache::ResultCache(std::string directory, std::uint64_t codeHash)
    : m_directory(std::move(directory) + formatText("/%016llx", static_cast<unsigned long long>(codeHash))) {
    std::error_code error;
    fs::create_directories(m_directory, error);
    if (error) {
        throw CommandError("Cannot make the directory '" + m_directory + "': " + error.message());
    }
}

std::optional<std::string> ResultCache::find(const std::string& key) {
    PrefabEditing::TextFile file = PrefabEditing::readTextFile(fileName(key), MAX_RESULT_SIZE);
    return file.status == PrefabEditing::TextFile::Status::READ ? std::optional(std::move(file.text)) : std::nullopt;
}

void ResultCache::store(const std::string& key, std::string_view value) {
    static std::atomic<std::uint64_t> s_count{0}; // Distinguishes the temporary files of this process only.
    const std::string name = fileName(key);
    const std::string temporary =
        name + formatText(".%ld-%llu.tmp", static_cast<long>(::getpid()),
                          static_cast<unsigned long long>(s_count.fetch_add(1, std::memory_order_relaxed)));
    std::error_code error;
    fs::create_directory(fs::path(name).parent_path(), error);
    std::ofstream stream(temporary, std::ios::binary | std::ios::trunc);
    stream.write(value.data(), static_cast<std::streamsize>(value.size()));
    stream.close();
    // Without flushing to the device: a file that is lost or damaged is only checked again.
    if (!stream || std::rename(temporary.c_str(), name.c_str()) != 0) {
        fs::remove(temporary, error);
    }
}

std::string ResultCache::fileName(const std::string& key) const {
    return m_directory + "/" + key.substr(0, FOLDER_NAME_SIZE) + "/" + key.substr(FOLDER_NAME_SIZE);
}

} // namespace Kiln::PrefabTool
