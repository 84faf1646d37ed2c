#include "Host/Json/JsonDecode.h"

#include <algorithm>
#include <charconv>

namespace KelHost::Decode {

namespace {

// The shortest decimal form; the ranges that errors quote are written as a reader expects them.
std::string textOf( F64 number ) {
    char buffer[32];
    const auto end =
        std::to_chars( buffer, buffer + sizeof buffer, number, std::chars_format::fixed ).ptr;
    return { buffer, end };
}

std::string inQuotes( std::string_view word ) { return '"' + std::string( word ) + '"'; }

// "a", "b" or "c"
std::string listed( std::span<const std::string_view> words, std::string_view last ) {
    std::string list;
    for ( std::size_t i = 0; i < words.size(); ++i ) {
        list += i == 0 ? "" : i + 1 < words.size() ? ", " : last;
        list += inQuotes( words[i] );
    }
    return list;
}

// Null when the value is something else.
template <class T>
const T * find( const JsonCursor & cursor ) {
    return cursor.value().get_ptr<const T *>();
}

template <class T>
const T & read( const JsonCursor & cursor, std::string_view allowed ) {
    const T * value = find<T>( cursor );
    if ( value == nullptr ) {
        cursor.refuse( allowed );
    }
    return *value;
}

} // namespace

const Json::object_t & readObject( const JsonCursor & cursor ) {
    return read<Json::object_t>( cursor, "must be an object" );
}

bool readBoolean( const JsonCursor & cursor ) {
    return read<bool>( cursor, "must be true or false" );
}

const std::string & readText( const JsonCursor & cursor ) {
    return read<std::string>( cursor, "must be a string" );
}

const std::string & readName( const JsonCursor & cursor ) {
    const std::string & name = readText( cursor );
    const auto printable = []( char c ) { return c >= ' ' && c <= '~'; };
    if ( name.empty() || name.size() > nameLimit || !std::ranges::all_of( name, printable ) ) {
        cursor.refuse( "must be 1 to 64 printable ASCII characters" );
    }
    return name;
}

U64 readInteger( const JsonCursor & cursor, S64 low, U64 high ) {
    const Json & number = cursor.value();
    // Those that are not negative have the unsigned form.
    if ( const auto * negative = number.is_number_unsigned() ? nullptr : find<S64>( cursor );
         negative != nullptr && *negative >= low ) {
        return static_cast<U64>( *negative );
    }
    const auto * value = find<U64>( cursor );
    if ( value != nullptr && *value <= high && ( low <= 0 || *value >= static_cast<U64>( low ) ) ) {
        return *value;
    }
    cursor.refuse( "must be an integer from " + std::to_string( low ) + " to " +
                   std::to_string( high ) );
}

F64 readNumber( const JsonCursor & cursor, F64 low, F64 high ) {
    const Json & value = cursor.value();
    std::optional<F64> number;
    if ( value.is_number() ) {
        number = value.get<F64>();
    }
    if ( !number.has_value() || *number < low || *number > high ) {
        cursor.refuse( "must be a number from " + textOf( low ) + " to " + textOf( high ) );
    }
    return *number;
}

std::size_t readWord( const JsonCursor & cursor, std::span<const std::string_view> words ) {
    if ( const auto * given = find<std::string>( cursor ) ) {
        for ( std::size_t i = 0; i < words.size(); ++i ) {
            if ( words[i] == *given ) {
                return i;
            }
        }
    }
    cursor.refuse( "must be " + listed( words, " or " ) );
}

U64 readKey( const JsonCursor & cursor, U64 high, std::string_view what ) {
    const std::string_view name = cursor.name();
    const bool leadingZero = name.size() > 1 && name.front() == '0';
    U64 key = 0;
    const auto [end, error] = std::from_chars( name.data(), name.data() + name.size(), key );
    if ( error != std::errc{} || end != name.data() + name.size() || leadingZero || key > high ) {
        cursor.refuse( "is not " + std::string( what ) + "; allowed are \"0\" to " +
                       inQuotes( std::to_string( high ) ) );
    }
    return key;
}

void refuseUnknown( const JsonCursor & cursor, std::span<const std::string_view> allowed ) {
    cursor.refuse( "is not a member of this object; allowed are " + listed( allowed, " and " ) );
}

void refuseCount( const JsonCursor & cursor, std::span<const std::string_view> allowed ) {
    cursor.refuse( "must have exactly one member; allowed are " + listed( allowed, " and " ) );
}

void refuseMissing( const JsonCursor & cursor, std::string_view missing ) {
    cursor.refuse( "must have the member " + inQuotes( missing ) );
}

} // namespace KelHost::Decode
