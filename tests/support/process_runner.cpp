#include <support/process_runner.h>

#include <core/non_copyable.h>
#include <support/temporary_directory.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Kiln::TestSupport {

namespace {

void check(int error, const char* what) {
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), what);
    }
}

class FileActions : NonCopyable {
public:
    FileActions() { check(posix_spawn_file_actions_init(&m_actions), "posix_spawn_file_actions_init"); }
    ~FileActions() { posix_spawn_file_actions_destroy(&m_actions); }

    void open(int descriptor, const std::string& file, int flags) {
        check(posix_spawn_file_actions_addopen(&m_actions, descriptor, file.c_str(), flags, 0600), "addopen");
    }
    void close(int descriptor) { check(posix_spawn_file_actions_addclose(&m_actions, descriptor), "addclose"); }
    void changeDirectory(const std::filesystem::path& directory) {
        check(posix_spawn_file_actions_addchdir_np(&m_actions, directory.c_str()), "addchdir");
    }

    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions;
};

[[nodiscard]] std::string readAll(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

[[nodiscard]] int waitForEnd(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) {
            check(errno, "waitpid");
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

} // namespace

// Files instead of pipes: nothing has to be read while the process runs.
ProcessResult runProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::filesystem::path& workingDirectory, const OutputTarget& target) {
    const TemporaryDirectory captured;
    const std::string outputFile = captured.path("stdout");
    const std::string errorsFile = captured.path("stderr");
    constexpr int WRITE = O_WRONLY | O_CREAT | O_TRUNC;

    FileActions actions;
    actions.open(STDIN_FILENO, "/dev/null", O_RDONLY);
    actions.open(STDERR_FILENO, errorsFile, WRITE);
    switch (target.kind) {
    case OutputTarget::Kind::CAPTURE:
        actions.open(STDOUT_FILENO, outputFile, WRITE);
        break;
    case OutputTarget::Kind::FILE:
        actions.open(STDOUT_FILENO, target.file, O_WRONLY);
        break;
    case OutputTarget::Kind::CLOSED:
        actions.close(STDOUT_FILENO);
        break;
    }
    actions.changeDirectory(workingDirectory);

    std::vector<std::string> texts{program};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& text : texts) {
        argv.push_back(text.data());
    }
    argv.push_back(nullptr);

    pid_t process = 0;
    check(posix_spawnp(&process, program.c_str(), actions.get(), nullptr, argv.data(), environ), program.c_str());
    const int exitStatus = waitForEnd(process);
    return {exitStatus, readAll(outputFile), readAll(errorsFile)};
}

} // namespace Kiln::TestSupport
