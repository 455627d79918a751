#include <resource/data_section.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace Kiln {

namespace {

/// A section whose child "v" has the given text.
SmartPointer<DataSection> withValue(std::string_view text) {
    auto section = DataSection::create("r");
    section->writeString("v", text);
    return section;
}

constexpr std::int64_t MIN_INT64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t MAX_INT64 = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t MAX_UINT64 = std::numeric_limits<std::uint64_t>::max();

} // namespace

TEST(DataSectionValues, absent_isTheDefault) {
    const auto section = DataSection::create("r");

    EXPECT_EQ(section->readString("v"), "");
    EXPECT_EQ(section->readString("v", "d"), "d");
    EXPECT_TRUE(section->readBool("v", true));
    EXPECT_EQ(section->readInt64("v", -5), -5);
    EXPECT_EQ(section->readUInt64("v", MAX_UINT64), MAX_UINT64);
    EXPECT_EQ(section->readDouble("v", 1.5), 1.5);
    EXPECT_EQ(section->readUuid("v"), Uuid::ZERO);
    EXPECT_EQ(section->readUuid("v", Uuid(1, 2)), Uuid(1, 2));
    EXPECT_EQ(section->readMatrix("v"), Matrix::identity());
}

TEST(DataSectionValues, empty_isADefaultForAllButStrings) {
    const auto section = withValue("");

    EXPECT_EQ(section->readString("v", "d"), "");
    EXPECT_TRUE(section->readBool("v", true));
    EXPECT_EQ(section->readInt64("v", -5), -5);
    EXPECT_EQ(section->readUInt64("v", 5), 5U);
    EXPECT_EQ(section->readDouble("v", 1.5), 1.5);
    EXPECT_EQ(section->readUuid("v", Uuid(1, 2)), Uuid(1, 2));
    EXPECT_EQ(section->readMatrix("v", Matrix::translation(1, 2, 3)), Matrix::translation(1, 2, 3));
}

TEST(DataSectionValues, whiteSpace_isIgnoredForAllButStrings) {
    EXPECT_EQ(withValue(" \n\tx\r\n")->readString("v"), " \n\tx\r\n");
    EXPECT_TRUE(withValue(" \n\ttrue\r\n")->readBool("v"));
    EXPECT_EQ(withValue(" \n\t-3\r\n")->readInt64("v"), -3);
    EXPECT_EQ(withValue(" \n\t3\r\n")->readUInt64("v"), 3U);
    EXPECT_EQ(withValue(" \n\t2.5\r\n")->readDouble("v"), 2.5);
    EXPECT_EQ(withValue("\n5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001\n")->readUuid("v"),
              Uuid(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001));
    EXPECT_EQ(withValue("\n1 0 0 0 0 1 0 0 0 0 1 0 1 2 3 1\n")->readMatrix("v"), Matrix::translation(1, 2, 3));
}

TEST(DataSectionValues, readBool_knowsFourTexts) {
    EXPECT_TRUE(withValue("true")->readBool("v"));
    EXPECT_TRUE(withValue("1")->readBool("v"));
    EXPECT_FALSE(withValue("false")->readBool("v", true));
    EXPECT_FALSE(withValue("0")->readBool("v", true));
    EXPECT_TRUE(withValue("no")->readBool("v", true));
    EXPECT_FALSE(withValue("True")->readBool("v"));
}

TEST(DataSectionValues, readInt64_checksItsRange) {
    EXPECT_EQ(withValue("-9223372036854775808")->readInt64("v"), MIN_INT64);
    EXPECT_EQ(withValue("9223372036854775807")->readInt64("v"), MAX_INT64);
    EXPECT_EQ(withValue("-9223372036854775809")->readInt64("v", 7), 7);
    EXPECT_EQ(withValue("9223372036854775808")->readInt64("v", 7), 7);
}

TEST(DataSectionValues, readUInt64_checksItsRange) {
    EXPECT_EQ(withValue("18446744073709551615")->readUInt64("v"), MAX_UINT64);
    EXPECT_EQ(withValue("18446744073709551616")->readUInt64("v", 7), 7U);
    EXPECT_EQ(withValue("-1")->readUInt64("v", 7), 7U);
}

TEST(DataSectionValues, integers_whatIsNoPlainDecimal_isTheDefault) {
    for (const char* text : {"+1", "1x", "0x1", "1.0", "1 2", "-", "one"}) {
        EXPECT_EQ(withValue(text)->readInt64("v", 7), 7) << text;
        EXPECT_EQ(withValue(text)->readUInt64("v", 7), 7U) << text;
    }
}

TEST(DataSectionValues, readDouble_knowsSpecialValues) {
    EXPECT_EQ(withValue("inf")->readDouble("v"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(withValue("-inf")->readDouble("v"), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(withValue("nan")->readDouble("v")));
    EXPECT_EQ(withValue("1e999")->readDouble("v", 7), 7);
    EXPECT_EQ(withValue("1,5")->readDouble("v", 7), 7);
}

TEST(DataSectionValues, writes_haveTheTextOfTheFormat) {
    const auto section = DataSection::create("r");
    section->writeBool("bool", true);
    section->writeInt64("int", MIN_INT64);
    section->writeUInt64("uint", MAX_UINT64);
    section->writeDouble("double", 0.1);
    section->writeDouble("nan", -std::numeric_limits<double>::quiet_NaN());
    section->writeDouble("inf", -std::numeric_limits<double>::infinity());
    section->writeUuid("uuid", Uuid(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001));
    section->writeMatrix("matrix", Matrix::translation(1, 2.5F, 3));

    EXPECT_EQ(section->readString("bool"), "true");
    EXPECT_EQ(section->readString("int"), "-9223372036854775808");
    EXPECT_EQ(section->readString("uint"), "18446744073709551615");
    EXPECT_EQ(section->readString("double"), "0.1");
    EXPECT_EQ(section->readString("nan"), "nan");
    EXPECT_EQ(section->readString("inf"), "-inf");
    EXPECT_EQ(section->readString("uuid"), "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001");
    EXPECT_EQ(section->readString("matrix"), "1 0 0 0 0 1 0 0 0 0 1 0 1 2.5 3 1");
}

TEST(DataSectionValues, writes_readBack) {
    const auto section = DataSection::create("r");
    section->writeDouble("double", -2.2250738585072014e-308);
    section->writeBool("bool", false);
    section->writeInt64("int", MAX_INT64);

    EXPECT_EQ(section->readDouble("double"), -2.2250738585072014e-308);
    EXPECT_FALSE(section->readBool("bool", true));
    EXPECT_EQ(section->readInt64("int"), MAX_INT64);
}

TEST(DataSectionValues, writeAgain_replaces) {
    const auto section = DataSection::create("r");
    section->writeInt64("v", 1);
    section->writeInt64("v", 2);

    EXPECT_EQ(section->childrenCount(), 1U);
    EXPECT_EQ(section->readInt64("v"), 2);
}

} // namespace Kiln
