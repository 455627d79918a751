#include "uuid_fixture.h"

#include <kiln_prefab/uuids/uuid_search.h>

namespace Kiln::PrefabTool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class UuidSearchTest : public UuidFixture {
protected:
    UuidSearchTest() {
        write("lamp.prefab", PrefabText().object(id(11), "Lamp").object(id(12), "Bulb").parent(1, id(11)));
        write("quay.prefab",
              PrefabText().object(id(1), "Quay").object(id(2), "North lamp").parent(1, id(1)).nest(1, "lamp.prefab"));
    }

    [[nodiscard]] static std::vector<std::string> find(const Uuid& uuid, std::size_t threads = 0,
                                                       const Uuid& instance = {}) {
        std::vector<std::string> lines;
        for (const FoundUuid& found : findUuid({"lamp.prefab", "quay.prefab"}, {uuid, instance, threads, {}}).found) {
            lines.push_back(found.file + (found.isLive ? " live " : " file ") + found.object + " from " +
                            found.origin.file + ":" + std::to_string(found.origin.range.line));
        }
        return lines;
    }
};

TEST_F(UuidSearchTest, fileUuid_isFoundInItsFile) {
    EXPECT_THAT(find(id(12)), ElementsAre("lamp.prefab file Bulb from lamp.prefab:1"));
}

TEST_F(UuidSearchTest, liveUuid_isFoundInEveryInstanceThatHasIt) {
    EXPECT_THAT(find(Uuid::combine(Uuid::ZERO, id(12))), ElementsAre("lamp.prefab live Lamp/Bulb from lamp.prefab:1"));
    const Uuid nested = Uuid::combine(Uuid::combine(id(7), id(2)), id(12));
    EXPECT_THAT(find(nested, 0, id(7)), ElementsAre("quay.prefab live Quay/North lamp/Bulb from lamp.prefab:1"));
    EXPECT_THAT(find(nested), IsEmpty());
}

TEST_F(UuidSearchTest, copiedFile_isFoundToo) {
    write("copy.prefab", read("lamp.prefab"));
    EXPECT_EQ(findUuid({"copy.prefab", "lamp.prefab"}, {id(11), {}, 0, {}}).found.size(), 2U);
}

TEST_F(UuidSearchTest, unreadableFile_isAProblem) {
    write("broken.prefab", "<prefab>");
    const UuidSearchResult result = findUuid({"broken.prefab", "lamp.prefab", "missing.prefab"}, {id(12), {}, 0, {}});
    EXPECT_EQ(result.found.size(), 1U);
    EXPECT_THAT(result.problems, ElementsAre(testing::StartsWith("broken.prefab: the file is not well formed: "),
                                             "missing.prefab: the file is missing"));
}

TEST_F(UuidSearchTest, anyNumberOfThreads_yieldsTheSameInTheSameOrder) {
    std::vector<std::string> paths;
    for (int i = 0; i < 300; ++i) {
        paths.push_back("p" + std::to_string(i) + ".prefab");
        write(paths.back(), PrefabText().object(id(i % 3 == 0 ? 5 : 6), "N" + std::to_string(i)));
    }
    const auto names = [&paths](std::size_t threads) {
        std::vector<std::string> result;
        std::size_t last = 0;
        const UuidSearch search{id(5), {}, threads, [&last](std::size_t count, const std::string& /*file*/) {
                                    EXPECT_EQ(count, last + 1);
                                    last = count;
                                }};
        for (const FoundUuid& found : findUuid(paths, search).found) {
            result.push_back(found.object);
        }
        EXPECT_EQ(last, paths.size());
        return result;
    };
    const std::vector<std::string> expected = names(1);
    EXPECT_EQ(expected.size(), 100U);
    EXPECT_EQ(names(2), expected);
    EXPECT_EQ(names(8), expected);
}

} // namespace
} // namespace Kiln::PrefabTool
