#pragma once

#include <resource/input_file.h>

#include <string>
#include <string_view>

namespace Kiln {

/// A directory and whether symbolic links in it may lead out of it. An empty name is the current directory.
struct ConfinedDirectory {
    std::string name;
    bool allowsOutsideLinks = false;
};

/// The problem of a path that is InputFile::Status::OUTSIDE because of where it leads.
inline constexpr const char* OUTSIDE_PROBLEM = "is outside of the resource roots";

/// The text "DIRECTORY/PATH".
[[nodiscard]] std::string pathUnder(const std::string& directory, std::string_view path);

/// Opens the regular file that a path, relative to the directory or absolute, leads to, if it is beneath the directory.
/// The check can't be deceived by links that others change meanwhile. A relative path must not have more ".." than
/// names in front of them, links or not. `flags` are those of open().
[[nodiscard]] InputFile openBeneath(const ConfinedDirectory& directory, const std::string& path, int flags);

} // namespace Kiln
