#include "Platform/Framework/Pool.h"

#include <gtest/gtest.h>

#include <array>
#include <malloc.h>
#include <memory>
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
}

TEST( PoolTest, SlabsGoWhenNoBlockIsInUse ) {
    Kel::Pool pool;
    const auto heap = [] { return mallinfo2().uordblks; };
    const auto empty = heap();
    std::array<void *, 200> blocks{};
    for ( int round = 0; round < 2; ++round ) {
        for ( void *& block : blocks ) {
            block = pool.take( 48 );
        }
        EXPECT_TRUE( KEL_ADDRESS_SANITIZER || heap() > empty + blocks.size() * 48 );
        pool.give( blocks[7] );
        EXPECT_EQ( pool.take( 48 ), blocks[7] ); // what is given back is taken next
        for ( void * block : blocks ) {
            pool.give( block );
        }
        EXPECT_EQ( heap(), empty );
    }
}

} // namespace
