#pragma once

#include "Platform/Framework/Types.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace KelModel {

struct OperationInfo {
    std::string_view name;
    // The status is an unsigned number, so no fault can make the call return a negative one.
    bool unsignedStatus = false;
};

// Every call that the modelled driver answers, by the name under which it is logged and can be
// given a fault.
inline constexpr auto operations = std::to_array<OperationInfo>( {
    { "bf_tm_set_ut_mode_as_model" },
    { "bf_tm_total_cell_count_get" },
    { "bf_tm_pool_pfc_limit_set" },
    { "bf_tm_pool_color_drop_limit_set" },
    { "bf_tm_pool_skid_size_set" },
    { "bf_tm_pool_size_set" },
    { "bf_tm_ppg_defaultppg_get" },
    { "bf_tm_ppg_allocate" },
    { "bf_tm_ppg_free" },
    { "bf_tm_ppg_guaranteed_min_limit_set" },
    { "bf_tm_ppg_icos_mapping_set" },
    { "bf_tm_ppg_lossless_treatment_enable" },
    { "bf_tm_ppg_lossless_treatment_disable" },
    { "bf_tm_ppg_skid_limit_set" },
    { "bf_tm_ppg_app_pool_usage_set" },
    { "bf_tm_port_flowcontrol_mode_set" },
    { "bf_tm_port_flowcontrol_rx_set" },
    { "bf_tm_port_pfc_cos_mapping_set" },
    { "bf_tm_port_q_mapping_set" },
    { "bf_tm_sched_port_shaping_enable" },
    { "bf_tm_sched_port_shaping_disable" },
    { "bf_tm_sched_port_shaping_rate_set" },
    { "bf_tm_q_pfc_cos_mapping_set" },
    { "bf_tm_q_app_pool_usage_set" },
    { "bf_tm_q_guaranteed_min_limit_set" },
    { "bf_tm_q_color_drop_enable" },
    { "bf_tm_sched_q_priority_set" },
    { "bf_tm_sched_q_remaining_bw_priority_set" },
    { "bf_tm_sched_q_dwrr_weight_set" },
    { "bf_tm_sched_q_shaping_rate_set" },
    { "bf_tm_sched_q_max_shaping_rate_enable" },
    { "bf_tm_sched_q_max_shaping_rate_disable" },
    { "bf_tm_sched_q_guaranteed_rate_set" },
    { "bf_tm_sched_q_guaranteed_rate_enable" },
    { "bf_tm_sched_q_guaranteed_rate_disable" },
    { "pipe_mgr_tbl_set_property", true },
    { "wredSetIndirect", true },
} );

// One operation of the driver: a row of the table.
class Operation {
  public:
    // For the functions of the model themselves: a name that the table lacks does not compile.
    consteval Operation( const char * name ) : Operation( named( name ).value() ) {}

    // For names from outside: nothing if the driver has no operation of that name.
    static constexpr std::optional<Operation> named( std::string_view name ) {
        for ( std::size_t row = 0; row < operations.size(); ++row ) {
            if ( operations[row].name == name ) {
                return Operation( row );
            }
        }
        return std::nullopt;
    }

    constexpr std::string_view name() const { return operations[row_].name; }

    // Whether the driver can answer a call with this status to say that it failed.
    constexpr bool canFailWith( S32 status ) const {
        return operations[row_].unsignedStatus ? status > 0 : status != 0;
    }

    constexpr bool operator==( const Operation & ) const = default;

  private:
    explicit constexpr Operation( std::size_t row ) : row_( row ) {}

    std::size_t row_;
};

} // namespace KelModel
