#pragma once

#include "Platform/Framework/Types.h"

#include <concepts>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

// The developers' trace: text lines under named handles with levels 0 to 9, each level on or off.
// Everything here belongs to the event loop's thread.
//
//     namespace { Kel::TraceHandle trace( "KelSliceQosSm" ); }
//     KEL_TRACE( trace, 9 ) << "handlePortInfo: " << name;

namespace Kel {

// The switches of one name's levels, all off at first. A static object: it is found by its name
// from static initialisation until its library is unloaded. Sources that trace under one name may
// share a handle or have one each; levels are set for the name. Keep it in an anonymous namespace,
// or give it hidden visibility: then a trace that is off costs one load and one branch, whereas the
// address of an exported object has to be loaded first.
class TraceHandle {
  public:
    static constexpr U32 maxLevel = 9;

    // The name must have static storage.
    explicit TraceHandle( const char * name );
    ~TraceHandle();
    TraceHandle( const TraceHandle & ) = delete;
    TraceHandle & operator=( const TraceHandle & ) = delete;

    const char * name() const { return name_; }
    // The levels that are on, level N at bit N.
    U16 levels() const { return levels_; }
    bool enabled( U32 level ) const { return ( levels_ & ( 1U << level ) ) != 0; }

  private:
    friend TraceHandle * traceHandle( std::string_view name );
    friend std::vector<std::string> traceHandleNames();
    friend void traceLevelsIs( std::string_view setting );
    friend void traceLevelsDelAll();

    U16 levels_ = 0;
    const char * name_;
    TraceHandle * next_; // in the process-wide list
};

// A handle of that name, or null. It stays valid until its library is unloaded.
TraceHandle * traceHandle( std::string_view name );

// The names of all handles, each once, sorted.
std::vector<std::string> traceHandleNames();

// Switches levels as a text HANDLE=LEVELS says: HANDLE is a name, or * for all handles; LEVELS is *
// for all levels, or numbers and ranges as in 0-4,7. Afterwards the levels named are on, and the
// others off. Throws std::invalid_argument, with a text for the user, and changes nothing, if the
// handle is unknown or the text is malformed.
void traceLevelsIs( std::string_view setting );

// Switches everything off.
void traceLevelsDelAll();

// A line of trace on its way to the sink. The texts are valid during the call only.
struct TraceRecord {
    const char * handle;
    U32 level;
    const char * file; // relative to the repository's root
    int line;
    const char * function; // short name
    std::string_view text;
};

// "FILE:LINE FUNCTION HANDLE/LEVEL TEXT", without an end of line.
std::string traceText( const TraceRecord & record );

// Where lines go. The host installs it; null restores the default, traceText() as a line on
// standard error. A sink must not throw.
using TraceSink = std::function<void( const TraceRecord & )>;
void traceSinkIs( TraceSink sink );

template <typename T>
concept HasToText = requires( const T & value ) {
    { value.toText() } -> std::convertible_to<std::string_view>;
};
// The text form that a type's own namespace provides. The deleted function hides Kel's own forms:
// what a trace prints must not depend on which headers were included before this one.
namespace OwnStrep {
void valueToStrep() = delete;
template <typename T>
auto strepOf( const T & value ) -> decltype( valueToStrep( value ) ) {
    return valueToStrep( value );
}
} // namespace OwnStrep
// An enumeration whose namespace names its members.
template <typename T>
concept HasStringValue = std::is_enum_v<T> && requires( T value ) {
    { stringValue( value ) } -> std::convertible_to<const char *>;
};
template <typename T>
concept HasStrep = requires( const T & value ) {
    { OwnStrep::strepOf( value ) } -> std::convertible_to<std::string_view>;
};

// Collects the text of a trace; its destruction hands it to the sink, line by line when the text
// has several. Takes in texts, characters, integers (8-bit ones are numbers too), bool as 0 or 1,
// floating-point numbers in the shortest form that reads back the same, enumerations as their
// member's name (as their number when nobody names it), and types with toText() or valueToStrep().
class TraceLine {
  public:
    TraceLine( const TraceHandle & handle, U32 level, const char * file, int line,
               const char * function )
        : record_{ handle.name(), level, file, line, function, {} } {}
    ~TraceLine();
    TraceLine( const TraceLine & ) = delete;
    TraceLine & operator=( const TraceLine & ) = delete;

    template <typename T>
    TraceLine & operator<<( const T & value ) {
        if constexpr ( std::is_same_v<T, char> ) {
            text_.push_back( value );
        } else if constexpr ( std::is_same_v<std::decay_t<T>, const char *> ||
                              std::is_same_v<std::decay_t<T>, char *> ) {
            appendText( static_cast<const char *>( value ) );
        } else if constexpr ( std::is_convertible_v<const T &, std::string_view> ) {
            text_.append( std::string_view( value ) );
        } else if constexpr ( HasToText<T> ) {
            text_.append( value.toText() );
        } else if constexpr ( std::is_floating_point_v<T> ) {
            appendReal( value );
        } else if constexpr ( std::is_integral_v<T> ) {
            appendInteger( value );
        } else if constexpr ( HasStringValue<T> ) {
            appendText( stringValue( value ) );
        } else if constexpr ( HasStrep<T> ) {
            text_.append( OwnStrep::strepOf( value ) );
        } else {
            static_assert( std::is_enum_v<T>, "no text form for this type" );
            appendInteger( static_cast<std::underlying_type_t<T>>( value ) );
        }
        return *this;
    }

  private:
    template <typename T>
    void appendInteger( T value ) {
        if constexpr ( std::is_signed_v<T> ) {
            appendSigned( value );
        } else {
            appendUnsigned( value );
        }
    }
    void appendText( const char * text ); // null is "(null)"
    void appendSigned( S64 value );
    void appendUnsigned( U64 value );
    void appendReal( float value );
    void appendReal( double value );

    TraceRecord record_;
    std::string text_;
};

// The line to stream into when the level is on, else nothing. KEL_TRACE is this as a statement.
inline std::optional<TraceLine> createIfEnabled( const TraceHandle & handle, U32 level,
                                                 const char * file = __builtin_FILE(),
                                                 int line = __builtin_LINE(),
                                                 const char * function = __builtin_FUNCTION() ) {
    if ( !handle.enabled( level ) ) {
        return std::nullopt;
    }
    return std::optional<TraceLine>( std::in_place, handle, level, file, line, function );
}

// Gives both arms of KEL_TRACE the type void; & binds weaker than <<.
struct TraceStatement {
    void operator&( const TraceLine & ) const {}
};

} // namespace Kel

// A trace statement: KEL_TRACE( handle, level ) << text << value; While the level is off nothing
// that is streamed in is evaluated.
#define KEL_TRACE( handle, level )                                                                 \
    __builtin_expect( !( handle ).enabled( level ), 1 )                                            \
        ? static_cast<void>( 0 )                                                                   \
        : ::Kel::TraceStatement() &                                                                \
              ::Kel::TraceLine( handle, level, __FILE__, __LINE__, __func__ )
