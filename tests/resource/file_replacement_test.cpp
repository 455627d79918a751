// Saving: what is replaced, and what a save that fails or is killed leaves.

#include <resource/data_section.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/file_faults.h>
#include <support/log_capture.h>
#include <support/temporary_directory.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Kiln {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using TestSupport::FileCall;
using TestSupport::FileFaults;

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class FileReplacement : public testing::Test {
protected:
    [[nodiscard]] std::string path(const std::string& name) const { return m_directory.path(name); }

    [[nodiscard]] std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_directory.path())) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    void expectRefused(const std::string& name, const std::string& problem) {
        EXPECT_FALSE(m_document->saveFile(path(name)));
        EXPECT_THAT(m_log.texts(), ElementsAre("Cannot write '" + path(name) + "': " + problem));
        m_log.clear();
    }

    TestSupport::TemporaryDirectory m_directory;
    TestSupport::LogCapture m_log;
    SmartPointer<DataSection> m_document = DataSection::create("new");
    const std::string m_new = m_document->toText();
};

TEST_F(FileReplacement, textIsFlushedBeforeTheRename_andTheFolderAfterIt) {
    const FileFaults faults;
    EXPECT_TRUE(m_document->saveFile(path("a")));

    EXPECT_THAT(faults.calls(), ElementsAre(FileCall::OPEN, FileCall::OPEN, FileCall::WRITE, FileCall::FSYNC,
                                            FileCall::CLOSE, FileCall::RENAME, FileCall::FSYNC, FileCall::CLOSE));
}

TEST_F(FileReplacement, temporaryNames_areDifferentAndHaveADocumentedForm) {
    std::vector<std::string> names;
    for (int i = 0; i < 2; ++i) {
        FileFaults faults;
        faults.before(FileCall::RENAME, 1, [&] { names.push_back(files().back()); });
        EXPECT_TRUE(m_document->saveFile(path("a")));
    }
    ASSERT_EQ(names.size(), 2U);
    EXPECT_TRUE(std::regex_match(names[0], std::regex("a\\.[0-9a-f]{16}\\.tmp"))) << names[0];
    EXPECT_TRUE(std::regex_match(names[1], std::regex("a\\.[0-9a-f]{16}\\.tmp"))) << names[1];
    EXPECT_NE(names[0], names[1]);
}

TEST_F(FileReplacement, filesOfKilledSaves_disturbNothing) {
    m_directory.writeFile("a", "old");
    for (int counter = 0; counter < 20; ++counter) {
        m_directory.writeFile("a." + std::to_string(getpid()) + "." + std::to_string(counter) + ".tmp", "stale");
    }
    m_directory.writeFile("a.0123456789abcdef.tmp", "stale");

    EXPECT_TRUE(m_document->saveFile(path("a")));
    EXPECT_EQ(contentOf(path("a")), m_new);
    EXPECT_EQ(files().size(), 22U);
}

TEST_F(FileReplacement, longestName_isSaved) {
    const std::string name(255, 'n');
    EXPECT_TRUE(m_document->saveFile(path(name)));
    EXPECT_THAT(files(), ElementsAre(name));

    expectRefused(std::string(256, 'n'), "File name too long");
}

