#include "tests/Platform/Framework/TestEntities.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <random>
#include <stdexcept>

namespace {

using Kel::AttributeId;
using Kel::makePtr;
using Kel::Ptr;

// A lamp with watchers that note their name and the level that they see.
struct Delivery : testing::Test {
    // What the named watcher does besides; it is told the level.
    using Deed = std::function<void( int level )>;

    Watcher<Lamp> & watch( const std::string & name, Deed deed = {} ) {
        auto action = [this, name, deed = std::move( deed )]( AttributeId id, const void * key ) {
            EXPECT_EQ( id, Lamp::levelAttr );
            EXPECT_EQ( key, nullptr );
            const int level = lamp->level();
            log.push_back( name + std::to_string( level ) );
            if ( deed ) {
                deed( level );
            }
        };
        return *( watchers[name] = makePtr<Watcher<Lamp>>( lamp, std::move( action ) ) );
    }
    Log levelIs( int level ) {
        log.clear();
        lamp->levelIs( level );
        return log;
    }

    Ptr<Lamp> lamp = makePtr<Lamp>();
    std::map<std::string, Ptr<Watcher<Lamp>>> watchers;
    Log log;
};

TEST_F( Delivery, TellsInOrderOfRegistrationAndOnlyOfChanges ) {
    watch( "a" );
    watch( "b" );
    watch( "c" );
    EXPECT_EQ( levelIs( 1 ), Log( { "a1", "b1", "c1" } ) );
    EXPECT_EQ( levelIs( 1 ), Log() );

    watchers["a"]->isRegisteredNotifieeIs( false );
    watchers["a"]->isRegisteredNotifieeIs( true );
    EXPECT_EQ( levelIs( 2 ), Log( { "b2", "c2", "a2" } ) );
    watchers["b"]->notifierIs( lamp ); // the present one: keeps its place
    EXPECT_EQ( levelIs( 3 ), Log( { "b3", "c3", "a3" } ) );
}

TEST_F( Delivery, SkipsThoseThatAreSwitchedOffOrZombies ) {
    watch( "a", [this]( int level ) {
        watchers["b"]->hasNotificationActiveIs( level != 1 );
        watchers["c"]->zombieIs( level == 2 );
    } );
    watch( "b" );
    watch( "c" );
    EXPECT_EQ( levelIs( 1 ), Log( { "a1", "c1" } ) );
    EXPECT_EQ( levelIs( 2 ), Log( { "a2", "b2" } ) ); // what b missed stays missed
}

TEST_F( Delivery, ReactorThatIsBeingDestroyedHearsNothing ) {
    struct Dying : Watcher<Lamp> {
        using Watcher<Lamp>::Watcher;
        ~Dying() override {
            EXPECT_LT( refCount(), 0 );
            lamp->levelIs( 7 );
        }
        Ptr<Lamp> lamp;
    };
    auto dying = makePtr<Dying>( lamp, []( AttributeId, const void * ) { FAIL(); } );
    dying->lamp = lamp;
    watch( "a" );
    dying = nullptr;
    EXPECT_EQ( log, Log( { "a7" } ) );
}

// Whoever leaves before its turn is not called, wherever it stands in the line; it does not matter
// whether it unregisters, is pointed elsewhere or is dropped by its owner.
TEST_F( Delivery, ForgetsThoseThatLeaveMeanwhile ) {
    struct Case {
        std::string leavers;
        Log told;
        Log toldNext;
    };
    const std::vector<Case> cases{
        { "a", { "a1", "b1", "c1", "d1" }, { "b2", "c2", "d2" } },
        { "b", { "a1", "c1", "d1" }, { "a2", "c2", "d2" } },
        { "d", { "a1", "b1", "c1" }, { "a2", "b2", "c2" } },
        { "cd", { "a1", "b1" }, { "a2", "b2" } },
        { "dcb", { "a1" }, { "a2" } },
        { "bcd", { "a1" }, { "a2" } },
        { "abcd", { "a1" }, {} },
        { "badc", { "a1" }, {} },
    };
    const auto other = makePtr<Lamp>();
    const std::vector<std::function<void( Ptr<Watcher<Lamp>> & )>> ways{
        []( auto & watcher ) { watcher->isRegisteredNotifieeIs( false ); },
        [&]( auto & watcher ) { watcher->notifierIs( other ); },
        []( auto & watcher ) { watcher->notifierIs( nullptr ); },
        []( auto & watcher ) { watcher = nullptr; },
    };
    for ( const Case & c : cases ) {
        for ( const auto & leave : ways ) {
            lamp = makePtr<Lamp>();
            watch( "a", [&]( int ) {
                for ( const char name : c.leavers ) {
                    leave( watchers[std::string( 1, name )] );
                }
            } );
            for ( const char * name : { "b", "c", "d" } ) {
                watch( name );
            }
            EXPECT_EQ( levelIs( 1 ), c.told ) << c.leavers;
            EXPECT_EQ( levelIs( 2 ), c.toldNext ) << c.leavers;
        }
    }
}

TEST_F( Delivery, LeavesThoseThatComeMeanwhileForTheNextChange ) {
    watch( "a", [this]( int level ) {
        if ( level == 1 ) {
            watch( "late" );
            watchers["b"]->isRegisteredNotifieeIs( false );
            watchers["b"]->isRegisteredNotifieeIs( true ); // gave up its place
        }
    } );
    watch( "b" );
    EXPECT_EQ( levelIs( 1 ), Log( { "a1" } ) );
    EXPECT_EQ( levelIs( 2 ), Log( { "a2", "late2", "b2" } ) );
}

TEST_F( Delivery, ReactorDroppedInItsOwnHandlerLivesUntilItReturns ) {
    bool ended = false;
    struct Mortal : Watcher<Lamp> {
        Mortal( Ptr<const Lamp> lamp, Action action, bool & ended )
            : Watcher<Lamp>( std::move( lamp ), std::move( action ) ), ended_( ended ) {}
        ~Mortal() override { ended_ = true; }
        bool & ended_;
    };
    Ptr<Mortal> mortal;
    const auto suicide = [&]( AttributeId, const void * ) {
        mortal = nullptr;
        EXPECT_FALSE( ended );
    };
    mortal = makePtr<Mortal>( lamp, suicide, ended );
    watch( "b" );
    EXPECT_EQ( levelIs( 1 ), Log( { "b1" } ) );
    EXPECT_TRUE( ended );
}

TEST_F( Delivery, EntityLivesUntilAllAreTold ) {
    int ended = 0;
    lamp = makePtr<Lamp>( &ended );
    Lamp & dropped = *lamp;
    Ptr<Watcher<Lamp>> first, second;
    first = makePtr<Watcher<Lamp>>( lamp, [&]( AttributeId, const void * ) {
        first->notifierIs( nullptr );
        second->notifierIs( nullptr );
        lamp = nullptr;
        EXPECT_EQ( ended, 0 );
    } );
    second = makePtr<Watcher<Lamp>>( lamp, []( AttributeId, const void * ) { FAIL(); } );
    dropped.levelIs( 1 );
    EXPECT_EQ( ended, 1 );
}

TEST_F( Delivery, DeliversChangesMadeInHandlersAtOnce ) {
    watch( "a", [this]( int level ) {
        if ( level < 3 ) {
            lamp->levelIs( level + 1 );
        }
    } );
    watch( "b", [this]( int ) { watchers["c"] = nullptr; } ); // from all three deliveries
    watch( "c" );
    EXPECT_EQ( levelIs( 1 ), Log( { "a1", "a2", "a3", "b3", "b3", "b3" } ) );
}

TEST_F( Delivery, ExceptionEndsItAndDoesNoHarm ) {
    watch( "a", []( int level ) {
        if ( level == 1 ) {
            throw std::runtime_error( "handler" );
        }
    } );
    watch( "b" );
    EXPECT_THROW( levelIs( 1 ), std::runtime_error );
    EXPECT_EQ( log, Log( { "a1" } ) );
    EXPECT_EQ( lamp->level(), 1 );
    watchers["a"]->isRegisteredNotifieeIs( false );
    EXPECT_EQ( levelIs( 2 ), Log( { "b2" } ) );
}

// Handlers come, leave and change the lamp again at random; a list of those whose turn is still to
// come, one for each delivery under way, says who must be called next.
TEST_F( Delivery, AgreesWithPlainListsWhateverHandlersDo ) {
    constexpr int count = 7;
    std::mt19937 random( 20240607 );
    std::vector<Ptr<Watcher<Lamp>>> all;
    std::vector<int> line;
    std::deque<std::vector<int>> pending;
    int calls = 0;

    const auto toggle = [&]( int who ) {
        Watcher<Lamp> & watcher = *all[static_cast<std::size_t>( who )];
        const bool leaves = watcher.isRegisteredNotifiee();
        watcher.isRegisteredNotifieeIs( !leaves );
        if ( leaves ) {
            std::erase( line, who );
            std::for_each( pending.begin(), pending.end(),
                           [who]( auto & turns ) { std::erase( turns, who ); } );
        } else {
            line.push_back( who );
        }
    };
    const auto change = [&] {
        pending.push_back( line );
        lamp->levelIs( lamp->level() + 1 );
        EXPECT_TRUE( pending.back().empty() );
        pending.pop_back();
    };
    const auto called = [&]( int who ) {
        ++calls;
        ASSERT_FALSE( pending.back().empty() );
        ASSERT_EQ( pending.back().front(), who );
        pending.back().erase( pending.back().begin() );
        for ( auto deeds = random() % 3; deeds > 0; --deeds ) {
            toggle( static_cast<int>( random() % count ) );
        }
        if ( pending.size() < 3 && random() % 4 == 0 ) {
            change();
        }
    };
    for ( int who = 0; who < count; ++who ) {
        all.push_back( makePtr<Watcher<Lamp>>(
            lamp, [&called, who]( AttributeId, const void * ) { called( who ); } ) );
        line.push_back( who );
    }
    for ( int round = 0; round < 3000 && !HasFailure(); ++round ) {
        change();
        toggle( static_cast<int>( random() % count ) );
    }
    EXPECT_GT( calls, 3000 );
}

} // namespace
