#pragma once

#include "Model/Operation.h"
#include "Platform/Framework/Types.h"

#include <limits>
#include <vector>

namespace KelModel {

// A planned failure: after letting `skip` calls of the operation pass, the driver answers the next
// `times` calls with `status` and does nothing.
struct Fault {
    static constexpr U64 always = std::numeric_limits<U64>::max();

    Operation operation;
    S32 status;
    U64 times = always;
    U64 skip = 0;
};

// The planned failures of one chip. Of several for one operation, only the oldest that is not used
// up sees a call, whether it answers it or lets it pass.
class Faults {
  public:
    // Throws Kel::RangeException, and adds nothing, for a status that the operation cannot fail
    // with and for `times` 0.
    void faultIs( const Fault & fault );
    void faultDelAll() { faults_.clear(); }

    // Counts a call of the operation: the status to answer it with, or 0 when it passes.
    S32 answer( Operation operation ) { return faults_.empty() ? 0 : plannedAnswer( operation ); }

  private:
    S32 plannedAnswer( Operation operation );

    std::vector<Fault> faults_; // oldest first, none of them used up
};

} // namespace KelModel
