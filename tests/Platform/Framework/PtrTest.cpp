#include "Platform/Framework/Ptr.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace {

using Kel::makePtr;
using Kel::Ptr;

struct Base : Kel::Counted {
    explicit Base( int & ended ) : ended_( ended ) {}
    ~Base() override {
        EXPECT_TRUE( isBeingDestroyed() );
        {
            const Ptr<Base> again( this ); // must not end it a second time
        }
        EXPECT_LT( refCount(), 0 );
        ++ended_;
    }
    int & ended_;
};
struct Derived : Base {
    using Base::Base;
    static Ptr<Derived> creation( int & ended ) { return makePtr<Derived>( ended ); }
};

TEST( PtrTest, CountsReferencesAndEndsTheObjectOnce ) {
    int ended = 0;
    Ptr<Derived> first = makePtr<Derived>( ended );
    EXPECT_EQ( first->refCount(), 1 );
    {
        const Ptr<const Base> base = first; // to the base, read-only
        const Ptr<Derived> shared( first.get() );
        EXPECT_EQ( first->refCount(), 3 );
        EXPECT_TRUE( base == Ptr<const Base>( first ) );
    }
    Ptr<Base> moved = std::move( first );
    EXPECT_FALSE( first ); // NOLINT(bugprone-use-after-move): moving leaves null, by contract
    EXPECT_EQ( moved->refCount(), 1 );
    moved = *&moved; // onto itself
    EXPECT_EQ( moved->refCount(), 1 );
    EXPECT_EQ( ended, 0 );
    moved = nullptr;
    EXPECT_EQ( ended, 1 );

    Kel::construct<Derived>( ended );
    EXPECT_EQ( ended, 2 );
    static_assert( sizeof( Ptr<Base> ) == sizeof( void * ) );
    static_assert( !std::is_convertible_v<Ptr<const Base>, Ptr<Base>> );
    static_assert( !std::is_convertible_v<Base *, Ptr<Base>> );
}

TEST( PtrTest, ObjectMayReferToItselfWhileItIsMade ) {
    struct Selfish : Kel::Counted {
        Selfish() {
            { const Ptr<Selfish> self( this ); }
            if ( refCount() != 1 ) {
                throw std::logic_error( "count" );
            }
        }
    };
    EXPECT_EQ( makePtr<Selfish>()->refCount(), 1 );
}

TEST( PtrTest, AtomicSwitchMakesCountsSafeAcrossThreads ) {
    Kel::refCountAtomicIs( true );
    int ended = 0;
    Ptr<Base> object = makePtr<Base>( ended );
    const auto copy = [object] {
        for ( int i = 0; i < 200000; ++i ) {
            const Ptr<Base> reference = object;
        }
    };
    std::thread one( copy );
    std::thread two( copy );
    one.join();
    two.join();
    EXPECT_EQ( object->refCount(), 2 ); // object and the closure's copy
    Kel::refCountAtomicIs( false );
}

} // namespace
