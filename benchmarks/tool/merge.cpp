#include "rows.h"

#include "workload_files.h"

#include <prefab_editing/text_file.h>
#include <prefab_merging/check_validation.h>
#include <prefab_merging/merge.h>

#include <cstddef>
#include <fstream>
#include <future>
#include <limits>
#include <stdexcept>
#include <string>

namespace Kiln::Benchmarks {

namespace {

constexpr std::size_t OBJECTS_COUNT = 100'000;
constexpr std::size_t CHANGES_COUNT = 1000;
constexpr std::size_t ADDED_COUNT = 100;

[[nodiscard]] std::string read(const std::string& name) {
    PrefabEditing::TextFile file = PrefabEditing::readTextFile(name, std::numeric_limits<std::size_t>::max());
    if (file.status != PrefabEditing::TextFile::Status::READ) {
        throw std::runtime_error("cannot read " + name);
    }
    return std::move(file.text);
}

void write(const std::string& name, const std::string& text) {
    std::ofstream stream(name, std::ios::binary);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + name);
    }
}

/// The text with a thousand other values, evenly spread, in elements that begin with `tag`.
[[nodiscard]] std::string withChanges(std::string text, const std::string& tag) {
    std::size_t found = 0;
    std::size_t changed = 0;
    for (std::size_t at = text.find(tag); at != std::string::npos; at = text.find(tag, at + tag.size())) {
        if (found++ % (OBJECTS_COUNT / CHANGES_COUNT) == 0) {
            text.insert(at + tag.size(), "1");
            ++changed;
        }
    }
    if (changed != CHANGES_COUNT) {
        throw std::runtime_error("the workload does not have the expected elements");
    }
    return text;
}

/// The text with a hundred more objects below the root.
[[nodiscard]] std::string withObjects(std::string text) {
    const std::string uuidTag = "<uuid>";
    const std::string root = text.substr(text.find(uuidTag) + uuidTag.size(), 36);
    std::string objects;
    std::string items;
    for (std::size_t index = 0; index < ADDED_COUNT; ++index) {
        const std::string number = std::to_string(OBJECTS_COUNT + index);
        objects += "\t\t<gameObject>\n\t\t\t<uuid>00000000-0000-4000-8000-000000" + number +
                   "</uuid>\n\t\t\t<name>Added " + number + "</name>\n\t\t\t<flags>0</flags>\n\t\t</gameObject>\n";
        items += "\t\t\t<item>\n\t\t\t\t<gameObject>" + number +
                 "</gameObject>\n\t\t\t\t<options>35</options>\n\t\t\t\t<properties>\n\t\t\t\t\t<parent>" + root +
                 "</parent>\n\t\t\t\t</properties>\n\t\t\t</item>\n";
    }
    const std::size_t pool = text.find("<type>HierarchyComponent</type>");
    text.insert(text.find("\t\t</pool>", pool), items);
    return text.insert(text.find("\t</gameObjects>"), objects);
}

/// What the command does, except that the result is not flushed to the device.
void merge(const std::string& base, const std::string& ours, const std::string& theirs, const std::string& result,
           bool isChecked) {
    auto baseText = std::async(std::launch::async, read, base);
    auto theirsText = std::async(std::launch::async, read, theirs);
    const std::string oursText = read(ours);
    PrefabMerging::MergeOptions options;
    if (isChecked) {
        options.findProblems = PrefabMerging::checkingProblems("merged.prefab");
    }
    const PrefabMerging::MergeResult merged =
        PrefabMerging::mergePrefabs(baseText.get(), oursText, theirsText.get(), options);
    if (!merged.conflicts.empty() || merged.takenCount != CHANGES_COUNT + ADDED_COUNT) {
        throw std::runtime_error("the merge has taken " + std::to_string(merged.takenCount) + " changes and has " +
                                 std::to_string(merged.conflicts.size()) + " conflicts");
    }
    write(result, merged.text);
}

} // namespace

void measureMerge() {
    const std::string base = largeFile();
    const std::string ours = filePath("ours.prefab");
    const std::string theirs = filePath("theirs.prefab");
    const std::string result = filePath("merged.prefab");
    {
        const std::string text = read(base);
        write(ours, withChanges(text, "<mass>"));
        write(theirs, withObjects(withChanges(text, "<volume>")));
    }
    compareWithPugixml("merge of 100000 objects with 2100 changes", 6.0,
                       [&] { merge(base, ours, theirs, result, true); });
    compareWithPugixml("the same merge without check", 6.0, [&] { merge(base, ours, theirs, result, false); });
}

} // namespace Kiln::Benchmarks
