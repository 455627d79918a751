#pragma once

#include <kiln_prefab/log_collector.h>

#include <string_view>

namespace Kiln::PrefabTool {

/// The walks that cache a prefab's nested prefabs log these for every prefab that is loaded by path, because its root
/// names the prefab itself. The first is also logged by the creation of objects, on the main thread, where it reports
/// a problem.
inline constexpr std::string_view DEPTH_MESSAGE =
    "Nested prefabs depth has exceeded limit. It can be result of recursive references.";
inline constexpr std::string_view BACKGROUND_DEPTH_MESSAGE =
    "Nested prefabs depth has exceeded limit. It can be result of recursive references. (backgroundLoad)";

[[nodiscard]] inline bool isDepthMessage(const LogRecord::Message& message) {
    return message.text == DEPTH_MESSAGE || message.text == BACKGROUND_DEPTH_MESSAGE;
}

/// Whether only the walks have logged the message, and it is about the depth of nesting.
[[nodiscard]] inline bool isDepthMessageOfWalk(const LogRecord::Message& message) {
    return isDepthMessage(message) && message.mainThreadCount == 0;
}

} // namespace Kiln::PrefabTool
