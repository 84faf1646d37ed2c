#include "tests/Host/DocumentHelpers.h"
#include "tests/Host/JsonSchema.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>

using namespace KelHost;
using KelHostTest::refusal;
using Pointer = Json::json_pointer;

namespace {

// Every member that a document can have, with a value that differs from its default.
constexpr std::string_view maximal = R"({
    "device": { "id": 1, "maxPipeId": 2, "totalCells": 3 },
    "bufferParams": { "totalCellsAvailableForIngress": 1, "leakThreshold": 2, "leakPollInterval": 3 },
    "cosToTc": [ 0, 1, 2, 3, 4, 5, 6, 7 ],
    "ports": { "Ethernet1": { "portIndex": 5, "enabled": "enabled", "qos": {
        "flowControlType": "pfc", "shapeRate": { "unit": "pps", "rate": 1, "burst": 2 },
        "ppgs": { "3": { "internalCosBmp": 8, "pfcEnabled": true, "minLimitCells": 4,
                         "dynamicThreshold": 5 } },
        "txQueues": { "7": { "pfcCos": 3, "minLimitCells": 4, "dynamicThreshold": 5,
            "priority": "roundRobin", "weight": 6, "shapeRate": { "unit": "pps", "rate": 7, "burst": 8 },
            "guaranteedRate": { "unit": "pps", "rate": 9, "burst": 10 } } } } } },
    "wred": { "0": { "7": { "minThdCells": 1, "maxThdCells": 2, "maxDropProbability": 0.5,
                            "timeConstantNs": 4 } } },
    "counters": { "1": { "ppg": { "2": { "minUsage": 1, "sharedUsage": 2, "skidUsage": 3,
                                         "dropCounter": 4 } },
        "queue": { "43": 5 }, "block": { "3": { "name": "drops", "type": 2, "value": 6 } } } },
    "countersLastClear": { "1": { "queue": { "43": 5 } } } })";

class SwitchSchema : public testing::Test {
  protected:
    // Schema and decoder answer the same; that answer is returned.
    bool agreed( const Json & document ) const {
        const std::string why = refusal( document.dump() );
        EXPECT_EQ( schema_.accepts( document ), why.empty() ) << document << "\n" << why;
        return why.empty();
    }

    const KelHostTest::JsonSchema schema_{ "switch" };
};

// The pointers to every value inside `value`, itself included.
void collect( const Json & value, const Pointer & at, std::vector<Pointer> & all ) {
    all.push_back( at );
    if ( value.is_structured() ) {
        for ( const auto & item : value.items() ) {
            collect( item.value(),
                     value.is_array() ? at / std::stoul( item.key() ) : at / item.key(), all );
        }
    }
}

// The document with nothing but the top-level member around that place: the rest is the same in
// every variation and takes its time to validate.
Json around( const Json & document, Pointer at ) {
    if ( at.empty() ) {
        return document;
    }
    while ( !at.parent_pointer().empty() ) {
        at.pop_back();
    }
    return { { at.back(), document[at] } };
}

std::vector<Pointer> pointersOf( const Json & document ) {
    std::vector<Pointer> all;
    collect( document, Pointer(), all );
    return all;
}

} // namespace

TEST_F( SwitchSchema, describesTheMembersThatTheDecoderKnowsAndNoOthers ) {
    const Json whole = Json::parse( maximal );
    ASSERT_TRUE( agreed( whole ) );
    std::set<std::string> decoderKnows;
    std::set<std::string> present;
    for ( const Pointer & at : pointersOf( whole ) ) {
        if ( !at.empty() ) {
            present.insert( at.back() );
        }
        if ( whole[at].is_object() ) {
            // The refusal of a member that nobody knows lists those that the decoder does.
            Json strange = whole;
            strange[at]["strange"] = 1;
            EXPECT_FALSE( agreed( strange ) ) << at;
            const std::string why = refusal( strange.dump() );
            const std::regex quoted( "\"([A-Za-z]+)\"" );
            for ( auto word = std::sregex_iterator( why.begin(), why.end(), quoted );
                  word != std::sregex_iterator(); ++word ) {
                decoderKnows.insert( ( *word )[1] );
            }
        }
    }
    std::set<std::string> schemaKnows;
    for ( const Pointer & at : pointersOf( schema_.text() ) ) {
        const bool isMember = !at.empty() && !at.parent_pointer().empty() &&
                              at.parent_pointer().back() == "properties";
        if ( isMember && at.to_string().find( "/eightQueues/" ) == std::string::npos ) {
            schemaKnows.insert( at.back() );
            EXPECT_FALSE( schema_.text()[at].value( "description", "" ).empty() ) << at;
            const bool isNumber = schema_.text()[at].value( "type", "" ) == "integer" ||
                                  schema_.text()[at].value( "type", "" ) == "number";
            const std::regex unit( "Unit: |No unit" );
            EXPECT_TRUE(
                !isNumber ||
                std::regex_search( schema_.text()[at]["description"].get<std::string>(), unit ) )
                << at;
        }
    }
    EXPECT_EQ( schemaKnows, decoderKnows );
    for ( const std::string & name : schemaKnows ) {
        EXPECT_TRUE( present.contains( name ) ) << name;
    }
}

