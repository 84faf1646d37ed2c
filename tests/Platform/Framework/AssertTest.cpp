#include "Platform/Framework/Assert.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

int checkedHalf( int number ) {
    KEL_ASSERT( number % 2 == 0 );
    return number / 2;
}

TEST( AssertTest, BrokenInvariantPrintsItsPlaceAndAborts ) {
    EXPECT_EQ( checkedHalf( 4 ), 2 );
    EXPECT_EXIT( checkedHalf( 3 ), testing::KilledBySignal( SIGABRT ),
                 "^tests/Platform/Framework/AssertTest.cpp:[0-9]+: int "
                 ".*checkedHalf\\(int\\): Assertion \"number % 2 == 0\" failed.\n$" );
    EXPECT_DEATH( KEL_FAILED( "port known", "no such port: 72" ),
                  "^Failed\\(port known\\) no such port: 72\ntests/.*: Assertion \"port known\" "
                  "failed.\n$" );
}

TEST( AssertTest, HookRunsOnceBeforeTheAbortWhateverItDoes ) {
    const auto failWithHook = []( void ( *hook )() ) {
        Kel::abortHookIs( hook );
        checkedHalf( 1 );
    };
    const auto failing = [] {
        std::fputs( "hook\n", stderr );
        checkedHalf( 5 );
    };
    EXPECT_DEATH( failWithHook( failing ), "failed.\nhook\ntests/.* failed.\n$" );
    EXPECT_DEATH( failWithHook( [] { throw 1; } ), "failed.\n" );
    EXPECT_DEATH( failWithHook( nullptr ), "failed.\n$" );
}

} // namespace
