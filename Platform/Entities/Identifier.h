#pragma once

#include "Platform/Framework/Text.h"
#include "Platform/Framework/Types.h"

#include <compare>
#include <cstddef>
#include <string>

namespace Kel {

// Base of the numeric identifiers: a small value that compares and hashes at the cost of an
// integer. Each identifier is a type of its own, so a queue number never passes for a port.
template <class Derived, class Rep>
class Identifier {
  public:
    constexpr Rep value() const { return value_; }
    constexpr std::size_t hash() const { return value_; }

    friend constexpr bool operator==( const Derived & a, const Derived & b ) {
        return a.value() == b.value();
    }
    friend constexpr auto operator<=>( const Derived & a, const Derived & b ) {
        return a.value() <=> b.value();
    }
    friend std::string valueToStrep( const Derived & id ) {
        return valueToStrep( static_cast<U64>( id.value() ) );
    }

  protected:
    constexpr explicit Identifier( Rep value ) : value_( value ) {}

  private:
    Rep value_;
};

} // namespace Kel
