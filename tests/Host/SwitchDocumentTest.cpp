#include "tests/Host/DocumentHelpers.h"

#include <gtest/gtest.h>

using namespace KelHost;
using KelHostTest::decoded;
using KelHostTest::refusal;

namespace {

// Why a document with this port "Ethernet1" (port index 5) is refused, behind "FILE: ".
std::string qosRefusal( std::string_view qos, std::string_view port = "Ethernet1" ) {
    return refusal( "{ \"ports\": { \"" + std::string( port ) +
                    "\": { \"portIndex\": 5, \"qos\": " + std::string( qos ) + " } } }" );
}

} // namespace

TEST( SwitchDocument, whatIsNotWrittenHasItsDefault ) {
    const SwitchDocument document = decoded( R"({
        "bufferParams": {}, "ports": { "Ethernet1": { "portIndex": 455,
            "qos": { "ppgs": { "8": {} }, "txQueues": { "7": {} } } } },
        "counters": { "2": { "ppg": { "255": {} }, "block": {} }, "3": {} } })" );
    EXPECT_EQ( document.device, ( DeviceSettings{ 0, 3, 278528 } ) );
    EXPECT_EQ( document.bufferParams, ( BufferParams{ 0, 4294967295, 1.0 } ) );
    EXPECT_EQ( document.cosToTc, ( std::array<U8, 8>{ 8, 8, 8, 8, 8, 8, 8, 8 } ) );
    const PortSettings & port = document.ports.at( "Ethernet1" );
    EXPECT_EQ( port.portIndex, 455 );
    EXPECT_EQ( port.enabled, std::nullopt );
    EXPECT_EQ( port.qos->flowControlType, FlowControl::none );
    EXPECT_EQ( port.qos->shapeRate, ( Rate{ false, 600000001, 0 } ) );
    EXPECT_EQ( port.qos->ppgs.at( 8 ), ( PpgSettings{ 0, false, 0, 10 } ) );
    EXPECT_EQ( port.qos->txQueues.at( 7 ),
               ( TxQueueSettings{ -1, 0, 10, QueuePriority::strict, 1, Rate{ false, 600000001, 0 },
                                  Rate{ false, 0, 0 } } ) );
    EXPECT_EQ( document.counters.at( 2 ).ppg.at( 255 ), PpgCounters{} );
    EXPECT_TRUE( document.counters.at( 2 ).block.has_value() );
    EXPECT_FALSE( document.counters.at( 3 ).block.has_value() );
    EXPECT_EQ( decoded( "{}" ).bufferParams, std::nullopt );
}

