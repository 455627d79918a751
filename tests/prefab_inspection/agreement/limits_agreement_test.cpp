// Sound prefabs under limits of any size: a check has errors if and only if loading exceeds a limit.

#include "agreement.h"
#include "base_sets.h"
#include "file_set.h"

#include <resource/resource_limits.h>
#include <tessel_asset_loading/prefab_limits.h>

#include <cstddef>
#include <string>

#include <gtest/gtest.h>

namespace Kiln::AgreementTests {
namespace {

using Tessel::PrefabLimits;

class LimitsAgreement : public testing::Test {
protected:
    LimitsAgreement() {
        loadComponents();
        m_folder.hold(baseSet("yard"));
    }
    ~LimitsAgreement() override {
        Tessel::setPrefabLimits({});
        setResourceLimits({});
    }

    /// Tries limits between `first` and `last`, of which the first ones are exceeded and the last ones are not.
    static void tryLimits(std::size_t PrefabLimits::*limit, std::size_t first, std::size_t last, std::size_t step = 1) {
        std::size_t faulty = 0;
        std::size_t count = 0;
        for (std::size_t value = first; value <= last; value += step) {
            PrefabLimits limits;
            limits.*limit = value;
            Tessel::setPrefabLimits(limits);
            faulty += expectAgreement("top.prefab", "limit " + std::to_string(value)).isFaulty ? 1 : 0;
            ++count;
        }
        EXPECT_GT(faulty, 0U);
        EXPECT_LT(faulty, count);
    }

    SetFolder m_folder;
};

TEST_F(LimitsAgreement, objectsOfADocument) {
    tryLimits(&PrefabLimits::objects, 0, 8);
}

TEST_F(LimitsAgreement, componentsOfAnObject) {
    tryLimits(&PrefabLimits::componentsPerObject, 0, 6);
}

TEST_F(LimitsAgreement, bytesOfANameOrPath) {
    tryLimits(&PrefabLimits::nameBytes, 0, 16);
}

TEST_F(LimitsAgreement, bytesOfAnOverrideText) {
    tryLimits(&PrefabLimits::overrideTextBytes, 0, 1200, 20);
}

TEST_F(LimitsAgreement, objectsOfAnInstance) {
    tryLimits(&PrefabLimits::instanceObjects, 0, 24);
}

TEST_F(LimitsAgreement, bytesOfTheOverrideTextsOfAnInstance) {
    tryLimits(&PrefabLimits::instanceOverrideBytes, 0, 2400, 20);
}

TEST_F(LimitsAgreement, visitsOfAWalk_areNoError) {
    PrefabLimits limits;
    limits.walkVisits = 1;
    Tessel::setPrefabLimits(limits);
    EXPECT_FALSE(expectAgreement("top.prefab", "one visit").isFaulty);
}

TEST_F(LimitsAgreement, bytesOfAFile) {
    for (std::size_t value = 500; value < 6000; value += 250) {
        ResourceLimits limits;
        limits.fileSize = value;
        setResourceLimits(limits);
        expectAgreement("top.prefab", "limit " + std::to_string(value));
    }
}

TEST_F(LimitsAgreement, depthOfElements) {
    for (std::size_t value = 1; value < 16; ++value) {
        ResourceLimits limits;
        limits.elementDepth = value;
        setResourceLimits(limits);
        expectAgreement("top.prefab", "limit " + std::to_string(value));
    }
}

} // namespace
} // namespace Kiln::AgreementTests
