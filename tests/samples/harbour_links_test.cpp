#include "harbour_fixture.h"

#include <gmock/gmock.h>
#include <harbour_components/berth_component.h>
#include <harbour_components/crane_component.h>

namespace Kiln::SamplesTests {

using namespace Kiln::Tessel;
using Harbour::BerthComponent;
using Harbour::CraneComponent;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
const Uuid LINKS_INSTANCE(0x8b27e6d1c05f4a93, 0xb6f03c9d74e15a28);
} // namespace

class HarbourLinks : public HarbourFixture {
protected:
    HarbourLinks() { spawn(LINKS_INSTANCE); }

    using HarbourFixture::object;
    [[nodiscard]] GameObject object(const std::vector<std::string>& names) { return object(LINKS_INSTANCE, names); }

    [[nodiscard]] const CraneComponent& crane(const std::vector<std::string>& names) {
        return *manager().findComponent<CraneComponent>(object(names));
    }
    [[nodiscard]] const BerthComponent& berth(const std::vector<std::string>& names) {
        return *manager().findComponent<BerthComponent>(object(names));
    }

    /// Line and bollard of each mooring.
    [[nodiscard]] static std::vector<std::pair<std::string, GameObject>> moorings(const BerthComponent& berth) {
        std::vector<std::pair<std::string, GameObject>> result;
        for (const BerthComponent::Mooring& mooring : berth.moorings) {
            result.emplace_back(mooring.line, mooring.bollard);
        }
        return result;
    }
};

TEST_F(HarbourLinks, linkOfANestedRoot_meansTheObjectOfItsOwnInstance) {
    EXPECT_EQ(crane({"North quay", "Crane"}).load, object({"North quay", "Crane", "Hook"}));
    EXPECT_EQ(crane({"South quay", "Crane"}).load, object({"South quay", "Crane", "Hook"}));
}

TEST_F(HarbourLinks, linkOfAPlainObject_meansTheObjectOfItsOwnInstance) {
    EXPECT_EQ(crane({"Annika", "Net winch"}).load, object({"Annika", "Net"}));
}

TEST_F(HarbourLinks, linkToAnIntegrationPoint_meansTheNestedRoot) {
    EXPECT_THAT(moorings(berth({"North quay", "Berth"})),
                ElementsAre(std::pair("bow", object({"North quay", "Bollard 1"})),
                            std::pair("stern", object({"North quay", "Bollard 3"}))));
    EXPECT_THAT(moorings(berth({"South quay", "Berth"})),
                ElementsAre(std::pair("bow", object({"South quay", "Bollard 1"})),
                            std::pair("stern", object({"South quay", "Bollard 3"}))));
}

TEST_F(HarbourLinks, linksIntoNestedPrefabs_meanTheObjectsInside) {
    EXPECT_THAT(berth({"Roadstead"}).ships,
                ElementsAre(object({"Meridian"}), object({"Annika"}), object({"North quay", "Crane", "Hook"})));
}

TEST_F(HarbourLinks, linksToIntegrationPointsInsideNestedPrefabs_meanTheRootsNestedThere) {
    EXPECT_THAT(moorings(berth({"Roadstead"})), ElementsAre(std::pair("bow", object({"North quay", "Bollard 2"})),
                                                            std::pair("stern", object({"South quay", "Bollard 4"}))));
}

TEST_F(HarbourLinks, berthWithoutShips_hasNone) {
    EXPECT_THAT(berth({"North quay", "Berth"}).ships, IsEmpty());
}

TEST_F(HarbourLinks, structure_isReadWithItsComponent) {
    const CraneComponent& component = crane({"North quay", "Crane"});
    EXPECT_EQ(component.reach, 32);
    EXPECT_EQ(component.capacity, 40);
    EXPECT_EQ(component.drive.model, "KD-200");
    EXPECT_EQ(component.drive.power, 200);
    EXPECT_EQ(component.drive.hoistSpeed, 0.9F);
}

} // namespace Kiln::SamplesTests
