#include <prefab_inspection/findings/finding_rules.h>

#include "rules_of_files.h"
#include "rules_of_nesting.h"
#include "rules_of_objects.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

constexpr std::string_view PREFIX = "KP";
constexpr std::size_t DIGITS_COUNT = 4;

template <std::size_t... SIZES>
[[nodiscard]] constexpr auto joined(const std::array<FindingRule, SIZES>&... groups) {
    std::array<FindingRule, (SIZES + ...)> rules{};
    auto* end = rules.begin();
    ((end = std::copy(groups.begin(), groups.end(), end)), ...);
    return rules;
}

constexpr auto RULES = joined(Rules::FILES, Rules::DOCUMENTS, Rules::COMPONENTS, Rules::OBJECTS, Rules::LINKS,
                              Rules::NESTING, Rules::OVERRIDES);

/// Whether FindingCode has an enumerator of that value. Compilers write the name of the enumerator into the function's
/// name, and a cast in parentheses for all other values.
template <FindingCode CODE>
[[nodiscard]] constexpr bool isEnumerator() {
    return std::string_view(__PRETTY_FUNCTION__).find("CODE = (") == std::string_view::npos;
}

template <std::size_t... VALUES>
[[nodiscard]] constexpr std::size_t countCodes(std::index_sequence<VALUES...> /*values*/) {
    const std::array<bool, sizeof...(VALUES)> areEnumerators{isEnumerator<static_cast<FindingCode>(VALUES)>()...};
    return static_cast<std::size_t>(std::count(areEnumerators.begin(), areEnumerators.end(), true));
}

[[nodiscard]] constexpr bool areComplete() {
    return std::none_of(RULES.begin(), RULES.end(), [](const FindingRule& rule) {
        return rule.name.empty() || rule.what.empty() || rule.why.empty() || rule.example.empty() || rule.cure.empty();
    });
}

[[nodiscard]] constexpr bool areAscending() {
    return std::adjacent_find(RULES.begin(), RULES.end(), [](const FindingRule& left, const FindingRule& right) {
               return left.code >= right.code;
           }) == RULES.end();
}

static_assert(isEnumerator<FindingCode::NOT_WELL_FORMED>() && !isEnumerator<static_cast<FindingCode>(0)>());
static_assert(areComplete());
static_assert(areAscending(), "The rules are not sorted, or a code has two rules.");
static_assert(RULES.size() == countCodes(std::make_index_sequence<1000>()), "A code has no rule.");

} // namespace

std::span<const FindingRule> findingRules() {
    return RULES;
}

const FindingRule& findingRule(FindingCode code) {
    return *std::lower_bound(RULES.begin(), RULES.end(), code,
                             [](const FindingRule& rule, FindingCode wanted) { return rule.code < wanted; });
}

std::string codeText(FindingCode code) {
    const std::string digits = std::to_string(static_cast<unsigned>(code));
    return std::string(PREFIX) + std::string(DIGITS_COUNT - std::min(digits.size(), DIGITS_COUNT), '0') + digits;
}

std::optional<FindingCode> findingCode(std::string_view text) {
    const auto isEqual = [](char a, char b) { // Letter case does not matter.
        return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    };
    const auto named = std::find_if(RULES.begin(), RULES.end(), [&](const FindingRule& rule) {
        return std::equal(rule.name.begin(), rule.name.end(), text.begin(), text.end(), isEqual);
    });
    if (named != RULES.end()) {
        return named->code;
    }
    if (text.size() != PREFIX.size() + DIGITS_COUNT ||
        !std::equal(PREFIX.begin(), PREFIX.end(), text.begin(), isEqual)) {
        return std::nullopt;
    }
    unsigned number = 0;
    const char* const end = text.data() + text.size();
    if (std::from_chars(text.data() + PREFIX.size(), end, number).ptr != end) {
        return std::nullopt;
    }
    const auto found = std::find_if(RULES.begin(), RULES.end(), [number](const FindingRule& rule) {
        return static_cast<unsigned>(rule.code) == number;
    });
    return found != RULES.end() ? std::optional(found->code) : std::nullopt;
}

std::string_view severityText(Severity severity) {
    constexpr std::array<std::string_view, 3> TEXTS{"note", "warning", "error"};
    return TEXTS.at(static_cast<std::size_t>(severity));
}

} // namespace Kiln::PrefabInspection
