#include "Platform/Entities/IntfId.h"
#include "Platform/Entities/KelId.h"
#include "Platform/Entities/PortIndex.h"
#include "Platform/Entities/QosIds.h"
#include "Platform/Framework/HashMap.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using Kel::InternalIntfId;
using Kel::IntfId;
using KelDriver::KelDevTgt;
using KelId::KelDevId;
using KelId::KelPipeId;
using KelPortTypes::PortIndex;
using KelQos::Cos;

template <class Id>
std::string rangeErrorOf( U32 number ) {
    try {
        static_cast<void>( Id( number ) );
        return "no error";
    } catch ( const Kel::RangeException & error ) {
        return error.what();
    }
}

TEST( IdentifierTest, NumbersOutOfRangeAreRefused ) {
    EXPECT_EQ( rangeErrorOf<PortIndex>( 456 ), "no error" );
    EXPECT_EQ( rangeErrorOf<PortIndex>( 457 ),
               "PortIndex::value < PortIndex::min or > PortIndex::invalid not allowed" );
    EXPECT_EQ( rangeErrorOf<PortIndex>( 65536 ), rangeErrorOf<PortIndex>( 457 ) ); // is not 0
    EXPECT_EQ( rangeErrorOf<KelDevId>( 8 ), "no error" );
    EXPECT_EQ( rangeErrorOf<KelDevId>( 9 ),
               "KelDevId::value < KelDevId::min or > KelDevId::invalid not allowed" );
    EXPECT_EQ( rangeErrorOf<KelDevId>( 256 ), rangeErrorOf<KelDevId>( 9 ) );
    EXPECT_EQ( rangeErrorOf<Cos>( 7 ), "no error" );
    EXPECT_EQ( rangeErrorOf<Cos>( 8 ), "Cos::value < Cos::min or > Cos::max not allowed" );
    EXPECT_EQ( PortIndex(), PortIndex( PortIndex::invalid ) );
    EXPECT_EQ( KelDevId(), KelDevId( KelDevId::invalid ) );
}

TEST( IdentifierTest, CompareHashAndPrintAsTheirNumbers ) {
    const PortIndex port( 3 * 128 + 72 );
    EXPECT_EQ( port.pipe(), 3 );
    EXPECT_EQ( port.localPort(), 72 );
    EXPECT_LT( PortIndex( 9 ), PortIndex( 10 ) );
    EXPECT_EQ( valueToStrep( port ), "456" );

    const KelDevTgt target( KelDevId( 1 ), KelPipeId( 3 ) );
    EXPECT_EQ( valueToStrep( target ), "D1 P3" );
    EXPECT_NE( target, KelDevTgt( KelDevId( 3 ), KelPipeId( 1 ) ) );
    EXPECT_LT( target, KelDevTgt( KelDevId( 2 ), KelPipeId( 0 ) ) );
    std::set<std::size_t> hashes;
    for ( U32 device = 0; device <= KelDevId::invalid; ++device ) {
        for ( U16 pipe = 0; pipe < 4; ++pipe ) {
            hashes.insert( KelDevTgt( KelDevId( device ), KelPipeId( pipe ) ).hash() );
        }
    }
    EXPECT_EQ( hashes.size(), 36U );
}

TEST( IntfIdTest, NamesAreInternedOnceForAll ) {
    const std::string text = "Ethernet1/1";
    const IntfId one( text );
    const IntfId same( std::string_view( "Ethernet1/1, and more" ).substr( 0, 11 ) );
    EXPECT_EQ( one, same );
    EXPECT_EQ( one.hash(), same.hash() );
    EXPECT_EQ( &one.name(), &same.name() );
    EXPECT_EQ( valueToStrep( one ), "Ethernet1/1" );
    EXPECT_NE( one, IntfId( "ethernet1/1" ) );
    EXPECT_LT( IntfId( "Ethernet10/1" ), IntfId( "Ethernet2/1" ) ); // by bytes
    EXPECT_EQ( IntfId(), IntfId( "" ) );
    EXPECT_TRUE( IntfId().empty() );

    Kel::HashMap<IntfId, int> map;
    map.insertOrAssign( one, 1 );
    EXPECT_EQ( *map.find( same ), 1 );
}

TEST( IntfIdTest, NamesThatNobodyUsedAreNotKnown ) {
    EXPECT_TRUE( IntfId::known( "Ethernet99/1" ).empty() );
    EXPECT_TRUE( IntfId::known( "Ethernet99/1" ).empty() ); // asking does not make it known
    const IntfId named( "Ethernet99/1" );
    EXPECT_EQ( IntfId::known( "Ethernet99/1" ), named );
}

TEST( IntfIdTest, InternalInterfacesAreToldByTheirNames ) {
    for ( const char * name : { "Internal0", "Internal67", "Internal004" } ) {
        EXPECT_TRUE( InternalIntfId::isInternalIntfId( IntfId( name ) ) ) << name;
    }
    for ( const char * name : { "", "Internal", "Internal67a", "Internal-1", "internal67",
                                "XInternal67", "Internal 67", "Ethernet67" } ) {
        EXPECT_FALSE( InternalIntfId::isInternalIntfId( IntfId( name ) ) ) << name;
    }
}

} // namespace
