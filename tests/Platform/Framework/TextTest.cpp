#include "Platform/Framework/Text.h"
#include "Platform/Framework/Exceptions.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using Kel::expectText;
using Kel::strepToValue;
using Kel::valueToStrep;

// The text form, which must be all that is taken of a longer text when the value is read back.
template <class T>
std::string textOf( const T & value ) {
    const std::string text = valueToStrep( value ) + ", 'next'";
    const char * cursor = text.data();
    const char * end = text.data() + text.size();
    T read{};
    strepToValue( cursor, end, read );
    EXPECT_EQ( read, value );
    EXPECT_EQ( std::string( cursor, end ), ", 'next'" );
    return std::string( text.data(), cursor );
}
template <class T>
std::string limitsOf() {
    return textOf( std::numeric_limits<T>::lowest() ) + " to " +
           textOf( std::numeric_limits<T>::max() );
}

// What is said of a text that is no text form. `beyond` lies behind it and is not to be looked at.
template <class T>
std::string errorOf( const std::string & what, const std::string & beyond = "" ) {
    const std::string text = what + beyond;
    T value{};
    if constexpr ( std::is_arithmetic_v<T> ) {
        value = T{ 1 };
    }
    const T before = value;
    const char * cursor = text.data();
    try {
        strepToValue( cursor, text.data() + what.size(), value );
        return "no error";
    } catch ( const Kel::ParseException & error ) {
        EXPECT_EQ( cursor, text.data() );
        EXPECT_EQ( value, before );
        return error.what();
    }
}
// The same for the integers on both sides of a type's range.
template <class T>
void expectRange( const std::string & below, const std::string & above ) {
    const std::string expected = "expected a number from " + limitsOf<T>() + " at ";
    EXPECT_EQ( errorOf<T>( below ), expected + "'" + below + "'" );
    EXPECT_EQ( errorOf<T>( above ), expected + "'" + above + "'" );
}

TEST( TextTest, ValuesHaveATextFormThatReadsBackTheSame ) {
    EXPECT_EQ( limitsOf<U8>(), "0 to 255" ); // a number, not a character
    EXPECT_EQ( limitsOf<S32>(), "-2147483648 to 2147483647" );
    EXPECT_EQ( textOf( 2.5F ) + " " + textOf( 0.1F ) + " " + textOf( 3.0 ), "2.5 0.1 3" );
    EXPECT_EQ( textOf( 1.0 / 3.0 ), "0.3333333333333333" );
    EXPECT_EQ( limitsOf<F64>(), "-1.7976931348623157e+308 to 1.7976931348623157e+308" );
    EXPECT_EQ( textOf( true ) + textOf( false ), "TrueFalse" );
    EXPECT_EQ( textOf<std::string>( "it's \\ a\ttab\n\x01" ), R"('it\'s \\ a\ttab\n\x01')" );
    std::string everyByte;
    for ( int byte = 0; byte < 256; ++byte ) {
        everyByte += static_cast<char>( byte );
    }
    EXPECT_TRUE(
        textOf( everyByte ).starts_with( R"('\x00\x01\x02\x03\x04\x05\x06\x07\x08\t\n\x0b)" ) );
    EXPECT_EQ( textOf<std::string>( "\x1f ~\x7f\x80" ), "'\\x1f ~\\x7f\x80'" );
}

TEST( TextTest, OtherTextsAreRefusedWithWhatWasExpected ) {
    expectRange<U8>( "-1", "256" );
    expectRange<U16>( "-1", "65536" );
    expectRange<U32>( "-1", "4294967296" );
    expectRange<U64>( "-1", "18446744073709551616" );
    expectRange<S8>( "-129", "128" );
    expectRange<S32>( "-2147483649", "2147483648" );
    EXPECT_EQ( errorOf<F32>( "" ), "expected a number at ''" );
    EXPECT_EQ( errorOf<F64>( "1e999" ), "expected a number at '1e999'" );
    EXPECT_EQ( errorOf<bool>( "true" ), "expected True or False at 'true'" );
    EXPECT_EQ( errorOf<std::string>( "plain" ), R"(expected '\'' at 'plain')" );
    EXPECT_EQ( errorOf<std::string>( "'open" ), R"(expected '\'' at '')" );
    EXPECT_EQ( errorOf<std::string>( R"('\x41)", "'" ), R"(expected '\'' at '')" );
    using Escape = std::pair<std::string, std::string>; // and what lies beyond the text
    for ( const auto & [escape, beyond] :
          { Escape( R"(\q')", "" ), Escape( R"(\xg0')", "" ), Escape( R"(\x4')", "" ),
            Escape( R"(\x4)", "1'" ), Escape( R"(\)", "n'" ) } ) {
        EXPECT_EQ( errorOf<std::string>( "'" + escape, beyond ),
                   "expected an escape sequence at " + valueToStrep( escape ) );
    }
    EXPECT_EQ( errorOf<U16>( std::string( 99, 'x' ) ),
               "expected a number from 0 to 65535 at '" + std::string( 32, 'x' ) + "'" );

    const char * cursor = "Value(";
    expectText( cursor, cursor + 6, "Value" );
    EXPECT_STREQ( cursor, "(" );
    EXPECT_THROW( expectText( cursor, cursor + 1, "()" ), Kel::ParseException );
    EXPECT_STREQ( cursor, "(" );
}

TEST( TextTest, IdSetsAreAscendingRanges ) {
    const std::pair<U32, const char *> sets[] = {
        { 0, "" },         { 0x08, "3" },           { 0x07, "0-2" },
        { 0x23, "0-1,5" }, { 0x8000'0001, "0,31" }, { 0xFFFF'FFFF, "0-31" } };
    for ( const auto & [bitmap, text] : sets ) {
        EXPECT_EQ( Kel::idSetToStrep( bitmap ), text );
    }
}

} // namespace
