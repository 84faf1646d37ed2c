#pragma once

#include <cstdint>

// A property of a match table and the value of it that is used here: every entry belongs to one
// pipeline, instead of being the same in all.
constexpr std::uint32_t KEL_TABLE_ENTRY_SCOPE = 1;
constexpr std::uint32_t KEL_ENTRY_SCOPE_SINGLE_PIPELINE = 1;

extern "C" {

// Sets a property of a match table of the chip, through the pipe manager's session. args belongs to
// the property's value (0 where it takes none). Returns 0, or the status of the failure.
// The entry scope has to be set before the table's first entry is written.
std::uint32_t pipe_mgr_tbl_set_property( std::uint32_t sessionId, std::uint32_t devId,
                                         std::uint32_t tableHandle, std::uint32_t property,
                                         std::uint32_t value, std::uint32_t args );

} // extern "C"
