#pragma once

namespace Kel {

// Reports a broken invariant and ends the process: one line on standard error with the position,
// the full signature of the enclosing function and the expression, then the abort hook, then
// abort().
[[noreturn]] void assertionFailed( const char * expression, const char * file, int line,
                                   const char * signature ) noexcept;

// Writes the line "Failed(EXPRESSION) MESSAGE" to standard error. The caller aborts afterwards.
void reportFailed( const char * expression, const char * message );

// Installs what the host wants done right before the process aborts on a failed assertion (it
// writes the ring-buffer trace to standard error). The hook runs at most once, even if it fails an
// assertion itself. Null removes it.
void abortHookIs( void ( *hook )() );

} // namespace Kel

// Stays on in every build type: if what it guards does not hold, going on would leave the chip in a
// state that nobody planned.
#define KEL_ASSERT( ... )                                                                          \
    ( ( __VA_ARGS__ )                                                                              \
          ? static_cast<void>( 0 )                                                                 \
          : ::Kel::assertionFailed( #__VA_ARGS__, __FILE__, __LINE__, __PRETTY_FUNCTION__ ) )

// A consistency check that has something to say to the person who finds the core file: the
// "Failed(" line with the expression and the message first, then the failed assertion.
#define KEL_FAILED( expression, message )                                                          \
    ( ::Kel::reportFailed( expression, message ),                                                  \
      ::Kel::assertionFailed( expression, __FILE__, __LINE__, __PRETTY_FUNCTION__ ) )
