#include "tests/Platform/Framework/TestEntities.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>

namespace {

using Kel::AttributeId;
using Kel::makePtr;
using Kel::Ptr;

// A house with a room with a lamp, and one log of what is told of them: "house: room" when the
// house's observers learn that something changed in the room, "lamp 1: red" when the room's
// notifiees find the red lamp under key 1.
struct Collections : testing::Test {
    struct Observer : Kel::ChangeObserver {
        Observer( Collections & fixture, const Ptr<const Kel::Entity> & root ) : all( fixture ) {
            rootIs( root );
        }
        void memberChanged( const Kel::Entity & member ) override {
            all.log += all.names.at( root().get() ) + ": " + all.names.at( &member ) + "; ";
        }
        Collections & all;
    };

    Collections() {
        room->lamps.insert( 1, red );
        house->rooms.insert( 1, room );
        watcher = makePtr<Watcher<Room>>( room, [this]( AttributeId id, const void * key ) {
            const int number = *static_cast<const int *>( key );
            const std::string * label = room->labels.find( number );
            const std::string value = id == Room::lampAttr ? names[room->lamps.get( number ).get()]
                                      : label              ? *label
                                                           : "gone";
            log += ( id == Room::lampAttr ? "lamp " : "label " ) + std::to_string( number ) + ": " +
                   value + ( red->parent() ? "; " : ", red is free; " );
            if ( const auto once = std::exchange( deed, nullptr ) ) {
                once();
            }
        } );
    }
    std::string news() { return std::exchange( log, {} ); }

