#include "KelQos/Show/KelSliceQosReply.h"

#include "Platform/Logging/Trace.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <limits>
#include <sys/socket.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using KelQos::KelSliceQosReply;

// Two descriptors that are connected: what is written to the first can be read from the second.
class Channel {
  public:
    static Channel pipe() {
        int ends[2];
        EXPECT_EQ( ::pipe( ends ), 0 );
        return { ends[1], ends[0] };
    }
    static Channel socket( int type = SOCK_STREAM ) {
        int ends[2];
        EXPECT_EQ( socketpair( AF_UNIX, type, 0, ends ), 0 );
        return { ends[0], ends[1] };
    }
    Channel( const Channel & ) = delete;
    Channel & operator=( const Channel & ) = delete;
    ~Channel() {
        hangUp();
        end();
    }

    U32 fd() const { return static_cast<U32>( writer_ ); }
    int reader() const { return reader_; }
    Channel & nonBlocking() {
        fcntl( writer_, F_SETFL, O_NONBLOCK );
        return *this;
    }
    void hangUp() { close( std::exchange( reader_, -1 ) ); }
    // Reads on until the other side has ended and everything has come.
    std::string readAll() const {
        std::string text;
        char piece[65536];
        ssize_t count = 0;
        while ( ( count = read( reader_, piece, sizeof piece ) ) > 0 ) {
            text.append( piece, static_cast<std::size_t>( count ) );
        }
        return text;
    }
    void end() { close( std::exchange( writer_, -1 ) ); }

  private:
    Channel( int writer, int reader ) : writer_( writer ), reader_( reader ) {}
    int writer_;
    int reader_;
};

std::string replied( const std::function<void( KelSliceQosReply & )> & fill ) {
    Channel channel = Channel::socket();
    {
        KelSliceQosReply reply( channel.fd() );
        fill( reply );
    }
    channel.end();
    return channel.readAll();
}

template <class... Args>
std::string formatted( const char * format, Args... args ) {
    char text[512];
    std::snprintf( text, sizeof text, format, args... );
    return text;
}

// More than any buffer on the way takes, with every byte telling its place.
const std::string & longText() {
    static const std::string text = [] {
        std::string numbers;
        for ( U32 i = 0; numbers.size() < 3'000'000; ++i ) {
            numbers += std::to_string( i ) + "\n";
        }
        return numbers;
    }();
    return text;
}

// A packet socket keeps the pieces apart.
TEST( Reply, goesInPiecesOfItsBuffersSize ) {
    constexpr std::size_t full = 65536;
    const auto pieces = []( const std::function<void( KelSliceQosReply & )> & fill ) {
        const Channel channel = Channel::socket( SOCK_SEQPACKET );
        std::thread writer( [&] {
            KelSliceQosReply reply( channel.fd() );
            fill( reply.repeated( 'x', full - 1 ) );
        } );
        std::vector<std::size_t> sizes;
        std::vector<char> piece( 2 * full );
        do {
            const ssize_t size = recv( channel.reader(), piece.data(), piece.size(), 0 );
            sizes.push_back( static_cast<std::size_t>( size ) );
        } while ( sizes.back() == full );
        writer.join();
        return sizes;
    };
    using Sizes = std::vector<std::size_t>;
    EXPECT_EQ( pieces( []( auto & reply ) { reply.text( "a" ).text( "b" ); } ),
               ( Sizes{ full, 1 } ) );
    EXPECT_EQ( pieces( []( auto & reply ) { reply.text( "ab" ); } ), ( Sizes{ full, 1 } ) );
    EXPECT_EQ( pieces( []( auto & reply ) { reply.repeated( 'a', 2 ); } ), ( Sizes{ full, 1 } ) );
    EXPECT_EQ( pieces( []( auto & reply ) { reply.text( std::string( full + 2, 'a' ) ); } ),
               ( Sizes{ full, full, 1 } ) );
}

TEST( Reply, formatsAsPrintfDoes ) {
    std::string expected;
    const std::string got = replied( [&]( KelSliceQosReply & reply ) {
        const auto numbers = [&]( U64 value ) {
            const auto low = static_cast<U32>( value );
            reply.number( value ).text( "|" ).number( value, 5 ).number( value, 40 );
            reply.signedNumber( static_cast<S32>( low ) ).text( " 0x" ).hex( low );
            expected += formatted( "%lu|%5lu%40lu%d 0x%x", value, value, value, low, low );
        };
        numbers( 0 );
        for ( U32 bit = 0; bit < 64; ++bit ) {
            numbers( U64{ 1 } << bit );
            numbers( ( U64{ 1 } << bit ) - 1 );
        }
        for ( U64 power = 1; power < 10'000'000'000'000'000'000U; power *= 10 ) {
            numbers( power );
            numbers( power - 1 );
        }
        numbers( std::numeric_limits<U64>::max() );
        for ( const char * text : { "", "a", "abcde", "abcdef" } ) {
            reply.right( text, 5 ).text( "|" ).left( text, 5 ).text( "|" ).left( text, 0 );
            expected += formatted( "%5s|%-5s|%s", text, text, text );
        }
        for ( const double value :
              { 0.0, -0.0, 1.5, 66.0, 0.1, 1e-9, -2.0 / 3, 1e300,
                std::numeric_limits<double>::lowest(), std::numeric_limits<double>::infinity() } ) {
            reply.real( value );
            expected += formatted( "%f", value );
        }
        reply.repeated( '=', 84 );
        expected += std::string( 84, '=' );
    } );
    EXPECT_EQ( got, expected );
}

