// Arming, moving, cancelling and expiring timers, with 10, 2,000 and 100,000 of them. Due times are
// spread evenly and unsorted over 30 seconds.

#include "bench/Platform/TimerSets.h"
#include "bench/support/Paired.h"

#include <memory>
#include <numeric>
#include <random>

namespace KelBench {

namespace {

enum class Operation { arm, rearm, cancel, expire };

// Whole milliseconds, as one of the peers counts in them.
std::vector<F64> randomDues( std::size_t count, U32 seed ) {
    std::minstd_rand random( seed );
    std::vector<F64> dues( count );
    for ( F64 & due : dues ) {
        due = static_cast<F64>( random() % static_cast<U32>( horizon * 1000 ) ) / 1000;
    }
    return dues;
}

// Some sets of `count` timers each, and what can be done to all of them. Small sets are several, so
// that there is something to measure.
template <class Timers>
class Sets {
  public:
    explicit Sets( std::size_t count )
        : first_( randomDues( count, 1 ) ), second_( randomDues( count, 2 ) ) {
        for ( std::size_t i = 0; i < std::max<std::size_t>( 1, 200 / count ); ++i ) {
            sets_.push_back( std::make_unique<Timers>( count ) );
        }
    }

    std::size_t timers() const { return sets_.size() * first_.size(); }
    U64 expiries() const {
        return std::accumulate( sets_.begin(), sets_.end(), U64{ 0 },
                                []( U64 sum, const auto & set ) { return sum + set->expiries(); } );
    }

    void act( Operation operation ) {
        switch ( operation ) {
        case Operation::arm:
            each( [&]( Timers & set, std::size_t i ) { set.arm( i, first_[i] ); } );
            break;
        case Operation::rearm:
            each( [&]( Timers & set, std::size_t i ) { set.rearm( i, second_[i] ); } );
            break;
        case Operation::cancel:
            each( []( Timers & set, std::size_t i ) { set.cancel( i ); } );
            break;
        case Operation::expire:
            for ( const auto & set : sets_ ) {
                set->expireAll();
            }
            break;
        }
    }

  private:
    template <class F>
    void each( const F & f ) {
        for ( const auto & set : sets_ ) {
            for ( std::size_t i = 0; i < first_.size(); ++i ) {
                f( *set, i );
            }
        }
    }

    std::vector<std::unique_ptr<Timers>> sets_;
    std::vector<F64> first_;
    std::vector<F64> second_;
};

// Takes the timers through some lives and measures one operation of each; time per timer.
template <class Timers, Operation measured>
void timers( benchmark::State & state ) {
    Sets<Timers> sets( static_cast<std::size_t>( state.range( 0 ) ) );
    std::vector<Operation> life{ Operation::arm, Operation::rearm, Operation::expire };
    if ( measured == Operation::cancel ) {
        life = { Operation::arm, Operation::rearm, Operation::cancel, Operation::expire };
    }
    const std::size_t lives = std::clamp<std::size_t>( 200000 / sets.timers(), 3, 500 );
    Samples samples;
    F64 measuredTime = 0;
    for ( auto _ : state ) {
        for ( std::size_t i = 0; i < lives * life.size(); ++i ) {
            const Operation operation = life[i % life.size()];
            const auto act = [&] { sets.act( operation ); };
            if ( operation == measured ) {
                measuredTime += samples.measure( act, sets.timers() );
            } else {
                act();
            }
        }
        state.SetIterationTime( measuredTime * 1e-9 );
    }
    state.counters["per_timer_ns"] = samples.median();
    if ( sets.expiries() != ( measured == Operation::cancel ? 0 : lives * sets.timers() ) ) {
        state.SkipWithError( "timers were lost" );
    }
}

#define KEL_BENCH_TIMERS( operation )                                                              \
    BENCHMARK( timers<KelTimers, operation> )->Apply( sizes );                                     \
    BENCHMARK( timers<MultimapTimers, operation> )->Apply( sizes );                                \
    BENCHMARK( timers<LazyQueueTimers, operation> )->Apply( sizes );                               \
    BENCHMARK( timers<EvTimers, operation> )->Apply( sizes );                                      \
    BENCHMARK( timers<UvTimers, operation> )->Apply( sizes );

void sizes( benchmark::internal::Benchmark * benchmark ) {
    benchmark->Arg( 10 )->Arg( 2000 )->Arg( 100000 )->Iterations( 1 )->UseManualTime();
}

KEL_BENCH_TIMERS( Operation::arm )
KEL_BENCH_TIMERS( Operation::rearm )
KEL_BENCH_TIMERS( Operation::cancel )
KEL_BENCH_TIMERS( Operation::expire )

} // namespace

} // namespace KelBench
