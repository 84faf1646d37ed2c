#pragma once

#include "Host/Json/Json.h"
#include "Host/Switch/SwitchRuntime.h"
#include "Model/ChipState.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace KelHost {

// What a modelled chip holds at one moment, and what its parts are called.
struct ChipSnapshot {
    ChipSnapshot() = default; // a chip that nobody has programmed
    ChipSnapshot( KelModel::ChipState chip, const SwitchRuntime & runtime );

    KelModel::ChipState state;
    // Handles of the groups that were allocated, by port number and group.
    std::map<std::pair<U16, U8>, S32> groups;
    std::map<U16, std::string> interfaces; // by port number
};

// A setting of the chip that is not the same in two snapshots.
struct ChipSetting {
    std::string name;      // "group 3 of Ethernet1: minimum"
    std::string_view unit; // "cells"; empty when it has none
    Json before;           // null: the group, or the entry, is not there
    Json after;
};

// The settings that differ, in a fixed order: pools, ports with their groups and queues, WRED
// entries. Against a chip that nobody has programmed this lists what a chip holds.
std::vector<ChipSetting> changedSettings( const ChipSnapshot & before, const ChipSnapshot & after );

} // namespace KelHost
