#include "tests/Platform/Framework/TestEntities.h"

#include <gtest/gtest.h>

namespace {

using Kel::AttributeId;
using Kel::makePtr;
using Kel::Ptr;

// A room whose changes are noted: "lamp 1" when there is one under the key, "no lamp 1" otherwise.
struct Collections : testing::Test {
    Collections() {
        watcher = makePtr<Watcher<Room>>( room, [this]( AttributeId id, const void * key ) {
            const int number = *static_cast<const int *>( key );
            const bool isLamp = id == Room::lampAttr;
            const bool present = isLamp ? room->lamps.has( number ) : room->labels.has( number );
            log.push_back( ( present ? "" : "no " ) + std::string( isLamp ? "lamp " : "label " ) +
                           std::to_string( number ) );
            if ( const auto once = std::exchange( deed, nullptr ) ) {
                once();
            }
        } );
    }
    Log news() { return std::exchange( log, {} ); }

    Ptr<Room> room = makePtr<Room>();
    Ptr<Watcher<Room>> watcher;
    std::function<void()> deed; // what the handler does when it is next called
    Log log;
};

TEST_F( Collections, MembersAreMadeOnceAndLookedUpByTheirKey ) {
    const auto make = [] { return makePtr<Lamp>(); };
    const Ptr<Lamp> lamp = room->lamps.getOrInsert( 4, make );
    EXPECT_EQ( room->lamps.getOrInsert( 4, make ), lamp );
    EXPECT_EQ( room->lamps.get( 4 ), lamp );
    EXPECT_EQ( room->lamps.get( 5 ), nullptr );
    room->lamps.erase( 5 );
    EXPECT_EQ( news(), Log( { "lamp 4" } ) );
    room->lamps.insert( 4, makePtr<Lamp>() );
    room->lamps.erase( 4 );
    room->lamps.erase( 4 );
    EXPECT_EQ( news(), Log( { "lamp 4", "no lamp 4" } ) );
}

TEST_F( Collections, ValuesTellOnlyWhenTheyChange ) {
    room->labels.set( 2, "" ); // a default value is a value
    room->labels.set( 2, "" );
    room->labels.set( 2, "hall" );
    room->labels.set( 2, "hall" );
    EXPECT_EQ( news(), Log( { "label 2", "label 2" } ) );
    EXPECT_EQ( *room->labels.find( 2 ), "hall" );
    room->labels.erase( 2 );
    room->labels.erase( 2 );
    EXPECT_EQ( news(), Log( { "no label 2" } ) );
    EXPECT_EQ( room->labels.find( 2 ), nullptr );
}

TEST_F( Collections, RemovingAllTellsOfEachAndSurvivesItsHandlers ) {
    const auto fill = [this] {
        for ( const int number : { 3, 1, 2 } ) {
            room->lamps.insert( number, makePtr<Lamp>() );
            room->labels.set( number, "x" );
        }
        news();
    };
    fill();
    deed = [this] {
        room->lamps.erase( 1 );                   // before its turn
        room->lamps.insert( 3, makePtr<Lamp>() ); // the one that just went: stays
    };
    room->lamps.eraseAll();
    EXPECT_EQ( news(), Log( { "no lamp 3", "no lamp 1", "lamp 3", "no lamp 2" } ) );
    EXPECT_EQ( room->lamps.size(), 1U );

    // The owner goes while its collection is emptied.
    fill();
    Room & dropped = *room;
    deed = [&] {
        watcher->notifierIs( nullptr );
        room = nullptr;
    };
    dropped.labels.eraseAll();
    EXPECT_EQ( news(), Log( { "no label 3" } ) );
}

} // namespace
