#include <common/uuid.h>

#include <array>
#include <random>

namespace Kiln {

namespace {

constexpr std::size_t TEXT_LENGTH = 36;
constexpr bool isDashPosition(std::size_t position) {
    return position == 8 || position == 13 || position == 18 || position == 23;
}

/// Positions of the 32 digits in the text, most significant first.
constexpr std::array<std::uint8_t, 32> DIGIT_POSITIONS = [] {
    std::array<std::uint8_t, 32> positions{};
    std::size_t count = 0;
    for (std::size_t position = 0; position < TEXT_LENGTH; ++position) {
        if (!isDashPosition(position)) {
            positions[count++] = static_cast<std::uint8_t>(position);
        }
    }
    return positions;
}();

constexpr std::size_t DIGITS_PER_HALF = 16;

std::mt19937_64 makeRandomlySeededGenerator() {
    // 512 bits of entropy, so that the streams of any number of threads and processes do not meet.
    std::random_device device;
    std::array<std::random_device::result_type, 16> entropy;
    for (auto& word : entropy) {
        word = device();
    }
    std::seed_seq seed(entropy.begin(), entropy.end());
    return std::mt19937_64(seed);
}

// Eight characters at a time, as the bytes of one number.

[[nodiscard]] constexpr std::uint64_t inEveryByte(std::uint8_t value) noexcept {
    return value * 0x0101010101010101ULL;
}

/// Four characters, the first one in the lowest byte.
[[nodiscard]] inline std::uint64_t load(const char* characters) noexcept {
    std::uint32_t word = 0;
    for (unsigned i = 0; i < 4; ++i) {
        word |= static_cast<std::uint32_t>(static_cast<unsigned char>(characters[i])) << (8 * i);
    }
    return word;
}

/// The number that two times four hexadecimal digits are; sets `isValid` to false when one is none.
[[nodiscard]] inline std::uint64_t parseDigits(const char* first, const char* last, bool& isValid) noexcept {
    const std::uint64_t characters = load(first) | load(last) << 32;
    // Of all digits, the letters alone have bit 6; their lower four bits count from 1.
    const std::uint64_t areLetters = characters >> 6 & inEveryByte(1);
    const std::uint64_t values = (characters & inEveryByte(0xf)) + areLetters * 9;
    // What the values would be written as. Only digits are written as they stand, with the letters in lower case.
    const std::uint64_t lowerCase = characters | areLetters << 5;
    const std::uint64_t areAboveNine = (values + inEveryByte(0x80 - 10)) >> 7 & inEveryByte(1);
    const std::uint64_t written = values + inEveryByte('0') + areAboveNine * ('a' - '0' - 10);
    isValid = isValid && written == lowerCase && (values & inEveryByte(0xf0)) == 0;

    // The first digit is in the lowest byte and counts most.
    const std::uint64_t pairs = (values << 4 | values >> 8) & 0x00ff00ff00ff00ffULL;
    return (pairs & 0xff) << 24 | (pairs >> 16 & 0xff) << 16 | (pairs >> 32 & 0xff) << 8 | pairs >> 48;
}

} // namespace

Uuid Uuid::generate() {
    thread_local std::mt19937_64 generator = makeRandomlySeededGenerator();
    const std::uint64_t high = generator();
    const std::uint64_t low = generator();
    // The version (4) stands in the fifth last digit of the high half, the variant in the two first bits of the low
    // one.
    return {(high & ~0xf000ULL) | 0x4000ULL, (low & ~(3ULL << 62)) | (2ULL << 62)};
}

std::optional<Uuid> Uuid::fromString(std::string_view text) noexcept {
    if (text.size() != TEXT_LENGTH || text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-') {
        return std::nullopt;
    }
    const char* const digits = text.data();
    bool isValid = true;
    const std::uint64_t first = parseDigits(digits, digits + 4, isValid);
    const std::uint64_t second = parseDigits(digits + 9, digits + 14, isValid);
    const std::uint64_t third = parseDigits(digits + 19, digits + 24, isValid);
    const std::uint64_t fourth = parseDigits(digits + 28, digits + 32, isValid);
    return isValid ? std::optional(Uuid(first << 32 | second, third << 32 | fourth)) : std::nullopt;
}

std::string Uuid::toString() const {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string text(TEXT_LENGTH, '-');
    const std::array<std::uint64_t, 2> halves{m_high, m_low};
    for (std::size_t digit = 0; digit < DIGIT_POSITIONS.size(); ++digit) {
        const std::size_t shift = 4 * (DIGITS_PER_HALF - 1 - digit % DIGITS_PER_HALF);
        text[DIGIT_POSITIONS[digit]] = DIGITS[halves[digit / DIGITS_PER_HALF] >> shift & 0xf];
    }
    return text;
}

} // namespace Kiln
