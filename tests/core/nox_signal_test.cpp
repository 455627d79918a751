#include <core/nox_signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace nox::Tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(NoxSignal, emit_callsTheSlotsInOrderOfConnection) {
    Signal<> signal;
    std::vector<std::string> calls;
    signal.connect([&] { calls.emplace_back("first"); });
    signal.connect([&] { calls.emplace_back("second"); });

    signal.emit();

    EXPECT_THAT(calls, ElementsAre("first", "second"));
}

TEST(NoxSignal, emit_passesTheArgumentsToEverySlot) {
    Signal<int, std::string> signal;
    std::vector<std::string> calls;
    for (int slot = 0; slot < 2; ++slot) {
        signal.connect([&](int number, std::string text) { calls.push_back(text + std::to_string(number)); });
    }

    signal.emit(7, "seven");

    EXPECT_THAT(calls, ElementsAre("seven7", "seven7"));
}

TEST(NoxSignal, emitWithAReference_letsSlotsChangeTheArgument) {
    Signal<int&> signal;
    signal.connect([](int& value) { value += 1; });
    signal.connect([](int& value) { value *= 10; });
    int value = 1;

    signal.emit(value);

    EXPECT_EQ(value, 20);
}

TEST(NoxSignal, emitWithoutSlots_doesNothing) {
    const Signal<int> signal;

    signal.emit(1);

    EXPECT_TRUE(signal.isEmpty());
}

TEST(NoxSignal, disconnect_removesThatSlotOnly) {
    Signal<> signal;
    std::vector<std::string> calls;
    const std::size_t first = signal.connect([&] { calls.emplace_back("first"); });
    signal.connect([&] { calls.emplace_back("second"); });

    signal.disconnect(first);
    signal.emit();

    EXPECT_THAT(calls, ElementsAre("second"));
    EXPECT_FALSE(signal.isEmpty());
}

TEST(NoxSignal, disconnectOfAnUnknownId_changesNothing) {
    Signal<> signal;
    int calls = 0;
    const std::size_t id = signal.connect([&] { ++calls; });

    signal.disconnect(id + 1);
    signal.emit();

    EXPECT_EQ(calls, 1);
}

TEST(NoxSignal, idOfADisconnectedSlot_isNotReused) {
    Signal<> signal;
    const std::size_t first = signal.connect([] {});
    signal.disconnect(first);

    EXPECT_NE(signal.connect([] {}), first);
}

TEST(NoxSignal, slotConnectedDuringEmit_isFirstCalledByTheNextEmit) {
    Signal<> signal;
    int lateCalls = 0;
    std::size_t connections = 0;
    signal.connect([&] {
        if (connections++ == 0) {
            signal.connect([&] { ++lateCalls; });
        }
    });

    signal.emit();
    EXPECT_EQ(lateCalls, 0);
    signal.emit();
    EXPECT_EQ(lateCalls, 1);
}

TEST(NoxSignal, slotDisconnectedDuringEmit_isNotCalledAnyMore) {
    Signal<> signal;
    std::vector<std::string> calls;
    std::size_t second = 0;
    signal.connect([&] { signal.disconnect(second); });
    second = signal.connect([&] { calls.emplace_back("second"); });

    signal.emit();

    EXPECT_THAT(calls, IsEmpty());
}

TEST(NoxSignal, slotThatDisconnectsItself_finishesItsCall) {
    Signal<> signal;
    std::size_t id = 0;
    const auto owned = std::make_shared<int>(5);
    std::vector<int> calls;
    id = signal.connect([&, owned] {
        signal.disconnect(id);
        calls.push_back(*owned); // lives as long as the slot does
    });

    signal.emit();
    signal.emit();

    EXPECT_THAT(calls, ElementsAre(5));
    EXPECT_TRUE(signal.isEmpty());
    EXPECT_EQ(owned.use_count(), 1);
}

TEST(NoxSignal, nestedEmit_callsEverySlotAgain) {
    Signal<int> signal;
    std::vector<int> calls;
    signal.connect([&](int depth) {
        calls.push_back(depth);
        if (depth < 2) {
            signal.emit(depth + 1);
        }
    });

    signal.emit(0);

    EXPECT_THAT(calls, ElementsAre(0, 1, 2));
}

} // namespace
} // namespace nox::Tests
