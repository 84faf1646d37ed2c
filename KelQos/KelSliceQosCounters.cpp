#include "KelQos/KelSliceQosCounters.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Text.h"

#include <functional>
#include <tuple>

namespace KelQos {

namespace {

template <class Record, class Value>
struct Field {
    const char * label; // the quoted name and what stands before the value
    Value Record::*member;
};
template <class Record, class Value>
Field( const char *, Value Record::* ) -> Field<Record, Value>;

} // namespace

// What the text forms of the records are made of.
struct RecordFormat {
    static constexpr auto of( const PpgCounterData * ) {
        using Data = PpgCounterData;
        return std::tuple( "Value('KelQos::PpgCounterData', ** {",
                           Field{ "'minUsage': ", &Data::minUsage_ },
                           Field{ ", 'shrdUsage': ", &Data::shrdUsage_ },
                           Field{ ", 'skidUsage': ", &Data::skidUsage_ },
                           Field{ ", 'dropCounter': ", &Data::dropCounter_ },
                           Field{ ", 'internalCosBmp': ", &Data::internalCosBmp_ },
                           Field{ ", 'minLimitCells': ", &Data::minLimitCells_ },
                           Field{ ", 'dynamicThreshold': ", &Data::dynamicThreshold_ } );
    }
    static constexpr auto of( const TxQCounterData * ) {
        using Data = TxQCounterData;
        return std::tuple( "Value('KelQos::TxQCounterData', ** {",
                           Field{ "'totalUsage': ", &Data::totalUsage_ },
                           Field{ ", 'minLimitCells': ", &Data::minLimitCells_ },
                           Field{ ", 'dynamicThreshold': ", &Data::dynamicThreshold_ } );
    }
    static constexpr auto of( const BlockLevelCounterData * ) {
        using Data = BlockLevelCounterData;
        return std::tuple( "Value('KelQos::BlockLevelCounterData', ** {",
                           Field{ "'name': ", &Data::name_ },
                           Field{ ", 'value': ", &Data::value_ } );
    }

    static constexpr const char * end = "})";

    template <class Record>
    static std::string write( const Record & record ) {
        std::string text;
        std::apply(
            [&]( const char * begin, const auto &... field ) {
                text += begin;
                ( ( text += field.label, text += Kel::valueToStrep( record.*field.member ) ), ... );
            },
            of( &record ) );
        return text += end;
    }

    // Equal records have equal hashes: the standard library's hash of a float takes 0.0 and -0.0
    // for the same.
    template <class Record>
    static std::size_t hash( const Record & record ) {
        std::size_t mixed = 0;
        const auto add = [&]<class Value>( const Value & value ) {
            mixed = mixed * 31 + std::hash<Value>{}( value );
        };
        std::apply(
            [&]( const char *, const auto &... field ) { ( add( record.*field.member ), ... ); },
            of( &record ) );
        return mixed;
    }

    template <class Record>
    static void read( const char *& cursor, const char * textEnd, Record & record ) {
        const char * at = cursor;
        std::apply(
            [&]( const char * begin, const auto &... field ) {
                Kel::expectText( at, textEnd, begin );
                ( ( Kel::expectText( at, textEnd, field.label ),
                    Kel::strepToValue( at, textEnd, record.*field.member ) ),
                  ... );
            },
            of( &record ) );
        Kel::expectText( at, textEnd, end );
        cursor = at;
    }
};

PpgCounterData::PpgCounterData( const char *& cursor, const char * end ) {
    RecordFormat::read( cursor, end, *this );
}
TxQCounterData::TxQCounterData( const char *& cursor, const char * end ) {
    RecordFormat::read( cursor, end, *this );
}
BlockLevelCounterData::BlockLevelCounterData( const char *& cursor, const char * end ) {
    RecordFormat::read( cursor, end, *this );
}

std::size_t PpgCounterData::hash() const { return RecordFormat::hash( *this ); }
std::size_t TxQCounterData::hash() const { return RecordFormat::hash( *this ); }
std::size_t BlockLevelCounterData::hash() const { return RecordFormat::hash( *this ); }

std::string valueToStrep( const PpgCounterData & record ) { return RecordFormat::write( record ); }
std::string valueToStrep( const TxQCounterData & record ) { return RecordFormat::write( record ); }
std::string valueToStrep( const BlockLevelCounterData & record ) {
    return RecordFormat::write( record );
}

PpgSorter::PpgSorter( const char *&, const char * ) {
    Kel::assertionFailed( "!\"No String constructor for PpgSorter - has collection\"", __FILE__,
                          __LINE__, __PRETTY_FUNCTION__ );
}
TxQSorter::TxQSorter( const char *&, const char * ) {
    Kel::assertionFailed( "!\"No String constructor for TxQSorter - has collection\"", __FILE__,
                          __LINE__, __PRETTY_FUNCTION__ );
}
PortSorter::PortSorter( const char *&, const char * ) {
    Kel::assertionFailed( "!\"No String constructor for PortSorter - has collection\"", __FILE__,
                          __LINE__, __PRETTY_FUNCTION__ );
}
BlockLevelCounterSorter::BlockLevelCounterSorter( const char *&, const char * ) {
    Kel::assertionFailed( "!\"No String constructor for BlockLevelCounterSorter - has collection\"",
                          __FILE__, __LINE__, __PRETTY_FUNCTION__ );
}

} // namespace KelQos
