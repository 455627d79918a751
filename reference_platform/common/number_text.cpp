#include <common/number_text.h>

#ifndef __cpp_lib_to_chars

#include <cerrno>
#include <cstdlib>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale

namespace Kiln {

namespace {

/// The locale in which numbers have a decimal point; null if it could not be made. Never freed: threads may still read
/// while the process exits.
[[nodiscard]] locale_t pointLocale() noexcept {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

void convert(const char* text, char** end, float& number) noexcept {
    number = strtof_l(text, end, pointLocale());
}

void convert(const char* text, char** end, double& number) noexcept {
    number = strtod_l(text, end, pointLocale());
}

/// The functions of C also read white space, a plus sign and hexadecimal digits, which std::from_chars refuses.
[[nodiscard]] bool startsLikeFromChars(const char* begin, const char* end) noexcept {
    const char* const digits = begin + (begin != end && *begin == '-' ? 1 : 0);
    if (digits == end) {
        return false;
    }
    const bool isHexadecimal = end - digits > 1 && *digits == '0' && (digits[1] == 'x' || digits[1] == 'X');
    const bool isDigit = *digits >= '0' && *digits <= '9';
    return !isHexadecimal &&
           (isDigit || *digits == '.' || *digits == 'i' || *digits == 'I' || *digits == 'n' || *digits == 'N');
}

template <class Number>
[[nodiscard]] std::from_chars_result read(const char* begin, const char* end, Number& number) noexcept {
    if (!startsLikeFromChars(begin, end)) {
        return {begin, std::errc::invalid_argument};
    }
    std::string text; // The functions of C need an end mark.
    try {
        text.assign(begin, end);
    } catch (const std::bad_alloc&) {
        return {begin, std::errc::not_enough_memory};
    }
    if (!pointLocale()) {
        return {begin, std::errc::not_enough_memory};
    }
    char* textEnd = nullptr;
    Number read{};
    errno = 0;
    convert(text.c_str(), &textEnd, read);
    const char* const position = begin + (textEnd - text.c_str());
    if (position == begin) {
        return {begin, std::errc::invalid_argument};
    }
    if (errno == ERANGE && (std::isinf(read) || read == 0)) {
        return {position, std::errc::result_out_of_range};
    }
    number = read;
    return {position, std::errc()};
}

} // namespace

std::from_chars_result numberFromChars(const char* begin, const char* end, float& number) noexcept {
    return read(begin, end, number);
}

std::from_chars_result numberFromChars(const char* begin, const char* end, double& number) noexcept {
    return read(begin, end, number);
}

} // namespace Kiln

#endif
