#pragma once

#include <core/assertions.h>
#include <core/non_copyable.h>

#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::TestSupport {

/// Records the assertions that fail anywhere in the process during the lifetime of the object, instead of the
/// handler that was installed before. Captures nest: the inner one gets the failures.
///
/// Threads: any thread may fail an assertion, but not while the capture is being destroyed.
///
///     AssertionCapture assertions;
///     pool.freeData(foreignElement);
///     ASSERT_EQ(assertions.count(), 1U);
///     EXPECT_EQ(assertions.failures()[0].message, "Block not found");
class AssertionCapture : NonCopyable {
public:
    /// Like AssertionFailure, but owns its texts.
    struct Failure {
        std::string expression;
        std::string message;
        std::string file;
        unsigned line = 0;

        friend bool operator==(const Failure&, const Failure&) = default;
    };

    AssertionCapture()
        : m_previous(setAssertionHandler([this](const AssertionFailure& failure) { record(failure); })) {}
    ~AssertionCapture() { setAssertionHandler(std::move(m_previous)); }

    [[nodiscard]] std::vector<Failure> failures() const {
        const std::lock_guard lock(m_mutex);
        return m_failures;
    }

    /// The explanations of all failures.
    [[nodiscard]] std::vector<std::string> messages() const {
        const std::lock_guard lock(m_mutex);
        std::vector<std::string> messages;
        for (const Failure& failure : m_failures) {
            messages.push_back(failure.message);
        }
        return messages;
    }

    [[nodiscard]] std::size_t count() const {
        const std::lock_guard lock(m_mutex);
        return m_failures.size();
    }

    void clear() {
        const std::lock_guard lock(m_mutex);
        m_failures.clear();
    }

private:
    void record(const AssertionFailure& failure) {
        const std::lock_guard lock(m_mutex);
        m_failures.push_back(
            {std::string(failure.expression), std::string(failure.message), std::string(failure.file), failure.line});
    }

    mutable std::mutex m_mutex; // guards m_failures
    std::vector<Failure> m_failures;
    AssertionHandler m_previous;
};

/// GoogleTest prints failures through this.
inline void PrintTo(const AssertionCapture::Failure& failure, std::ostream* stream) {
    *stream << "\"" << failure.expression << "\" \"" << failure.message << "\" (" << failure.file << ":" << failure.line
            << ")";
}

} // namespace Kiln::TestSupport
