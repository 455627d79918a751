#include "file_set.h"

#include <resource/file_system_utils.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace Kiln::AgreementTests {

namespace fs = std::filesystem;

FileSet readFiles(const fs::path& folder, const std::string& prefix) {
    FileSet files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            std::ifstream stream(entry.path(), std::ios::binary);
            const std::string text{std::istreambuf_iterator<char>(stream), {}};
            files[prefix + entry.path().lexically_relative(folder).generic_string()] = {FileEntry::Kind::FILE, text};
        }
    }
    return files;
}

SetFolder::SetFolder() {
    const fs::path parent = fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
    std::string pattern = (parent / "kiln_agreement_XXXXXX").string();
    if (!mkdtemp(pattern.data())) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp " + pattern);
    }
    m_path = pattern;
    FS::Utils::clearResourceRoots();
    FS::Utils::addResourceRoot(m_path.string());
}

SetFolder::~SetFolder() {
    FS::Utils::clearResourceRoots();
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

void SetFolder::hold(const FileSet& files) {
    for (const auto& [name, entry] : m_files) {
        const auto wanted = files.find(name);
        if (wanted == files.end() || wanted->second != entry) {
            remove(name);
        }
    }
    for (const auto& [name, entry] : files) {
        const auto present = m_files.find(name);
        if (present == m_files.end() || present->second != entry) {
            write(name, entry);
        }
    }
    m_files = files;
}

void SetFolder::remove(const std::string& name) const {
    std::error_code ignored;
    fs::remove_all(m_path / name, ignored);
}

void SetFolder::write(const std::string& name, const FileEntry& entry) const {
    const fs::path path = m_path / name;
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    switch (entry.kind) {
    case FileEntry::Kind::FILE:
        std::ofstream(path, std::ios::binary) << entry.text;
        break;
    case FileEntry::Kind::FOLDER:
        fs::create_directory(path, error);
        break;
    case FileEntry::Kind::LINK:
        fs::create_symlink(entry.text, path, error);
        break;
    }
}

} // namespace Kiln::AgreementTests
