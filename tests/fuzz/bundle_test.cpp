#include <fuzz/bundle.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::Fuzz {
namespace {

[[nodiscard]] std::vector<std::string> namesOf(std::string_view text) {
    std::vector<std::string> names;
    for (const BundleFile& file : parseBundle(text)) {
        names.push_back(file.name);
    }
    return names;
}

TEST(Bundle, textOfFiles_canBeParsed) {
    const std::vector<BundleFile> files{{"a.prefab", "<a>\n=\n</a>\n"}, {"b/c.prefab", "=\n"}, {"d.prefab", "\n"}};
    const std::vector<BundleFile> parsed = parseBundle(bundleText(files));

    ASSERT_EQ(parsed.size(), files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(parsed[i].name, files[i].name);
        EXPECT_EQ(parsed[i].text, files[i].text);
    }
}

TEST(Bundle, namesThatLeaveTheFolder_areReplaced) {
    EXPECT_THAT(
        namesOf("=== ../a\n=== /etc/passwd\n=== a/../b\n=== a//b\n=== a\x01\n=== \n=== good/a.prefab\n"),
        testing::ElementsAre("0.prefab", "1.prefab", "2.prefab", "3.prefab", "4.prefab", "5.prefab", "good/a.prefab"));
}

TEST(Bundle, repeatedName_isReplaced) {
    EXPECT_THAT(namesOf("=== a.prefab\n=== a.prefab\n"), testing::ElementsAre("a.prefab", "1.prefab"));
}

TEST(Bundle, textWithoutFiles_isEmpty) {
    EXPECT_THAT(namesOf("<prefab></prefab>"), testing::IsEmpty());
    EXPECT_THAT(namesOf(""), testing::IsEmpty());
    EXPECT_THAT(namesOf("a === b"), testing::IsEmpty());
}

TEST(Bundle, manyFiles_onlyTheFirstAreUsed) {
    std::string text;
    for (std::size_t i = 0; i < MAX_FILES + 3; ++i) {
        text += "=== f" + std::to_string(i) + "\n";
    }
    EXPECT_EQ(parseBundle(text).size(), MAX_FILES);
}

} // namespace
} // namespace Kiln::Fuzz
