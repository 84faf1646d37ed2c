// Turns the JSON results of the benchmarks into the tables of docs/performance.md:
//
//     report-figures RESULT.json...
//
// Writes Markdown to standard output: what was aimed at and what was reached, then every median.

#include "bench/Report/Bounds.h"
#include "bench/Report/Results.h"

#include <cstdio>
#include <exception>

namespace {

using namespace KelBench;

void printBounds( const Results & results ) {
    std::puts( "| what | at most | measured | |" );
    std::puts( "|---|---:|---:|---|" );
    for ( const Bound & bound : bounds() ) {
        const F64 measured = bound.measure( results );
        std::printf( "| %s | %.4g%s | %.3g%s | %s |\n", bound.what.c_str(), bound.atMost,
                     bound.unit, measured, bound.unit,
                     measured <= bound.atMost ? "reached" : "**missed**" );
    }
}

void printMedians( const Results & results ) {
    std::puts( "\n| benchmark | time | counters |\n|---|---:|---|" );
    for ( const auto & [name, result] : results.all() ) {
        std::printf( "| `%s` | %.4g %s |", name.c_str(), result.time, result.unit.c_str() );
        for ( const auto & [counter, value] : result.counters ) {
            std::printf( " %s %.4g", counter.c_str(), value );
        }
        std::puts( " |" );
    }
}

} // namespace

int main( int argc, char ** argv ) {
    try {
        const Results results( { argv + 1, argv + argc } );
        std::printf( "Medians of %s.\n\n", results.machine().c_str() );
        printBounds( results );
        printMedians( results );
        return 0;
    } catch ( const std::exception & error ) {
        std::fprintf( stderr, "report-figures: %s\n", error.what() );
        return 1;
    }
}
