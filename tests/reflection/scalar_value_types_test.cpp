#include <reflection/meta_object.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace mirra {

namespace {

template <class T>
std::optional<T> parse(std::string_view text, T before = T()) {
    T value = before;
    if (!valueType<T>().parse(text, &value)) {
        EXPECT_TRUE(valueType<T>().isEqual(&value, &before)) << "a failed parse changed the value: " << text;
        return std::nullopt;
    }
    return value;
}

template <class T>
std::string format(const T& value) {
    std::string text;
    valueType<T>().format(&value, text);
    return text;
}

template <class T>
bool isEqual(const T& a, const T& b) {
    return valueType<T>().isEqual(&a, &b);
}

template <class T>
void expectRange(std::string_view min, std::string_view belowMin, std::string_view max, std::string_view aboveMax) {
    EXPECT_EQ(parse<T>(min), std::numeric_limits<T>::min());
    EXPECT_EQ(parse<T>(max), std::numeric_limits<T>::max());
    EXPECT_EQ(format(std::numeric_limits<T>::min()), min);
    EXPECT_EQ(format(std::numeric_limits<T>::max()), max);
    EXPECT_EQ(parse<T>(belowMin, T(7)), std::nullopt);
    EXPECT_EQ(parse<T>(aboveMax, T(7)), std::nullopt);
}

template <class T>
void expectRoundTrip(T value) {
    const std::string text = format(value);
    const std::optional<T> read = parse<T>(text);
    ASSERT_TRUE(read.has_value()) << text;
    EXPECT_TRUE(isEqual(*read, value)) << text;
}

} // namespace

TEST(ScalarValueTypes, names_areThoseOfTheFormat) {
    EXPECT_EQ(valueType<bool>().name(), "bool");
    EXPECT_EQ(valueType<std::int8_t>().name(), "int8");
    EXPECT_EQ(valueType<std::int16_t>().name(), "int16");
    EXPECT_EQ(valueType<std::int32_t>().name(), "int32");
    EXPECT_EQ(valueType<std::int64_t>().name(), "int64");
    EXPECT_EQ(valueType<std::uint8_t>().name(), "uint8");
    EXPECT_EQ(valueType<std::uint16_t>().name(), "uint16");
    EXPECT_EQ(valueType<std::uint32_t>().name(), "uint32");
    EXPECT_EQ(valueType<std::uint64_t>().name(), "uint64");
    EXPECT_EQ(valueType<float>().name(), "float");
    EXPECT_EQ(valueType<double>().name(), "double");
    EXPECT_EQ(valueType<std::string>().name(), "string");
    EXPECT_EQ(valueType<Kiln::Uuid>().name(), "Uuid");
    EXPECT_EQ(valueType<Kiln::Matrix>().name(), "Matrix");
}

TEST(ScalarValueTypes, get_isOneObjectPerType) {
    EXPECT_EQ(&valueType<int>(), &valueType<std::int32_t>());
    EXPECT_EQ(valueType<int>().type(), typeid(int));
    EXPECT_EQ(valueType<int>().kind(), ValueKind::SCALAR);
    EXPECT_FALSE(valueType<int>().containsLinks());
}

TEST(ScalarValueTypes, whiteSpace_isKeptByStringsOnly) {
    EXPECT_TRUE(valueType<std::string>().isWhiteSpaceKept());
    EXPECT_FALSE(valueType<int>().isWhiteSpaceKept());
    EXPECT_FALSE(valueType<Kiln::Uuid>().isWhiteSpaceKept());
}

TEST(ScalarValueTypes, format_appends) {
    std::string text = "a=";
    const int value = 5;
    valueType<int>().format(&value, text);

    EXPECT_EQ(text, "a=5");
}

TEST(ScalarValueTypes, bool_readsWordsAndDigits) {
    EXPECT_EQ(parse<bool>("true"), true);
    EXPECT_EQ(parse<bool>("1"), true);
    EXPECT_EQ(parse<bool>("false", true), false);
    EXPECT_EQ(parse<bool>("0", true), false);
}

TEST(ScalarValueTypes, bool_rejectsOtherTexts) {
    for (const char* text : {"", "True", "FALSE", "yes", "2", "01", "true ", " true"}) {
        EXPECT_EQ(parse<bool>(text, true), std::nullopt) << text;
    }
}

TEST(ScalarValueTypes, bool_writesWords) {
    EXPECT_EQ(format(true), "true");
    EXPECT_EQ(format(false), "false");
}

TEST(ScalarValueTypes, integers_haveTheRangeOfTheirType) {
    expectRange<std::int8_t>("-128", "-129", "127", "128");
    expectRange<std::int16_t>("-32768", "-32769", "32767", "32768");
    expectRange<std::int32_t>("-2147483648", "-2147483649", "2147483647", "2147483648");
    expectRange<std::int64_t>("-9223372036854775808", "-9223372036854775809", "9223372036854775807",
                              "9223372036854775808");
    expectRange<std::uint8_t>("0", "-1", "255", "256");
    expectRange<std::uint16_t>("0", "-1", "65535", "65536");
    expectRange<std::uint32_t>("0", "-1", "4294967295", "4294967296");
    expectRange<std::uint64_t>("0", "-1", "18446744073709551615", "18446744073709551616");
}

TEST(ScalarValueTypes, integers_rejectWhatIsNoPlainDecimal) {
    for (const char* text : {"", "+1", "1 ", " 1", "0x10", "1.0", "1e3", "--1", "-", "one", "1,000"}) {
        EXPECT_EQ(parse<int>(text, 7), std::nullopt) << text;
    }
}

