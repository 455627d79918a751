#include <kiln_prefab/check/shard.h>
#include <kiln_prefab/check/stable_hash.h>

#include "expect_error.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Kiln::PrefabToolTests {

namespace {

using PrefabTool::readShard;
using PrefabTool::Shard;

TEST(Shard, hash_isThatOfThePublishedTestVectors) {
    EXPECT_EQ(PrefabTool::stableHash(""), 0xcbf29ce484222325U);
    EXPECT_EQ(PrefabTool::stableHash("a"), 0xaf63dc4c8601ec8cU);
    EXPECT_EQ(PrefabTool::stableHash("foobar"), 0x85944171f73967e8U);
}

TEST(Shard, everyFile_isInExactlyOneShard) {
    for (std::uint64_t count = 1; count <= 7; ++count) {
        for (int file = 0; file < 200; ++file) {
            const std::string path = "folder/file" + std::to_string(file) + ".prefab";
            std::size_t shardsCount = 0;
            for (std::uint64_t index = 1; index <= count; ++index) {
                shardsCount += Shard{index, count}.contains(path) ? 1U : 0U;
            }
            EXPECT_EQ(shardsCount, 1U) << path;
        }
    }
}

TEST(Shard, files_areSpreadEvenly) {
    constexpr std::size_t FILES_COUNT = 1000;
    constexpr std::uint64_t COUNT = 4;
    for (std::uint64_t index = 1; index <= COUNT; ++index) {
        std::size_t filesCount = 0;
        for (std::size_t file = 0; file < FILES_COUNT; ++file) {
            filesCount += Shard{index, COUNT}.contains(std::to_string(file) + ".prefab") ? 1U : 0U;
        }
        EXPECT_GT(filesCount, 200U);
        EXPECT_LT(filesCount, 300U);
    }
}

TEST(Shard, text_isIndexAndCount) {
    const Shard shard = readShard("2/3");
    EXPECT_EQ(shard.index, 2U);
    EXPECT_EQ(shard.count, 3U);
}

TEST(Shard, otherText_isRefused) {
    for (const std::string text : {"", "1", "0/3", "4/3", "1/0", "1/", "/2", "a/b", "1/2/3", "-1/2", "1/1000000"}) {
        EXPECT_EQ(errorOf([&text] { (void)readShard(text); }),
                  "'" + text + "' is not a shard, such as 1/4 (the first of four)");
    }
}

} // namespace

} // namespace Kiln::PrefabToolTests
