#include "Host/Play/EventLog.h"

#include "Host/Switch/AnswerFile.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

using namespace KelHost;

namespace {

class EventLogTest : public testing::Test {
  protected:
    Kel::ActivityManager activityManager_;
    AnswerFile file_;
    EventLog log_{ file_.fd(), activityManager_ };
};

TEST_F( EventLogTest, AnAnswerIsOneJsonStringWhateverIsInIt ) {
    log_.reply( "a \"b\"\n\tü" );
    activityManager_.advanceTo( 12345678.9996 );
    log_.reply( "cut \xC3" );
    const std::string longAnswer( 100000, 'x' );
    log_.reply( longAnswer );
    EXPECT_EQ( file_.text(), "0.000 reply \"a \\\"b\\\"\\n\\tü\"\n"
                             "12345679.000 reply \"cut \xEF\xBF\xBD\"\n"
                             "12345679.000 reply \"" +
                                 longAnswer + "\"\n" );
}

class Pipe {
  public:
    Pipe() { EXPECT_EQ( pipe2( ends_, O_CLOEXEC ), 0 ); }
    ~Pipe() {
        close( 0 );
        close( 1 );
    }
    int readEnd() const { return ends_[0]; }
    int writeEnd() const { return ends_[1]; }
    void close( int end ) {
        if ( ends_[end] >= 0 ) {
            ::close( std::exchange( ends_[end], -1 ) );
        }
    }

  private:
    int ends_[2];
};

TEST( EventLog, WaitsForASlowReaderEvenOfANonBlockingPipe ) {
    Pipe pipe;
    ASSERT_EQ( fcntl( pipe.writeEnd(), F_SETFL, O_NONBLOCK ), 0 );
    std::string received;
    std::thread reader( [&] {
        char piece[4096];
        for ( ssize_t count = 0; ( count = read( pipe.readEnd(), piece, sizeof piece ) ) > 0; ) {
            received.append( piece, static_cast<std::size_t>( count ) );
        }
    } );
    const Kel::ActivityManager activityManager;
    EventLog log( pipe.writeEnd(), activityManager );
    const std::string event( 300000, 'x' ); // several times what a pipe holds
    log.event( event );
    log.event( "last" );
    pipe.close( 1 );
    reader.join();
    EXPECT_EQ( received, "0.000 " + event + "\n0.000 last\n" );
}

TEST( EventLogDeathTest, AReaderThatIsGoneEndsTheProcessWithAReason ) {
    EXPECT_EXIT(
        {
            std::signal( SIGPIPE, SIG_IGN );
            Pipe pipe;
            pipe.close( 0 );
            const Kel::ActivityManager activityManager;
            EventLog( pipe.writeEnd(), activityManager ).event( "lost" );
        },
        testing::ExitedWithCode( EventLog::writeFailed ),
        "kelqos: cannot write the event log: Broken pipe" );
    EXPECT_EXIT(
        {
            const Kel::ActivityManager activityManager;
            EventLog( open( "/dev/full", O_WRONLY | O_CLOEXEC ), activityManager ).event( "lost" );
        },
        testing::ExitedWithCode( EventLog::writeFailed ), "No space left on device" );
}

} // namespace
