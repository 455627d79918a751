#include "terminal_runner.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace Kiln::PrefabToolTests {

std::string outputOnTerminal(const std::function<int()>& function, unsigned short columns) {
    termios settings{};
    cfmakeraw(&settings); // Line ends arrive as they were written.
    const winsize size{.ws_row = 25, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    int terminal = -1;
    std::fflush(nullptr); // What is buffered belongs to this process.
    const pid_t process = forkpty(&terminal, nullptr, &settings, &size);
    if (process < 0) {
        throw std::system_error(errno, std::generic_category(), "forkpty");
    }
    if (process == 0) {
        _exit(function());
    }
    std::string output;
    char bytes[4096];
    for (ssize_t count = 0; (count = read(terminal, bytes, sizeof bytes)) > 0;) { // Fails when the child has ended.
        output.append(bytes, static_cast<std::size_t>(count));
    }
    close(terminal);
    waitpid(process, nullptr, 0);
    return output;
}

} // namespace Kiln::PrefabToolTests
