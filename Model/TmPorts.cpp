#include "Platform/Driver/TmDriver.h"

#include "Model/DriverCall.h"

#include <algorithm>

// The operations of ports and transmit queues: what each sets in the modelled chip.

using KelModel::ChipState;
using KelModel::ClassArg;
using KelModel::classCount;
using KelModel::ClassListArg;
using KelModel::DeviceArg;
using KelModel::FactorArg;
using KelModel::PoolArg;
using KelModel::Port;
using KelModel::PortArg;
using KelModel::PriorityArg;
using KelModel::QueueArg;
using KelModel::QueueListArg;
using KelModel::queuesPerPort;
using KelModel::tmCall;

KelTmStatus bf_tm_port_flowcontrol_mode_set( U32 devId, U32 portId, U32 mode ) {
    return tmCall(
        "bf_tm_port_flowcontrol_mode_set",
        [&]( ChipState & chip ) { chip.port( portId ).flowControlMode = mode; }, DeviceArg{ devId },
        PortArg{ portId }, mode );
}

KelTmStatus bf_tm_port_flowcontrol_rx_set( U32 devId, U32 portId, U32 mode ) {
    return tmCall(
        "bf_tm_port_flowcontrol_rx_set",
        [&]( ChipState & chip ) { chip.port( portId ).flowControlRx = mode; }, DeviceArg{ devId },
        PortArg{ portId }, mode );
}

KelTmStatus bf_tm_port_pfc_cos_mapping_set( U32 devId, U32 portId, const U8 * cosToIcos ) {
    return tmCall(
        "bf_tm_port_pfc_cos_mapping_set",
        [&]( ChipState & chip ) {
            std::copy_n( cosToIcos, classCount, chip.port( portId ).pfcCosToIcos.begin() );
        },
        DeviceArg{ devId }, PortArg{ portId }, ClassListArg{ { cosToIcos, classCount } } );
}

KelTmStatus bf_tm_port_q_mapping_set( U32 devId, U32 portId, U32 queueCount, const U8 * queueMap ) {
    return tmCall(
        "bf_tm_port_q_mapping_set",
        [&]( ChipState & chip ) {
            Port & port = chip.port( portId );
            port.queueCount = queueCount;
            std::copy_n( queueMap, queuesPerPort, port.queueMap.begin() );
        },
        DeviceArg{ devId }, PortArg{ portId }, queueCount,
        QueueListArg{ { queueMap, queuesPerPort } } );
}

KelTmStatus bf_tm_sched_port_shaping_enable( U32 devId, U32 portId ) {
    return tmCall(
        "bf_tm_sched_port_shaping_enable",
        [&]( ChipState & chip ) { chip.port( portId ).shaper.enabled = true; }, DeviceArg{ devId },
        PortArg{ portId } );
}

KelTmStatus bf_tm_sched_port_shaping_disable( U32 devId, U32 portId ) {
    return tmCall(
        "bf_tm_sched_port_shaping_disable",
        [&]( ChipState & chip ) { chip.port( portId ).shaper.enabled = false; }, DeviceArg{ devId },
        PortArg{ portId } );
}

KelTmStatus bf_tm_sched_port_shaping_rate_set( U32 devId, U32 portId, bool pps, U32 burst,
                                               U32 rate ) {
    return tmCall(
        "bf_tm_sched_port_shaping_rate_set",
        [&]( ChipState & chip ) { chip.port( portId ).shaper.rateIs( pps, burst, rate ); },
        DeviceArg{ devId }, PortArg{ portId }, pps, burst, rate );
}

KelTmStatus bf_tm_q_pfc_cos_mapping_set( U32 devId, U32 portId, U32 queue, U32 pfcCos ) {
    return tmCall(
        "bf_tm_q_pfc_cos_mapping_set",
        [&]( ChipState & chip ) { chip.port( portId ).queues[queue].pfcCos = pfcCos; },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue }, ClassArg{ pfcCos } );
}

KelTmStatus bf_tm_q_app_pool_usage_set( U32 devId, U32 portId, U32 queue, U32 pool, bool enable,
                                        U32 baf, U32 hysteresis ) {
    return tmCall(
        "bf_tm_q_app_pool_usage_set",
        [&]( ChipState & chip ) {
            chip.port( portId ).queues[queue].poolUsage[pool] = { enable, baf, hysteresis };
        },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue }, PoolArg{ pool }, enable,
        FactorArg{ baf }, hysteresis );
}

