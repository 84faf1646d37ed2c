#pragma once

#include "Platform/Framework/Types.h"

namespace KelDriver {

// Reports a failed driver call in one line on standard error,
//
//     FILE:LINE CALL API ERROR:TEXT (NUMBER)
//
// and fails an assertion at that position. number is the status printed; textStatus, which may be
// another one, selects the text.
[[noreturn, gnu::cold]] void checkedCallFailed( const char * call, S32 number, S32 textStatus,
                                                const char * file, int line,
                                                const char * signature );

} // namespace KelDriver

// Issues a driver call that must succeed: a chip that refused a setting forwards with another
// configuration than the one published, so the process ends and starts anew. On success this is one
// test.
//
// A failing call is issued twice more before the process aborts, and its effects on the chip are
// real: the second result is the number in the report, the third selects its text. Results that
// differ tell a passing condition from a refusal. The call is quoted as it stands in the source.
#define KEL_TM_CHECKED( call )                                                                     \
    do {                                                                                           \
        if ( ( call ) != 0 ) [[unlikely]] {                                                        \
            const S32 kelNumber = ( call );                                                        \
            const S32 kelTextStatus = ( call );                                                    \
            ::KelDriver::checkedCallFailed( #call, kelNumber, kelTextStatus, __FILE__, __LINE__,   \
                                            __PRETTY_FUNCTION__ );                                 \
        }                                                                                          \
    } while ( false )
