#pragma once

#include "Platform/Agent/ReplyWriter.h"
#include "Platform/Framework/Types.h"

#include <charconv>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace KelQos {

// The text as the rest of the agent sees it: up to the first NUL. For texts that come from outside.
inline std::string_view cString( const std::string & text ) {
    return std::string_view( text ).substr( 0, text.find( '\0' ) );
}

// The answer to one command: text that is formatted into a buffer and goes to the descriptor in
// large pieces, the last one when the answer is destroyed. Each function writes the bytes that the
// printf conversion beside it would write, in a fraction of the time; a width is a minimum, padded
// with blanks.
class KelSliceQosReply {
  public:
    // How long an answer may wait for its reader in all, in milliseconds.
    static constexpr S32 defaultPatience = 2000;

    explicit KelSliceQosReply( U32 fd, S32 patience = defaultPatience );
    ~KelSliceQosReply();
    KelSliceQosReply( const KelSliceQosReply & ) = delete;
    KelSliceQosReply & operator=( const KelSliceQosReply & ) = delete;

    KelSliceQosReply & text( std::string_view text ) {
        if ( text.size() > capacity - size_ ) {
            return longText( text );
        }
        std::memcpy( buffer_.get() + size_, text.data(), text.size() );
        size_ += text.size();
        return *this;
    }
    KelSliceQosReply & repeated( char c, U32 count ) {
        if ( count > capacity - size_ ) {
            return longRepeated( c, count );
        }
        std::memset( buffer_.get() + size_, c, count );
        size_ += count;
        return *this;
    }
    KelSliceQosReply & right( std::string_view text, U32 width ) { // "%5s"
        return repeated( ' ', padding( text, width ) ).text( text );
    }
    KelSliceQosReply & left( std::string_view text, U32 width ) { // "%-5s"
        return this->text( text ).repeated( ' ', padding( text, width ) );
    }
    KelSliceQosReply & number( U64 value, U32 width = 0 ) { // "%5lu"
        // At most 20 digits, then zeros, since all of it is copied.
        char digits[24] = {};
        const char * const end = std::to_chars( digits, digits + sizeof digits, value ).ptr;
        const auto length = static_cast<std::size_t>( end - digits );
        if ( length > width || width + sizeof digits > capacity - size_ ) {
            return right( { digits, length }, width );
        }
        // Copies of a fixed size need no library call; the bytes that they write too many are
        // overwritten by what follows.
        char * const field = buffer_.get() + size_;
        const std::size_t blanks = width - length;
        for ( std::size_t i = 0; i < blanks; i += 8 ) {
            std::memset( field + i, ' ', 8 );
        }
        std::memcpy( field + blanks, digits, sizeof digits );
        size_ += width;
        return *this;
    }
    KelSliceQosReply & signedNumber( S64 value ); // "%ld"
    KelSliceQosReply & hex( U32 value );          // "%x"
    KelSliceQosReply & real( F64 value );         // "%f", in the C locale whatever the process's

  private:
    static constexpr std::size_t capacity = 65536;

    static U32 padding( std::string_view text, U32 width ) {
        return text.size() < width ? width - static_cast<U32>( text.size() ) : 0;
    }
    KelSliceQosReply & longText( std::string_view text );
    KelSliceQosReply & longRepeated( char c, U32 count );
    void flush();

    Agent::ReplyWriter writer_;
    int reportedFailure_ = 0;
    std::size_t size_ = 0;
    std::unique_ptr<char[]> buffer_;
};

} // namespace KelQos
