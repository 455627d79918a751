// Ends a process in the way that exit_test.cpp names in the environment variable KILN_EXIT_MODE, mostly while tasks of
// the file task manager are running. Errors at the end are reported on stderr with exit status 3; otherwise the last
// line on stdout is "finished".

#include <core/log.h>
#include <core/task_manager.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <unistd.h>

namespace {

using Kiln::BackgroundTask;
using Kiln::FileIOTaskManager;
using Kiln::TaskManager;

[[noreturn]] void fail(const char* reason) {
    std::fprintf(stderr, "FAILED: %s\n", reason);
    std::_Exit(3);
}

/// Also for static objects, which are constructed before main() has its arguments.
std::string_view mode() {
    const char* const value = std::getenv("KILN_EXIT_MODE"); // NOLINT(concurrency-mt-unsafe): nobody changes it
    return value ? value : "";
}

constexpr std::string_view STATIC_INITIALISATION = "static-initialisation";

/// The first static object of the program and hence the last to be destroyed.
struct LastWord {
    ~LastWord() {
        Kiln::DebugMessageHelper(0, Kiln::LogSeverity::INFO, "", "").message("The log outlives static objects");
        std::puts("finished");
        std::fflush(stdout);
    }
} lastWord;

constexpr int TASKS = 40;

/// Represents a library's static objects: running tasks use it, and it is destroyed when the process exits.
class SharedState {
public:
    ~SharedState() {
        if (users != 0) {
            fail("static state destroyed while a task uses it");
        }
        if (ran + cancelled != TASKS) {
            fail("a task was neither run nor cancelled");
        }
        if (ran == TASKS) {
            fail("no task was left when the process ended");
        }
        m_text.clear();
        isAlive = false;
    }

    void use() {
        ++users;
        if (!isAlive) {
            fail("a task ran after its static state was destroyed");
        }
        hasStarted = true;
        hasStarted.notify_all();
        // Simulates reading a file.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (m_text != EXPECTED_TEXT) {
            fail("static state changed under a task");
        }
        ++ran;
        --users;
    }

    std::atomic<bool> isAlive = true;
    std::atomic<int> users = 0;
    std::atomic<int> ran = 0;
    std::atomic<int> cancelled = 0;
    std::atomic<bool> hasStarted = false;

private:
    static constexpr const char* EXPECTED_TEXT =
        "a text that is too long to be kept inside of the string object itself";
    std::string m_text = EXPECTED_TEXT;
};

class SlowTask : public BackgroundTask {
public:
    explicit SlowTask(SharedState& state) : BackgroundTask("SlowTask"), m_state(state) {}
    void doBackgroundTask(TaskManager& /*manager*/) override { m_state.use(); }
    void cancel(TaskManager& /*manager*/) override { ++m_state.cancelled; }

private:
    SharedState& m_state;
};

/// Returns when the first task is running.
void submitSlowTasks(SharedState& state) {
    for (int i = 0; i < TASKS; ++i) {
        FileIOTaskManager::instance().addBackgroundTask(Kiln::makeSmart<SlowTask>(state), 96);
    }
    state.hasStarted.wait(false);
}

/// State that is older than the task manager is safe without a guard.
int leaveWithOlderState() {
    static SharedState state;
    submitSlowTasks(state);
    return 0;
}

/// State that is younger than the task manager needs the guard.
int leaveWithYoungerStateAndGuard() {
    FileIOTaskManager::instance();
    static SharedState state;
    static const FileIOTaskManager::ExitGuard guard;
    submitSlowTasks(state);
    return 0;
}

/// Like the previous mode, but exit() is called inside the program.
int exitFromMain() {
    FileIOTaskManager::instance();
    static SharedState state;
    static const FileIOTaskManager::ExitGuard guard;
    submitSlowTasks(state);
    std::exit(0); // NOLINT(concurrency-mt-unsafe): this is under test
}

/// A guard of a program that never had a task.
int leaveWithoutTasks() {
    static const FileIOTaskManager::ExitGuard guard;
    return 0;
}

class CountingTask : public BackgroundTask {
public:
    CountingTask(std::atomic<int>& ran, std::atomic<int>& cancelled)
        : BackgroundTask("CountingTask"), m_ran(ran), m_cancelled(cancelled) {}
    void doBackgroundTask(TaskManager& /*manager*/) override { ++m_ran; }
    void cancel(TaskManager& /*manager*/) override { ++m_cancelled; }

private:
    std::atomic<int>& m_ran;
    std::atomic<int>& m_cancelled;
};

/// Submits a task from the destructor of a static object, when the manager has been shut down.
int submitFromStaticDestructor() {
    struct LateSubmitter {
        ~LateSubmitter() {
            std::atomic<int> ran = 0;
            std::atomic<int> cancelled = 0;
            FileIOTaskManager::instance().addBackgroundTask(Kiln::makeSmart<CountingTask>(ran, cancelled), 96);
            if (ran != 0 || cancelled != 1) {
                fail("a task submitted after the shutdown was not cancelled");
            }
        }
    };
    static const LateSubmitter submitter;
    FileIOTaskManager::instance();
    return 0;
}

/// A task that ends the process on its worker thread, beside a task that is still running on the other one.
int exitFromTask() {
    class ExitingTask : public BackgroundTask {
    public:
        ExitingTask() : BackgroundTask("ExitingTask") {}
        void doBackgroundTask(TaskManager& /*manager*/) override {
            std::exit(0); // NOLINT(concurrency-mt-unsafe): this is under test
        }
    };
    static SharedState state;
    submitSlowTasks(state);
    FileIOTaskManager::instance().addBackgroundTask(Kiln::makeSmart<ExitingTask>(), 1000);
    while (true) {
        pause();
    }
}

std::atomic<int> earlyRan = 0;
std::atomic<int> earlyCancelled = 0;

/// Submits while static objects are still being constructed, as a library's registration may.
const struct EarlySubmitter {
    EarlySubmitter() {
        if (mode() == STATIC_INITIALISATION) {
            FileIOTaskManager::instance().addBackgroundTask(Kiln::makeSmart<CountingTask>(earlyRan, earlyCancelled),
                                                            96);
        }
    }
} earlySubmitter;

int submitDuringStaticInitialisation() {
    if (!FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(60))) {
        fail("the early task does not run");
    }
    if (earlyRan != 1 || earlyCancelled != 0) {
        fail("the early task was not run");
    }
    return 0;
}

void logTwice(const char* text) {
    for (int i = 0; i < 2; ++i) {
        Kiln::Log::instance().write({Kiln::LogSeverity::WARNING, "", "", text});
    }
}

/// Ends while the log holds back the second of two equal lines, and logs twice from a static destructor afterwards.
int repeatMessages() {
    static const struct LateReporter {
        ~LateReporter() { logTwice("late"); }
    } reporter;
    logTwice("again");
    return 0;
}

} // namespace

int main() {
    constexpr std::pair<std::string_view, int (*)()> MODES[] = {
        {"older-state", leaveWithOlderState},
        {"younger-state-and-guard", leaveWithYoungerStateAndGuard},
        {"exit-from-main", exitFromMain},
        {"without-tasks", leaveWithoutTasks},
        {"submit-from-static-destructor", submitFromStaticDestructor},
        {"exit-from-task", exitFromTask},
        {"repeated-messages", repeatMessages},
        {STATIC_INITIALISATION, submitDuringStaticInitialisation},
    };
    for (const auto& [name, run] : MODES) {
        if (name == mode()) {
            return run();
        }
    }
    fail("unknown mode");
}
