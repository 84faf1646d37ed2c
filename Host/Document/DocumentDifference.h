#pragma once

#include "Host/Document/SwitchDocument.h"

#include <vector>

namespace KelHost {

// A step from one document to another: both of them, without the ports, WRED entries and counters
// that are the same in both. It costs what changes, however large the documents are. What is
// settled at start-up or is small (device, buffer parameters, map of classes) is always there.
struct DocumentDifference {
    SwitchDocument before;
    SwitchDocument after;
};

DocumentDifference differenceOf( const SwitchDocument & before, const SwitchDocument & after );

// The step that changes the live counters alone.
DocumentDifference counterDifferenceOf( const SwitchDocument & before, const CounterStore & after );

// Takes `document` this step on. It must be the one from which the difference starts.
void apply( const DocumentDifference & difference, SwitchDocument & document );

// The same step as several, to be applied in their order: WRED entries and counters, of which there
// may be very many, come in parts of their own. So each part is short work; only what a new pipe's
// WRED block has is one part, however much it is.
std::vector<DocumentDifference> inParts( DocumentDifference difference );

} // namespace KelHost
