#include "Platform/Framework/HashMap.h"
#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/RbTreeMap.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

namespace {

using Kel::HashMap;

template <class Map>
std::string keysOf( const Map & map ) {
    std::string keys;
    for ( const auto & entry : map ) {
        keys += std::to_string( entry.key ) + " ";
    }
    return keys;
}

TEST( HashMapTest, IteratesInInsertionOrder ) {
    HashMap<int, std::string> map;
    for ( const int key : { 30, 10, 20, 40 } ) {
        EXPECT_TRUE( map.insertOrAssign( key, "first" ) );
    }
    EXPECT_FALSE( map.insertOrAssign( 10, "second" ) ); // keeps its place
    EXPECT_EQ( *map.find( 10 ), "second" );
    EXPECT_TRUE( map.erase( 30 ) );
    EXPECT_FALSE( map.erase( 30 ) );
    EXPECT_EQ( map.find( 30 ), nullptr );
    map.insertOrAssign( 30, "again" ); // goes to the end
    EXPECT_EQ( keysOf( map ), "10 20 40 30 " );
    EXPECT_EQ( map.take( 20 ), "first" );
    EXPECT_EQ( map.take( 20 ), std::nullopt );
    map.clear();
    EXPECT_TRUE( map.empty() );
    EXPECT_EQ( keysOf( map ), "" );
}

TEST( HashMapTest, LoopEndsEvenIfItsBodyReplacesEveryEntry ) {
    HashMap<int, int> map;
    for ( int key = 0; key < 5; ++key ) {
        map.insertOrAssign( key, key );
    }
    int visits = 0;
    for ( const auto entry : map ) {
        ++visits;
        map.erase( entry.key );
        map.insertOrAssign( entry.key, 0 );
        map.insertOrAssign( 100 + entry.key, 0 );
    }
    EXPECT_EQ( visits, 5 );
    EXPECT_EQ( keysOf( map ), "0 100 1 101 2 102 3 103 4 104 " );
    for ( const auto entry : map ) {
        EXPECT_EQ( entry.key, 0 );
        map.clear();
        map.insertOrAssign( 9, 9 );
    }
    EXPECT_EQ( keysOf( map ), "9 " );
}

// Destructors of removed values reach back into the map that lets them go.
TEST( HashMapTest, SurvivesDestructorsThatChangeIt ) {
    struct Chained : Kel::Counted {
        Chained( HashMap<int, Kel::Ptr<Chained>> & map, int other )
            : map_( map ), other_( other ) {}
        ~Chained() override { map_.erase( other_ ); }
        HashMap<int, Kel::Ptr<Chained>> & map_;
        int other_;
    };
    HashMap<int, Kel::Ptr<Chained>> map;
    for ( int key = 0; key < 20; ++key ) {
        map.insertOrAssign( key, Kel::makePtr<Chained>( map, ( key + 7 ) % 20 ) );
    }
    map.insertOrAssign( 0, nullptr ); // 0 takes 7 along, that 14, 1, and so on, back to 0 itself
    EXPECT_EQ( map.size(), 0U );
    for ( int key = 0; key < 20; ++key ) {
        map.insertOrAssign( key, Kel::makePtr<Chained>( map, key / 2 ) );
    }
    map.clear();
    EXPECT_EQ( map.size(), 0U );
}

// Hashes to few values, so that runs of the table collide, wrap around and are closed again.
struct Clashing {
    U32 number = 0;
    std::size_t hash() const { return number % 5; }
    friend auto operator<=>( const Clashing &, const Clashing & ) = default;
};
struct Spread {
    U32 number = 0;
    std::size_t hash() const { return number; }
    friend auto operator<=>( const Spread &, const Spread & ) = default;
};

// A map beside a plain reference: entries by key, and keys by the moment of their insertion.
template <class Key>
class Pair {
  public:
    Pair( U32 keys, U32 seed ) : keys_( keys ), random_( seed ) {}

