// What kiln-prefab does with the first prefab of a bundle: it loads an instance, lists the files, and writes both as
// text and as JSON.

#include "bundle_folder.h"
#include "fuzz_target.h"
#include "service_support.h"

#include <core/task_manager.h>
#include <kiln_prefab/spawn/instance_diagnostics.h>
#include <kiln_prefab/spawn/json_output.h>
#include <kiln_prefab/spawn/loading_session.h>
#include <kiln_prefab/spawn/text_output.h>
#include <kiln_prefab/terminal.h>
#include <object_framework/entry_point.h>
#include <prefab_inspection/prefab_closure.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <sstream>

namespace Kiln::Fuzz {

namespace {

using PrefabTool::InstanceRecord;

void checkOutputs(const InstanceRecord& record, const PrefabInspection::PrefabClosure& closure) {
    std::ostringstream text;
    PrefabTool::writeText(text, record, closure.files.size());
    std::ostringstream errors;
    PrefabTool::Terminal terminal(text, errors);
    PrefabTool::InstanceDiagnostics diagnostics(terminal, true);
    diagnostics.reportInstance(record);
    for (const std::string& output : {text.str(), errors.str()}) {
        require(std::none_of(output.begin(), output.end(),
                             [](char character) {
                                 const auto byte = static_cast<unsigned char>(character);
                                 return (byte < 0x20 && byte != '\n') || byte == 0x7F;
                             }),
                "the output for a terminal holds no control characters");
    }
    std::ostringstream stream;
    PrefabTool::writeJson(stream, record, closure.unknownComponents);
    const std::string json = stream.str();
    require(nlohmann::json::accept(json), "the JSON output is well formed");
    require(std::count(json.begin(), json.end(), '\n') == 1, "the JSON output is one line");
}

void check(const std::string& path, bool isUnderInactiveParent) {
    PrefabTool::LogCollector log;
    PrefabTool::LoadingSession session({path, std::chrono::seconds(20), isUnderInactiveParent}, log);
    const InstanceRecord record = session.load(Uuid(0, 100));
    require(!session.isStuck(), "background loads end");
    const PrefabInspection::PrefabClosure closure = PrefabInspection::inspectClosure(path);
    require(!record.isCreated() || !closure.files.empty(), "an instance has a file");
    if (record.isCreated()) {
        checkOutputs(record, closure);
    }
    std::ostringstream pools;
    session.dumpPools(pools);
    completeWaitingLoads();
}

} // namespace

} // namespace Kiln::Fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kiln;
    using namespace Kiln::Fuzz;
    static Environment environment("tool");
    setSmallLimits();
    static BundleFolder folder;
    const std::vector<BundleFile> files = parseBundle(asText(data, size));
    const BundleFile* const main = mainFile(files);
    if (!main) {
        environment.countInput(false);
        return 0;
    }
    folder.write(files);
    environment.countInput(static_cast<bool>(DataSection::fromText(main->text, main->name)));
    check(main->name, size % 2 == 0);
    require(Tessel::EntryPoint::instance().worldIds().empty(), "no world is left");
    return 0;
}
