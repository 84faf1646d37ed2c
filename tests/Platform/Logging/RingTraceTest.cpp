#include "Platform/Logging/RingTrace.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

namespace {

// What write() gives for the ring, by way of a temporary file.
std::string written( const Kel::RingTrace & ring ) {
    std::FILE * const file = std::tmpfile();
    ring.write( fileno( file ) );
    std::rewind( file );
    std::string text;
    for ( int c = std::fgetc( file ); c != EOF; c = std::fgetc( file ) ) {
        text.push_back( static_cast<char>( c ) );
    }
    std::fclose( file );
    return text;
}

TEST( RingTrace, recordsReadBackAsTextOneALine ) {
    U8 memory[1024];
    Kel::RingTrace ring( memory );
    EXPECT_EQ( ring.text(), "" );
    const std::string name = "Ethernet49/1";
    const U16 pipe = 65535;
    enum class Small : U8 { two = 2 };

    ring.record( "handlePortInfo" );
    ring.record( "handlePortInfo", ", port: ", name );
    ring.record( "tm_top.tm_caa.epipe[", pipe, "].pkt_dropcnt: ", std::numeric_limits<U64>::max() );
    ring.record( "called with bafInvalid: error condition for devId, portId, txQid:", U8{ 0 }, 5U,
                 S32{ -3 } );
    ring.record( Small::two, true, S8{ -1 }, std::numeric_limits<S64>::min(), 0.1f, 0.1 );
    const std::string expected =
        "1 handlePortInfo\n"
        "2 handlePortInfo, port: Ethernet49/1\n"
        "3 tm_top.tm_caa.epipe[65535].pkt_dropcnt: 18446744073709551615\n"
        "4 called with bafInvalid: error condition for devId, portId, txQid:0 5 -3\n"
        "5 2 1 -1 -9223372036854775808 0.1 0.1\n";
    EXPECT_EQ( ring.text(), expected );
    EXPECT_EQ( written( ring ), expected );

    ring.clear();
    EXPECT_EQ( ring.text(), "" );
    ring.record( "again" );
    EXPECT_EQ( ring.text(), "1 again\n" );
}

TEST( RingTrace, textsOfOthersAreCopiedAndCut ) {
    U8 memory[1024];
    Kel::RingTrace ring( memory );
    char buffer[] = "buffer";
    ring.record( buffer );
    buffer[0] = 'X';
    {
        const std::string whole( 32, 'a' );
        const std::string cut( 33, 'b' );
        ring.record( whole, cut, "|", std::string_view(), "|" );
        ring.record( std::string( 1000, 'c' ).c_str(),
                     " control characters: ", std::string( "\n\x7F\xC3" ) );
    }
    EXPECT_EQ( ring.text(), "1 buffer\n2 " + std::string( 32, 'a' ) + " " + std::string( 32, 'b' ) +
                                "...||\n3 " + std::string( 32, 'c' ) +
                                "... control characters: ??\xC3\n" );
}

// Records of every size up to the longest, so that the end of the memory falls at every place in a
// record and the newest must always be there, complete, in order and as many as fit.
TEST( RingTrace, newestOverwriteTheOldest ) {
    U8 memory[256];
    Kel::RingTrace ring( memory );
    std::vector<std::string> lines;
    for ( std::size_t i = 1; i <= 1000; ++i ) {
        const std::string text( i * 7 % 33, static_cast<char>( 'a' + i % 26 ) );
        ring.record( text );
        lines.push_back( std::to_string( i ) + " " + text + "\n" );

        std::string newest;
        std::size_t bytes = 0; // of records: a header of 10 and a length byte each
        for ( std::size_t n = lines.size(); n > 0 && newest.size() < ring.text().size(); --n ) {
            newest.insert( 0, lines[n - 1] );
            bytes += 11 + n * 7 % 33;
        }
        ASSERT_EQ( ring.text(), newest ) << i;
        ASSERT_LE( bytes, 256U );
        // What does not fit any more is at most a record, and the padding at the end another.
        ASSERT_TRUE( newest.starts_with( "1 " ) || bytes > 256 - 2 * ( 11 + 32 ) ) << bytes;
    }
    EXPECT_EQ( written( ring ), ring.text() );
}

TEST( RingTrace, ringOfTheProcessKeepsItsNewestRecords ) {
    Kel::ringTraceClear();
    constexpr U32 count = 100000;
    for ( U32 i = 1; i <= count; ++i ) {
        Kel::ringTrace( "port: ", i );
    }
    // 22 bytes a record: 256 KiB hold 11915, less what the end cannot take.
    std::string expected;
    for ( U32 i = count - 11915 + 1; i <= count; ++i ) {
        expected += std::to_string( i ) + " port: " + std::to_string( i ) + "\n";
    }
    EXPECT_EQ( Kel::ringTraceText(), expected );
    EXPECT_EQ( written( Kel::ringTraceOfProcess ), expected );
    Kel::ringTraceClear();
}

TEST( RingTraceDeathTest, recordThatWouldFillTheRingAborts ) {
    U8 memory[64];
    Kel::RingTrace ring( memory );
    ring.record( 1U );
    EXPECT_DEATH( ring.record( "too", "long" ), "Assertion \"size <= memory_.size\\(\\) / 4" );
}

} // namespace
