// Which paths lead to a file beneath a resource root: with openat2, and with the replacement for kernels without it.

#include <resource/file_system_utils.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/file_faults.h>
#include <support/log_capture.h>
#include <support/temporary_directory.h>

#include <sys/stat.h>
#include <unistd.h>

namespace Kiln::FS::Utils {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::FileCall;
using TestSupport::FileFaults;

namespace fs = std::filesystem;

const std::string OUTSIDE = "is outside of the resource roots";

/// Two directories beside each other: "root", a resource root, and "rootless", which begins with the same letters. The
/// parameter tells whether the kernel has openat2.
class PathConfinement : public testing::TestWithParam<bool> {
protected:
    PathConfinement() {
        clearResourceRoots();
        fs::create_directories(root() / "a/b");
        write("root/in.prefab", "in");
        write("root/a/deep.prefab", "deep");
        write("rootless/out.prefab", "out");
        addResourceRoot(root());
        if (!GetParam()) {
            m_faults.emplace().disableOpenat2();
        }
        alarm(20); // Opening a pipe must not block.
    }

    ~PathConfinement() override {
        alarm(0);
        setPathConfinement(true);
        clearResourceRoots();
    }

    [[nodiscard]] fs::path root() const { return m_directory.path() / "root"; }

    void write(const std::string& file, const std::string& text) const {
        m_directory.writeFile(file, "<r>" + text + "</r>");
    }

    void link(const std::string& name, const std::string& target) const {
        fs::create_symlink(target, m_directory.path() / name);
    }

    /// The text of the resource; "(null)" if it can't be opened.
    [[nodiscard]] static std::string textOf(const std::string& path) {
        const auto section = openXmlSection(path, true);
        return section ? section->asString() : "(null)";
    }

    void expectText(const std::string& path, const std::string& text) {
        EXPECT_EQ(textOf(path), text) << path;
        EXPECT_NE(resolveResourcePath(path), "") << path;
        EXPECT_THAT(m_log.texts(), IsEmpty());
    }

    void expectMissing(const std::string& path) {
        EXPECT_EQ(textOf(path), "(null)") << path;
        EXPECT_THAT(m_log.texts(), IsEmpty()) << path;
    }

    void expectProblem(const std::string& path, const std::string& problem) {
        EXPECT_EQ(textOf(path), "(null)") << path;
        EXPECT_THAT(m_log.texts(), ElementsAre("Cannot read '" + path + "': " + problem));
        m_log.clear();
    }

    void expectOutside(const std::string& path) {
        expectProblem(path, OUTSIDE);
        EXPECT_EQ(resolveResourcePath(path), "") << path;
    }

