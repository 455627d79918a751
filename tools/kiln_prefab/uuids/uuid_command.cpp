#include "uuid_command.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/explain/object_search.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/object_text.h>

#include <optional>
#include <ostream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::Composition;

constexpr std::int64_t MAX_COUNT = 1'000'000;

void writeUuids(std::ostream& stream, const Composition& composition, std::size_t object) {
    stream << printable(composition.path(object)) << '\n'
           << "    file UUID  " << composition.pointUuid(object).toString() << "  "
           << printable(elementPlace(composition.origin(object))) << '\n';
    if (composition.objects()[object].isPoint) {
        stream << "    file UUID  " << composition.fileUuid(object).toString() << "  "
               << printable(elementPlace(composition.rootOrigin(object))) << '\n';
    }
    stream << "    live UUID  " << composition.objects()[object].uuid.toString() << '\n';
}

} // namespace

const Command::Description& UuidCommand::description() const {
    static const Description DESCRIPTION{"uuid",
                                         "Make new UUIDs, combine UUIDs, or show the UUIDs of an object.",
                                         {"kiln-prefab uuid new --count 3",
                                          "kiln-prefab uuid combine 00000000-0000-0000-0000-000000000001 "
                                          "00000000-0000-0000-0000-000000000002",
                                          "kiln-prefab uuid path --root content harbour.prefab Harbour/Lamp"}};
    return DESCRIPTION;
}

void UuidCommand::addOptions(CLI::App& app) {
    addChoice(app, "ACTION", m_action, {"combine", "new", "path"},
              "Combine UUIDs, make new ones, or show those of an object in its file and in an instance")
        ->required();
    app.add_option("ARGUMENT", m_values,
                   "For combine: two or more UUIDs, the outermost instance first. For path: the prefab, and the object "
                   "as names separated by '/' or as a UUID")
        ->check(notEmpty())
        ->type_name("");
    app.add_option("--count", m_count, "Make N UUIDs (default: 1)")
        ->check(CLI::Range(std::int64_t{1}, MAX_COUNT))
        ->type_name("N");
    m_argument.addInstanceUuid(app);
    m_argument.common.addTo(app);
}

int UuidCommand::run(Terminal& terminal) {
    return runReporting(terminal, [this, &terminal]() {
        return m_action == "combine" ? combine(terminal) : m_action == "new" ? generate(terminal) : showPath(terminal);
    });
}

int UuidCommand::combine(Terminal& terminal) const {
    if (m_values.size() < 2) {
        throw CommandError("uuid combine needs two or more UUIDs");
    }
    std::optional<Uuid> combined;
    for (const std::string& text : m_values) {
        const std::optional<Uuid> uuid = Uuid::fromString(text);
        if (!uuid) {
            throw CommandError("'" + text + "' is not a UUID (8-4-4-4-12 hexadecimal digits)");
        }
        combined = combined ? Uuid::combine(*combined, *uuid) : *uuid;
    }
    terminal.output() << combined->toString() << '\n';
    return ExitStatus::SUCCESS;
}

int UuidCommand::generate(Terminal& terminal) const {
    if (!m_values.empty()) {
        throw CommandError("uuid new takes no argument; --count N makes N UUIDs");
    }
    for (std::int64_t i = 0; i < m_count; ++i) {
        terminal.output() << Uuid::generate().toString() << '\n';
    }
    return ExitStatus::SUCCESS;
}

int UuidCommand::showPath(Terminal& terminal) {
    if (m_values.size() != 2) {
        throw CommandError("uuid path needs a prefab and an object");
    }
    m_argument.file = m_values.front();
    return m_argument.run(
        terminal, [this, &terminal](PrefabInspection::PrefabFiles& files, const PrefabInspection::PrefabFile& file) {
            const Composition composition(files, file.path, {m_argument.instance()});
            const bool isSound = reportProblems(terminal, composition);
            if (composition.objects().empty()) {
                return ExitStatus::FINDINGS;
            }
            const std::size_t object = findSingleObject(terminal, composition, m_values.back());
            if (object == Composition::NONE) {
                return ExitStatus::USAGE;
            }
            writeUuids(terminal.output(), composition, object);
            return isSound ? ExitStatus::SUCCESS : ExitStatus::FINDINGS;
        });
}

} // namespace Kiln::PrefabTool
