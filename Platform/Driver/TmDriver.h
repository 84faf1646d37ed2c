#pragma once

#include <cstdint>

// The traffic-manager driver of the chip, as C functions of a library that the program is linked
// with: the vendor's, or the software model. Calls are synchronous, from one thread.
//
// Every operation returns a status: 0 is success, the texts of 1 to 25 are in DriverStatus.h. A
// failing call changes nothing. Arguments that recur:
//   devId    the chip's device number
//   portId   device port number: pipe x 128 + local port; local port 72 is the pipe's mirror port
//   ppg      handle of a priority group, as handed out by the driver, 0 or above
//   queue    transmit queue of a port, 0 to 31
//   icos     internal class of service, 0 to 7
//   pool     one of the application pools below
//   baf      burst absorption factor, 0 to 9: the share of the pool that one user may take
// A cell is a buffer unit of 80 bytes.

using KelTmStatus = std::int32_t;

// Shared buffer pools: four for what arrives, four for what leaves.
constexpr std::uint32_t BF_TM_IG_APP_POOL_0 = 0;
constexpr std::uint32_t BF_TM_IG_APP_POOL_1 = 1;
constexpr std::uint32_t BF_TM_IG_APP_POOL_2 = 2;
constexpr std::uint32_t BF_TM_IG_APP_POOL_3 = 3;
constexpr std::uint32_t BF_TM_EG_APP_POOL_0 = 4;
constexpr std::uint32_t BF_TM_EG_APP_POOL_1 = 5;
constexpr std::uint32_t BF_TM_EG_APP_POOL_2 = 6;
constexpr std::uint32_t BF_TM_EG_APP_POOL_3 = 7;

// Scheduling priorities are 0 (lowest) to 7; this is the one that round-robin queues share.
constexpr std::uint32_t BF_TM_SCH_PRIO_0 = 0;

constexpr std::uint32_t BF_TM_COLOR_RED = 2;

