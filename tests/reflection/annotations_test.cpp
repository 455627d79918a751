#include <reflection/annotations.h>

#include <gtest/gtest.h>

namespace mirra {

namespace {

constexpr Annotation HIDDEN{"Hidden"};

} // namespace

TEST(Annotations, default_hasNone) {
    const Annotations annotations;

    EXPECT_TRUE(annotations.isEmpty());
    EXPECT_FALSE(annotations.has(HIDDEN));
}

TEST(Annotations, list_hasWhatItNames) {
    const Annotations annotations{Meta::View::Path};

    EXPECT_FALSE(annotations.isEmpty());
    EXPECT_TRUE(annotations.has(Meta::View::Path));
    EXPECT_FALSE(annotations.has(HIDDEN));
}

TEST(Annotations, sameName_isSameAnnotation) {
    EXPECT_TRUE(Annotations{Meta::View::Path}.has(Annotation{"Meta::View::Path"}));
}

TEST(Annotations, add_keepsOwn) {
    Annotations annotations{HIDDEN};
    annotations.add({Meta::View::Path});

    EXPECT_TRUE(annotations.has(HIDDEN));
    EXPECT_TRUE(annotations.has(Meta::View::Path));
}

} // namespace mirra
