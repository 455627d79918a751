// docs/porting.md lists what the product needs of a platform. These tests compare its tables with what the product's
// shared objects import from the platform's, and with the product's sources.

#include <build_paths.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

const fs::path ROOT = KILN_SOURCE_DIR;

/// The libraries of the platform, in the order of the document, and those of the product.
constexpr std::array PLATFORM_LIBRARIES{"core",
                                        "common",
                                        "resource",
                                        "variant",
                                        "reflection",
                                        "object_framework",
                                        "object_serialization",
                                        "generic_components"};
constexpr std::array PRODUCT_LIBRARIES{"tessel_foundation", "tessel_asset_loading", "tessel_streaming"};

// The document.

struct Row {
    std::string library; ///< The heading that it stands under.
    std::string name;
    std::string kind;
    std::string form;
    std::vector<std::string> files;   ///< Of the product, relative to one of its folders.
    std::vector<std::string> through; ///< Names of other rows.
};

struct Document {
    std::vector<Row> rows;
    std::map<std::string, std::set<std::string>> headers; ///< By library.
};

[[nodiscard]] std::string readFile(const fs::path& path) {
    std::ifstream stream(path);
    if (!stream) {
        throw std::runtime_error("cannot open " + path.string());
    }
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The parts of a text that stand in backquotes.
[[nodiscard]] std::vector<std::string> quotedIn(const std::string& text) {
    static const std::regex quoted("`([^`]+)`");
    std::vector<std::string> parts;
    for (std::sregex_iterator part(text.begin(), text.end(), quoted), end; part != end; ++part) {
        parts.push_back((*part)[1]);
    }
    return parts;
}

[[nodiscard]] std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

[[nodiscard]] Row readRow(const std::string& library, const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream stream(line.substr(1));
    for (std::string cell; std::getline(stream, cell, '|');) {
        cells.push_back(trimmed(cell));
    }
    if (cells.size() != 5 || quotedIn(cells[0]).size() != 1) {
        throw std::runtime_error("not a row of five cells: " + line);
    }
    Row row{library, quotedIn(cells[0])[0], cells[2], cells[3], {}, {}};
    const std::string& callers = cells[4];
    (callers.starts_with("through ") ? row.through : row.files) = quotedIn(callers);
    return row;
}

/// Reads the sections "### <library>": the paragraph that begins with "Headers:" and the table.
[[nodiscard]] Document readDocument() {
    Document document;
    std::istringstream lines(readFile(ROOT / "docs/porting.md"));
    std::string library;
    bool isInHeaders = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("#")) {
            library = line.starts_with("### ") ? line.substr(4) : "";
        }
        isInHeaders = line.starts_with("Headers:") || (isInHeaders && !line.empty());
        if (library.empty()) {
            continue;
        }
        if (isInHeaders) {
            for (const std::string& header : quotedIn(line)) {
                document.headers[library].insert(header);
            }
        } else if (line.starts_with("| `")) {
            document.rows.push_back(readRow(library, line));
        }
    }
    return document;
}

const Document& document() {
    static const Document document = readDocument();
    return document;
}

// The shared objects.

