#include "Host/Json/JsonValue.h"

#include <functional>
#include <utility>

namespace KelHost {

namespace {

// Up to this many members, looking at each of them beats hashing.
constexpr std::size_t unindexedLimit = 8;

} // namespace

JsonObject::JsonObject() = default;
JsonObject::JsonObject( const JsonObject & ) = default;
JsonObject::JsonObject( JsonObject && ) noexcept = default;
JsonObject & JsonObject::operator=( const JsonObject & ) = default;
JsonObject & JsonObject::operator=( JsonObject && ) noexcept = default;
JsonObject::~JsonObject() = default;

// The slot that holds the member of that name, else the free one where it belongs.
std::size_t JsonObject::slotOf( std::string_view name ) const {
    const std::size_t mask = index_.size() - 1;
    std::size_t slot = std::hash<std::string_view>{}(name)&mask;
    while ( index_[slot] != 0 && members_[index_[slot] - 1].name != name ) {
        slot = ( slot + 1 ) & mask;
    }
    return slot;
}

void JsonObject::indexAll( std::size_t slots ) {
    index_.assign( slots, 0 );
    for ( std::size_t i = 0; i < members_.size(); ++i ) {
        index_[slotOf( members_[i].name )] = static_cast<U32>( i + 1 );
    }
}

const JsonValue * JsonObject::find( std::string_view name ) const {
    if ( !index_.empty() ) {
        const U32 found = index_[slotOf( name )];
        return found == 0 ? nullptr : &members_[found - 1].value;
    }
    for ( const JsonMember & member : members_ ) {
        if ( member.name == name ) {
            return &member.value;
        }
    }
    return nullptr;
}

JsonValue * JsonObject::find( std::string_view name ) {
    return const_cast<JsonValue *>( std::as_const( *this ).find( name ) );
}

JsonValue * JsonObject::add( std::string name ) {
    if ( find( name ) != nullptr ) {
        return nullptr;
    }
    members_.push_back( { std::move( name ), JsonValue{} } );
    if ( members_.size() > unindexedLimit && members_.size() * 2 > index_.size() ) {
        indexAll( index_.empty() ? unindexedLimit * 4 : index_.size() * 2 );
    } else if ( !index_.empty() ) {
        index_[slotOf( members_.back().name )] = static_cast<U32>( members_.size() );
    }
    return &members_.back().value;
}

void JsonObject::remove( std::string_view name ) {
    const auto removed = std::erase_if(
        members_, [name]( const JsonMember & member ) { return member.name == name; } );
    if ( removed != 0 && !index_.empty() ) {
        indexAll( index_.size() );
    }
}

std::size_t JsonObject::size() const { return members_.size(); }
JsonObject::Members::const_iterator JsonObject::begin() const { return members_.begin(); }
JsonObject::Members::const_iterator JsonObject::end() const { return members_.end(); }

bool operator==( const JsonObject & left, const JsonObject & right ) {
    if ( left.size() != right.size() ) {
        return false;
    }
    for ( const JsonMember & member : left ) {
        const JsonValue * other = right.find( member.name );
        if ( other == nullptr || !( *other == member.value ) ) {
            return false;
        }
    }
    return true;
}

JsonValue mergePatch( JsonValue target, const JsonValue & patch ) {
    const auto * changes = patch.as<JsonObject>();
    if ( changes == nullptr ) {
        return patch;
    }
    if ( target.as<JsonObject>() == nullptr ) {
        target = JsonValue( JsonObject{} );
    }
    JsonObject & object = *target.as<JsonObject>();
    for ( const JsonMember & change : *changes ) {
        if ( change.value.isNull() ) {
            object.remove( change.name );
            continue;
        }
        JsonValue * member = object.find( change.name );
        if ( member == nullptr ) {
            member = object.add( change.name );
        }
        *member = mergePatch( std::move( *member ), change.value );
    }
    return target;
}

std::string pointerToken( std::string_view name ) {
    constexpr std::string_view hex = "0123456789abcdef";
    std::string token;
    for ( const char c : name ) {
        const auto byte = static_cast<unsigned char>( c );
        if ( c == '~' ) {
            token += "~0";
        } else if ( c == '/' ) {
            token += "~1";
        } else if ( byte < 0x20 || byte == 0x7f ) {
            token.append( "\\u00" ).append( { hex[byte >> 4], hex[byte & 15] } );
        } else {
            token += c;
        }
    }
    return token;
}

} // namespace KelHost
