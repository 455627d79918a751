// Property lists, the content of an element `properties`: what is read is written and read again without a change.

#include "components.h"
#include "fuzz_target.h"

#include <object_serialization/property_io.h>
#include <reflection/meta_object.h>

#include <string>

namespace Kiln::Fuzz {

namespace {

/// Reads the properties of a configuration, writes them, reads them again and compares.
template <class Config>
void checkStructure(const DataSection& properties) {
    const mirra::BaseStaticMetaObject* const meta = mirra::valueType<Config>().metaObject();
    require(meta != nullptr, "the configuration is described");
    const std::string name = "FuzzedComponent";
    Config config;
    mirra::ReflectedObject object;
    object.init(*meta, &config);
    readProperties(properties, properties.node(), object, name);

    const SmartPointer<DataSection> written = DataSection::create("properties");
    writeProperties(written->node(), object);
    const std::string text = written->toText();
    const SmartPointer<DataSection> document = DataSection::fromText(text, "written properties");
    require(static_cast<bool>(document), "written properties are well formed");

    Config again;
    mirra::ReflectedObject secondObject;
    secondObject.init(*meta, &again);
    readProperties(*document, document->node(), secondObject, name);
    require(mirra::arePropertiesEqual(*meta, &config, &again), "properties are the same after writing and reading");
}

} // namespace

} // namespace Kiln::Fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kiln;
    using namespace Kiln::Fuzz;
    static Environment environment("properties");
    const std::string_view text = asText(data, size);
    const SmartPointer<DataSection> document =
        DataSection::fromText("<properties>" + std::string(text) + "</properties>", "input");
    environment.countInput(static_cast<bool>(document));
    if (document) {
        checkStructure<ValuesConfig>(*document);
        if (text.find("wire") != std::string_view::npos || text.find("target") != std::string_view::npos) {
            checkStructure<LinksConfig>(*document);
        }
    }
    return 0;
}