extern "C" {

// --- The chip and its pools

// Puts the driver into its model mode for this device: it stops waiting for hardware.
KelTmStatus bf_tm_set_ut_mode_as_model( std::uint32_t devId );

// Stores the chip's packet buffer size, in cells.
KelTmStatus bf_tm_total_cell_count_get( std::uint32_t devId, std::uint32_t * cells );

// Sets the fill of a pool (cells) at which class icos is paused on the ports that use PFC.
KelTmStatus bf_tm_pool_pfc_limit_set( std::uint32_t devId, std::uint32_t pool, std::uint32_t icos,
                                      std::uint32_t cells );

// Sets the fill of a pool (cells) above which packets of the colour are dropped.
KelTmStatus bf_tm_pool_color_drop_limit_set( std::uint32_t devId, std::uint32_t pool,
                                             std::uint32_t color, std::uint32_t cells );

// Sets the size (cells) of the pool that takes what arrives after a pause was sent.
KelTmStatus bf_tm_pool_skid_size_set( std::uint32_t devId, std::uint32_t cells );

// Sets the size (cells) of a shared pool; 0 turns it off.
KelTmStatus bf_tm_pool_size_set( std::uint32_t devId, std::uint32_t pool, std::uint32_t cells );

// --- Priority groups

// Stores the handle of the group that takes a port's unmapped traffic. It exists as long as the
// port does and need not be allocated.
KelTmStatus bf_tm_ppg_defaultppg_get( std::uint32_t devId, std::uint32_t portId,
                                      std::int32_t * ppg );

// Takes a free group of the port's pipe for the port and stores its handle. Status 10: none is
// free now.
KelTmStatus bf_tm_ppg_allocate( std::uint32_t devId, std::uint32_t portId, std::int32_t * ppg );

// Gives an allocated group back; a default group stays as it is.
KelTmStatus bf_tm_ppg_free( std::uint32_t devId, std::int32_t ppg );

// Guarantees a group this many cells, whatever the fill of the pools.
KelTmStatus bf_tm_ppg_guaranteed_min_limit_set( std::uint32_t devId, std::int32_t ppg,
                                                std::uint32_t cells );

// Maps internal classes to the group: bit i of the bitmap is class i. 0 unmaps all.
KelTmStatus bf_tm_ppg_icos_mapping_set( std::uint32_t devId, std::int32_t ppg,
                                        std::uint8_t icosBitmap );

// Turns lossless treatment of a group on or off: pause is sent instead of packets being dropped.
KelTmStatus bf_tm_ppg_lossless_treatment_enable( std::uint32_t devId, std::int32_t ppg );
KelTmStatus bf_tm_ppg_lossless_treatment_disable( std::uint32_t devId, std::int32_t ppg );

// Sets how many cells of the skid pool the group may take after it has sent pause.
KelTmStatus bf_tm_ppg_skid_limit_set( std::uint32_t devId, std::int32_t ppg, std::uint32_t cells );

// Lets the group use an ingress pool with the given factor; hysteresis is in cells.
KelTmStatus bf_tm_ppg_app_pool_usage_set( std::uint32_t devId, std::int32_t ppg, std::uint32_t pool,
                                          bool enable, std::uint32_t baf,
                                          std::uint32_t hysteresis );

// --- Ports

// Sets the flow control that the port sends, and the one that it obeys: 0 none, 1 PFC,
// 2 link-level pause.
KelTmStatus bf_tm_port_flowcontrol_mode_set( std::uint32_t devId, std::uint32_t portId,
                                             std::uint32_t mode );
KelTmStatus bf_tm_port_flowcontrol_rx_set( std::uint32_t devId, std::uint32_t portId,
                                           std::uint32_t mode );

// Maps the 8 priorities of PFC frames to internal classes: entry i (0 to 7) is the class of
// priority i.
KelTmStatus bf_tm_port_pfc_cos_mapping_set( std::uint32_t devId, std::uint32_t portId,
                                            const std::uint8_t * cosToIcos );

// Gives the port queueCount queues and maps the 32 ingress queue selectors to them: entry i is the
// queue of selector i.
KelTmStatus bf_tm_port_q_mapping_set( std::uint32_t devId, std::uint32_t portId,
                                      std::uint32_t queueCount, const std::uint8_t * queueMap );

// Turns the port's shaper on or off; its rate stays.
KelTmStatus bf_tm_sched_port_shaping_enable( std::uint32_t devId, std::uint32_t portId );
KelTmStatus bf_tm_sched_port_shaping_disable( std::uint32_t devId, std::uint32_t portId );

// Sets the shaper's burst and rate, in packets and packets per second (pps) or in kilobits and
// kbps.
KelTmStatus bf_tm_sched_port_shaping_rate_set( std::uint32_t devId, std::uint32_t portId, bool pps,
                                               std::uint32_t burst, std::uint32_t rate );

// --- Transmit queues

// Sets the PFC class (0 to 7) whose pause frames stop the queue.
KelTmStatus bf_tm_q_pfc_cos_mapping_set( std::uint32_t devId, std::uint32_t portId,
                                         std::uint32_t queue, std::uint32_t pfcCos );

// Lets the queue use an egress pool with the given factor; hysteresis is in cells.
KelTmStatus bf_tm_q_app_pool_usage_set( std::uint32_t devId, std::uint32_t portId,
                                        std::uint32_t queue, std::uint32_t pool, bool enable,
                                        std::uint32_t baf, std::uint32_t hysteresis );

// Guarantees the queue this many cells, whatever the fill of the pools.
KelTmStatus bf_tm_q_guaranteed_min_limit_set( std::uint32_t devId, std::uint32_t portId,
                                              std::uint32_t queue, std::uint32_t cells );

// Makes the queue obey the pools' colour drop limits.
KelTmStatus bf_tm_q_color_drop_enable( std::uint32_t devId, std::uint32_t portId,
                                       std::uint32_t queue );

// Sets the queue's scheduling priority (0 to 7) within its guaranteed rate, and beyond it.
KelTmStatus bf_tm_sched_q_priority_set( std::uint32_t devId, std::uint32_t portId,
                                        std::uint32_t queue, std::uint32_t priority );
KelTmStatus bf_tm_sched_q_remaining_bw_priority_set( std::uint32_t devId, std::uint32_t portId,
                                                     std::uint32_t queue, std::uint32_t priority );

// Sets the queue's share (0 to 65535) among the queues of its priority.
KelTmStatus bf_tm_sched_q_dwrr_weight_set( std::uint32_t devId, std::uint32_t portId,
                                           std::uint32_t queue, std::uint32_t weight );

// Sets the burst and rate of the queue's shaper; units as for the port's.
KelTmStatus bf_tm_sched_q_shaping_rate_set( std::uint32_t devId, std::uint32_t portId,
                                            std::uint32_t queue, bool pps, std::uint32_t burst,
                                            std::uint32_t rate );

// Turns the queue's shaper on or off; its rate stays.
KelTmStatus bf_tm_sched_q_max_shaping_rate_enable( std::uint32_t devId, std::uint32_t portId,
                                                   std::uint32_t queue );
KelTmStatus bf_tm_sched_q_max_shaping_rate_disable( std::uint32_t devId, std::uint32_t portId,
                                                    std::uint32_t queue );

// Sets the burst and rate that the queue is guaranteed; units as for the port's shaper.
KelTmStatus bf_tm_sched_q_guaranteed_rate_set( std::uint32_t devId, std::uint32_t portId,
                                               std::uint32_t queue, bool pps, std::uint32_t burst,
                                               std::uint32_t rate );

// Turns the queue's guaranteed rate on or off; its value stays.
KelTmStatus bf_tm_sched_q_guaranteed_rate_enable( std::uint32_t devId, std::uint32_t portId,
                                                  std::uint32_t queue );
KelTmStatus bf_tm_sched_q_guaranteed_rate_disable( std::uint32_t devId, std::uint32_t portId,
                                                   std::uint32_t queue );

} // extern "C"