TEST(ScalarValueTypes, integers_leadingZerosAreRead) {
    EXPECT_EQ(parse<int>("-007"), -7);
}

TEST(ScalarValueTypes, floats_writeTheShortestForm) {
    EXPECT_EQ(format(0.1F), "0.1");
    EXPECT_EQ(format(0.1), "0.1");
    EXPECT_EQ(format(1.0), "1");
    EXPECT_EQ(format(1.0F / 3), "0.33333334");
    EXPECT_EQ(format(-0.0), "-0");
}

TEST(ScalarValueTypes, floats_extremesRoundTrip) {
    for (const float value : {std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest(),
                              std::numeric_limits<float>::min(), std::numeric_limits<float>::denorm_min(), -0.0F}) {
        expectRoundTrip(value);
    }
    for (const double value :
         {std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest(), std::numeric_limits<double>::min(),
          -2.2250738585072014e-308, std::numeric_limits<double>::denorm_min(), -0.0, 0.1, 1e23}) {
        expectRoundTrip(value);
    }
}

TEST(ScalarValueTypes, floats_specialValuesHaveWords) {
    constexpr float INFINITE = std::numeric_limits<float>::infinity();
    constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(format(INFINITE), "inf");
    EXPECT_EQ(format(-INFINITE), "-inf");
    EXPECT_EQ(format(NOT_A_NUMBER), "nan");
    EXPECT_EQ(format(-NOT_A_NUMBER), "nan");
    EXPECT_EQ(parse<float>("inf"), INFINITE);
    EXPECT_EQ(parse<float>("-inf"), -INFINITE);
    ASSERT_TRUE(parse<float>("nan").has_value());
    EXPECT_TRUE(std::isnan(*parse<float>("nan")));
    expectRoundTrip(std::numeric_limits<double>::quiet_NaN());
}

TEST(ScalarValueTypes, floats_rejectOtherTexts) {
    for (const char* text : {"", "+1", "1.0 ", " 1", "0x1p3", "1,5", "1.0f", "1e", "e5", ".", "1e999", "-1e999"}) {
        EXPECT_EQ(parse<double>(text, 7), std::nullopt) << text;
        EXPECT_EQ(parse<float>(text, 7), std::nullopt) << text;
    }
    EXPECT_EQ(parse<float>("1e39", 7), std::nullopt);
}

TEST(ScalarValueTypes, floats_areEqualWhenTheirTextsAre) {
    constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(isEqual(NOT_A_NUMBER, NOT_A_NUMBER));
    EXPECT_TRUE(isEqual(NOT_A_NUMBER, -NOT_A_NUMBER));
    EXPECT_FALSE(isEqual(NOT_A_NUMBER, 0.0));
    EXPECT_FALSE(isEqual(0.0, NOT_A_NUMBER));
    EXPECT_FALSE(isEqual(0.0, -0.0));
    EXPECT_TRUE(isEqual(1.5, 1.5));
    EXPECT_FALSE(isEqual(1.5, 2.5));
}

TEST(ScalarValueTypes, string_isItsText) {
    const std::string text = " \t<a>&\r\n\x01 ";
    EXPECT_EQ(parse<std::string>(text), text);
    EXPECT_EQ(format(text), text);
    EXPECT_EQ(parse<std::string>("", "before"), "");
}

TEST(ScalarValueTypes, string_comparesByContent) {
    EXPECT_TRUE(isEqual<std::string>("a", "a"));
    EXPECT_FALSE(isEqual<std::string>("a", "a "));
}

TEST(ScalarValueTypes, uuid_readsEitherCaseAndWritesLowerCase) {
    const Kiln::Uuid uuid(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001);
    EXPECT_EQ(parse<Kiln::Uuid>("5B0F1C2E-6a0d-4F43-9f6e-0d9a35b1c001"), uuid);
    EXPECT_EQ(format(uuid), "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001");
}

TEST(ScalarValueTypes, uuid_malformed_isRejected) {
    const Kiln::Uuid before(1, 2);
    EXPECT_EQ(parse<Kiln::Uuid>("5b0f1c2e", before), std::nullopt);
    EXPECT_EQ(parse<Kiln::Uuid>("", before), std::nullopt);
}

TEST(ScalarValueTypes, uuid_comparesByContent) {
    EXPECT_TRUE(isEqual(Kiln::Uuid(1, 2), Kiln::Uuid(1, 2)));
    EXPECT_FALSE(isEqual(Kiln::Uuid(1, 2), Kiln::Uuid(2, 1)));
}

TEST(ScalarValueTypes, matrix_isSixteenNumbers) {
    const Kiln::Matrix matrix = Kiln::Matrix::translation(1.5F, -2, 0.1F);
    EXPECT_EQ(format(matrix), "1 0 0 0 0 1 0 0 0 0 1 0 1.5 -2 0.1 1");
    EXPECT_EQ(parse<Kiln::Matrix>("1 0 0 0 0 1 0 0 0 0 1 0 1.5 -2 0.1 1"), matrix);
}

TEST(ScalarValueTypes, matrix_malformed_isRejected) {
    const Kiln::Matrix before = Kiln::Matrix::translation(1, 2, 3);
    EXPECT_EQ(parse<Kiln::Matrix>("1 2 3", before), std::nullopt);
}

TEST(ScalarValueTypes, matrix_comparesNumberByNumber) {
    Kiln::Matrix first;
    Kiln::Matrix second;
    first.values[3] = second.values[3] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(isEqual(first, second));

    second.values[15] = 2;
    EXPECT_FALSE(isEqual(first, second));
}

} // namespace mirra
