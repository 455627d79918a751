// Files that are no documents, are too large, or change while they are read, and reading that fails.

#include <resource/data_section.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/file_faults.h>
#include <support/log_capture.h>
#include <support/scoped_limits.h>
#include <support/temporary_directory.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Kiln {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::FileCall;
using TestSupport::FileFaults;
using TestSupport::ScopedLimits;

const std::string DOCUMENT = "<r>text</r>";

/// Ends the test program if a test takes longer than 20 seconds.
class FileReading : public testing::Test {
protected:
    FileReading() { alarm(20); }
    ~FileReading() override { alarm(0); }

    /// Reads the file under the name "file"; "(null)" if that yields nothing.
    [[nodiscard]] static std::string textOf(const std::string& file) {
        const auto root = DataSection::fromFile(file, "file", true);
        return root ? root->asString() : "(null)";
    }

    void expectRefused(const std::string& file, const std::string& problem) {
        EXPECT_EQ(textOf(file), "(null)");
        EXPECT_THAT(m_log.texts(), ElementsAre("Cannot read 'file': " + problem));
        m_log.clear();
    }

    TestSupport::TemporaryDirectory m_directory;
    TestSupport::LogCapture m_log;
};

TEST_F(FileReading, pipeWithoutWriter_isRefusedAtOnce) {
    const std::string file = m_directory.path("pipe");
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);

    expectRefused(file, "is not a regular file");
}

TEST_F(FileReading, pipeWithText_isRefused) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], DOCUMENT.data(), DOCUMENT.size()), static_cast<ssize_t>(DOCUMENT.size()));
    close(ends[1]);

    expectRefused("/dev/fd/" + std::to_string(ends[0]), "is not a regular file");
    close(ends[0]);
}

TEST_F(FileReading, devices_areRefused) {
    expectRefused("/dev/zero", "is not a regular file");
    expectRefused("/dev/null", "is not a regular file");
}

TEST_F(FileReading, socket_isRefused) {
    const std::string file = m_directory.path("socket");
    const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    file.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);

    expectRefused(file, "No such device or address");
    close(descriptor);
}

