#pragma once

#include "Host/Json/FileDescriptor.h"

#include <string>
#include <string_view>

namespace KelHost {

// Where lines of a log go. Nothing in here ever waits for whoever reads them.
class LogOutput {
  public:
    virtual ~LogOutput() = default;

    // Writes one line, which comes without a line end, and returns whether it will be read whole.
    // `priority`: 0 to 7, as syslog counts.
    virtual bool write( int priority, std::string_view line ) = 0;

    // Writes what is left of a line that did not fit. Returns whether nothing is left.
    virtual bool finishLine() { return true; }
};

// Standard error, each line behind the time; for the journal, which has its own, behind the
// priority in its form. Makes the process's standard error non-blocking, as far as that is possible
// without doing the same to other processes that share it.
class StandardErrorOutput : public LogOutput {
  public:
    StandardErrorOutput();

    bool write( int priority, std::string_view line ) override;
    bool finishLine() override;

  private:
    bool toJournal_;
    std::string rest_; // of the last line
};

// The system's log.
class SyslogOutput : public LogOutput {
  public:
    explicit SyslogOutput( std::string path = "/dev/log" ) : path_( std::move( path ) ) {}

    bool write( int priority, std::string_view line ) override;

  private:
    void connect();

    std::string path_;
    FileDescriptor socket_;
};

} // namespace KelHost
