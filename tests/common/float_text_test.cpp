#include <common/float_text.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace Kiln {

namespace {

[[nodiscard]] std::string write(float value) {
    char text[FloatText::MAX_LENGTH];
    return {text, FloatText::write(text, value)};
}

[[nodiscard]] std::string writeByLibrary(float value) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

} // namespace

TEST(FloatText, write_wholeNumbers_asTheLibrary) {
    for (int number = -100'010; number <= 100'010; ++number) {
        const auto value = static_cast<float>(number);
        ASSERT_EQ(write(value), writeByLibrary(value));
    }
}

TEST(FloatText, write_anyFloat_asTheLibrary) {
    std::mt19937 random(7);
    for (int i = 0; i < 100'000; ++i) {
        float value;
        const auto bits = static_cast<std::uint32_t>(random());
        static_assert(sizeof value == sizeof bits);
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isnan(value)) {
            ASSERT_EQ(write(value), writeByLibrary(value));
        }
    }
}

TEST(FloatText, write_negativeZero_keepsTheSign) {
    EXPECT_EQ(write(-0.0F), "-0");
    EXPECT_EQ(write(0.0F), "0");
}

TEST(FloatText, write_nan_hasNoSign) {
    EXPECT_EQ(write(-std::numeric_limits<float>::quiet_NaN()), "nan");
}

TEST(FloatText, write_theLongest_fits) {
    EXPECT_EQ(write(-std::numeric_limits<float>::min()), "-1.1754944e-38");
    EXPECT_EQ(write(-1.17549435e-38F * 1.0000001F), writeByLibrary(-1.17549435e-38F * 1.0000001F));
}

TEST(FloatText, read_digits) {
    for (int digit = 0; digit <= 9; ++digit) {
        float value = -1;
        EXPECT_TRUE(FloatText::read(std::to_string(digit), value));
        EXPECT_EQ(value, static_cast<float>(digit));
    }
}

TEST(FloatText, read_whatIsNoFloat_leavesTheValue) {
    for (const char* const text : {"", "-", "a", ":", "/", "1 ", "1x", "+1", "1e99"}) {
        float value = 7;
        EXPECT_FALSE(FloatText::read(text, value)) << text;
        EXPECT_EQ(value, 7) << text;
    }
}

TEST(FloatText, read_whatWasWritten_isTheSame) {
    for (const float value : {0.1F, -2.5F, 1e30F, 123456.7F, std::numeric_limits<float>::infinity()}) {
        float read = 0;
        EXPECT_TRUE(FloatText::read(write(value), read));
        EXPECT_EQ(read, value);
    }
}

} // namespace Kiln
