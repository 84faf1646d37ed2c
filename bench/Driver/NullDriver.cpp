// A driver that does nothing and always succeeds: what is left of a run is the cost of getting to
// the driver. Compiled a second time with KEL_BENCH_RECORDS it notes every call.

#include "bench/Driver/NullDriver.h"

#include "Platform/Driver/DriverStatus.h"
#include "Platform/Driver/PipeManager.h"
#include "Platform/Driver/TmDriver.h"
#ifdef KEL_BENCH_RECORDS
#include "bench/Driver/Recording.h"
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

constexpr std::uint32_t totalCells = 278528;

// Handles need not be free, only valid.
std::int32_t nextHandle() {
    constexpr std::uint32_t handles = 128;
    static std::uint32_t handedOut = 0;
    return static_cast<std::int32_t>( handedOut++ % handles );
}

bool groupsAreFree = true;

struct Bytes {
    const std::uint8_t * first;
    std::size_t count;
};

#ifdef KEL_BENCH_RECORDS
template <class T>
std::uint32_t word( T value ) {
    return static_cast<std::uint32_t>( value );
}
std::uint32_t word( Bytes value ) {
    auto & bytes = KelBench::recording().bytes;
    std::copy_n( value.first, value.count, bytes.emplace_back().begin() );
    return static_cast<std::uint32_t>( bytes.size() - 1 );
}

template <class... Args>
std::int32_t done( KelBench::DriverFunction function, Args... args ) {
    const KelBench::Call call{ function, { word( args )... } };
    KelBench::recording().calls.push_back( call );
    return 0;
}
#define KEL_BENCH_DONE( function, ... ) done( KelBench::DriverFunction::function##_, __VA_ARGS__ )
#else
template <class... Args>
std::int32_t done( Args... ) {
    return 0;
}
#define KEL_BENCH_DONE( function, ... ) done( __VA_ARGS__ )
#endif

} // namespace

void KelBench::groupsAreFree( bool free ) { ::groupsAreFree = free; }

#ifdef KEL_BENCH_RECORDS
KelBench::CallSequence & KelBench::recording() {
    static CallSequence sequence;
    return sequence;
}
#endif

KelTmStatus bf_tm_set_ut_mode_as_model( std::uint32_t devId ) {
    return KEL_BENCH_DONE( bf_tm_set_ut_mode_as_model, devId );
}

KelTmStatus bf_tm_total_cell_count_get( std::uint32_t devId, std::uint32_t * cells ) {
    *cells = totalCells;
    return KEL_BENCH_DONE( bf_tm_total_cell_count_get, devId );
}

KelTmStatus bf_tm_pool_pfc_limit_set( std::uint32_t devId, std::uint32_t pool, std::uint32_t icos,
                                      std::uint32_t cells ) {
    return KEL_BENCH_DONE( bf_tm_pool_pfc_limit_set, devId, pool, icos, cells );
}

KelTmStatus bf_tm_pool_color_drop_limit_set( std::uint32_t devId, std::uint32_t pool,
                                             std::uint32_t color, std::uint32_t cells ) {
    return KEL_BENCH_DONE( bf_tm_pool_color_drop_limit_set, devId, pool, color, cells );
}

KelTmStatus bf_tm_pool_skid_size_set( std::uint32_t devId, std::uint32_t cells ) {
    return KEL_BENCH_DONE( bf_tm_pool_skid_size_set, devId, cells );
}

KelTmStatus bf_tm_pool_size_set( std::uint32_t devId, std::uint32_t pool, std::uint32_t cells ) {
    return KEL_BENCH_DONE( bf_tm_pool_size_set, devId, pool, cells );
}

KelTmStatus bf_tm_ppg_defaultppg_get( std::uint32_t devId, std::uint32_t portId,
                                      std::int32_t * ppg ) {
    *ppg = nextHandle();
    return KEL_BENCH_DONE( bf_tm_ppg_defaultppg_get, devId, portId );
}

KelTmStatus bf_tm_ppg_allocate( std::uint32_t devId, std::uint32_t portId, std::int32_t * ppg ) {
    if ( !groupsAreFree ) {
        return KelDriver::statusTryAgainLater;
    }
    *ppg = nextHandle();
    return KEL_BENCH_DONE( bf_tm_ppg_allocate, devId, portId );
}

