#include <prefab_editing/text_file.h>

#include <support/file_faults.h>
#include <support/temporary_directory.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Kiln::PrefabEditingTests {

namespace {

namespace fs = std::filesystem;

using PrefabEditing::readTextFile;
using PrefabEditing::replaceTextFile;
using PrefabEditing::TextFile;
using TestSupport::FileCall;
using TestSupport::FileFaults;

class TextFiles : public testing::Test {
protected:
    [[nodiscard]] std::string read(const std::string& name) const {
        return readTextFile(m_directory.path(name), 1000).text;
    }

    [[nodiscard]] std::ptrdiff_t entriesCount() const {
        return std::distance(fs::directory_iterator(m_directory.path()), fs::directory_iterator());
    }

    TestSupport::TemporaryDirectory m_directory;
};

TEST_F(TextFiles, read_returnsTheBytes) {
    const std::string text("a\0\xff\r\n", 5);
    const TextFile file = readTextFile(m_directory.writeFile("a", text), 5);
    EXPECT_EQ(file.status, TextFile::Status::READ);
    EXPECT_EQ(file.text, text);
}

TEST_F(TextFiles, read_failsWithAReason) {
    EXPECT_EQ(readTextFile(m_directory.path("a"), 5).status, TextFile::Status::MISSING);
    EXPECT_EQ(readTextFile(m_directory.writeFile("a", "123456"), 5).problem, "is larger than the limit of 5 bytes");
    EXPECT_EQ(readTextFile(m_directory.path(), 5).problem, "is not a regular file");
    ASSERT_EQ(::mkfifo(m_directory.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(readTextFile(m_directory.path("pipe"), 5).problem, "is not a regular file");
}

TEST_F(TextFiles, replace_keepsPermissions) {
    m_directory.writeFile("a", "old");
    fs::permissions(m_directory.path("a"), fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_exec);
    EXPECT_EQ(replaceTextFile(m_directory.path("a"), "new"), "");
    EXPECT_EQ(read("a"), "new");
    EXPECT_EQ(fs::status(m_directory.path("a")).permissions(),
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_exec);
    EXPECT_EQ(entriesCount(), 1);
}

TEST_F(TextFiles, replace_makesANewFile) {
    EXPECT_EQ(replaceTextFile(m_directory.path("a"), "new"), "");
    EXPECT_EQ(read("a"), "new");
}

TEST_F(TextFiles, replace_writesThroughALink) {
    m_directory.writeFile("a", "old");
    fs::create_symlink("a", m_directory.path("link"));
    EXPECT_EQ(replaceTextFile(m_directory.path("link"), "new"), "");
    EXPECT_EQ(read("a"), "new");
    EXPECT_TRUE(fs::is_symlink(m_directory.path("link")));
}

TEST_F(TextFiles, replace_failsWithoutLeavingAFile) {
    fs::create_directory(m_directory.path("folder"));
    fs::create_symlink("nowhere", m_directory.path("link"));
    EXPECT_EQ(replaceTextFile(m_directory.path("folder"), "new"),
              "Cannot write '" + m_directory.path("folder") + "': is not a regular file");
    EXPECT_EQ(replaceTextFile(m_directory.path("link"), "new"),
              "'" + m_directory.path("link") + "' is a symbolic link that leads to no file");
    EXPECT_EQ(replaceTextFile(m_directory.path("none/a"), "new"),
              "Cannot write '" + m_directory.path("none/a") + "': No such file or directory");
    EXPECT_EQ(entriesCount(), 2);
}

/// Kills the process, as a signal from outside does.
void killThisProcess() {
    ::kill(::getpid(), SIGKILL);
}

/// Replaces a file in a child process that is killed before a call. Returns whether it was killed.
[[nodiscard]] bool isKilledWhileReplacing(const std::string& name, FileCall call, int number) {
    const pid_t child = ::fork();
    if (child == 0) {
        FileFaults faults;
        faults.limitTransfers(2); // So that there are states with a part of the text.
        faults.before(call, number, killThisProcess);
        static_cast<void>(replaceTextFile(name, "the new text"));
        ::_exit(0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFSIGNALED(status);
}

TEST_F(TextFiles, replace_killedAtAnyCall_leavesTheOldOrTheNewText) {
    const std::string name = m_directory.path("a");
    int killsCount = 0;
    for (const FileCall call : {FileCall::OPEN, FileCall::WRITE, FileCall::FSYNC, FileCall::RENAME, FileCall::CLOSE}) {
        m_directory.writeFile("a", "old");
        for (int number = 1; isKilledWhileReplacing(name, call, number); ++number) {
            // Afterwards only the second open and fsync remain, those of the folder, and its close.
            const bool isRenamed = number == 2 && call != FileCall::WRITE;
            EXPECT_EQ(read("a"), isRenamed ? "the new text" : "old") << static_cast<int>(call) << ' ' << number;
            m_directory.writeFile("a", "old");
            ++killsCount;
        }
    }
    EXPECT_EQ(killsCount, 2 + 6 + 2 + 1 + 2);
    EXPECT_EQ(replaceTextFile(name, "new"), ""); // Beside the files that the killed processes have left.
    EXPECT_EQ(read("a"), "new");
}

TEST_F(TextFiles, replace_withALeftFileOfTheSameProcessId_usesAnotherName) {
    const std::string left = "a." + std::to_string(::getpid()) + ".tmp";
    m_directory.writeFile("a", "old");
    m_directory.writeFile(left, "left");
    EXPECT_EQ(replaceTextFile(m_directory.path("a"), "new"), "");
    EXPECT_EQ(read("a"), "new");
    EXPECT_EQ(read(left), "left");
    EXPECT_EQ(entriesCount(), 2);
}

TEST_F(TextFiles, replace_failingAtAnyCall_keepsTheOldTextAndLeavesNoFile) {
    const std::string name = m_directory.writeFile("a", "old");
    const std::vector<std::pair<FileCall, int>> calls{{FileCall::OPEN, ENOSPC},
                                                      {FileCall::WRITE, ENOSPC},
                                                      {FileCall::FSYNC, EIO},
                                                      {FileCall::CLOSE, EIO},
                                                      {FileCall::RENAME, EIO}};
    for (const auto& [call, error] : calls) {
        FileFaults faults;
        faults.fail(call, 1, error);
        EXPECT_EQ(replaceTextFile(name, "new"),
                  "Cannot write '" + name + "': " + std::generic_category().message(error));
        EXPECT_EQ(read("a"), "old");
        EXPECT_EQ(entriesCount(), 1);
    }
}

TEST_F(TextFiles, replace_flushesTheFileAndThenItsFolder) {
    FileFaults faults;
    EXPECT_EQ(replaceTextFile(m_directory.path("a"), "new"), "");
    EXPECT_EQ(faults.calls(),
              (std::vector<FileCall>{FileCall::OPEN, FileCall::WRITE, FileCall::FSYNC, FileCall::CLOSE,
                                     FileCall::RENAME, FileCall::OPEN, FileCall::FSYNC, FileCall::CLOSE}));
}

TEST_F(TextFiles, replace_withAFolderThatCannotBeFlushed_saysSo) {
    const std::string name = m_directory.writeFile("a", "old");
    FileFaults faults;
    faults.fail(FileCall::FSYNC, 2, EIO);
    EXPECT_EQ(replaceTextFile(name, "new"), "Wrote '" + name + "', but cannot flush its folder: Input/output error");
    EXPECT_EQ(read("a"), "new");
}

} // namespace

} // namespace Kiln::PrefabEditingTests
