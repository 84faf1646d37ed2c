#include "bench/Report/Results.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>

namespace KelBench {

using nlohmann::json;

namespace {

// What Google Benchmark itself says about each run; all other numbers are counters.
const std::set<std::string> ownMembers{
    "aggregate_name",
    "aggregate_unit",
    "cpu_time",
    "family_index",
    "iterations",
    "name",
    "per_family_instance_index",
    "real_time",
    "repetitions",
    "repetition_index",
    "run_name",
    "run_type",
    "threads",
    "time_unit",
};

Results::Result toResult( const std::string & name, const json & run ) {
    const bool ownClock = name.ends_with( "/manual_time" ) || name.ends_with( "/real_time" );
    Results::Result result{ run.at( ownClock ? "real_time" : "cpu_time" ).get<F64>(),
                            run.at( "time_unit" ).get<std::string>(),
                            {} };
    for ( const auto & [member, value] : run.items() ) {
        if ( value.is_number() && !ownMembers.contains( member ) ) {
            result.counters[member] = value.get<F64>();
        }
    }
    return result;
}

} // namespace

Results::Results( const std::vector<std::string> & files ) {
    S64 repetitions = 0;
    for ( const std::string & file : files ) {
        std::ifstream stream( file );
        if ( !stream ) {
            throw std::runtime_error( file + ": cannot be read" );
        }
        const json root = json::parse( stream );
        const json & context = root.at( "context" );
        for ( const json & run : root.at( "benchmarks" ) ) {
            if ( run.value( "aggregate_name", "" ) == "median" ) {
                const auto name = run.at( "run_name" ).get<std::string>();
                results_[name] = toResult( name, run );
                repetitions = run.at( "repetitions" ).get<S64>();
            }
        }
        machine_ = std::to_string( repetitions ) + " repetitions on " +
                   std::to_string( context.at( "num_cpus" ).get<int>() ) + " processors of " +
                   std::to_string( context.at( "mhz_per_cpu" ).get<int>() ) + " MHz";
    }
}

const Results::Result & Results::named( const std::string & name ) const {
    const auto found = results_.find( name );
    if ( found == results_.end() ) {
        throw std::runtime_error( "no median of " + name );
    }
    return found->second;
}

F64 Results::time( const std::string & name ) const {
    static const std::map<std::string, F64> nanoseconds{
        { "ns", 1.0 }, { "us", 1e3 }, { "ms", 1e6 }, { "s", 1e9 } };
    const Result & result = named( name );
    return result.time * nanoseconds.at( result.unit );
}

F64 Results::counter( const std::string & name, const std::string & counter ) const {
    const Result & result = named( name );
    const auto found = result.counters.find( counter );
    if ( found == result.counters.end() ) {
        throw std::runtime_error( name + " has no counter " + counter );
    }
    return found->second;
}

} // namespace KelBench
