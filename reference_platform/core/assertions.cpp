#include <core/assertions.h>
#include <core/log.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace Kiln {

namespace {

struct HandlerSlot {
    std::mutex mutex; // guards handler; no handler is called while it is held
    // Shared, so that a failure in progress keeps its handler while another thread replaces it. Null means the default.
    std::shared_ptr<const AssertionHandler> handler;
};

HandlerSlot& handlerSlot() {
    // Never destroyed: static objects of any library may assert in their destructors.
    static HandlerSlot* const slot = new HandlerSlot;
    return *slot;
}

void logFailure(const AssertionFailure& failure) {
    std::string text = "Assertion failed:";
    for (const std::string_view part : {failure.expression, failure.message}) {
        if (!part.empty()) {
            text.append(" ").append(part);
        }
    }
    if (!failure.file.empty()) {
        text.append(" (").append(failure.file);
        if (failure.line != 0) {
            text.append(":").append(std::to_string(failure.line));
        }
        text.append(")");
    }
    Log::instance().write({LogSeverity::CRITICAL, {}, failure.file, text, failure.line});
}

} // namespace

AssertionHandler setAssertionHandler(AssertionHandler handler) {
    std::shared_ptr<const AssertionHandler> replacement;
    if (handler) {
        replacement = std::make_shared<const AssertionHandler>(std::move(handler));
    }
    {
        HandlerSlot& slot = handlerSlot();
        const std::lock_guard lock(slot.mutex);
        slot.handler.swap(replacement);
    }
    return replacement ? *replacement : AssertionHandler();
}

void reportAssertionFailure(const AssertionFailure& failure) {
    std::shared_ptr<const AssertionHandler> handler;
    {
        HandlerSlot& slot = handlerSlot();
        const std::lock_guard lock(slot.mutex);
        handler = slot.handler;
    }
    if (handler) {
        (*handler)(failure);
    } else {
        logFailure(failure);
    }
}

} // namespace Kiln
