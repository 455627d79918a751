#include <kiln_prefab/reports/hash_text.h>

#include <charconv>
#include <system_error>

namespace Kiln::PrefabTool {

namespace {

constexpr std::size_t DIGITS_COUNT = 16;
constexpr int BASE = 16;

} // namespace

std::string hashText(std::uint64_t hash) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string text(DIGITS_COUNT, '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit) {
        *digit = DIGITS[hash & 0xfU];
        hash >>= 4U;
    }
    return text;
}

std::optional<std::uint64_t> hashFromText(std::string_view text) {
    std::uint64_t hash = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, hash, BASE);
    const bool isWhole = result.ec == std::errc() && result.ptr == end;
    return isWhole && text.size() == DIGITS_COUNT ? std::optional(hash) : std::nullopt;
}

} // namespace Kiln::PrefabTool