    Ptr<House> house = makePtr<House>();
    Ptr<Room> room = makePtr<Room>();
    Ptr<Lamp> red = makePtr<Lamp>();
    Ptr<Lamp> blue = makePtr<Lamp>();
    std::map<const Kel::Entity *, std::string> names{ { house.get(), "house" },
                                                      { room.get(), "room" },
                                                      { red.get(), "red" },
                                                      { blue.get(), "blue" },
                                                      { nullptr, "none" } };
    std::string log;
    Ptr<Watcher<Room>> watcher;
    std::function<void()> deed; // what the handler does when it is next called
};

TEST_F( Collections, ChangesAreToldUpwardsFirstWhateverSwitchesSay ) {
    const Observer ofHouse( *this, house );
    Observer ofRoom( *this, room );
    Observer alsoOfRoom( *this, room );
    alsoOfRoom.rootIs( nullptr );
    const auto onRed = makePtr<Watcher<Lamp>>( red, [this]( AttributeId, const void * ) {
        log += "level " + std::to_string( red->level() ) + "; ";
    } );
    const std::pair<std::function<void()>, std::string> changes[] = {
        { [&] { red->levelIs( 5 ); }, "room: red; house: room; level 5; " },
        { [&] { red->levelIs( 5 ); }, "" },
        { [&] { onRed->hasNotificationActiveIs( false ); }, "" },
        { [&] { red->levelIs( 6 ); }, "room: red; house: room; " },
        { [&] { room->labels.set( 2, "" ); }, "house: room; label 2: ; " },
        { [&] { room->labels.set( 2, "" ); }, "" },
        { [&] { room->labels.set( 2, "hall" ); }, "house: room; label 2: hall; " },
        { [&] { room->labels.erase( 2 ); }, "house: room; label 2: gone; " },
        { [&] { room->labels.erase( 2 ); }, "" },
        // The lamp that is replaced and the one that goes are told of for the last time.
        { [&] { room->lamps.insert( 1, blue ); },
          "room: red; house: room; room: blue; house: room; lamp 1: blue, red is free; " },
        { [&] { red->levelIs( 7 ); }, "" },
        { [&] { room->lamps.insert( 1, blue ); }, "" },
        { [&] { room->lamps.insert( 2, red ); }, "room: red; house: room; lamp 2: red; " },
        { [&] { room->lamps.erase( 2 ); }, "room: red; house: room; lamp 2: none, red is free; " },
        { [&] { room->lamps.erase( 2 ); }, "" },
        { [&] { house->rooms.erase( 1 ); }, "house: room; " },
        { [&] { blue->levelIs( 1 ); }, "room: blue; " },
        { [&] { alsoOfRoom.rootIs( room ); }, "" },
        { [&] { blue->levelIs( 2 ); }, "room: blue; room: blue; " },
        { [&] { ofRoom.rootIs( house ); }, "" },
        { [&] { blue->levelIs( 3 ); }, "room: blue; " },
    };
    for ( const auto & [change, told] : changes ) {
        change();
        EXPECT_EQ( news(), told );
    }
}

TEST_F( Collections, MembersAreMadeOnceAndRefusedOnesChangeNothing ) {
    const auto makeBlue = [this] { return blue; };
    EXPECT_EQ( room->lamps.getOrInsert( 1, makeBlue ), red );
    EXPECT_EQ( room->lamps.getOrInsert( 4, makeBlue ), blue );
    EXPECT_EQ( news(), "lamp 4: blue; " );
    const auto attic = makePtr<Room>();
    EXPECT_THROW( attic->lamps.insert( 1, red ), Kel::ParentException );
    EXPECT_THROW( room->lamps.insert( 4, red ), Kel::ParentException ); // under another key
    EXPECT_THROW( room->lamps.insert( 1, nullptr ), Kel::NullArgumentException );
    EXPECT_EQ( news(), "" );
    room->lamps.visit(
        [&]( int key, const auto & lamp ) { log += key == 1 ? "1" : names[lamp.get()]; } );
    EXPECT_EQ( news(), "1blue" );
    EXPECT_TRUE( attic->lamps.empty() && red->parent() == room.get() && room->tellsChangesBelow() );
}

TEST_F( Collections, RemovingAllTellsOfEachAndSurvivesItsHandlers ) {
    room->lamps.insert( 3, makePtr<Lamp>() );
    room->lamps.insert( 2, blue );
    log.clear();
    deed = [this] {
        room->lamps.erase( 3 );       // before its turn
        room->lamps.insert( 1, red ); // the one that just went: stays
    };
    room->lamps.eraseAll();
    EXPECT_EQ( news(), "lamp 1: none, red is free; lamp 3: none, red is free; lamp 1: red; "
                       "lamp 2: none; " );
    EXPECT_EQ( room->lamps.size(), 1U );

    // The owner goes while its collection is emptied.
    room->labels.set( 3, "x" );
    room->labels.set( 4, "x" );
    house = nullptr;
    log.clear();
    deed = [&] {
        watcher->notifierIs( nullptr );
        room = nullptr;
    };
    room->labels.eraseAll();
    EXPECT_EQ( news(), "label 3: gone; " );
    EXPECT_EQ( red->parent(), nullptr );
}

// Entities get and lose parents at random, and are destroyed while others lie below them; an array
// says who must be whose parent.
TEST( Parents, AgreeWithAnArray ) {
    constexpr std::size_t nobody = 8;
    std::mt19937 random( 5 );
    std::array<Ptr<Lamp>, nobody + 1> all;
    std::array<std::size_t, nobody + 1> parents{};
    parents.fill( nobody );
    std::for_each( all.begin(), all.end() - 1, []( auto & one ) { one = makePtr<Lamp>(); } );
    int refused = 0;
    for ( int round = 0; round < 20000 && !testing::Test::HasFailure(); ++round ) {
        const std::size_t who = random() % nobody;
        const std::size_t parent = random() % all.size();
        bool mayBe = parents.at( who ) == nobody || parent == nobody;
        for ( std::size_t above = parent; above != nobody; above = parents.at( above ) ) {
            mayBe = mayBe && above != who;
        }
        if ( random() % 8 == 0 ) {
            all.at( who ) = makePtr<Lamp>();
            parents.at( who ) = nobody;
            std::replace( parents.begin(), parents.end(), who, nobody );
        } else if ( mayBe || parent == parents.at( who ) ) {
            all.at( who )->parentIs( all.at( parent ).get() );
            parents.at( who ) = parent;
        } else {
            EXPECT_THROW( all.at( who )->parentIs( all.at( parent ).get() ), Kel::ParentException );
            ++refused;
        }
        for ( std::size_t i = 0; i < nobody; ++i ) {
            EXPECT_EQ( all.at( i )->parent(), all.at( parents.at( i ) ).get() );
        }
    }
    EXPECT_GT( refused, 1000 );
}

} // namespace
