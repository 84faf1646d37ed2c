// Arming, moving, cancelling and expiring timers, with 10, 2,000 and 100,000 of them. Due times are
// spread evenly and unsorted over 30 seconds.

#include "bench/Platform/TimerSets.h"
#include "bench/support/Paired.h"

#include <memory>
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

// Takes every timer of some sets of `count` timers through its life, and measures one operation of
// it; time per timer. Small numbers of timers have several sets, so that there is something to
// measure.
template <class Timers, Operation measured>
void timers( benchmark::State & state ) {
    const auto count = static_cast<std::size_t>( state.range( 0 ) );
    std::vector<std::unique_ptr<Timers>> sets;
    for ( std::size_t i = 0; i < std::max<std::size_t>( 1, 200 / count ); ++i ) {
        sets.push_back( std::make_unique<Timers>( count ) );
    }
    const std::vector<F64> first = randomDues( count, 1 );
    const std::vector<F64> second = randomDues( count, 2 );
    const auto each = [&]( const auto & f ) {
        for ( const auto & set : sets ) {
            for ( std::size_t i = 0; i < count; ++i ) {
                f( *set, i );
            }
        }
    };
    const auto armFirst = [&] {
        each( [&]( Timers & set, std::size_t i ) { set.arm( i, first[i] ); } );
    };
    const auto rearmSecond = [&] {
        each( [&]( Timers & set, std::size_t i ) { set.rearm( i, second[i] ); } );
    };
    const auto expire = [&] {
        for ( const auto & set : sets ) {
            set->expireAll();
        }
    };
    const auto cancel = [&] { each( []( Timers & set, std::size_t i ) { set.cancel( i ); } ); };

    const std::size_t operations = sets.size() * count;
    const std::size_t lives = std::clamp<std::size_t>( 200000 / operations, 3, 500 );
    Samples samples;
    F64 measuredTime = 0;
    const auto measure = [&]( Operation operation, const auto & f ) {
        if ( operation == measured ) {
            measuredTime += samples.measure( f, operations );
        } else {
            f();
        }
    };
    for ( auto _ : state ) {
        for ( std::size_t life = 0; life < lives; ++life ) {
            measure( Operation::arm, armFirst );
            measure( Operation::rearm, rearmSecond );
            if constexpr ( measured == Operation::cancel ) {
                measure( Operation::cancel, cancel );
            }
            measure( Operation::expire, expire );
        }
        state.SetIterationTime( measuredTime * 1e-9 );
    }
    state.counters["per_timer_ns"] = samples.median();
    const U64 expected = measured == Operation::cancel ? 0 : lives * count;
    for ( const auto & set : sets ) {
        if ( set->expiries() != expected ) {
            state.SkipWithError( "timers were lost" );
        }
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
