#pragma once

#include <common/uuid.h>
#include <core/smart_pointer.h>
#include <object_framework/game_object.h>
#include <object_serialization/game_object_descriptor.h>
#include <resource/data_section.h>

#include <cstddef>
#include <string>
#include <vector>

/// What the tests need of a platform beyond the operations that the product calls. Each platform has an implementation
/// of its own. Otherwise the tests call what docs/porting.md lists, make values such as `Uuid(high, low)` and
/// `ComponentOptions(bits)`, and look at them: `Matrix::values`, `ComponentOptions::bits`, `GameObjectLink::target`,
/// and the members of `ComponentRecord`.
namespace Conformance {

struct LoggedMessage {
    int severity;
    std::string text;

    friend bool operator==(const LoggedMessage&, const LoggedMessage&) = default;
};

/// Records the engine log during its lifetime. One at a time.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    [[nodiscard]] std::vector<LoggedMessage> messages() const;

    /// Number of messages of that severity.
    [[nodiscard]] std::size_t count(int severity) const;
};

/// Number of development assertions that fail while `function` runs; their reports return.
[[nodiscard]] std::size_t countAssertions(void (*function)());

/// Function names in the current thread's trail, outermost first.
[[nodiscard]] std::vector<std::string> stackTrail();

/// Number of threads that run the tasks of FileIOTaskManager.
[[nodiscard]] std::size_t workersCount();

/// Waits until no task is queued or running; false after ten seconds.
[[nodiscard]] bool waitForTasks();

/// The root section of a document in the layout of prefab files; null when the text is not well formed.
[[nodiscard]] Kiln::SmartPointer<Kiln::DataSection> parseDocument(const std::string& text);

/// A document with just a root section.
[[nodiscard]] Kiln::SmartPointer<Kiln::DataSection> emptyDocument();

/// Text of a section, without that of its children.
[[nodiscard]] std::string sectionText(const Kiln::DataSection& section);
[[nodiscard]] std::string sectionName(const Kiln::DataSection& section);

/// Makes the file `name` with that content available as a resource under `name`.
void writeResource(const std::string& name, const std::string& content);

[[nodiscard]] int createWorld();
void destroyWorld(int worldId);

/// One frame: ticks of the services, post-ticks, reactions.
void runFrame();

/// A new object of the world, inactive and enabled, with that name.
[[nodiscard]] Kiln::Tessel::GameObject createObject(int worldId, const std::string& name = {});

[[nodiscard]] std::string nameOf(const Kiln::GameObjectDescriptor& descriptor);
[[nodiscard]] Kiln::Uuid uuidOf(Kiln::Tessel::GameObject object);
[[nodiscard]] Kiln::Tessel::GameObject parentOf(Kiln::Tessel::GameObject object);

} // namespace Conformance
