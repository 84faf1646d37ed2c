#include "Platform/Entities/IntfId.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

namespace Kel {

bool InternalIntfId::isInternalName( std::string_view name ) {
    constexpr std::string_view prefix = "Internal";
    return name.size() > prefix.size() && name.starts_with( prefix ) &&
           std::all_of( name.begin() + prefix.size(), name.end(),
                        []( char c ) { return c >= '0' && c <= '9'; } );
}

struct IntfId::Table {
    std::unordered_map<std::string_view, std::unique_ptr<const Record>> records;

    const Record * find( std::string_view name ) const {
        const auto found = records.find( name );
        return found == records.end() ? nullptr : found->second.get();
    }
    const Record * intern( std::string_view name ) {
        if ( const Record * present = find( name ) ) {
            return present;
        }
        auto record = std::make_unique<const Record>(
            Record{ std::string( name ), InternalIntfId::isInternalName( name ) } );
        const std::string_view key = record->name;
        return records.emplace( key, std::move( record ) ).first->second.get();
    }

    // Never destroyed: names live in objects of every storage duration.
    static Table & instance() {
        static Table & table = *new Table;
        return table;
    }
    static const Record * empty() {
        static const Record * const record = instance().intern( "" );
        return record;
    }
};

IntfId::IntfId() noexcept : record_( Table::empty() ) {}
IntfId::IntfId( std::string_view name ) : record_( Table::instance().intern( name ) ) {}

IntfId IntfId::known( std::string_view name ) {
    const Record * record = Table::instance().find( name );
    return record ? IntfId( record ) : IntfId();
}

} // namespace Kel
