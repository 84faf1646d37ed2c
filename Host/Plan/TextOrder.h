#pragma once

#include "Platform/Framework/Types.h"

#include <limits>
#include <map>
#include <string>
#include <string_view>

namespace KelHost {

// Where the ports, groups and queues of a switch document stand in its text: a decoded document no
// longer knows in which order they were written.
class TextOrder {
  public:
    // Of no text; everything stands at the same place.
    TextOrder() = default;
    // The text must be a valid switch document.
    explicit TextOrder( std::string_view text );

    // Grows with the place in the text of the object that the JSON pointer leads to.
    std::size_t of( const std::string & pointer ) const {
        const auto found = places_.find( pointer );
        return found == places_.end() ? std::numeric_limits<std::size_t>::max() : found->second;
    }

  private:
    std::map<std::string, std::size_t> places_; // by JSON pointer
};

} // namespace KelHost