TEST_F(FileReplacement, chainOfLinks_isWrittenThrough) {
    m_directory.writeFile("folder/file", "old");
    ASSERT_EQ(chmod(path("folder/file").c_str(), 0604), 0);
    fs::create_symlink("folder/file", path("b"));
    fs::create_symlink(path("b"), path("a"));

    EXPECT_TRUE(m_document->saveFile(path("a")));
    EXPECT_EQ(contentOf(path("folder/file")), m_new);
    EXPECT_TRUE(fs::is_symlink(path("a")));
    EXPECT_TRUE(fs::is_symlink(path("b")));
    EXPECT_THAT(files(), ElementsAre("a", "b", "folder"));
    struct stat status {};
    ASSERT_EQ(stat(path("folder/file").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0604U);
}

TEST_F(FileReplacement, newFile_hasThePermissionsOfTheUmask) {
    const mode_t before = umask(027);
    EXPECT_TRUE(m_document->saveFile(path("a")));
    umask(before);
    struct stat status {};
    ASSERT_EQ(stat(path("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(FileReplacement, danglingLink_isRefusedAndKept) {
    fs::create_symlink("gone", path("a"));

    expectRefused("a", "is a symbolic link to a file that does not exist");
    EXPECT_EQ(fs::read_symlink(path("a")), "gone");
    EXPECT_THAT(files(), ElementsAre("a"));
}

TEST_F(FileReplacement, loopedLink_isRefusedAndKept) {
    fs::create_symlink("b", path("a"));
    fs::create_symlink("a", path("b"));

    expectRefused("a", "Too many levels of symbolic links");
    EXPECT_TRUE(fs::is_symlink(path("a")));
    EXPECT_THAT(files(), ElementsAre("a", "b"));
}

TEST_F(FileReplacement, linkToAFolder_isRefused) {
    fs::create_directory(path("folder"));
    fs::create_symlink("folder", path("a"));

    expectRefused("a", "is a directory");
}

TEST_F(FileReplacement, pipe_isRefused) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);

    expectRefused("pipe", "is not a regular file");
    EXPECT_THAT(files(), ElementsAre("pipe"));
}

TEST_F(FileReplacement, folderThatIsAFile_isRefused) {
    m_directory.writeFile("file", "text");

    expectRefused("file/a", "Not a directory");
}

TEST_F(FileReplacement, shortAndInterruptedWrites_areContinued) {
    m_document->writeString("text", std::string(10'000, 'x'));
    FileFaults faults;
    faults.limitTransfers(1'000);
    faults.fail(FileCall::WRITE, 3, EINTR);

    EXPECT_TRUE(m_document->saveFile(path("a")));
    EXPECT_EQ(contentOf(path("a")), m_document->toText());
}

TEST_F(FileReplacement, everyCallThatFails_leavesTheOldFileAndNothingElse) {
    m_document->writeString("text", std::string(5'000, 'x'));
    const std::string text = m_document->toText();
    int number = 1;
    int folderFlushes = 0;
    for (;; ++number) {
        m_directory.writeFile("a", "old");
        bool isSaved = false;
        std::vector<FileCall> calls;
        {
            FileFaults faults;
            faults.limitTransfers(1'000);
            faults.failAny(number, EIO);
            isSaved = m_document->saveFile(path("a"));
            calls = faults.calls();
        }
        EXPECT_THAT(files(), ElementsAre("a")) << number;
        if (static_cast<int>(calls.size()) < number) {
            EXPECT_TRUE(isSaved);
            break;
        }
        const bool isReplaced = std::count(calls.begin(), calls.begin() + number - 1, FileCall::RENAME) == 1;
        EXPECT_EQ(contentOf(path("a")), isReplaced ? text : "old") << number;
        if (!isReplaced) {
            EXPECT_FALSE(isSaved);
            EXPECT_THAT(m_log.texts(), ElementsAre("Cannot write '" + path("a") + "': Input/output error"));
        } else if (calls[static_cast<std::size_t>(number) - 1] == FileCall::FSYNC) {
            ++folderFlushes;
            EXPECT_FALSE(isSaved);
            EXPECT_THAT(m_log.texts(), ElementsAre("Cannot write '" + path("a") +
                                                   "': was replaced, but its folder could not be flushed: "
                                                   "Input/output error"));
        } else {
            EXPECT_TRUE(isSaved); // Only the folder's descriptor could not be closed.
        }
        m_log.clear();
    }
    EXPECT_EQ(number, 14);
    EXPECT_EQ(folderFlushes, 1);
}

TEST_F(FileReplacement, fileSystemThatCannotFlushFolders_isNoFailure) {
    FileFaults faults;
    faults.fail(FileCall::FSYNC, 2, EINVAL);

    EXPECT_TRUE(m_document->saveFile(path("a")));
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(FileReplacement, fullDevice_leavesTheOldFile) {
    m_directory.writeFile("a", "old");
    FileFaults faults;
    faults.fail(FileCall::WRITE, 1, ENOSPC);

    expectRefused("a", "No space left on device");
    EXPECT_EQ(contentOf(path("a")), "old");
    EXPECT_THAT(files(), ElementsAre("a"));
}

TEST_F(FileReplacement, nameThatIsTaken_isReplacedByAnother) {
    FileFaults faults;
    faults.fail(FileCall::OPEN, 2, EEXIST);

    EXPECT_TRUE(m_document->saveFile(path("a")));
    EXPECT_THAT(files(), ElementsAre("a"));
}

TEST_F(FileReplacement, everyNameTaken_isRefused) {
    FileFaults faults;
    for (int number = 2; number < 100; ++number) {
        faults.fail(FileCall::OPEN, number, EEXIST);
    }
    expectRefused("a", "File exists");
    EXPECT_EQ(faults.count(FileCall::OPEN), 9); // The folder and eight names.
}

TEST_F(FileReplacement, exceptionWhileWriting_leavesTheOldFile) {
    m_directory.writeFile("a", "old");
    FileFaults faults;
    faults.before(FileCall::WRITE, 1, [] { throw std::runtime_error("stop"); });

    EXPECT_THROW((void)m_document->saveFile(path("a")), std::runtime_error);
    EXPECT_EQ(contentOf(path("a")), "old");
    EXPECT_THAT(files(), ElementsAre("a"));
}

TEST_F(FileReplacement, concurrentSaves_leaveOneOfTheirTexts) {
    std::vector<std::string> texts;
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer) {
        const auto document = DataSection::create("r");
        document->writeString("text", std::string(3'000, static_cast<char>('a' + writer)));
        texts.push_back(document->toText());
        writers.emplace_back([document, file = path("a")] {
            for (int i = 0; i < 20; ++i) {
                EXPECT_TRUE(document->saveFile(file));
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_THAT(texts, testing::Contains(contentOf(path("a"))));
    EXPECT_THAT(files(), ElementsAre("a"));
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int KILLS = 60;
#else
constexpr int KILLS = 500;
#endif

/// Saves two documents in turns until the process is killed.
[[noreturn]] void saveForever(const std::string& file, const DataSection& one, const DataSection& two) {
    while (true) {
        if (!one.saveFile(file) || !two.saveFile(file)) {
            _exit(1);
        }
    }
}

TEST_F(FileReplacement, killedAtRandomMoments_leavesTheOldOrTheNewFile) {
    const auto other = DataSection::create("other");
    for (int i = 0; i < 200; ++i) {
        m_document->newSection("item");
        other->newSection("item")->setString("text");
    }
    const std::vector<std::string> texts{m_document->toText(), other->toText()};
    const std::string file = path("a");
    ASSERT_TRUE(m_document->saveFile(file));
    std::mt19937 random(20);
    std::uniform_int_distribution<int> delay(0, 5'000);
    std::vector<int> found(2);
    for (int kill = 0; kill < KILLS; ++kill) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            saveForever(file, *other, *m_document);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));
        const std::string content = contentOf(file);
        const auto text = std::find(texts.begin(), texts.end(), content);
        ASSERT_NE(text, texts.end()) << content.size() << " bytes after " << kill << " kills";
        ++found[static_cast<std::size_t>(text - texts.begin())];
    }
    EXPECT_GT(found[0], 0);
    EXPECT_GT(found[1], 0);
    // Each killed process leaves at most one temporary file, and none of them disturbs the last save.
    EXPECT_LE(files().size(), 1U + static_cast<std::size_t>(KILLS));
    EXPECT_TRUE(m_document->saveFile(file));
    EXPECT_EQ(contentOf(file), texts[0]);
    RecordProperty("temporary_files_left", static_cast<int>(files().size()) - 1);
}

} // namespace

} // namespace Kiln
