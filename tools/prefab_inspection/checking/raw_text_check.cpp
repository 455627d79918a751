#include <prefab_inspection/checking/raw_text_check.h>

#include <common/white_space.h>
#include <core/printable_text.h>
#include <prefab_inspection/checking/conflict_comment.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>

namespace Kiln::PrefabInspection {

namespace {

constexpr std::size_t NONE = std::string_view::npos;

[[nodiscard]] bool startsWith(std::string_view xml, std::size_t position, std::string_view start) {
    return xml.substr(position, start.size()) == start;
}

/// Splits a text into markup that can contain anything (comments, CDATA sections, instructions) and the rest, in order.
class OpaqueMarkup {
public:
    explicit OpaqueMarkup(std::string_view xml) : m_xml(xml) {}

    /// Whether the byte at `position`, which must not decrease between calls, is inside of such markup.
    [[nodiscard]] bool contains(std::size_t position) {
        while (m_end <= position && m_begin != NONE) {
            advance();
        }
        return position >= m_begin && m_begin != NONE;
    }

private:
    struct Kind {
        std::string_view begin;
        std::string_view end;
    };
    static constexpr std::array<Kind, 3> KINDS{{{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}}};

    void advance() {
        m_begin = m_end;
        for (;;) {
            m_begin = m_xml.find('<', m_begin);
            if (m_begin == NONE) {
                return;
            }
            for (const Kind& kind : KINDS) {
                if (startsWith(m_xml, m_begin, kind.begin)) {
                    const std::size_t end = m_xml.find(kind.end, m_begin + kind.begin.size());
                    m_end = end == NONE ? m_xml.size() : end + kind.end.size();
                    return;
                }
            }
            ++m_begin;
        }
    }

    std::string_view m_xml;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

/// Whether the '&' at `position` begins a reference that XML defines without a document type.
[[nodiscard]] bool isReference(std::string_view xml, std::size_t position) {
    for (const std::string_view entity : {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;"}) {
        if (startsWith(xml, position, entity)) {
            return true;
        }
    }
    if (!startsWith(xml, position, "&#")) {
        return false;
    }
    const bool isHexadecimal = startsWith(xml, position, "&#x");
    const std::size_t first = position + (isHexadecimal ? 3 : 2);
    std::size_t end = first;
    while (end < xml.size() && (isHexadecimal ? std::isxdigit(static_cast<unsigned char>(xml[end])) != 0
                                              : std::isdigit(static_cast<unsigned char>(xml[end])) != 0)) {
        ++end;
    }
    return end > first && end < xml.size() && xml[end] == ';';
}

/// Size of the well-formed UTF-8 character at `position`; 0 for none.
[[nodiscard]] std::size_t characterSize(std::string_view text, std::size_t position) {
    const auto byte = [&](std::size_t index) {
        return position + index < text.size() ? static_cast<unsigned char>(text[position + index]) : 0U;
    };
    const unsigned lead = byte(0);
    const auto isNext = [&](std::size_t index, unsigned low = 0x80, unsigned high = 0xBF) {
        return byte(index) >= low && byte(index) <= high;
    };
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        return isNext(1) ? 2 : 0;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        const bool isValid = isNext(1, lead == 0xE0 ? 0xA0 : 0x80, lead == 0xED ? 0x9F : 0xBF) && isNext(2);
        return isValid ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const bool isValid =
            isNext(1, lead == 0xF0 ? 0x90 : 0x80, lead == 0xF4 ? 0x8F : 0xBF) && isNext(2) && isNext(3);
        return isValid ? 4 : 0;
    }
    return 0;
}

/// Offset of the first byte from `position` on that is not ASCII.
[[nodiscard]] std::size_t skipAscii(std::string_view text, std::size_t position) {
    constexpr std::uint64_t HIGH_BITS = 0x8080808080808080ULL;
    while (position + sizeof(std::uint64_t) <= text.size()) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + position, sizeof(word));
        if ((word & HIGH_BITS) != 0) {
            break;
        }
        position += sizeof(word);
    }
    while (position < text.size() && static_cast<unsigned char>(text[position]) < 0x80) {
        ++position;
    }
    return position;
}

class RawTextCheck {
public:
    RawTextCheck(std::string_view xml, std::vector<PendingFinding>& findings) : m_xml(xml), m_findings(findings) {}

    void checkAmpersands() {
        OpaqueMarkup opaque(m_xml);
        std::size_t count = 0;
        for (std::size_t at = m_xml.find('&'); at != NONE; at = m_xml.find('&', at + 1)) {
            if (isReference(m_xml, at) || opaque.contains(at)) {
                continue;
            }
            PendingFinding* const finding = add(FindingCode::BARE_AMPERSAND, {at, 1}, count, "bare ampersand");
            if (!finding) {
                return;
            }
            finding->message = "An ampersand begins no reference; the loader takes it as it is, other programs do not.";
            finding->cure = "Write '&amp;' instead of '&'.";
            finding->replacement = "&amp;";
            finding->fixTitle = "Replace '&' by '&amp;'";
        }
    }

