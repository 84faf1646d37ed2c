#include "Platform/Driver/CheckedCall.h"

#include "Platform/Driver/DriverStatus.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

// A driver that answers its calls with the given statuses, and says so on standard error.
class ScriptedDriver {
  public:
    ScriptedDriver( std::initializer_list<S32> statuses ) : statuses_( statuses ) {}

    S32 portSet( U32 devId, U32 portId ) {
        std::fprintf( stderr, "issued %u %u\n", devId, portId );
        return statuses_.at( calls_++ );
    }
    std::size_t calls() const { return calls_; }

  private:
    std::vector<S32> statuses_;
    std::size_t calls_ = 0;
};

constexpr U32 devId = 3;

void program( ScriptedDriver & driver, U32 portId ) {
    KEL_TM_CHECKED( driver.portSet( devId, portId + 1 ) );
}
constexpr int programLine = __LINE__ - 2;

// What a failing program( driver, 7 ) writes: three calls, the report, the failed assertion. As a
// regular expression.
std::string failure( const std::string & textAndNumber ) {
    const std::string issued = "issued 3 8\n";
    const std::string position =
        "tests/Platform/Driver/CheckedCallTest.cpp:" + std::to_string( programLine );
    return "^" + issued + issued + issued + position +
           R"( driver.portSet\( devId, portId \+ 1 \) API ERROR:)" + textAndNumber + "\n" +
           position + ": void .*program\\(.*\\): Assertion \"0\" failed.\n$";
}

TEST( CheckedCallDeathTest, AFailingCallIsIssuedThriceReportedAndFatal ) {
    const auto fails = []( std::initializer_list<S32> statuses ) {
        ScriptedDriver driver( statuses );
        program( driver, 7 );
    };
    EXPECT_DEATH( fails( { 9, 9, 9 } ), failure( "Not enough space \\(9\\)" ) );
    // The number is the second result, the text that of the third.
    EXPECT_DEATH( fails( { 5, 17, 6 } ), failure( "Object not found \\(17\\)" ) );
    EXPECT_DEATH( fails( { 26, 26, 26 } ), failure( "Unknown error \\(26\\)" ) );
    EXPECT_DEATH( fails( { -2, -2147483647, -2 } ), failure( "Unknown error \\(-2147483647\\)" ) );
    // A call that is repeated with success stays fatal: the chip was asked more than once.
    EXPECT_DEATH( fails( { 10, 0, 0 } ), failure( "Success \\(0\\)" ) );
}

TEST( CheckedCallDeathTest, ACallOverSeveralLinesIsQuotedInOneLine ) {
    ScriptedDriver driver{ 1, 1, 1 };
    // clang-format off
    EXPECT_DEATH( KEL_TM_CHECKED( driver.portSet(
                      devId,
                      4 ) ),
                  "CheckedCallTest.cpp:[0-9]+ driver.portSet\\( devId, 4 \\) API ERROR:Not ready \\(1\\)\n" );
    // clang-format on
}

TEST( CheckedCall, ASuccessfulCallIsIssuedOnce ) {
    ScriptedDriver driver{ 0, 0 };
    program( driver, 7 );
    EXPECT_EQ( driver.calls(), 1U );
}

TEST( DriverStatus, TextsEndWith25 ) {
    EXPECT_STREQ( KelDriver::statusText( 10 ),
                  "Resource temporarily not available, try again later" );
    EXPECT_STREQ( KelDriver::statusText( 16 ),
                  "Action data entry is being referenced by match entries" );
    EXPECT_STREQ( KelDriver::statusText( 25 ), "Object not implemented" );
    EXPECT_STREQ( KelDriver::statusText( 26 ), "Unknown error" );
    EXPECT_STREQ( KelDriver::statusText( -1 ), "Unknown error" );
}

} // namespace
