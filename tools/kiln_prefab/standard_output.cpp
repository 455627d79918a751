#include "standard_output.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <iostream>
#include <tuple>

#include <unistd.h>

namespace Kiln::PrefabTool {

namespace {

[[noreturn]] void endByBrokenPipe() {
    std::ignore = std::signal(SIGPIPE, SIG_DFL);
    std::ignore = std::raise(SIGPIPE);
    constexpr int SIGNAL_STATUS = 128 + SIGPIPE; // As a shell reports the signal, in case that it is blocked.
    _exit(SIGNAL_STATUS);
}

class Buffer : public std::streambuf {
public:
    Buffer() { reset(); }

protected:
    int_type overflow(int_type character) override {
        if (!writeOut()) {
            return traits_type::eof();
        }
        if (!traits_type::eq_int_type(character, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(character);
            pbump(1);
        }
        return traits_type::not_eof(character);
    }

    int sync() override { return writeOut() ? 0 : -1; }

private:
    void reset() { setp(m_bytes.data(), m_bytes.data() + m_bytes.size()); }

    /// Writes the bytes that the buffer holds and empties it, also when that fails.
    bool writeOut() {
        const char* next = pbase();
        const char* const end = pptr();
        reset();
        while (next != end) {
            const ssize_t written = write(STDOUT_FILENO, next, static_cast<std::size_t>(end - next));
            if (written >= 0) {
                next += written;
            } else if (errno == EPIPE) {
                endByBrokenPipe();
            } else if (errno != EINTR) {
                return false;
            }
        }
        return true;
    }

    std::array<char, std::size_t{64} * 1024> m_bytes{};
};

} // namespace

StandardOutput::StandardOutput() : m_buffer(std::make_unique<Buffer>()), m_original(std::cout.rdbuf(m_buffer.get())) {}

StandardOutput::~StandardOutput() {
    std::cout.flush();
    std::cout.rdbuf(m_original);
}

} // namespace Kiln::PrefabTool
