#pragma once

#include "Host/Document/DocumentDifference.h"
#include "Host/Json/Json.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace KelHost {

// A driver call that can be made to fail.
struct FaultCall {
    std::string_view name;
    bool unsignedStatus = false; // so the call never returns a negative one
};

// From now on the modelled driver answers calls of one name with `status` and does nothing.
struct FaultStep {
    static constexpr U64 always = ~U64{ 0 };

    std::string call;
    S32 status = 0; // never 0
    U64 skip = 0;   // calls to let pass first
    U64 times = always;
};

// The current document is taken this step on. A file has room for very many steps: they are small.
struct PatchStep {
    std::unique_ptr<const DocumentDifference> difference; // null: nothing differs
};

struct AdvanceStep {
    F64 seconds = 0; // 0 to 1e7
};

// Delivered as it stands to the command callback.
struct CommandStep {
    std::string text;
};

struct ClearCountersStep {};

struct MirroringLimitStep {
    U32 minLimitCells = 0; // cells
};

struct NotificationsStep {
    bool active = true;
};

using ScenarioStep = std::variant<PatchStep, AdvanceStep, CommandStep, FaultStep, ClearCountersStep,
                                  MirroringLimitStep, NotificationsStep>;

// A scenario that has been checked as a whole: every document in it is valid, and a switch can go
// from each to the next.
struct Scenario {
    SwitchDocument start;
    bool simulation = false;
    std::vector<FaultStep> faults;
    std::vector<ScenarioStep> steps;
};

// An object with the member "config" or "steps" is a scenario, anything else a switch document.
bool isScenario( const Json & root );

// Reads a scenario file, or a switch document as a scenario without steps. The path of a document
// in it is relative to the scenario's folder. `faultCalls` are the driver calls that can be made to
// fail.
//
// A file named "-" is standard input. Throws DocumentError when a file cannot be read or anything
// in it is refused.
Scenario readScenarioFile( const std::string & file, std::span<const FaultCall> faultCalls );

} // namespace KelHost
