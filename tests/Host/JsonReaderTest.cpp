#include "tests/Host/DocumentHelpers.h"

#include <gtest/gtest.h>

using namespace KelHost;
using KelHostTest::refusal;

namespace {

JsonValue json( std::string_view text ) { return readJson( text, "x.json" ); }

} // namespace

TEST( JsonReader, syntaxErrorsNameFileLineAndColumn ) {
    const auto expect = []( std::string_view text, std::string_view where, std::string_view what ) {
        EXPECT_EQ( refusal( text ), "leaf.json:" + std::string( where ) +
                                        ": JSON syntax error: " + std::string( what ) );
    };
    expect( "", "1:1", "unexpected end of input; expected '[', '{', or a literal" );
    expect( "{\"device\": {},}", "1:15", "unexpected '}'; expected string literal" );
    expect( "{\n  \"cosToTc\": [ 0,\n    \"a\" \"bc\"", "3:9",
            "unexpected string literal; expected ']'" );
    expect( "{\n \"ports\": truu }", "2:14", "invalid literal" );
    expect( "{}\n\n  null", "3:3", "unexpected null literal; expected end of input" );
    expect( "{\n", "2:1", "unexpected end of input; expected string literal" );
    expect( std::string_view( "{}\n\0", 4 ), "2:1", "unexpected null byte" );
    expect( "{ \"\xff\" }", "1:4", "invalid string: ill-formed UTF-8 byte" );
}

TEST( JsonReader, integersAreExactAndToldFromOtherNumbers ) {
    const JsonValue value = json(
        "[ 18446744073709551615, -9223372036854775808, -0, 1.0, 1e3, 18446744073709551616 ]" );
    const JsonArray & array = *value.as<JsonArray>();
    ASSERT_EQ( array.size(), 6u );
    EXPECT_EQ( array[0], JsonValue( ~U64{ 0 } ) );
    EXPECT_EQ( array[1], JsonValue( std::numeric_limits<S64>::min() ) );
    EXPECT_EQ( array[2], JsonValue( U64{ 0 } ) );
    EXPECT_EQ( array[3], JsonValue( 1.0 ) );
    EXPECT_EQ( array[4], JsonValue( 1000.0 ) );
    EXPECT_EQ( array[5].as<U64>(), nullptr );
}

TEST( JsonReader, aNumberBeyondEveryRangeIsRefusedWhereItStands ) {
    const std::string_view tooLarge =
        ": must be a number of magnitude 1.7976931348623157e308 at most";
    EXPECT_EQ( refusal( R"({ "bufferParams": { "leakPollInterval": 1e999 } })" ),
               "leaf.json: /bufferParams/leakPollInterval" + std::string( tooLarge ) );
    EXPECT_EQ( refusal( "[ 1, -1e999 ]" ), "leaf.json: /1" + std::string( tooLarge ) );
    EXPECT_EQ( refusal( "1e999" ), "leaf.json" + std::string( tooLarge ) );
}

TEST( JsonReader, objectsKeepTheirOrderAndFindEveryMember ) {
    std::string text = "{";
    for ( int i = 99; i >= 0; --i ) {
        text += '"' + std::to_string( i ) + "\": " + std::to_string( i ) + ( i > 0 ? "," : "}" );
    }
    JsonValue value = json( text );
    JsonObject & object = *value.as<JsonObject>();
    EXPECT_EQ( object.begin()->name, "99" );
    object.remove( "50" );
    EXPECT_EQ( object.size(), 99u );
    EXPECT_EQ( object.find( "50" ), nullptr );
    EXPECT_EQ( object.find( "100" ), nullptr );
    EXPECT_EQ( *object.find( "7" ), JsonValue( U64{ 7 } ) );
    EXPECT_EQ( object.add( "7" ), nullptr );
    *object.add( "50" ) = JsonValue( U64{ 50 } );
    EXPECT_EQ( std::prev( object.end() )->name, "50" );
    EXPECT_EQ( value, json( text ) ); // order does not make a difference
}

TEST( JsonReader, aSecondMemberOfOneNameIsRefusedWhereverItIs ) {
    const std::string_view twice = ": is given twice; each member of an object may be given once";
    EXPECT_EQ( refusal( R"({ "device": { "id": 1, "\u0069d": 2 } })" ),
               "leaf.json: /device/id" + std::string( twice ) );
    EXPECT_EQ( refusal( R"({ "ports": { "a/~": {}, "b": [ [], { "x\n": 1, "x\n": 1 } ] } })" ),
               "leaf.json: /ports/b/1/x\\u000a" + std::string( twice ) );
    EXPECT_EQ( refusal( R"({ "ports": { "a/~": {}, "a/~": {} } })" ),
               "leaf.json: /ports/a~1~0" + std::string( twice ) );
}

TEST( JsonReader, deepNestingIsRefusedWithoutDescendingIntoIt ) {
    const std::string fits( jsonDepthLimit, '[' );
    EXPECT_EQ( KelHostTest::refusalOf( [&] { json( fits + std::string( fits.size(), ']' ) ); } ),
               "" );
    const std::string message =
        KelHostTest::refusalOf( [] { json( std::string( 1'000'000, '[' ) ); } );
    EXPECT_TRUE( message.starts_with( "x.json: /0/0" ) );
    EXPECT_TRUE( message.ends_with( "/0: is nested too deeply; at most 64 objects and arrays may "
                                    "lie inside each other" ) );
}

TEST( JsonReader, filesThatCannotBeReadAreNamed ) {
    EXPECT_EQ( KelHostTest::refusalOf( [] { readJsonFile( "no/such.json" ); } ),
               "no/such.json: cannot be read: No such file or directory" );
    EXPECT_EQ( KelHostTest::refusalOf( [] { readJsonFile( "/" ); } ),
               "/: cannot be read: Is a directory" );
}

TEST( MergePatch, followsTheStandardsExamples ) {
    const std::string_view examples[][3] = {
        { R"({"a":"b"})", R"({"a":"c"})", R"({"a":"c"})" },
        { R"({"a":"b"})", R"({"b":"c"})", R"({"a":"b","b":"c"})" },
        { R"({"a":"b"})", R"({"a":null})", R"({})" },
        { R"({"a":"b","b":"c"})", R"({"a":null})", R"({"b":"c"})" },
        { R"({"a":["b"]})", R"({"a":"c"})", R"({"a":"c"})" },
        { R"({"a":{"b":"c"}})", R"({"a":{"b":"d","c":null}})", R"({"a":{"b":"d"}})" },
        { R"({"a":[{"b":"c"}]})", R"({"a":[1]})", R"({"a":[1]})" },
        { R"({"a":"foo"})", "null", "null" },
        { R"({"e":null})", R"({"a":1})", R"({"e":null,"a":1})" },
        { "[1,2]", R"({"a":"b","c":null})", R"({"a":"b"})" },
        { "{}", R"({"a":{"bb":{"ccc":null}}})", R"({"a":{"bb":{}}})" },
    };
    for ( const auto & [target, patch, result] : examples ) {
        EXPECT_EQ( mergePatch( json( target ), json( patch ) ), json( result ) ) << patch;
    }
}
