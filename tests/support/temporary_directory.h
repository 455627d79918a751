#pragma once

#include <core/non_copyable.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ios>
#include <string>
#include <string_view>
#include <system_error>

namespace Kiln::TestSupport {

/// A fresh, empty directory that is removed with everything in it at the end of the object's life. Failures of the file
/// system throw std::system_error (or std::ios_base::failure, which is one) and so fail the test.
///
///     TemporaryDirectory directory;
///     directory.writeFile("props/lamp.prefab", LAMP_PREFAB);
class TemporaryDirectory : NonCopyable {
public:
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kiln_test_XXXXXX").string();
        if (!mkdtemp(pattern.data())) {
            throw std::system_error(errno, std::generic_category(), "mkdtemp " + pattern);
        }
        m_path = pattern;
    }

    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return m_path; }

    /// The absolute path of a file in the directory, as a text.
    [[nodiscard]] std::string path(const std::filesystem::path& name) const { return (m_path / name).string(); }

    /// Writes a file byte for byte, replacing an earlier one, and returns its absolute path. Makes the subdirectories
    /// that `name`, a relative path, goes through.
    std::filesystem::path writeFile(const std::filesystem::path& name, std::string_view text) const {
        const std::filesystem::path file = m_path / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream stream;
        stream.exceptions(std::ios::failbit | std::ios::badbit);
        stream.open(file, std::ios::binary | std::ios::trunc);
        stream.write(text.data(), static_cast<std::streamsize>(text.size()));
        stream.close();
        return file;
    }

private:
    std::filesystem::path m_path;
};

} // namespace Kiln::TestSupport
