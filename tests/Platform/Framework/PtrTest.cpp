#include "Platform/Framework/Ptr.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using Kel::makePtr;
using Kel::Ptr;

struct Base : Kel::Counted {
    explicit Base( int & ended ) : ended_( ended ) {
        { const Ptr<Base> early( this ); } // must not end it before it is made
        EXPECT_EQ( refCount(), 1 );
    }
    ~Base() override {
        EXPECT_TRUE( isBeingDestroyed() );
        { const Ptr<Base> again( this ); } // must not end it a second time
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
    moved = *&moved;       // onto itself
    EXPECT_TRUE( moved->refCount() == 1 && ended == 0 );
    moved = nullptr;
    EXPECT_EQ( ended, 1 );
    Kel::construct<Derived>( ended );
    EXPECT_EQ( ended, 2 );
    static_assert( sizeof( Ptr<Base> ) == sizeof( void * ) );
    static_assert( !std::is_convertible_v<Ptr<const Base>, Ptr<Base>> );
    static_assert( !std::is_convertible_v<Base *, Ptr<Base>> );
}

TEST( PtrTest, AtomicSwitchMakesCountsSafeAcrossThreads ) {
    Kel::refCountAtomicIs( true );
    int ended = 0;
    Ptr<Base> object = makePtr<Base>( ended );
    const auto copy = [object] {
        for ( int i = 0; i < 100000; ++i ) {
            const Ptr<Base> reference = object;
            const Ptr<Base> none = Ptr<Base>();
        }
    };
    std::thread one( copy );
    std::thread two( copy );
    one.join();
    two.join();
    EXPECT_EQ( object->refCount(), 2 ); // object and the closure's copy
    makePtr<Base>( ended );
    EXPECT_TRUE( ended == 1 && Kel::refCountAtomic() );
    Kel::refCountAtomicIs( false );
    EXPECT_FALSE( Kel::refCountAtomic() );
}

} // namespace
