#include <common/uuid.h>

#include <array>
#include <random>

namespace Kiln {

namespace {

constexpr std::size_t TEXT_LENGTH = 36;
constexpr std::uint8_t NOT_HEXADECIMAL = 0xff;

/// Value of a hexadecimal digit by its character code.
constexpr std::array<std::uint8_t, 256> DIGIT_VALUES = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(NOT_HEXADECIMAL);
    for (std::uint8_t digit = 0; digit < 10; ++digit) {
        values[static_cast<std::size_t>('0' + digit)] = digit;
    }
    for (std::uint8_t letter = 0; letter < 6; ++letter) {
        values[static_cast<std::size_t>('a' + letter)] = static_cast<std::uint8_t>(10 + letter);
        values[static_cast<std::size_t>('A' + letter)] = static_cast<std::uint8_t>(10 + letter);
    }
    return values;
}();

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
    std::array<std::uint64_t, 2> halves{};
    std::uint8_t allValues = 0;
    for (std::size_t digit = 0; digit < DIGIT_POSITIONS.size(); ++digit) {
        const std::uint8_t value = DIGIT_VALUES[static_cast<unsigned char>(text[DIGIT_POSITIONS[digit]])];
        std::uint64_t& half = halves[digit / DIGITS_PER_HALF];
        half = half << 4 | (value & 0xfU);
        allValues |= value;
    }
    // Only the mark of a wrong character has any of the upper four bits set.
    if (allValues > 0xf) {
        return std::nullopt;
    }
    return Uuid(halves[0], halves[1]);
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