    void checkEncoding() {
        std::size_t count = 0;
        for (std::size_t at = skipAscii(m_xml, 0); at < m_xml.size();) {
            const std::size_t size = characterSize(m_xml, at);
            if (size == 0) {
                PendingFinding* const finding = add(FindingCode::INVALID_UTF8, {at, 1}, count, "invalid UTF-8");
                if (!finding) {
                    return;
                }
                finding->message = "A byte is not part of a character in UTF-8.";
                finding->cure = "Save the file in the encoding UTF-8.";
                at = endOfInvalid(at);
                finding->anchor.size = at - finding->anchor.offset;
            } else {
                at += size;
            }
            at = skipAscii(m_xml, at);
        }
    }

    void checkAttributes() {
        OpaqueMarkup opaque(m_xml);
        std::size_t count = 0;
        std::size_t searched = 0; // No tag begins between the end of the last one and here.
        std::size_t tagEnd = 0;
        for (std::size_t at = m_xml.find('='); at != NONE; at = m_xml.find('=', at + 1)) {
            if (at < tagEnd) {
                continue;
            }
            const std::size_t begin = m_xml.substr(searched, at - searched).rfind('<');
            const std::size_t tag = searched + begin;
            searched = at;
            if (begin == NONE) {
                continue;
            }
            tagEnd = std::min(m_xml.find('>', tag), m_xml.size());
            if (at < tagEnd && !opaque.contains(tag)) {
                tagEnd = checkTag(tag, count);
            }
            if (count > MAX_RAW_FINDINGS) {
                return;
            }
        }
    }

    void checkConflicts() {
        std::size_t count = 0;
        for (const TextRange& comment : conflictComments(m_xml)) {
            PendingFinding* const finding =
                add(FindingCode::UNRESOLVED_CONFLICT, {comment.begin, comment.end - comment.begin}, count, {});
            if (!finding) {
                return;
            }
            finding->severity = Severity::ERROR;
            finding->message = "A conflict of a merge is not resolved.";
            finding->cure = "List the conflicts with 'kiln-prefab resolve', and decide them with --prefer.";
        }
    }

private:
    struct Range {
        std::size_t begin;
        std::size_t size;
    };

    [[nodiscard]] std::size_t endOfInvalid(std::size_t position) const {
        while (position < m_xml.size() && characterSize(m_xml, position) == 0) {
            ++position;
        }
        return position;
    }

    /// Null if there are enough of them.
    PendingFinding* add(FindingCode code, Range range, std::size_t& count, std::string subject) {
        if (count++ >= MAX_RAW_FINDINGS) {
            return nullptr;
        }
        PendingFinding& finding = m_findings.emplace_back();
        finding.code = code;
        finding.severity = Severity::WARNING;
        finding.anchor = Anchor::bytes(range.begin, range.size);
        finding.subject = std::move(subject);
        return &finding;
    }

    /// Checks the attributes of the tag that begins at `position`. Returns the offset after its end.
    [[nodiscard]] std::size_t checkTag(std::size_t position, std::size_t& count) {
        std::vector<std::string_view> names;
        position = std::min(m_xml.find_first_of(" \t\r\n/>", position), m_xml.size());
        while (position < m_xml.size() && m_xml[position] != '>') {
            if (isWhiteSpace(m_xml[position]) || m_xml[position] == '/') {
                ++position;
                continue;
            }
            const std::size_t nameEnd = std::min(m_xml.find_first_of(" \t\r\n=/>", position), m_xml.size());
            const std::string_view name = m_xml.substr(position, nameEnd - position);
            if (std::find(names.begin(), names.end(), name) != names.end()) {
                PendingFinding* const finding =
                    add(FindingCode::DUPLICATE_ATTRIBUTE, {position, name.size()}, count, std::string(name));
                if (!finding) {
                    return m_xml.size();
                }
                finding->message = "The attribute '" + shortenedText(name) + "' appears twice in one tag.";
                finding->cure = "Remove one of them; the loader ignores all attributes.";
            }
            names.push_back(name);
            position = endOfValue(nameEnd);
        }
        return position;
    }

    /// Offset after the value of the attribute whose name ends at `position`.
    [[nodiscard]] std::size_t endOfValue(std::size_t position) const {
        const std::size_t quote = std::min(m_xml.find_first_of("\"'>", position), m_xml.size());
        if (quote == m_xml.size() || m_xml[quote] == '>') {
            return std::max(quote, position);
        }
        const std::size_t end = m_xml.find(m_xml[quote], quote + 1);
        return end == NONE ? m_xml.size() : end + 1;
    }

    std::string_view m_xml;
    std::vector<PendingFinding>& m_findings;
};

} // namespace

void checkRawText(std::string_view xml, std::vector<PendingFinding>& findings) {
    RawTextCheck check(xml, findings);
    check.checkEncoding();
    check.checkAmpersands();
    check.checkAttributes();
    check.checkConflicts();
}

} // namespace Kiln::PrefabInspection
