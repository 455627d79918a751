#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tessel_foundation/internal_tech/deferred_deactivations.h>

#include <cstddef>
#include <vector>

namespace Kiln::Tessel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DeferredDeactivationsTest : public testing::Test {
protected:
    DeferredDeactivationsTest() { deferred.prepare(8); }

    std::vector<std::size_t> applied() {
        std::vector<std::size_t> elements;
        deferred.applyAll([&elements](std::size_t element) { elements.push_back(element); });
        return elements;
    }

    DeferredDeactivations deferred;
};

TEST(DeferredDeactivations, unprepared_isEmptyAndDropsNothing) {
    DeferredDeactivations deferred;
    deferred.drop(3);
    EXPECT_TRUE(deferred.empty());
}

TEST_F(DeferredDeactivationsTest, add_keepsOrderOfRequests) {
    deferred.add(5);
    deferred.add(0);
    deferred.add(7);
    EXPECT_THAT(applied(), ElementsAre(5, 0, 7));
    EXPECT_TRUE(deferred.empty());
}

TEST_F(DeferredDeactivationsTest, add_pendingElement_keepsItsPlace) {
    deferred.add(1);
    deferred.add(2);
    deferred.add(1);
    EXPECT_THAT(applied(), ElementsAre(1, 2));
}

TEST_F(DeferredDeactivationsTest, drop_firstMiddleAndLast_leavesTheOthers) {
    for (std::size_t element = 0; element < 5; ++element) {
        deferred.add(element);
    }
    deferred.drop(0);
    deferred.drop(2);
    deferred.drop(4);
    deferred.add(6);
    EXPECT_THAT(applied(), ElementsAre(1, 3, 6));
}

TEST_F(DeferredDeactivationsTest, drop_only_leavesNone) {
    deferred.add(3);
    deferred.drop(3);
    deferred.drop(3);
    EXPECT_TRUE(deferred.empty());
    EXPECT_THAT(applied(), IsEmpty());
}

TEST_F(DeferredDeactivationsTest, applyAll_functionDropsAndAdds_isFollowed) {
    deferred.add(0);
    deferred.add(1);
    deferred.add(2);
    std::vector<std::size_t> elements;
    deferred.applyAll([&](std::size_t element) {
        elements.push_back(element);
        if (element == 0) {
            deferred.drop(1);
            deferred.add(7);
        }
    });
    EXPECT_THAT(elements, ElementsAre(0, 2, 7));
    EXPECT_TRUE(deferred.empty());
}

TEST_F(DeferredDeactivationsTest, usedAgain_startsAfresh) {
    deferred.add(4);
    applied();
    deferred.prepare(8);
    deferred.add(4);
    deferred.add(3);
    EXPECT_THAT(applied(), ElementsAre(4, 3));
}

} // namespace
} // namespace Kiln::Tessel
