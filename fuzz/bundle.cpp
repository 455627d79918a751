#include "bundle.h"

#include <algorithm>
#include <cstddef>

namespace Kiln::Fuzz {

namespace {

constexpr std::string_view MARK = "=== ";
constexpr std::size_t MAX_NAME = 64;

[[nodiscard]] bool isNameCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '.' || character == '_' || character == '-' ||
           character == '/';
}

/// Whether the name is a relative path that stays in its folder.
[[nodiscard]] bool isUsable(std::string_view name) {
    return !name.empty() && name.size() <= MAX_NAME && std::all_of(name.begin(), name.end(), isNameCharacter) &&
           name.front() != '/' && name.back() != '/' && name.find("..") == std::string_view::npos &&
           name.find("//") == std::string_view::npos && name.find("./") == std::string_view::npos && name != ".";
}

[[nodiscard]] bool isTaken(const std::vector<BundleFile>& files, std::string_view name) {
    return std::any_of(files.begin(), files.end(), [name](const BundleFile& file) { return file.name == name; });
}

/// Index of the next line that begins with the mark; the size of the text when there is none.
[[nodiscard]] std::size_t findMark(std::string_view text, std::size_t from) {
    for (std::size_t found = text.find(MARK, from); found != std::string_view::npos;
         found = text.find(MARK, found + 1)) {
        if (found == 0 || text[found - 1] == '\n') {
            return found;
        }
    }
    return text.size();
}

} // namespace

std::vector<BundleFile> parseBundle(std::string_view text) {
    std::vector<BundleFile> files;
    std::size_t begin = findMark(text, 0);
    while (begin < text.size() && files.size() < MAX_FILES) {
        const std::size_t end = findMark(text, begin + MARK.size());
        const std::string_view file = text.substr(begin + MARK.size(), end - begin - MARK.size());
        const std::size_t lineEnd = std::min(file.find('\n'), file.size());
        std::string name(file.substr(0, lineEnd));
        if (!isUsable(name) || isTaken(files, name)) {
            name = std::to_string(files.size()) + ".prefab";
        }
        files.push_back({std::move(name), std::string(file.substr(std::min(lineEnd + 1, file.size())))});
        begin = end;
    }
    return files;
}

std::string bundleText(const std::vector<BundleFile>& files) {
    std::string text;
    for (const BundleFile& file : files) {
        text += MARK;
        text += file.name;
        text += '\n';
        text += file.text;
        if (text.back() != '\n') {
            text += '\n';
        }
    }
    return text;
}

} // namespace Kiln::Fuzz