TEST( SwitchDocument, whatIsWrittenArrivesInItsPlace ) {
    const SwitchDocument document = decoded( R"({
        "device": { "id": 7, "maxPipeId": 1, "totalCells": 9 },
        "bufferParams": { "totalCellsAvailableForIngress": 1, "leakThreshold": 2, "leakPollInterval": 3 },
        "cosToTc": [ 7, 6, 5, 4, 3, 2, 1, 8 ],
        "ports": { "Internal67": { "portIndex": 64, "qos": { "txQueues": { "13": {} } } },
            "Ethernet1": { "portIndex": 5, "enabled": "disabled", "qos": {
                "flowControlType": "pfc", "shapeRate": { "unit": "pps", "rate": 11, "burst": 12 },
                "ppgs": { "3": { "internalCosBmp": 8, "pfcEnabled": true, "minLimitCells": 4294967294,
                                 "dynamicThreshold": 9 } },
                "txQueues": { "0": { "pfcCos": 7, "minLimitCells": 14, "dynamicThreshold": 0,
                    "priority": "roundRobin", "weight": 65535, "shapeRate": { "rate": 16 },
                    "guaranteedRate": { "unit": "pps", "rate": 17, "burst": 18 } } } } } },
        "wred": { "3": { "65535": { "minThdCells": 1, "maxThdCells": 2, "maxDropProbability": 0.1,
                                    "timeConstantNs": 1e12 } }, "0": {} },
        "counters": { "0": { "ppg": { "1": { "minUsage": 1, "sharedUsage": 2, "skidUsage": 3,
            "dropCounter": 18446744073709551615 } }, "queue": { "43": 6 },
            "block": { "3": { "name": "drops", "type": 2, "value": 4 } } } },
        "countersLastClear": { "1": { "queue": { "65535": 1 } } } })" );
    EXPECT_EQ( document.device, ( DeviceSettings{ 7, 1, 9 } ) );
    EXPECT_EQ( document.bufferParams, ( BufferParams{ 1, 2, 3.0 } ) );
    EXPECT_EQ( document.cosToTc, ( std::array<U8, 8>{ 7, 6, 5, 4, 3, 2, 1, 8 } ) );
    EXPECT_TRUE( document.ports.at( "Internal67" ).qos->txQueues.contains( 13 ) );
    const PortSettings & port = document.ports.at( "Ethernet1" );
    EXPECT_EQ( port.enabled, IntfEnabled::disabled );
    EXPECT_EQ( port.qos->flowControlType, FlowControl::pfc );
    EXPECT_EQ( port.qos->shapeRate, ( Rate{ true, 11, 12 } ) );
    EXPECT_EQ( port.qos->ppgs.at( 3 ), ( PpgSettings{ 8, true, 4294967294, 9 } ) );
    EXPECT_EQ( port.qos->txQueues.at( 0 ),
               ( TxQueueSettings{ 7, 14, 0, QueuePriority::roundRobin, 65535, Rate{ false, 16, 0 },
                                  Rate{ true, 17, 18 } } ) );
    EXPECT_EQ( document.wred.at( 3 ).at( 65535 ), ( WredEntry{ 1, 2, 0.1f, 1e12f } ) );
    EXPECT_TRUE( document.wred.at( 0 ).empty() );
    const PipeCounters & counters = document.counters.at( 0 );
    EXPECT_EQ( counters.ppg.at( 1 ), ( PpgCounters{ 1, 2, 3, ~U64{ 0 } } ) );
    EXPECT_EQ( counters.queue.at( 43 ), 6u );
    EXPECT_EQ( counters.block->at( 3 ), ( BlockCounter{ "drops", 2, 4 } ) );
    EXPECT_EQ( document.countersLastClear.at( 1 ).queue.at( 65535 ), 1u );
}

TEST( SwitchDocument, errorsSayWhereAndWhatIsAllowed ) {
    EXPECT_EQ( refusal( "[]" ), "leaf.json: must be an object" );
    EXPECT_EQ( refusal( R"({ "prots": {} })" ),
               "leaf.json: /prots: is not a member of this object; allowed are \"device\", "
               "\"bufferParams\", \"cosToTc\", \"ports\", \"wred\", \"counters\" and "
               "\"countersLastClear\"" );
    for ( const std::string_view id : { "8", "-1", "1.0", "1e0", "\"1\"", "null", "1e300" } ) {
        EXPECT_EQ( refusal( "{ \"device\": { \"id\": " + std::string( id ) + " } }" ),
                   "leaf.json: /device/id: must be an integer from 0 to 7" );
    }
    EXPECT_EQ( refusal( R"({ "bufferParams": { "leakPollInterval": 0 } })" ),
               "leaf.json: /bufferParams/leakPollInterval: must be a number from 0.001 to 86400" );
    EXPECT_EQ( refusal( R"({ "cosToTc": [ 0, 1 ] })" ),
               "leaf.json: /cosToTc: must be an array of 8 traffic classes" );
    EXPECT_EQ( refusal( R"({ "cosToTc": [ 0, 1, 2, 9, 4, 5, 6, 7 ] })" ),
               "leaf.json: /cosToTc/3: must be an integer from 0 to 8" );
    EXPECT_EQ( refusal( R"({ "wred": { "0": { "1": { "minThdCells": 1, "maxThdCells": 2,
                                                      "maxDropProbability": 1.5 } } } })" ),
               "leaf.json: /wred/0/1/maxDropProbability: must be a number from 0 to 1" );
    EXPECT_EQ( refusal( R"({ "wred": { "0": { "1": { "minThdCells": 1 } } } })" ),
               "leaf.json: /wred/0/1: must have the member \"maxThdCells\"" );
    EXPECT_EQ( refusal( R"({ "counters": { "0": { "block": { "1": { "name": 5 } } } } })" ),
               "leaf.json: /counters/0/block/1/name: must be a string" );
    for ( const std::string_view key :
          { "01", "+1", "-1", "", "1 ", "256", "99999999999999999999" } ) {
        EXPECT_EQ( refusal( "{ \"counters\": { \"0\": { \"ppg\": { \"" + std::string( key ) +
                            "\": {} } } } }" ),
                   "leaf.json: /counters/0/ppg/" + std::string( key ) +
                       ": is not a priority group's counter index; allowed are \"0\" to \"255\"" );
    }
}

