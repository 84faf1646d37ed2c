#pragma once

#include "Platform/Framework/ActivityManager.h"

#include <array>
#include <string_view>

namespace KelHost {

// The log of what happens to one modelled switch: one event per line, after the time in seconds
// with three decimals. Every line is written out in one piece before the next event happens, so the
// log of a process that aborts is complete. A line needs no heap memory, unless it is very long.
//
// When a line cannot be written (the reader is gone, the disk is full), the process ends with
// writeFailed and the reason on standard error: nobody would see what a longer run does.
class EventLog {
  public:
    static constexpr int writeFailed = 1;

    // `fd` must stay open, and `activityManager`, which tells the time, must exist, for the life of
    // the log. SIGPIPE must be ignored in the process.
    EventLog( int fd, const Kel::ActivityManager & activityManager )
        : fd_( fd ), activityManager_( activityManager ) {}
    EventLog( const EventLog & ) = delete;
    EventLog & operator=( const EventLog & ) = delete;

    // `text` is the event without time and line end.
    void event( std::string_view text );

    // "syslog SEVERITY MNEMONIC TEXT"
    void syslog( int severity, std::string_view mnemonic, std::string_view text );
    // "reply "TEXT"": the answer to a command as one JSON string. Bytes that are not UTF-8 appear
    // as replacement characters.
    void reply( std::string_view text );
    // "exit STATUS"
    void exit( int status );

  private:
    static constexpr std::size_t lineMax = 1024;
    static constexpr std::size_t prefixMax = 64;

    std::string_view prefix();
    void write( const char * line, std::size_t size ) const;
    [[noreturn]] static void fail( int error );

    int fd_;
    const Kel::ActivityManager & activityManager_;
    // The time as text, made again when the time has moved.
    F64 prefixTime_ = -1.0;
    std::size_t prefixSize_ = 0;
    std::array<char, prefixMax> prefix_;
};

} // namespace KelHost
