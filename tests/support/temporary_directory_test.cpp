#include <support/temporary_directory.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace Kiln::TestSupport {
namespace {

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

TEST(TemporaryDirectory, newDirectory_existsAndIsEmpty) {
    const TemporaryDirectory directory;

    EXPECT_TRUE(std::filesystem::is_directory(directory.path()));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
    EXPECT_TRUE(directory.path().is_absolute());
}

TEST(TemporaryDirectory, twoDirectories_areDifferent) {
    const TemporaryDirectory first;
    const TemporaryDirectory second;

    EXPECT_NE(first.path(), second.path());
}

TEST(TemporaryDirectory, writeFile_makesSubdirectoriesAndKeepsEveryByte) {
    const TemporaryDirectory directory;
    const std::string text("line\r\n\0end", 10);

    const std::filesystem::path file = directory.writeFile("a/b/file.txt", text);

    EXPECT_EQ(file, directory.path() / "a/b/file.txt");
    EXPECT_EQ(file.string(), directory.path("a/b/file.txt"));
    EXPECT_EQ(contentOf(file), text);
}

TEST(TemporaryDirectory, writeFileAgain_replacesTheContent) {
    const TemporaryDirectory directory;
    directory.writeFile("file", "a longer text");

    EXPECT_EQ(contentOf(directory.writeFile("file", "short")), "short");
}

TEST(TemporaryDirectory, writeFile_pathOfADirectory_throws) {
    const TemporaryDirectory directory;
    directory.writeFile("a/file", "");

    EXPECT_THROW(directory.writeFile("a", ""), std::system_error);
}

TEST(TemporaryDirectory, end_removesEverything) {
    std::filesystem::path path;
    {
        const TemporaryDirectory directory;
        path = directory.path();
        directory.writeFile("a/b/file", "text");
    }

    EXPECT_FALSE(std::filesystem::exists(path));
}

} // namespace
} // namespace Kiln::TestSupport
