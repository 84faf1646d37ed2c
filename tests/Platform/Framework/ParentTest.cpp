#include "tests/Platform/Framework/TestEntities.h"

#include <gtest/gtest.h>

namespace {

using Kel::AttributeId;
using Kel::makePtr;
using Kel::Ptr;

// Notes the members that changes are told of.
class Observer : public Kel::ChangeObserver {
  public:
    using Members = std::vector<const Kel::Entity *>;

    explicit Observer( Ptr<const Kel::Entity> root ) { rootIs( std::move( root ) ); }
    void memberChanged( const Kel::Entity & member ) override { told_.push_back( &member ); }
    // What was told since it was last asked.
    Members told() { return std::exchange( told_, {} ); }

  private:
    Members told_;
};

using Members = Observer::Members;

struct Upwards : testing::Test {
    Upwards() {
        room->lamps.insert( 1, lamp );
        house->rooms.insert( 1, room );
    }

    Ptr<House> house = makePtr<House>();
    Ptr<Room> room = makePtr<Room>();
    Ptr<Lamp> lamp = makePtr<Lamp>();
};

TEST_F( Upwards, EveryAncestorLearnsBelowWhichMemberSomethingChanged ) {
    Observer ofHouse( house );
    Observer alsoOfHouse( house );
    Observer ofRoom( room );

    lamp->levelIs( 5 ); // nobody is registered for notifications anywhere
    EXPECT_EQ( ofHouse.told(), Members( { room.get() } ) );
    EXPECT_EQ( alsoOfHouse.told(), Members( { room.get() } ) );
    EXPECT_EQ( ofRoom.told(), Members( { lamp.get() } ) );

    lamp->levelIs( 5 );
    EXPECT_EQ( ofHouse.told(), Members() );
    room->labels.set( 1, "kitchen" );
    EXPECT_EQ( ofHouse.told(), Members( { room.get() } ) );
    EXPECT_EQ( ofRoom.told(), Members() );

    alsoOfHouse.rootIs( nullptr );
    lamp->levelIs( 6 );
    EXPECT_EQ( ofHouse.told(), Members( { room.get() } ) );
    EXPECT_EQ( alsoOfHouse.told(), Members( { room.get() } ) ); // of the label
}

TEST_F( Upwards, MembersThatComeGoOrAreReplacedAreToldOfOnce ) {
    Observer ofHouse( house );
    Observer ofRoom( room );

    const auto second = makePtr<Lamp>();
    room->lamps.insert( 2, second );
    EXPECT_EQ( ofRoom.told(), Members( { second.get() } ) );
    EXPECT_EQ( ofHouse.told(), Members( { room.get() } ) );

    const auto better = makePtr<Lamp>();
    room->lamps.insert( 1, better );
    EXPECT_EQ( ofRoom.told(), Members( { lamp.get(), better.get() } ) );
    EXPECT_EQ( room->lamps.get( 1 ), better );

    room->lamps.erase( 2 );
    EXPECT_EQ( ofRoom.told(), Members( { second.get() } ) );
    house->rooms.eraseAll();
    ofHouse.told();
    second->levelIs( 1 );
    lamp->levelIs( 1 );
    better->levelIs( 1 ); // still in the room, which is in no house
    EXPECT_EQ( ofRoom.told(), Members( { better.get() } ) );
    EXPECT_EQ( ofHouse.told(), Members() );
}

// Sums that are kept per member are stale before the first handler can ask for them.
TEST_F( Upwards, AreToldBeforeNotifieesWhateverTheirSwitchesSay ) {
    Observer ofHouse( house );
    Observer ofRoom( room );
    Members seen;
    const auto onLamp =
        makePtr<Watcher<Lamp>>( lamp, [&]( AttributeId, const void * ) { seen = ofHouse.told(); } );
    lamp->levelIs( 1 );
    EXPECT_EQ( seen, Members( { room.get() } ) );
    onLamp->hasNotificationActiveIs( false );
    lamp->levelIs( 2 );
    EXPECT_EQ( ofHouse.told(), Members( { room.get() } ) );

    Kel::Entity * parentWhenTold = room.get();
    const auto onRoom = makePtr<Watcher<Room>>( room, [&]( AttributeId, const void * key ) {
        seen = ofRoom.told();
        parentWhenTold = lamp->parent();
        EXPECT_FALSE( room->lamps.has( *static_cast<const int *>( key ) ) );
    } );
    ofRoom.told();
    room->lamps.erase( 1 );
    EXPECT_EQ( seen, Members( { lamp.get() } ) );
    EXPECT_EQ( parentWhenTold, nullptr );
}

TEST_F( Upwards, SecondParentIsRefusedAndNothingChanges ) {
    const auto attic = makePtr<Room>();
    const auto watcher =
        makePtr<Watcher<Room>>( attic, []( AttributeId, const void * ) { FAIL(); } );
    Observer ofRoom( room );
    EXPECT_THROW( attic->lamps.insert( 1, lamp ), Kel::ParentException );
    EXPECT_THROW( attic->lamps.insert( 1, nullptr ), Kel::NullArgumentException );
    EXPECT_THROW( room->lamps.insert( 2, lamp ), Kel::ParentException ); // under another key
    EXPECT_THROW( lamp->parentIs( attic.get() ), Kel::ParentException );
    EXPECT_THROW( house->parentIs( lamp.get() ), Kel::ParentException ); // a circle
    room->lamps.insert( 1, lamp ); // where it is: fine, and no news
    EXPECT_EQ( attic->lamps.size(), 0U );
    EXPECT_EQ( room->lamps.size(), 1U );
    EXPECT_EQ( lamp->parent(), room.get() );
    EXPECT_EQ( house->parent(), nullptr );
    EXPECT_EQ( ofRoom.told(), Members() );
}

TEST_F( Upwards, RemovalAndTheParentsEndFreeTheMember ) {
    const auto attic = makePtr<Room>();
    room->lamps.erase( 1 );
    attic->lamps.insert( 1, lamp );
    EXPECT_EQ( lamp->parent(), attic.get() );

    auto shed = makePtr<Room>();
    const std::vector<Ptr<Lamp>> lamps{ makePtr<Lamp>(), makePtr<Lamp>(), makePtr<Lamp>() };
    shed->lamps.insert( 0, lamps[0] );
    shed->lamps.insert( 1, lamps[1] );
    lamps[2]->parentIs( shed.get() ); // held by other means than a collection
    shed = nullptr;
    for ( const auto & orphan : lamps ) {
        EXPECT_EQ( orphan->parent(), nullptr );
        EXPECT_EQ( orphan->refCount(), 1 );
    }
}

} // namespace
