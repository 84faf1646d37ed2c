#include "Platform/Framework/Reactor.h"
#include "tests/Platform/Framework/TestEntities.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

using Kel::makePtr;
using Kel::Ptr;
using Lines = std::vector<std::string>;

// A state machine with a reactor on a room, which has one on a lamp. It keeps a story of what they
// hear, and does something the next time.
class Keeper : public Kel::Counted {
  public:
    explicit Keeper( Lines & story ) : story_( story ) {}
    ~Keeper() override { story_.emplace_back( "keeper ends" ); }

    void handleLamp( int lamp ) { hear( "lamp " + std::to_string( lamp ) ); }
    void hear( const std::string & what ) {
        story_.push_back( what );
        if ( const auto act = std::exchange( onNext, nullptr ) ) {
            act();
            story_.push_back( what + " handled" );
        }
    }

    std::function<void()> onNext;

  private:
    Lines & story_;
};

class OnRoom : public Kel::Reactor<OnRoom, Room, Keeper> {
  public:
    static constexpr Kel::Handler<OnRoom> handlers[]{
        Kel::calls<&Keeper::handleLamp>( Room::lampAttr ),
    };
    using Reactor::Reactor;
};

class OnLamp : public Kel::Reactor<OnLamp, Lamp, OnRoom> {
  public:
    void handleLevel() { owner()->owner()->hear( "level" ); }
    static constexpr Kel::Handler<OnLamp> handlers[]{
        Kel::calls<&OnLamp::handleLevel>( Lamp::levelAttr ),
    };
    using Reactor::Reactor;
    void handleNotifier() override { owner()->owner()->hear( "another lamp" ); }
};

struct Reactors : testing::Test {
    Reactors() {
        onRoom->hasNotificationActiveIs( true );
        onLamp->hasNotificationActiveIs( true );
    }
    Lines heard() { return std::exchange( story, {} ); }

    Lines story;
    Ptr<Room> room = makePtr<Room>();
    Ptr<Lamp> lamp = makePtr<Lamp>();
    Ptr<Keeper> keeper = makePtr<Keeper>( story );
    Ptr<OnRoom> onRoom = makePtr<OnRoom>( room, keeper.get() );
    Ptr<OnLamp> onLamp = makePtr<OnLamp>( lamp, onRoom.get() );
};

TEST_F( Reactors, callTheHandlersOfTheirTablesWithTheKey ) {
    room->lamps.insert( 7, makePtr<Lamp>() );
    room->labels.set( 1, "no handler of this" );
    lamp->levelIs( 3 );
    EXPECT_EQ( heard(), ( Lines{ "lamp 7", "level" } ) );
}

TEST_F( Reactors, followAnotherEntityAndNone ) {
    const auto other = makePtr<Lamp>();
    onLamp->notifierIs( lamp );
    EXPECT_EQ( heard(), Lines{} );
    onLamp->notifierIs( other );
    lamp->levelIs( 1 );
    other->levelIs( 1 );
    EXPECT_EQ( heard(), ( Lines{ "another lamp", "level" } ) );
    onLamp->notifierIs( nullptr );
    other->levelIs( 2 );
    EXPECT_EQ( heard(), Lines{} );
    onLamp->notifierIs( lamp );
    lamp->levelIs( 2 );
    EXPECT_EQ( heard(), ( Lines{ "another lamp", "level" } ) );
}

TEST_F( Reactors, hearNothingOnceTheyAreDismissed ) {
    onLamp->dismiss();
    EXPECT_EQ( onLamp->owner(), nullptr );
    lamp->levelIs( 1 );
    onLamp->notifierIs( makePtr<Lamp>() );
    EXPECT_EQ( heard(), Lines{} );
}

TEST_F( Reactors, keepThoseThatTheyWorkForUntilAHandlerReturns ) {
    keeper->onNext = [this] {
        onLamp = nullptr;
        onRoom = nullptr;
        keeper = nullptr;
    };
    lamp->levelIs( 1 );
    EXPECT_EQ( heard(), ( Lines{ "level", "level handled", "keeper ends" } ) );
}

} // namespace
