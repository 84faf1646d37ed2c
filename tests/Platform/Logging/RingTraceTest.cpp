#include "Platform/Logging/RingTrace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <limits>
#include <random>
#include <set>
#include <unistd.h>

namespace {

// What write() gives for the ring, by way of a temporary file.
std::string written( const Kel::RingTrace & ring ) {
    std::FILE * const file = std::tmpfile();
    ring.write( fileno( file ) );
    std::string text( static_cast<std::size_t>( lseek( fileno( file ), 0, SEEK_END ) ), '\0' );
    EXPECT_EQ( pread( fileno( file ), text.data(), text.size(), 0 ), ssize( text ) );
    std::fclose( file );
    return text;
}

TEST( RingTrace, recordsReadBackAsTextOneALine ) {
    U8 memory[1024];
    Kel::RingTrace ring( memory );
    const std::string name = "Ethernet49/1";
    enum class Small : U8 { two = 2 };
    char buffer[] = "buffer";
    ring.record( "handlePortInfo" );
    ring.record( "handlePortInfo", ", port: ", name );
    ring.record( "epipe[", U16{ 65535 }, "].pkt_dropcnt: ", std::numeric_limits<U64>::max() );
    ring.record( "error condition for devId, portId, txQid:", U8{ 0 }, 5U, S32{ -3 }, buffer );
    ring.record( Small::two, true, S8{ -1 }, std::numeric_limits<S64>::min(), 0.1f, 0.1 );
    buffer[0] = 'X'; // texts of others are copied, and cut
    const std::string whole( 32, 'a' );
    ring.record( whole, std::string( 33, 'b' ), "|", std::string_view(), "|" );
    ring.record( std::string( 1000, 'c' ).c_str(), " control: ", std::string( "\n\x1F \x7F\xC3" ) );
    const std::string expected = "1 handlePortInfo\n"
                                 "2 handlePortInfo, port: Ethernet49/1\n"
                                 "3 epipe[65535].pkt_dropcnt: 18446744073709551615\n"
                                 "4 error condition for devId, portId, txQid:0 5 -3 buffer\n"
                                 "5 2 1 -1 -9223372036854775808 0.1 0.1\n"
                                 "6 " +
                                 whole + " " + std::string( 32, 'b' ) + "...||\n7 " +
                                 std::string( 32, 'c' ) + "... control: ?? ?\xC3\n";
    EXPECT_EQ( ring.text(), expected );
    EXPECT_EQ( written( ring ), expected );
    ring.write( -1 ); // gives up
    ring.clear();
    EXPECT_EQ( ring.text(), "" );
    ring.record( "again" );
    EXPECT_EQ( ring.text(), "1 again\n" );
}

// Records from before there was a clock, and from after it, have no time.
TEST( RingTrace, recordsShowWhenTheyWereMade ) {
    alignas( 8 ) U8 memory[256];
    Kel::RingTrace ring( memory );
    static F64 now;
    const auto text = []( F64 time, char * to ) {
        return std::string_view( time < 2 ? "early" : "late" ).copy( to, 32 );
    };
    ring.record( "a" );
    ring.clockIs( { [] { return ++now; }, text } );
    ring.record( "b: ", 1U );
    ring.record( "c" );
    ring.clockIs( {} );
    ring.record( "d" );
    EXPECT_EQ( ring.text(), "1 a\n2 b: 1\n3 c\n4 d\n" );
    ring.clockIs( { [] { return now; }, text } );
    EXPECT_EQ( ring.text(), "1 a\n2 early b: 1\n3 late c\n4 d\n" );
    EXPECT_EQ( written( ring ), ring.text() );
}

// Records of all sizes, beside a plain list of those that must be there: the newest that fit, where
// none straddles the end of the memory, which is filled with what no ring has written.
TEST( RingTrace, newestOverwriteTheOldest ) {
    U8 all[260];
    std::ranges::fill( all, U8{ 0xAA } );
    const auto memory = std::span( all ).first( 256 );
    Kel::RingTrace ring( memory );
    std::deque<std::pair<std::size_t, std::string>> records; // where each ends, and its line
    std::set<std::size_t> skipped;                           // bytes at the end of the memory
    std::mt19937 random( 3 );
    std::size_t begin = 0; // of what is kept, in bytes since the beginning
    std::size_t end = 0;
    for ( std::size_t i = 1; i <= 20000; ++i ) {
        const std::string text( random() % 33, static_cast<char>( 'a' + i % 26 ) );
        ring.record( text );
        const std::size_t size = 2 + sizeof( char * ) + 1 + text.size();
        if ( const std::size_t rest = memory.size() - end % memory.size(); size > rest ) {
            end += rest;
            skipped.insert( rest );
        }
        end += size;
        records.emplace_back( end, std::to_string( i ) + " " + text + "\n" );
        for ( ; end - begin > memory.size(); records.pop_front() ) {
            begin = records.front().first;
        }
        std::string newest;
        for ( const auto & [place, line] : records ) {
            newest += line;
        }
        ASSERT_EQ( ring.text(), newest );
    }
    EXPECT_TRUE( all[256] == 0xAA && all[257] == 0xAA );
    EXPECT_EQ( skipped.size(), 42U ); // from one byte to one less than the longest record
}

TEST( RingTrace, ringOfTheProcessKeepsItsNewestRecords ) {
    Kel::ringTraceClear();
    for ( U32 i = 1; i <= 100000; ++i ) {
        Kel::ringTrace( "port: ", i );
    }
    // 22 bytes a record: 256 KiB hold 11915, less what the end cannot take.
    const std::string text = Kel::ringTraceText();
    EXPECT_TRUE( text.starts_with( "88086 port: 88086\n88087 port: 88087\n" ) );
    EXPECT_TRUE( text.ends_with( "\n99999 port: 99999\n100000 port: 100000\n" ) );
    EXPECT_EQ( written( Kel::ringTraceOfProcess ), text );
    Kel::ringTraceClear();
}

TEST( RingTraceDeathTest, recordsOfMoreThanAQuarterAndOddSizesOfMemoryAbort ) {
    U8 memory[64];
    Kel::RingTrace ring( memory );
    ring.record( 1U, true );
    EXPECT_DEATH( ring.record( std::string( 6, 'x' ) ), "\"size <= memory_.size\\(\\) / 4" );
    EXPECT_DEATH( Kel::RingTrace( std::span( memory ).first( 63 ) ), "has_single_bit" );
}

} // namespace
