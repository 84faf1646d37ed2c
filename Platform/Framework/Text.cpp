#include "Platform/Framework/Text.h"

#include "Platform/Framework/Exceptions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <system_error>
#include <utility>

namespace Kel {

namespace {

template <class T>
std::string numberText( T value ) {
    std::array<char, 64> buffer;
    const auto result = std::to_chars( buffer.data(), buffer.data() + buffer.size(), value );
    return { buffer.data(), result.ptr };
}

[[noreturn]] void parseError( const char * cursor, const char * end, std::string_view expected ) {
    constexpr std::ptrdiff_t longest = 32;
    const char * const shownEnd = cursor + std::min( longest, end - cursor );
    std::string text = "expected ";
    text += expected;
    text += " at ";
    text += valueToStrep( std::string_view( cursor, shownEnd ) );
    throw ParseException( text );
}

template <class T>
void parseNumber( const char *& cursor, const char * end, T & value, std::string_view expected ) {
    T parsed{};
    const auto result = std::from_chars( cursor, end, parsed );
    if ( result.ec != std::errc() ) {
        parseError( cursor, end, expected );
    }
    cursor = result.ptr;
    value = parsed;
}

constexpr std::string_view hexDigits = "0123456789abcdef";

// The characters with a short escape, and the letter that stands for each behind a backslash.
constexpr std::array<std::pair<char, char>, 5> shortEscapes{
    { { '\n', 'n' }, { '\r', 'r' }, { '\t', 't' }, { '\'', '\'' }, { '\\', '\\' } } };

void appendEscaped( std::string & text, char c ) {
    for ( const auto & [character, letter] : shortEscapes ) {
        if ( c == character ) {
            text += '\\';
            text += letter;
            return;
        }
    }
    const auto byte = static_cast<unsigned char>( c );
    if ( byte < 0x20 || byte == 0x7F ) {
        text += "\\x";
        text += hexDigits[byte >> 4U];
        text += hexDigits[byte & 0xFU];
    } else {
        text += c;
    }
}

// Reads what follows a backslash; false if that is not an escape.
bool takeEscape( const char *& cursor, const char * end, std::string & text ) {
    if ( cursor == end ) {
        return false;
    }
    for ( const auto & [character, letter] : shortEscapes ) {
        if ( *cursor == letter ) {
            text += character;
            ++cursor;
            return true;
        }
    }
    unsigned byte = 0;
    if ( *cursor != 'x' || end - cursor < 3 ||
         std::from_chars( cursor + 1, cursor + 3, byte, 16 ).ptr != cursor + 3 ) {
        return false;
    }
    text += static_cast<char>( byte );
    cursor += 3;
    return true;
}

} // namespace

std::string valueToStrep( U64 value ) { return numberText( value ); }
std::string valueToStrep( S64 value ) { return numberText( value ); }
std::string valueToStrep( F32 value ) { return numberText( value ); }
std::string valueToStrep( F64 value ) { return numberText( value ); }
std::string valueToStrep( bool value ) { return value ? "True" : "False"; }

std::string valueToStrep( std::string_view value ) {
    std::string text = "'";
    for ( const char c : value ) {
        appendEscaped( text, c );
    }
    text += '\'';
    return text;
}

void strepToValue( const char *& cursor, const char * end, U8 & value ) {
    parseNumber( cursor, end, value, "a number from 0 to 255" );
}
void strepToValue( const char *& cursor, const char * end, U16 & value ) {
    parseNumber( cursor, end, value, "a number from 0 to 65535" );
}
void strepToValue( const char *& cursor, const char * end, U32 & value ) {
    parseNumber( cursor, end, value, "a number from 0 to 4294967295" );
}
void strepToValue( const char *& cursor, const char * end, U64 & value ) {
    parseNumber( cursor, end, value, "a number from 0 to 18446744073709551615" );
}
void strepToValue( const char *& cursor, const char * end, S8 & value ) {
    parseNumber( cursor, end, value, "a number from -128 to 127" );
}
void strepToValue( const char *& cursor, const char * end, S32 & value ) {
    parseNumber( cursor, end, value, "a number from -2147483648 to 2147483647" );
}
void strepToValue( const char *& cursor, const char * end, F32 & value ) {
    parseNumber( cursor, end, value, "a number" );
}
void strepToValue( const char *& cursor, const char * end, F64 & value ) {
    parseNumber( cursor, end, value, "a number" );
}

void strepToValue( const char *& cursor, const char * end, bool & value ) {
    const std::string_view text( cursor, end );
    if ( !text.starts_with( "True" ) && !text.starts_with( "False" ) ) {
        parseError( cursor, end, "True or False" );
    }
    value = *cursor == 'T';
    cursor += value ? 4 : 5;
}

void strepToValue( const char *& cursor, const char * end, std::string & value ) {
    const char * at = cursor;
    std::string text;
    expectText( at, end, "'" );
    while ( at != end && *at != '\'' ) {
        const char c = *at++;
        if ( c != '\\' ) {
            text += c;
        } else if ( !takeEscape( at, end, text ) ) {
            parseError( at - 1, end, "an escape sequence" );
        }
    }
    expectText( at, end, "'" );
    cursor = at;
    value = std::move( text );
}

void expectText( const char *& cursor, const char * end, std::string_view text ) {
    if ( !std::string_view( cursor, end ).starts_with( text ) ) {
        parseError( cursor, end, valueToStrep( text ) );
    }
    cursor += text.size();
}

std::string idSetToStrep( U32 bitmap ) {
    std::string text;
    for ( unsigned id = 0; id < 32; ++id ) {
        if ( ( bitmap >> id & 1U ) == 0 ) {
            continue;
        }
        unsigned last = id;
        while ( last < 31 && ( bitmap >> ( last + 1 ) & 1U ) != 0 ) {
            ++last;
        }
        if ( !text.empty() ) {
            text += ',';
        }
        text += numberText( id );
        if ( last > id ) {
            text += '-';
            text += numberText( last );
        }
        id = last;
    }
    return text;
}

} // namespace Kel
