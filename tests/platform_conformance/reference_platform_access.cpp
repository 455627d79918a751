#include "platform_access.h"

#include <core/assertions.h>
#include <core/log.h>
#include <core/stack_tracker.h>
#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <resource/file_system_utils.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <utility>

#include <unistd.h>

namespace Conformance {

using namespace Kiln;
using namespace Kiln::Tessel;

namespace {

std::mutex logMutex; ///< Guards the messages.
std::vector<LoggedMessage> loggedMessages;
std::unique_ptr<ScopedLogSink> logSink;

} // namespace

LogCapture::LogCapture() {
    loggedMessages.clear();
    logSink = std::make_unique<ScopedLogSink>([](const LogMessage& message) {
        const std::scoped_lock lock(logMutex);
        loggedMessages.push_back({message.severity, std::string(message.text)});
    });
}

LogCapture::~LogCapture() {
    logSink.reset();
}

std::vector<LoggedMessage> LogCapture::messages() const {
    const std::scoped_lock lock(logMutex);
    return loggedMessages;
}

std::size_t LogCapture::count(int severity) const {
    const std::vector<LoggedMessage> all = messages();
    return static_cast<std::size_t>(std::count_if(
        all.begin(), all.end(), [severity](const LoggedMessage& message) { return message.severity == severity; }));
}

std::size_t countAssertions(void (*function)()) {
    std::size_t count = 0;
    AssertionHandler previous = setAssertionHandler([&count](const AssertionFailure& /*failure*/) { ++count; });
    function();
    setAssertionHandler(std::move(previous));
    return count;
}

std::vector<std::string> stackTrail() {
    std::vector<std::string> functions;
    for (const StackTracker::Entry& entry : StackTracker::current()) {
        functions.emplace_back(entry.function);
    }
    return functions;
}

std::size_t workersCount() {
    return FileIOTaskManager::instance().threadCount();
}

bool waitForTasks() {
    return FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(10));
}

SmartPointer<DataSection> parseDocument(const std::string& text) {
    return DataSection::fromText(text, "document");
}

SmartPointer<DataSection> emptyDocument() {
    return DataSection::create("prefab");
}

std::string sectionText(const DataSection& section) {
    return section.asString();
}

std::string sectionName(const DataSection& section) {
    return std::string(section.sectionName());
}

void writeResource(const std::string& name, const std::string& content) {
    // Tests run as processes of their own, several at a time.
    static const std::filesystem::path directory =
        std::filesystem::temp_directory_path() / ("kiln_conformance_" + std::to_string(getpid()));
    static const struct Directory {
        Directory() {
            std::filesystem::create_directories(directory);
            FS::Utils::addResourceRoot(directory.string());
        }
        ~Directory() { std::filesystem::remove_all(directory); }
    } made;
    std::ofstream(directory / name) << content;
}

int createWorld() {
    return EntryPoint::instance().createWorld();
}

void destroyWorld(int worldId) {
    EntryPoint::instance().destroyWorld(worldId);
}

void runFrame() {
    EntryPoint::instance().tick();
}

GameObject createObject(int worldId, const std::string& name) {
    GameObjectManager& manager = *getGameObjectManager(worldId);
    const GameObject object = manager.createGameObject();
    manager.setGameObjectName(object, name);
    return object;
}

std::string nameOf(const GameObjectDescriptor& descriptor) {
    return std::string(descriptor.name());
}

Uuid uuidOf(GameObject object) {
    return getGameObjectManager(object)->getGameObjectUuid(object);
}

GameObject parentOf(GameObject object) {
    return getGameObjectManager(object)->getParent(object);
}

} // namespace Conformance
