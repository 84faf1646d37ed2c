#include "Platform/Driver/DriverStatus.h"

#include <array>
#include <cstddef>

namespace KelDriver {

namespace {

constexpr std::array statusTexts{
    "Success",
    "Not ready",
    "No system resources",
    "Invalid arguments",
    "Already exists",
    "HW access fails",
    "Object not found",
    "Max sessions exceeded",
    "Session not found",
    "Not enough space",
    "Resource temporarily not available, try again later",
    "Initialization error",
    "Not supported in transaction",
    "Resource held by another session",
    "IO error",
    "Unexpected error",
    "Action data entry is being referenced by match entries",
    "Operation not supported",
    "Updating hardware failed",
    "No learning clients registered",
    "Idle time update state already in progress",
    "Device locked",
    "Internal error",
    "Table not found",
    "In use",
    "Object not implemented",
};

} // namespace

const char * statusText( S32 status ) {
    const auto index = static_cast<U32>( status );
    return index < statusTexts.size() ? statusTexts[index] : "Unknown error";
}

} // namespace KelDriver
