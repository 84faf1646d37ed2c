#include "Platform/Logging/Trace.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace Shapes {

struct Square {
    int side;
};
std::string valueToStrep( const Square & square ) {
    return "Square(" + std::to_string( square.side ) + ")";
}

struct Named {
    std::string toText() const { return "named"; }
};

enum class Color : U8 { red = 7 };

} // namespace Shapes

namespace {

Kel::TraceHandle alpha( "TestAlpha" );
Kel::TraceHandle beta( "TestBeta" );
Kel::TraceHandle otherAlpha( "TestAlpha" );

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

    std::vector<std::string> texts_;
    std::vector<std::string> lines_;
};

TEST_F( TraceTest, nothingIsBuiltWhenTheLevelIsOff ) {
    int evaluated = 0;
    KEL_TRACE( alpha, 4 ) << ++evaluated;
    Kel::traceLevelsIs( "TestAlpha=3,5" );
    KEL_TRACE( alpha, 4 ) << ++evaluated;
    KEL_TRACE( beta, 5 ) << ++evaluated;
    EXPECT_FALSE( Kel::createIfEnabled( alpha, 4 ) );
    EXPECT_EQ( evaluated, 0 );
    EXPECT_TRUE( texts_.empty() );

    KEL_TRACE( alpha, 5 ) << "evaluated: " << ++evaluated;
    EXPECT_EQ( texts_, std::vector<std::string>{ "evaluated: 1" } );
}

TEST_F( TraceTest, everyLineCarriesPositionAndShortFunctionName ) {
    Kel::traceLevelsIs( "TestAlpha=9" );
    const auto prefix = []( int line ) {
        return "tests/Platform/Logging/TraceTest.cpp:" + std::to_string( line ) +
               " TestBody TestAlpha/9 ";
    };
    KEL_TRACE( alpha, 9 ) << "handlePortInfo"
                          << ": "
                          << "first\nsecond\n";
    const int macroLine = __LINE__ - 3;
    if ( auto line = Kel::createIfEnabled( alpha, 9 ) ) {
        *line << "helper";
    }
    const int helperLine = __LINE__ - 3;
    EXPECT_EQ( lines_, ( std::vector<std::string>{ prefix( macroLine ) + "handlePortInfo: first",
                                                   prefix( macroLine ) + "second",
                                                   prefix( helperLine ) + "helper" } ) );
}

TEST_F( TraceTest, isOneStatementUnderAnIf ) {
    Kel::traceLevelsIs( "*=*" );
    for ( const bool condition : { true, false } ) {
        if ( condition )
            KEL_TRACE( alpha, 0 ) << "then";
        else
            KEL_TRACE( beta, 0 ) << "else";
    }
    EXPECT_EQ( texts_, ( std::vector<std::string>{ "then", "else" } ) );
}

TEST_F( TraceTest, valuesAsText ) {
    Kel::traceLevelsIs( "TestAlpha=1" );
    const char * const nothing = nullptr;
    KEL_TRACE( alpha, 1 ) << U8{ 65 } << ' ' << S8{ -65 } << ' ' << std::numeric_limits<U64>::max()
                          << ' ' << std::numeric_limits<S64>::min() << ' ' << true << false;
    KEL_TRACE( alpha, 1 ) << 0.1 << ' ' << 0.1f << ' ' << 3.0 << ' '
                          << std::numeric_limits<double>::infinity();
    KEL_TRACE( alpha, 1 ) << std::string( "a" ) << std::string_view( "b" ) << nothing;
    KEL_TRACE( alpha, 1 ) << Shapes::Square{ 3 } << Shapes::Named{} << Shapes::Color::red;
    EXPECT_EQ( texts_,
               ( std::vector<std::string>{ "65 -65 18446744073709551615 -9223372036854775808 10",
                                           "0.1 0.1 3 inf", "ab(null)", "Square(3)named7" } ) );
}

TEST_F( TraceTest, levelsAreSetByName ) {
    Kel::traceLevelsIs( "TestAlpha=0-4,7" );
    EXPECT_EQ( alpha.levels(), 0b0010011111 );
    EXPECT_EQ( otherAlpha.levels(), alpha.levels() );
    EXPECT_EQ( beta.levels(), 0 );

    Kel::traceLevelsIs( "*=9" );
    EXPECT_EQ( alpha.levels(), 0b1000000000 );
    EXPECT_EQ( beta.levels(), 0b1000000000 );

    Kel::traceLevelsIs( "TestBeta=*" );
    EXPECT_EQ( beta.levels(), 0b1111111111 );
    EXPECT_EQ( alpha.levels(), 0b1000000000 );
    EXPECT_EQ( Kel::traceHandle( "TestBeta" ), &beta );
    EXPECT_EQ( Kel::traceHandle( "TestGamma" ), nullptr );
}

TEST_F( TraceTest, badSettingsAreRefusedAndChangeNothing ) {
    Kel::traceLevelsIs( "*=3" );
    const auto refusal = []( std::string_view setting ) -> std::string {
        try {
            Kel::traceLevelsIs( setting );
        } catch ( const std::invalid_argument & error ) {
            return error.what();
        }
        return "accepted";
    };
    EXPECT_EQ(
        refusal( "TestAlpha" ),
        "trace setting \"TestAlpha\": expected HANDLE=LEVELS, with levels as in 0-4,7 or *" );
    const std::string unknown = refusal( "TestGamma=1" );
    EXPECT_TRUE( unknown.starts_with(
        "trace setting \"TestGamma=1\": unknown handle \"TestGamma\"; known are " ) )
        << unknown;
    // The process may hold handles of the libraries too.
    EXPECT_NE( unknown.find( "TestAlpha, TestBeta" ), std::string::npos ) << unknown;
    EXPECT_EQ( refusal( "TestAlpha=0,12" ),
               "trace setting \"TestAlpha=0,12\": bad level \"12\"; allowed are levels 0 to 9 and "
               "ranges as in 0-4,7, or *" );
    for ( const char * bad : { "", "0,", ",0", "-1", "4-2", "0-", "0-10", "a", "1-2-3", " 1" } ) {
        EXPECT_NE( refusal( std::string( "*=" ).append( bad ) ), "accepted" ) << bad;
    }
    EXPECT_EQ( alpha.levels(), 0b1000 );
    EXPECT_EQ( beta.levels(), 0b1000 );
}

} // namespace
