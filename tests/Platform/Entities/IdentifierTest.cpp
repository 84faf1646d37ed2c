#include "Platform/Entities/IntfId.h"
#include "Platform/Entities/KelId.h"
#include "Platform/Entities/PortIndex.h"
#include "Platform/Entities/QosIds.h"

#include <gtest/gtest.h>

namespace {

using Kel::InternalIntfId;
using Kel::IntfId;
using KelDriver::KelDevTgt;
using KelId::KelDevId;
using KelId::KelPipeId;
using KelPortTypes::PortIndex;
using KelQos::Cos;

template <class Id>
std::string errorOf( U32 number ) {
    try {
        static_cast<void>( Id( number ) );
        return "none";
    } catch ( const Kel::RangeException & error ) {
        return error.what();
    }
}

TEST( IdentifierTest, NumbersOutOfRangeAreRefused ) {
    EXPECT_EQ( errorOf<PortIndex>( 456 ) + errorOf<KelDevId>( 8 ) + errorOf<Cos>( 7 ),
               "nonenonenone" );
    for ( const U32 none : { 457U, 65536U } ) {
        EXPECT_EQ( errorOf<PortIndex>( none ),
                   "PortIndex::value < PortIndex::min or > PortIndex::invalid not allowed" );
    }
    for ( const U32 none : { 9U, 256U } ) {
        EXPECT_EQ( errorOf<KelDevId>( none ),
                   "KelDevId::value < KelDevId::min or > KelDevId::invalid not allowed" );
    }
    EXPECT_EQ( errorOf<Cos>( 8 ), "Cos::value < Cos::min or > Cos::max not allowed" );
    EXPECT_EQ( PortIndex(), PortIndex( PortIndex::invalid ) );
    EXPECT_EQ( KelDevId(), KelDevId( KelDevId::invalid ) );
}

TEST( IdentifierTest, CompareHashAndPrintAsTheirNumbers ) {
    const PortIndex port( 3 * 128 + 72 );
    EXPECT_TRUE( port.pipe() == 3 && port.localPort() == 72 );
    EXPECT_LT( PortIndex( 9 ), PortIndex( 10 ) );
    const KelDevTgt target( KelDevId( 1 ), KelPipeId( 3 ) );
    EXPECT_EQ( valueToStrep( port ) + valueToStrep( target ), "456D1 P3" );
    EXPECT_NE( target, KelDevTgt( KelDevId( 3 ), KelPipeId( 1 ) ) );
    EXPECT_LT( target, KelDevTgt( KelDevId( 2 ), KelPipeId( 0 ) ) );
    EXPECT_NE( target.hash(), KelDevTgt( KelDevId( 3 ), KelPipeId( 1 ) ).hash() );
}

TEST( IntfIdTest, NamesAreInternedOnceForAll ) {
    const std::string text = "Ethernet1/1";
    const IntfId one( text );
    const IntfId same( std::string_view( "Ethernet1/1, and more" ).substr( 0, 11 ) );
    EXPECT_TRUE( one == same && one.hash() == same.hash() && &one.name() == &same.name() );
    EXPECT_EQ( valueToStrep( one ), "Ethernet1/1" );
    EXPECT_NE( one, IntfId( "ethernet1/1" ) );
    EXPECT_LT( IntfId( "Ethernet10/1" ), IntfId( "Ethernet2/1" ) ); // by bytes
    EXPECT_TRUE( IntfId().empty() && IntfId() == IntfId( "" ) );
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
