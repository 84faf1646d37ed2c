#include "KelQos/KelSliceQosReply.h"

#include "KelQos/KelSliceQosSmLog.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <system_error>

namespace KelQos {

namespace {

// A number's digits, as a text that lives as long as this.
class Digits {
  public:
    template <class T>
    explicit Digits( T value, int base = 10 )
        : end_( std::to_chars( buffer_, buffer_ + sizeof buffer_, value, base ).ptr ) {}
    std::string_view text() const { return { buffer_, end_ }; }

  private:
    char buffer_[24];
    const char * end_;
};

} // namespace

KelSliceQosReply::KelSliceQosReply( U32 fd, S32 patience )
    : writer_( static_cast<int>( fd ), patience ),
      buffer_( std::make_unique_for_overwrite<char[]>( capacity ) ) {}

KelSliceQosReply::~KelSliceQosReply() { flush(); }

void KelSliceQosReply::flush() {
    writer_.write( { buffer_.get(), size_ } );
    size_ = 0;
    if ( const int failure = writer_.failure(); failure != reportedFailure_ ) {
        reportedFailure_ = failure;
        KEL_TRACE( sliceTrace, 1 ) << "flush: Answer on descriptor " << writer_.fd()
                                   << " cut short: " << std::generic_category().message( failure );
    }
}

// A text that may not fit into what is left of the buffer.
KelSliceQosReply & KelSliceQosReply::longText( std::string_view text ) {
    while ( text.size() > capacity - size_ ) {
        const std::size_t fits = capacity - size_;
        std::memcpy( buffer_.get() + size_, text.data(), fits );
        text.remove_prefix( fits );
        size_ = capacity;
        flush();
    }
    std::memcpy( buffer_.get() + size_, text.data(), text.size() );
    size_ += text.size();
    return *this;
}

KelSliceQosReply & KelSliceQosReply::longRepeated( char c, U32 count ) {
    while ( count > 0 ) {
        if ( size_ == capacity ) {
            flush();
        }
        const std::size_t fits = std::min<std::size_t>( count, capacity - size_ );
        std::memset( buffer_.get() + size_, c, fits );
        size_ += fits;
        count -= static_cast<U32>( fits );
    }
    return *this;
}

KelSliceQosReply & KelSliceQosReply::signedNumber( S64 value ) {
    return text( Digits( value ).text() );
}

KelSliceQosReply & KelSliceQosReply::hex( U32 value ) { return text( Digits( value, 16 ).text() ); }

KelSliceQosReply & KelSliceQosReply::real( F64 value ) {
    // A sign, the digits before the point of the largest value, the point, six digits and the end;
    // the point of a locale may take several bytes.
    char buffer[std::numeric_limits<F64>::max_exponent10 + 32];
    const int length = std::snprintf( buffer, sizeof buffer, "%f", value );
    return text( { buffer, static_cast<std::size_t>( std::max( length, 0 ) ) } );
}

} // namespace KelQos
