#include "Platform/Logging/Syslog.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using Kel::log;

Kel::SyslogHandle RESERVED_INVALID( {
    .mnemonic = "TEST_RESERVED_INVALID",
    .severity = 3,
    .format = "Request to reserve %d buffers of 80 bytes each for %s traffic-manager.",
    .explanation = "The number of cells requested exceeds available memory.",
    .recommendedAction = Kel::CallSupportIfPersists,
    .minInterval = 0.0,
    .freeMessages = 1.0,
    .flags = 0,
    .rateLimitArgs = 2,
} );

// A message limited to one in ten seconds for each key of its first `rateLimitArgs` arguments.
Kel::SyslogDefinition limited( U32 rateLimitArgs, double freeMessages = 1.0 ) {
    return { .mnemonic = "TEST_LIMITED",
             .severity = 6,
             .format = "%u cells %s",
             .explanation = "",
             .recommendedAction = Kel::NoActionRequired,
             .minInterval = 10.0,
             .freeMessages = freeMessages,
             .flags = 0,
             .rateLimitArgs = rateLimitArgs };
}

class SyslogTest : public testing::Test {
  protected:
    SyslogTest() {
        Kel::syslogTimeSourceIs( [this] { return now_; } );
        Kel::syslogSinkIs(
            [this]( int severity, std::string_view mnemonic, std::string_view text ) {
                lines_.push_back( std::to_string( severity ) + " " + std::string( mnemonic ) + " " +
                                  std::string( text ) );
            } );
    }
    ~SyslogTest() override {
        Kel::syslogTimeSourceIs( nullptr );
        Kel::syslogSinkIs( nullptr );
    }

    // Messages since the last call.
    std::size_t sent() {
        const std::size_t count = lines_.size();
        lines_.clear();
        return count;
    }

    double now_ = 0.0;
    std::vector<std::string> lines_;
};

TEST_F( SyslogTest, messageReachesTheSinkAsPrintfWouldPrintIt ) {
    log( RESERVED_INVALID, U32{ 4000000000 }, "ingress" );
    log( RESERVED_INVALID, U32{ 7 }, std::string( "egress" ) );
    EXPECT_EQ( lines_, ( std::vector<std::string>{
                           "3 TEST_RESERVED_INVALID Request to reserve -294967296 buffers of 80 "
                           "bytes each for ingress traffic-manager.",
                           "3 TEST_RESERVED_INVALID Request to reserve 7 buffers of 80 bytes each "
                           "for egress traffic-manager." } ) );
}

TEST_F( SyslogTest, conversionsKeepTheirModifiers ) {
    Kel::SyslogHandle handle( {
        .mnemonic = "TEST_CONVERSIONS",
        .severity = 7,
        .format = "%%[%5u|%-4d|%04x|%llu|%ld|%.2f|%6s|%.2s]",
        .explanation = "",
        .recommendedAction = "",
    } );
    log( handle, U8{ 200 }, S16{ -3 }, 255, ~U64{ 0 }, S32{ -1 }, 1.005f, "abc", "wxyz" );
    EXPECT_EQ( lines_.at( 0 ), "7 TEST_CONVERSIONS %[  200|-3  |00ff|18446744073709551615|-1|1.00|"
                               "   abc|wx]" );
}

TEST_F( SyslogTest, withoutIntervalEveryRepeatIsSent ) {
    for ( int i = 0; i < 100; ++i ) {
        log( RESERVED_INVALID, 5U, "ingress" );
    }
    EXPECT_EQ( sent(), 100U );
}

TEST_F( SyslogTest, leadingArgumentsFormTheKey ) {
    const auto sentOf = [this]( U32 rateLimitArgs ) {
        Kel::SyslogHandle handle( limited( rateLimitArgs ) );
        log( handle, 5U, "ingress" );
        log( handle, 5U, "ingress" );
        log( handle, 5U, "egress" );
        log( handle, 6U, "ingress" );
        return sent();
    };
    EXPECT_EQ( sentOf( 0 ), 1U );
    EXPECT_EQ( sentOf( 1 ), 2U );
    EXPECT_EQ( sentOf( 2 ), 3U );
}

TEST_F( SyslogTest, freeMessagesComeBeforeTheInterval ) {
    Kel::SyslogHandle handle( limited( 2, 3.0 ) );
    const auto sentAt = [&]( double time ) {
        now_ = time;
        for ( int i = 0; i < 5; ++i ) {
            log( handle, 5U, "ingress" );
        }
        return sent();
    };
    EXPECT_EQ( sentAt( 1.0 ), 3U );
    EXPECT_EQ( sentAt( 10.5 ), 0U );
    EXPECT_EQ( sentAt( 11.0 ), 1U );
    EXPECT_EQ( sentAt( 20.5 ), 0U );
    EXPECT_EQ( sentAt( 100.0 ), 1U );
}

TEST_F( SyslogTest, limitHoldsWithMoreKeysThanAreKept ) {
    Kel::SyslogHandle handle( limited( 1 ) );
    for ( int round = 0; round < 2; ++round ) {
        for ( U32 cells = 0; cells < 3000; ++cells ) {
            log( handle, cells, "ingress" );
        }
    }
    EXPECT_EQ( sent(), 3000U );
    now_ = 10.0;
    log( handle, 1U, "ingress" );
    log( handle, 1U, "ingress" );
    EXPECT_EQ( sent(), 1U );
}

TEST( Syslog, keyDependsOnOrderAndBoundariesOfTheTexts ) {
    const auto hash = []( std::vector<std::string> texts ) { return Kel::logArgsHash( texts ); };
    EXPECT_EQ( hash( { "5", "ingress" } ), hash( { "5", "ingress" } ) );
    EXPECT_NE( hash( { "5", "ingress" } ), hash( { "ingress", "5" } ) );
    EXPECT_NE( hash( { "ab", "c" } ), hash( { "a", "bc" } ) );
    EXPECT_NE( hash( {} ), hash( { "" } ) );
}

TEST( Syslog, handlesAreListedWhileTheyLive ) {
    const auto before = Kel::syslogHandles();
    EXPECT_EQ( std::ranges::count( before, &RESERVED_INVALID ), 1 );
    {
        const Kel::SyslogHandle first( limited( 0 ) );
        const Kel::SyslogHandle second( limited( 1 ) );
        // By mnemonic: TEST_LIMITED comes before TEST_RESERVED_INVALID.
        EXPECT_EQ( Kel::syslogHandles().size(), before.size() + 2 );
        EXPECT_EQ( Kel::syslogHandles().back(), &RESERVED_INVALID );
    }
    EXPECT_EQ( Kel::syslogHandles(), before );
}

TEST( SyslogDeathTest, argumentsThatTheFormatDoesNotTakeAbort ) {
    const char * const line = "Failed\\(handle.format\\(\\).accepts\\( args \\)\\) "
                              "TEST_RESERVED_INVALID\n.*Assertion";
    EXPECT_DEATH( log( RESERVED_INVALID, 5U ), line );
    EXPECT_DEATH( log( RESERVED_INVALID, "ingress", 5U ), line );
    EXPECT_DEATH( log( RESERVED_INVALID, U64{ 5 }, "ingress" ), line );
}

TEST( SyslogDeathTest, withoutSinkMessagesGoToStandardError ) {
    EXPECT_EXIT( ( log( RESERVED_INVALID, 5U, "ingress" ), std::exit( 0 ) ),
                 testing::ExitedWithCode( 0 ),
                 "^syslog 3 TEST_RESERVED_INVALID Request to reserve 5 buffers" );
}

} // namespace
