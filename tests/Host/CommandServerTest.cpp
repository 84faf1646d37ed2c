#include "Host/Agent/CommandServer.h"
#include "Host/Agent/CommandSocket.h"
#include "tests/Host/ProcessHelpers.h"

#include <algorithm>

using namespace KelHost;
using namespace KelHostTest;

namespace {

std::string refusal( const std::string & why ) {
    return encoded( Answer{ AnswerStatus::refused, why } );
}

// The server in this process, where time is the test's: it stands still but for beats().
class CommandServerTest : public testing::Test {
  protected:
    FileDescriptor connection() {
        FileDescriptor client = connectedTo( socket.path(), SOCK_NONBLOCK );
        EXPECT_TRUE( client );
        serve();
        return client;
    }
    // Serves what is ready, until nothing is.
    void serve() {
        busy = true;
        loop.beforeEventIs( [this] { busy = true; } );
        while ( std::exchange( busy, false ) ) {
            loop.wait( 0 );
        }
    }
    void beats( U32 count ) {
        for ( U32 i = 0; i < count; ++i ) {
            server.beat();
            serve();
        }
    }

    void say( const FileDescriptor & client, std::string_view text ) {
        EXPECT_EQ( send( client.get(), text.data(), text.size(), MSG_NOSIGNAL ),
                   static_cast<ssize_t>( text.size() ) );
        serve();
    }
    // What the client has got so far, at most so much; "..." behind it while the connection stands.
    std::string heard( const FileDescriptor & client, std::size_t most = 1 << 26 ) {
        std::string text;
        std::vector<char> piece( 65536 );
        while ( text.size() < most ) {
            const ssize_t count =
                recv( client.get(), piece.data(), std::min( piece.size(), most - text.size() ), 0 );
            if ( count <= 0 ) {
                const bool ended = count == 0 || errno == ECONNRESET;
                return ended ? text : text + "...";
            }
            text.append( piece.data(), static_cast<std::size_t>( count ) );
            serve();
        }
        return text + "...";
    }

    void answer( const Request & request, const CommandServer::Reply & reply ) {
        requests.push_back( request );
        if ( request.kind == RequestKind::reload ) {
            later.push_back( reply );
        } else {
            const bool little = request.body == "little";
            reply( { AnswerStatus::done, std::string( little ? 1 : answerSize, 'a' ) } );
        }
    }

    TempFolder folder;
    EventLoop loop;
    CommandSocket socket{ folder.file( "socket" ) };
    std::vector<Request> requests;
    std::vector<CommandServer::Reply> later; // of reloads
    std::size_t answerSize = 3;
    bool busy = false;
    CommandServer server{ socket.fd(), loop,
                          [this]( const Request & request, const CommandServer::Reply & reply ) {
                              answer( request, reply );
                          } };
};

} // namespace

TEST_F( CommandServerTest, takesARequestInPieces ) {
    const FileDescriptor client = connection();
    for ( const char c : std::string( "feed 5\n{\n\n\n" ) ) {
        say( client, { &c, 1 } );
    }
    EXPECT_EQ( heard( client ), "..." );
    say( client, "} and what nobody asked for" );
    EXPECT_EQ( requests, ( std::vector<Request>{ { RequestKind::feed, "{\n\n\n}" } } ) );
    EXPECT_EQ( heard( client ), "done 3\naaa" );
    EXPECT_EQ( server.clients(), 0u );
}

TEST_F( CommandServerTest, refusesWhatIsNoRequest ) {
    const std::string malformed = "malformed request";
    const std::pair<std::string, std::string> stories[] = {
        { "\n", malformed },
        { "command\n", malformed },
        { "command \n", malformed },
        { "command -1\n", malformed },
        { "command 1 \n", malformed },
        { "command 99999999999999999999\n", malformed },
        { "Command 1\nx", malformed },
        { std::string( 100000, 'x' ), malformed },
        { "reload 1\nx", "the request is longer than 0 bytes" },
        { "command 4097\n", "the request is longer than 4096 bytes" },
    };
    for ( const auto & [said, why] : stories ) {
        const FileDescriptor client = connection();
        say( client, said );
        EXPECT_EQ( heard( client ), refusal( why ) ) << said;
    }
    EXPECT_TRUE( requests.empty() );
    EXPECT_EQ( server.clients(), 0u );
}

TEST_F( CommandServerTest, passesALongAnswerOnAsItIsRead ) {
    answerSize = 10'000'000;
    const FileDescriptor slow = connection();
    say( slow, "ring 0\n" );
    const FileDescriptor quick = connection();
    say( quick, "ring 0\n" );
    EXPECT_EQ( heard( quick ).size(), answerSize + std::string( "done 10000000\n" ).size() );

    std::size_t got = 0;
    while ( got < answerSize / 2 ) { // a piece now and then, more often than patience ends
        beats( ClientSession::readingBeats );
        got += heard( slow, 1'000'000 ).size() - 3;
    }
    EXPECT_EQ( server.clients(), 1u );
    beats( ClientSession::readingBeats + 1 );
    EXPECT_EQ( server.clients(), 0u );
}

