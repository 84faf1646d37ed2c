#include "Host/Json/MessageText.h"

#include <cstdint>

namespace KelHost {

namespace {

constexpr std::string_view cut = "...";

struct Character {
    std::size_t size = 1; // bytes
    std::uint32_t code = 0;
    bool valid = false; // as UTF-8
};

// The first character of a text that is not empty.
Character firstOf( std::string_view text ) {
    const auto byte = [&]( std::size_t i ) { return static_cast<unsigned char>( text[i] ); };
    const std::uint32_t lead = byte( 0 );
    if ( lead < 0x80 ) {
        return { 1, lead, true };
    }
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if ( lead < 0xC2 || lead > 0xF4 || text.size() < size ) {
        return { 1, lead };
    }
    std::uint32_t code = lead & ( 0x7FU >> size );
    for ( std::size_t i = 1; i < size; ++i ) {
        if ( ( byte( i ) & 0xC0 ) != 0x80 ) {
            return { 1, lead };
        }
        code = code << 6 | ( byte( i ) & 0x3FU );
    }
    constexpr std::uint32_t lowest[] = { 0, 0, 0x80, 0x800, 0x10000 };
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < lowest[size] || code > 0x10FFFF || surrogate ? Character{ 1, lead }
                                                               : Character{ size, code, true };
}

bool isControl( std::uint32_t code ) { return code < 0x20 || ( code >= 0x7F && code < 0xA0 ); }

std::string escaped( const char * prefix, std::uint32_t code, int digits ) {
    std::string text = prefix;
    while ( digits-- > 0 ) {
        text += "0123456789abcdef"[code >> ( 4 * digits ) & 15U];
    }
    return text;
}

} // namespace

std::string shown( std::string_view text, std::size_t most ) {
    std::string result;
    std::size_t fits = 0; // the part of the result behind which "..." still has room
    while ( !text.empty() ) {
        const Character character = firstOf( text );
        const std::string_view piece = text.substr( 0, character.size );
        if ( !character.valid ) {
            result += escaped( "\\x", character.code, 2 );
        } else if ( isControl( character.code ) ) {
            result += escaped( "\\u", character.code, 4 );
        } else {
            result += piece;
        }
        if ( result.size() > most ) {
            return result.substr( 0, fits ).append( cut );
        }
        if ( result.size() + cut.size() <= most ) {
            fits = result.size();
        }
        text.remove_prefix( piece.size() );
    }
    return result;
}

std::string bounded( std::string_view message ) { return shown( message, messageLimit ); }

} // namespace KelHost
