#pragma once

#include "Platform/Framework/HashIndex.h"
#include "Platform/Framework/Text.h"

#include <cstddef>
#include <string>
#include <tuple>

namespace Kel {

// A field of a record: its name in the text form, and where it lies.
template <class R, class Value>
struct Field {
    const char * name;
    Value R::*member;
};
template <class R, class Value>
Field( const char *, Value R::* ) -> Field<R, Value>;

// A record is a plain value class that lists its fields, behind its own qualified name:
//
//     static constexpr auto record() {
//         return std::tuple( "KelQos::TxQCounterData",
//                            Kel::Field{ "totalUsage", &TxQCounterData::totalUsage_ }, ... );
//     }
//
// Its text form is Value('KelQos::TxQCounterData', ** {'totalUsage': 5, ...}).
template <class R>
std::string recordToStrep( const R & record ) {
    std::string text = "Value('";
    std::apply(
        [&]( const char * type, const auto &... field ) {
            text.append( type ).append( "', ** {" );
            const char * separator = "'";
            ( ( text.append( separator ).append( field.name ).append( "': " ),
                text += valueToStrep( record.*field.member ), separator = ", '" ),
              ... );
        },
        R::record() );
    return text += "})";
}

// Takes exactly the text form at `cursor`, of a text that ends before `end`, and moves the cursor
// behind it. Throws ParseException for any other text; then the cursor stays, while the record may
// hold some of the fields.
template <class R>
void strepToRecord( const char *& cursor, const char * end, R & record ) {
    const char * at = cursor;
    std::apply(
        [&]( const char * type, const auto &... field ) {
            expectText( at, end, "Value('" + std::string( type ) + "', ** {" );
            const char * separator = "'";
            ( ( expectText( at, end, std::string( separator ) + field.name + "': " ),
                strepToValue( at, end, record.*field.member ), separator = ", '" ),
              ... );
        },
        R::record() );
    expectText( at, end, "})" );
    cursor = at;
}

// Equal records have equal hashes; 0.0 and -0.0 are equal.
template <class R>
std::size_t recordHash( const R & record ) {
    std::size_t mixed = 0;
    const auto add = [&]<class Value>( const Value & value ) {
        mixed = mixed * 31 + Hash<Value>()( value );
    };
    std::apply(
        [&]( const char *, const auto &... field ) { ( add( record.*field.member ), ... ); },
        R::record() );
    return mixed;
}

} // namespace Kel