KelTmStatus bf_tm_ppg_free( std::uint32_t devId, std::int32_t ppg ) {
    return KEL_BENCH_DONE( bf_tm_ppg_free, devId, ppg );
}

KelTmStatus bf_tm_ppg_guaranteed_min_limit_set( std::uint32_t devId, std::int32_t ppg,
                                                std::uint32_t cells ) {
    return KEL_BENCH_DONE( bf_tm_ppg_guaranteed_min_limit_set, devId, ppg, cells );
}

KelTmStatus bf_tm_ppg_icos_mapping_set( std::uint32_t devId, std::int32_t ppg,
                                        std::uint8_t icosBitmap ) {
    return KEL_BENCH_DONE( bf_tm_ppg_icos_mapping_set, devId, ppg, icosBitmap );
}

KelTmStatus bf_tm_ppg_lossless_treatment_enable( std::uint32_t devId, std::int32_t ppg ) {
    return KEL_BENCH_DONE( bf_tm_ppg_lossless_treatment_enable, devId, ppg );
}

KelTmStatus bf_tm_ppg_lossless_treatment_disable( std::uint32_t devId, std::int32_t ppg ) {
    return KEL_BENCH_DONE( bf_tm_ppg_lossless_treatment_disable, devId, ppg );
}

KelTmStatus bf_tm_ppg_skid_limit_set( std::uint32_t devId, std::int32_t ppg, std::uint32_t cells ) {
    return KEL_BENCH_DONE( bf_tm_ppg_skid_limit_set, devId, ppg, cells );
}

KelTmStatus bf_tm_ppg_app_pool_usage_set( std::uint32_t devId, std::int32_t ppg, std::uint32_t pool,
                                          bool enable, std::uint32_t baf,
                                          std::uint32_t hysteresis ) {
    return KEL_BENCH_DONE( bf_tm_ppg_app_pool_usage_set, devId, ppg, pool, enable, baf,
                           hysteresis );
}

KelTmStatus bf_tm_port_flowcontrol_mode_set( std::uint32_t devId, std::uint32_t portId,
                                             std::uint32_t mode ) {
    return KEL_BENCH_DONE( bf_tm_port_flowcontrol_mode_set, devId, portId, mode );
}

KelTmStatus bf_tm_port_flowcontrol_rx_set( std::uint32_t devId, std::uint32_t portId,
                                           std::uint32_t mode ) {
    return KEL_BENCH_DONE( bf_tm_port_flowcontrol_rx_set, devId, portId, mode );
}

KelTmStatus bf_tm_port_pfc_cos_mapping_set( std::uint32_t devId, std::uint32_t portId,
                                            const std::uint8_t * cosToIcos ) {
    return KEL_BENCH_DONE( bf_tm_port_pfc_cos_mapping_set, devId, portId, Bytes{ cosToIcos, 8 } );
}

KelTmStatus bf_tm_port_q_mapping_set( std::uint32_t devId, std::uint32_t portId,
                                      std::uint32_t queueCount, const std::uint8_t * queueMap ) {
    return KEL_BENCH_DONE( bf_tm_port_q_mapping_set, devId, portId, queueCount,
                           Bytes{ queueMap, 32 } );
}

KelTmStatus bf_tm_sched_port_shaping_enable( std::uint32_t devId, std::uint32_t portId ) {
    return KEL_BENCH_DONE( bf_tm_sched_port_shaping_enable, devId, portId );
}

KelTmStatus bf_tm_sched_port_shaping_disable( std::uint32_t devId, std::uint32_t portId ) {
    return KEL_BENCH_DONE( bf_tm_sched_port_shaping_disable, devId, portId );
}

KelTmStatus bf_tm_sched_port_shaping_rate_set( std::uint32_t devId, std::uint32_t portId, bool pps,
                                               std::uint32_t burst, std::uint32_t rate ) {
    return KEL_BENCH_DONE( bf_tm_sched_port_shaping_rate_set, devId, portId, pps, burst, rate );
}

KelTmStatus bf_tm_q_pfc_cos_mapping_set( std::uint32_t devId, std::uint32_t portId,
                                         std::uint32_t queue, std::uint32_t pfcCos ) {
    return KEL_BENCH_DONE( bf_tm_q_pfc_cos_mapping_set, devId, portId, queue, pfcCos );
}

