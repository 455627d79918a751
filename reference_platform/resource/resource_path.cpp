#include <resource/resource_path.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Kiln {

namespace {

/// Removes the first component of a path and returns it.
[[nodiscard]] std::string_view takeComponent(std::string_view& path) noexcept {
    const std::size_t size = std::min(path.find('/'), path.size());
    const std::string_view component = path.substr(0, size);
    path.remove_prefix(std::min(size + 1, path.size()));
    return component;
}

[[nodiscard]] bool isName(std::string_view component) noexcept {
    return !component.empty() && component != "." && component != "..";
}

} // namespace

bool hasControlCharacters(std::string_view path) noexcept {
    unsigned char previous = 0;
    for (const char character : path) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7f || (previous == 0xc2 && byte >= 0x80 && byte < 0xa0)) {
            return true;
        }
        previous = byte;
    }
    return false;
}

bool leadsAboveItsBeginning(std::string_view path) noexcept {
    std::ptrdiff_t depth = 0;
    while (!path.empty() && depth >= 0) {
        const std::string_view component = takeComponent(path);
        if (component == "..") {
            --depth;
        } else if (isName(component)) {
            ++depth;
        }
    }
    return depth < 0;
}

bool isPackedPath(std::string_view path) noexcept {
    if (path.empty() || path.ends_with('/') || hasControlCharacters(path)) {
        return false;
    }
    while (!path.empty()) {
        if (!isName(takeComponent(path))) {
            return false;
        }
    }
    return true;
}

std::string packedPath(std::string_view path) {
    std::vector<std::string_view> names;
    while (!path.empty()) {
        const std::string_view component = takeComponent(path);
        if (component == ".." && !names.empty()) {
            names.pop_back();
        } else if (isName(component)) {
            names.push_back(component);
        }
    }
    std::string result;
    for (const std::string_view name : names) {
        if (!result.empty()) {
            result += '/';
        }
        result += name;
    }
    return result;
}

} // namespace Kiln
