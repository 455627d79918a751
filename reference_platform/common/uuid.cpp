#include <common/uuid.h>

#include <array>
#include <random>

namespace Kiln {

namespace {

constexpr std::size_t TEXT_LENGTH = 36;

std::mt19937_64 makeRandomlySeededGenerator() {
    // 512 bits of entropy, so that the sequences of different threads and processes do not overlap.
    std::random_device device;
    std::array<std::random_device::result_type, 16> entropy;
    for (auto& word : entropy) {
        word = device();
    }
    std::seed_seq seed(entropy.begin(), entropy.end());
    return std::mt19937_64(seed);
}

// The following functions work on eight characters at a time, as the bytes of one number.

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

/// The hexadecimal digits, in lower case, of the numbers below 16 in the bytes of `values`.
[[nodiscard]] constexpr std::uint64_t toDigits(std::uint64_t values) noexcept {
    const std::uint64_t areAboveNine = (values + inEveryByte(0x80 - 10)) >> 7 & inEveryByte(1);
    return values + inEveryByte('0') + areAboveNine * ('a' - '0' - 10);
}

/// Parses two groups of four hexadecimal digits as one number; sets `isValid` to false if a character is not a digit.
[[nodiscard]] inline std::uint64_t parseDigits(const char* first, const char* last, bool& isValid) noexcept {
    const std::uint64_t characters = load(first) | load(last) << 32;
    // Among hexadecimal digits only letters have bit 6 set; their lower four bits count from 1.
    const std::uint64_t areLetters = characters >> 6 & inEveryByte(1);
    const std::uint64_t values = (characters & inEveryByte(0xf)) + areLetters * 9;
    // Write the values as digits again: only if all characters are digits does this yield them, in lower case.
    const std::uint64_t lowerCase = characters | areLetters << 5;
    const std::uint64_t written = toDigits(values);
    isValid = isValid && written == lowerCase && (values & inEveryByte(0xf0)) == 0;

    // The first digit is in the lowest byte and is the most significant one.
    const std::uint64_t pairs = (values << 4 | values >> 8) & 0x00ff00ff00ff00ffULL;
    return (pairs & 0xff) << 24 | (pairs >> 16 & 0xff) << 16 | (pairs >> 32 & 0xff) << 8 | pairs >> 48;
}

/// The hexadecimal digits of a number, the first one in the highest byte.
[[nodiscard]] constexpr std::uint64_t formatDigits(std::uint32_t number) noexcept {
    std::uint64_t values = number;
    values = (values | values << 16) & 0x0000ffff0000ffffULL;
    values = (values | values << 8) & 0x00ff00ff00ff00ffULL;
    values = (values | values << 4) & inEveryByte(0xf);
    return toDigits(values);
}

/// Writes four characters, the first of which is in the highest byte.
inline void store(char* characters, std::uint32_t word) noexcept {
    for (unsigned i = 0; i < 4; ++i) {
        characters[i] = static_cast<char>(word >> (24 - 8 * i) & 0xff);
    }
}

} // namespace

Uuid Uuid::generate() {
    thread_local std::mt19937_64 generator = makeRandomlySeededGenerator();
    const std::uint64_t high = generator();
    const std::uint64_t low = generator();
    // The version (4) is in bits 12 to 15 of the high half, the variant in the two highest bits of the low half.
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
    std::string text(TEXT_LENGTH, '-');
    char* const digits = text.data();
    const auto writeDigits = [](std::uint64_t number, char* first, char* last) {
        const std::uint64_t characters = formatDigits(static_cast<std::uint32_t>(number));
        store(first, static_cast<std::uint32_t>(characters >> 32));
        store(last, static_cast<std::uint32_t>(characters));
    };
    writeDigits(m_high >> 32, digits, digits + 4);
    writeDigits(m_high, digits + 9, digits + 14);
    writeDigits(m_low >> 32, digits + 19, digits + 24);
    writeDigits(m_low, digits + 28, digits + 32);
    return text;
}

} // namespace Kiln