TEST( Reply, goesOutInOnePieceAtTheEnd ) {
    // Every write to this kind of socket is a message of its own.
    Channel channel = Channel::socket( SOCK_SEQPACKET );
    {
        KelSliceQosReply reply( channel.fd() );
        for ( U32 i = 0; i < 1000; ++i ) {
            reply.number( i, 9 ).text( "\n" );
        }
    }
    std::string message( 20000, '\0' );
    EXPECT_EQ( recv( channel.reader(), message.data(), message.size(), 0 ), 10000 );
}

TEST( Reply, longerThanEveryBufferArrivesWholeAtAReaderThatReads ) {
    for ( auto make : { +[] { return Channel::socket(); }, +[] { return Channel::pipe(); } } ) {
        for ( const bool nonBlocking : { false, true } ) {
            Channel channel = make();
            if ( nonBlocking ) {
                channel.nonBlocking();
            }
            std::string got;
            std::thread reader( [&] { got = channel.readAll(); } );
            {
                KelSliceQosReply reply( channel.fd(), 300'000 );
                reply.text( "first\n" ).text( longText() ).text( "last\n" );
                reply.repeated( '=', 200'000 );
            }
            channel.end();
            reader.join();
            EXPECT_TRUE( got == "first\n" + longText() + "last\n" + std::string( 200'000, '=' ) );
        }
    }
}

TEST( Reply, isCutShortRatherThanWaitForAReaderThatDoesNotRead ) {
    for ( auto make : { +[] { return Channel::socket(); }, +[] { return Channel::pipe(); } } ) {
        for ( const bool nonBlocking : { false, true } ) {
            Channel channel = make();
            if ( nonBlocking ) {
                channel.nonBlocking();
            }
            {
                KelSliceQosReply reply( channel.fd(), 1 );
                reply.text( longText() ).text( "last\n" );
            }
            channel.end();
            const std::string got = channel.readAll();
            EXPECT_GT( got.size(), 0U );
            EXPECT_LT( got.size(), longText().size() );
            EXPECT_EQ( got, longText().substr( 0, got.size() ) );
        }
    }
}

TEST( Reply, isCutShortWhenASignalComesWhileItWaits ) {
    struct sigaction interrupt {};
    interrupt.sa_handler = []( int ) {};
    struct sigaction before {};
    sigaction( SIGALRM, &interrupt, &before );
    Channel channel = Channel::pipe(); // a blocking one: to write to it once it is full is to hang
    const itimerval soon{ {}, { .tv_sec = 0, .tv_usec = 20'000 } };
    setitimer( ITIMER_REAL, &soon, nullptr );
    {
        KelSliceQosReply reply( channel.fd(), 100 );
        reply.text( longText() );
    }
    sigaction( SIGALRM, &before, nullptr );
    channel.end();
    EXPECT_LT( channel.readAll().size(), longText().size() );
}

TEST( Reply, toAPeerThatIsGoneEndsWithoutASignal ) {
    Kel::traceLevelsIs( "KelSliceQosSm=1" );
    std::vector<std::string> traced;
    Kel::traceSinkIs( [&]( const Kel::TraceRecord & record ) {
        traced.emplace_back( record.text.substr( record.text.find( " cut" ) ) );
    } );
    for ( auto make : { +[] { return Channel::socket(); }, +[] { return Channel::pipe(); } } ) {
        Channel channel = make();
        channel.hangUp();
        KelSliceQosReply( channel.fd() ).text( longText() ).text( "last\n" );
        sigset_t pending;
        sigpending( &pending );
        EXPECT_EQ( sigismember( &pending, SIGPIPE ), 0 );
        sigset_t blocked;
        pthread_sigmask( SIG_SETMASK, nullptr, &blocked );
        EXPECT_EQ( sigismember( &blocked, SIGPIPE ), 0 );
    }
    KelSliceQosReply( 0xFFFFFFFF ).text( "to nobody" );
    Kel::traceSinkIs( nullptr );
    Kel::traceLevelsDelAll();
    EXPECT_EQ( traced,
               ( std::vector<std::string>{ " cut short: Broken pipe", " cut short: Broken pipe",
                                           " cut short: Bad file descriptor" } ) );
}

} // namespace
