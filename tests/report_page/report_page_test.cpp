#include <kiln_prefab/report/report_page.h>

#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabTool {
namespace {

using testing::HasSubstr;
using testing::Not;

class ReportPage : public testing::Test {
protected:
    void SetUp() override {
        if (!hasReportPage()) {
            GTEST_SKIP() << NO_REPORT_PAGE;
        }
    }
};

TEST_F(ReportPage, withData_containsItOnceAndMayNotConnect) {
    std::ostringstream stream;
    writeReportPage(stream, R"({"version":1,"mark":"%CONNECT%"})");
    const std::string page = stream.str();
    EXPECT_THAT(page,
                HasSubstr(R"(<script id="data" type="application/json">{"version":1,"mark":"%CONNECT%"}</script>)"));
    EXPECT_THAT(page, HasSubstr("connect-src 'none';"));
    EXPECT_THAT(page, HasSubstr("default-src 'none';"));
    EXPECT_THAT(page, Not(HasSubstr("unsafe")));
}

TEST_F(ReportPage, served_hasNoDataAndMayConnectToItsServer) {
    const std::string page = servedPage();
    EXPECT_THAT(page, HasSubstr(R"(<script id="data" type="application/json"></script>)"));
    EXPECT_THAT(page, HasSubstr("connect-src 'self';"));
}

TEST_F(ReportPage, namesNoAddressToLoadFrom) {
    const std::string page = servedPage();
    EXPECT_THAT(page, Not(HasSubstr("<link rel=\"stylesheet\"")));
    EXPECT_THAT(page, Not(HasSubstr("src=\"http")));
    EXPECT_THAT(page, Not(HasSubstr("url(http")));
}

} // namespace
} // namespace Kiln::PrefabTool
