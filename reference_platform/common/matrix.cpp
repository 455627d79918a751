#include <common/matrix.h>

#include <common/float_text.h>
#include <common/white_space.h>

#include <cmath>

namespace Kiln {

namespace {

/// Removes the first word from the text and returns it; empty if there is none.
std::string_view takeWord(std::string_view& text) noexcept {
    const char* begin = text.data();
    const char* const end = begin + text.size();
    while (begin != end && isWhiteSpace(*begin)) {
        ++begin;
    }
    const char* wordEnd = begin;
    while (wordEnd != end && !isWhiteSpace(*wordEnd)) {
        ++wordEnd;
    }
    text = {wordEnd, end};
    return {begin, wordEnd};
}

bool parseFloat(std::string_view word, float& value) noexcept {
    // std::from_chars accepts several spellings of infinity and NaN; files use one of each.
    return FloatText::read(word, value) && (std::isfinite(value) || word == "inf" || word == "-inf" || word == "nan");
}

} // namespace

std::optional<Matrix> Matrix::fromString(std::string_view text) noexcept {
    Matrix matrix;
    for (float& value : matrix.values) {
        if (!parseFloat(takeWord(text), value)) {
            return std::nullopt;
        }
    }
    if (!takeWord(text).empty()) {
        return std::nullopt;
    }
    return matrix;
}

std::string Matrix::toString() const {
    std::array<char, (FloatText::MAX_LENGTH + 1) * 16> buffer;
    char* position = buffer.data();
    for (const float value : values) {
        if (position != buffer.data()) {
            *position++ = ' ';
        }
        position = FloatText::write(position, value);
    }
    return {buffer.data(), position};
}

Matrix operator*(const Matrix& a, const Matrix& b) noexcept {
    Matrix product;
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            float sum = 0;
            for (std::size_t i = 0; i < 4; ++i) {
                sum += a.at(row, i) * b.at(i, column);
            }
            product.values[row * 4 + column] = sum;
        }
    }
    return product;
}

} // namespace Kiln
