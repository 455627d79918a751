#include "object_search.h"

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/similar_name.h>
#include <kiln_prefab/terminal.h>

#include <algorithm>
#include <optional>
#include <ostream>
#include <set>

namespace Kiln::PrefabTool {

using PrefabInspection::Composition;

namespace {

/// More names are not compared.
constexpr std::size_t MAX_CANDIDATES = 10'000;
constexpr std::size_t MAX_SUGGESTIONS = 3;

/// More objects of one name are not listed.
constexpr std::size_t MAX_LISTED_OBJECTS = 20;

[[nodiscard]] std::vector<std::size_t> findUuid(const Composition& composition, const Uuid& uuid) {
    const std::size_t live = composition.findLiveUuid(uuid);
    if (live != Composition::NONE) {
        return {live};
    }
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < composition.objects().size(); ++i) {
        if (composition.fileUuid(i) == uuid || composition.pointUuid(i) == uuid) {
            found.push_back(i);
        }
    }
    return found;
}

/// What to name one of the objects by; empty if nothing tells them apart.
[[nodiscard]] std::string distinguishingNames(const Composition& composition, const std::vector<std::size_t>& objects) {
    std::set<std::string> paths;
    std::set<std::string> uuids;
    for (const std::size_t object : objects) {
        paths.insert(composition.path(object));
        uuids.insert(composition.objects()[object].uuid.toString());
    }
    const bool havePaths = paths.size() == objects.size();
    const bool haveUuids = uuids.size() == objects.size();
    if (havePaths) {
        return haveUuids ? "path or UUID" : "path";
    }
    return haveUuids ? "UUID" : "";
}

} // namespace

std::vector<std::size_t> findObjects(const Composition& composition, std::string_view text) {
    if (const std::optional<Uuid> uuid = Uuid::fromString(text)) {
        return findUuid(composition, *uuid);
    }
    std::vector<std::size_t> whole;
    std::vector<std::size_t> ends;
    const std::string end = "/" + std::string(text);
    for (std::size_t i = 0; i < composition.objects().size(); ++i) {
        if (!text.ends_with(composition.name(i))) {
            continue;
        }
        const std::string path = composition.path(i);
        if (path == text) {
            whole.push_back(i);
        } else if (path.ends_with(end)) {
            ends.push_back(i);
        }
    }
    return whole.empty() ? ends : whole;
}

std::size_t findSingleObject(Terminal& terminal, const Composition& composition, const std::string& text) {
    const std::vector<std::size_t> found = findObjects(composition, text);
    if (found.size() == 1) {
        return found.front();
    }
    if (found.empty()) {
        terminal.reportFailure("No object is named '" + text + "'" + suggestion(similarObjects(composition, text)));
        return Composition::NONE;
    }
    const std::string names = distinguishingNames(composition, found);
    terminal.reportFailure(
        "'" + text + "' means " + std::to_string(found.size()) + " objects; " +
        (names.empty() ? "give each of them a UUID of its own first:" : "name one of them by its " + names + ":"));
    for (std::size_t i = 0; i < found.size() && i < MAX_LISTED_OBJECTS; ++i) {
        terminal.errors() << "    " << composition.objects()[found[i]].uuid.toString() << "  "
                          << printable(composition.path(found[i])) << '\n';
    }
    if (found.size() > MAX_LISTED_OBJECTS) {
        terminal.errors() << "    and " << found.size() - MAX_LISTED_OBJECTS << " more\n";
    }
    return Composition::NONE;
}

std::vector<std::string> similarObjects(const Composition& composition, const std::string& text) {
    const bool isPath = text.find('/') != std::string::npos;
    std::set<std::string> names;
    for (std::size_t i = 0; i < composition.objects().size() && names.size() < MAX_CANDIDATES; ++i) {
        names.insert(isPath ? composition.path(i) : composition.name(i));
    }
    return similarNames(text, {names.begin(), names.end()});
}

std::string suggestion(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "; did you mean '" : "' or '") + name;
    }
    return text.empty() ? text : text + "'?";
}

std::vector<std::string> similarNames(const std::string& text, std::vector<std::string> names) {
    std::vector<std::string> found;
    while (found.size() < MAX_SUGGESTIONS) {
        std::string name = similarName(text, names);
        if (name.empty()) {
            break;
        }
        names.erase(std::remove(names.begin(), names.end(), name), names.end());
        found.push_back(std::move(name));
    }
    return found;
}

} // namespace Kiln::PrefabTool
