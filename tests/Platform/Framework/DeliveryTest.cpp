#include "tests/Platform/Framework/TestEntities.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <random>

namespace {

using Kel::AttributeId;
using Kel::makePtr;
using Kel::Ptr;

// Reactors on two lamps come, leave, move, are switched, dropped and made zombies, and lamps
// change, all at random and most of it in handlers and destructors. A list of those whose turn is
// still to come, one for each delivery under way, says who must be called next.
class RandomDeliveries {
  public:
    RandomDeliveries() {
        for ( auto & reactor : reactors_ ) {
            replace( reactor );
        }
    }
    ~RandomDeliveries() { mostDeliveries_ = 0; }

    void act() {
        Ptr<Reactor> & one = reactors_.at( draw( reactors_.size() ) );
        switch ( draw( 7 ) ) {
        case 0:
            return registeredIs( *one, draw( 2 ) == 0 );
        case 1:
        case 2:
            return repoint( *one, lamps_.at( draw( lamps_.size() ) ) );
        case 3:
            return one->hasNotificationActiveIs( !one->hasNotificationActive() );
        case 4:
            return one->zombieIs( !one->isZombie() );
        case 5:
            return replace( one );
        default:
            return change();
        }
    }
    // Sets a lamp, which tells whoever has ears and is in its line at the beginning and at its
    // turn.
    void change() {
        if ( deliveries_.size() >= mostDeliveries_ ) {
            return;
        }
        Lamp & lamp = *lamps_.at( draw( 2 ) );
        EXPECT_FALSE( lamp.levelIs( lamp.level() ) ); // no change, nobody is told
        deliveries_.push_back( lines_[&lamp] );
        try {
            EXPECT_TRUE( lamp.levelIs( lamp.level() + 1 ) );
            EXPECT_EQ( next(), nullptr );
        } catch ( const Failure & ) {
        }
        deliveries_.pop_back();
    }

    int calls = 0;

  private:
    struct Failure {};

    struct Reactor : Kel::NotifieeOf<Lamp> {
        Reactor( RandomDeliveries & fixture, Ptr<const Lamp> lamp )
            : NotifieeOf( std::move( lamp ) ), all( fixture ) {}
        ~Reactor() override {
            hears = [] { return false; };
            all.change();
            all.leave( this );
        }
        void onAttribute( AttributeId id, const void * key ) override {
            EXPECT_TRUE( id == Lamp::levelAttr && !key );
            all.called( this );
        }
        RandomDeliveries & all;
        std::function<bool()> hears = [this] { return hasNotificationActive() && !isZombie(); };
    };
    using Line = std::vector<Reactor *>;

    std::size_t draw( std::size_t below ) { return random_() % below; }

    // Who must be called next in the innermost delivery; those without ears miss their turn.
    Reactor * next() {
        Line & turns = deliveries_.back();
        const auto hears = []( const Reactor * one ) { return one->hears(); };
        turns.erase( turns.begin(), std::ranges::find_if( turns, hears ) );
        return turns.empty() ? nullptr : turns.front();
    }
    void called( Reactor * one ) {
        ++calls;
        ASSERT_FALSE( deliveries_.empty() );
        EXPECT_EQ( next(), one );
        std::erase( deliveries_.back(), one );
        for ( std::size_t acts = draw( 3 ); acts > 0; --acts ) {
            act();
        }
        if ( draw( 10 ) == 0 ) {
            throw Failure();
        }
    }

    void join( Reactor * one ) { lines_[one->notifier()].push_back( one ); }
    void leave( Reactor * one ) {
        for ( auto & [lamp, line] : lines_ ) {
            std::erase( line, one );
        }
        for ( Line & turns : deliveries_ ) {
            std::erase( turns, one );
        }
    }
    void registeredIs( Reactor & one, bool registered ) {
        if ( one.isRegisteredNotifiee() != registered ) {
            registered ? join( &one ) : leave( &one );
        }
        one.isRegisteredNotifieeIs( registered );
        EXPECT_EQ( one.isRegisteredNotifiee(), registered && one.notifier() );
    }
    void repoint( Reactor & one, const Ptr<const Lamp> & lamp ) {
        const bool moves = one.notifier() != lamp.get();
        one.notifierIs( lamp );
        if ( moves ) {
            leave( &one );
            join( &one );
        }
    }
    void replace( Ptr<Reactor> & one ) {
        auto made = makePtr<Reactor>( *this, lamps_.at( draw( 2 ) ) );
        EXPECT_FALSE( made->hasNotificationActive() );
        made->hasNotificationActiveIs( true );
        join( made.get() );
        one = std::move( made );
    }

    std::mt19937 random_{ 20240607 };
    const std::array<Ptr<Lamp>, 3> lamps_{ makePtr<Lamp>(), makePtr<Lamp>(), nullptr };
    std::map<const Lamp *, Line> lines_;
    std::size_t mostDeliveries_ = 4;
    std::vector<Line> deliveries_;
    std::array<Ptr<Reactor>, 7> reactors_;
};

TEST( Delivery, AgreesWithPlainListsWhateverHandlersDo ) {
    RandomDeliveries all;
    for ( int round = 0; round < 20000 && !testing::Test::HasFailure(); ++round ) {
        all.change();
        all.act();
    }
    EXPECT_GT( all.calls, 20000 );
}

TEST( Delivery, EntityAndReactorLiveUntilTheHandlerReturns ) {
    int ended = 0;
    auto lamp = makePtr<Lamp>( &ended );
    auto token = std::make_shared<int>();
    const std::weak_ptr<int> reactor = token;
    Ptr<Watcher<Lamp>> first, second;
    first = makePtr<Watcher<Lamp>>( lamp, [&, token]( AttributeId, const void * ) {
        lamp = nullptr;
        second->notifierIs( nullptr );
        first->notifierIs( nullptr );
        first = nullptr;
        EXPECT_TRUE( ended == 0 && !reactor.expired() );
    } );
    second = makePtr<Watcher<Lamp>>( lamp, []( AttributeId, const void * ) { FAIL(); } );
    token = nullptr;
    lamp->levelIs( 1 );
    EXPECT_TRUE( ended == 1 && reactor.expired() );
}

} // namespace
