#include <gtest/gtest.h>
#include <tessel_foundation/internal_tech/pool_directory.h>

#include <array>
#include <cstddef>

namespace Kiln::Tessel {
namespace {

/// Buffers of ten bytes inside one array, so that their order by address is known.
class PoolDirectoryTest : public testing::Test {
protected:
    std::size_t addBlockAt(std::size_t position) { return directory.addBlock(&bytes[position * 20], 10); }

    std::array<char, 4000> bytes{};
    PoolDirectory directory;
};

TEST_F(PoolDirectoryTest, empty_knowsNoBlock) {
    EXPECT_EQ(directory.firstBlockWithRoom(), PoolDirectory::NO_BLOCK);
    EXPECT_EQ(directory.findBlock(&bytes[0]), PoolDirectory::NO_BLOCK);
}

TEST_F(PoolDirectoryTest, addBlock_numbersInOrderAndHasRoom) {
    EXPECT_EQ(addBlockAt(3), 0U);
    EXPECT_EQ(addBlockAt(1), 1U);
    EXPECT_EQ(directory.firstBlockWithRoom(), 0U);
}

TEST_F(PoolDirectoryTest, firstBlockWithRoom_isLowestNumberAcrossWords) {
    for (std::size_t block = 0; block < 150; ++block) {
        addBlockAt(block);
        directory.noteFull(block);
    }
    EXPECT_EQ(directory.firstBlockWithRoom(), PoolDirectory::NO_BLOCK);
    directory.noteRoom(149);
    EXPECT_EQ(directory.firstBlockWithRoom(), 149U);
    directory.noteRoom(64);
    EXPECT_EQ(directory.firstBlockWithRoom(), 64U);
    directory.noteRoom(63);
    EXPECT_EQ(directory.firstBlockWithRoom(), 63U);
    directory.noteFull(63);
    EXPECT_EQ(directory.firstBlockWithRoom(), 64U);
    directory.noteFull(64);
    EXPECT_EQ(directory.firstBlockWithRoom(), 149U);
    directory.noteFull(149);
    EXPECT_EQ(directory.firstBlockWithRoom(), PoolDirectory::NO_BLOCK);
    EXPECT_EQ(addBlockAt(150), 150U);
    EXPECT_EQ(directory.firstBlockWithRoom(), 150U);
}

TEST_F(PoolDirectoryTest, findBlock_findsByAddressInAnyOrderOfAddition) {
    addBlockAt(5);
    addBlockAt(1);
    addBlockAt(3);
    EXPECT_EQ(directory.findBlock(&bytes[100]), 0U);
    EXPECT_EQ(directory.findBlock(&bytes[109]), 0U);
    EXPECT_EQ(directory.findBlock(&bytes[20]), 1U);
    EXPECT_EQ(directory.findBlock(&bytes[65]), 2U);
}

TEST_F(PoolDirectoryTest, findBlock_betweenBeforeAndBehindBuffers_isNone) {
    addBlockAt(1);
    addBlockAt(3);
    EXPECT_EQ(directory.findBlock(&bytes[19]), PoolDirectory::NO_BLOCK);
    EXPECT_EQ(directory.findBlock(&bytes[30]), PoolDirectory::NO_BLOCK);
    EXPECT_EQ(directory.findBlock(&bytes[59]), PoolDirectory::NO_BLOCK);
    EXPECT_EQ(directory.findBlock(&bytes[70]), PoolDirectory::NO_BLOCK);
    EXPECT_EQ(directory.findBlock(nullptr), PoolDirectory::NO_BLOCK);
}

} // namespace
} // namespace Kiln::Tessel
