#pragma once

#include <support/assertion_capture.h>
#include <tessel_foundation/component.h>
#include <tessel_foundation/internal_tech/multiblock_pool.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace Kiln::Tessel::PoolTests {

inline const std::string LEAK_TEXT =
    "Memory leak detected in the pool, please, deallocate objects before pool destruction!";

/// A failure that the pools report, as AssertionCapture records it.
inline TestSupport::AssertionCapture::Failure poolFailure(std::string expression, std::string message = {}) {
    return {std::move(expression), std::move(message), "shared_libs/tessel_foundation/internal_tech/multiblock_pool",
            0};
}

inline TestSupport::AssertionCapture::Failure notInBuffer() {
    return poolFailure("isBufferPtr(object)");
}

inline TestSupport::AssertionCapture::Failure noAllocator() {
    return poolFailure("allocator != nullptr");
}

inline TestSupport::AssertionCapture::Failure notActive() {
    return poolFailure("m_elementStates[idx].allocationState == ElemState::AllocationState::ACTIVE");
}

inline TestSupport::AssertionCapture::Failure freedTwice() {
    return poolFailure("m_elementStates[idx].allocationState != ElemState::AllocationState::FREE",
                       "The object is freed already");
}

inline TestSupport::AssertionCapture::Failure blockNotEmpty() {
    return poolFailure("empty()", LEAK_TEXT);
}

/// Counts its living objects; its constructor can throw.
class Item : public BlockAllocable<Item> {
public:
    explicit Item(int itemValue, bool fails = false) : value(itemValue), text(100, 'x') {
        if (fails) {
            throw std::runtime_error("item refused");
        }
        ++livingCount;
    }
    ~Item() { --livingCount; }

    int value;
    std::string text; ///< Allocates memory, so that an object that is not destroyed is a leak.

    static inline int livingCount = 0;
};

/// Keeps the listener's calls as "+value@index" and "-value@index".
template <class T>
class RecordingListener : public BlockPoolListener<T> {
public:
    void onActivated(T& element, std::size_t index) override { record('+', element, index); }
    void onDeactivating(T& element, std::size_t index) override { record('-', element, index); }

    std::vector<std::string> calls;

private:
    void record(char sign, const T& element, std::size_t index) {
        calls.push_back(sign + std::to_string(element.value) + "@" + std::to_string(index));
    }
};

/// The values of the ACTIVE elements of a block or pool, in order.
template <class Pool>
std::vector<int> activeValues(Pool& pool) {
    std::vector<int> values;
    pool.forEachActive([&values](auto& element) { values.push_back(element.value); });
    return values;
}

} // namespace Kiln::Tessel::PoolTests
