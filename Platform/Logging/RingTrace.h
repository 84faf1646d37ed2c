#pragma once

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Types.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

// The flight recorder: the last events of the process in a fixed piece of memory, always on, read
// after the fact or written out when the process aborts. Recording allocates nothing, formats
// nothing and costs a few nanoseconds. Everything here belongs to the event loop's thread.
//
//     Kel::ringTrace( "handlePortInfo", ", port: ", name );

namespace Kel {

// The type that decides how an argument is kept. An array keeps its const: it tells a literal from
// a buffer.
template <typename Arg>
using RingTraceType = std::conditional_t<std::is_array_v<std::remove_reference_t<Arg>>,
                                         std::remove_reference_t<Arg>, std::remove_cvref_t<Arg>>;

template <typename T>
inline constexpr bool isLiteralText =
    std::is_array_v<T> && std::is_same_v<std::remove_extent_t<T>, const char>;

// How one argument of a record is kept: a format character and the bytes behind it.
//   t        string literal: its address
//   s i q    unsigned integer of up to 16, 32, 64 bits (bool too)
//   S I Q    signed integer of up to 16, 32, 64 bits
//   f F      float, double
//   c        text copied into the record: a length byte and at most 32 bytes
template <typename T, typename Enable = void>
struct RingTraceField;

template <typename T>
struct RingTraceField<T, std::enable_if_t<isLiteralText<T>>> {
    static constexpr char format = 't';
    static std::size_t size( const char * ) { return sizeof( const char * ); }
    static U8 * put( U8 * to, const char * text ) {
        std::memcpy( to, &text, sizeof text );
        return to + sizeof text;
    }
};

template <typename T>
struct RingTraceField<T, std::enable_if_t<std::is_integral_v<T>>> {
    using Kept =
        std::conditional_t<sizeof( T ) <= 2, U16, std::conditional_t<sizeof( T ) == 4, U32, U64>>;
    static constexpr char format =
        ( std::is_signed_v<T> ? "SIQ" : "siq" )[sizeof( Kept ) == 2 ? 0 : sizeof( Kept ) / 4];
    static std::size_t size( T ) { return sizeof( Kept ); }
    static U8 * put( U8 * to, T value ) {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse): an 8-bit number keeps its sign
        const auto kept = static_cast<Kept>( value );
        std::memcpy( to, &kept, sizeof kept );
        return to + sizeof kept;
    }
};

template <typename T>
struct RingTraceField<T, std::enable_if_t<std::is_enum_v<T>>> {
    using Number = RingTraceField<std::underlying_type_t<T>>;
    static constexpr char format = Number::format;
    static std::size_t size( T value ) {
        return Number::size( static_cast<std::underlying_type_t<T>>( value ) );
    }
    static U8 * put( U8 * to, T value ) {
        return Number::put( to, static_cast<std::underlying_type_t<T>>( value ) );
    }
};

template <typename T>
struct RingTraceField<T, std::enable_if_t<std::is_floating_point_v<T>>> {
    static_assert( sizeof( T ) <= sizeof( double ) );
    static constexpr char format = sizeof( T ) == sizeof( float ) ? 'f' : 'F';
    static std::size_t size( T ) { return sizeof( T ); }
    static U8 * put( U8 * to, T value ) {
        std::memcpy( to, &value, sizeof value );
        return to + sizeof value;
    }
};

inline constexpr std::size_t ringTraceTextMax = 32;

template <typename T>
struct RingTraceField<
    T, std::enable_if_t<!isLiteralText<T> && std::is_convertible_v<const T &, std::string_view>>> {
    static constexpr char format = 'c';
    static std::string_view textOf( const T & text ) {
        if constexpr ( std::is_pointer_v<T> ) {
            return text ? text : "(null)";
        } else {
            return text;
        }
    }
    static std::size_t size( const T & text ) {
        return 1 + std::min( textOf( text ).size(), ringTraceTextMax );
    }
    // The length byte of a text that was cut is one more than the bytes that are there.
    static U8 * put( U8 * to, const T & value ) {
        const std::string_view text = textOf( value );
        const std::size_t kept = std::min( text.size(), ringTraceTextMax );
        *to = static_cast<U8>( std::min( text.size(), ringTraceTextMax + 1 ) );
        text.copy( reinterpret_cast<char *>( to + 1 ), kept );
        return to + 1 + kept;
    }
};

