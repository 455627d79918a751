// Override data: parsed, applied to component configurations, merged and restored.

#include "components.h"
#include "fuzz_target.h"

#include <object_serialization/component_library.h>
#include <object_serialization/override_records.h>
#include <object_serialization/property_io.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::Fuzz {

namespace {

constexpr std::size_t MAX_UUIDS = 8;

/// The UUIDs in a text, each once, and the zero UUID.
[[nodiscard]] std::vector<Uuid> uuidsIn(std::string_view text) {
    constexpr std::size_t LENGTH = 36;
    std::vector<Uuid> uuids{Uuid::ZERO};
    for (std::size_t dash = text.find('-'); dash != std::string_view::npos && uuids.size() < MAX_UUIDS;
         dash = text.find('-', dash + 1)) {
        if (dash < 8) {
            continue;
        }
        const std::optional<Uuid> uuid = Uuid::fromString(text.substr(dash - 8, LENGTH));
        if (uuid && std::find(uuids.begin(), uuids.end(), *uuid) == uuids.end()) {
            uuids.push_back(*uuid);
        }
    }
    return uuids;
}

[[nodiscard]] std::string configurationText(IComponentDescriptor& component) {
    const SmartPointer<DataSection> section = DataSection::create("properties");
    writeProperties(section->node(), component.viewConfiguration());
    return section->toText();
}

/// A component type with a descriptor that all inputs share.
struct Subject {
    SmartPointer<IComponentDescriptor> descriptor;
    std::string defaults; ///< The text of the default configuration.
};

[[nodiscard]] std::vector<Subject> makeSubjects() {
    const ComponentLibrary& library = ComponentLibrary::instance();
    std::vector<Subject> subjects;
    for (std::size_t id = 0; id < library.componentsCount(); ++id) {
        if (SmartPointer<IComponentDescriptor> descriptor = library.createDescriptor(id)) {
            descriptor->storePrefabProperties();
            std::string defaults = configurationText(*descriptor);
            subjects.push_back({std::move(descriptor), std::move(defaults)});
        }
    }
    return subjects;
}

[[nodiscard]] std::string textWith(const Subject& subject, const ComponentOverrideRecords& overrides) {
    subject.descriptor->setupOverrides(&overrides);
    return configurationText(*subject.descriptor);
}

void check(const OverrideRecords& records, const std::vector<Uuid>& uuids) {
    static const std::vector<Subject> subjects = makeSubjects();
    const SmartPointer<OverrideRecords> doubled = records.clone();
    doubled->merge(records);
    require(doubled->empty() == records.empty(), "merging records with themselves adds no object");
    for (const Uuid& uuid : uuids) {
        for (const Subject& subject : subjects) {
            const std::string& name = subject.descriptor->name();
            const ComponentOverrideRecords* const overrides = records.getComponentRecord(uuid, name);
            if (!overrides) {
                continue;
            }
            const std::string overridden = textWith(subject, *overrides);
            require(textWith(subject, *overrides) == overridden, "overrides can be applied twice");
            require(textWith(subject, *doubled->getComponentRecord(uuid, name)) == overridden,
                    "records that are merged with themselves have the same effect");
            const SmartPointer<OverrideRecords> extended = records.clone();
            extended->addBefore(uuid, *overrides);
            require(textWith(subject, *extended->getComponentRecord(uuid, name)) == overridden,
                    "earlier records lose against later ones");
            subject.descriptor->setupOverrides(nullptr);
            require(configurationText(*subject.descriptor) == subject.defaults,
                    "a configuration without overrides has the prefab's own values");
        }
    }
}

} // namespace

} // namespace Kiln::Fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kiln;
    using namespace Kiln::Fuzz;
    static Environment environment("overrides");
    prefab_component(); // Loads the module, which registers the PrefabComponent.
    const std::string text(asText(data, size));
    const SmartPointer<OverrideRecords> records = OverrideRecords::create(text);
    environment.countInput(static_cast<bool>(records));
    if (records) {
        check(*records, uuidsIn(text));
    }
    return 0;
}
