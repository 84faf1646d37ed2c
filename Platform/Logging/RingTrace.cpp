#include "Platform/Logging/RingTrace.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <unistd.h>

namespace Kel {

namespace {

constexpr std::size_t processRingSize = std::size_t{ 256 } * 1024; // bytes

U8 processRingMemory[processRingSize];

template <typename T>
T taken( const U8 *& from ) {
    T value;
    std::memcpy( &value, from, sizeof value );
    from += sizeof value;
    return value;
}

template <typename Out, typename T>
void putNumber( Out & out, T value ) {
    std::array<char, 32> buffer; // the shortest form of a double has at most 24 characters
    const auto result = std::to_chars( buffer.data(), buffer.data() + buffer.size(), value );
    out.append( std::string_view( buffer.data(), result.ptr ) );
}

template <typename Out>
void putCopiedText( Out & out, const U8 *& from ) {
    const std::size_t length = taken<U8>( from );
    std::array<char, ringTraceTextMax> text;
    const std::size_t kept = std::min( length, text.size() );
    for ( std::size_t i = 0; i < kept; ++i ) {
        // A record is one line, whatever somebody sent over a socket.
        text[i] = from[i] < ' ' || from[i] == 0x7F ? '?' : static_cast<char>( from[i] );
    }
    from += kept;
    out.append( std::string_view( text.data(), kept ) );
    out.append( length > kept ? "..." : "" );
}

template <typename Out>
void putField( Out & out, char format, const U8 *& from ) {
    switch ( format ) {
    case 't':
        return static_cast<void>( out.append( taken<const char *>( from ) ) );
    case 's':
        return putNumber( out, taken<U16>( from ) );
    case 'i':
        return putNumber( out, taken<U32>( from ) );
    case 'q':
        return putNumber( out, taken<U64>( from ) );
    case 'S':
        return putNumber( out, taken<S16>( from ) );
    case 'I':
        return putNumber( out, taken<S32>( from ) );
    case 'Q':
        return putNumber( out, taken<S64>( from ) );
    case 'f':
        return putNumber( out, taken<float>( from ) );
    case 'F':
        return putNumber( out, taken<double>( from ) );
    default:
        return putCopiedText( out, from );
    }
}

// Collects what goes to a descriptor, so that it takes few system calls.
class DescriptorOut {
  public:
    explicit DescriptorOut( int fd ) : fd_( fd ) {}
    ~DescriptorOut() { flush(); }
    DescriptorOut( const DescriptorOut & ) = delete;
    DescriptorOut & operator=( const DescriptorOut & ) = delete;

    void append( std::string_view text ) {
        while ( !text.empty() ) {
            const std::size_t count = std::min( text.size(), buffer_.size() - used_ );
            std::memcpy( buffer_.data() + used_, text.data(), count );
            used_ += count;
            text.remove_prefix( count );
            if ( used_ == buffer_.size() ) {
                flush();
            }
        }
    }

  private:
    void flush() {
        for ( std::size_t done = 0; done < used_ && !failed_; ) {
            const ssize_t count = ::write( fd_, buffer_.data() + done, used_ - done );
            failed_ = count < 0 && errno != EINTR;
            done += count > 0 ? static_cast<std::size_t>( count ) : 0;
        }
        used_ = 0;
    }

    int fd_;
    bool failed_ = false;
    std::array<char, 1024> buffer_;
    std::size_t used_ = 0;
};

} // namespace

// Ready before any constructor runs: static initialisation may record.
constinit RingTrace ringTraceOfProcess{ processRingMemory };

U16 RingTrace::recordSize( std::size_t offset ) const {
    U16 size = 0;
    std::memcpy( &size, memory_.data() + offset, sizeof size );
    return size;
}

std::size_t RingTrace::padding( U64 position ) const {
    const std::size_t rest = memory_.size() - offset( position );
    return rest < sizeof( U16 ) || recordSize( offset( position ) ) == 0 ? rest : 0;
}

void RingTrace::dropOldest() {
    tail_ += padding( tail_ );
    tail_ += recordSize( offset( tail_ ) );
    ++lost_;
}

U8 * RingTrace::reserved( std::size_t size ) {
    KEL_ASSERT( size <= memory_.size() / 4 && size <= 0xFFFF );
    const std::size_t rest = memory_.size() - offset( head_ );
    const std::size_t skipped = size > rest ? rest : 0;
    while ( head_ + skipped + size - tail_ > memory_.size() ) {
        dropOldest();
    }
    if ( skipped >= sizeof( U16 ) ) {
        std::memset( memory_.data() + offset( head_ ), 0, sizeof( U16 ) );
    }
    head_ += skipped;
    return memory_.data() + offset( head_ );
}

template <typename Out>
void RingTrace::render( Out & out ) const {
    U64 number = lost_;
    for ( U64 position = tail_; position != head_; ) {
        position += padding( position );
        const U8 * from = memory_.data() + offset( position );
        position += taken<U16>( from );
        putNumber( out, ++number );
        out.append( " " );
        char previous = 't';
        const char * format = taken<const char *>( from );
        if ( *format == timeFormat ) {
            ++format;
            const auto time = taken<F64>( from );
            std::array<char, 32> text;
            if ( clock_.text != nullptr ) {
                out.append( std::string_view( text.data(), clock_.text( time, text.data() ) ) );
                out.append( " " );
            }
        }
        for ( ; *format != '\0'; ++format ) {
            out.append( previous != 't' && *format != 't' ? " " : "" );
            putField( out, *format, from );
            previous = *format;
        }
        out.append( "\n" );
    }
}

std::string RingTrace::text() const {
    std::string out;
    render( out );
    return out;
}

void RingTrace::write( int fd ) const {
    DescriptorOut out( fd );
    render( out );
}

void RingTrace::clear() { head_ = tail_ = lost_ = 0; }

} // namespace Kel
