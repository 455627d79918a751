#include <support/file_faults.h>

#include <support/temporary_directory.h>

#include <cerrno>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace Kiln::TestSupport {

namespace {

using testing::ElementsAre;

class FileFaultsTest : public testing::Test {
protected:
    TemporaryDirectory m_directory;
    std::string m_file = m_directory.writeFile("a", "abc");
    FileFaults m_faults;
};

TEST_F(FileFaultsTest, withoutFaults_callsPassThrough) {
    const int descriptor = open(m_file.c_str(), O_RDWR);
    char bytes[4] = "";

    EXPECT_EQ(read(descriptor, bytes, 3), 3);
    EXPECT_STREQ(bytes, "abc");
    EXPECT_EQ(write(descriptor, "d", 1), 1);
    EXPECT_EQ(fsync(descriptor), 0);
    EXPECT_EQ(close(descriptor), 0);
    EXPECT_EQ(rename(m_file.c_str(), m_directory.path("b").c_str()), 0);
    EXPECT_THAT(m_faults.calls(), ElementsAre(FileCall::OPEN, FileCall::READ, FileCall::WRITE, FileCall::FSYNC,
                                              FileCall::CLOSE, FileCall::RENAME));
}

TEST_F(FileFaultsTest, fail_isForOneCall) {
    m_faults.fail(FileCall::OPEN, 2, EMFILE);
    const int first = open(m_file.c_str(), O_RDONLY);
    errno = 0;

    EXPECT_GE(first, 0);
    EXPECT_EQ(open(m_file.c_str(), O_RDONLY), -1);
    EXPECT_EQ(errno, EMFILE);
    const int third = open(m_file.c_str(), O_RDONLY);
    EXPECT_GE(third, 0);
    close(first);
    close(third);
}

TEST_F(FileFaultsTest, failAny_countsCallsOfAllKinds) {
    m_faults.failAny(2, EIO);
    const int descriptor = open(m_file.c_str(), O_RDONLY);
    char byte = 0;

    EXPECT_EQ(read(descriptor, &byte, 1), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(read(descriptor, &byte, 1), 1);
    close(descriptor);
}

TEST_F(FileFaultsTest, failedClose_closes) {
    m_faults.fail(FileCall::CLOSE, 1, EIO);
    const int descriptor = open(m_file.c_str(), O_RDONLY);

    EXPECT_EQ(close(descriptor), -1);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST_F(FileFaultsTest, before_actsOnceAndIsNotObserved) {
    m_faults.before(FileCall::OPEN, 1, [this] { unlink(m_file.c_str()); });

    EXPECT_EQ(open(m_file.c_str(), O_RDONLY), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(m_faults.count(FileCall::OPEN), 1);
}

TEST_F(FileFaultsTest, limitTransfers_makesReadsAndWritesShort) {
    m_faults.limitTransfers(2);
    const int descriptor = open(m_file.c_str(), O_RDWR);
    char bytes[3];

    EXPECT_EQ(read(descriptor, bytes, 3), 2);
    EXPECT_EQ(write(descriptor, "xyz", 3), 2);
    close(descriptor);
}

} // namespace

} // namespace Kiln::TestSupport
