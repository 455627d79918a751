#include <gtest/gtest.h>
#include <tessel_foundation/internal_tech/elem_states.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace Kiln::Tessel {

namespace {

using AllocationState = ElemState::AllocationState;

void expectState(const ElemState& state, std::int64_t next, std::int64_t previous, AllocationState allocationState) {
    EXPECT_EQ(state.nextElement, next);
    EXPECT_EQ(state.previousElement, previous);
    EXPECT_EQ(state.allocationState, allocationState);
}

/// The number of elements decides how many bits an index has.
class ElemStatesOfSize : public testing::TestWithParam<std::size_t> {
protected:
    ElemStates states{GetParam()};
    std::int64_t last = static_cast<std::int64_t>(GetParam()) - 1;
};

TEST_P(ElemStatesOfSize, new_isOneFreeChain) {
    ASSERT_EQ(states.size(), GetParam());
    for (std::int64_t index = 0; index <= last; ++index) {
        ASSERT_EQ(states[index].nextElement, index == last ? -1 : index + 1);
        ASSERT_EQ(states[index].previousElement, index - 1);
        ASSERT_EQ(states[index].allocationState, AllocationState::FREE);
    }
}

TEST_P(ElemStatesOfSize, set_keepsEveryIndexAndState) {
    for (const std::int64_t next : {std::int64_t{-1}, std::int64_t{0}, last / 2, last}) {
        for (const std::int64_t previous : {std::int64_t{-1}, std::int64_t{0}, last / 2, last}) {
            for (const AllocationState state :
                 {AllocationState::ACTIVE, AllocationState::INACTIVE, AllocationState::FREE}) {
                states.set(last, {.nextElement = next, .previousElement = previous, .allocationState = state});
                expectState(states[last], next, previous, state);
            }
        }
    }
}

TEST_P(ElemStatesOfSize, nextAndIs_readOneFieldOfTheRecord) {
    for (const AllocationState state : {AllocationState::ACTIVE, AllocationState::INACTIVE, AllocationState::FREE}) {
        for (const std::int64_t next : {std::int64_t{-1}, last}) {
            states.set(last, {.nextElement = next, .previousElement = last, .allocationState = state});
            EXPECT_EQ(states.next(last), next);
            for (const AllocationState other :
                 {AllocationState::ACTIVE, AllocationState::INACTIVE, AllocationState::FREE}) {
                EXPECT_EQ(states.is(last, other), state == other);
            }
        }
    }
}

TEST_P(ElemStatesOfSize, setNext_changesNothingElse) {
    states.set(last, {.nextElement = 0, .previousElement = last, .allocationState = AllocationState::ACTIVE});
    states.setNext(last, last);
    expectState(states[last], last, last, AllocationState::ACTIVE);
    states.setNext(last, -1);
    expectState(states[last], -1, last, AllocationState::ACTIVE);
}

TEST_P(ElemStatesOfSize, setPrevious_changesNothingElse) {
    states.set(last, {.nextElement = last, .previousElement = 0, .allocationState = AllocationState::INACTIVE});
    states.setPrevious(last, last);
    expectState(states[last], last, last, AllocationState::INACTIVE);
    states.setPrevious(last, -1);
    expectState(states[last], last, -1, AllocationState::INACTIVE);
}

TEST_P(ElemStatesOfSize, setAllocationState_changesNothingElse) {
    states.set(last, {.nextElement = last, .previousElement = -1, .allocationState = AllocationState::FREE});
    states.setAllocationState(last, AllocationState::ACTIVE);
    expectState(states[last], last, -1, AllocationState::ACTIVE);
}

INSTANTIATE_TEST_SUITE_P(Sizes, ElemStatesOfSize,
                         testing::Values(1, 2, 256, ElemStates::MAX_NARROW, ElemStates::MAX_NARROW + 1, 100'000));

TEST(ElemStatesLimits, aRecordTakesFourOrEightBytes) {
    EXPECT_EQ(sizeof(PackedElemState<std::uint32_t>), 4U);
    EXPECT_EQ(sizeof(PackedElemState<std::uint64_t>), 8U);
    EXPECT_EQ(ElemStates::MAX_NARROW, 16'384U);
    EXPECT_EQ(ElemStates::MAX_SIZE, std::size_t{1} << 30U);
}

TEST(ElemStatesLimits, tooManyElements_throws) {
    EXPECT_THROW(ElemStates(ElemStates::MAX_SIZE + 1), std::length_error);
}

} // namespace

} // namespace Kiln::Tessel
