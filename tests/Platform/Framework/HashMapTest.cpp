#include "Platform/Framework/HashMap.h"
#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/RbTreeMap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using Kel::HashMap;

// Keys that crowd in five places, so that runs in the index collide, wrap around and are closed
// again; and keys that spread.
struct Clashing {
    U32 number = 0;
    std::size_t hash() const { return number % 5; }
    friend bool operator==( const Clashing &, const Clashing & ) = default;
};
struct Spread {
    U32 number = 0;
    std::size_t hash() const { return number; }
    friend bool operator==( const Spread &, const Spread & ) = default;
};

// A value of which one knows how many there are.
struct Value {
    explicit Value( U64 n = 0 ) : number( n ) { ++alive; }
    Value( const Value & other ) : Value( other.number ) {}
    Value & operator=( const Value & ) = default;
    ~Value() { --alive; }
    U64 number;
    static inline std::size_t alive = 0;
};

// A map beside a plain list of its entries, which has them in the order of their insertion.
template <class Key>
class Pair {
  public:
    Pair( U32 keys, U32 seed ) : keys_( keys ), random_( seed ) {}

    void change() {
        const U32 choice = draw( 1000 );
        if ( choice < 1 ) {
            map_.clear();
            list_.clear();
        } else if ( choice < share_ ) {
            insert( Key{ draw( keys_ ) } );
        } else {
            take( Key{ draw( keys_ ) } );
        }
        ASSERT_EQ( map_.size(), list_.size() );
        ASSERT_EQ( map_.empty(), list_.empty() );
    }

    // Walks through the map, changing it on the way, in nested walks as well.
    void walk( int depth ) {
        const U64 end = moment_;
        U64 next = 0;
        const auto toVisit = [&] {
            return std::ranges::find_if(
                list_, [&]( const Entry & e ) { return e.moment >= next && e.moment < end; } );
        };
        ++walks_;
        for ( const auto entry : map_ ) {
            const auto expected = toVisit();
            ASSERT_NE( expected, list_.end() );
            ASSERT_TRUE( entry.key == expected->key && entry.value.number == expected->value );
            next = expected->moment + 1;
            for ( U32 changes = draw( 4 ); changes > 0; --changes ) {
                change();
            }
            if ( depth > 0 && draw( 16 ) == 0 ) {
                walk( depth - 1 );
            }
        }
        --walks_;
        ASSERT_EQ( toVisit(), list_.end() );
    }

    void compare() {
        for ( U32 number = 0; number < keys_; ++number ) {
            const auto found = listed( Key{ number } );
            const Value * value = map_.find( Key{ number } );
            ASSERT_TRUE( value ? found != list_.end() && value->number == found->value
                               : found == list_.end() );
            ASSERT_EQ( map_.contains( Key{ number } ), value != nullptr );
        }
        auto expected = list_.begin();
        map_.visit( [&]( const Key & key, const Value & value ) {
            ASSERT_TRUE( key == expected->key && value.number == expected->value );
            ++expected;
        } );
        ASSERT_EQ( expected, list_.end() );
        share_ = draw( 2 ) == 0 ? 320 : 720; // grows for a while, then shrinks
    }

  private:
    struct Entry {
        Key key;
        U64 value;
        U64 moment;
    };

    U32 draw( U32 below ) { return static_cast<U32>( random_() ) % below; }
    auto listed( const Key & key ) { return std::ranges::find( list_, key, &Entry::key ); }

    void insert( const Key & key ) {
        const U64 value = random_();
        const auto present = listed( key );
        ASSERT_EQ( map_.insertOrAssign( key, Value( value ) ), present == list_.end() );
        if ( present != list_.end() ) {
            present->value = value;
            return;
        }
        list_.push_back( { key, value, moment_++ } );
        // Gaps do not pile up.
        ASSERT_TRUE( walks_ > 0 || Value::alive <= 2 * map_.size() + Kel::HashIndex::few );
    }
    void take( const Key & key ) {
        const auto present = listed( key );
        const std::optional<Value> taken = map_.take( key );
        ASSERT_EQ( taken.has_value(), present != list_.end() );
        if ( taken ) {
            ASSERT_EQ( taken->number, present->value );
            list_.erase( present );
            ASSERT_TRUE( walks_ > 0 || !list_.empty() || Value::alive == 1 ); // no gap stays
        }
    }

    HashMap<Key, Value> map_;
    std::vector<Entry> list_;
    U64 moment_ = 0; // insertions so far
    U32 keys_;
    std::mt19937 random_;
    U32 share_ = 720; // of insertions among 1000 changes
    int walks_ = 0;   // under way
};

template <class Key>
void playAgainstReference( U32 keys, int rounds ) {
    Pair<Key> pair( keys, keys );
    for ( int round = 0; round < rounds && !testing::Test::HasFailure(); ++round ) {
        for ( int changes = 18000 / rounds; changes > 0; --changes ) {
            pair.change();
        }
        pair.compare();
        pair.walk( 2 );
        pair.compare();
    }
}

TEST( HashMapTest, AgreesWithReferenceUnderRandomChangesAndWalks ) {
    playAgainstReference<Spread>( 3, 6000 );   // is empty again and again, also while it is walked
    playAgainstReference<Clashing>( 10, 100 ); // about as many as do without an index of their own
    playAgainstReference<Clashing>( 60, 60 );
    playAgainstReference<Spread>( 40, 60 );
    playAgainstReference<Spread>( 500, 60 );
}

// Destructors of removed values reach back into the map that lets them go.
TEST( HashMapTest, SurvivesDestructorsThatChangeIt ) {
    struct Chained : Kel::Counted {
        explicit Chained( std::function<void()> last ) : last_( std::move( last ) ) {}
        ~Chained() override { last_(); }
        std::function<void()> last_;
    };
    HashMap<int, Kel::Ptr<Chained>> map;
    for ( int key = 0; key < 20; ++key ) {
        map.insertNew( key, Kel::makePtr<Chained>( [&, key] { map.erase( ( key + 7 ) % 20 ); } ) );
    }
    map.insertOrAssign( 0, nullptr ); // 0 takes 7 along, that 14, 1, and so on, back to 0 itself
    EXPECT_EQ( map.size(), 0U );
    for ( int key = 0; key < 20; ++key ) {
        map.insertNew( key,
                       Kel::makePtr<Chained>( [&, key] { map.insertOrAssign( key / 2, {} ); } ) );
    }
    map.clear();
    EXPECT_EQ( map.size(), 0U );
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
    EXPECT_TRUE( map.erase( "a" ) && !map.erase( "A" ) );
    EXPECT_TRUE( map.contains( "B" ) && !map.contains( "a" ) && map.size() == 2 );
    EXPECT_DEATH( map.insert( "b", 2 ), "Assertion \"inserted\" failed" );
    map.insertOrAssign( "b", 3 );
    EXPECT_TRUE( *map.find( "b" ) == 3 && *std::as_const( map ).find( "b" ) == 3 );
    EXPECT_TRUE( !map.find( "c" ) && !std::as_const( map ).find( "c" ) );
    map.clear();
    EXPECT_TRUE( map.empty() );
}

} // namespace
