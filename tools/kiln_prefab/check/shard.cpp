#include "shard.h"

#include "command_error.h"
#include "stable_hash.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace Kiln::PrefabTool {

namespace {

constexpr std::uint64_t MAX_COUNT = 100'000;

[[nodiscard]] bool readNumber(std::string_view text, std::uint64_t& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

} // namespace

bool Shard::contains(const std::string& resourcePath) const {
    const std::uint64_t hash = stableHash(resourcePath);
    // The lower bits alone depend on the lower bits of the characters only.
    return (hash ^ (hash >> 32U)) % count == index - 1;
}

Shard readShard(const std::string& text) {
    const std::string_view view = text;
    const std::size_t separator = view.find('/');
    Shard shard;
    if (separator == std::string_view::npos || !readNumber(view.substr(0, separator), shard.index) ||
        !readNumber(view.substr(separator + 1), shard.count) || shard.index == 0 || shard.index > shard.count ||
        shard.count > MAX_COUNT) {
        throw CommandError("'" + text + "' is not a shard, such as 1/4 (the first of four)");
    }
    return shard;
}

} // namespace Kiln::PrefabTool
