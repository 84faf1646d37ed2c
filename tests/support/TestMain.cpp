#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <unistd.h>

// The main function of all test programs. A test that does not come to its end is named on standard
// error, and its process ends as a failure; so does a child of the test's that hangs, which
// inherits the time. With --gtest_break_on_failure, for whoever sits at a debugger, there is no
// limit.
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr unsigned patience = 100; // seconds
#else
constexpr unsigned patience = 20;
#endif

// Ready when the signal comes: its handler may hardly do anything, and death tests take standard
// error away.
std::string verdict;
const int standardError = fcntl( STDERR_FILENO, F_DUPFD_CLOEXEC, 0 );

void giveUp( int ) {
    [[maybe_unused]] const auto written = write( standardError, verdict.data(), verdict.size() );
    _exit( EXIT_FAILURE );
}

class Watchdog : public testing::EmptyTestEventListener {
    void OnTestStart( const testing::TestInfo & test ) override {
        verdict = "[  HANGS   ] " + std::string( test.test_suite_name() ) + "." + test.name() +
                  " has not ended after " + std::to_string( patience ) + " s\n";
        alarm( patience );
    }
};

} // namespace

int main( int argc, char ** argv ) {
    testing::InitGoogleTest( &argc, argv );
    if ( !GTEST_FLAG_GET( break_on_failure ) ) {
        std::signal( SIGALRM, giveUp );
        pthread_atfork( nullptr, nullptr, [] { alarm( patience ); } );
        testing::UnitTest::GetInstance()->listeners().Append( new Watchdog );
    }
    return RUN_ALL_TESTS();
}
