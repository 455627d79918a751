#include <core/small_tagged_vector.h>
#include <support/failing_allocation.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kiln::Tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::allocatedBlocks;
using TestSupport::FailingAllocation;

/// Counts constructor, assignment and destructor calls, and records the values of destroyed elements.
class Element {
public:
    explicit Element(int value) : m_value(value) {}
    Element(const Element& other) : m_value(other.m_value) { ++s_copies; }
    Element(Element&& other) noexcept : m_value(std::exchange(other.m_value, MOVED_FROM)) { ++s_moveConstructions; }
    Element& operator=(const Element& other) = delete;
    Element& operator=(Element&& other) noexcept {
        m_value = std::exchange(other.m_value, MOVED_FROM);
        ++s_moveAssignments;
        return *this;
    }
    ~Element() {
        ++s_destructions;
        if (m_value != MOVED_FROM) {
            s_destroyedValues.push_back(m_value);
        }
    }

    friend bool operator==(const Element& element, int value) { return element.m_value == value; }

    static constexpr int MOVED_FROM = -1;

    static inline int s_copies = 0;
    static inline int s_moveConstructions = 0;
    static inline int s_moveAssignments = 0;
    static inline int s_destructions = 0;
    static inline std::vector<int> s_destroyedValues;

private:
    int m_value;
};

class SmallTaggedVectorTest : public testing::Test {
protected:
    static constexpr std::size_t INLINE = 3;
    using Vector = SmallTaggedVector<Element, std::uint16_t, INLINE>;

    SmallTaggedVectorTest() {
        Element::s_destroyedValues.reserve(64); // Recording must not allocate while a test counts blocks.
        blocksBefore = allocatedBlocks();
    }
    ~SmallTaggedVectorTest() override { resetCounts(); }

    static void resetCounts() {
        Element::s_copies = 0;
        Element::s_moveConstructions = 0;
        Element::s_moveAssignments = 0;
        Element::s_destructions = 0;
        Element::s_destroyedValues.clear();
    }

    /// Adds elements of the values 1 to `count`, with a hundred times the value as tag, and resets the counts.
    static void fill(Vector& vector, int count) {
        for (int value = 1; value <= count; ++value) {
            vector.add(Element(value), static_cast<std::uint16_t>(100 * value));
        }
        resetCounts();
    }

    std::ptrdiff_t blocksBefore = 0;
};

static_assert(sizeof(SmallTaggedVector<void*, std::uint16_t, 3>) == 32);
static_assert(!std::is_copy_constructible_v<SmallTaggedVector<int, char, 1>>);
static_assert(!std::is_copy_assignable_v<SmallTaggedVector<int, char, 1>>);

/// Its second member uses the padding of the first one.
struct TightRecord {
    [[no_unique_address]] SmallTaggedVector<void*, std::uint16_t, 3> elements;
    std::uint8_t flags = 0;
};
static_assert(sizeof(TightRecord) == 32);

TEST_F(SmallTaggedVectorTest, defaultConstructed_isEmpty) {
    const Vector vector;
    EXPECT_TRUE(vector.empty());
    EXPECT_EQ(vector.size(), 0U);
    EXPECT_THAT(vector.elements(), IsEmpty());
    EXPECT_THAT(vector.tags(), IsEmpty());
}

TEST_F(SmallTaggedVectorTest, destroyed_empty_destroysNoElement) {
    { const Vector vector; }
    EXPECT_EQ(Element::s_destructions, 0);
}

TEST_F(SmallTaggedVectorTest, add_keepsTheOrder) {
    Vector vector;
    fill(vector, 2);
    EXPECT_FALSE(vector.empty());
    EXPECT_THAT(vector.elements(), ElementsAre(1, 2));
    EXPECT_THAT(vector.tags(), ElementsAre(100, 200));
    EXPECT_EQ(vector[1], 2);
    EXPECT_EQ(vector.tag(1), 200);
}

TEST_F(SmallTaggedVectorTest, add_movesTheArgumentOnceAndCopiesNothing) {
    Vector vector;
    Element element(7);
    vector.add(std::move(element), 0);
    EXPECT_EQ(element, Element::MOVED_FROM); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(Element::s_moveConstructions, 1);
    EXPECT_EQ(Element::s_moveAssignments, 0);
    EXPECT_EQ(Element::s_copies, 0);
    EXPECT_EQ(Element::s_destructions, 0);
}

