#include <support/assertion_capture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(AssertionCapture, failures_keepTheirOwnCopiesOfTheTexts) {
    const AssertionCapture assertions;
    {
        const std::string message = "a text that is too long to be kept inside of the string object itself";
        reportAssertionFailure({"a", message, "file", 3});
    }

    EXPECT_THAT(assertions.failures(),
                ElementsAre(AssertionCapture::Failure{
                    "a", "a text that is too long to be kept inside of the string object itself", "file", 3}));
}

TEST(AssertionCapture, nestedCapture_takesTheFailuresWhileItLives) {
    const AssertionCapture outer;
    {
        const AssertionCapture inner;
        reportAssertionFailure({"", "first", "", 0});
        EXPECT_THAT(inner.messages(), ElementsAre("first"));
    }
    reportAssertionFailure({"", "second", "", 0});

    EXPECT_THAT(outer.messages(), ElementsAre("second"));
}

TEST(AssertionCapture, end_restoresTheDefaultHandler) {
    { const AssertionCapture assertions; }

    EXPECT_FALSE(setAssertionHandler({}));
}

TEST(AssertionCapture, clear_forgetsEarlierFailures) {
    AssertionCapture assertions;
    reportAssertionFailure({"", "first", "", 0});

    assertions.clear();

    EXPECT_THAT(assertions.messages(), IsEmpty());
    EXPECT_EQ(assertions.count(), 0U);
}

} // namespace
} // namespace Kiln::TestSupport
