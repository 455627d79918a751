#include <resource/document_writer.h>

#include <algorithm>
#include <utility>

namespace Kiln {

namespace {

constexpr std::size_t NONE = std::string_view::npos;
constexpr std::string_view CDATA_START = "<![CDATA[";
constexpr std::string_view CDATA_END = "]]>";
constexpr std::string_view REFERENCE_START = "&#";
constexpr std::size_t REFERENCE_SIZE = 5; // pugixml writes two digits: &#27;

/// As text.find(part, position). Searches for the last character of `part`, which must be rarer than the first.
std::size_t findPart(std::string_view text, std::string_view part, std::size_t position) {
    for (std::size_t last = text.find(part.back(), position); last != NONE; last = text.find(part.back(), last + 1)) {
        if (text.substr(0, last + 1).substr(position).ends_with(part)) {
            return last + 1 - part.size();
        }
    }
    return NONE;
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// The control character that a reference stands for and that only a raw byte can represent; NUL if it is none.
char rawCharacter(std::string_view reference) {
    if (reference.size() < REFERENCE_SIZE || !isDigit(reference[2]) || !isDigit(reference[3]) || reference[4] != ';') {
        return '\0';
    }
    const int code = (reference[2] - '0') * 10 + (reference[3] - '0');
    const bool isAllowedByXml = code >= 0x20 || code == '\t' || code == '\n' || code == '\r';
    return isAllowedByXml ? '\0' : static_cast<char>(code);
}

/// Length of the end of a text that may be the beginning of a reference or of a CDATA section.
std::size_t openEndSize(std::string_view text) {
    const std::string_view end = text.substr(text.size() - std::min(text.size(), CDATA_START.size() - 1));
    const std::size_t start = end.find_last_of("<&");
    return start == NONE ? 0 : end.size() - start;
}

} // namespace

void DocumentWriter::write(const void* data, std::size_t size) {
    const std::string_view piece(static_cast<const char*>(data), size);
    if (m_rest.empty()) {
        m_rest = filter(piece);
    } else {
        const std::string text = std::exchange(m_rest, {}).append(piece);
        m_rest = filter(text);
    }
}

void DocumentWriter::finish() {
    writeMarkup(std::exchange(m_rest, {}));
}

/// Writes a text except for its end, which it returns, if that depends on what follows.
std::string_view DocumentWriter::filter(std::string_view text) {
    while (!text.empty()) {
        if (m_isInCdata) {
            text = filterCdata(text);
            if (m_isInCdata) {
                return text;
            }
            continue;
        }
        const std::size_t start = findPart(text, CDATA_START, 0);
        if (start == NONE) {
            const std::size_t end = text.size() - openEndSize(text);
            writeMarkup(text.substr(0, end));
            return text.substr(end);
        }
        writeMarkup(text.substr(0, start));
        m_sink.write(CDATA_START);
        text.remove_prefix(start + CDATA_START.size());
        m_isInCdata = true;
    }
    return text;
}

/// Writes a text up to the end of the CDATA section and returns what follows; while the end is missing, returns the
/// bytes that may belong to it.
std::string_view DocumentWriter::filterCdata(std::string_view text) {
    const std::size_t end = text.find(CDATA_END);
    m_isInCdata = end == NONE;
    const std::size_t size =
        m_isInCdata ? text.size() - std::min(text.size(), CDATA_END.size() - 1) : end + CDATA_END.size();
    m_sink.write(text.substr(0, size));
    return text.substr(size);
}

/// Writes a text outside CDATA sections.
void DocumentWriter::writeMarkup(std::string_view text) {
    std::size_t written = 0;
    for (std::size_t start = findPart(text, REFERENCE_START, 0); start != NONE;
         start = findPart(text, REFERENCE_START, start + REFERENCE_START.size())) {
        if (const char character = rawCharacter(text.substr(start)); character != '\0') {
            m_sink.write(text.substr(written, start - written));
            m_sink.write({&character, 1});
            written = start + REFERENCE_SIZE;
        }
    }
    if (written < text.size()) {
        m_sink.write(text.substr(written));
    }
}

} // namespace Kiln
