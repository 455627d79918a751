#include <common/float_text.h>

#include <common/number_text.h>

#include <charconv>
#include <cmath>

namespace Kiln::FloatText {

namespace {

// From this value on, an exponent (1e+05) is shorter than all digits.
constexpr float WHOLE_NUMBERS_END = 100000;

} // namespace

char* write(char* text, float value) noexcept {
    char* const end = text + MAX_LENGTH;
    if (std::abs(value) < WHOLE_NUMBERS_END) {
        const auto whole = static_cast<int>(value);
        if (static_cast<float>(whole) == value && !(whole == 0 && std::signbit(value))) {
            return std::to_chars(text, end, whole).ptr;
        }
    }
    // Files do not keep the sign of a NaN.
    return std::to_chars(text, end, std::isnan(value) ? std::abs(value) : value).ptr;
}

bool read(std::string_view text, float& value) noexcept {
    if (text.size() == 1 && text.front() >= '0' && text.front() <= '9') {
        value = static_cast<float>(text.front() - '0');
        return true;
    }
    return readNumber(text, value);
}

} // namespace Kiln::FloatText
