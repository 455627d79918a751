#include "document_fixture.h"

#include <object_serialization/override_records.h>

namespace Kiln::SerializationTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Overrides : public PropertiesFixture<TextComponent> {
protected:
    /// A record for one game object.
    [[nodiscard]] static std::string objectText(const std::string& uuid, const std::string& components) {
        return "<gameObject><uuid>" + uuid + "</uuid>" + components + "</gameObject>";
    }

    [[nodiscard]] static std::string componentText(const std::string& type, const std::string& properties) {
        return "<component><type>" + type + "</type><properties>" + properties + "</properties></component>";
    }

    [[nodiscard]] static SmartPointer<OverrideRecords> create(const std::string& objects) {
        return OverrideRecords::create("<overrides>" + objects + "</overrides>");
    }

    /// Records that set properties of the text component of object ONE.
    [[nodiscard]] static SmartPointer<OverrideRecords> createForOne(const std::string& properties) {
        return create(objectText(ONE_TEXT, componentText("TextComponent", properties)));
    }

    /// A text component's configuration with the records applied.
    [[nodiscard]] static Config apply(const OverrideRecords& records, const Uuid& uuid = ONE) {
        Config config{"original text", "original note", 0};
        if (const ComponentOverrideRecords* const record = records.getComponentRecord(uuid, "TextComponent")) {
            applyOverrides(*record, view(config), "TextComponent");
        }
        return config;
    }

    [[nodiscard]] static Message recordError(std::string text) {
        return {LogSeverity::ERROR, "", std::move(text), "object_serialization/override_records"};
    }

    static constexpr Uuid ONE{0, 1};
    static constexpr const char* ONE_TEXT = "00000000-0000-0000-0000-000000000001";
    static constexpr Uuid TWO{0, 2};
    static constexpr const char* TWO_TEXT = "00000000-0000-0000-0000-000000000002";
};

TEST_F(Overrides, create_emptyText_isNullAndSilent) {
    EXPECT_FALSE(OverrideRecords::create(""));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Overrides, create_textThatIsNotWellFormed_isNullAndOneError) {
    EXPECT_FALSE(OverrideRecords::create("<overrides>"));
    ASSERT_EQ(log.messages().size(), 1U);
    EXPECT_EQ(log.messages()[0].severity, LogSeverity::ERROR);
    EXPECT_THAT(log.messages()[0].text, testing::StartsWith("XML error in 'override data' at line 1, column "));
}

TEST_F(Overrides, create_textWithoutAnyElement_isNullAndOneError) {
    for (const char* const text : {"  \n", "lamp", "<!-- nothing -->"}) {
        log.clear();
        EXPECT_FALSE(OverrideRecords::create(text));
        EXPECT_EQ(log.errors().size(), 1U) << text;
    }
}

TEST_F(Overrides, create_otherRoot_isNullAndOneError) {
    EXPECT_FALSE(OverrideRecords::create("<override/>"));
    EXPECT_THAT(log.messages(), ElementsAre(recordError("The root of the override data is 'override' instead of "
                                                        "'overrides'")));
}

