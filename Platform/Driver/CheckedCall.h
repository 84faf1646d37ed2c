#pragma once

#include "Platform/Framework/Types.h"

namespace KelDriver {

// Reports a failed driver call in one line on standard error,
//
//     FILE:LINE CALL API ERROR:TEXT (NUMBER)
//
// and fails an assertion at that position. `number` is the status that is printed; `textStatus`,
// which may differ, selects the text.
[[noreturn, gnu::cold]] void checkedCallFailed( const char * call, S32 number, S32 textStatus,
                                                const char * file, int line,
                                                const char * signature );

} // namespace KelDriver

// Issues a driver call that must succeed: a chip that refused a setting forwards by another
// configuration than the published one, so the process ends and is started again. On success this
// costs one test.
//
// A failing call is issued twice more before the process aborts, and each attempt acts on the chip:
// the second result is the number in the report, the third selects its text. If the results differ,
// it was a passing condition and not a refusal. The call is quoted as it stands in the source.
#define KEL_TM_CHECKED( call )                                                                     \
    do {                                                                                           \
        if ( ( call ) != 0 ) [[unlikely]] {                                                        \
            const S32 kelNumber = ( call );                                                        \
            const S32 kelTextStatus = ( call );                                                    \
            ::KelDriver::checkedCallFailed( #call, kelNumber, kelTextStatus, __FILE__, __LINE__,   \
                                            __PRETTY_FUNCTION__ );                                 \
        }                                                                                          \
    } while ( false )
