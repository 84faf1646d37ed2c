#pragma once

#include "KelQos/Show/KelSliceQosSorter.h"
#include "Platform/Entities/IntfId.h"
#include "Platform/Framework/Record.h"
#include "Platform/Framework/Types.h"

#include <concepts>
#include <cstddef>
#include <ostream>
#include <string>
#include <utility>

namespace KelQos {

// Counter records are plain values with a text form:
//     Value('KelQos::TxQCounterData', ** {'totalUsage': 5, 'minLimitCells': 10, ...})
// Constructing one from a text reads exactly that form at `cursor`, in a text that ends before
// `end`, and moves the cursor behind it. Any other text throws Kel::ParseException and leaves the
// cursor alone. !record is true of a default record, in which everything is 0.

// Usage of one priority group of a port.
class PpgCounterData {
  public:
    PpgCounterData() = default;
    PpgCounterData( U32 minUsage, U32 shrdUsage, U32 skidUsage, U64 dropCounter, U8 internalCosBmp,
                    U32 minLimitCells, F32 dynamicThreshold )
        : minUsage_( minUsage ),
          shrdUsage_( shrdUsage ),
          skidUsage_( skidUsage ),
          dropCounter_( dropCounter ),
          internalCosBmp_( internalCosBmp ),
          minLimitCells_( minLimitCells ),
          dynamicThreshold_( dynamicThreshold ) {}
    PpgCounterData( const char *& cursor, const char * end ) {
        Kel::strepToRecord( cursor, end, *this );
    }

    // Cells in use from the guaranteed area, the shared pool and the skid area.
    U32 minUsage() const { return minUsage_; }
    U32 shrdUsage() const { return shrdUsage_; }
    U32 skidUsage() const { return skidUsage_; }
    // Packets dropped since the last clear.
    U64 dropCounter() const { return dropCounter_; }
    // Internal classes of service mapped to the group, bit i for class i.
    U8 internalCosBmp() const { return internalCosBmp_; }
    // Configured: guaranteed cells, and the dynamic threshold as it is displayed.
    U32 minLimitCells() const { return minLimitCells_; }
    F32 dynamicThreshold() const { return dynamicThreshold_; }

    std::size_t hash() const { return Kel::recordHash( *this ); }
    bool operator!() const { return *this == PpgCounterData(); }
    friend std::string valueToStrep( const PpgCounterData & record ) {
        return Kel::recordToStrep( record );
    }
    friend bool operator==( const PpgCounterData &, const PpgCounterData & ) = default;

    static constexpr auto record() {
        return std::tuple( "KelQos::PpgCounterData",
                           Kel::Field{ "minUsage", &PpgCounterData::minUsage_ },
                           Kel::Field{ "shrdUsage", &PpgCounterData::shrdUsage_ },
                           Kel::Field{ "skidUsage", &PpgCounterData::skidUsage_ },
                           Kel::Field{ "dropCounter", &PpgCounterData::dropCounter_ },
                           Kel::Field{ "internalCosBmp", &PpgCounterData::internalCosBmp_ },
                           Kel::Field{ "minLimitCells", &PpgCounterData::minLimitCells_ },
                           Kel::Field{ "dynamicThreshold", &PpgCounterData::dynamicThreshold_ } );
    }

  private:
    U32 minUsage_ = 0;
    U32 shrdUsage_ = 0;
    U32 skidUsage_ = 0;
    U64 dropCounter_ = 0;
    U8 internalCosBmp_ = 0;
    U32 minLimitCells_ = 0;
    F32 dynamicThreshold_ = 0.0F;
};

// Usage of one transmit queue.
class TxQCounterData {
  public:
    TxQCounterData() = default;
    TxQCounterData( U32 totalUsage, U32 minLimitCells, F32 dynamicThreshold )
        : totalUsage_( totalUsage ),
          minLimitCells_( minLimitCells ),
          dynamicThreshold_( dynamicThreshold ) {}
    TxQCounterData( const char *& cursor, const char * end ) {
        Kel::strepToRecord( cursor, end, *this );
    }

    U32 totalUsage() const { return totalUsage_; } // cells in use
    // Configured: guaranteed cells, and the dynamic threshold as it is displayed.
    U32 minLimitCells() const { return minLimitCells_; }
    F32 dynamicThreshold() const { return dynamicThreshold_; }

