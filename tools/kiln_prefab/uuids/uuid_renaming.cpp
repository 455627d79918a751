#include "uuid_renaming.h"

#include <kiln_prefab/check/command_error.h>
#include <prefab_inspection/composition/dependency_graph.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::DependencyGraph;
using PrefabInspection::Place;
using PrefabInspection::PrefabFile;
using PrefabInspection::PrefabFiles;

/// The indices of all files that nest a file at any depth, ascending.
[[nodiscard]] std::vector<std::size_t> usersOf(const DependencyGraph& graph, std::size_t file) {
    std::vector<bool> isUser(graph.files().size());
    std::vector<std::size_t> users;
    std::vector<std::size_t> pending{file};
    while (!pending.empty()) {
        const std::size_t used = pending.back();
        pending.pop_back();
        for (const std::size_t edge : graph.files()[used].usedBy) {
            const std::size_t user = graph.edges()[edge].user;
            if (user != file && !isUser[user]) {
                isUser[user] = true;
                users.push_back(user);
                pending.push_back(user);
            }
        }
    }
    std::sort(users.begin(), users.end());
    return users;
}

void append(std::vector<Place>& places, std::vector<Place>& added) {
    std::move(added.begin(), added.end(), std::back_inserter(places));
}

void addFile(UuidRenaming& renaming, const PrefabFile& file, RenamedFile renamed) {
    PrefabEditing::EditedText text(file.text->text());
    const std::size_t wanted = renamed.edits.size();
    if (text.apply(std::move(renamed.edits)) != wanted) {
        throw CommandError(file.path + ": the values to be changed overlap");
    }
    if (wanted > 0) {
        renaming.files.push_back({file.path, std::move(text)});
    }
    renaming.linksCount += renamed.linksCount;
    append(renaming.problems, renamed.problems);
    append(renaming.otherValues, renamed.otherValues);
    for (const auto& [type, count] : renamed.unknownComponents) {
        renaming.unknownComponents[type] += count;
    }
}

} // namespace

UuidRenaming renameUuids(PrefabFiles& files, const std::string& path, const std::vector<std::string>& others,
                         const UuidTable::MakeUuid& makeUuid) {
    const PrefabFile& file = files.get(path);
    if (!file.document) {
        throw CommandError(path + ": the file " + file.problem);
    }
    const UuidTable table(file, makeUuid);
    UuidRenaming renaming;
    renaming.objectsCount = file.document->objects.size();
    addFile(renaming, file, renameUuids(files, file, table));
    if (others.empty()) {
        return renaming;
    }
    std::vector<std::string> targets = others;
    targets.push_back(path);
    const DependencyGraph graph(targets);
    for (const std::size_t user : usersOf(graph, graph.find(path))) {
        if (graph.files()[user].isTarget) {
            const PrefabFile& other = files.get(graph.files()[user].path);
            addFile(renaming, other, renameUuids(files, other, table));
        }
    }
    return renaming;
}

} // namespace Kiln::PrefabTool
