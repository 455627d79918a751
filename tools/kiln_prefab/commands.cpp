#include "commands.h"

#include "about/completions_command.h"
#include "about/help_command.h"
#include "about/manual_command.h"
#include "bench/bench_command.h"
#include "check/check_command.h"
#include "check/config_command.h"
#include "deps/deps_command.h"
#include "diff/diff_command.h"
#include "dump/dump_command.h"
#include "edit/edit_commands.h"
#include "explain/explain_command.h"
#include "explore/explore_command.h"
#include "merge/merge_command.h"
#include "merge/resolve_command.h"
#include "pack/pack_command.h"
#include "pack/unpack_command.h"
#include "report/report_command.h"
#include "rewrite/rewrite_command.h"
#include "spawn/spawn_command.h"
#include "tree/tree_command.h"
#include "uuids/find_uuid_command.h"
#include "uuids/new_uuids_command.h"
#include "uuids/uuid_command.h"

namespace Kiln::PrefabTool {

std::vector<std::unique_ptr<Command>> makeCommands(const CommandRegistry& registry) {
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(std::make_unique<CheckCommand>());
    commands.push_back(std::make_unique<ConfigCommand>());
    commands.push_back(std::make_unique<TreeCommand>());
    commands.push_back(std::make_unique<DumpCommand>());
    commands.push_back(std::make_unique<DepsCommand>());
    commands.push_back(std::make_unique<ExplainCommand>());
    commands.push_back(std::make_unique<MergeCommand>());
    commands.push_back(std::make_unique<ResolveCommand>());
    commands.push_back(std::make_unique<RewriteCommand>());
    commands.push_back(std::make_unique<SetValuesCommand>());
    commands.push_back(std::make_unique<RenameCommand>());
    commands.push_back(std::make_unique<MoveCommand>());
    commands.push_back(std::make_unique<RemoveCommand>());
    commands.push_back(std::make_unique<AddNestedCommand>());
    commands.push_back(std::make_unique<DiffCommand>());
    commands.push_back(std::make_unique<ReportCommand>());
    commands.push_back(std::make_unique<ExploreCommand>());
    commands.push_back(std::make_unique<PackCommand>());
    commands.push_back(std::make_unique<UnpackCommand>());
    commands.push_back(std::make_unique<SpawnCommand>());
    commands.push_back(std::make_unique<BenchCommand>());
    commands.push_back(std::make_unique<UuidCommand>());
    commands.push_back(std::make_unique<FindUuidCommand>());
    commands.push_back(std::make_unique<NewUuidsCommand>());
    commands.push_back(std::make_unique<HelpCommand>(registry));
    commands.push_back(std::make_unique<CompletionsCommand>(registry));
    commands.push_back(std::make_unique<ManualCommand>(registry));
    return commands;
}

} // namespace Kiln::PrefabTool