TEST_F(FileReading, sparseFileOf20Gigabytes_isRefusedWithoutReading) {
    const std::string file = m_directory.writeFile("sparse", "<r/>");
    std::filesystem::resize_file(file, 20'000'000'000);
    const FileFaults faults;

    expectRefused(file, "is larger than the limit of 536870912 bytes");
    EXPECT_EQ(faults.count(FileCall::READ), 0);
}

TEST_F(FileReading, limit_isTheLargestSize) {
    const std::string file = m_directory.writeFile("file", DOCUMENT);
    {
        const ScopedLimits limits({.fileSize = DOCUMENT.size()});
        EXPECT_EQ(textOf(file), "text");
    }
    {
        const ScopedLimits limits({.fileSize = DOCUMENT.size() + 1});
        EXPECT_EQ(textOf(file), "text");
    }
    const ScopedLimits limits({.fileSize = DOCUMENT.size() - 1});
    expectRefused(file, "is larger than the limit of 10 bytes");
}

TEST_F(FileReading, limitOfZero_refusesEveryFileButAnEmptyOne) {
    const ScopedLimits limits({.fileSize = 0});
    expectRefused(m_directory.writeFile("file", "x"), "is larger than the limit of 0 bytes");

    EXPECT_EQ(textOf(m_directory.writeFile("empty", "")), "(null)");
    EXPECT_THAT(m_log.texts(), ElementsAre("XML error in 'file' at line 1, column 1: No root element"));
}

TEST_F(FileReading, largestLimit_refusesNothing) {
    const ScopedLimits limits({.fileSize = UINT64_MAX});
    EXPECT_EQ(textOf(m_directory.writeFile("file", DOCUMENT)), "text");
}

TEST_F(FileReading, limits_areThoseThatWereSetLast) {
    EXPECT_EQ(resourceLimits(), (ResourceLimits{.fileSize = 512U << 20U, .elementDepth = 1'000}));
    const ScopedLimits limits({.fileSize = 1, .elementDepth = 2});
    EXPECT_EQ(resourceLimits(), (ResourceLimits{.fileSize = 1, .elementDepth = 2}));
}

TEST_F(FileReading, fileThatGrowsWhileItIsRead_isReadToItsNewEnd) {
    const std::string file = m_directory.writeFile("file", "<r>");
    FileFaults faults;
    faults.before(FileCall::READ, 2, [&] { std::ofstream(file, std::ios::app) << "more</r>"; });

    EXPECT_EQ(textOf(file), "more");
}

TEST_F(FileReading, fileThatGrowsAboveTheLimit_isRefused) {
    const std::string file = m_directory.writeFile("file", DOCUMENT);
    const ScopedLimits limits({.fileSize = 100});
    for (const std::size_t size : {100U, 101U, 10'000U}) {
        m_directory.writeFile("file", DOCUMENT);
        FileFaults faults;
        faults.before(FileCall::READ, 2,
                      [&] { m_directory.writeFile("file", DOCUMENT + std::string(size - 11, ' ')); });
        if (size <= 100) {
            EXPECT_EQ(textOf(file), "text");
            EXPECT_THAT(m_log.texts(), IsEmpty());
        } else {
            expectRefused(file, "is larger than the limit of 100 bytes");
        }
    }
}

TEST_F(FileReading, fileThatShrinksWhileItIsRead_yieldsTheBytesThatWereRead) {
    const std::string file = m_directory.writeFile("file", "<r>" + std::string(1'000, 'x') + "</r>");
    FileFaults faults;
    faults.limitTransfers(100);
    faults.before(FileCall::READ, 3, [&] { std::filesystem::resize_file(file, 150); });

    EXPECT_EQ(textOf(file), "(null)");
    EXPECT_THAT(m_log.texts(), ElementsAre("XML error in 'file' at line 1, column 200: Start-end tags mismatch"));
}

TEST_F(FileReading, fileThatIsRemovedOrReplacedWhileItIsRead_isReadAsItWas) {
    const std::string file = m_directory.writeFile("file", DOCUMENT);
    {
        FileFaults faults;
        faults.before(FileCall::READ, 1, [&] {
            const std::string other = m_directory.writeFile("other", "<r>other</r>");
            std::filesystem::rename(other, file);
        });
        EXPECT_EQ(textOf(file), "text");
    }
    FileFaults faults;
    faults.before(FileCall::READ, 2, [&] { std::filesystem::remove(file); });
    EXPECT_EQ(textOf(file), "other");
}

TEST_F(FileReading, shortReads_yieldTheWholeFile) {
    const std::string text(10'000, 'x');
    const std::string file = m_directory.writeFile("file", "<r>" + text + "</r>");
    FileFaults faults;
    faults.limitTransfers(7);

    EXPECT_EQ(textOf(file), text);
}

TEST_F(FileReading, interruptedRead_isRepeated) {
    FileFaults faults;
    faults.fail(FileCall::READ, 1, EINTR);

    EXPECT_EQ(textOf(m_directory.writeFile("file", DOCUMENT)), "text");
}

TEST_F(FileReading, everyCallThatFails_isReportedAndLeavesNoOpenFile) {
    const std::string file = m_directory.writeFile("file", DOCUMENT);
    int number = 1;
    for (;; ++number) {
        FileFaults faults;
        faults.limitTransfers(4);
        faults.failAny(number, EIO);
        const std::string text = textOf(file);
        const std::vector<FileCall> calls = faults.calls();
        if (static_cast<int>(calls.size()) < number) {
            EXPECT_EQ(text, "text");
            break;
        }
        // The file was read before it is closed, so that a failure to close it does not matter.
        if (calls[static_cast<std::size_t>(number) - 1] == FileCall::CLOSE) {
            EXPECT_EQ(text, "text");
            EXPECT_THAT(m_log.texts(), IsEmpty());
        } else {
            EXPECT_EQ(text, "(null)");
            EXPECT_THAT(m_log.texts(), ElementsAre("Cannot read 'file': Input/output error"));
        }
        EXPECT_EQ(faults.count(FileCall::CLOSE), number == 1 ? 0 : 1);
        m_log.clear();
    }
    EXPECT_EQ(number, 7); // open, four reads, close
}

} // namespace

} // namespace Kiln