TEST_F(Overrides, create_rootAlone_isEmpty) {
    const auto records = create("");
    ASSERT_TRUE(records);
    EXPECT_TRUE(records->empty());
    EXPECT_EQ(records->getRecord(ONE), nullptr);
    EXPECT_EQ(records->getComponentRecord(ONE, "TextComponent"), nullptr);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Overrides, create_records_areFoundByUuidAndComponentName) {
    const auto records =
        create(objectText("\n " + std::string(ONE_TEXT) + " ",
                          componentText("TextComponent", "<text>a</text>") + componentText("Other", "<x>1</x>")));
    EXPECT_FALSE(records->empty());
    ASSERT_NE(records->getRecord(ONE), nullptr);
    EXPECT_EQ(records->getRecord(TWO), nullptr);
    const ComponentOverrideRecords* const record = records->getComponentRecord(ONE, "TextComponent");
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record, records->getRecord(ONE)->find("TextComponent"));
    EXPECT_EQ(record->componentName(), "TextComponent");
    EXPECT_EQ(record->properties().size(), 1U);
    EXPECT_NE(records->getComponentRecord(ONE, "Other"), nullptr);
    EXPECT_EQ(records->getComponentRecord(ONE, "Unknown"), nullptr);
    EXPECT_EQ(records->getComponentRecord(TWO, "TextComponent"), nullptr);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Overrides, create_zeroUuid_isARecordLikeAnother) {
    const auto records =
        create(objectText("00000000-0000-0000-0000-000000000000", componentText("TextComponent", "<text>root</text>")));
    EXPECT_EQ(apply(*records, Uuid::ZERO).text, "root");
    EXPECT_EQ(records->getRecord(ONE), nullptr);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Overrides, create_malformedUuid_isSkippedWithAnErrorAndTheOthersStay) {
    const auto records = create("\n" + objectText(" 12 ", componentText("TextComponent", "<text>a</text>")) + "\n" +
                                objectText(ONE_TEXT, componentText("TextComponent", "<text>b</text>")));
    EXPECT_EQ(apply(*records).text, "b");
    EXPECT_THAT(log.messages(),
                ElementsAre(recordError("Override data, line 2: ' 12 ' is not a UUID; the record is skipped")));
}

TEST_F(Overrides, create_missingUuid_isSkippedWithAnError) {
    const auto records = create("<gameObject>" + componentText("TextComponent", "<text>a</text>") + "</gameObject>");
    ASSERT_TRUE(records);
    EXPECT_TRUE(records->empty());
    EXPECT_THAT(log.messages(),
                ElementsAre(recordError("Override data, line 1: '' is not a UUID; the record is skipped")));
}

TEST_F(Overrides, create_componentWithoutType_isSkippedWithAnError) {
    const auto records = create(objectText(ONE_TEXT, "\n" + componentText("", "<text>a</text>") +
                                                         componentText("TextComponent", "<text>b</text>")));
    EXPECT_EQ(apply(*records).text, "b");
    EXPECT_THAT(log.messages(), ElementsAre(recordError("Override data, line 2: a component without type is skipped")));
}

TEST_F(Overrides, create_typeWithWhiteSpace_isAnotherType) {
    const auto records = create(objectText(ONE_TEXT, componentText(" TextComponent", "<text>a</text>")));
    EXPECT_EQ(records->getComponentRecord(ONE, "TextComponent"), nullptr);
    EXPECT_NE(records->getComponentRecord(ONE, " TextComponent"), nullptr);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Overrides, create_componentWithoutProperties_isNoRecord) {
    const auto records = create(objectText(ONE_TEXT, "<component><type>TextComponent</type></component>"));
    EXPECT_TRUE(records->empty());
    EXPECT_EQ(records->getRecord(ONE), nullptr);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Overrides, create_otherElements_areIgnored) {
    const auto records =
        create("<comment>x</comment>" +
               objectText(ONE_TEXT, "<name>a</name>" + componentText("TextComponent", "<text>b</text>")));
    EXPECT_EQ(apply(*records).text, "b");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Overrides, create_sameObjectTwice_addsUpAndTheLaterWins) {
    const auto records = create(objectText(ONE_TEXT, componentText("TextComponent", "<text>a</text><note>n</note>")) +
                                objectText(ONE_TEXT, componentText("TextComponent", "<text>b</text>")));
    EXPECT_EQ(apply(*records).text, "b");
    EXPECT_EQ(apply(*records).note, "n");
}

TEST_F(Overrides, apply_leavesPropertiesThatNoRecordSets) {
    const Config result = apply(*createForOne("<note>new</note>"));
    EXPECT_EQ(result.text, "original text");
    EXPECT_EQ(result.note, "new");
}

