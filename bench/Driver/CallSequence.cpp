#include "bench/Driver/CallSequence.h"

#include "Platform/Framework/Assert.h"

#include <type_traits>

namespace KelBench {

namespace {

// Turns the words of a recorded call back into the arguments of its function, from left to right.
class Arguments {
  public:
    Arguments( const CallSequence & sequence, const Call & call )
        : sequence_( sequence ), word_( call.arguments.data() ) {}

    template <class T>
    T next() {
        if constexpr ( std::is_same_v<T, const U8 *> ) {
            return sequence_.bytes[*word_++].data();
        } else if constexpr ( std::is_pointer_v<T> ) {
            return reinterpret_cast<T>( &stored_ );
        } else {
            return static_cast<T>( *word_++ );
        }
    }

  private:
    const CallSequence & sequence_;
    const U32 * word_;
    U32 stored_ = 0;
};

template <class Status, class... Args>
[[gnu::always_inline]] inline S32 issue( Status ( *function )( Args... ), Arguments arguments ) {
    // Braces keep the order from left to right.
    struct Issued {
        Status status;
        Issued( Status ( *f )( Args... ), Args... args ) : status( f( args... ) ) {}
    };
    return static_cast<S32>( Issued{ function, arguments.next<Args>()... }.status );
}

} // namespace

S32 CallSequence::replay() const {
    S32 status = 0;
    for ( const Call & call : calls ) {
        const Arguments arguments( *this, call );
        switch ( call.function ) {
#define KEL_BENCH_CASE( function )                                                                 \
    case DriverFunction::function##_:                                                              \
        status |= issue( function, arguments );                                                    \
        break;
            KEL_BENCH_DRIVER_FUNCTIONS( KEL_BENCH_CASE )
#undef KEL_BENCH_CASE
        }
    }
    return status;
}

namespace {

template <class T>
void writeAll( std::FILE * file, const std::vector<T> & values ) {
    const std::size_t count = values.size();
    KEL_ASSERT( std::fwrite( &count, sizeof count, 1, file ) == 1 );
    KEL_ASSERT( std::fwrite( values.data(), sizeof( T ), count, file ) == count );
}

template <class T>
void readAll( std::FILE * file, std::vector<T> & values ) {
    std::size_t count = 0;
    KEL_ASSERT( std::fread( &count, sizeof count, 1, file ) == 1 );
    values.resize( count );
    KEL_ASSERT( std::fread( values.data(), sizeof( T ), count, file ) == count );
}

} // namespace

void CallSequence::write( std::FILE * file ) const {
    writeAll( file, calls );
    writeAll( file, bytes );
}

CallSequence CallSequence::recorded( const std::string & words ) {
    const std::string command = std::string( KEL_BENCH_RECORDER ) + " " + words;
    std::FILE * const file = popen( command.c_str(), "r" );
    KEL_ASSERT( file );
    CallSequence sequence;
    readAll( file, sequence.calls );
    readAll( file, sequence.bytes );
    const int ended = pclose( file );
    KEL_ASSERT( ended == 0 );
    return sequence;
}

} // namespace KelBench
