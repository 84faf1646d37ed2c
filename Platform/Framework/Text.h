#pragma once

#include "Platform/Framework/Types.h"

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

namespace Kel {

// Text forms of values. Numbers are decimal; a float is the shortest decimal that reads back the
// same; a truth value is True or False; a string stands in single quotes with backslash escapes for
// the quote, the backslash and control characters (\n, \r, \t, and \xHH for the others); an
// enumeration is its member's name.
std::string valueToStrep( U64 value );
std::string valueToStrep( S64 value );
std::string valueToStrep( F32 value );
std::string valueToStrep( F64 value );
std::string valueToStrep( bool value );
std::string valueToStrep( std::string_view value );
template <std::unsigned_integral T>
std::string valueToStrep( T value ) {
    return valueToStrep( static_cast<U64>( value ) );
}
template <std::signed_integral T>
std::string valueToStrep( T value ) {
    return valueToStrep( static_cast<S64>( value ) );
}
inline std::string valueToStrep( const char * value ) {
    return valueToStrep( std::string_view( value ) );
}
template <class T>
requires std::is_enum_v<T> && requires( T value ) {
    { stringValue( value ) } -> std::convertible_to<const char *>;
}
std::string valueToStrep( T value ) { return stringValue( value ); }

// Reading: takes the text form at `cursor`, in a text that ends before `end`, and moves the cursor
// behind it. Throws ParseException, which says what was expected and what was found; cursor and
// value are then left as they were.
void strepToValue( const char *& cursor, const char * end, U8 & value );
void strepToValue( const char *& cursor, const char * end, U16 & value );
void strepToValue( const char *& cursor, const char * end, U32 & value );
void strepToValue( const char *& cursor, const char * end, U64 & value );
void strepToValue( const char *& cursor, const char * end, S8 & value );
void strepToValue( const char *& cursor, const char * end, S32 & value );
void strepToValue( const char *& cursor, const char * end, F32 & value );
void strepToValue( const char *& cursor, const char * end, F64 & value );
void strepToValue( const char *& cursor, const char * end, bool & value );
void strepToValue( const char *& cursor, const char * end, std::string & value );
// Takes exactly this text.
void expectText( const char *& cursor, const char * end, std::string_view text );

// Text form of a set of small numbers, given as a bitmap: ascending ranges, "3", "0-2", "0-1,5";
// the empty set is the empty text.
std::string idSetToStrep( U32 bitmap );

} // namespace Kel