    TestSupport::TemporaryDirectory m_directory;
    TestSupport::LogCapture m_log;
    std::optional<FileFaults> m_faults;
};

INSTANTIATE_TEST_SUITE_P(Kernel, PathConfinement, testing::Bool(),
                         [](const auto& suite) { return suite.param ? "withOpenat2" : "withoutOpenat2"; });

TEST_P(PathConfinement, relativePathsInside_areOpened) {
    expectText("in.prefab", "in");
    expectText("./in.prefab", "in");
    expectText("a//deep.prefab", "deep");
    expectText("a/../in.prefab", "in");
    expectText("a/b/../../a/./deep.prefab", "deep");
}

TEST_P(PathConfinement, pathsThatLeaveTheRoot_areRefused) {
    for (const char* const path : {"../rootless/out.prefab", "a/../../rootless/out.prefab", "..", "../", "a/../..",
                                   "./../x", "../root/in.prefab", "../missing.prefab", "none/../../x"}) {
        expectOutside(path);
    }
}

TEST_P(PathConfinement, leavingTheRoot_opensNothing) {
    FileFaults* const faults = m_faults ? &*m_faults : &m_faults.emplace();
    expectOutside("a/../../rootless/out.prefab");
    EXPECT_EQ(faults->count(FileCall::OPEN), 0);
}

TEST_P(PathConfinement, absolutePathsInside_areOpened) {
    expectText(m_directory.path("root/in.prefab"), "in");
    expectText(m_directory.path("root") + "//a/../in.prefab", "in");
    expectText(m_directory.path("rootless/../root/in.prefab"), "in");
    EXPECT_EQ(resolveResourcePath(m_directory.path("root/in.prefab")), m_directory.path("root/in.prefab"));
}

TEST_P(PathConfinement, absolutePathsOutside_areRefused) {
    expectOutside(m_directory.path("rootless/out.prefab"));
    expectOutside(m_directory.path("root/../rootless/out.prefab"));
    expectOutside(m_directory.path("missing.prefab"));
    expectOutside(m_directory.path("rootless/missing.prefab"));
    expectOutside("/dev/zero");
    expectOutside("/");
}

TEST_P(PathConfinement, missingFilesInside_areMissing) {
    expectMissing("none.prefab");
    expectMissing("none/none.prefab");
    expectMissing("in.prefab/none.prefab");
    expectMissing(m_directory.path("root/none.prefab"));
    expectMissing("");
    EXPECT_EQ(resolveResourcePath("none.prefab"), m_directory.path("root/none.prefab"));
}

TEST_P(PathConfinement, linksThatLeadOut_areRefused) {
    link("root/out", "../rootless/out.prefab");
    link("root/absolute", m_directory.path("rootless/out.prefab"));
    link("root/folder", "../rootless");
    link("root/chain", "folder/../rootless/out.prefab");
    link("root/device", "/dev/zero");

    for (const char* const path :
         {"out", "absolute", "folder/out.prefab", "chain", "device", "folder/../rootless/out.prefab"}) {
        expectOutside(path);
    }
    expectOutside(m_directory.path("root/out"));
    expectOutside(m_directory.path("root/folder/out.prefab"));
}

TEST_P(PathConfinement, linksThatStayInside_areFollowed) {
    link("root/link", "in.prefab");
    link("root/a/up", "../in.prefab");
    link("root/absolute", m_directory.path("root/in.prefab"));
    link("root/around", "../root/in.prefab");
    link("root/folder", m_directory.path("root/a"));
    link("into", "root/in.prefab");

    for (const std::string path : {"link", "a/up", "absolute", "around", "folder/up", "folder/../in.prefab"}) {
        expectText(path, "in");
    }
    expectText("folder/deep.prefab", "deep");
    expectText(m_directory.path("root/absolute"), "in");
    expectText(m_directory.path("into"), "in");
}

TEST_P(PathConfinement, linksThatLeadNowhere_areMissing) {
    link("root/dangling", "none.prefab");
    link("root/dangling_absolute", m_directory.path("root/none.prefab"));

    expectMissing("dangling");
    expectMissing("dangling_absolute");
}

TEST_P(PathConfinement, loopedLinks_areReported) {
    link("root/loop", "loop");
    link("root/absolute_loop", m_directory.path("root/absolute_loop"));

    expectProblem("loop", "Too many levels of symbolic links");
    expectProblem("absolute_loop", "Too many levels of symbolic links");
}

TEST_P(PathConfinement, rootThatAllowsLinks_followsThemOut) {
    clearResourceRoots();
    addResourceRoot(root(), {.allowsOutsideLinks = true});
    link("root/out", "../rootless/out.prefab");
    link("root/folder", m_directory.path("rootless"));

    expectText("out", "out");
    expectText("folder/out.prefab", "out");
    expectText(m_directory.path("root/folder/out.prefab"), "out");
    expectText("in.prefab", "in");
    expectOutside("../rootless/out.prefab");
    expectOutside(m_directory.path("rootless/out.prefab"));
    expectOutside(m_directory.path("root/../rootless/out.prefab"));
}

TEST_P(PathConfinement, rootThatIsALink_isFollowed) {
    clearResourceRoots();
    link("alias", "root");
    addResourceRoot(m_directory.path("alias"));

    expectText("a/../in.prefab", "in");
    expectText(m_directory.path("root/in.prefab"), "in");
    expectText(m_directory.path("alias/in.prefab"), "in");
    expectOutside("../rootless/out.prefab");
}

TEST_P(PathConfinement, withoutRoots_relativePathsAreConfinedToTheCurrentDirectory) {
    clearResourceRoots();
    const fs::path before = fs::current_path();
    fs::current_path(root());

    expectText("a/deep.prefab", "deep");
    expectText(m_directory.path("root/in.prefab"), "in");
    expectOutside("../rootless/out.prefab");
    expectText(m_directory.path("rootless/out.prefab"), "out");
    expectMissing("none.prefab");
    fs::current_path(before);
}

TEST_P(PathConfinement, relativeRoot_isThatOfTheCurrentDirectory) {
    clearResourceRoots();
    const fs::path before = fs::current_path();
    fs::current_path(m_directory.path());
    addResourceRoot("./root/");

    expectText("a/deep.prefab", "deep");
    expectText(m_directory.path("root/in.prefab"), "in");
    expectOutside("../rootless/out.prefab");
    fs::current_path(before);
}

TEST_P(PathConfinement, missingRoot_hasNoFiles) {
    clearResourceRoots();
    addResourceRoot(m_directory.path("gone"));

    expectMissing("in.prefab");
    expectMissing(m_directory.path("gone/in.prefab"));
}

TEST_P(PathConfinement, severalRoots_theFirstThatContainsTheFileWins) {
    addResourceRoot(m_directory.path("rootless"));
    write("rootless/in.prefab", "second");
    link("root/out.prefab", "../rootless/out.prefab");
    fs::create_directory(root() / "c");
    write("rootless/c", "c");

    expectText("in.prefab", "in");
    expectText("out.prefab", "out"); // Outside of the first root, inside the second.
    expectText("c", "c");            // A directory in the first root.
    expectText(m_directory.path("rootless/out.prefab"), "out");
    expectMissing("none.prefab");
    expectMissing(m_directory.path("root/none.prefab"));
    expectMissing(m_directory.path("rootless/none.prefab"));
    expectOutside(m_directory.path("none.prefab"));
    expectOutside("../root/in.prefab");
    EXPECT_EQ(resolveResourcePath("c"), m_directory.path("rootless/c"));
    EXPECT_EQ(resolveResourcePath("none.prefab"), m_directory.path("root/none.prefab"));
}

TEST_P(PathConfinement, whatIsNoFile_isReported) {
    ASSERT_EQ(mkfifo((root() / "pipe").c_str(), 0600), 0);

    expectProblem("pipe", "is not a regular file");
    expectProblem("a", "is a directory");
    expectProblem("a/..", "is a directory");
    expectProblem(".", "is a directory");
    expectProblem(m_directory.path("root"), "is a directory");
}

TEST_P(PathConfinement, controlCharacters_areRefusedAndEscaped) {
    const auto expectRefused = [this](const std::string& path, const std::string& shown) {
        EXPECT_EQ(textOf(path), "(null)");
        EXPECT_THAT(m_log.texts(), ElementsAre("Cannot read '" + shown + "': the path has a control character"));
        EXPECT_EQ(resolveResourcePath(path), "");
        m_log.clear();
    };
    expectRefused(std::string("in.prefab\0x", 11), "in.prefab\\x00x");
    expectRefused("in.prefab\n[5] forged", "in.prefab\\x0a[5] forged");
    expectRefused("\x1b[31min", "\\x1b[31min");
    expectRefused("in\x7f", "in\\x7f");
    expectRefused("in\xc2\x9b", "in\\xc2\\x9b");
}

TEST_P(PathConfinement, otherCharacters_areNames) {
    for (const std::string name : {"caf\xc3\xa9", "\xc2\xa0", "\xff", "100%s", "a b", "...", "..a"}) {
        write("root/" + name, "name");
        expectText(name, "name");
    }
}

TEST_P(PathConfinement, withoutConfinement_pathsLeadAnywhere) {
    setPathConfinement(false);
    EXPECT_FALSE(isPathConfined());
    link("root/out", "../rootless/out.prefab");

    for (const std::string& path :
         {std::string("../rootless/out.prefab"), std::string("out"), m_directory.path("rootless/out.prefab")}) {
        expectText(path, "out");
    }
    expectMissing("none.prefab");
    EXPECT_EQ(resolveResourcePath("/none.prefab"), "/none.prefab");
}

TEST_P(PathConfinement, failedOpen_isReported) {
    FileFaults& faults = m_faults ? *m_faults : m_faults.emplace();
    int number = 1;
    while (true) {
        const int before = faults.count(FileCall::OPEN);
        faults.fail(FileCall::OPEN, before + number, EMFILE);
        const std::string text = textOf("a/deep.prefab");
        if (faults.count(FileCall::OPEN) < before + number) {
            EXPECT_EQ(text, "deep");
            break;
        }
        EXPECT_EQ(text, "(null)");
        EXPECT_THAT(m_log.texts(), ElementsAre("Cannot read 'a/deep.prefab': Too many open files"));
        m_log.clear();
        ++number;
    }
    EXPECT_EQ(number, GetParam() ? 3 : 5);
}

} // namespace

