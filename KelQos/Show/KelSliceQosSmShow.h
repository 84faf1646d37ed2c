#pragma once

#include "KelQos/Show/KelSliceQosCounters.h"
#include "KelQos/Show/KelSliceQosReply.h"

namespace KelQos {

// The table of priority groups; nothing for an empty sorter.
void printPpgCounters( U32 fd, const PpgSorter & sorter );
void printPpgCounters( KelSliceQosReply & reply, const PpgSorter & sorter );

// The table of chip-wide counters and a blank line.
void printBlockLevelCounters( U32 fd, const BlockLevelCounterSorter & sorter );
void printBlockLevelCounters( KelSliceQosReply & reply, const BlockLevelCounterSorter & sorter );

} // namespace KelQos
