#pragma once

#include "kiln_prefab_fixture.h"

namespace Kiln::PrefabToolTests {

/// A directory with "quay.prefab", which nests "lamp.prefab" twice: five objects in two files, and five in an instance.
class QuayFixture : public KilnPrefabFixture {
protected:
    QuayFixture() {
        write("lamp.prefab", PrefabText().object(id(11), "Lamp").object(id(12), "Bulb").parent(1, id(11)));
        write("quay.prefab", PrefabText()
                                 .object(id(1), "Quay")
                                 .object(id(2), "North lamp")
                                 .object(id(3), "South lamp")
                                 .parent(1, id(1))
                                 .parent(2, id(1))
                                 .nest(1, "lamp.prefab")
                                 .nest(2, "lamp.prefab"));
    }
};

} // namespace Kiln::PrefabToolTests
