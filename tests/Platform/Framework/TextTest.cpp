#include "Platform/Framework/Text.h"
#include "Platform/Framework/Exceptions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace {

using Kel::expectText;
using Kel::strepToValue;
using Kel::valueToStrep;

// The value behind its text form, which must be all that is taken of a longer text.
template <class T>
T readBack( const T & value ) {
    const std::string text = valueToStrep( value ) + ", 'next'";
    const char * cursor = text.data();
    const char * end = text.data() + text.size();
    T read{};
    strepToValue( cursor, end, read );
    EXPECT_EQ( std::string( cursor, end ), ", 'next'" );
    return read;
}

template <class T>
std::string parseErrorOf( const std::string & text, T value = {} ) {
    const T before = value;
    const char * cursor = text.data();
    try {
        strepToValue( cursor, text.data() + text.size(), value );
        return "no error";
    } catch ( const Kel::ParseException & error ) {
        EXPECT_EQ( cursor, text.data() );
        EXPECT_EQ( value, before );
        return error.what();
    }
}

TEST( TextTest, ValuesHaveATextFormThatReadsBackTheSame ) {
    EXPECT_EQ( valueToStrep( U8{ 255 } ), "255" ); // a number, not a character
    EXPECT_EQ( valueToStrep( S8{ -1 } ), "-1" );
    EXPECT_EQ( valueToStrep( F32{ 2.5 } ), "2.5" );
    EXPECT_EQ( valueToStrep( F32{ 0.1F } ), "0.1" );
    EXPECT_EQ( valueToStrep( F64{ 3.0 } ), "3" );
    EXPECT_EQ( valueToStrep( true ), "True" );
    EXPECT_EQ( valueToStrep( "it's \\ a\ttab\n\x01" ), R"('it\'s \\ a\ttab\n\x01')" );

    EXPECT_EQ( readBack( std::numeric_limits<U64>::max() ), std::numeric_limits<U64>::max() );
    EXPECT_EQ( readBack( std::numeric_limits<S32>::min() ), std::numeric_limits<S32>::min() );
    EXPECT_EQ( readBack( 0.1F ), 0.1F );
    EXPECT_EQ( readBack( 1.0 / 3.0 ), 1.0 / 3.0 );
    EXPECT_EQ( readBack( false ), false );
    std::string everyByte;
    for ( int byte = 0; byte < 256; ++byte ) {
        everyByte += static_cast<char>( byte );
    }
    EXPECT_EQ( readBack( everyByte ), everyByte );
}

TEST( TextTest, OtherTextsAreRefusedWithWhatWasExpected ) {
    EXPECT_EQ( parseErrorOf<U8>( "256", 7 ), "expected a number from 0 to 255 at '256'" );
    EXPECT_EQ( parseErrorOf<U32>( "-1" ), "expected a number from 0 to 4294967295 at '-1'" );
    EXPECT_EQ( parseErrorOf<S8>( "128" ), "expected a number from -128 to 127 at '128'" );
    EXPECT_EQ( parseErrorOf<F32>( "" ), "expected a number at ''" );
    EXPECT_EQ( parseErrorOf<bool>( "true" ), "expected True or False at 'true'" );
    EXPECT_EQ( parseErrorOf<std::string>( "plain", "kept" ), R"(expected '\'' at 'plain')" );
    EXPECT_EQ( parseErrorOf<std::string>( "'open" ), R"(expected '\'' at '')" );
    EXPECT_EQ( parseErrorOf<std::string>( R"('\q')" ),
               R"(expected an escape sequence at '\\q\'')" );
    EXPECT_EQ( parseErrorOf<std::string>( R"('\x4')" ),
               R"(expected an escape sequence at '\\x4\'')" );
    EXPECT_EQ( parseErrorOf<U16>( std::string( 99, 'x' ) ),
               "expected a number from 0 to 65535 at '" + std::string( 32, 'x' ) + "'" );

    const char * cursor = "Value(";
    expectText( cursor, cursor + 6, "Value" );
    EXPECT_STREQ( cursor, "(" );
    EXPECT_THROW( expectText( cursor, cursor + 1, "()" ), Kel::ParseException );
    EXPECT_STREQ( cursor, "(" );
}

TEST( TextTest, IdSetsAreAscendingRanges ) {
    EXPECT_EQ( Kel::idSetToStrep( 0 ), "" );
    EXPECT_EQ( Kel::idSetToStrep( 0x08 ), "3" );
    EXPECT_EQ( Kel::idSetToStrep( 0x07 ), "0-2" );
    EXPECT_EQ( Kel::idSetToStrep( 0x23 ), "0-1,5" );
    EXPECT_EQ( Kel::idSetToStrep( 0x8000'0001 ), "0,31" );
    EXPECT_EQ( Kel::idSetToStrep( 0xFFFF'FFFF ), "0-31" );
}

} // namespace