TEST_F(Overrides, apply_problem_namesTheOverrideData) {
    (void)apply(*createForOne("<colour>red</colour>"));
    EXPECT_THAT(log.messages(), ElementsAre(propertyWarning("Component 'TextComponent': property 'colour' is not "
                                                            "known and is skipped (override data, line 1)")));
}

TEST_F(Overrides, merge_propertyThatBothSet_takesTheLaterValue) {
    const auto before = createForOne("<text>before</text><note>before</note>");
    before->merge(*createForOne("<text>after</text>"));
    EXPECT_EQ(apply(*before).text, "after");
    EXPECT_EQ(apply(*before).note, "before");
}

TEST_F(Overrides, merge_addsObjectsAndComponentsThatWereNotThere) {
    const auto before = createForOne("<text>one</text>");
    before->merge(*create(objectText(ONE_TEXT, componentText("Other", "<x>1</x>")) +
                          objectText(TWO_TEXT, componentText("TextComponent", "<text>two</text>"))));
    EXPECT_EQ(apply(*before, ONE).text, "one");
    EXPECT_EQ(apply(*before, TWO).text, "two");
    EXPECT_NE(before->getComponentRecord(ONE, "Other"), nullptr);
}

TEST_F(Overrides, merge_leavesTheOtherRecordsAsTheyWere) {
    const auto before = createForOne("<text>before</text>");
    const auto after = createForOne("<note>after</note>");
    before->merge(*after);
    EXPECT_EQ(apply(*after).text, "original text");
}

TEST_F(Overrides, merge_keepsTheTextsAlive) {
    const auto before = createForOne("<text>before</text>");
    {
        const auto after = createForOne("<note>after</note>");
        before->merge(*after);
    }
    EXPECT_EQ(apply(*before).note, "after");
}

TEST_F(Overrides, clone_isIndependent) {
    const auto original = createForOne("<text>original</text>");
    const auto copy = original->clone();
    copy->merge(*createForOne("<text>changed</text>"));
    copy->merge(*create(objectText(TWO_TEXT, componentText("TextComponent", "<text>two</text>"))));
    EXPECT_EQ(apply(*original).text, "original");
    EXPECT_EQ(original->getRecord(TWO), nullptr);
    EXPECT_EQ(apply(*copy).text, "changed");
}

TEST_F(Overrides, addBefore_losesAgainstWhatIsThere) {
    const auto records = createForOne("<text>own</text>");
    records->addBefore(
        ONE, *createForOne("<text>before</text><note>before</note>")->getComponentRecord(ONE, "TextComponent"));
    EXPECT_EQ(apply(*records).text, "own");
    EXPECT_EQ(apply(*records).note, "before");
}

TEST_F(Overrides, addBefore_toAnObjectWithoutRecords_makesThem) {
    const auto records = create("");
    records->addBefore(TWO, *createForOne("<text>new</text>")->getComponentRecord(ONE, "TextComponent"));
    EXPECT_FALSE(records->empty());
    EXPECT_EQ(apply(*records, TWO).text, "new");
}

TEST_F(Overrides, gameObjectRecords_getMakesAndFindDoesNot) {
    GameObjectOverrideRecords records;
    EXPECT_EQ(records.find("A"), nullptr);
    ComponentOverrideRecords& made = records.get("A");
    EXPECT_EQ(made.componentName(), "A");
    EXPECT_EQ(records.find("A"), &made);
    EXPECT_EQ(&records.get("A"), &made);
}

TEST_F(Overrides, merge_sameObjectAndComponent_keepsEverySectionInOrder) {
    const auto records = createForOne("<text>first</text><colour>red</colour>");
    records->merge(*records->clone());
    records->merge(*createForOne("<text>last</text>"));
    const ComponentOverrideRecords* const merged = records->getComponentRecord(ONE, "TextComponent");
    ASSERT_NE(merged, nullptr);
    EXPECT_EQ(merged->properties().size(), 3U);
    EXPECT_EQ(records->getComponentRecord(ONE, "TextComponent"), merged) << "merged only once";
    EXPECT_EQ(apply(*records).text, "last");
    EXPECT_EQ(log.messages().size(), 2U) << "one warning for each of the two sections with the unknown property";
}

