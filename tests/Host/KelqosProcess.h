#pragma once

#include "Host/AnswerFile.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace KelHostTest {

struct Outcome {
    int status = 0; // exit status, or minus the signal that ended the process
    std::string out = {};
    std::string err = {};
    bool operator==( const Outcome & ) const = default;
};

// Runs the program to its end. `outFd`: where standard output goes instead of into the result.
inline Outcome runKelqos( std::vector<std::string> args, int outFd = -1 ) {
    const KelHost::AnswerFile out;
    const KelHost::AnswerFile err;
    std::vector<char *> argv{ const_cast<char *>( "kelqos" ) };
    for ( std::string & arg : args ) {
        argv.push_back( arg.data() );
    }
    argv.push_back( nullptr );
    const pid_t child = fork();
    if ( child == 0 ) {
        dup2( outFd >= 0 ? outFd : out.fd(), STDOUT_FILENO );
        dup2( err.fd(), STDERR_FILENO );
        execv( KELQOS_PROGRAM, argv.data() );
        _exit( 127 );
    }
    int state = 0;
    EXPECT_EQ( waitpid( child, &state, 0 ), child );
    return { WIFEXITED( state ) ? WEXITSTATUS( state ) : -WTERMSIG( state ), out.text(),
             err.text() };
}

inline Outcome play( std::string_view text, std::vector<std::string> options = {} ) {
    const TestSupport::TempFolder folder;
    options.insert( options.begin(), { "play", folder.write( "tour.json", text ) } );
    return runKelqos( std::move( options ) );
}

} // namespace KelHostTest
