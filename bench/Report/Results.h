#pragma once

#include "Platform/Framework/Types.h"

#include <map>
#include <string>
#include <vector>

namespace KelBench {

// The medians that benchmarks wrote as JSON.
class Results {
  public:
    struct Result {
        F64 time = 0; // in `unit`: processor time, or what the benchmark measured by itself
        std::string unit;
        std::map<std::string, F64> counters;
    };

    // Throws std::runtime_error for a file that is no such result.
    explicit Results( const std::vector<std::string> & files );

    const std::map<std::string, Result> & all() const { return results_; }
    // Where it ran, and how often.
    const std::string & machine() const { return machine_; }

    // Nanoseconds, or a counter, of the benchmark of that name. Throws std::runtime_error when
    // there is none.
    F64 time( const std::string & name ) const;
    F64 counter( const std::string & name, const std::string & counter ) const;

  private:
    const Result & named( const std::string & name ) const;

    std::map<std::string, Result> results_;
    std::string machine_;
};

} // namespace KelBench
