#pragma once

#include <object_serialization/deseriralize_error_handler.h>
#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

namespace Kiln::TestSupport {

/// An empty prefab to read into, and a handler that collects its messages.
class DocumentFixture : public WorldFixture {
protected:
    Tessel::GameObjectPrefab prefab;
    std::vector<std::string> handled;
    Tessel::DeseriralizeErrorHandler handler{"Checking harbour",
                                             [this](const std::string& message) { handled.push_back(message); }};
};

} // namespace Kiln::TestSupport