TEST_F(SmallTaggedVectorTest, add_asManyAsFit_allocatesNothing) {
    Vector vector;
    fill(vector, INLINE);
    EXPECT_EQ(vector.size(), INLINE);
    EXPECT_EQ(allocatedBlocks(), blocksBefore);
}

TEST_F(SmallTaggedVectorTest, add_oneMoreThanFits_movesAllToOneBlock) {
    Vector vector;
    fill(vector, INLINE);
    vector.add(Element(4), 400);
    EXPECT_THAT(vector.elements(), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(vector.tags(), ElementsAre(100, 200, 300, 400));
    EXPECT_EQ(allocatedBlocks(), blocksBefore + 1);
    // The three elements and the argument were moved once each, and the four moved-from objects were destroyed.
    EXPECT_EQ(Element::s_moveConstructions, 4);
    EXPECT_EQ(Element::s_destructions, 4);
    EXPECT_EQ(Element::s_copies, 0);
    EXPECT_THAT(Element::s_destroyedValues, IsEmpty());
}

TEST_F(SmallTaggedVectorTest, add_whileTheBlockHasRoom_movesNoOtherElement) {
    Vector vector;
    fill(vector, INLINE + 1);
    const Element* const first = &vector[0];
    vector.add(Element(5), 500);
    vector.add(Element(6), 600);
    EXPECT_TRUE(&vector[0] == first);
    EXPECT_EQ(Element::s_moveConstructions, 2);
}

TEST_F(SmallTaggedVectorTest, add_toAFullBlock_replacesItByALargerOne) {
    Vector vector;
    fill(vector, 2 * INLINE);
    vector.add(Element(7), 700);
    EXPECT_THAT(vector.elements(), ElementsAre(1, 2, 3, 4, 5, 6, 7));
    EXPECT_THAT(vector.tags(), ElementsAre(100, 200, 300, 400, 500, 600, 700));
    EXPECT_EQ(allocatedBlocks(), blocksBefore + 1);
    EXPECT_EQ(Element::s_moveConstructions, 7);
    EXPECT_EQ(Element::s_copies, 0);
    EXPECT_THAT(Element::s_destroyedValues, IsEmpty());
}

TEST_F(SmallTaggedVectorTest, add_manyThousand_keepsThemAll) {
    SmallTaggedVector<int, std::uint8_t, 1> vector;
    for (int value = 0; value < 5000; ++value) {
        vector.add(int{value}, static_cast<std::uint8_t>(value % 251));
    }
    ASSERT_EQ(vector.size(), 5000U);
    for (std::size_t index = 0; index < vector.size(); ++index) {
        ASSERT_EQ(vector[index], static_cast<int>(index));
        ASSERT_EQ(vector.tag(index), index % 251);
    }
}

TEST_F(SmallTaggedVectorTest, destroyed_inline_destroysTheLastFirst) {
    {
        Vector vector;
        fill(vector, INLINE);
    }
    EXPECT_THAT(Element::s_destroyedValues, ElementsAre(3, 2, 1));
    EXPECT_EQ(Element::s_destructions, 3);
}

TEST_F(SmallTaggedVectorTest, destroyed_onHeap_destroysTheLastFirstAndFreesTheBlock) {
    {
        Vector vector;
        fill(vector, 5);
    }
    EXPECT_THAT(Element::s_destroyedValues, ElementsAre(5, 4, 3, 2, 1));
    EXPECT_EQ(Element::s_destructions, 5);
    EXPECT_EQ(allocatedBlocks(), blocksBefore);
}

TEST_F(SmallTaggedVectorTest, remove_fromTheMiddle_closesTheGap) {
    Vector vector;
    fill(vector, INLINE);
    vector.remove(1);
    EXPECT_THAT(vector.elements(), ElementsAre(1, 3));
    EXPECT_THAT(vector.tags(), ElementsAre(100, 300));
    EXPECT_EQ(Element::s_moveAssignments, 1);
    EXPECT_EQ(Element::s_moveConstructions, 0);
    EXPECT_EQ(Element::s_destructions, 1);
}

TEST_F(SmallTaggedVectorTest, remove_theLast_movesNothing) {
    Vector vector;
    fill(vector, INLINE);
    vector.remove(2);
    EXPECT_THAT(vector.elements(), ElementsAre(1, 2));
    EXPECT_THAT(Element::s_destroyedValues, ElementsAre(3));
    EXPECT_EQ(Element::s_moveAssignments, 0);
}

TEST_F(SmallTaggedVectorTest, remove_theOnly_leavesItEmpty) {
    Vector vector;
    fill(vector, 1);
    vector.remove(0);
    EXPECT_TRUE(vector.empty());
    EXPECT_THAT(vector.elements(), IsEmpty());
}

TEST_F(SmallTaggedVectorTest, remove_stillTooManyForTheObject_staysInTheBlock) {
    Vector vector;
    fill(vector, 5);
    vector.remove(0);
    EXPECT_THAT(vector.elements(), ElementsAre(2, 3, 4, 5));
    EXPECT_THAT(vector.tags(), ElementsAre(200, 300, 400, 500));
    EXPECT_EQ(allocatedBlocks(), blocksBefore + 1);
}

TEST_F(SmallTaggedVectorTest, remove_theRestFits_movesItIntoTheObjectAndFreesTheBlock) {
    Vector vector;
    fill(vector, INLINE + 1);
    vector.remove(2);
    EXPECT_THAT(vector.elements(), ElementsAre(1, 2, 4));
    EXPECT_THAT(vector.tags(), ElementsAre(100, 200, 400));
    EXPECT_EQ(allocatedBlocks(), blocksBefore);
    EXPECT_EQ(Element::s_moveConstructions, 3);
    EXPECT_EQ(Element::s_copies, 0);
}

TEST_F(SmallTaggedVectorTest, add_afterReturningToTheObject_growsAgain) {
    Vector vector;
    fill(vector, INLINE + 1);
    vector.remove(3);
    vector.remove(0);
    vector.add(Element(8), 800);
    EXPECT_EQ(allocatedBlocks(), blocksBefore);
    vector.add(Element(9), 900);
    EXPECT_THAT(vector.elements(), ElementsAre(2, 3, 8, 9));
    EXPECT_THAT(vector.tags(), ElementsAre(200, 300, 800, 900));
    EXPECT_EQ(allocatedBlocks(), blocksBefore + 1);
}

class FailedGrowth : public SmallTaggedVectorTest, public testing::WithParamInterface<int> {};

TEST_P(FailedGrowth, leavesVectorAndArgumentUnchanged) {
    Vector vector;
    fill(vector, GetParam());
    const Element* const first = &vector[0];
    const std::vector<std::uint16_t> tags(vector.tags().begin(), vector.tags().end());
    Element element(77);
    bool hasThrown = false;
    {
        const FailingAllocation failing;
        try {
            vector.add(std::move(element), 7700);
        } catch (const std::bad_alloc&) {
            hasThrown = true;
        }
    }
    EXPECT_TRUE(hasThrown);
    EXPECT_EQ(element, 77); // NOLINT(bugprone-use-after-move)
    EXPECT_TRUE(&vector[0] == first);
    ASSERT_EQ(vector.size(), tags.size());
    for (std::size_t index = 0; index < tags.size(); ++index) {
        EXPECT_EQ(vector[index], static_cast<int>(index) + 1);
        EXPECT_EQ(vector.tag(index), tags[index]);
    }
    EXPECT_EQ(Element::s_moveConstructions, 0);
    EXPECT_EQ(Element::s_destructions, 0);

    vector.add(std::move(element), 7700);
    EXPECT_EQ(vector[tags.size()], 77);
}

INSTANTIATE_TEST_SUITE_P(InlineAndInABlock, FailedGrowth, testing::Values(3, 6));

TEST_F(SmallTaggedVectorTest, elementsThatOwn_areReleasedOnce) {
    const auto shared = std::make_shared<int>(1);
    {
        SmallTaggedVector<std::shared_ptr<int>, char, 2> vector;
        for (int i = 0; i < 4; ++i) {
            vector.add(std::shared_ptr<int>(shared), 'a');
        }
        EXPECT_EQ(shared.use_count(), 5);
        vector.remove(1);
        EXPECT_EQ(shared.use_count(), 4);
        vector.remove(0);
        EXPECT_EQ(shared.use_count(), 3);
    }
    EXPECT_EQ(shared.use_count(), 1);
}

} // namespace
} // namespace Kiln::Tests
