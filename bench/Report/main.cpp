// Turns the JSON results of the benchmarks into tables, in Markdown:
//
//     report-figures MEDIANS RESULT.json...
//
// Writes every median to the file MEDIANS. Then compares what was aimed at with what was reached,
// on standard output; that fails when the results lack a benchmark.

#include "bench/Report/Bounds.h"
#include "bench/Report/Results.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <system_error>

namespace {

using namespace KelBench;

void printMedians( const Results & results, std::FILE * out ) {
    std::fprintf( out, "Medians of %s.\n\n", results.machine().c_str() );
    std::fputs( "| benchmark | time | counters |\n|---|---:|---|\n", out );
    for ( const auto & [name, result] : results.all() ) {
        std::fprintf( out, "| `%s` | %.4g %s |", name.c_str(), result.time, result.unit.c_str() );
        for ( const auto & [counter, value] : result.counters ) {
            std::fprintf( out, " %s %.4g", counter.c_str(), value );
        }
        std::fputs( " |\n", out );
    }
}

void writeMedians( const Results & results, const char * file ) {
    const auto close = []( std::FILE * stream ) { std::fclose( stream ); };
    const std::unique_ptr<std::FILE, decltype( close )> stream( std::fopen( file, "w" ) );
    if ( stream ) {
        printMedians( results, stream.get() );
    }
    if ( !stream || std::fflush( stream.get() ) != 0 || std::ferror( stream.get() ) != 0 ) {
        throw std::system_error( errno, std::generic_category(), file );
    }
}

void printBounds( const Results & results ) {
    std::printf( "Medians of %s.\n\n", results.machine().c_str() );
    std::puts( "| what | at most | measured | |" );
    std::puts( "|---|---:|---:|---|" );
    for ( const Bound & bound : bounds() ) {
        const F64 measured = bound.measure( results );
        std::printf( "| %s | %.4g%s | %.3g%s | %s |\n", bound.what.c_str(), bound.atMost,
                     bound.unit, measured, bound.unit,
                     measured <= bound.atMost ? "reached" : "**missed**" );
    }
}

} // namespace

int main( int argc, char ** argv ) {
    if ( argc < 3 ) {
        std::fputs( "usage: report-figures MEDIANS RESULT.json...\n", stderr );
        return 2;
    }
    try {
        const Results results( { argv + 2, argv + argc } );
        writeMedians( results, argv[1] );
        printBounds( results );
        return 0;
    } catch ( const std::exception & error ) {
        std::fprintf( stderr, "report-figures: %s\n", error.what() );
        return 1;
    }
}
