#include "KelQos/Show/KelSliceQosReply.h"

#include "KelQos/Slice/KelSliceQosSmLog.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <limits>

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

// Why an answer was cut short, in words that the process's locale does not change.
std::string reasonOf( int failure ) {
    switch ( failure ) {
    case EBADF:
        return "Bad file descriptor";
    case ECONNRESET:
        return "Connection reset by peer";
    case ENOSPC:
        return "No space left on device";
    case EPIPE:
        return "Broken pipe";
    case ETIMEDOUT:
        return "Connection timed out";
    default:
        return "error " + std::to_string( failure );
    }
}

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
                                   << " cut short: " << reasonOf( failure );
    }
}

// A text that does not fit into the rest of the buffer.
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
    // Room for a sign, the digits of the largest value, the point and six decimals.
    char buffer[std::numeric_limits<F64>::max_exponent10 + 16];
    const auto result =
        std::to_chars( buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6 );
    return text( { buffer, result.ptr } );
}

} // namespace KelQos
