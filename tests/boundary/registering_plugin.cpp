// A plug-in built without special flags. Each function registers one kind of thing that the platform keeps until the
// process ends.

#include <object_framework/entry_point.h>
#include <object_framework/reactive_manager.h>
#include <object_framework/service.h>
#include <object_serialization/component_registration.h>
#include <reflection/meta_object.h>
#include <tessel_foundation/poolable_component.h>
#include <variant/variant_converter.h>

#include <cstdint>
#include <memory>

namespace Kiln::BoundaryTests {

class AnchorComponent final : public Tessel::PoolableComponent<AnchorComponent, Tessel::IComponent> {
public:
    struct Config {
        std::int32_t weight = 7;
    };

    explicit AnchorComponent(const Config& config) : weight(config.weight) {}

    std::int32_t weight;
};

struct Chain {
    std::int32_t links = 0;
};

struct AnchorService final : Tessel::IService {
    void init() override {}
    void fini() override {}
    void tick() override {}
    void postTick() override {}
    void onWorldDestroyed(int /*worldId*/) override {}
};

class AnchorManager final : public Tessel::IReactiveManager {
public:
    void init(Tessel::World& /*world*/) override {}
    void fini(Tessel::World& /*world*/) override {}
};

} // namespace Kiln::BoundaryTests

namespace {
using namespace Kiln;
using namespace Kiln::BoundaryTests;
} // namespace

extern "C" {

[[gnu::visibility("default")]] void registerNothing() {}

[[gnu::visibility("default")]] void registerComponent() {
    ComponentLibrary::instance().append(makeComponentRecord<AnchorComponent>("AnchorComponent"));
}

[[gnu::visibility("default")]] void registerMetaObject() {
    mirra::StaticMetaObjectBuilder<Chain> chain("Chain");
    chain.addProperty<&Chain::links>("links");
    chain.finish();
}

[[gnu::visibility("default")]] void registerService() {
    Tessel::EntryPoint::instance().registerService(typeid(AnchorService), std::make_unique<AnchorService>());
}

[[gnu::visibility("default")]] void registerReactiveManager() {
    Tessel::EntryPoint::instance().registerReactiveManager(
        [](std::unique_ptr<Tessel::IManagerInitData>) { return std::make_unique<AnchorManager>(); });
}

[[gnu::visibility("default")]] void registerConversion() {
    vessa::VariantConverter::registerBase<AnchorService, Tessel::IService>();
}
}
