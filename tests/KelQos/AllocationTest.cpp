#include "tests/support/SmallChip.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <new>

namespace {

U64 allocations = 0;

} // namespace

// The whole program counts, its libraries included. Not inlined: the compiler would see free() on
// what operator new returned, and take it for a mistake.
void * operator new( std::size_t size ) {
    ++allocations;
    if ( void * const memory = std::malloc( size ) ) {
        return memory;
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete( void * memory ) noexcept { std::free( memory ); }
[[gnu::noinline]] void operator delete( void * memory, std::size_t ) noexcept {
    std::free( memory );
}

namespace {

using namespace KelQos;
using TestSupport::SmallChip;

// Between an attribute change and the last driver call that it causes nothing is taken from the
// heap: the event loop's other work does not wait for the allocator's locks or system calls.
class AllocationTest : public testing::Test {
  protected:
    AllocationTest() {
        chip.mapAllClasses();
        chip.addPort( "Ethernet1", 4 );
        chip.setStatus( "Ethernet1", Interface::enabledStateEnabled );
        intf = chip.addIntf( 4 );
        intf->flowControlTypeIs( flowControlTypePfc );
        intf->tmPpgConfigIs( group );
        intf->tmTxQueueConfigIs( queue );
        chip.pfcSharedState = Kel::makePtr<KelPfcSharedState>(); // nobody watches this one
        chip.start();
        chip.chip.logSinkIs( [this]( std::string_view ) {
            ++calls;
            allocationsAtLastCall = allocations;
        } );
    }

    template <class Change>
    void expectNoAllocation( const char * what, U64 expectedCalls, const Change & change ) {
        calls = 0;
        const U64 before = allocationsAtLastCall = allocations;
        change();
        EXPECT_EQ( allocationsAtLastCall, before ) << what;
        EXPECT_EQ( calls, expectedCalls ) << what;
    }

    SmallChip chip;
    Kel::Ptr<TmIntfConfig> intf;
    Kel::Ptr<TmPpgConfig> group = SmallChip::newPpg( 3, 0x08, true, 20 );
    Kel::Ptr<TmTxQueueConfig> queue = SmallChip::newQueue( 3, 20 );
    U64 calls = 0;
    U64 allocationsAtLastCall = 0;
};

TEST_F( AllocationTest, changesOfOneAttributeNeedNoHeap ) {
    expectNoAllocation( "pfcEnabled off", 12, [&] { group->pfcEnabledIs( false ); } );
    expectNoAllocation( "pfcEnabled on", 12, [&] { group->pfcEnabledIs( true ); } );
    expectNoAllocation( "internalCosBmp", 11, [&] { group->internalCosBmpIs( 1 ); } );
    expectNoAllocation( "group minLimitCells", 11, [&] { group->minLimitCellsIs( 30 ); } );
    expectNoAllocation( "group dynamicThreshold", 1, [&] { group->dynamicThresholdIs( baf5 ); } );
    expectNoAllocation( "queue minLimitCells", 12, [&] { queue->minLimitCellsIs( 30 ); } );
    expectNoAllocation( "priority", 2, [&] { queue->priorityIs( 1 ); } );
    expectNoAllocation( "rateParams", 4, [&] {
        queue->rateParamsIs( RateParams( ShapeRate( 1, 1000, 10 ), false, 500, 5 ) );
    } );
    expectNoAllocation( "shapeRate", 2, [&] { intf->shapeRateIs( ShapeRate( 1, 1000, 10 ) ); } );
    expectNoAllocation( "cosToTc", 1, [&] { chip.tmConfig->cosToTcIs( Cos( 2 ), 1 ); } );
    expectNoAllocation( "flowControlType", 12,
                        [&] { intf->flowControlTypeIs( flowControlTypeNone ); } );
    expectNoAllocation( "disabled interface", 2,
                        [&] { chip.setStatus( "Ethernet1", Interface::enabledStateDisabled ); } );
    expectNoAllocation( "totalCellsAvailableForIngress", 10,
                        [&] { chip.tmBufferParams->totalCellsAvailableForIngressIs( 90000 ); } );
}

// Over-reservation arms the syslog clock on the way.
TEST_F( AllocationTest, overReservationNeedsNoHeap ) {
    expectNoAllocation( "too many cells", 12, [&] { queue->minLimitCellsIs( 300000 ); } );
    expectNoAllocation( "few enough again", 12, [&] { queue->minLimitCellsIs( 20 ); } );
}

} // namespace
