#include "rows.h"

#include "workload_files.h"

#include <prefab_comparison/text_comparison.h>
#include <resource/file_system_utils.h>
#include <resource/resource_text.h>

#include <cstddef>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Kiln::Benchmarks {

namespace {

constexpr std::size_t OBJECTS_COUNT = 100'000;

[[nodiscard]] FileContent readFile(const std::string& name) {
    FS::Utils::ResourceText file = FS::Utils::readResource(name);
    if (file.status != FS::Utils::ResourceText::Status::READ) {
        throw std::runtime_error("cannot read " + name);
    }
    return std::move(file.content);
}

/// What `diff` does with two files, except that the changes are not printed.
void compareFiles(const std::string& before, const std::string& after, std::size_t expectedChanges) {
    const PrefabComparison::TextComparison comparison =
        PrefabComparison::compareTexts(before, readFile(before), after, readFile(after));
    if (!comparison.problem.empty() || comparison.changes.size() != expectedChanges) {
        throw std::runtime_error("the comparison does not find the changes");
    }
}

/// A copy of the large file with a digit inserted before elements that end with `tag`: each whose number is a multiple
/// of `interval`.
[[nodiscard]] std::string writeChanged(const std::string& fileName, std::string_view tag, std::size_t interval) {
    std::ifstream stream(largeFile(), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    std::string changed;
    changed.reserve(text.size() + text.size() / 10);
    std::size_t copied = 0;
    std::size_t number = 0;
    for (std::size_t end = text.find(tag); end != std::string::npos; end = text.find(tag, end + tag.size())) {
        if (++number % interval == 0) {
            changed.append(text, copied, end - copied).append("1");
            copied = end;
        }
    }
    changed.append(text, copied);
    std::string name = filePath(fileName);
    std::ofstream(name, std::ios::binary) << changed;
    return name;
}

} // namespace

void measureDiff() {
    const std::string one = writeChanged("one-change.prefab", "</mass>", OBJECTS_COUNT * 9 / 10);
    compareWithPugixml("diff of 100000 objects, one value changed", 3.0, [&one] { compareFiles(largeFile(), one, 1); });
    const std::string many = writeChanged("many-changes.prefab", "</mass>", 10);
    compareWithPugixml("diff of 100000 objects, every tenth changed", 3.0,
                       [&many] { compareFiles(largeFile(), many, OBJECTS_COUNT / 10); });
    // Both documents are read as a whole, each on a thread of its own.
    const std::string renamed = writeChanged("renamed.prefab", "</name>", 10);
    compareWithPugixml("diff of 100000 objects, every tenth renamed", RatioLimits{3.0, 5.0},
                       [&renamed] { compareFiles(largeFile(), renamed, OBJECTS_COUNT / 10); });
}

} // namespace Kiln::Benchmarks