    std::size_t hash() const { return Kel::recordHash( *this ); }
    bool operator!() const { return *this == TxQCounterData(); }
    friend std::string valueToStrep( const TxQCounterData & record ) {
        return Kel::recordToStrep( record );
    }
    friend bool operator==( const TxQCounterData &, const TxQCounterData & ) = default;

    static constexpr auto record() {
        return std::tuple( "KelQos::TxQCounterData",
                           Kel::Field{ "totalUsage", &TxQCounterData::totalUsage_ },
                           Kel::Field{ "minLimitCells", &TxQCounterData::minLimitCells_ },
                           Kel::Field{ "dynamicThreshold", &TxQCounterData::dynamicThreshold_ } );
    }

  private:
    U32 totalUsage_ = 0;
    U32 minLimitCells_ = 0;
    F32 dynamicThreshold_ = 0.0F;
};

// One chip-wide counter.
class BlockLevelCounterData {
  public:
    BlockLevelCounterData() = default;
    BlockLevelCounterData( std::string name, U64 value )
        : name_( std::move( name ) ), value_( value ) {}
    BlockLevelCounterData( const char *& cursor, const char * end ) {
        Kel::strepToRecord( cursor, end, *this );
    }

    const std::string & name() const { return name_; } // for display
    U64 value() const { return value_; }

    std::size_t hash() const { return Kel::recordHash( *this ); }
    bool operator!() const { return *this == BlockLevelCounterData(); }
    friend std::string valueToStrep( const BlockLevelCounterData & record ) {
        return Kel::recordToStrep( record );
    }
    friend bool operator==( const BlockLevelCounterData &,
                            const BlockLevelCounterData & ) = default;

    static constexpr auto record() {
        return std::tuple( "KelQos::BlockLevelCounterData",
                           Kel::Field{ "name", &BlockLevelCounterData::name_ },
                           Kel::Field{ "value", &BlockLevelCounterData::value_ } );
    }

  private:
    std::string name_;
    U64 value_ = 0;
};

// By group number, or by counter index.
class PpgSorter : public CounterDataSorter<U32, PpgCounterData> {
  public:
    PpgSorter() = default;
    PpgSorter( const char *& cursor, const char * end );
    void counterDataIs( U32 key, const PpgCounterData & record ) { set( key, record ); }
};

// By queue number.
class TxQSorter : public CounterDataSorter<U32, TxQCounterData> {
  public:
    TxQSorter() = default;
    TxQSorter( const char *& cursor, const char * end );
    void counterDataIs( U32 key, const TxQCounterData & record ) { set( key, record ); }
};

// By the record's own name, in the order of its bytes.
class BlockLevelCounterSorter : public CounterDataSorter<std::string, BlockLevelCounterData> {
  public:
    BlockLevelCounterSorter() = default;
    BlockLevelCounterSorter( const char *& cursor, const char * end );
    void counterDataIs( const BlockLevelCounterData & record ) { set( record.name(), record ); }
};

// Interfaces by port number.
class PortSorter : public Sorter<U32, Kel::IntfId> {
  public:
    PortSorter() = default;
    PortSorter( const char *& cursor, const char * end );
    void entryIdIs( U32 key, Kel::IntfId intfId ) { set( key, intfId ); }
    Kel::IntfId entryId( U32 key ) const { return get( key ); }
    bool entryIdHas( U32 key ) const { return has( key ); }
    void entryIdDel( U32 key ) { map_.erase( key ); }
    Iterator entryIdDel( Iterator position ) { return map_.erase( position ); }
    void entryIdDelAll() { map_.clear(); }
};

template <class T>
concept CounterValue = std::same_as<T, PpgCounterData> || std::same_as<T, TxQCounterData> ||
    std::same_as<T, BlockLevelCounterData> || std::same_as<T, PpgSorter> ||
    std::same_as<T, TxQSorter> || std::same_as<T, BlockLevelCounterSorter> ||
    std::same_as<T, PortSorter>;

// The value is left alone when the text is refused.
template <CounterValue T>
void strepToValue( const char *& cursor, const char * end, T & value ) {
    value = T( cursor, end );
}
template <CounterValue T>
std::ostream & operator<<( std::ostream & stream, const T & value ) {
    return stream << valueToStrep( value );
}

} // namespace KelQos