KelTmStatus bf_tm_q_app_pool_usage_set( std::uint32_t devId, std::uint32_t portId,
                                        std::uint32_t queue, std::uint32_t pool, bool enable,
                                        std::uint32_t baf, std::uint32_t hysteresis ) {
    return KEL_BENCH_DONE( bf_tm_q_app_pool_usage_set, devId, portId, queue, pool, enable, baf,
                           hysteresis );
}

KelTmStatus bf_tm_q_guaranteed_min_limit_set( std::uint32_t devId, std::uint32_t portId,
                                              std::uint32_t queue, std::uint32_t cells ) {
    return KEL_BENCH_DONE( bf_tm_q_guaranteed_min_limit_set, devId, portId, queue, cells );
}

KelTmStatus bf_tm_q_color_drop_enable( std::uint32_t devId, std::uint32_t portId,
                                       std::uint32_t queue ) {
    return KEL_BENCH_DONE( bf_tm_q_color_drop_enable, devId, portId, queue );
}

KelTmStatus bf_tm_sched_q_priority_set( std::uint32_t devId, std::uint32_t portId,
                                        std::uint32_t queue, std::uint32_t priority ) {
    return KEL_BENCH_DONE( bf_tm_sched_q_priority_set, devId, portId, queue, priority );
}

KelTmStatus bf_tm_sched_q_remaining_bw_priority_set( std::uint32_t devId, std::uint32_t portId,
                                                     std::uint32_t queue, std::uint32_t priority ) {
    return KEL_BENCH_DONE( bf_tm_sched_q_remaining_bw_priority_set, devId, portId, queue,
                           priority );
}

KelTmStatus bf_tm_sched_q_dwrr_weight_set( std::uint32_t devId, std::uint32_t portId,
                                           std::uint32_t queue, std::uint32_t weight ) {
    return KEL_BENCH_DONE( bf_tm_sched_q_dwrr_weight_set, devId, portId, queue, weight );
}

KelTmStatus bf_tm_sched_q_shaping_rate_set( std::uint32_t devId, std::uint32_t portId,
                                            std::uint32_t queue, bool pps, std::uint32_t burst,
                                            std::uint32_t rate ) {
    return KEL_BENCH_DONE( bf_tm_sched_q_shaping_rate_set, devId, portId, queue, pps, burst, rate );
}

KelTmStatus bf_tm_sched_q_max_shaping_rate_enable( std::uint32_t devId, std::uint32_t portId,
                                                   std::uint32_t queue ) {
    return KEL_BENCH_DONE( bf_tm_sched_q_max_shaping_rate_enable, devId, portId, queue );
}

KelTmStatus bf_tm_sched_q_max_shaping_rate_disable( std::uint32_t devId, std::uint32_t portId,
                                                    std::uint32_t queue ) {
    return KEL_BENCH_DONE( bf_tm_sched_q_max_shaping_rate_disable, devId, portId, queue );
}

KelTmStatus bf_tm_sched_q_guaranteed_rate_set( std::uint32_t devId, std::uint32_t portId,
                                               std::uint32_t queue, bool pps, std::uint32_t burst,
                                               std::uint32_t rate ) {
    return KEL_BENCH_DONE( bf_tm_sched_q_guaranteed_rate_set, devId, portId, queue, pps, burst,
                           rate );
}

KelTmStatus bf_tm_sched_q_guaranteed_rate_enable( std::uint32_t devId, std::uint32_t portId,
                                                  std::uint32_t queue ) {
    return KEL_BENCH_DONE( bf_tm_sched_q_guaranteed_rate_enable, devId, portId, queue );
}

KelTmStatus bf_tm_sched_q_guaranteed_rate_disable( std::uint32_t devId, std::uint32_t portId,
                                                   std::uint32_t queue ) {
    return KEL_BENCH_DONE( bf_tm_sched_q_guaranteed_rate_disable, devId, portId, queue );
}

std::uint32_t pipe_mgr_tbl_set_property( std::uint32_t sessionId, std::uint32_t devId,
                                         std::uint32_t tableHandle, std::uint32_t property,
                                         std::uint32_t value, std::uint32_t args ) {
    return static_cast<std::uint32_t>( KEL_BENCH_DONE( pipe_mgr_tbl_set_property, sessionId, devId,
                                                       tableHandle, property, value, args ) );
}
