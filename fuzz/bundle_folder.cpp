#include "bundle_folder.h"

#include <resource/file_system_utils.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>

namespace Kiln::Fuzz {

namespace fs = std::filesystem;

BundleFolder::BundleFolder() {
    const fs::path parent = fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
    std::string pattern = (parent / "kiln_fuzz_XXXXXX").string();
    if (!mkdtemp(pattern.data())) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp " + pattern);
    }
    m_path = pattern;
    FS::Utils::clearResourceRoots();
    FS::Utils::addResourceRoot(m_path.string());
}

BundleFolder::~BundleFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

void BundleFolder::write(const std::vector<BundleFile>& files) {
    clear();
    for (const BundleFile& file : files) {
        const fs::path path = m_path / file.name;
        std::error_code error;
        fs::create_directories(path.parent_path(), error);
        std::ofstream stream(path, std::ios::binary);
        stream << file.text;
    }
}

void BundleFolder::clear() {
    for (const fs::directory_entry& entry : fs::directory_iterator(m_path)) {
        fs::remove_all(entry.path());
    }
}

} // namespace Kiln::Fuzz
