#include <support/file_faults.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <limits>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Kiln::TestSupport {

namespace {

using Key = std::pair<FileCall, int>;

struct State {
    std::mutex mutex; ///< Guards the other members.
    bool isActive = false;
    std::vector<FileCall> calls;
    std::map<Key, int> errors;
    std::map<int, int> errorsOfAny;
    std::map<Key, std::function<void()>> actions;
    std::size_t maxTransfer = std::numeric_limits<std::size_t>::max();
    bool isOpenat2Disabled = false;
};

/// Never destroyed: files may be closed until the process has ended.
State& state() {
    static State* const instance = new State;
    return *instance;
}

/// Set while this thread performs an action, whose calls are not observed.
thread_local bool t_isInAction = false;

struct ActionScope : NonCopyable {
    ActionScope() { t_isInAction = true; }
    ~ActionScope() { t_isInAction = false; }
};

int countOf(const std::vector<FileCall>& calls, FileCall call) {
    return static_cast<int>(std::count(calls.begin(), calls.end(), call));
}

/// Records a call and performs the action in front of it. Returns the errno with which it has to fail, or 0.
int observe(FileCall call) {
    if (t_isInAction) {
        return 0;
    }
    std::function<void()> action;
    int error = 0;
    {
        const std::lock_guard lock(state().mutex);
        if (!state().isActive) {
            return 0;
        }
        state().calls.push_back(call);
        const Key key{call, countOf(state().calls, call)};
        if (const auto found = state().errors.find(key); found != state().errors.end()) {
            error = found->second;
        }
        if (const auto found = state().errorsOfAny.find(static_cast<int>(state().calls.size()));
            found != state().errorsOfAny.end()) {
            error = found->second;
        }
        if (const auto found = state().actions.find(key); found != state().actions.end()) {
            action = found->second;
        }
    }
    if (action) {
        const ActionScope scope;
        action();
    }
    return error;
}

std::size_t maxTransfer() {
    const std::lock_guard lock(state().mutex);
    return state().isActive ? state().maxTransfer : std::numeric_limits<std::size_t>::max();
}

bool isOpenat2Disabled() {
    const std::lock_guard lock(state().mutex);
    return state().isActive && state().isOpenat2Disabled;
}

/// The definition of a function that this program defines as well.
template <class Function>
Function* next(const char* name) {
    void* const address = dlsym(RTLD_NEXT, name);
    if (!address) {
        throw std::logic_error(std::string("no library defines ") + name);
    }
    return reinterpret_cast<Function*>(address);
}

/// The result of a call that fails if `error` is not 0.
template <class Call>
auto result(int error, Call call) -> decltype(call()) {
    if (error != 0) {
        errno = error;
        return -1;
    }
    return call();
}

} // namespace

FileFaults::FileFaults() {
    const std::lock_guard lock(state().mutex);
    if (std::exchange(state().isActive, true)) {
        throw std::logic_error("another FileFaults exists");
    }
}

FileFaults::~FileFaults() {
    const std::lock_guard lock(state().mutex);
    state().isActive = false;
    state().calls.clear();
    state().errors.clear();
    state().errorsOfAny.clear();
    state().actions.clear();
    state().maxTransfer = std::numeric_limits<std::size_t>::max();
    state().isOpenat2Disabled = false;
}

void FileFaults::fail(FileCall call, int number, int error) {
    const std::lock_guard lock(state().mutex);
    state().errors[{call, number}] = error;
}

void FileFaults::failAny(int number, int error) {
    const std::lock_guard lock(state().mutex);
    state().errorsOfAny[number] = error;
}

void FileFaults::before(FileCall call, int number, std::function<void()> action) {
    const std::lock_guard lock(state().mutex);
    state().actions[{call, number}] = std::move(action);
}

void FileFaults::limitTransfers(std::size_t bytes) {
    const std::lock_guard lock(state().mutex);
    state().maxTransfer = bytes;
}

