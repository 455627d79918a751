#include <tessel_foundation/pool_test_types.h>

#include <gtest/gtest.h>
#include <tessel_foundation/internal_tech/multiblock_pool.h>

#include <iomanip>
#include <sstream>
#include <string>

namespace Kiln::Tessel::PoolTests {
namespace {

struct Tile : BlockAllocable<Tile> {
    int value = 0;
};

static_assert(sizeof(Tile) == 16);

template <class Pool>
std::string dumpOf(const Pool& pool) {
    std::ostringstream stream;
    pool.dump(stream);
    return stream.str();
}

TEST(PoolDump, newBlock_isEmptyWithFreeChain) {
    const BlockPool<Tile> block(3);
    EXPECT_EQ(dumpOf(block), "Is block empty: true\n"
                             "First allocated element: NO\n"
                             "Last allocated element: NO\n"
                             "Next free element: 0\n"
                             "----------------------------------------------------------\n"
                             "Index | Allocation State | Next Element | Previous Element\n"
                             "----------------------------------------------------------\n"
                             "0| FREE             | 1| NO\n"
                             "1| FREE             | 2| 0\n"
                             "2| FREE             | NO| 1\n"
                             "----------------------------------------------------------\n");
}

TEST(PoolDump, usedBlock_showsStatesAndChains) {
    BlockPool<Tile> block(4);
    Tile* const first = block.allocate();
    Tile* const second = block.allocate();
    Tile* const third = block.allocate();
    block.activate(third);
    block.activate(first);
    EXPECT_EQ(dumpOf(block), "Is block empty: false\n"
                             "First allocated element: 2\n"
                             "Last allocated element: 0\n"
                             "Next free element: 3\n"
                             "----------------------------------------------------------\n"
                             "Index | Allocation State | Next Element | Previous Element\n"
                             "----------------------------------------------------------\n"
                             "0| ACTIVE           | NO| 2\n"
                             "1| INACTIVE         | 2| NO\n"
                             "2| ACTIVE           | 0| NO\n"
                             "3| FREE             | NO| NO\n"
                             "----------------------------------------------------------\n");
    block.deallocate(first);
    block.deallocate(second);
    block.deallocate(third);
}

TEST(PoolDump, fullBlock_hasNoNextFree) {
    BlockPool<Tile> block(1);
    Tile* const tile = block.allocate();
    EXPECT_EQ(dumpOf(block), "Is block empty: false\n"
                             "First allocated element: NO\n"
                             "Last allocated element: NO\n"
                             "Next free element: NO\n"
                             "----------------------------------------------------------\n"
                             "Index | Allocation State | Next Element | Previous Element\n"
                             "----------------------------------------------------------\n"
                             "0| INACTIVE         | NO| NO\n"
                             "----------------------------------------------------------\n");
    block.deallocate(tile);
}

TEST(PoolDump, newPool_hasTotalsOnly) {
    const MultiBlockPool<Tile> pool(8);
    EXPECT_EQ(dumpOf(pool), "Block size: 8 objects, 16 bytes each. 128 bytes total\n"
                            "Amount of blocks: 0\n"
                            "Direct Memory consumption: 0 bytes\n"
                            "Is pool empty: yes\n");
}

TEST(PoolDump, usedPool_showsEveryBlock) {
    MultiBlockPool<Tile> pool(1);
    Tile* const first = pool.createData();
    Tile* const second = pool.createData();
    pool.block(1).activate(second);
    first->block()->deallocate(first);
    EXPECT_EQ(dumpOf(pool), "Block size: 1 objects, 16 bytes each. 16 bytes total\n"
                            "Amount of blocks: 2\n"
                            "Direct Memory consumption: 32 bytes\n"
                            "Is pool empty: no\n"
                            "###############################\n"
                            "Block # 0\n"
                            "###############################\n"
                            "Is block empty: true\n"
                            "First allocated element: NO\n"
                            "Last allocated element: NO\n"
                            "Next free element: 0\n"
                            "----------------------------------------------------------\n"
                            "Index | Allocation State | Next Element | Previous Element\n"
                            "----------------------------------------------------------\n"
                            "0| FREE             | NO| NO\n"
                            "----------------------------------------------------------\n"
                            "###############################\n"
                            "Block # 1\n"
                            "###############################\n"
                            "Is block empty: false\n"
                            "First allocated element: 0\n"
                            "Last allocated element: 0\n"
                            "Next free element: NO\n"
                            "----------------------------------------------------------\n"
                            "Index | Allocation State | Next Element | Previous Element\n"
                            "----------------------------------------------------------\n"
                            "0| ACTIVE           | NO| NO\n"
                            "----------------------------------------------------------\n");
    pool.freeData(second);
}

TEST(PoolDump, streamFormatting_hasNoInfluence) {
    const MultiBlockPool<Tile> pool(16);
    std::ostringstream stream;
    stream << std::hex << std::setw(80) << std::setfill('*') << std::showbase;
    pool.dump(stream);
    EXPECT_EQ(stream.str(), dumpOf(pool));
}

} // namespace
} // namespace Kiln::Tessel::PoolTests
