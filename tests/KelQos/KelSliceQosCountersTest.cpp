#include "KelQos/Show/KelSliceQosCounters.h"

#include "KelQos/Show/KelSliceQosSmCounters.h"
#include "Platform/Framework/Exceptions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace {

using namespace KelQos;
using KelId::KelDevId;
using KelId::KelPipeId;

template <class T>
T parsed( const std::string & text ) {
    const char * cursor = text.data();
    T value;
    strepToValue( cursor, text.data() + text.size(), value );
    EXPECT_EQ( cursor, text.data() + text.size() );
    return value;
}

template <class T>
std::string printed( const T & value ) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

const PpgCounterData ppgData( 1, 2, 4294967295, 18446744073709551615U, 0x88, 6, 0.1F );
const std::string ppgText = "Value('KelQos::PpgCounterData', ** {'minUsage': 1, 'shrdUsage': 2, "
                            "'skidUsage': 4294967295, 'dropCounter': 18446744073709551615, "
                            "'internalCosBmp': 136, 'minLimitCells': 6, 'dynamicThreshold': 0.1})";
const TxQCounterData txQData( 5, 10, 2.5F );
const std::string txQText = "Value('KelQos::TxQCounterData', ** {'totalUsage': 5, "
                            "'minLimitCells': 10, 'dynamicThreshold': 2.5})";
const BlockLevelCounterData blockData( "a 'b'\n", 7 );
const std::string blockText =
    R"(Value('KelQos::BlockLevelCounterData', ** {'name': 'a \'b\'\n', 'value': 7}))";

TEST( CounterRecords, havePrintedFormsThatReadBack ) {
    EXPECT_EQ( printed( ppgData ), ppgText );
    EXPECT_EQ( parsed<PpgCounterData>( ppgText ), ppgData );
    EXPECT_EQ( printed( txQData ), txQText );
    EXPECT_EQ( parsed<TxQCounterData>( txQText ), txQData );
    EXPECT_EQ( printed( blockData ), blockText );
    EXPECT_EQ( parsed<BlockLevelCounterData>( blockText ), blockData );
    EXPECT_EQ( PpgCounterData(), PpgCounterData( 0, 0, 0, 0, 0, 0, 0 ) );
    EXPECT_EQ( TxQCounterData(), TxQCounterData( 0, 0, 0 ) );
    EXPECT_EQ( BlockLevelCounterData(), BlockLevelCounterData( "", 0 ) );
}

// Wherever a text ends too early or has another byte, it is refused, and nothing has changed.
template <class T>
void expectEveryMutilationRefused( const std::string & text, const T & original ) {
    const auto expectRefused = [&]( const std::string & wrong ) {
        const char * cursor = wrong.data();
        T value = original;
        EXPECT_THROW( strepToValue( cursor, wrong.data() + wrong.size(), value ),
                      Kel::ParseException )
            << wrong;
        EXPECT_EQ( cursor, wrong.data() );
        EXPECT_EQ( value, original );
    };
    for ( std::size_t at = 0; at < text.size(); ++at ) {
        expectRefused( text.substr( 0, at ) );
        std::string wrong = text;
        wrong[at] = '\x01';
        // A quoted name takes any byte but the one that begins an escape.
        if ( text.find( "'name': '" ) == std::string::npos || text[at] == '\\' ||
             at < text.find( "'name': '" ) + 9 || at > text.find( "', 'value'" ) ) {
            expectRefused( wrong );
        }
    }
}

TEST( CounterRecords, refuseEveryOtherText ) {
    expectEveryMutilationRefused( ppgText, PpgCounterData( 9, 9, 9, 9, 9, 9, 9 ) );
    expectEveryMutilationRefused( txQText, TxQCounterData( 9, 9, 9 ) );
    expectEveryMutilationRefused(
        R"(Value('KelQos::BlockLevelCounterData', ** {'name': 'a\'', 'value': 7}))",
        BlockLevelCounterData( "x", 9 ) );
    // Numbers out of a field's range, and fields in another order.
    for ( const char * wrong :
          { "Value('KelQos::TxQCounterData', ** {'totalUsage': 4294967296, 'minLimitCells': 10, "
            "'dynamicThreshold': 2.5})",
            "Value('KelQos::TxQCounterData', ** {'totalUsage': -1, 'minLimitCells': 10, "
            "'dynamicThreshold': 2.5})",
            "Value('KelQos::TxQCounterData', ** {'minLimitCells': 10, 'totalUsage': 5, "
            "'dynamicThreshold': 2.5})" } ) {
        EXPECT_THROW( parsed<TxQCounterData>( wrong ), Kel::ParseException ) << wrong;
    }
}

