#include "Host/Json/JsonReader.h"

#include "Host/Json/DocumentError.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>

namespace KelHost {

namespace {

constexpr std::size_t fileSizeLimit = std::size_t{ 256 } << 20;

// Builds the tree from the parser's events. A handler that returns false ends the parse; `error`
// then says what was refused.
class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
  public:
    TreeBuilder( std::string_view text, const std::string & file )
        : text_( text ), place_{ .file = file } {}

    JsonValue root;
    std::string error;

    bool null() override { return value( std::monostate{} ); }
    bool boolean( bool given ) override { return value( given ); }
    bool number_unsigned( U64 given ) override { return value( given ); }
    bool number_integer( S64 given ) override {
        // "-0" arrives here too.
        return given < 0 ? value( given ) : value( static_cast<U64>( given ) );
    }
    bool number_float( F64 given, const std::string & ) override { return value( given ); }
    bool string( std::string & given ) override { return value( std::move( given ) ); }
    bool binary( nlohmann::json::binary_t & ) override { return false; } // not in JSON text

    bool start_object( std::size_t ) override { return open( JsonObject{} ); }
    bool start_array( std::size_t ) override { return open( JsonArray{} ); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key( std::string & name ) override {
        Level & level = levels_.back();
        level.name = name;
        level.member = level.container->as<JsonObject>()->add( std::move( name ) );
        return level.member != nullptr ||
               refuse( "is given twice; each member of an object may be given once" );
    }

    bool parse_error( std::size_t position, const std::string & token,
                      const nlohmann::json::exception & reason ) override;

    // "FILE:LINE:COLUMN: JSON syntax error: WHAT" for the byte at `offset`.
    std::string syntaxError( std::size_t offset, std::string_view what ) const;

  private:
    struct Level {
        JsonValue * container;
        JsonValue * member; // of an object: where the next value goes
        std::string name;   // of that member
    };

    // Where the next value goes. A container does not grow while one inside it is open, so pointers
    // to open containers stay valid.
    JsonValue & next() {
        if ( levels_.empty() ) {
            return root;
        }
        if ( levels_.back().member != nullptr ) {
            return *levels_.back().member;
        }
        return levels_.back().container->as<JsonArray>()->emplace_back();
    }

    template <class T>
    bool value( T && given ) {
        next() = JsonValue( std::forward<T>( given ) );
        return true;
    }

    template <class T>
    bool open( T && empty ) {
        JsonValue & container = next();
        container = JsonValue( std::forward<T>( empty ) );
        if ( levels_.size() == jsonDepthLimit ) {
            return refuse( "is nested too deeply; at most " + std::to_string( jsonDepthLimit ) +
                           " objects and arrays may lie inside each other" );
        }
        levels_.push_back( { &container, nullptr, {} } );
        return true;
    }

    bool close() {
        levels_.pop_back();
        return true;
    }

    // Refuses the value or member that was started last.
    bool refuse( std::string_view what ) {
        std::string pointer;
        for ( const Level & level : levels_ ) {
            const JsonArray * array = level.container->as<JsonArray>();
            pointer += '/';
            pointer +=
                array == nullptr ? pointerToken( level.name ) : std::to_string( array->size() - 1 );
        }
        error = place_.line( pointer, what );
        return false;
    }

    std::string_view text_;
    DocumentPlace place_;
    std::vector<Level> levels_;
};

// In the parser's own message " - REASON" follows its idea of the position, and may be followed by
// the text that it read last, which the line and column make superfluous.
std::string reasonOf( std::string_view message ) {
    const std::size_t dash = message.find( " - " );
    if ( dash != std::string_view::npos ) {
        message.remove_prefix( dash + 3 );
    }
    return std::string( message.substr( 0, message.find( "; last read: " ) ) );
}

// The length in bytes of the offending token, which ends where the parser stopped. `token` is
// reliable only for strings and numbers; a character that spoils a token is a single byte.
std::size_t offendingLength( std::string_view what, std::string_view token ) {
    constexpr std::string_view literals[] = { "true", "false", "null" };
    constexpr std::string_view prefix = "unexpected ";
    if ( !what.starts_with( prefix ) ) {
        return 1;
    }
    what.remove_prefix( prefix.size() );
    if ( what.starts_with( "string" ) || what.starts_with( "number" ) ) {
        return token.size();
    }
    for ( const std::string_view literal : literals ) {
        if ( what.starts_with( literal ) ) {
            return literal.size();
        }
    }
    return 1;
}

bool TreeBuilder::parse_error( std::size_t position, const std::string & token,
                               const nlohmann::json::exception & reason ) {
    constexpr int numberOverflow = 406;
    if ( reason.id == numberOverflow ) {
        // Such a number is well-formed, but out of the range of every member.
        next();
        return refuse( "must be a number of magnitude 1.7976931348623157e308 at most" );
    }
    const std::string what = reasonOf( reason.what() );
    // `position` counts the bytes read, including the offending ones, and the end of the input as
    // one more.
    const std::size_t length = std::max( offendingLength( what, token ), std::size_t{ 1 } );
    const std::size_t offset = std::min( position - std::min( position, length ), text_.size() );
    error = syntaxError( offset, what );
    return false;
}

std::string TreeBuilder::syntaxError( std::size_t offset, std::string_view what ) const {
    const std::string_view before = text_.substr( 0, offset );
    const auto lines = std::count( before.begin(), before.end(), '\n' );
    const std::size_t lineStart = before.rfind( '\n' ) + 1; // 0 when there is none
    return place_.file + ':' + std::to_string( lines + 1 ) + ':' +
           std::to_string( offset - lineStart + 1 ) + ": JSON syntax error: " + std::string( what );
}

[[noreturn]] void refuseFile( const std::string & file, std::string_view why ) {
    DocumentPlace{ .file = file }.refuse( {}, "cannot be read: " + std::string( why ) );
}

} // namespace

JsonValue readJson( std::string_view text, const std::string & file ) {
    TreeBuilder builder( text, file );
    if ( !nlohmann::json::sax_parse( text.begin(), text.end(), &builder ) ) {
        throw DocumentError( builder.error );
    }
    // The parser takes a null byte behind the value for the end of the input.
    if ( const std::size_t nullByte = text.find( '\0' ); nullByte != std::string_view::npos ) {
        throw DocumentError( builder.syntaxError( nullByte, "unexpected null byte" ) );
    }
    return std::move( builder.root );
}

std::string readTextFile( const std::string & file ) {
    const auto closeFile = []( std::FILE * stream ) { std::fclose( stream ); };
    const std::unique_ptr<std::FILE, decltype( closeFile )> stream(
        std::fopen( file.c_str(), "rb" ) );
    if ( stream == nullptr ) {
        refuseFile( file, std::strerror( errno ) );
    }
    std::string text;
    std::string chunk( 1 << 16, '\0' );
    while ( const std::size_t got = std::fread( chunk.data(), 1, chunk.size(), stream.get() ) ) {
        text.append( chunk, 0, got );
        if ( text.size() > fileSizeLimit ) {
            refuseFile( file, "it is larger than 256 MiB" );
        }
    }
    if ( std::ferror( stream.get() ) != 0 ) {
        refuseFile( file, std::strerror( errno ) );
    }
    return text;
}

} // namespace KelHost