[[nodiscard]] std::vector<std::string> runNm(const std::string& options, const std::string& library) {
    const std::string command =
        std::string(KILN_NM) + " -D " + options + " '" KILN_BUILD_LIB_DIR "/libkiln_" + library + ".so'";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
    std::string output;
    std::array<char, 4096> buffer;
    while (pipe && std::fgets(buffer.data(), static_cast<int>(buffer.size()), pipe.get())) {
        output += buffer.data();
    }
    std::vector<std::string> lines;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// Mangled names. nm writes "<address> <letter> <name>", without the address for undefined ones.
[[nodiscard]] std::set<std::string> symbolsOf(const std::string& library, const std::string& options) {
    std::set<std::string> symbols;
    for (const std::string& line : runNm(options, library)) {
        symbols.insert(line.substr(line.rfind(' ') + 1));
    }
    return symbols;
}

[[nodiscard]] std::map<std::string, std::string> demangledOf(const std::string& library) {
    const std::vector<std::string> mangled = runNm("--undefined-only -p", library);
    const std::vector<std::string> demangled = runNm("--undefined-only -p -C", library);
    std::map<std::string, std::string> names;
    for (std::size_t i = 0; i < mangled.size() && mangled.size() == demangled.size(); ++i) {
        const std::size_t begin = demangled[i].find_first_not_of(' ') + 2; // After the letter.
        names[mangled[i].substr(mangled[i].rfind(' ') + 1)] = demangled[i].substr(begin);
    }
    return names;
}

/// The qualified name in a demangled symbol: without parameters, template arguments, ABI tags, and the namespaces Kiln
/// and Kiln::Tessel. Type information and virtual tables have the name of the type.
[[nodiscard]] std::string operationName(std::string symbol) {
    for (const std::string_view prefix : {"typeinfo for ", "typeinfo name for ", "vtable for ", "VTT for "}) {
        if (symbol.starts_with(prefix)) {
            symbol.erase(0, prefix.size());
        }
    }
    std::string name;
    int depth = 0;
    for (std::size_t i = 0; i < symbol.size(); ++i) {
        const char c = symbol[i];
        depth += c == '<' ? 1 : 0;
        if (depth == 0 && c == '(') {
            if (!name.ends_with("operator")) {
                break;
            }
            name += "()";
            ++i;
        } else if (depth == 0 && c == '[') {
            i = symbol.find(']', i);
        } else if (depth == 0) {
            name += c;
        }
        depth -= c == '>' ? 1 : 0;
    }
    for (const std::string_view space : {"Kiln::Tessel::", "Kiln::"}) {
        if (name.starts_with(space)) {
            return name.substr(space.size());
        }
    }
    return name;
}

/// "library: name" of everything that the product imports from the platform.
[[nodiscard]] std::set<std::string> importedOperations() {
    std::map<std::string, std::string> exporters;
    for (const char* const library : PLATFORM_LIBRARIES) {
        for (const std::string& symbol : symbolsOf(library, "--defined-only")) {
            exporters.try_emplace(symbol, library);
        }
    }
    std::set<std::string> operations;
    for (const char* const product : PRODUCT_LIBRARIES) {
        for (const auto& [symbol, demangled] : demangledOf(product)) {
            if (const auto exporter = exporters.find(symbol); exporter != exporters.end()) {
                operations.insert(exporter->second + ": " + operationName(demangled));
            }
        }
    }
    return operations;
}

/// "library: name" of the rows whose operations are imported.
[[nodiscard]] std::set<std::string> listedImports() {
    std::set<std::string> operations;
    for (const Row& row : document().rows) {
        if (row.form == "imported") {
            operations.insert(row.library + ": " + row.name);
        }
    }
    return operations;
}

[[nodiscard]] std::set<std::string> without(const std::set<std::string>& all, const std::set<std::string>& others) {
    std::set<std::string> rest;
    std::set_difference(all.begin(), all.end(), others.begin(), others.end(), std::inserter(rest, rest.end()));
    return rest;
}

// The sources.

/// The files that a cell names: one of the product's folders has them. A name that ends in a slash is a folder and
/// means the files in it and below. Empty when there is no such file.
[[nodiscard]] std::vector<fs::path> productFiles(const std::string& name) {
    std::vector<fs::path> files;
    for (const char* const library : PRODUCT_LIBRARIES) {
        const fs::path path = ROOT / "shared_libs" / library / name;
        if (fs::is_regular_file(path)) {
            files.push_back(path);
        } else if (name.ends_with('/') && fs::is_directory(path)) {
            for (const auto& entry : fs::recursive_directory_iterator(path)) {
                if (entry.is_regular_file()) {
                    files.push_back(entry.path());
                }
            }
        }
    }
    return files;
}

[[nodiscard]] std::string readCode(const fs::path& path) {
    static const std::regex comment("//[^\n]*");
    return std::regex_replace(readFile(path), comment, "");
}

/// The word that a caller writes: the last part of a qualified name, or the class for its constructor and destructor.
[[nodiscard]] std::string wordInSources(const std::string& name) {
    std::string word = name.substr(name.rfind(':') + 1); // npos + 1 is 0.
    if (word.starts_with('~')) {
        word.erase(0, 1);
    }
    return word;
}

[[nodiscard]] bool containsWord(const std::string& text, const std::string& word) {
    const auto isPartOfWord = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; };
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        const std::size_t end = at + word.size();
        const bool isWhole = (at == 0 || !isPartOfWord(text[at - 1]) || !isPartOfWord(word.front())) &&
                             (end == text.size() || !isPartOfWord(text[end]) || !isPartOfWord(word.back()));
        if (isWhole) {
            return true;
        }
    }
    return false;
}

