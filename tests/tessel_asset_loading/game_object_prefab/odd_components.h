#pragma once

#include <object_serialization/component_registration.h>
#include <tessel_foundation/poolable_component.h>

#include <cstdint>
#include <string>
#include <utility>

/// Component types with unusual registration records. None has a description, so their configurations are empty.
namespace Kiln::TestSupport {

template <int NUMBER>
class OddComponent final : public Tessel::PoolableComponent<OddComponent<NUMBER>, Tessel::IComponent> {
public:
    struct Config {};
    explicit OddComponent(const Config& /*config*/) {}
};

/// Record options with USE_RECORD_OPTIONS: client and 0x08.
using PinnedComponent = OddComponent<1>;
inline constexpr std::uint32_t PINNED_OPTIONS = 0x09;

/// Record options with SKIP_ROLE_CHECK: client and 0x10.
using EverywhereComponent = OddComponent<2>;
inline constexpr std::uint32_t EVERYWHERE_OPTIONS = 0x11;

/// Record options with both: server, 0x08 and 0x10.
using PinnedEverywhereComponent = OddComponent<3>;
inline constexpr std::uint32_t PINNED_EVERYWHERE_OPTIONS = 0x1A;

/// Its data has another version than DEFAULT_COMPONENT_VERSION.
using AdvancedComponent = OddComponent<4>;
inline constexpr std::uint32_t ADVANCED_VERSION = 7;

/// Its factory returns null.
using UnmakeableComponent = OddComponent<5>;

/// Has a type id but no record; its id is below that of LastComponent.
using UnrecordedComponent = OddComponent<6>;
using LastComponent = OddComponent<7>;

namespace Detail {

struct OddRegistrations {
    OddRegistrations() {
        append<PinnedComponent>("PinnedComponent",
                                [](ComponentRecord& record) { record.options = Options(PINNED_OPTIONS); });
        append<EverywhereComponent>("EverywhereComponent",
                                    [](ComponentRecord& record) { record.options = Options(EVERYWHERE_OPTIONS); });
        append<PinnedEverywhereComponent>("PinnedEverywhereComponent", [](ComponentRecord& record) {
            record.options = Options(PINNED_EVERYWHERE_OPTIONS);
        });
        append<AdvancedComponent>("AdvancedComponent",
                                  [](ComponentRecord& record) { record.version = ADVANCED_VERSION; });
        append<UnmakeableComponent>("UnmakeableComponent", [](ComponentRecord& record) {
            record.factory = [] { return SmartPointer<IComponentDescriptor>(); };
        });
        (void)Tessel::NativeComponent<UnrecordedComponent>::getType();
        append<LastComponent>("LastComponent", [](ComponentRecord&) {});
    }

private:
    using Options = Tessel::ComponentOptions;

    template <class T, class Change>
    static void append(const std::string& name, Change change) {
        ComponentRecord record = makeComponentRecord<T>(name);
        change(record);
        ComponentLibrary::instance().append(std::move(record));
    }
};

inline const OddRegistrations s_oddRegistrations;

} // namespace Detail

} // namespace Kiln::TestSupport
