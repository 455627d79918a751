#pragma once

#include <build_paths.h>
#include <support/documented_commands.h>
#include <support/process_runner.h>
#include <support/temporary_directory.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {

/// A directory in which the commands of a page run.
class PageFixture : public testing::Test {
protected:
    /// Copies the sample to `name`/harbour.
    void copyHarbour(const std::string& name) const {
        std::filesystem::create_directory(m_directory.path(name));
        std::filesystem::copy(KILN_SOURCE_DIR "/samples/harbour", m_directory.path(name) + "/harbour",
                              std::filesystem::copy_options::recursive);
    }

    /// Makes the component library of the sample available under a name.
    void linkLibrary(const std::string& name) const {
        std::filesystem::create_symlink(KILN_BUILD_LIB_DIR "/libharbour_components.so", m_directory.path(name));
    }

    [[nodiscard]] static std::vector<TestSupport::DocumentedCommand> commandsOf(const std::string& page) {
        return TestSupport::documentedCommands(KILN_SOURCE_DIR "/docs/" + page);
    }

    [[nodiscard]] TestSupport::ProcessResult runLine(const std::string& line) const {
        return TestSupport::runInShell(line, KILN_BUILD_BIN_DIR, m_directory.path());
    }

    TestSupport::TemporaryDirectory m_directory;
};

} // namespace Kiln::PrefabToolTests
