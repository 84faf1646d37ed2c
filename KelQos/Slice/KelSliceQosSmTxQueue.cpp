#include "KelQos/Slice/KelSliceQosSmTxQueue.h"

#include "KelQos/Slice/KelSliceQosSmLog.h"
#include "Platform/Driver/CheckedCall.h"
#include "Platform/Driver/TmDriver.h"
#include "Platform/Framework/Assert.h"

namespace KelQos {

using Kel::Ptr;

using VelTmTxQueueConfig = KelSliceQosSm::VelTmIntfConfig::VelTmTxQueueConfig;

void VelTmTxQueueConfig::tmTxQueueConfigIs( Ptr<const TmTxQueueConfig> config ) {
    notifierIs( std::move( config ) );
}

void VelTmTxQueueConfig::handleInitialized() {
    if ( isAtWork() ) {
        programAll();
        initializedIs( true );
    }
}

// The guaranteed cells come last: setting them recomputes the shared pools first.
void VelTmTxQueueConfig::programAll() {
    handleTxQueuePfcCos();
    handleTxQueuePriority();
    handleTxQueueWrrWeight();
    handleTxQueueRateParameters();
    handleTxQueueDynamicThreshold();
    handleTxQueueMinLimitCells();
}

void VelTmTxQueueConfig::handleTxQueuePfcCos() {
    const U32 devId = deviceId();
    const U32 portId = port();
    // A queue that no PFC class is configured for is bound to the highest one.
    const U32 pfcCos =
        notifier()->pfcCos() < 0 ? Cos::max : static_cast<U8>( notifier()->pfcCos() );
    KEL_TM_CHECKED( bf_tm_q_pfc_cos_mapping_set( devId, portId, notifier()->txQueueId(), pfcCos ) );
}

void VelTmTxQueueConfig::handleTxQueuePriority() {
    const U32 devId = deviceId();
    const U32 portId = port();
    const bool roundRobin = notifier()->priority() != 0;
    const U32 queue = notifier()->txQueueId();
    // Strict queues are served in the order of their numbers; the driver has priorities up to 7.
    const U32 priority = roundRobin || queue > 7 ? BF_TM_SCH_PRIO_0 : queue;
    KEL_TRACE( sliceTrace, 4 ) << "handleTxQueuePriority: devId, portId, txQueueId, priority "
                               << devId << " " << portId << " " << queue << " " << priority;
    KEL_TM_CHECKED(
        bf_tm_sched_q_priority_set( devId, portId, notifier()->txQueueId(), priority ) );
    // A queue that turns strict again keeps its remaining-bandwidth priority.
    if ( roundRobin ) {
        KEL_TM_CHECKED( bf_tm_sched_q_remaining_bw_priority_set(
            devId, portId, notifier()->txQueueId(), BF_TM_SCH_PRIO_0 ) );
    }
}

void VelTmTxQueueConfig::handleTxQueueWrrWeight() {
    const U32 devId = deviceId();
    const U32 portId = port();
    KEL_TM_CHECKED( bf_tm_sched_q_dwrr_weight_set( devId, portId, notifier()->txQueueId(),
                                                   notifier()->weight() ) );
}

void VelTmTxQueueConfig::handleTxQueueRateParameters() {
    const auto * systemStatus = owner()->sm()->systemStatus();
    const bool internal = systemStatus && Kel::InternalIntfId::isInternalIntfId(
                                              systemStatus->portToIntfId( owner()->portIndex() ) );
    doProgramShapeRate( internal );
    if ( !internal ) {
        doProgramGuaranteedRate();
    }
}

void VelTmTxQueueConfig::doProgramShapeRate( bool internal ) {
    const U32 devId = deviceId();
    const U32 portId = port();
    const RateParams & rateParams = notifier()->rateParams();
    const U32 rate = rateParams.shapeRateVal();
    if ( rate == shapeRateUnlimited || ( rate == shapeRateUnlimitedInternal && internal ) ) {
        KEL_TM_CHECKED(
            bf_tm_sched_q_max_shaping_rate_disable( devId, portId, notifier()->txQueueId() ) );
        KEL_TM_CHECKED(
            bf_tm_sched_q_shaping_rate_set( devId, portId, notifier()->txQueueId(), false, 0, 0 ) );
        return;
    }
    const bool pps = rateParams.shapeRateAccountingMode() == 0;
    KEL_TM_CHECKED(
        bf_tm_sched_q_max_shaping_rate_enable( devId, portId, notifier()->txQueueId() ) );
    KEL_TM_CHECKED( bf_tm_sched_q_shaping_rate_set( devId, portId, notifier()->txQueueId(), pps,
                                                    rateParams.shapeRateBurst(),
                                                    rateParams.shapeRateVal() ) );
}

void VelTmTxQueueConfig::doProgramGuaranteedRate() {
    const U32 devId = deviceId();
    const U32 portId = port();
    const RateParams & rateParams = notifier()->rateParams();
    if ( rateParams.guaranteedBwRate() == 0 ) {
        KEL_TM_CHECKED(
            bf_tm_sched_q_guaranteed_rate_disable( devId, portId, notifier()->txQueueId() ) );
        return;
    }
    KEL_TM_CHECKED(
        bf_tm_sched_q_guaranteed_rate_enable( devId, portId, notifier()->txQueueId() ) );
    KEL_TM_CHECKED( bf_tm_sched_q_guaranteed_rate_set(
        devId, portId, notifier()->txQueueId(), rateParams.accountingModeGBwPps(),
        rateParams.guaranteedBwRateBurst(), rateParams.guaranteedBwRate() ) );
}

void VelTmTxQueueConfig::handleTxQueueDynamicThreshold() {
    const U32 devId = deviceId();
    const U32 portId = port();
    const BurstAbsorptionCoeff baf = notifier()->dynamicThreshold();
    if ( baf == bafInvalid ) {
        KEL_TRACE( sliceTrace, 1 )
            << "handleTxQueueDynamicThreshold: called with bafInvalid: error condition for devId, portId, txQid "
            << devId << " " << portId << " " << notifier()->txQueueId();
        Kel::ringTrace( "called with bafInvalid: error condition for devId, portId, txQid:", devId,
                        portId, notifier()->txQueueId().value() );
        return;
    }
    KEL_TM_CHECKED( bf_tm_q_app_pool_usage_set( devId, portId, notifier()->txQueueId(),
                                                BF_TM_EG_APP_POOL_0, 1, baf, 0 ) );
}

void VelTmTxQueueConfig::handleTxQueueMinLimitCells() {
    const U32 devId = deviceId();
    const U32 portId = port();
    KEL_ASSERT( notifier()->minLimitCells() != TmConfigConstants::minLimitCellsInvalid() );
    owner()->sm()->reconfigureSharedPools();
    if ( !isAtWork() ) {
        return; // whoever was told took the queue away
    }
    KEL_TM_CHECKED( bf_tm_q_guaranteed_min_limit_set( devId, portId, notifier()->txQueueId(),
                                                      notifier()->minLimitCells() ) );
    KEL_TM_CHECKED( bf_tm_q_color_drop_enable( devId, portId, notifier()->txQueueId() ) );
}

} // namespace KelQos