/// "library: header" of each header of the platform that the product includes.
[[nodiscard]] std::set<std::string> includedHeaders() {
    static const std::regex include("#include <([a-z_]+)/([a-z_]+\\.h)>");
    std::set<std::string> headers;
    for (const auto& entry : fs::recursive_directory_iterator(ROOT / "shared_libs")) {
        if (!entry.is_regular_file()) {
            continue;
        }
        const std::string text = readFile(entry.path());
        for (std::sregex_iterator found(text.begin(), text.end(), include), end; found != end; ++found) {
            const std::string library = (*found)[1];
            if (std::find(PLATFORM_LIBRARIES.begin(), PLATFORM_LIBRARIES.end(), library) != PLATFORM_LIBRARIES.end()) {
                headers.insert(library + ": " + library + "/" + (*found)[2].str());
            }
        }
    }
    return headers;
}

// The tests.

TEST(PortingTable, imports_areListedAndNothingElseIs) {
    if (!KILN_COMPARES_IMPORTS) {
        GTEST_SKIP() << "only a release build with g++ imports exactly what the document lists";
    }
    const std::set<std::string> imported = importedOperations();
    ASSERT_GT(imported.size(), 50U) << "is " << KILN_NM << " missing?";
    EXPECT_THAT(without(imported, listedImports()), IsEmpty()) << "imported, but missing in docs/porting.md";
    EXPECT_THAT(without(listedImports(), imported), IsEmpty()) << "in docs/porting.md as imported, but it is not";
}

TEST(PortingTable, includedHeaders_areListedAndNothingElseIs) {
    std::set<std::string> listed;
    for (const auto& [library, headers] : document().headers) {
        for (const std::string& header : headers) {
            listed.insert(library + ": " + header);
        }
    }
    EXPECT_THAT(without(includedHeaders(), listed), IsEmpty()) << "included, but missing in docs/porting.md";
    EXPECT_THAT(without(listed, includedHeaders()), IsEmpty()) << "in docs/porting.md, but not included";
}

TEST(PortingTable, files_existAndContainTheName) {
    for (const Row& row : document().rows) {
        for (const std::string& name : row.files) {
            const std::vector<fs::path> files = productFiles(name);
            EXPECT_FALSE(files.empty()) << row.name << ": no file " << name;
            const bool isFound = std::any_of(files.begin(), files.end(), [&row](const fs::path& file) {
                return containsWord(readCode(file), wordInSources(row.name));
            });
            EXPECT_TRUE(isFound) << row.name << " does not occur in " << name;
        }
    }
}

TEST(PortingTable, rowsWithoutFiles_nameARowThatBringsThemIn) {
    std::set<std::string> names;
    for (const Row& row : document().rows) {
        names.insert(row.name);
    }
    for (const Row& row : document().rows) {
        EXPECT_FALSE(row.files.empty() && row.through.empty()) << row.name << " is called nowhere";
        for (const std::string& other : row.through) {
            EXPECT_TRUE(names.contains(other)) << row.name << ": no row " << other;
        }
    }
}

TEST(PortingTable, kindsAndForms_areTheOnesThatAreExplained) {
    for (const Row& row : document().rows) {
        EXPECT_THAT(row.kind, testing::AnyOf("contract", "extension", "internal")) << row.name;
        EXPECT_THAT(row.form, testing::AnyOf("imported", "inline")) << row.name;
    }
}

TEST(PortingTable, rows_areSortedByLibraryAndName) {
    std::vector<std::pair<std::size_t, std::string>> order;
    for (const Row& row : document().rows) {
        const auto library = std::find(PLATFORM_LIBRARIES.begin(), PLATFORM_LIBRARIES.end(), row.library);
        ASSERT_NE(library, PLATFORM_LIBRARIES.end()) << row.library;
        order.emplace_back(library - PLATFORM_LIBRARIES.begin(), row.name);
    }
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    EXPECT_EQ(std::adjacent_find(order.begin(), order.end()), order.end()) << "a name is listed twice";
}

} // namespace
