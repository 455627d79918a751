#pragma once

#include <core/non_copyable.h>

#include <functional>
#include <string>
#include <vector>

namespace Kiln::TestSupport {

/// System calls that FileFaults observes. OPEN covers open, openat and openat2, RENAME covers rename and renameat.
enum class FileCall { OPEN, READ, WRITE, FSYNC, RENAME, CLOSE };

/// Observes the file operations of the process during its lifetime, and makes chosen ones fail or do something first.
/// The program that links file_fault_support defines these functions of the C library itself, so calls from shared
/// libraries pass through here as well; calls that the C library makes internally do not.
///
/// One object at a time. Threads: the operations may be called from any thread; plan faults before that.
///
///     FileFaults faults;
///     faults.fail(FileCall::WRITE, 1, ENOSPC);
///     EXPECT_FALSE(section->saveFile(file));
class FileFaults : NonCopyable {
public:
    FileFaults();
    ~FileFaults();

    /// The call with this number, counted from 1 and among calls of its kind, fails with this errno. A CLOSE that fails
    /// closes the descriptor nevertheless, as the system does.
    void fail(FileCall call, int number, int error);

    /// As fail, with the number counted over all kinds.
    void failAny(int number, int error);

    /// Performs an action before the call with this number. Operations of the action itself are not observed.
    void before(FileCall call, int number, std::function<void()> action);

    /// Lets each read and write transfer at most this many bytes.
    void limitTransfers(std::size_t bytes);

    /// Makes openat2 fail with ENOSYS, as kernels before 5.6 do.
    void disableOpenat2();

    /// The calls so far, in order.
    [[nodiscard]] std::vector<FileCall> calls() const;
    [[nodiscard]] int count(FileCall call) const;
};

} // namespace Kiln::TestSupport
