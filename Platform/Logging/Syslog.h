#pragma once

#include "Platform/Framework/Types.h"
#include "Platform/Logging/SyslogFormat.h"

#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Messages to the operator. A message is declared once, as a static SyslogHandle, and emitted with
// log( handle, args... ). Everything here belongs to the event loop's thread.

namespace Kel {

// Standard texts for `recommendedAction`.
inline constexpr const char * NoActionRequired = "No action is required.";
inline constexpr const char * CallSupportIfPersists =
    "If the condition persists, contact technical support.";

// The definition of a message. All texts must have static storage.
struct SyslogDefinition {
    const char * mnemonic;
    int severity; // 0 (emergency) to 7 (debug), as syslog counts
    SyslogFormat format;
    const char * explanation;
    const char * recommendedAction;
    double minInterval = 0.0;  // seconds between two messages with one key
    double freeMessages = 1.0; // messages of a key let through before minInterval applies
    U8 flags = 0;              // no flag is defined yet
    U32 rateLimitArgs = 0;     // leading arguments that, with the mnemonic, form the key
};

// A kind of message. Handles are static objects: they enter the process-wide list when they are
// constructed and leave it when they are destroyed (at exit, or when their library is unloaded).
//
//     Kel::SyslogHandle PORT_DOWN( { .mnemonic = "PORT_DOWN", .severity = 4,
//                                    .format = "Port %s is down", ..., .rateLimitArgs = 1 } );
//     log( PORT_DOWN, name );
class SyslogHandle {
  public:
    // Fails an assertion for a severity above 7 or more key arguments than the format takes.
    explicit SyslogHandle( const SyslogDefinition & definition );
    ~SyslogHandle();
    SyslogHandle( const SyslogHandle & ) = delete;
    SyslogHandle & operator=( const SyslogHandle & ) = delete;

    std::string_view mnemonic() const { return definition_.mnemonic; }
    int severity() const { return definition_.severity; }
    const SyslogFormat & format() const { return definition_.format; }
    std::string_view explanation() const { return definition_.explanation; }
    std::string_view recommendedAction() const { return definition_.recommendedAction; }
    double minInterval() const { return definition_.minInterval; }
    double freeMessages() const { return definition_.freeMessages; }
    U8 flags() const { return definition_.flags; }
    U32 rateLimitArgs() const { return definition_.rateLimitArgs; }
    // Made of the mnemonic alone, so it is the same in every process.
    U64 idHash() const { return idHash_; }

    // Whether a message with this key may go out now; if so, it counts as sent. The first message
    // of a key always may, and so may the first `freeMessages`; later ones may when at least
    // `minInterval` seconds have passed since the last one that went out. Always true with an
    // interval of 0.
    bool okToLog( U64 key );

  private:
    friend std::vector<const SyslogHandle *> syslogHandles();

    struct KeyState {
        double sent = 0.0;     // messages that went out
        double lastSent = 0.0; // seconds
    };

    const SyslogDefinition definition_;
    const U64 idHash_;
    std::unordered_map<U64, KeyState> keys_;
    SyslogHandle * next_; // in the process-wide list
};

// All handles that exist, sorted by mnemonic.
std::vector<const SyslogHandle *> syslogHandles();

// Hash of the texts of a message's key arguments; it depends on their order and boundaries.
U64 logArgsHash( std::span<const std::string> texts );

// Where messages go. The host installs it; null restores the default, which is to write a line
// "syslog SEVERITY MNEMONIC TEXT" on standard error. The views are valid during the call only.
using SyslogSink =
    std::function<void( int severity, std::string_view mnemonic, std::string_view text )>;
void syslogSinkIs( SyslogSink sink );

// The source of the time, in seconds, by which message rates are limited. The host installs it;
// null restores the default, a time that stays 0.
void syslogTimeSourceIs( std::function<double()> now );

// What log() does once its arguments are collected.
void logMessage( SyslogHandle & handle, std::span<const SyslogArg> args );

// Emits a message, unless the rate limit of its key (the handle and its first `rateLimitArgs`
// arguments) drops it. Arguments that do not fit the format in number or kind are a programming
// error, even if the message would be dropped: a "Failed(" line with the mnemonic, then a failed
// assertion.
template <typename... Args>
void log( SyslogHandle & handle, const Args &... args ) {
    const std::array<SyslogArg, sizeof...( Args )> list{ SyslogArg( args )... };
    logMessage( handle, list );
}

} // namespace Kel