TEST_F( CommandServerTest, patienceEnds ) {
    const FileDescriptor silent = connection();
    const FileDescriptor waiting = connection();
    say( waiting, "reload 0\n" );
    beats( ClientSession::requestBeats / 2 );
    const FileDescriptor dribbling = connection();
    beats( ClientSession::requestBeats / 2 + 1 );
    EXPECT_EQ( heard( silent ), "" );
    say( dribbling, "comm" );
    EXPECT_EQ( heard( dribbling ), "..." );
    beats( ClientSession::requestBeats / 2 );
    EXPECT_EQ( heard( dribbling ), "" );
    EXPECT_EQ( heard( waiting ), "..." ); // for as long as a reload takes
    EXPECT_EQ( server.clients(), 1u );
}

// What was sent while nothing could be read, because the agent was busy or held up, is in time.
TEST_F( CommandServerTest, answersLaterToWhoeverIsStillThere ) {
    const FileDescriptor early = connection();
    FileDescriptor gone = connection();
    say( early, "reload 0\n" );
    say( gone, "reload 0\n" );
    gone = FileDescriptor();
    serve();
    EXPECT_EQ( server.clients(), 1u );
    for ( const CommandServer::Reply & reply : later ) {
        reply( { AnswerStatus::refused, "no" } );
    }
    EXPECT_EQ( heard( early ), refusal( "no" ) );
    EXPECT_EQ( server.clients(), 0u );
}

TEST_F( CommandServerTest, boundsClientsAndWhatItKeepsOfThem ) {
    std::vector<FileDescriptor> clients( CommandServer::clientLimit );
    for ( FileDescriptor & client : clients ) {
        client = connection();
    }
    // The one that has been silent for longest makes room; not one that has just spoken.
    send( clients[0].get(), "ring 0\n", 7, MSG_NOSIGNAL );
    send( clients[1].get(), "feed 5\n", 7, MSG_NOSIGNAL );
    const FileDescriptor next = connection();
    EXPECT_EQ( heard( clients[0] ), "done 3\naaa" );
    const FileDescriptor another = connection();
    EXPECT_EQ( heard( clients[1] ), "..." );
    EXPECT_EQ( heard( clients[2] ),
               refusal( "the agent has too many clients, and this one was silent" ) );
    say( next, "ring 0\n" );
    EXPECT_EQ( heard( next ), "done 3\naaa" );

    // Seven of them send almost all of what a feed may have.
    const std::string part( 65536, 'x' );
    for ( std::size_t i = 10; i < 17; ++i ) {
        (void)send( clients[i].get(), "feed 4194304\n", 13, MSG_NOSIGNAL );
        for ( int count = 0; count < 60; ++count ) {
            (void)send( clients[i].get(), part.data(), part.size(), MSG_NOSIGNAL );
            serve();
        }
    }
    EXPECT_EQ( heard( clients[10] ), "..." );
    EXPECT_EQ( heard( clients[16] ), refusal( "the agent is busy with the requests of others" ) );
}

TEST_F( CommandServerTest, oneWhoAsksForLittleIsNotHeldUpByManyWhoAskForMuch ) {
    answerSize = 10000;
    std::vector<FileDescriptor> clients( 21 );
    for ( FileDescriptor & client : clients ) {
        client = connection();
    }
    say( clients[0], "command 4\nmuch" );
    for ( std::size_t i = 1; i < 20; ++i ) {
        (void)send( clients[i].get(), "command 4\nmuch", 14, MSG_NOSIGNAL );
    }
    say( clients[20], "command 6\nlittle" );
    const auto little = std::ranges::find( requests, "little", &Request::body );
    EXPECT_LE( little - requests.begin(), 4 );
    EXPECT_EQ( requests.size(), 21U ); // nor are they
}

TEST_F( CommandServerTest, newcomersWaitWhileEverybodyIsServed ) {
    std::vector<FileDescriptor> clients( CommandServer::clientLimit );
    for ( FileDescriptor & client : clients ) {
        client = connection();
        say( client, "reload 0\n" );
    }
    const FileDescriptor newcomer = connection();
    say( newcomer, "ring 0\n" );
    EXPECT_EQ( heard( newcomer ), "..." );
    later.front()( { AnswerStatus::done, "ok" } );
    serve();
    EXPECT_EQ( heard( newcomer ), "done 3\naaa" );
}

TEST_F( CommandServerTest, boundsWhatNobodyReads ) {
    answerSize = CommandServer::answerLimit / 3 - 100;
    std::vector<FileDescriptor> clients( 4 );
    for ( FileDescriptor & client : clients ) {
        client = connection();
        say( client, "ring 0\n" );
        (void)heard( clients[1], 1 ); // the second one reads a little now and then
    }
    EXPECT_EQ( server.clients(), 3u );
    EXPECT_GT( heard( clients[1] ).size(), answerSize );
    EXPECT_LT( heard( clients[0] ).size(), answerSize );
    EXPECT_GT( heard( clients[3] ).size(), answerSize );
}

TEST_F( CommandServerTest, vanishingClientsLeaveNothingBehind ) {
    answerSize = 10'000'000;
    FileDescriptor client = connection();
    say( client, "ring 0\n" );
    EXPECT_EQ( server.clients(), 1u );
    client = FileDescriptor();
    serve();
    client = connection();
    say( client, "command 9\nsh" );
    client = FileDescriptor();
    serve();
    EXPECT_EQ( server.clients(), 0u );
}
