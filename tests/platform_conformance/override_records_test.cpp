#include "platform_access.h"
#include "test_components.h"

#include <core/log.h>
#include <object_serialization/override_records.h>

#include <gmock/gmock.h>

#include <string>

namespace Conformance {
namespace {

using namespace Kiln;

constexpr Uuid FIRST(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001);
constexpr Uuid SECOND(0x9d1c6c0a55d14c1e, 0x8a527f3e6b2d9f10);
constexpr const char* FIRST_TEXT = "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001";
constexpr const char* SECOND_TEXT = "9d1c6c0a-55d1-4c1e-8a52-7f3e6b2d9f10";
constexpr const char* ZERO_TEXT = "00000000-0000-0000-0000-000000000000";

[[nodiscard]] std::string record(const std::string& uuid, const std::string& properties) {
    return "<gameObject><uuid>" + uuid + "</uuid><component><type>" + Beacon::NAME + "</type><properties>" +
           properties + "</properties></component></gameObject>";
}

[[nodiscard]] std::string overrides(const std::string& records) {
    return "<overrides>" + records + "</overrides>";
}

/// What a default beacon is with the records of one object.
[[nodiscard]] Beacon::Config applied(const OverrideRecords& records, const Uuid& object) {
    const SmartPointer<IComponentDescriptor> descriptor = makeDescriptor(Beacon::NAME);
    descriptor->storePrefabProperties();
    descriptor->setupOverrides(records.getComponentRecord(object, Beacon::NAME));
    return static_cast<BeaconDescriptor&>(*descriptor).config();
}

TEST(OverrideData, emptyText_isNullAndSilent) {
    const LogCapture log;
    EXPECT_FALSE(OverrideRecords::create(""));
    EXPECT_THAT(log.messages(), testing::IsEmpty());
}

TEST(OverrideData, textThatIsNotWellFormed_isNullWithOneError) {
    const LogCapture log;
    EXPECT_FALSE(OverrideRecords::create("<overrides>"));
    EXPECT_EQ(log.count(LogSeverity::ERROR), 1U);
}

TEST(OverrideData, otherRoot_isNullWithOneError) {
    const LogCapture log;
    EXPECT_FALSE(OverrideRecords::create("<prefab></prefab>"));
    EXPECT_EQ(log.count(LogSeverity::ERROR), 1U);
}

TEST(OverrideData, rootAlone_isEmpty) {
    const SmartPointer<OverrideRecords> records = OverrideRecords::create(overrides(""));
    ASSERT_TRUE(records);
    EXPECT_TRUE(records->empty());
}

TEST(OverrideData, records_areFoundByUuidAndComponentName) {
    const SmartPointer<OverrideRecords> records =
        OverrideRecords::create(overrides(record(FIRST_TEXT, "<text>lit</text>") + record(ZERO_TEXT, "")));
    ASSERT_TRUE(records);
    EXPECT_FALSE(records->empty());
    EXPECT_NE(records->getRecord(FIRST), nullptr);
    EXPECT_NE(records->getComponentRecord(FIRST, Beacon::NAME), nullptr);
    EXPECT_EQ(records->getComponentRecord(FIRST, "Other"), nullptr);
    EXPECT_EQ(records->getRecord(SECOND), nullptr);
    EXPECT_EQ(records->getComponentRecord(SECOND, Beacon::NAME), nullptr);
    EXPECT_NE(records->getRecord(Uuid::ZERO), nullptr);
}

TEST(OverrideData, malformedUuid_isSkippedWithAnErrorAndTheOthersStay) {
    const LogCapture log;
    const SmartPointer<OverrideRecords> records = OverrideRecords::create(
        overrides(record("not a uuid", "<text>a</text>") + record(FIRST_TEXT, "<text>b</text>")));
    ASSERT_TRUE(records);
    EXPECT_EQ(log.count(LogSeverity::ERROR), 1U);
    EXPECT_EQ(applied(*records, FIRST).text, "b");
}

TEST(OverrideData, merge_addsRecordsAndTheLaterValueWins) {
    const SmartPointer<OverrideRecords> before =
        OverrideRecords::create(overrides(record(FIRST_TEXT, "<text>inner</text><other>kept</other>")));
    const SmartPointer<OverrideRecords> after = OverrideRecords::create(
        overrides(record(FIRST_TEXT, "<text>outer</text>") + record(SECOND_TEXT, "<text>new</text>")));
    before->merge(*after);
    EXPECT_EQ(applied(*before, FIRST).text, "outer");
    EXPECT_EQ(applied(*before, FIRST).other, "kept");
    EXPECT_EQ(applied(*before, SECOND).text, "new");
    EXPECT_EQ(applied(*after, FIRST).other, "");
}

TEST(OverrideData, addBefore_losesAgainstThePresentRecords) {
    const SmartPointer<OverrideRecords> records =
        OverrideRecords::create(overrides(record(FIRST_TEXT, "<text>present</text>")));
    const SmartPointer<OverrideRecords> added =
        OverrideRecords::create(overrides(record(FIRST_TEXT, "<text>added</text><other>added</other>")));
    records->addBefore(FIRST, *added->getComponentRecord(FIRST, Beacon::NAME));
    EXPECT_EQ(applied(*records, FIRST).text, "present");
    EXPECT_EQ(applied(*records, FIRST).other, "added");
}

TEST(OverrideData, addBefore_toNewRecords_makesThem) {
    const SmartPointer<OverrideRecords> records = makeSmart<OverrideRecords>();
    const SmartPointer<OverrideRecords> added =
        OverrideRecords::create(overrides(record(FIRST_TEXT, "<text>added</text>")));
    records->addBefore(Uuid::ZERO, *added->getComponentRecord(FIRST, Beacon::NAME));
    EXPECT_EQ(applied(*records, Uuid::ZERO).text, "added");
}

TEST(OverrideData, clone_isIndependent) {
    const SmartPointer<OverrideRecords> original =
        OverrideRecords::create(overrides(record(FIRST_TEXT, "<text>original</text>")));
    const SmartPointer<OverrideRecords> copy = original->clone();
    copy->merge(*OverrideRecords::create(overrides(record(FIRST_TEXT, "<text>changed</text>"))));
    EXPECT_EQ(applied(*original, FIRST).text, "original");
    EXPECT_EQ(applied(*copy, FIRST).text, "changed");
}

TEST(OverrideData, overrideText_reportsItsProblemsForEachUseAndNotWhenItIsParsed) {
    const LogCapture log;
    const OverrideText text("<overrides>");
    EXPECT_FALSE(text.records());
    EXPECT_EQ(log.count(LogSeverity::ERROR), 0U);
    text.reportProblems();
    text.reportProblems();
    EXPECT_EQ(log.count(LogSeverity::ERROR), 2U);
}

TEST(OverrideData, overrideText_hasTheRecordsOfTheText) {
    const LogCapture log;
    const OverrideText text(overrides(record(FIRST_TEXT, "<text>lit</text>")));
    ASSERT_TRUE(text.records());
    EXPECT_EQ(applied(*text.records(), FIRST).text, "lit");
    text.reportProblems();
    EXPECT_THAT(log.messages(), testing::IsEmpty());
}

} // namespace
} // namespace Conformance