// Every value of the document in turn is left out, replaced by values of every type and pushed to
// and over every limit that any member has.
TEST_F( SwitchSchema, agreesWithTheDecoderOnEveryChangeOfAMember ) {
    const Json whole = Json::parse( maximal );
    Json values =
        Json::parse( R"([ null, true, "", "x", "none", [], {}, -2, -1, 0, 0.0005, 0.001, 1,
        1.5, 3, 4, 7, 8, 9, 10, 11, 71, 72, 127, 128, 199, 200, 255, 256, 327, 384, 455, 456, 512, 65535,
        65536, 86400, 86401, 600000001, 4294967294, 4294967295, 4294967296, 1000000000000,
        1000000000001 ])" );
    for ( const char * word : { "unknown", "enabled", "linkPause", "pfc", "strict", "roundRobin",
                                "kbps", "pps", "a blank", "a\ttab", "\x7f", "\u00fc" } ) {
        values.push_back( word );
    }
    values.push_back( std::string( 64, 'x' ) );
    values.push_back( std::string( 65, 'x' ) );
    int accepted = 0;
    for ( const Pointer & at : pointersOf( whole ) ) {
        for ( const Json & value : values ) {
            Json changed = around( whole, at );
            changed[at] = value;
            accepted += agreed( changed ) ? 1 : 0;
        }
        if ( !at.empty() ) {
            Json without = around( whole, at );
            without[at.parent_pointer()].is_array()
                ? without[at.parent_pointer()].erase( std::stoul( at.back() ) )
                : static_cast<void>( without[at.parent_pointer()].erase( at.back() ) );
            agreed( without );
        }
    }
    EXPECT_GT( accepted, 500 ); // not all of this was refused
}

TEST_F( SwitchSchema, agreesWithTheDecoderOnTheNamesOfNumberedMembers ) {
    const Json whole = Json::parse( maximal );
    const std::pair<std::string, std::uint64_t> highest[] = {
        { "/ports/Ethernet1/qos/ppgs/3", 8 },
        { "/ports/Ethernet1/qos/txQueues/7", 7 },
        { "/wred/0", 3 },
        { "/wred/0/7", 65535 },
        { "/counters/1", 3 },
        { "/counters/1/ppg/2", 255 },
        { "/counters/1/queue/43", 65535 },
        { "/counters/1/block/3", 4294967295 } };
    for ( const auto & [place, high] : highest ) {
        const Pointer at( place );
        const auto named = [&]( const std::string & name ) {
            Json renamed = around( whole, at );
            renamed[at.parent_pointer()].erase( at.back() );
            renamed[at.parent_pointer()][name] = whole[at];
            return agreed( renamed );
        };
        EXPECT_TRUE( named( "0" ) );
        EXPECT_TRUE( named( std::to_string( high ) ) ) << place;
        EXPECT_FALSE( named( std::to_string( high + 1 ) ) ) << place;
        for ( const char * wrong : { "", "00", "01", "-1", "+1", " 1", "1x", "1.0", "x" } ) {
            EXPECT_FALSE( named( wrong ) ) << place << wrong;
        }
        for ( std::uint64_t power = 1; power <= 10'000'000'000; power *= 10 ) {
            EXPECT_EQ( named( std::to_string( power ) ), power <= high );
            EXPECT_EQ( named( std::to_string( 9 * power ) ), 9 * power <= high );
            EXPECT_FALSE( named( std::to_string( high + power ) ) );
            EXPECT_EQ( named( std::to_string( high + 1 - power ) ), power <= high + 1 );
        }
    }
}

TEST_F( SwitchSchema, agreesWithTheDecoderOnInterfaceNames ) {
    const auto named = [this]( const std::string & name, const std::string & queue = "7" ) {
        return agreed(
            { { "ports",
                { { name,
                    { { "portIndex", 5 },
                      { "qos", { { "txQueues", { { queue, Json::object() } } } } } } } } } } );
    };
    const std::string longest( 64, 'x' );
    const std::string tooLong( 65, 'x' );
    for ( const char * name : { "Ethernet1", "Internal67", "Internal68", "Internal", "Internal5a",
                                "internal5", "~!/", "1", longest.c_str() } ) {
        EXPECT_TRUE( named( name ) ) << name;
        EXPECT_EQ( named( name, "13" ), std::string( name ) == "Internal67" ) << name;
    }
    for ( const char * name : { "", " ", "a b", "Internal0", "Internal067", "Internal670", "\x7f",
                                "\u00fc", tooLong.c_str() } ) {
        EXPECT_FALSE( named( name ) ) << name;
    }
    EXPECT_FALSE( named( "Internal67", "14" ) );
}

TEST_F( SwitchSchema, agreesWithTheDecoderOnTheNumberOfBlockCounters ) {
    Json whole = around( Json::parse( maximal ), Pointer( "/counters" ) );
    Json & block = whole["counters"]["1"]["block"];
    const Json counter = block["3"];
    for ( int id = 0; id < 4096; ++id ) {
        block[std::to_string( id )] = counter;
    }
    EXPECT_TRUE( agreed( whole ) );
    block["4096"] = counter;
    EXPECT_FALSE( agreed( whole ) );
}
