#pragma once

#include "Platform/Framework/Types.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace Kel {

// The name of an interface. Names are interned for the life of the process, so copying, comparing
// for equality and hashing cost no more than for a pointer. The default is the empty name.
class IntfId {
  public:
    IntfId() noexcept;
    explicit IntfId( std::string_view name );

    // The interface of this name if the name was ever used, else the empty name. For texts from
    // outside, which must not make the table of names grow.
    static IntfId known( std::string_view name );

    const std::string & name() const noexcept { return record_->name; }
    bool empty() const noexcept { return record_->name.empty(); }

    std::size_t hash() const noexcept { return std::hash<const void *>{}( record_ ) >> 4U; }
    friend bool operator==( const IntfId & a, const IntfId & b ) noexcept {
        return a.record_ == b.record_;
    }
    // By bytes.
    friend std::strong_ordering operator<=>( const IntfId & a, const IntfId & b ) noexcept {
        return a.name() <=> b.name();
    }
    friend std::string valueToStrep( const IntfId & intfId ) { return intfId.name(); }

  private:
    friend class InternalIntfId;
    struct Record {
        std::string name;
        bool internal;
    };
    struct Table;

    explicit IntfId( const Record * record ) : record_( record ) {}

    const Record * record_;
};

// Interfaces on the CPU side of the chip: "Internal" and at least one digit.
class InternalIntfId {
  public:
    static bool isInternalIntfId( IntfId intfId ) { return intfId.record_->internal; }
    static bool isInternalName( std::string_view name );
};

} // namespace Kel