TEST( CounterRecords, areEqualWhenEveryFieldIs ) {
    EXPECT_TRUE( !PpgCounterData() );
    EXPECT_FALSE( !PpgCounterData( 0, 0, 0, 1, 0, 0, 0 ) );
    EXPECT_TRUE( !TxQCounterData( 0, 0, -0.0F ) );
    EXPECT_EQ( TxQCounterData( 0, 0, -0.0F ).hash(), TxQCounterData().hash() );
    EXPECT_NE( TxQCounterData( 1, 2, 0 ).hash(), TxQCounterData( 2, 1, 0 ).hash() );
    EXPECT_TRUE( !BlockLevelCounterData() );
    EXPECT_FALSE( !BlockLevelCounterData( "a", 0 ) );
    const TxQCounterData nan( 0, 0, std::nanf( "" ) );
    EXPECT_NE( nan, TxQCounterData( nan ) );
    EXPECT_NE( ppgData, PpgCounterData( 1, 2, 4294967295, 18446744073709551615U, 0x88, 6, 0.2F ) );
}

TEST( CounterSorters, replaceAndIterateInKeyOrder ) {
    TxQSorter sorter;
    EXPECT_TRUE( !sorter );
    for ( const U32 key : { 10U, 2U, 7U, 2U } ) {
        sorter.counterDataIs(
            key, TxQCounterData( key + sorter.counterData( key ).totalUsage(), 0, 0 ) );
    }
    EXPECT_EQ( sorter.size(), 3U );
    std::string seen;
    for ( const auto & [key, data] : sorter ) {
        seen += std::to_string( key ) + ":" + std::to_string( data.totalUsage() ) + " ";
    }
    EXPECT_EQ( seen, "2:4 7:7 10:10 " );

    TxQSorter same = sorter;
    EXPECT_EQ( same, sorter );
    EXPECT_EQ( same.counterDataDel( same.begin() )->first, 7U );
    EXPECT_FALSE( same.counterDataHas( 2 ) );
    EXPECT_TRUE( !same.counterData( 2 ) );
    EXPECT_FALSE( same == sorter );
    same.counterDataDel( 7 );
    same.counterDataDel( 7 );
    EXPECT_EQ( same.size(), 1U );
    same.counterDataDelAll();
    EXPECT_TRUE( !same );
    EXPECT_EQ( printed( sorter ), "None" );
}

TEST( CounterSorters, orderBlockLevelCountersByTheBytesOfTheirNames ) {
    BlockLevelCounterSorter sorter;
    for ( const char * name : { "b", "a", "\xC3\xA4", "Z", "", "aa" } ) {
        sorter.counterDataIs( { name, 1 } );
    }
    sorter.counterDataIs( { "a", 2 } );
    std::string seen;
    for ( const auto & [name, data] : sorter ) {
        EXPECT_EQ( name, data.name() );
        seen += name + std::to_string( data.value() ) + " ";
    }
    EXPECT_EQ( seen, "1 Z1 a2 aa1 b1 \xC3\xA4"
                     "1 " );
}

TEST( CounterSortersDeathTest, cannotBeReadFromAText ) {
    EXPECT_DEATH(
        parsed<PpgSorter>( "None" ),
        "Assertion \"!\"No String constructor for PpgSorter - has collection\"\" failed" );
    EXPECT_DEATH( parsed<TxQSorter>( "None" ),
                  "\"!\"No String constructor for TxQSorter - has collection\"\"" );
    EXPECT_DEATH( parsed<PortSorter>( "None" ),
                  "\"!\"No String constructor for PortSorter - has collection\"\"" );
    EXPECT_DEATH( parsed<BlockLevelCounterSorter>( "None" ),
                  "\"!\"No String constructor for BlockLevelCounterSorter - has collection\"\"" );
}

