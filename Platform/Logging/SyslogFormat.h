#pragma once

#include "Platform/Framework/Types.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace Kel {

// One argument of a syslog message: an integer or a text. A text is not copied; an argument lives
// only as long as the call of log() that it is made for.
class SyslogArg {
  public:
    enum class Kind : U8 { integer, text };

    template <std::integral T>
    SyslogArg( T value )
        : kind_( Kind::integer ),
          isSigned_( std::is_signed_v<T> ),
          size_( sizeof( T ) ),
          integer_( static_cast<U64>( value ) ) {}
    SyslogArg( std::string_view text ) : kind_( Kind::text ), text_( text ) {}
    SyslogArg( const std::string & text ) : kind_( Kind::text ), text_( text ) {}
    SyslogArg( const char * text ) : kind_( Kind::text ), text_( text ? text : "(null)" ) {}

    Kind kind() const { return kind_; }
    // Bytes of the integer type that was given; a signed value is extended to 64 bits.
    std::size_t size() const { return size_; }
    U64 integer() const { return integer_; }
    std::string_view text() const { return text_; }

    // The value as text, with the sign of its own type whatever a format would make of it.
    std::string toText() const;

  private:
    Kind kind_;
    bool isSigned_ = false;
    std::size_t size_ = 0;
    U64 integer_ = 0;
    std::string_view text_;
};

// A printf-style format, parsed at compile time: one that is malformed does not compile.
// Conversions: d i u x X o (integers of up to 32 bits; with l or ll of up to 64 bits), s (text), %%
// (a percent sign); with flags, a width and a precision of at most two digits. An integer prints as
// printf does it, so a large unsigned 32-bit value under %d is a negative number. None of them
// depends on the process's locale.
class SyslogFormat {
  public:
    consteval SyslogFormat( const char * text ) : text_( text ) {
        for ( std::size_t i = 0; i < text_.size(); ++i ) {
            if ( text_[i] == '%' ) {
                i = parse( i );
            }
        }
    }

    std::string_view text() const { return text_; }
    // Number of arguments that the format takes.
    std::size_t argCount() const { return argCount_; }
    // Whether the arguments fit the format in number and kind.
    bool accepts( std::span<const SyslogArg> args ) const;
    // The message. The format must accept the arguments.
    std::string formatted( std::span<const SyslogArg> args ) const;

  private:
    enum class Takes : U8 { nothing, integer, longInteger, text };
    struct Conversion {
        std::size_t begin = 0;        // of the percent sign
        std::size_t modifiersEnd = 0; // of flags, width and precision
        std::size_t end = 0;
        Takes takes = Takes::nothing;
    };

    static constexpr std::size_t maxConversions = 16;

    // Parses the conversion that begins at `begin`, and returns the index of its letter. What it
    // throws ends the compilation, with its text in the compiler's message.
    constexpr std::size_t parse( std::size_t begin ) {
        std::size_t i = text_.find_first_not_of( "-+ #0", begin + 1 );
        i = parseNumber( i );
        if ( i < text_.size() && text_[i] == '.' ) {
            i = parseNumber( i + 1 );
        }
        const std::size_t modifiersEnd = i;
        while ( i < text_.size() && text_[i] == 'l' && i < modifiersEnd + 2 ) {
            ++i;
        }
        if ( i >= text_.size() || conversionCount_ == maxConversions ) {
            throw "unfinished conversion, or too many of them";
        }
        const bool isLong = i != modifiersEnd;
        const Takes takes = takenBy( text_[i], isLong );
        if ( ( isLong && takes != Takes::longInteger ) ||
             ( takes == Takes::nothing && i != begin + 1 ) ) {
            throw "modifier that the conversion does not have";
        }
        conversions_[conversionCount_++] = { begin, modifiersEnd, i + 1, takes };
        argCount_ += takes == Takes::nothing ? 0 : 1;
        return i;
    }
    constexpr std::size_t parseNumber( std::size_t i ) const {
        for ( int digits = 0; i < text_.size() && text_[i] >= '0' && text_[i] <= '9'; ++i ) {
            if ( ++digits > 2 ) {
                throw "width or precision of more than two digits";
            }
        }
        return i;
    }
    static constexpr Takes takenBy( char letter, bool isLong ) {
        constexpr auto none = std::string_view::npos;
        if ( std::string_view( "diuxXo" ).find( letter ) != none ) {
            return isLong ? Takes::longInteger : Takes::integer;
        }
        if ( letter != 's' && letter != '%' ) {
            throw "unknown conversion";
        }
        return letter == 's' ? Takes::text : Takes::nothing;
    }

    static bool accepts( Takes takes, const SyslogArg & arg );
    void append( std::string & message, const Conversion & conversion,
                 const SyslogArg & arg ) const;

    std::string_view text_;
    std::array<Conversion, maxConversions> conversions_{};
    std::size_t conversionCount_ = 0;
    std::size_t argCount_ = 0;
};

} // namespace Kel