    void change() {
        const Key key{ draw( keys_ ) };
        const U32 choice = draw( 1000 );
        if ( choice < 1 ) {
            map_.clear();
            byKey_.clear();
            byMoment_.clear();
        } else if ( choice < share_ ) {
            insert( key );
        } else {
            const auto found = byKey_.find( key );
            ASSERT_EQ( map_.erase( key ), found != byKey_.end() );
            if ( found != byKey_.end() ) {
                byMoment_.erase( found->second.moment );
                byKey_.erase( found );
            }
        }
        ASSERT_EQ( map_.size(), byKey_.size() );
    }

    // Walks through the map, changing it on the way, in nested walks as well.
    void walk( int depth ) {
        const U64 end = moment_;
        U64 next = 0;
        for ( const auto entry : map_ ) {
            const auto expected = byMoment_.lower_bound( next );
            ASSERT_TRUE( expected != byMoment_.end() && expected->first < end );
            ASSERT_EQ( entry.key, expected->second );
            ASSERT_EQ( entry.value, byKey_.at( entry.key ).value );
            next = expected->first + 1;
            for ( U32 changes = draw( 4 ); changes > 0; --changes ) {
                change();
            }
            if ( depth > 0 && draw( 16 ) == 0 ) {
                walk( depth - 1 );
            }
        }
        const auto left = byMoment_.lower_bound( next );
        ASSERT_TRUE( left == byMoment_.end() || left->first >= end );
    }

    void compare() {
        for ( U32 number = 0; number < keys_; ++number ) {
            const auto found = byKey_.find( Key{ number } );
            const U64 * value = map_.find( Key{ number } );
            ASSERT_EQ( value != nullptr, found != byKey_.end() );
            ASSERT_TRUE( !value || *value == found->second.value );
        }
        share_ = draw( 2 ) == 0 ? 320 : 720; // grows for a while, then shrinks
    }

  private:
    U32 draw( U32 below ) { return static_cast<U32>( random_() ) % below; }

    void insert( Key key ) {
        const U64 value = random_();
        auto [found, isNew] = byKey_.try_emplace( key );
        ASSERT_EQ( map_.insertOrAssign( key, value ), isNew );
        found->second.value = value;
        if ( isNew ) {
            found->second.moment = moment_;
            byMoment_[moment_++] = key;
        }
    }

    struct Entry {
        U64 value;
        U64 moment;
    };
    HashMap<Key, U64> map_;
    std::map<Key, Entry> byKey_;
    std::map<U64, Key> byMoment_;
    U64 moment_ = 0;
    U32 keys_;
    std::mt19937 random_;
    U32 share_ = 720; // of insertions among 1000 changes
};

template <class Key>
void playAgainstReference( U32 keys, U32 seed ) {
    Pair<Key> pair( keys, seed );
    for ( int round = 0; round < 60 && !testing::Test::HasFailure(); ++round ) {
        for ( int i = 0; i < 300; ++i ) {
            pair.change();
        }
        pair.compare();
        pair.walk( 2 );
        pair.compare();
    }
}

TEST( HashMapTest, AgreesWithReferenceUnderRandomChangesAndWalks ) {
    playAgainstReference<Clashing>( 12, 1 );
    playAgainstReference<Clashing>( 60, 2 );
    playAgainstReference<Spread>( 40, 3 );
    playAgainstReference<Spread>( 500, 4 );
}

TEST( RbTreeMapTest, IteratesInKeyOrderAndAbortsOnADuplicate ) {
    Kel::RbTreeMap<std::string, int> map;
    for ( const char * key : { "b", "a", "B", "A" } ) {
        map.insert( key, 1 );
    }
    std::string keys;
    for ( const auto & [key, value] : map ) {
        keys += key;
    }
    EXPECT_EQ( keys, "ABab" );
    EXPECT_EQ( map.erase( map.begin() )->first, "B" );
    EXPECT_FALSE( map.erase( "A" ) );
    EXPECT_DEATH( map.insert( "b", 2 ), "Assertion \"inserted\" failed" );
    EXPECT_EQ( *map.find( "b" ), 1 );
}

} // namespace