void FileFaults::disableOpenat2() {
    const std::lock_guard lock(state().mutex);
    state().isOpenat2Disabled = true;
}

std::vector<FileCall> FileFaults::calls() const {
    const std::lock_guard lock(state().mutex);
    return state().calls;
}

int FileFaults::count(FileCall call) const {
    const std::lock_guard lock(state().mutex);
    return countOf(state().calls, call);
}

} // namespace Kiln::TestSupport

// The dynamic linker binds the calls of all libraries to these definitions, so they must be visible to it.

using Kiln::TestSupport::FileCall;

#pragma GCC visibility push(default)

extern "C" {

int open(const char* path, int flags, ...) {
    static auto* const original = Kiln::TestSupport::next<int(const char*, int, ...)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return Kiln::TestSupport::result(Kiln::TestSupport::observe(FileCall::OPEN),
                                     [&] { return original(path, flags, mode); });
}

int openat(int directory, const char* path, int flags, ...) {
    static auto* const original = Kiln::TestSupport::next<int(int, const char*, int, ...)>("openat");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return Kiln::TestSupport::result(Kiln::TestSupport::observe(FileCall::OPEN),
                                     [&] { return original(directory, path, flags, mode); });
}

ssize_t read(int descriptor, void* buffer, std::size_t size) {
    static auto* const original = Kiln::TestSupport::next<ssize_t(int, void*, std::size_t)>("read");
    return Kiln::TestSupport::result(Kiln::TestSupport::observe(FileCall::READ), [&] {
        return original(descriptor, buffer, std::min(size, Kiln::TestSupport::maxTransfer()));
    });
}

ssize_t write(int descriptor, const void* buffer, std::size_t size) {
    static auto* const original = Kiln::TestSupport::next<ssize_t(int, const void*, std::size_t)>("write");
    return Kiln::TestSupport::result(Kiln::TestSupport::observe(FileCall::WRITE), [&] {
        return original(descriptor, buffer, std::min(size, Kiln::TestSupport::maxTransfer()));
    });
}

int fsync(int descriptor) {
    static auto* const original = Kiln::TestSupport::next<int(int)>("fsync");
    return Kiln::TestSupport::result(Kiln::TestSupport::observe(FileCall::FSYNC), [&] { return original(descriptor); });
}

int rename(const char* from, const char* to) noexcept {
    static auto* const original = Kiln::TestSupport::next<int(const char*, const char*)>("rename");
    return Kiln::TestSupport::result(Kiln::TestSupport::observe(FileCall::RENAME), [&] { return original(from, to); });
}

int renameat(int fromDirectory, const char* from, int toDirectory, const char* to) noexcept {
    static auto* const original = Kiln::TestSupport::next<int(int, const char*, int, const char*)>("renameat");
    return Kiln::TestSupport::result(Kiln::TestSupport::observe(FileCall::RENAME),
                                     [&] { return original(fromDirectory, from, toDirectory, to); });
}

int close(int descriptor) {
    static auto* const original = Kiln::TestSupport::next<int(int)>("close");
    const int error = Kiln::TestSupport::observe(FileCall::CLOSE);
    const int status = original(descriptor);
    return Kiln::TestSupport::result(error, [&] { return status; });
}

/// openat2 has no function of its own in the C library. As there, all calls are taken to have six arguments.
long syscall(long number, ...) noexcept {
    static auto* const original = Kiln::TestSupport::next<long(long, ...)>("syscall");
    va_list arguments;
    va_start(arguments, number);
    long values[6];
    for (long& value : values) {
        value = va_arg(arguments, long);
    }
    va_end(arguments);
    int error = 0;
    if (number == SYS_openat2) {
        error = Kiln::TestSupport::isOpenat2Disabled() ? ENOSYS : Kiln::TestSupport::observe(FileCall::OPEN);
    }
    return Kiln::TestSupport::result(error, [&]() -> long {
        return original(number, values[0], values[1], values[2], values[3], values[4], values[5]);
    });
}

} // extern "C"

#pragma GCC visibility pop