TEST( SwitchDocument, portErrorsSayWhereAndWhatIsAllowed ) {
    for ( const std::string_view index : { "72", "127", "200", "512", "-1", "1.0", "true" } ) {
        EXPECT_EQ( refusal( "{ \"ports\": { \"a/b\": { \"portIndex\": " + std::string( index ) +
                            " } } }" ),
                   "leaf.json: /ports/a~1b/portIndex: must be pipe x 128 + local port, an integer: "
                   "pipe 0 to 3, local port 0 to 71" );
    }
    EXPECT_EQ( refusal( R"({ "ports": { "Ethernet1": {} } })" ),
               "leaf.json: /ports/Ethernet1: must have the member \"portIndex\"" );
    EXPECT_EQ(
        refusal( R"({ "ports": { "B": { "portIndex": 5 }, "A": { "portIndex": 5 } } })" ),
        "leaf.json: /ports/A/portIndex: must be unique; 5 is the port index of \"B\" already" );
    EXPECT_EQ( refusal( R"({ "ports": { "Internal067": { "portIndex": 5 } } })" ),
               "leaf.json: /ports/Internal067: is not an internal port of the chip; allowed are "
               "\"Internal67\" and \"Internal68\"" );
    for ( const std::string_view name : { "", "a b", "\u00fc" } ) {
        EXPECT_EQ(
            refusal( "{ \"ports\": { \"" + std::string( name ) + "\": { \"portIndex\": 5 } } }" ),
            "leaf.json: /ports/" + std::string( name ) +
                ": is not an interface name; allowed are printable ASCII characters without "
                "a blank, at least one" );
    }
    EXPECT_EQ( refusal( R"({ "ports": { "Internal": { "portIndex": 5 },
                                        "Internal5a": { "portIndex": 6 } } })" ),
               "" );
}

TEST( SwitchDocument, qosErrorsSayWhereAndWhatIsAllowed ) {
    const std::string at = "leaf.json: /ports/Ethernet1/qos/";
    EXPECT_EQ( qosRefusal( R"({ "flowControlType": 2 })" ),
               at + "flowControlType: must be \"none\", \"linkPause\" or \"pfc\"" );
    EXPECT_EQ( qosRefusal( R"({ "shapeRate": { "unit": "kbps" } })" ),
               at + "shapeRate: must have the member \"rate\"" );
    EXPECT_EQ( qosRefusal( R"({ "ppgs": { "9": {} } })" ),
               at + "ppgs/9: is not a priority group; allowed are \"0\" to \"8\"" );
    EXPECT_EQ( qosRefusal( R"({ "ppgs": { "3": { "pfcEnabled": 1 } } })" ),
               at + "ppgs/3/pfcEnabled: must be true or false" );
    EXPECT_EQ( qosRefusal( R"({ "ppgs": { "3": { "minLimitCells": 4294967295 } } })" ),
               at + "ppgs/3/minLimitCells: must be an integer from 0 to 4294967294" );
    EXPECT_EQ( qosRefusal( R"({ "txQueues": { "0": { "pfcCos": -2 } } })" ),
               at + "txQueues/0/pfcCos: must be an integer from -1 to 7" );
    EXPECT_EQ( qosRefusal( R"({ "txQueues": { "8": {} } })" ),
               at +
                   "txQueues/8: is not a transmit queue of this port; allowed are \"0\" to \"7\"" );
    EXPECT_EQ(
        qosRefusal( R"({ "txQueues": { "14": {} } })", "Internal67" ),
        "leaf.json: /ports/Internal67/qos/txQueues/14: is not a transmit queue of this port; "
        "allowed are \"0\" to \"13\"" );
}
