#include "wrong_texts.h"

#include <common/uuid.h>

#include <cctype>
#include <cstddef>
#include <optional>
#include <utility>

namespace Kiln::AgreementTests {

namespace {

constexpr std::string_view NUMBERS[] = {"0",   "1",          "2",
                                        "3",   "5",          "7",
                                        "34",  "35",         "36",
                                        "63",  "64",         "99",
                                        "255", "256",        "-1",
                                        "-0",  "+1",         "007",
                                        "1.0", "1e2",        "0x1",
                                        "1 2", "4294967295", "4294967296",
                                        "one", "",           " 2 ",
                                        "\n1", "1x",         "18446744073709551615",
                                        "٣",   "2,000",      "99999999999999999999999"};

constexpr std::string_view VALUES[] = {"",
                                       " ",
                                       "true",
                                       "false",
                                       "True",
                                       "TRUE",
                                       "yes",
                                       "0",
                                       "1",
                                       "-1",
                                       "127",
                                       "128",
                                       "-128",
                                       "-129",
                                       "255",
                                       "256",
                                       "32767",
                                       "32768",
                                       "65535",
                                       "65536",
                                       "2147483647",
                                       "2147483648",
                                       "-2147483649",
                                       "4294967296",
                                       "9223372036854775808",
                                       "18446744073709551616",
                                       "1.5",
                                       "1,5",
                                       ".5",
                                       "5.",
                                       "1e38",
                                       "1e40",
                                       "1e-60",
                                       "1e308",
                                       "1e400",
                                       "nan",
                                       "NaN",
                                       "inf",
                                       "-inf",
                                       "infinity",
                                       "0x10",
                                       "+5",
                                       " 7 ",
                                       "\t8\n",
                                       "12abc",
                                       "1f",
                                       "red",
                                       "a\nb",
                                       "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1",
                                       "1 0 0 0  0 1 0 0\n0 0 1 0\t3 -4 5.5 1",
                                       "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0",
                                       "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 1",
                                       "1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1",
                                       "nan 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1",
                                       "0 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1",
                                       "1 0 0 0 0 1 0 0 0 0 1 0 1e999 0 0 1",
                                       "x"};

constexpr std::string_view PROPERTIES[] = {
    "parent",   "local",   "resource",       "overridesData", "hasOverrides", "tag",     "note",    "isOn",  "int8",
    "int16",    "uint8",   "signedNumber",   "int64",         "uint32",       "single",  "real",    "text",  "uuid",
    "matrix",   "numbers", "rows",           "measure",       "measures",     "tree",    "target",  "wire",  "cable",
    "targets",  "wires",   "unsignedNumber", "colour",        "brightness",   "isLit",   "load",    "drive", "value",
    "children", "amount",  "unit",           "end",           "name",         "unknown", "moorings"};

constexpr std::string_view TYPES[] = {"HierarchyComponent", "TransformComponent", "PrefabComponent", "TagComponent",
                                      "ValuesComponent",    "LinksComponent",     "LampComponent",   "SignComponent",
                                      "CraneComponent",     "BerthComponent",     "NoSuchComponent", ""};

[[nodiscard]] std::string wrongPath(const std::string& present, const DocumentContext& context) {
    RandomChoice& random = context.random;
    const std::string& path = random.pick(context.paths);
    switch (random.below(16)) {
    case 0:
        return "missing.prefab";
    case 1:
        return {};
    case 2:
        return "../" + path;
    case 3:
        return "/" + path;
    case 4:
        return "./" + path;
    case 5:
        return path + " ";
    case 6:
        return "\n\t" + path;
    case 7:
        return misspelt(present, random);
    case 8:
        return "donors";
    case 9:
        return "donors/../" + path;
    case 10:
        return std::string(70'000, 'x');
    default:
        return path;
    }
}

[[nodiscard]] std::string wrongName(RandomChoice& random) {
    constexpr std::string_view NAMES[] = {"", " ", "a/b", "naïve", "tab\there", "line\nbreak", "<b>&amp;</b>", "]]>"};
    return random.isOneIn(8) ? std::string(random.isOneIn(2) ? 65'536 : 65'537, 'n') : std::string(random.pick(NAMES));
}

[[nodiscard]] std::string wrongOverrides(const DocumentContext& context) {
    RandomChoice& random = context.random;
    const std::string uuid = random.pick(context.uuids);
    const std::string property = anyProperty(random);
    const std::string record = "<gameObject><uuid>" + uuid + "</uuid><component><type>" + wrongType("", random) +
                               "</type><properties><" + property + ">1</" + property +
                               "></properties></component></gameObject>";
    switch (random.below(18)) {
    case 0:
        return {};
    case 1:
        return " \n ";
    case 2:
        return "<overrides/>";
    case 3:
        return "<override/>";
    case 4:
        return "<overrides>";
    case 5:
        return "none";
    case 6:
        return "<overrides></overrides><overrides/>";
    case 7:
        return "<?xml version=\"1.0\"?><!-- c --><overrides></overrides>";
    case 8:
        return "<overrides>" + record + "</overrides>";
    case 9:
        return "<overrides>text<other/></overrides>";
    case 10:
        return "<overrides><gameObject/></overrides>";
    case 11:
        return "<overrides><gameObject><uuid>" + uuid + "</uuid><component/></gameObject></overrides>";
    case 12:
        return "<overrides><gameObject><uuid>" + uuid +
               "</uuid><component><type>TagComponent</type></component></gameObject></overrides>";
    case 13:
        return "<!DOCTYPE overrides []><overrides a='1' a='2'/>";
    case 14:
        return "<overrides>&#27;</overrides>";
    case 15:
        return "<overrides><gameObject><uuid>" + uuid +
               "</uuid><component><properties/></component></gameObject></overrides>";
    case 16:
        return "trailing <overrides/>";
    default:
        return "<overrides/> trailing";
    }
}

} // namespace

std::string misspelt(std::string name, RandomChoice& random) {
    if (name.size() < 2) {
        return name + "x";
    }
    const std::size_t index = random.below(name.size() - 1);
    switch (random.below(4)) {
    case 0:
        name.erase(index, 1);
        break;
    case 1:
        name.insert(index, 1, name[index]);
        break;
    case 2:
        std::swap(name[index], name[index + 1]);
        break;
    default: {
        const auto letter = static_cast<unsigned char>(name[index]);
        name[index] = static_cast<char>(std::islower(letter) != 0 ? std::toupper(letter) : std::tolower(letter));
        break;
    }
    }
    return name;
}

std::string wrongUuid(const std::string& present, const DocumentContext& context) {
    RandomChoice& random = context.random;
    const std::string& known = random.pick(context.uuids);
    switch (random.below(14)) {
    case 0:
        return Uuid::ZERO.toString();
    case 1:
        return present.substr(0, random.below(present.size() + 1));
    case 2:
        return present + "0";
    case 3:
        return "{" + present + "}";
    case 4:
        return misspelt(present, random);
    case 5:
        return Uuid(random.bits(), random.bits()).toString();
    case 6:
        return "";
    case 7:
        return " " + present + "\n";
    case 8: {
        const std::optional<Uuid> outer = Uuid::fromString(random.pick(context.uuids));
        const std::optional<Uuid> inner = Uuid::fromString(random.pick(context.uuids));
        return outer && inner ? Uuid::combine(*outer, *inner).toString() : known;
    }
    default:
        return known;
    }
}

std::string wrongType(const std::string& present, RandomChoice& random) {
    switch (random.below(6)) {
    case 0:
        return misspelt(present, random);
    case 1:
        return " " + present;
    default:
        return std::string(random.pick(TYPES));
    }
}

std::string wrongValue(const DocumentContext& context) {
    switch (context.random.below(8)) {
    case 0:
        return wrongUuid(context.random.pick(context.uuids), context);
    case 1:
        return std::string(context.random.pick(NUMBERS));
    default:
        return std::string(context.random.pick(VALUES));
    }
}

std::string anyProperty(RandomChoice& random) {
    return std::string(random.pick(PROPERTIES));
}

std::string wrongText(const std::string& element, const std::string& present, const DocumentContext& context) {
    RandomChoice& random = context.random;
    if (random.isOneIn(12)) {
        return wrongValue(context);
    }
    if (element == "uuid" || element == "parent" || element == "target" || element == "end" || element == "load") {
        return wrongUuid(present, context);
    }
    if (element == "type") {
        return wrongType(present, random);
    }
    if (element == "resource") {
        return wrongPath(present, context);
    }
    if (element == "overridesData") {
        return wrongOverrides(context);
    }
    if (element == "name") {
        return wrongName(random);
    }
    const bool isNumber = element == "gameObject" || element == "options" || element == "flags" ||
                          element == "version" || element == "formatVersion";
    return isNumber ? std::string(random.pick(NUMBERS)) : wrongValue(context);
}

} // namespace Kiln::AgreementTests
