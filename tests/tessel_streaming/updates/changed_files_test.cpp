#include <tessel_streaming/updates/changed_files.h>

#include <gmock/gmock.h>

#include <string>

namespace Kiln::Tessel::Streaming::detail {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ChangedFiles, areListedSinceAVersion) {
    ChangedFiles files;
    EXPECT_EQ(files.version(), 0U);
    EXPECT_THAT(files.since(0), IsEmpty());
    files.add("a.prefab");
    files.add("b.prefab");
    EXPECT_EQ(files.version(), 2U);
    EXPECT_THAT(files.since(0), ElementsAre("a.prefab", "b.prefab"));
    EXPECT_THAT(files.since(1), ElementsAre("b.prefab"));
    EXPECT_THAT(files.since(2), IsEmpty());
}

TEST(ChangedFiles, areListedOnce) {
    ChangedFiles files;
    files.add("a.prefab");
    files.add("b.prefab");
    files.add("a.prefab");
    EXPECT_THAT(files.since(0), ElementsAre("b.prefab", "a.prefab"));
    EXPECT_THAT(files.since(1), ElementsAre("b.prefab", "a.prefab"));
    EXPECT_THAT(files.since(2), ElementsAre("a.prefab"));
}

TEST(ChangedFiles, doNotGrowWithTheNumberOfChanges) {
    ChangedFiles files;
    for (int i = 0; i < 1000; ++i) {
        files.add(i % 2 == 0 ? "a.prefab" : "b.prefab");
    }
    EXPECT_EQ(files.size(), 2U);
    EXPECT_EQ(files.version(), 1000U);
    EXPECT_THAT(files.since(999), ElementsAre("b.prefab"));
}

} // namespace
} // namespace Kiln::Tessel::Streaming::detail
