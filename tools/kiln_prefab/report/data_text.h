#pragma once

#include <prefab_inspection/checking/check_cache.h>

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabTool {

/// Appends a string in quotes as JSON in ASCII that also may stand in a script element of HTML: '<', '>' and '&' are
/// written as escapes, too. Bytes that are not UTF-8 become U+FFFD.
void appendJsonString(std::string& output, std::string_view text);

template <std::integral Number>
void appendNumber(std::string& output, Number number) {
    char digits[24];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, number);
    output.append(digits, end);
}

/// Appends a JSON list of numbers.
template <class Numbers>
void appendNumbers(std::string& output, const Numbers& numbers) {
    output += '[';
    bool isFirst = true;
    for (const auto number : numbers) {
        if (!isFirst) {
            output += ',';
        }
        isFirst = false;
        appendNumber(output, number);
    }
    output += ']';
}

/// Appends a list, the elements of which `appendElement` appends.
template <class AppendElement>
void appendList(std::string& output, std::size_t count, const AppendElement& appendElement) {
    output += '[';
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) {
            output += ',';
        }
        appendElement(i);
    }
    output += ']';
}

/// Appends a member of an object that is a list of numbers.
template <class ValueOf>
void appendColumn(std::string& output, const char* name, std::size_t count, const ValueOf& valueOf) {
    output.append(output.back() == '{' ? "\"" : ",\"").append(name).append("\":");
    appendList(output, count, [&output, &valueOf](std::size_t i) { appendNumber(output, valueOf(i)); });
}

/// Texts, each once. The indices are in the order of the first use.
class TextTable {
public:
    /// Returns the index of the text.
    std::uint32_t add(std::string_view text) { return add(text, PrefabInspection::fastHash(text)); }

    /// The same for a text whose hash is known from another table.
    std::uint32_t add(std::string_view text, std::uint64_t hash);

    [[nodiscard]] std::size_t size() const noexcept { return m_entries.size(); }
    [[nodiscard]] std::string_view operator[](std::size_t index) const {
        return std::string_view(m_text).substr(m_entries[index].begin, m_entries[index].size);
    }
    [[nodiscard]] std::uint64_t hashAt(std::size_t index) const { return m_entries[index].hash; }

private:
    struct Entry {
        std::size_t begin; ///< In m_text.
        std::size_t size;
        std::uint64_t hash;
    };

    void grow();

    std::string m_text; ///< All texts, one after the other.
    std::vector<Entry> m_entries;

    /// Index plus one of an entry, 0 for a free slot. The number of slots is a power of two; an entry is in the first
    /// free slot after the one that its hash selects.
    std::vector<std::uint32_t> m_slots;
};

} // namespace Kiln::PrefabTool