// A link that is swapped while it is resolved must never lead out.
TEST(PathConfinementRace, linkThatChangesWhileItIsOpened_neverLeadsOut) {
    const TestSupport::TemporaryDirectory directory;
    const TestSupport::LogCapture log;
    directory.writeFile("root/in/file", "<r>in</r>");
    directory.writeFile("out/file", "<r>out</r>");
    const fs::path folder = directory.path() / "root/folder";
    addResourceRoot(directory.path() / "root");
    for (int number = 1; number <= 6; ++number) {
        fs::remove(folder);
        fs::create_symlink(directory.path() / "root/in", folder);
        FileFaults faults;
        faults.disableOpenat2();
        faults.before(FileCall::OPEN, number, [&] {
            fs::remove(folder);
            fs::create_symlink(directory.path() / "out", folder);
            fs::remove_all(directory.path() / "root/in");
            fs::create_symlink(directory.path() / "out", directory.path() / "root/in");
        });
        const auto section = openXmlSection("folder/file", true);
        EXPECT_TRUE(!section || section->asString() == "in") << number;
        fs::remove_all(directory.path() / "root/in");
        directory.writeFile("root/in/file", "<r>in</r>");
    }
    clearResourceRoots();
}

TEST(PathConfinementCost, fileBeneathOneRoot_takesFourCallsBesidesReading) {
    const TestSupport::TemporaryDirectory directory;
    directory.writeFile("a/file", "<r/>");
    addResourceRoot(directory.path());
    const FileFaults faults;
    ASSERT_TRUE(openXmlSection("a/file", true));
    clearResourceRoots();

    EXPECT_THAT(faults.calls(), ElementsAre(FileCall::OPEN, FileCall::OPEN, FileCall::CLOSE, FileCall::READ,
                                            FileCall::READ, FileCall::CLOSE));
}

} // namespace Kiln::FS::Utils
