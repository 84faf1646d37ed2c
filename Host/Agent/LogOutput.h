#pragma once

#include "Host/Json/FileDescriptor.h"

#include <string>
#include <string_view>

namespace KelHost {

// Where lines of a log go. Writing one never waits for whoever reads them.
class LogOutput {
  public:
    virtual ~LogOutput() = default;

    // Writes one line, which comes without a line end, now or later. Returns false when there is no
    // room for it. `priority`: 0 to 7, as syslog counts.
    virtual bool write( int priority, std::string_view line ) = 0;

    // Writes what has been put off; waits for so many milliseconds at most. Returns whether nothing
    // is left.
    virtual bool flush( int patience ) {
        (void)patience;
        return true;
    }
};

// Standard error, each line behind the time; for the journal, which has its own, behind the
// priority in its form. What is not read at once is put off, up to a limit. Makes the process's
// standard error non-blocking, as far as that is possible without doing the same to other processes
// that share it.
class StandardErrorOutput : public LogOutput {
  public:
    StandardErrorOutput();

    bool write( int priority, std::string_view line ) override;
    bool flush( int patience ) override;

  private:
    static constexpr std::size_t keptAtMost = 256 << 10; // bytes

    bool toJournal_;
    std::string kept_; // lines, the first of them perhaps in part
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

// Writes the process's ring-buffer trace to standard error: for the hook that runs when it aborts.
// Waits for a second at most.
void writeRingTrace();

} // namespace KelHost
