#pragma once

#include "Host/Document/SwitchDocument.h"
#include "Host/Switch/StateStore.h"

namespace KelHost {

// Takes the state store from one document to the next: only what differs between the two is
// written, in a fixed order, and an entity is filled completely before it is inserted into its
// collection. The order keeps every state on the way valid: a port is in the port table before
// anything is configured for it, and leaves the table last.
//
// The step must have passed checkTransition(). A new store is filled by the step from a document
// that has nothing but its `device`. Every write is told at once to whoever watches the entity, so
// driver calls happen in here.
void applyDifference( const SwitchDocument & before, const SwitchDocument & after,
                      StateStore & store );

// The part of applyDifference() that is about one counter store. Values that somebody else wrote
// stay, unless the document's value changes.
void applyCounterDifference( const CounterStore & before, const CounterStore & after,
                             const StateStore & store, KelQos::TmCountersData & counters );

// What an operator's "clear" does: the last-clear store takes the live value (of the document,
// which is where live values come from) of every counter that grows and has one. Gauges, and
// counters without a live value, stay as they are.
void clearCounters( const CounterStore & live, StateStore & store );

} // namespace KelHost
