#include "git_files.h"

#include <kiln_prefab/check/command_error.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Kiln::PrefabTool {

namespace fs = std::filesystem;

namespace {

/// A directory that is removed at the end of its life.
class ScratchDirectory : NonCopyable {
public:
    ScratchDirectory() : m_path(make()) {}
    ~ScratchDirectory() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }

    [[nodiscard]] const fs::path& path() const noexcept { return m_path; }

    [[nodiscard]] static fs::path make() {
        std::error_code error;
        std::string name = (fs::temp_directory_path(error) / "kiln-prefab-XXXXXX").string();
        if (error || !mkdtemp(name.data())) {
            throw CommandError("a temporary directory could not be made: " +
                               (error ? error : std::error_code(errno, std::generic_category())).message());
        }
        return name;
    }

private:
    const fs::path m_path;
};

[[nodiscard]] std::string readAll(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

struct GitResult {
    int exitStatus = -1;
    std::string output;
    std::string firstError; ///< The first line that git wrote to its standard error.
};

[[nodiscard]] int waitFor(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Runs git in a directory. `input` is the name of a file for its standard input.
[[nodiscard]] GitResult runGit(const fs::path& directory, std::vector<std::string> arguments,
                               const fs::path& input = "/dev/null") {
    const ScratchDirectory scratch; // Files instead of pipes: nothing has to be read while git runs.
    const std::string outputFile = scratch.path() / "output";
    const std::string errorsFile = scratch.path() / "errors";
    arguments.insert(arguments.begin(), {"git", "-C", directory.empty() ? "." : directory.string()});
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorsFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t process = 0;
    const int error = posix_spawnp(&process, "git", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw CommandError("git could not be started: " + std::error_code(error, std::generic_category()).message());
    }
    GitResult result;
    result.exitStatus = waitFor(process);
    result.output = readAll(outputFile);
    const std::string errors = readAll(errorsFile);
    result.firstError = errors.substr(0, errors.find('\n'));
    return result;
}

[[nodiscard]] std::string reasonOf(const GitResult& result) {
    return result.firstError.empty() ? "git ended with exit status " + std::to_string(result.exitStatus)
                                     : result.firstError;
}

/// A file in a tree of git.
struct TreeEntry {
    std::string hash;
    std::string path; ///< Below the directory.
};

/// Reads the output of `git ls-tree -r -z`: "MODE blob HASH<tab>PATH<NUL>" for each file.
[[nodiscard]] std::vector<TreeEntry> readTree(std::string_view output) {
    std::vector<TreeEntry> entries;
    while (!output.empty()) {
        const std::string_view entry = output.substr(0, output.find('\0'));
        output.remove_prefix(std::min(output.size(), entry.size() + 1));
        const std::size_t tab = entry.find('\t');
        const std::size_t hash = entry.rfind(' ', tab);
        if (tab == std::string_view::npos || hash == std::string_view::npos || !entry.starts_with("100")) {
            continue; // Not a regular file.
        }
        const std::string_view path = entry.substr(tab + 1);
        if (path.ends_with(".prefab") && path.find('\n') == std::string_view::npos) {
            entries.push_back({std::string(entry.substr(hash + 1, tab - hash - 1)), std::string(path)});
        }
    }
    return entries;
}

} // namespace

std::string gitCommit(const fs::path& directory, const std::string& revision) {
    const GitResult repository = runGit(directory, {"rev-parse", "--git-dir"});
    if (repository.exitStatus != 0) {
        throw CommandError("--git: " + reasonOf(repository));
    }
    const GitResult result = runGit(directory, {"rev-parse", "--verify", "--quiet", revision + "^{commit}"});
    if (revision.starts_with('-') || result.exitStatus != 0) {
        throw CommandError("--git: the repository has no revision '" + revision + "'");
    }
    return result.output.substr(0, result.output.find('\n'));
}

std::string gitFileText(const fs::path& file, const std::string& commit, const std::string& revision) {
    const GitResult result =
        runGit(file.parent_path(), {"cat-file", "blob", commit + ":./" + file.filename().string()});
    if (result.exitStatus != 0) {
        throw CommandError("--git: the revision '" + revision + "' does not have the file '" + file.string() + "'");
    }
    return result.output;
}

GitSnapshot::GitSnapshot(const fs::path& directory, const std::string& commit) : m_path(ScratchDirectory::make()) {
    try {
        extract(directory, commit);
    } catch (...) {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
        throw;
    }
}

GitSnapshot::~GitSnapshot() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

void GitSnapshot::extract(const fs::path& directory, const std::string& commit) const {
    const GitResult tree = runGit(directory, {"ls-tree", "-r", "-z", commit});
    if (tree.exitStatus != 0) {
        throw CommandError("--git: " + reasonOf(tree));
    }
    const std::vector<TreeEntry> entries = readTree(tree.output);
    const ScratchDirectory scratch;
    const fs::path names = scratch.path() / "names";
    {
        std::ofstream stream(names, std::ios::binary);
        for (const TreeEntry& entry : entries) {
            stream << entry.hash << '\n';
        }
    }
    const GitResult contents = runGit(directory, {"cat-file", "--batch"}, names);
    std::string_view rest = contents.output; // "HASH blob SIZE<LF>CONTENT<LF>" for each.
    for (const TreeEntry& entry : entries) {
        const std::size_t lineEnd = rest.find('\n');
        const std::string_view line = rest.substr(0, lineEnd);
        const std::string_view number = line.substr(line.rfind(' ') + 1);
        std::size_t size = 0;
        const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), size);
        if (lineEnd == std::string_view::npos || error != std::errc() || rest.size() - lineEnd - 1 < size) {
            throw CommandError("--git: " + reasonOf(contents));
        }
        const fs::path file = m_path / fs::path(entry.path).relative_path();
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << rest.substr(lineEnd + 1, size);
        rest.remove_prefix(std::min(rest.size(), lineEnd + 1 + size + 1));
    }
}

} // namespace Kiln::PrefabTool