// The time of a ring's records.
struct RingTraceClock {
    F64 ( *now )() = nullptr; // in seconds, of any beginning
    // Writes a time as people read it, in at most 32 bytes, and returns their number.
    std::size_t ( *text )( F64 time, char * to ) = nullptr;
};

// Records in a piece of memory, the oldest overwritten by the newest. A record is its size (16
// bits), the address of its format characters, and the fields. Records do not straddle the end of
// the memory: what is left there is skipped.
class RingTrace {
  public:
    // The memory must outlive the ring; its size is a power of two (asserted). A record of more
    // than a quarter of it fails an assertion.
    constexpr explicit RingTrace( std::span<U8> memory ) : memory_( memory ) {
        KEL_ASSERT( std::has_single_bit( memory.size() ) );
    }
    RingTrace( const RingTrace & ) = delete;
    RingTrace & operator=( const RingTrace & ) = delete;

    // Adds a record. String literals (const char arrays: they must have static storage) are kept by
    // address; other texts are copied and cut at 32 bytes.
    template <typename... Args>
    void record( Args &&... args ) {
        static constexpr char formats[] = { timeFormat,
                                            RingTraceField<RingTraceType<Args>>::format..., '\0' };
        const bool timed = clock_.now != nullptr;
        const std::size_t header = headerSize + ( timed ? sizeof( F64 ) : 0 );
        const std::size_t size =
            ( header + ... + RingTraceField<RingTraceType<Args>>::size( args ) );
        U8 * to = reserved( size );
        const auto size16 = static_cast<U16>( size );
        const char * const format = timed ? formats : formats + 1;
        std::memcpy( to, &size16, sizeof size16 );
        std::memcpy( to + sizeof size16, &format, sizeof format );
        if ( timed ) {
            const F64 now = clock_.now();
            std::memcpy( to + headerSize, &now, sizeof now );
        }
        to += header;
        ( ( to = RingTraceField<RingTraceType<Args>>::put( to, args ) ), ... );
        head_ += size;
    }

    // From now on records keep the time at which they are made; null: they do not.
    void clockIs( RingTraceClock clock ) { clock_ = clock; }

    // The records as text, oldest first, one per line: "NUMBER TEXT", or "NUMBER TIME TEXT" for
    // those that have a time. NUMBER counts all records since the ring was cleared, from 1.
    // Arguments follow each other directly, but a blank separates two values in a row; a text that
    // was cut ends in "...".
    std::string text() const;
    // The same, written to a descriptor, without allocating. Gives up when writing fails.
    void write( int fd ) const;
    void clear();

  private:
    static constexpr std::size_t headerSize = sizeof( U16 ) + sizeof( const char * );
    static constexpr char timeFormat = '@'; // in front of the fields: the time, a double

    // Makes room for a record at the head; afterwards head_ is the position of what it returns.
    U8 * reserved( std::size_t size );
    void dropOldest();
    std::size_t offset( U64 position ) const { return position & ( memory_.size() - 1 ); }
    // The bytes of padding between a position and the next record.
    std::size_t padding( U64 position ) const;
    U16 recordSize( std::size_t offset ) const;
    template <typename Out>
    void render( Out & out ) const;

    std::span<U8> memory_;
    RingTraceClock clock_;
    // Positions count bytes since the beginning; modulo the memory's size they are offsets.
    U64 head_ = 0; // where the next record goes
    U64 tail_ = 0; // the oldest record, or the padding in front of it
    U64 lost_ = 0; // records that were overwritten
};

// The ring of the process, 256 KiB. A library that has recorded must not be unloaded while the ring
// is still to be read: its literals are kept by address.
extern RingTrace ringTraceOfProcess;

template <typename... Args>
void ringTrace( Args &&... args ) {
    ringTraceOfProcess.record( std::forward<Args>( args )... );
}

inline void ringTraceClockIs( RingTraceClock clock ) { ringTraceOfProcess.clockIs( clock ); }
inline std::string ringTraceText() { return ringTraceOfProcess.text(); }
// Safe to call from the hook that runs when the process aborts.
inline void ringTraceWrite( int fd ) { ringTraceOfProcess.write( fd ); }
inline void ringTraceClear() { ringTraceOfProcess.clear(); }

} // namespace Kel
