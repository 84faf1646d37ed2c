#include "Platform/Logging/Trace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <stdexcept>

namespace Shapes {

struct Square {};
std::string valueToStrep( const Square & ) { return "square"; }

struct Named {
    std::string toText() const { return "named"; }
};

enum class Color : U8 { red = 7 };

} // namespace Shapes

namespace {

Kel::TraceHandle alpha( "TestAlpha" );
Kel::TraceHandle beta( "TestBeta" );
Kel::TraceHandle otherAlpha( "TestAlpha" );

using Lines = std::vector<std::string>;

class TraceTest : public testing::Test {
  protected:
    TraceTest() {
        Kel::traceSinkIs( [this]( const Kel::TraceRecord & record ) {
            texts_.emplace_back( record.text );
            lines_.push_back( Kel::traceText( record ) );
        } );
    }
    ~TraceTest() override {
        Kel::traceSinkIs( nullptr );
        Kel::traceLevelsDelAll();
    }

    Lines texts_;
    Lines lines_;
};

TEST_F( TraceTest, isOneStatementThatCostsNothingWhenItsLevelIsOff ) {
    int evaluated = 0;
    KEL_TRACE( alpha, 4 ) << ++evaluated;
    Kel::traceLevelsIs( "TestAlpha=3,5" );
    KEL_TRACE( alpha, 4 ) << ++evaluated;
    KEL_TRACE( beta, 5 ) << ++evaluated;
    EXPECT_FALSE( Kel::createIfEnabled( alpha, 4 ) );
    for ( const bool on : { true, false } ) {
        if ( on )
            KEL_TRACE( alpha, 5 ) << "evaluated: " << ++evaluated;
        else
            KEL_TRACE( alpha, 3 ) << "else";
    }
    EXPECT_EQ( texts_, ( Lines{ "evaluated: 1", "else" } ) );
    Kel::traceSinkIs( nullptr );
    EXPECT_EXIT(
        {
            KEL_TRACE( alpha, 5 ) << "without a sink";
            std::exit( 0 );
        },
        testing::ExitedWithCode( 0 ), "TestAlpha/5 without a sink\n$" );
}

TEST_F( TraceTest, everyLineCarriesPositionAndShortFunctionName ) {
    Kel::traceLevelsIs( "TestAlpha=9" );
    const auto prefix = []( int line ) {
        return "tests/Platform/Logging/TraceTest.cpp:" + std::to_string( line ) +
               " TestBody TestAlpha/9 ";
    };
    KEL_TRACE( alpha, 9 ) << "handlePortInfo: first\nsecond\n";
    const int macroLine = __LINE__ - 1;
    *Kel::createIfEnabled( alpha, 9 ) << "helper";
    const int helperLine = __LINE__ - 1;
    KEL_TRACE( alpha, 9 ) << "";
    EXPECT_EQ( lines_, ( Lines{ prefix( macroLine ) + "handlePortInfo: first",
                                prefix( macroLine ) + "second", prefix( helperLine ) + "helper",
                                prefix( __LINE__ - 3 ) } ) );
}

TEST_F( TraceTest, valuesAsText ) {
    Kel::traceLevelsIs( "TestAlpha=1" );
    const char * const nothing = nullptr;
    KEL_TRACE( alpha, 1 ) << U8{ 65 } << ' ' << S8{ -65 } << ' ' << std::numeric_limits<U64>::max()
                          << ' ' << std::numeric_limits<S64>::min() << ' ' << true << false;
    KEL_TRACE( alpha, 1 ) << 0.1 << ' ' << 0.1f << ' ' << 3.0 << ' '
                          << std::numeric_limits<double>::infinity();
    KEL_TRACE( alpha, 1 ) << std::string( "a" ) << std::string_view( "b" ) << nothing;
    KEL_TRACE( alpha, 1 ) << Shapes::Square{} << Shapes::Named{} << Shapes::Color::red;
    EXPECT_EQ( texts_, ( Lines{ "65 -65 18446744073709551615 -9223372036854775808 10",
                                "0.1 0.1 3 inf", "ab(null)", "squarenamed7" } ) );
}

TEST_F( TraceTest, levelsAreSetByName ) {
    Kel::traceLevelsIs( "TestAlpha=0-4,7" );
    EXPECT_TRUE( alpha.levels() == 0b0010011111 && beta.levels() == 0 );
    EXPECT_EQ( otherAlpha.levels(), alpha.levels() );
    Kel::traceLevelsIs( "*=9" );
    EXPECT_TRUE( alpha.levels() == 0b1000000000 && beta.levels() == 0b1000000000 );
    Kel::traceLevelsIs( "TestBeta=*" );
    EXPECT_TRUE( alpha.levels() == 0b1000000000 && beta.levels() == 0b1111111111 );
    EXPECT_EQ( Kel::traceHandle( "TestBeta" ), &beta );
    EXPECT_EQ( Kel::traceHandle( "TestGamma" ), nullptr );
    Kel::traceLevelsDelAll();
    EXPECT_TRUE( alpha.levels() == 0 && beta.levels() == 0 );
    std::optional<Kel::TraceHandle> gamma( "TestGamma" );
    const Kel::TraceHandle delta( "TestDelta" );
    EXPECT_EQ( Kel::traceHandle( "TestGamma" ), &*gamma );
    gamma.reset();
    EXPECT_EQ( Kel::traceHandle( "TestGamma" ), nullptr );
    const auto names = Kel::traceHandleNames(); // of the libraries too
    EXPECT_EQ( std::ranges::count( names, "TestAlpha" ), 1 );
    EXPECT_TRUE( std::ranges::is_sorted( names ) );
}

TEST_F( TraceTest, badSettingsAreRefusedAndChangeNothing ) {
    Kel::traceLevelsIs( "*=3" );
    for ( const char * bad : { "TestAlpha", "TestGamma=1", "=1", "*=", "*=0,", "*=,0", "*=-1",
                               "*=4-2", "*=0-", "*=0-10", "*=12", "*=a", "*=1-2-3", "*= 1", "*=1:2",
                               "*=/", "*=:", "*=/-3", "*=3-:" } ) {
        EXPECT_THROW( Kel::traceLevelsIs( bad ), std::invalid_argument ) << bad;
    }
    EXPECT_TRUE( alpha.levels() == 0b1000 && beta.levels() == 0b1000 );
}

} // namespace
