// Texts of scalar values, of every type: a text that parses is written and read again without a change.

#include "fuzz_target.h"

#include <common/white_space.h>
#include <object_framework/link_config.h>
#include <reflection/meta_object.h>

#include <string>

namespace Kiln::Fuzz {

namespace {

template <class T>
void checkScalar(std::string_view text) {
    const mirra::ValueType& type = mirra::valueType<T>();
    const T unchanged{};
    T value{};
    if (!type.parse(type.isWhiteSpaceKept() ? text : trimWhiteSpace(text), &value)) {
        require(type.isEqual(&value, &unchanged), "a refused text leaves the value unchanged");
        return;
    }
    std::string written;
    type.format(&value, written);
    T again{};
    require(type.parse(written, &again), "a written value can be read");
    require(type.isEqual(&value, &again), "a value is the same after it was written and read");
    std::string rewritten;
    type.format(&again, rewritten);
    require(rewritten == written, "a value has one text");
}

void checkScalars(std::string_view text) {
    checkScalar<bool>(text);
    checkScalar<std::int8_t>(text);
    checkScalar<std::int16_t>(text);
    checkScalar<std::int32_t>(text);
    checkScalar<std::int64_t>(text);
    checkScalar<std::uint8_t>(text);
    checkScalar<std::uint16_t>(text);
    checkScalar<std::uint32_t>(text);
    checkScalar<std::uint64_t>(text);
    checkScalar<float>(text);
    checkScalar<double>(text);
    checkScalar<std::string>(text);
    checkScalar<Uuid>(text);
    checkScalar<Matrix>(text);
    checkScalar<Tessel::GameObjectLink>(text);
}

} // namespace

} // namespace Kiln::Fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kiln::Fuzz;
    static Environment environment("scalars");
    environment.countInput(true);
    checkScalars(asText(data, size));
    return 0;
}
