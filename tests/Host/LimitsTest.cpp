#include "Host/Json/FileDescriptor.h"
#include "Host/Json/MessageText.h"
#include "Host/Json/TextFile.h"
#include "tests/Host/DocumentHelpers.h"
#include "tests/support/TempFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

// Input at its limits and beyond, too large for a story. What costs more than its size is a test
// that hangs.
using namespace KelHost;
using KelHostTest::refusal;
using KelHostTest::refusalOf;

namespace {

std::string repeated( std::string_view text, std::size_t times ) {
    std::string result;
    while ( times-- > 0 ) {
        result += text;
    }
    return result;
}

// An object of that many members; the name of each is `prefix` and a number.
std::string object( std::size_t members, std::string_view prefix, std::string_view value ) {
    std::string text = "{";
    for ( std::size_t i = 0; i < members; ++i ) {
        text.append( i == 0 ? "\"" : ",\"" ).append( prefix );
        text.append( std::to_string( i ) ).append( "\":" ).append( value );
    }
    return text + '}';
}

} // namespace

TEST( Limits, aFileHasAMillionValues ) {
    EXPECT_EQ( readJson( '[' + repeated( "0,", 999'998 ) + "0]", "f" ).size(), 999'999U );
    EXPECT_EQ( refusal( '[' + repeated( "[],", 999'999 ) + "0]" ),
               "leaf.json: /999999: is one value too many; a file may have 1000000" );
    EXPECT_EQ( refusal( object( 500'000, "n", R"({"x":0})" ) ),
               "leaf.json: /n499999/x: is one value too many; a file may have 1000000" );
}

TEST( Limits, whatFillsAFileIsRefusedInNoTimeAndAFewWords ) {
    const auto fills = []( const std::string & text ) {
        EXPECT_LE( text.size(), textFileLimit );
        const std::string line = refusal( text );
        EXPECT_TRUE( line.starts_with( "leaf.json:" ) ) << line;
        EXPECT_LE( line.size(), messageLimit );
    };
    const std::string name( textFileLimit - 16, 'x' );
    fills( "{\"" + name + "\":0}" );
    fills( '"' + name );
    fills( std::string( textFileLimit, '7' ) );
    fills( std::string( textFileLimit, '[' ) );
    fills( repeated( "\n ", textFileLimit / 2 - 1 ) + 'x' );
    fills( '"' + repeated( "\\u0001", textFileLimit / 6 - 1 ) + '\x01' );
    fills( repeated( "{\"" + std::string( 250'000, 'x' ) + "\":", 65 ) );
    fills( object( 16'000, std::string( 1000, 'x' ), "0" ) );
    fills( object( 999'999, "n", "null" ) );
}

TEST( Limits, whatFillsAFileIsMergedInNoTime ) {
    Json document = Json::object();
    document.merge_patch( readJson( object( 499'999, "n", "{}" ), "f" ) );
    document.merge_patch( readJson( object( 499'998, "n", "null" ), "f" ) );
    EXPECT_EQ( document.dump(), R"({"n499998":{}})" );
}

TEST( Limits, aPipeHas4096BlockCounters ) {
    const auto counters = []( std::size_t count ) {
        return R"({"counters":{"2":{"block":)" + object( count, "", R"({"name":"n","type":0})" ) +
               "}}}";
    };
    EXPECT_EQ( refusal( counters( 4096 ) ), "" );
    EXPECT_EQ( refusal( counters( 4097 ) ),
               "leaf.json: /counters/2/block: must have 4096 members at most" );
}

TEST( Limits, aMessageShowsWhereALongPointerBeginsAndEnds ) {
    const std::string line =
        refusal( R"({"first":)" + repeated( "{\"" + std::string( 5000, 'x' ) + "\":", 62 ) +
                 R"({"last":1,"last":1})" );
    EXPECT_TRUE( line.starts_with( "leaf.json: /first/xxx" ) ) << line;
    EXPECT_NE( line.find( "xxx.../.../xxx" ), std::string::npos ) << line;
    EXPECT_NE( line.find( "xxx.../last: is given twice" ), std::string::npos ) << line;
    EXPECT_LE( line.size(), messageLimit );
}

TEST( Limits, aNameIsEscapedAndNeverCutInsideACharacter ) {
    for ( const auto & [character, written] : { std::pair<std::string, std::string>{ "~", "~0" },
                                                { "/", "~1" },
                                                { "\x1b", "\\u001b" },
                                                { "\x7f", "\\u007f" },
                                                { "\u009b", "\\u009b" },
                                                { "\xff", "\\xff" },
                                                { "\u00fc", "\u00fc" },
                                                { "\u20ac", "\u20ac" },
                                                { "\U0001f600", "\U0001f600" } } ) {
        EXPECT_EQ( pointerToken( character ), written );
        for ( std::size_t before = 0; before < 6; ++before ) {
            const std::string ahead( before, 'x' );
            const std::string token = pointerToken( ahead + repeated( character, 200 ) );
            EXPECT_LE( token.size(), 130U );
            const std::size_t count = ( token.size() - before - 3 ) / written.size();
            EXPECT_EQ( token, ahead + repeated( written, count ) + "..." );
        }
    }
    EXPECT_EQ( pointerToken( "\xed\xa0\x80\xc0\xaf\xe2\x82" ),
               "\\xed\\xa0\\x80\\xc0\\xaf\\xe2\\x82" ); // a surrogate, too long, too short
    EXPECT_EQ( shown( "sixteen of these", 16 ), "sixteen of these" );
    EXPECT_EQ( shown( "seventeen of them", 16 ), "seventeen of ..." );
    EXPECT_EQ( bounded( "two\nlines\x07" ), "two\\u000alines\\u0007" );
}

TEST( Limits, aFileIsRegularAndHas16MiB ) {
    const TestSupport::TempFolder folder;
    const auto refuses = []( const std::string & file, const std::string & why ) {
        EXPECT_EQ( refusalOf( [&] { readTextFile( file ); } ), file + ": cannot be read: " + why );
    };
    const std::string full = folder.write( "full", std::string( textFileLimit, ' ' ) );
    EXPECT_EQ( readTextFile( full ).size(), textFileLimit );
    ASSERT_EQ( truncate( full.c_str(), textFileLimit + 1 ), 0 );
    refuses( full, "it is larger than 16 MiB" );
    ASSERT_EQ( mkfifo( folder.file( "fifo" ).c_str(), 0600 ), 0 );
    refuses( folder.file( "fifo" ), "it is a FIFO, and must be a regular file" );
    refuses( "/dev/zero", "it is a device, and must be a regular file" );
    EXPECT_EQ( refusalOf( [] { readTextFile( std::string( "/dev/null\0x", 11 ) ); } ),
               "/dev/null\\u0000x: cannot be read: No such file or directory" );
}

TEST( Limits, standardInputIsOfAnyKindAndHas16MiB ) {
    const FileDescriptor before( dup( STDIN_FILENO ) );
    const auto readFrom = []( const char * device ) {
        const FileDescriptor fd( open( device, O_RDONLY | O_CLOEXEC ) );
        dup2( fd.get(), STDIN_FILENO );
        return refusalOf( [] { readInput( "-" ); } );
    };
    EXPECT_EQ( readFrom( "/dev/null" ), "" );
    EXPECT_EQ( readFrom( "/dev/zero" ),
               "standard input: cannot be read: it is larger than 16 MiB" );
    dup2( before.get(), STDIN_FILENO );
}
