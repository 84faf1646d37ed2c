#include "Platform/Framework/Pool.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

namespace {

struct Item : Kel::Pooled<Item> {
    explicit Item( int n ) : number( n ) {
        if ( n < 0 ) {
            throw std::invalid_argument( "negative" );
        }
    }
    virtual ~Item() = default;

    const int number;
    long double wide = number; // wants the strictest alignment
};

struct LargerItem : Item {
    using Item::Item;
    std::array<int, 100> more{};
};

TEST( PoolTest, ObjectsOfAPoolKeepApartWhileOthersComeAndGo ) {
    std::vector<std::unique_ptr<Item>> items;
    for ( int i = 0; i < 1000; ++i ) {
        items.push_back( std::make_unique<Item>( i ) );
        if ( i % 7 == 0 ) {
            items.push_back( std::make_unique<LargerItem>( i ) );
        }
        if ( i % 3 == 0 ) {
            items.erase( items.begin() + i / 2 );
        }
        EXPECT_THROW( std::make_unique<Item>( -1 ), std::invalid_argument );
    }
    for ( const auto & item : items ) {
        EXPECT_EQ( item->wide, item->number );
    }
    items.clear();
    items.push_back( std::make_unique<Item>( 1 ) ); // after the slabs have gone
    EXPECT_EQ( items.front()->wide, 1 );
}

TEST( PoolTest, ABlockThatIsGivenBackIsTheNextOneTaken ) {
    Kel::Pool pool;
    void * const first = pool.take( 48 );
    std::set<void *> blocks{ first };
    for ( int i = 0; i < 200; ++i ) {
        blocks.insert( pool.take( 48 ) );
    }
    EXPECT_EQ( blocks.size(), 201 );
    pool.give( first );
    EXPECT_EQ( pool.take( 48 ), first );
    for ( void * block : blocks ) {
        pool.give( block );
    }
}

} // namespace
