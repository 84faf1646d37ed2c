#include "Platform/Logging/Syslog.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using Kel::log;
using Lines = std::vector<std::string>;

// The key of its rate limit are the first `rateLimitArgs` arguments.
Kel::SyslogDefinition cells( U32 rateLimitArgs, double minInterval = 10.0,
                             double freeMessages = 1.0 ) {
    return { .mnemonic = "TEST_CELLS",
             .severity = 3,
             .format = "%d cells of 100%% %s",
             .explanation = "",
             .recommendedAction = Kel::NoActionRequired,
             .minInterval = minInterval,
             .freeMessages = freeMessages,
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

    // Logs the message, and returns how often it was sent.
    std::size_t sent( Kel::SyslogHandle & handle, std::size_t times, U32 number = 5,
                      const char * where = "ingress" ) {
        lines_.clear();
        for ( std::size_t i = 0; i < times; ++i ) {
            log( handle, number, where );
        }
        return lines_.size();
    }

    double now_ = 0.0;
    Lines lines_;
};

TEST_F( SyslogTest, messageReachesTheSinkAsPrintfWouldPrintIt ) {
    Kel::SyslogHandle handle( {
        .mnemonic = "TEST_CONVERSIONS",
        .severity = 7,
        .format = "%%[%5u|%-4d|%04x|%llu|%ld|%6s|%.2s|%i|%lx]",
        .explanation = "",
        .recommendedAction = "",
    } );
    log( handle, U8{ 200 }, S16{ -3 }, 255, ~U64{ 0 }, S32{ -1 }, "abc", "wxyz", U32{ 4000000000 },
         S64{ -1 } );
    Kel::SyslogHandle plain( cells( 0, 0.0 ) );
    log( plain, U32{ 7 }, std::string( "egress" ) );
    EXPECT_EQ( lines_, ( Lines{ "7 TEST_CONVERSIONS %[  200|-3  |00ff|18446744073709551615|-1|"
                                "   abc|wx|-294967296|ffffffffffffffff]",
                                "3 TEST_CELLS 7 cells of 100% egress" } ) );
}

TEST_F( SyslogTest, leadingArgumentsFormTheKey ) {
    for ( const U32 rateLimitArgs : { 0U, 1U, 2U } ) {
        Kel::SyslogHandle handle( cells( rateLimitArgs ) );
        const std::size_t first = sent( handle, 2 );
        EXPECT_EQ( first + sent( handle, 1, 5, "egress" ) + sent( handle, 1, 6 ),
                   rateLimitArgs + 1 );
    }
    const auto hash = []( std::vector<std::string> texts ) { return Kel::logArgsHash( texts ); };
    EXPECT_EQ( hash( { "5", "ingress" } ), hash( { "5", "ingress" } ) );
    EXPECT_NE( hash( { "5", "ingress" } ), hash( { "ingress", "5" } ) );
    EXPECT_NE( hash( { "ab", "c" } ), hash( { "a", "bc" } ) );
    EXPECT_NE( hash( {} ), hash( { "" } ) );
}

TEST_F( SyslogTest, freeMessagesComeBeforeTheInterval ) {
    Kel::SyslogHandle handle( cells( 2, 10.0, 3.0 ) );
    const std::pair<double, std::size_t> sentAt[] = {
        { 1.0, 3 }, { 10.5, 0 }, { 11.0, 1 }, { 20.5, 0 }, { 100.0, 1 } };
    for ( const auto & [time, count] : sentAt ) {
        now_ = time;
        EXPECT_EQ( sent( handle, 5 ), count ) << time;
    }
    Kel::SyslogHandle unlimited( cells( 0, 0.0 ) );
    EXPECT_EQ( sent( unlimited, 100 ), 100U );
}

TEST_F( SyslogTest, limitHoldsWithMoreKeysThanAreKept ) {
    Kel::SyslogHandle handle( cells( 1 ) );
    now_ = 7.0;
    for ( const std::size_t expected : { 1U, 0U } ) {
        for ( U32 number = 0; number < 3000; ++number ) {
            ASSERT_EQ( sent( handle, 1, number ), expected );
        }
    }
    now_ = 17.0;
    EXPECT_EQ( sent( handle, 2, 1 ), 1U );
}

TEST_F( SyslogTest, handlesAreListedByMnemonicWhileTheyLive ) {
    const auto before = Kel::syslogHandles();
    {
        Kel::SyslogDefinition definition = cells( 0 );
        std::optional<Kel::SyslogHandle> first( definition );
        definition.mnemonic = "TEST_ZZZ";
        definition.severity = 0;
        const Kel::SyslogHandle last( definition );
        const Kel::SyslogHandle second( cells( 1 ) );
        EXPECT_TRUE( first->idHash() == second.idHash() && first->idHash() != last.idHash() );
        first.reset();
        const auto handles = Kel::syslogHandles();
        EXPECT_EQ( handles.size(), before.size() + 2 );
        EXPECT_EQ( handles.back(), &last );
    }
    EXPECT_EQ( Kel::syslogHandles(), before );
}

TEST( SyslogDeathTest, withoutSinkMessagesGoToStandardErrorAndMisuseAborts ) {
    Kel::SyslogHandle handle( cells( 2 ) );
    EXPECT_EXIT( ( log( handle, 5U, "ingress" ), std::exit( 0 ) ), testing::ExitedWithCode( 0 ),
                 "^syslog 3 TEST_CELLS 5 cells of 100% ingress\n$" );
    const char * const line =
        "Failed\\(handle.format\\(\\).accepts\\( args \\)\\) TEST_CELLS\n.*Assertion";
    EXPECT_DEATH( log( handle, 5U ), line );
    EXPECT_DEATH( log( handle, 5U, "ingress", 5U ), line );
    EXPECT_DEATH( log( handle, "ingress", 5U ), line );
    EXPECT_DEATH( log( handle, U64{ 5 }, "ingress" ), line );
    EXPECT_DEATH( Kel::SyslogHandle( cells( 3 ) ), "Assertion" );
    Kel::SyslogDefinition severe = cells( 0 );
    for ( const int none : { -1, 8 } ) {
        severe.severity = none;
        EXPECT_DEATH( Kel::SyslogHandle{ severe }, "Assertion" );
    }
}

} // namespace