TEST_F(Overrides, merge_withItself_doublesTheSections) {
    const auto records = createForOne("<text>a</text>");
    records->merge(*records);
    EXPECT_EQ(records->getComponentRecord(ONE, "TextComponent")->properties().size(), 2U);
}

TEST_F(Overrides, merge_afterALookup_isSeenByTheNextOne) {
    const auto records = createForOne("<text>a</text>");
    records->merge(*createForOne("<text>b</text>"));
    EXPECT_EQ(apply(*records).text, "b");
    records->merge(*createForOne("<text>c</text>"));
    EXPECT_EQ(apply(*records).text, "c");
}

TEST_F(Overrides, merge_ofMergedRecords_addsAllOfThem) {
    const auto first = createForOne("<text>a</text>");
    first->merge(*createForOne("<note>n</note>"));
    const auto second = createForOne("<text>b</text>");
    second->merge(*first);
    EXPECT_EQ(apply(*second).text, "a");
    EXPECT_EQ(apply(*second).note, "n");
    EXPECT_EQ(second->getComponentRecord(ONE, "TextComponent")->properties().size(), 3U);
}

TEST_F(Overrides, empty_dependsOnAllThatWasMerged) {
    const auto records = create("");
    records->merge(*create(""));
    EXPECT_TRUE(records->empty());
    records->merge(*createForOne("<text>a</text>"));
    EXPECT_FALSE(records->empty());
}

TEST_F(Overrides, clone_sharesTheRecordsThatItDoesNotChange) {
    const auto original = createForOne("<text>a</text>");
    const auto copy = original->clone();
    copy->merge(*create(objectText(TWO_TEXT, componentText("TextComponent", "<text>two</text>"))));
    EXPECT_EQ(copy->getRecord(ONE), original->getRecord(ONE));
}

TEST_F(Overrides, create_manyComponentsOfOneObject_areAllFound) {
    std::string components;
    for (int i = 0; i < 1000; ++i) {
        components += componentText("T" + std::to_string(i % 500), "<x/>");
    }
    const auto records = create(objectText(ONE_TEXT, components));
    for (int i = 0; i < 500; ++i) {
        const ComponentOverrideRecords* const record = records->getComponentRecord(ONE, "T" + std::to_string(i));
        ASSERT_NE(record, nullptr) << i;
        EXPECT_EQ(record->properties().size(), 2U);
    }
    EXPECT_EQ(records->getComponentRecord(ONE, "T500"), nullptr);
}

TEST_F(Overrides, overrideText_reportsTheMessagesOfCreateForEachUse) {
    for (const std::string& data :
         {std::string("<overrides>"), std::string("<override/>"),
          "<overrides>" + objectText("12", "") + objectText(ONE_TEXT, componentText("", "<text/>")) + "</overrides>"}) {
        log.clear();
        EXPECT_EQ(!OverrideRecords::create(data), !OverrideText(data).records());
        const std::vector<Message> ofCreate = log.messages();
        log.clear();
        const OverrideText text(data);
        EXPECT_THAT(log.messages(), IsEmpty()) << "parsing is silent";
        for (int use = 0; use < 2; ++use) {
            log.clear();
            text.reportProblems();
            EXPECT_EQ(log.messages(), ofCreate);
        }
        EXPECT_FALSE(ofCreate.empty());
    }
}

TEST_F(Overrides, overrideText_empty_hasNoRecordsAndNoProblems) {
    const OverrideText text("");
    EXPECT_FALSE(text.records());
    text.reportProblems();
    EXPECT_THAT(log.messages(), IsEmpty());
}

} // namespace
} // namespace Kiln::SerializationTests
