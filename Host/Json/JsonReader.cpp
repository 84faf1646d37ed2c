#include "Host/Json/JsonReader.h"

#include "Host/Json/DocumentError.h"
#include "Host/Json/JsonTree.h"
#include "Host/Json/MessageText.h"
#include "Platform/Framework/Types.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace KelHost {

namespace {

// Reads a text as the parser is to see it: runs of line ends and tabs (with the blanks between
// them) are cut short. The parser keeps all that lies in front of a token, and spells it out when
// the token is wrong, eight characters for one. Such a run is never part of a string.
class Squeezed {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = const char &;

    // `skipped` counts the characters that are left out.
    Squeezed( const char * at, const char * end, std::size_t & skipped )
        : at_( at ), end_( end ), skipped_( &skipped ) {}

    const char & operator*() const { return *at_; }
    Squeezed & operator++() {
        if ( const auto c = static_cast<unsigned char>( *at_++ ); c > ' ' ) {
            run_ = 0;
        } else if ( c != ' ' || run_ != 0 ) {
            ++run_;
            if ( run_ == runLimit ) {
                skip();
            }
        }
        return *this;
    }
    bool operator==( const Squeezed & other ) const { return at_ == other.at_; }

  private:
    static constexpr int runLimit = 1024;

    void skip() {
        const char * const next = std::find_if_not(
            at_, end_, []( char c ) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; } );
        *skipped_ += static_cast<std::size_t>( next - at_ );
        at_ = next;
        run_ = 0;
    }

    const char * at_;
    const char * end_;
    std::size_t * skipped_;
    int run_ = 0;
};

// Builds the tree from the parser's events. A handler that returns false ends the parse; `error`
// then says what was refused.
class TreeBuilder : public nlohmann::json_sax<Json> {
  public:
    TreeBuilder( std::string_view text, const std::string & file )
        : text_( text ), place_{ .file = file } {}

    std::string error;

    Json takeRoot() { return std::move( tree_.root ); }

    // Returns whether the text was well-formed and within the limits; if not, `error` says why.
    bool parse() {
        const char * const end = text_.data() + text_.size();
        return Json::sax_parse( Squeezed( text_.data(), end, skipped_ ),
                                Squeezed( end, end, skipped_ ), this );
    }

    bool null() override { return value( nullptr ); }
    bool boolean( bool given ) override { return value( given ); }
    bool number_unsigned( U64 given ) override { return value( given ); }
    bool number_integer( S64 given ) override {
        // "-0" arrives here too.
        return given < 0 ? value( given ) : value( static_cast<U64>( given ) );
    }
    bool number_float( F64 given, const std::string & ) override { return value( given ); }
    bool string( std::string & given ) override { return value( std::move( given ) ); }
    bool binary( Json::binary_t & ) override { return false; } // not in JSON text

    bool start_object( std::size_t ) override { return open( Json::object() ); }
    bool start_array( std::size_t ) override { return open( Json::array() ); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key( std::string & name ) override {
        Level & level = levels_.back();
        const auto [member, isNew] =
            level.container->get_ref<Json::object_t &>().try_emplace( std::move( name ) );
        level.member = &*member;
        return isNew || refuse( "is given twice; each member of an object may be given once" );
    }

    bool parse_error( std::size_t position, const std::string & token,
                      const Json::exception & reason ) override;

    // "FILE:LINE:COLUMN: JSON syntax error: WHAT" for the byte at `offset`.
    std::string syntaxError( std::size_t offset, std::string_view what ) const;

  private:
    struct Level {
        Json * container;
        Json::object_t::value_type * member; // of an object: the one whose value comes next
    };

    // Where the next value goes. A container does not grow while one inside it is open, so pointers
    // to open containers stay valid.
    Json & next() {
        if ( levels_.empty() ) {
            return tree_.root;
        }
        const Level & level = levels_.back();
        if ( level.member != nullptr ) {
            return level.member->second;
        }
        auto & array = level.container->get_ref<Json::array_t &>();
        return array.emplace_back();
    }

    template <class T>
    bool value( T && given ) {
        next() = std::forward<T>( given );
        return count();
    }

    bool open( Json && empty ) {
        Json & container = next();
        container = std::move( empty );
        if ( levels_.size() == jsonDepthLimit ) {
            return refuse( "is nested too deeply; at most " + std::to_string( jsonDepthLimit ) +
                           " objects and arrays may lie inside each other" );
        }
        if ( !count() ) {
            return false;
        }
        levels_.push_back( { &container, nullptr } );
        return true;
    }

    bool count() {
        return ++values_ <= jsonValueLimit || refuse( "is one value too many; a file may have " +
                                                      std::to_string( jsonValueLimit ) );
    }

    bool close() {
        levels_.pop_back();
        return true;
    }

    // Refuses the value or member that was started last.
    bool refuse( std::string_view what ) {
        std::string pointer;
        for ( const Level & level : levels_ ) {
            pointer += '/';
            pointer += level.member != nullptr ? pointerToken( level.member->first )
                                               : std::to_string( level.container->size() - 1 );
        }
        error = place_.line( pointer, what );
        return false;
    }

    std::string_view text_;
    DocumentPlace place_;
    JsonTree tree_;
    std::vector<Level> levels_;
    std::size_t values_ = 0;
    std::size_t skipped_ = 0; // characters that the parser did not see
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
                               const Json::exception & reason ) {
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
    const std::size_t offset =
        std::min( position + skipped_ - std::min( position, length ), text_.size() );
    error = syntaxError( offset, what );
    return false;
}

std::string TreeBuilder::syntaxError( std::size_t offset, std::string_view what ) const {
    const std::string_view before = text_.substr( 0, offset );
    const auto lines = std::count( before.begin(), before.end(), '\n' );
    const std::size_t lineStart = before.rfind( '\n' ) + 1; // 0 when there is none
    return bounded( place_.shownFile() + ':' + std::to_string( lines + 1 ) + ':' +
                    std::to_string( offset - lineStart + 1 ) +
                    ": JSON syntax error: " + std::string( what ) );
}

} // namespace

Json readJson( std::string_view text, const std::string & file ) {
    TreeBuilder builder( text, file );
    if ( !builder.parse() ) {
        throw DocumentError( builder.error );
    }
    // The parser takes a null byte behind the value for the end of the input.
    if ( const std::size_t nullByte = text.find( '\0' ); nullByte != std::string_view::npos ) {
        throw DocumentError( builder.syntaxError( nullByte, "unexpected null byte" ) );
    }
    return builder.takeRoot();
}

} // namespace KelHost