TEST( PortSorterOfADevice, listsItsPortsOnly ) {
    auto systemStatus = Kel::makePtr<KelSystem::SystemStatus>();
    const auto add = [&]( const char * name, U8 devId, U32 port ) {
        systemStatus->portInfoIs( Kel::IntfId( name ), { devId, KelPortTypes::PortIndex( port ) } );
    };
    add( "Ethernet2", 1, 130 );
    add( "Ethernet9", 2, 3 );
    add( "Ethernet1", 1, 5 );
    PortSorter ports;
    createPortSorter( ports, systemStatus, 1 );
    EXPECT_EQ( ports.size(), 2U );
    EXPECT_EQ( ports.begin()->first, 5U );
    EXPECT_EQ( ports.entryId( 130 ).name(), "Ethernet2" );
    EXPECT_TRUE( ports.entryId( 3 ).empty() );
    createPortSorter( ports, systemStatus, 257 ); // is not device 1
    EXPECT_EQ( ports.size(), 2U );
    ports.entryIdDel( 5 );
    EXPECT_FALSE( ports.entryIdHas( 5 ) );
}

struct PpgRow : testing::Test {
    void count( U32 type, U64 value ) {
        live->setCounter( KelDevId( 1 ), KelPipeId( 2 ), 43, static_cast<CounterType>( type ),
                          value );
    }
    void snapshot( U64 drops ) {
        lastClear->setCounter( KelDevId( 1 ), KelPipeId( 2 ), 43, counterTypePpgDrops, drops );
    }
    PpgSorter rows( S32 key, bool nonZeroOnly ) {
        PpgSorter sorter;
        fillPpgCounterData( KelDevId( 1 ), KelPipeId( 2 ), 43, 0x80, 100, 1.5F, live, lastClear,
                            sorter, key, nonZeroOnly );
        return sorter;
    }

    Kel::Ptr<TmCountersData> live = Kel::makePtr<TmCountersData>();
    Kel::Ptr<TmCountersData> lastClear = Kel::makePtr<TmCountersData>();
};

TEST_F( PpgRow, takesEachFieldFromItsCounterAndItsKeyFromTheGroupOrTheIndex ) {
    count( 0, 1 );
    count( 1, 2 );
    count( 2, 3 );
    count( 6, 100 );
    snapshot( 40 );
    EXPECT_EQ( rows( 3, true ).counterData( 3 ), PpgCounterData( 1, 2, 3, 60, 0x80, 100, 1.5F ) );
    EXPECT_TRUE( rows( 0, true ).counterDataHas( 43 ) );
    EXPECT_TRUE( rows( -1, true ).counterDataHas( 43 ) );
}

TEST_F( PpgRow, wrapsOnceWhenTheSourceWasReset ) {
    count( 6, 10 );
    snapshot( 40 );
    EXPECT_EQ( rows( 3, true ).counterData( 3 ).dropCounter(), 18446744073709551586U );
    EXPECT_EQ( rows( 3, true ).counterData( 3 ).dropCounter(), 10U );
}

TEST_F( PpgRow, countsAsZeroByItsCountersAlone ) {
    count( 6, 40 );
    snapshot( 40 );
    EXPECT_TRUE( rows( 3, true ).empty() );
    EXPECT_EQ( rows( 3, false ).counterData( 3 ), PpgCounterData( 0, 0, 0, 0, 0x80, 100, 1.5F ) );
    // A usage that the record cannot hold is not zero all the same.
    count( 1, U64{ 1 } << 32U );
    EXPECT_EQ( rows( 3, true ).counterData( 3 ).shrdUsage(), 0U );
    EXPECT_EQ( rows( 3, true ).size(), 1U );
    // Without stores everything reads as zero.
    live = nullptr;
    lastClear = nullptr;
    EXPECT_TRUE( rows( 3, true ).empty() );
}

TEST( DynamicThreshold, isDisplayedAsAShareOfThePool ) {
    std::string shown;
    for ( U32 factor = 0; factor < 12; ++factor ) {
        shown += Kel::valueToStrep(
                     getDynamicThresholdValue( static_cast<BurstAbsorptionCoeff>( factor ) ) ) +
                 " ";
    }
    EXPECT_EQ( shown, "1.5 3 6 11 20 33 50 66 80 0 0 0 " );
}

} // namespace
