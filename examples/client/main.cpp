// A client of the library alone: its own configuration, a driver that does nothing, no part of
// the host program. Programs one PFC port and says what the buffer account makes of it.

#include "KelQos/Slice/KelSliceQosSm.h"
#include "Platform/Framework/ActivityManager.h"

#include <cstdio>

int main() {
    Kel::ActivityManager activityManager;

    auto config = Kel::makePtr<KelQos::TmConfig>();
    auto intf = config->tmIntfConfigIs( KelPortTypes::PortIndex( 4 ) );
    intf->flowControlTypeIs( KelQos::flowControlTypePfc );
    auto group = intf->tmPpgConfigIs( KelQos::PpgId( 3 ) );
    group->internalCosBmpIs( 1U << 3U );
    group->pfcEnabledIs( true );
    group->minLimitCellsIs( 100 );
    auto params = Kel::makePtr<KelQos::TmBufferParamsConfig>();
    params->totalCellsAvailableForIngressIs( 100000 );
    auto status = Kel::makePtr<KelQos::TmStatus>();

    auto sm = KelQos::kelSliceQosSmFactory(
        0, activityManager.config()->clock(), config, status, params, nullptr, nullptr,
        Kel::makePtr<KelSlice::ChipStatus>(), Kel::makePtr<Agent::AgentCommandRequestDirSm>(),
        Kel::makePtr<KelQos::TmCountersData>(), Kel::makePtr<KelQos::TmCountersData>(), nullptr );
    activityManager.advanceTo( 0.0 );

    std::printf(
        "reserved %u cells, shared %d cells, group 3 %s\n", sm->totalIngressReservedCellCount(),
        sm->ingressSharedPoolCellCount(),
        status->tmIntfStatusIs( KelPortTypes::PortIndex( 4 ) )->tmPpgStatus( KelQos::PpgId( 3 ) )
            ? "programmed"
            : "missing" );
    return sm->totalIngressReservedCellCount() == 100 + 232 + 4 * 480 ? 0 : 1;
}
