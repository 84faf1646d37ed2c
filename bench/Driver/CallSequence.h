#pragma once

#include "Platform/Driver/PipeManager.h"
#include "Platform/Driver/TmDriver.h"
#include "Platform/Framework/Types.h"

#include <array>
#include <cstdio>
#include <string>
#include <vector>

// Every function of the driver.
#define KEL_BENCH_DRIVER_FUNCTIONS( X )                                                            \
    X( bf_tm_set_ut_mode_as_model )                                                                \
    X( bf_tm_total_cell_count_get )                                                                \
    X( bf_tm_pool_pfc_limit_set )                                                                  \
    X( bf_tm_pool_color_drop_limit_set )                                                           \
    X( bf_tm_pool_skid_size_set )                                                                  \
    X( bf_tm_pool_size_set )                                                                       \
    X( bf_tm_ppg_defaultppg_get )                                                                  \
    X( bf_tm_ppg_allocate )                                                                        \
    X( bf_tm_ppg_free )                                                                            \
    X( bf_tm_ppg_guaranteed_min_limit_set )                                                        \
    X( bf_tm_ppg_icos_mapping_set )                                                                \
    X( bf_tm_ppg_lossless_treatment_enable )                                                       \
    X( bf_tm_ppg_lossless_treatment_disable )                                                      \
    X( bf_tm_ppg_skid_limit_set )                                                                  \
    X( bf_tm_ppg_app_pool_usage_set )                                                              \
    X( bf_tm_port_flowcontrol_mode_set )                                                           \
    X( bf_tm_port_flowcontrol_rx_set )                                                             \
    X( bf_tm_port_pfc_cos_mapping_set )                                                            \
    X( bf_tm_port_q_mapping_set )                                                                  \
    X( bf_tm_sched_port_shaping_enable )                                                           \
    X( bf_tm_sched_port_shaping_disable )                                                          \
    X( bf_tm_sched_port_shaping_rate_set )                                                         \
    X( bf_tm_q_pfc_cos_mapping_set )                                                               \
    X( bf_tm_q_app_pool_usage_set )                                                                \
    X( bf_tm_q_guaranteed_min_limit_set )                                                          \
    X( bf_tm_q_color_drop_enable )                                                                 \
    X( bf_tm_sched_q_priority_set )                                                                \
    X( bf_tm_sched_q_remaining_bw_priority_set )                                                   \
    X( bf_tm_sched_q_dwrr_weight_set )                                                             \
    X( bf_tm_sched_q_shaping_rate_set )                                                            \
    X( bf_tm_sched_q_max_shaping_rate_enable )                                                     \
    X( bf_tm_sched_q_max_shaping_rate_disable )                                                    \
    X( bf_tm_sched_q_guaranteed_rate_set )                                                         \
    X( bf_tm_sched_q_guaranteed_rate_enable )                                                      \
    X( bf_tm_sched_q_guaranteed_rate_disable )                                                     \
    X( pipe_mgr_tbl_set_property )

namespace KelBench {

#define KEL_BENCH_NAME( function ) function##_,
enum class DriverFunction : U32 { KEL_BENCH_DRIVER_FUNCTIONS( KEL_BENCH_NAME ) };
#undef KEL_BENCH_NAME

// One call: its function and the values of its arguments. What the function stores through a
// pointer has no place here; an argument that points to bytes is a number of CallSequence::bytes.
struct Call {
    static constexpr std::size_t maxArguments = 7;

    DriverFunction function{};
    std::array<U32, maxArguments> arguments{};
};

// The bare baseline: the driver calls of one run, with nothing else to do than to issue them.
struct CallSequence {
    using Bytes = std::array<U8, 32>; // the longest argument that points to some

    std::vector<Call> calls;
    std::vector<Bytes> bytes;

    // Issues every call in order. Returns the statuses, ored.
    S32 replay() const;

    void write( std::FILE * file ) const;
    // What the recorder writes for these words of its command line. Ends the program when there is
    // none.
    static CallSequence recorded( const std::string & words );
};

} // namespace KelBench