KelTmStatus bf_tm_q_guaranteed_min_limit_set( U32 devId, U32 portId, U32 queue, U32 cells ) {
    return tmCall(
        "bf_tm_q_guaranteed_min_limit_set",
        [&]( ChipState & chip ) { chip.port( portId ).queues[queue].minLimitCells = cells; },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue }, cells );
}

KelTmStatus bf_tm_q_color_drop_enable( U32 devId, U32 portId, U32 queue ) {
    return tmCall(
        "bf_tm_q_color_drop_enable",
        [&]( ChipState & chip ) { chip.port( portId ).queues[queue].colorDrop = true; },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue } );
}

KelTmStatus bf_tm_sched_q_priority_set( U32 devId, U32 portId, U32 queue, U32 priority ) {
    return tmCall(
        "bf_tm_sched_q_priority_set",
        [&]( ChipState & chip ) { chip.port( portId ).queues[queue].priority = priority; },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue }, PriorityArg{ priority } );
}

KelTmStatus bf_tm_sched_q_remaining_bw_priority_set( U32 devId, U32 portId, U32 queue,
                                                     U32 priority ) {
    return tmCall(
        "bf_tm_sched_q_remaining_bw_priority_set",
        [&]( ChipState & chip ) {
            chip.port( portId ).queues[queue].remainingBwPriority = priority;
        },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue }, PriorityArg{ priority } );
}

KelTmStatus bf_tm_sched_q_dwrr_weight_set( U32 devId, U32 portId, U32 queue, U32 weight ) {
    return tmCall(
        "bf_tm_sched_q_dwrr_weight_set",
        [&]( ChipState & chip ) { chip.port( portId ).queues[queue].weight = weight; },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue }, weight );
}

KelTmStatus bf_tm_sched_q_shaping_rate_set( U32 devId, U32 portId, U32 queue, bool pps, U32 burst,
                                            U32 rate ) {
    return tmCall(
        "bf_tm_sched_q_shaping_rate_set",
        [&]( ChipState & chip ) {
            chip.port( portId ).queues[queue].maxRate.rateIs( pps, burst, rate );
        },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue }, pps, burst, rate );
}

KelTmStatus bf_tm_sched_q_max_shaping_rate_enable( U32 devId, U32 portId, U32 queue ) {
    return tmCall(
        "bf_tm_sched_q_max_shaping_rate_enable",
        [&]( ChipState & chip ) { chip.port( portId ).queues[queue].maxRate.enabled = true; },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue } );
}

KelTmStatus bf_tm_sched_q_max_shaping_rate_disable( U32 devId, U32 portId, U32 queue ) {
    return tmCall(
        "bf_tm_sched_q_max_shaping_rate_disable",
        [&]( ChipState & chip ) { chip.port( portId ).queues[queue].maxRate.enabled = false; },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue } );
}

KelTmStatus bf_tm_sched_q_guaranteed_rate_set( U32 devId, U32 portId, U32 queue, bool pps,
                                               U32 burst, U32 rate ) {
    return tmCall(
        "bf_tm_sched_q_guaranteed_rate_set",
        [&]( ChipState & chip ) {
            chip.port( portId ).queues[queue].guaranteedRate.rateIs( pps, burst, rate );
        },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue }, pps, burst, rate );
}

KelTmStatus bf_tm_sched_q_guaranteed_rate_enable( U32 devId, U32 portId, U32 queue ) {
    return tmCall(
        "bf_tm_sched_q_guaranteed_rate_enable",
        [&]( ChipState & chip ) {
            chip.port( portId ).queues[queue].guaranteedRate.enabled = true;
        },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue } );
}

KelTmStatus bf_tm_sched_q_guaranteed_rate_disable( U32 devId, U32 portId, U32 queue ) {
    return tmCall(
        "bf_tm_sched_q_guaranteed_rate_disable",
        [&]( ChipState & chip ) {
            chip.port( portId ).queues[queue].guaranteedRate.enabled = false;
        },
        DeviceArg{ devId }, PortArg{ portId }, QueueArg{ queue } );
}
