#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The difference between two texts of one XML document, such as comments and attributes, in a small binary form: for
/// each change the number of bytes that stay, the number of bytes that are removed, the number of bytes that are
/// inserted (7 bits per byte, lowest first), and the inserted bytes. The rest of the text stays. No bytes mean that the
/// texts are equal.
namespace Kiln::PrefabPacking {

/// The changes that make `after` of `before`. They are small if both have the same elements in the same order.
[[nodiscard]] std::string makeTextPatch(std::string_view before, std::string_view after);

/// Makes the changes. None if the bytes are no patch for the text, or if the result would have more than `maxSize`
/// bytes.
[[nodiscard]] std::optional<std::string> applyTextPatch(std::string_view before, std::string_view patch,
                                                        std::size_t maxSize);

} // namespace Kiln::PrefabPacking
