#include "positioned_json.h"

#include "command_error.h"

#include <cstdint>
#include <iterator>

#include <nlohmann/json.hpp>

namespace Kiln::PrefabTool {

namespace {

/// Settings nest to depth 2. The limit keeps hostile files from exhausting the stack.
constexpr std::size_t MAX_DEPTH = 64;

/// Walks through a text and counts its lines. The copies that the parser makes share the count.
class LineCountingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    LineCountingIterator(const char* position, std::size_t* line) : m_position(position), m_line(line) {}

    reference operator*() const { return *m_position; }

    /// Counts the end of a line with the character after it: the parser reads one character beyond a number.
    LineCountingIterator& operator++() {
        *m_line += m_isAfterLineEnd ? 1 : 0;
        m_isAfterLineEnd = *m_position == '\n';
        ++m_position;
        return *this;
    }
    friend bool operator==(const LineCountingIterator& left, const LineCountingIterator& right) {
        return left.m_position == right.m_position;
    }
    friend bool operator!=(const LineCountingIterator& left, const LineCountingIterator& right) {
        return !(left == right);
    }

private:
    const char* m_position;
    std::size_t* m_line;
    bool m_isAfterLineEnd = false;
};

/// Receives the values from the parser, which has at that moment read not much further than the value.
class TreeBuilder {
public:
    TreeBuilder(const std::size_t& line, std::string name) : m_line(line), m_name(std::move(name)) {}

    // The names are those that the parser calls.
    bool null() { return addScalar(PositionedJson::Type::NUL); }
    bool boolean(bool value) {
        const bool isAdded = addScalar(PositionedJson::Type::BOOLEAN);
        m_last->boolean = value;
        return isAdded;
    }
    bool number_integer(std::int64_t /*value*/) { return addScalar(PositionedJson::Type::NUMBER); }
    bool number_unsigned(std::uint64_t /*value*/) { return addScalar(PositionedJson::Type::NUMBER); }
    bool number_float(double /*value*/, const std::string& /*text*/) { return addScalar(PositionedJson::Type::NUMBER); }
    bool string(std::string& value) {
        const bool isAdded = addScalar(PositionedJson::Type::STRING);
        m_last->string = std::move(value);
        return isAdded;
    }
    bool binary(nlohmann::json::binary_t& /*value*/) { return false; }
    bool start_object(std::size_t /*size*/) { return open(PositionedJson::Type::OBJECT); }
    bool start_array(std::size_t /*size*/) { return open(PositionedJson::Type::ARRAY); }
    bool end_object() { return close(); }
    bool end_array() { return close(); }
    bool key(std::string& value) {
        m_open.back()->members.push_back({std::move(value), m_line, {}});
        return true;
    }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/, const nlohmann::json::exception& error) {
        std::string description = error.what();
        // The text begins with the name of the exception and the position.
        const std::size_t start = description.find(": ");
        throw CommandError(m_name + ":" + std::to_string(m_line) + ": " +
                           (start == std::string::npos ? description : description.substr(start + 2)));
    }

    [[nodiscard]] PositionedJson take() { return std::move(m_root); }

private:
    bool addScalar(PositionedJson::Type type) {
        PositionedJson* value = &m_root;
        if (!m_open.empty()) {
            PositionedJson& parent = *m_open.back();
            value = parent.type == PositionedJson::Type::ARRAY ? &parent.elements.emplace_back()
                                                               : &parent.members.back().value;
        }
        value->type = type;
        value->line = m_line;
        m_last = value;
        return true;
    }

    bool open(PositionedJson::Type type) {
        if (m_open.size() == MAX_DEPTH) {
            throw CommandError(m_name + ":" + std::to_string(m_line) + ": Values are nested deeper than the limit of " +
                               std::to_string(MAX_DEPTH));
        }
        addScalar(type);
        m_open.push_back(m_last);
        return true;
    }

    bool close() {
        m_open.pop_back();
        return true;
    }

    const std::size_t& m_line;
    std::string m_name;
    PositionedJson m_root;
    // Only the last element of an open array grows its list, so that pointers to open values stay valid.
    std::vector<PositionedJson*> m_open;
    PositionedJson* m_last = nullptr;
};

} // namespace

PositionedJson readPositionedJson(std::string_view text, const std::string& name) {
    std::size_t line = 1;
    TreeBuilder builder(line, name);
    const LineCountingIterator begin(text.data(), &line);
    const LineCountingIterator end(text.data() + text.size(), &line);
    static_cast<void>(nlohmann::json::sax_parse(begin, end, &builder));
    return builder.take();
}

} // namespace Kiln::PrefabTool
