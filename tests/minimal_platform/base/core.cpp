#include <core/assertions.h>
#include <core/formatter.h>
#include <core/log.h>
#include <core/task_manager.h>

#include <cstdio>
#include <exception>
#include <map>
#include <mutex>

namespace Kiln {

namespace {

struct LoggedTexts {
    std::mutex mutex; ///< Guards the counts.
    std::map<std::string, int> counts;
};

[[nodiscard]] LoggedTexts& loggedTexts() {
    static auto* const texts = new LoggedTexts; // Static objects may log until the process ends.
    return *texts;
}

constinit thread_local const BackgroundTaskThread* currentThread = nullptr;

} // namespace

SafeReferenceCount::~SafeReferenceCount() = default;
BackgroundTask::~BackgroundTask() = default;

void BackgroundTask::doBackgroundTask(TaskManager& manager, BackgroundTaskThread* /*thread*/) {
    doBackgroundTask(manager);
}

void BackgroundTask::cancel(TaskManager& /*manager*/) {}

std::string formatTextList(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int size = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string formatText(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = formatTextList(format, arguments);
    va_end(arguments);
    return text;
}

void DebugMessageHelper::message(const char* format, ...) const {
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatTextList(format, arguments);
    va_end(arguments);
    const std::scoped_lock lock(loggedTexts().mutex);
    std::fprintf(stderr, "[%d] %s\n", m_severity, text.c_str());
    ++loggedTexts().counts[text];
}

int loggedCount(const std::string& text) {
    const std::scoped_lock lock(loggedTexts().mutex);
    return loggedTexts().counts[text];
}

void reportAssertionFailure(const AssertionFailure& failure) {
    DebugMessageHelper(0, LogSeverity::CRITICAL, "", "")
        .message("Assertion failed: %s", std::string(failure.expression).c_str());
}

const BackgroundTaskThread* BackgroundTaskThread::current() {
    return currentThread;
}

void TaskManager::addBackgroundTask(SmartPointer<BackgroundTask> task, int priority) {
    std::unique_lock lock(m_mutex);
    if (m_isShutDown) {
        lock.unlock();
        task->cancel(*this);
        return;
    }
    auto position = m_queue.begin();
    while (position != m_queue.end() && position->priority >= priority) {
        ++position;
    }
    m_queue.insert(position, {std::move(task), priority});
    if (!m_worker.joinable()) {
        m_worker = std::thread([this] { work(); });
    }
    m_wake.notify_one();
}

void TaskManager::work() {
    BackgroundTaskThread thread;
    currentThread = &thread;
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_isShutDown || !m_queue.empty(); });
        if (m_isShutDown) {
            break;
        }
        SmartPointer<BackgroundTask> task = std::move(m_queue.front().task);
        m_queue.pop_front();
        lock.unlock();
        try {
            task->doBackgroundTask(*this, &thread);
        } catch (const std::exception& error) {
            DebugMessageHelper(0, LogSeverity::ERROR, "", "").message("%s failed: %s", task->name(), error.what());
        }
        task.reset(); // Before the lock: its destructor may submit further tasks.
        lock.lock();
    }
    currentThread = nullptr;
}

void TaskManager::shutdown() {
    std::list<Entry> dropped;
    std::thread worker;
    {
        const std::scoped_lock lock(m_mutex);
        m_isShutDown = true;
        dropped.swap(m_queue);
        worker.swap(m_worker);
    }
    m_wake.notify_all();
    if (worker.joinable()) {
        worker.join();
    }
    for (const Entry& entry : dropped) {
        entry.task->cancel(*this);
    }
}

TaskManager& FileIOTaskManager::instance() {
    static TaskManager manager;
    return manager;
}

FileIOTaskManager::ExitGuard::~ExitGuard() {
    instance().shutdown();
}

} // namespace Kiln
