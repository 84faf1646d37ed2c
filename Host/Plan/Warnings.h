#pragma once

#include "Host/Plan/BufferUse.h"

#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace KelHost {

// What is doubtful in a switch document, though it is valid: the switch will do it, and somebody
// will be surprised.
enum class Severity : U8 {
    grave,    // traffic is lost, or the agent ends
    doubtful, // it works, but hardly as it was meant
};

struct WarningKind {
    std::string_view id;
    Severity severity;
    std::string_view happens; // what the switch will do
    std::string_view advice;  // what to do about it
};

struct Warning {
    const WarningKind * kind;
    std::string pointer; // JSON pointer of the object that it is about
    std::string finding; // what was found there

    // One line: what was found, what will happen, what to do.
    std::string text() const;
    bool operator==( const Warning & ) const = default;
};

// The warnings about a document, grave ones first.
struct Warnings {
    std::size_t count = 0;
    std::vector<Warning> first; // as many of them as were asked for
};

Warnings warningsOf( const SwitchDocument & document, const BufferUse & use,
                     std::size_t most = std::numeric_limits<std::size_t>::max() );

// Whether the first poll of the drop counters finds a leak: the counters are those of the document.
bool leaksAtOnce( const SwitchDocument & document );

} // namespace KelHost
