#pragma once

#include "Host/Play/EventLog.h"
#include "Host/Switch/StateStore.h"

#include <vector>

namespace KelHost {

// Writes what the state machines write back into the state store to the event log:
//     status tmPpgStatus PORT/PPG true
//     status pfcEnabled INTF pfc
// and "deleted" for an entry that is gone. Must be made before the state machines, so that it sees
// their first write.
class StatusLog {
  public:
    // The log must outlive it.
    StatusLog( EventLog & log, const StateStore & store );
    ~StatusLog();
    StatusLog( const StatusLog & ) = delete;
    StatusLog & operator=( const StatusLog & ) = delete;

  private:
    std::vector<Kel::Ptr<Kel::Notifiee>> reactors_;
};

} // namespace KelHost
