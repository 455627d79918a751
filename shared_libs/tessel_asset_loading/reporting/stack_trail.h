#pragma once

#include <core/stack_tracker.h>

#include <algorithm>
#include <array>
#include <cstddef>

/// The names under which the module's operations enter the stack tracker: the qualified name of the operation and the
/// source path of its part of the module. The trail keeps texts by pointer, so the names are concatenated at compile
/// time.
namespace Kiln::Tessel::detail {

/// A string literal as a template argument.
template <std::size_t SIZE>
struct Literal {
    consteval Literal(const char (&literal)[SIZE]) { std::copy_n(literal, SIZE, text); } // NOLINT(*-explicit-*)

    char text[SIZE]{};
};

/// "<class>::<operation>", with a null character at its end.
template <Literal CLASS, Literal OPERATION>
inline constexpr auto QUALIFIED_NAME = [] {
    std::array<char, sizeof(CLASS.text) + sizeof(OPERATION.text) + 1> name{};
    char* end = std::copy_n(CLASS.text, sizeof(CLASS.text) - 1, name.data());
    end = std::copy_n("::", 2, end);
    std::copy_n(OPERATION.text, sizeof(OPERATION.text), end);
    return name;
}();

/// Brackets the rest of a scope as an operation of GameObjectPrefab. The caller passes the line, because the recorded
/// name has a fixed line.
template <Literal OPERATION>
class GameObjectPrefabScope : StackTrackerScope {
public:
    explicit GameObjectPrefabScope(unsigned line)
        : StackTrackerScope(QUALIFIED_NAME<"Kiln::Tessel::GameObjectPrefab", OPERATION>.data(),
                            "shared_libs\\tessel_asset_loading\\game_object_prefab", line) {}
};

/// Brackets the rest of a scope as an operation of PrefabService.
template <Literal OPERATION>
class PrefabServiceScope : StackTrackerScope {
public:
    explicit PrefabServiceScope(unsigned line = __builtin_LINE())
        : StackTrackerScope(QUALIFIED_NAME<"Kiln::Tessel::PrefabService", OPERATION>.data(),
                            "shared_libs\\tessel_asset_loading\\prefab_component", line) {}
};

} // namespace Kiln::Tessel::detail
