#pragma once

#include "Host/Document/SwitchDocument.h"
#include "Platform/Driver/PdIntf.h"
#include "Platform/Driver/ResourceInfoIntf.h"

namespace KelHost {

// What the state machines need of a chip besides the driver's C functions.
struct ChipHandles {
    U32 sessionId = 0; // the pipe manager's session
    Kel::Ptr<KelDriver::PdIntf> pdIntf;
    Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf;
};

// The only way in which the host reaches its chip: everything but the implementation of this runs
// on any driver library.
class ChipAccess {
  public:
    virtual ~ChipAccess() = default;

    // Makes the driver ready for the device. Called once, before the first driver call.
    virtual ChipHandles attach( const DeviceSettings & device ) = 0;
};

} // namespace KelHost
