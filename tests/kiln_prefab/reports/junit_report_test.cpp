#include "report_fixture.h"

#include <resource/data_section.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {

namespace {

using testing::HasSubstr;
using testing::Not;

TEST(JunitReport, files_areTestCasesWithTheirFailures) {
    const CheckResult result{
        {fullFinding(), unknownComponent()},
        {checkedFile("crane.prefab"), checkedFile("props/lamp.prefab"), checkedFile("quay.prefab")}};
    EXPECT_EQ(report(ReportFormat::JUNIT, result),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<testsuites tests=\"3\" failures=\"1\" errors=\"0\">\n"
              "<testsuite name=\"kiln-prefab check\" tests=\"3\" failures=\"1\" errors=\"0\">\n"
              "<testcase classname=\"kiln-prefab.check\" name=\"crane.prefab\"/>\n"
              "<testcase classname=\"kiln-prefab.check\" name=\"props/lamp.prefab\">\n"
              "<failure type=\"KP0304\" message=\"'yes' is not a value of the type bool.\">"
              "props/lamp.prefab:7:8: error: 'yes' is not a value of the type bool. [KP0304]\n"
              "    7 | &lt;isLit&gt;yes&lt;/isLit&gt;\n"
              "      |        ^~~\n"
              "  object 'Lamp/Bulb' 00000000-0000-0000-0000-000000000002\n"
              "  nested at quay.prefab:30:2: integration point 'Lamp'\n"
              "  nested at harbour.prefab:40:3: integration point 'Quay'\n"
              "  see props/lamp.prefab:3:1: the object\n"
              "  affects 2 prefabs: harbour.prefab, quay.prefab\n"
              "  help: Write 'true' or 'false'.\n"
              "</failure>\n"
              "</testcase>\n"
              "<testcase classname=\"kiln-prefab.check\" name=\"quay.prefab\">\n"
              "<system-out>quay.prefab:12:9: warning: No component type 'LampComp' is registered. [KP0301]\n"
              "   12 | \t\t&lt;type&gt;LampComp&lt;/type&gt;\n"
              "      | \t\t      ^~~~~~~~\n"
              "  help: Write 'LampComponent'.\n"
              "</system-out>\n"
              "</testcase>\n"
              "<system-out>1 error and 1 warning in 3 checked files.</system-out>\n"
              "</testsuite>\n"
              "</testsuites>\n");
}

TEST(JunitReport, failingSeverity_decidesWhatIsAFailure) {
    ReportOptions options;
    options.failingSeverity = Severity::WARNING;
    EXPECT_THAT(report(ReportFormat::JUNIT, {{unknownComponent()}, {}}, options),
                HasSubstr("<failure type=\"KP0301\" message=\"No component type 'LampComp' is registered.\">"));
}

TEST(JunitReport, fileThatIsNotAmongTheCheckedOnes_isATestCaseToo) {
    EXPECT_THAT(report(ReportFormat::JUNIT, {{missingFile()}, {}}),
                HasSubstr("<testsuite name=\"kiln-prefab check\" tests=\"1\" failures=\"1\" errors=\"0\">\n"
                          "<testcase classname=\"kiln-prefab.check\" name=\"lost.prefab\">\n"));
}

TEST(JunitReport, everyByte_yieldsWellFormedXml) {
    for (int byte = 0; byte < 256; ++byte) {
        Finding finding = hostileFinding();
        finding.message = std::string("<&\"'>]]>") + static_cast<char>(byte) + "\xef\xbf\xbe\xef\xbf\xbf";
        const std::string xml = report(ReportFormat::JUNIT, {{finding}, {checkedFile(HOSTILE)}});
        EXPECT_FALSE(hasRawCharacters(xml));
        EXPECT_THAT(xml, Not(HasSubstr("\xef\xbf\xbe")));
        EXPECT_THAT(xml, Not(HasSubstr("\xef\xbf\xbf")));
        EXPECT_TRUE(DataSection::fromText(xml, "report")) << "byte " << byte;
    }
}

TEST(JunitReport, specialCharacters_areEscaped) {
    Finding finding = missingFile();
    finding.message = "<&\"'>\xef\xbf\xbe";
    EXPECT_THAT(report(ReportFormat::JUNIT, {{finding}, {}}),
                HasSubstr("message=\"&lt;&amp;&quot;'&gt;\\xef\\xbf\\xbe\">"));
}

} // namespace

} // namespace Kiln::PrefabToolTests
