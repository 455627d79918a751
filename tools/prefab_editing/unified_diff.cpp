#include "unified_diff.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace Kiln::PrefabEditing {

namespace {

constexpr std::size_t CONTEXT = 3; ///< Number of unchanged lines around a change.

using Lines = std::vector<std::string_view>;

/// The lines of a text with their ends; the last one may have none.
[[nodiscard]] Lines split(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, size));
        text.remove_prefix(size);
    }
    return lines;
}

/// Lines of the original text that are replaced. Indices count from 0.
struct LineChange {
    std::size_t oldBegin;
    std::size_t oldEnd;
    std::string newText;
};

/// Converts edits of bytes to changes of whole lines.
class LineChanges {
public:
    explicit LineChanges(std::string_view original) : m_original(original), m_lines(split(original)) {
        std::size_t offset = 0;
        for (const std::string_view line : m_lines) {
            m_starts.push_back(offset);
            offset += line.size();
        }
        m_starts.push_back(offset);
    }

    [[nodiscard]] const Lines& lines() const { return m_lines; }

    [[nodiscard]] std::vector<LineChange> changes(const std::vector<TextEdit>& edits) const {
        std::vector<LineChange> result;
        for (std::size_t next = 0; next < edits.size();) {
            LineChange change;
            change.oldBegin = lineAt(edits[next].offset);
            std::size_t position = m_starts[change.oldBegin];
            // Edits in the same lines are one change. Its last line is complete even if the edit ends at its start.
            do {
                const TextEdit& edit = edits[next];
                change.newText += m_original.substr(position, edit.offset - position);
                change.newText += edit.text;
                position = edit.end();
                change.oldEnd = std::min(lineAt(position) + 1, m_lines.size());
                ++next;
            } while (next < edits.size() && edits[next].offset <= m_starts[change.oldEnd]);
            change.newText += m_original.substr(position, m_starts[change.oldEnd] - position);
            trim(change);
            if (change.oldBegin != change.oldEnd || !change.newText.empty()) {
                result.push_back(std::move(change));
            }
        }
        return result;
    }

private:
    /// The line that has the byte at an offset; the number of lines at the end of the text.
    [[nodiscard]] std::size_t lineAt(std::size_t offset) const {
        const auto next = std::upper_bound(m_starts.begin(), m_starts.end(), offset);
        const auto index = static_cast<std::size_t>(next - m_starts.begin()) - 1;
        const bool isInLastLine = index == m_lines.size() && index > 0 && !m_lines.back().ends_with('\n');
        return isInLastLine ? index - 1 : index;
    }

    /// Removes equal lines from the beginning and the end of a change.
    void trim(LineChange& change) const {
        Lines added = split(change.newText);
        std::size_t first = 0;
        while (change.oldBegin < change.oldEnd && first < added.size() && m_lines[change.oldBegin] == added[first]) {
            ++change.oldBegin;
            ++first;
        }
        while (change.oldBegin < change.oldEnd && first < added.size() && m_lines[change.oldEnd - 1] == added.back()) {
            --change.oldEnd;
            added.pop_back();
        }
        std::string text;
        for (std::size_t index = first; index < added.size(); ++index) {
            text += added[index];
        }
        change.newText = std::move(text);
    }

    std::string_view m_original;
    Lines m_lines;
    std::vector<std::size_t> m_starts; ///< Offset of each line, and of the end of the text.
};

void append(std::string& patch, char mark, std::string_view line) {
    patch += mark;
    patch += line;
    if (!line.ends_with('\n')) {
        patch += "\n\\ No newline at end of file\n";
    }
}

/// The position of a range of lines in the head of a hunk. An empty range names the line before it.
[[nodiscard]] std::string rangeText(std::size_t begin, std::size_t count) {
    const std::string line = std::to_string(count == 0 ? begin : begin + 1);
    return count == 1 ? line : line + "," + std::to_string(count);
}

/// Changes that are so close to each other that their context meets.
class Hunk {
public:
    Hunk(const Lines& lines, std::size_t firstChange) : m_lines(lines) {
        m_oldBegin = firstChange - std::min(firstChange, CONTEXT);
        m_oldEnd = m_oldBegin;
    }

    [[nodiscard]] bool reaches(const LineChange& change) const { return change.oldBegin <= m_oldEnd + 2 * CONTEXT; }

    void add(const LineChange& change) {
        addContext(change.oldBegin);
        for (; m_oldEnd < change.oldEnd; ++m_oldEnd) {
            append(m_body, '-', m_lines[m_oldEnd]);
        }
        for (const std::string_view line : split(change.newText)) {
            append(m_body, '+', line);
            ++m_newCount;
        }
    }

    /// The hunk's text. `shift` is by how many lines the new text is longer before it, and then after it.
    [[nodiscard]] std::string finish(std::ptrdiff_t& shift) {
        addContext(std::min(m_oldEnd + CONTEXT, m_lines.size()));
        const std::size_t oldCount = m_oldEnd - m_oldBegin;
        const auto newBegin = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(m_oldBegin) + shift);
        shift += static_cast<std::ptrdiff_t>(m_newCount) - static_cast<std::ptrdiff_t>(oldCount);
        return "@@ -" + rangeText(m_oldBegin, oldCount) + " +" + rangeText(newBegin, m_newCount) + " @@\n" + m_body;
    }

private:
    void addContext(std::size_t end) {
        for (; m_oldEnd < end; ++m_oldEnd, ++m_newCount) {
            append(m_body, ' ', m_lines[m_oldEnd]);
        }
    }

    const Lines& m_lines;
    std::size_t m_oldBegin;
    std::size_t m_oldEnd; ///< The lines before it are in the body.
    std::size_t m_newCount = 0;
    std::string m_body;
};

/// A path as the heads of patches have it: in quotes and with escapes if it has other characters than simple ones.
[[nodiscard]] std::string patchPath(const std::string& path) {
    std::string escaped;
    for (const char character : path) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\') {
            escaped += '\\';
            escaped += character;
        } else if (byte < 0x20 || byte >= 0x7f) {
            const std::array<char, 4> octal{'\\', static_cast<char>('0' + (byte >> 6U)),
                                            static_cast<char>('0' + ((byte >> 3U) & 7U)),
                                            static_cast<char>('0' + (byte & 7U))};
            escaped.append(octal.data(), octal.size());
        } else {
            escaped += character;
        }
    }
    return escaped == path ? path : "\"" + escaped + "\"";
}

} // namespace

std::string unifiedDiff(const std::string& path, const EditedText& text) {
    const LineChanges lineChanges(text.original());
    const std::vector<LineChange> changes = lineChanges.changes(text.edits());
    if (changes.empty()) {
        return {};
    }
    // A tab ends a name with spaces; other programs would take a part of it for a time.
    const std::string end = path.find(' ') == std::string::npos ? "\n" : "\t\n";
    std::string patch = "diff --git " + patchPath("a/" + path) + " " + patchPath("b/" + path) + "\n--- " +
                        patchPath("a/" + path) + end + "+++ " + patchPath("b/" + path) + end;
    std::ptrdiff_t shift = 0;
    for (std::size_t next = 0; next < changes.size();) {
        Hunk hunk(lineChanges.lines(), changes[next].oldBegin);
        do {
            hunk.add(changes[next]);
            ++next;
        } while (next < changes.size() && hunk.reaches(changes[next]));
        patch += hunk.finish(shift);
    }
    return patch;
}

} // namespace Kiln::PrefabEditing
