#include <resource/line_table.h>

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Kiln {

namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";

constexpr std::size_t WORD_BITS = 64;

/// One bit for each of the next 64 bytes that is a line end.
[[nodiscard]] std::uint64_t lineEndsIn(const char* bytes) noexcept {
    std::uint64_t ends = 0;
#if defined(__SSE2__)
    const __m128i newline = _mm_set1_epi8('\n');
    for (std::size_t i = 0; i < WORD_BITS; i += sizeof(__m128i)) {
        const __m128i piece = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(piece, newline)));
        ends |= static_cast<std::uint64_t>(mask) << i;
    }
#else
    for (std::size_t i = 0; i < WORD_BITS; ++i) {
        ends |= static_cast<std::uint64_t>(bytes[i] == '\n') << i;
    }
#endif
    return ends;
}

} // namespace

LineTable::LineTable(std::string_view text)
    : m_textStart(text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0) {
    m_lineEnds.reserve(text.size() / WORD_BITS + 1);
    for (; text.size() >= WORD_BITS; text.remove_prefix(WORD_BITS)) {
        m_lineEnds.push_back(lineEndsIn(text.data()));
    }
    std::array<char, WORD_BITS> rest{};
    std::copy(text.begin(), text.end(), rest.begin());
    m_lineEnds.push_back(lineEndsIn(rest.data()));
}

DataPosition LineTable::positionAt(std::size_t offset) const {
    if (m_lineEnds.empty()) {
        return {};
    }
    std::call_once(m_areLinesListed, [this] { listLines(); });
    const auto next = std::upper_bound(m_lineStarts.begin() + 1, m_lineStarts.end(), offset);
    const std::size_t lineStart = *(next - 1);
    const std::size_t column = offset < lineStart ? 0 : offset - lineStart;
    return {static_cast<std::size_t>(next - m_lineStarts.begin()), column + 1};
}

void LineTable::listLines() const {
    std::vector<std::size_t> lineStarts{m_textStart};
    for (std::size_t word = 0; word < m_lineEnds.size(); ++word) {
        for (std::uint64_t ends = m_lineEnds[word]; ends != 0; ends &= ends - 1) {
            lineStarts.push_back(word * WORD_BITS + static_cast<std::size_t>(std::countr_zero(ends)) + 1);
        }
    }
    m_lineStarts = std::move(lineStarts);
}

} // namespace Kiln
