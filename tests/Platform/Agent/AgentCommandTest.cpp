#include "Platform/Agent/AgentCommand.h"
#include "Platform/Framework/Exceptions.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <unistd.h>

namespace {

struct Answerer : Agent::AgentCommandCallback {
    using Action = std::function<void( U32 socket, const std::string & command )>;
    Answerer( const std::string & type, Action does )
        : AgentCommandCallback( "answerer", type ), action( std::move( does ) ) {}
    void handleCommand( U32 socket, std::string command ) override { action( socket, command ); }
    const Action action;
};

struct AgentCommand : testing::Test {
    AgentCommand() { EXPECT_EQ( pipe( ends ), 0 ); }
    ~AgentCommand() override {
        close( ends[0] );
        close( ends[1] );
    }
    void answer( const std::string & type, const Answerer::Action & action ) {
        channel->agentCommandCallbackIs( Kel::makePtr<Answerer>( type, action ) );
    }
    void answerWith( const std::string & type, const std::string & text ) {
        answer( type, [text]( U32 socket, const std::string & command ) {
            dprintf( static_cast<int>( socket ), "%s: %s", text.c_str(), command.c_str() );
        } );
    }
    // What comes out of the reply socket, which stays open.
    std::string ask( const std::string & type, const std::string & command ) const {
        const bool delivered = channel->deliver( type, static_cast<U32>( ends[1] ), command );
        EXPECT_EQ( write( ends[1], ".", 1 ), 1 );
        char reply[256];
        const ssize_t length = read( ends[0], reply, sizeof reply );
        return delivered ? std::string( reply, static_cast<std::size_t>( length ) ) : "nobody";
    }

    int ends[2];
    Kel::Ptr<Agent::AgentCommandRequestDirSm> channel =
        Kel::makePtr<Agent::AgentCommandRequestDirSm>();
};

TEST_F( AgentCommand, ReachesTheCallbackOfItsType ) {
    EXPECT_EQ( ask( "Qos", "0:show tm" ), "nobody" );
    answerWith( "Qos", "first" );
    answerWith( "Other", "other" );
    EXPECT_EQ( ask( "Qos", "0:show tm" ), "first: 0:show tm." );
    answerWith( "Qos", "second" );
    EXPECT_EQ( ask( "Qos", "show buf" ), "second: show buf." );
    EXPECT_THROW( channel->agentCommandCallbackIs( nullptr ), Kel::NullArgumentException );
    channel->agentCommandCallbackDel( "Qos" );
    EXPECT_EQ( channel->agentCommandCallback( "Qos" ), nullptr );
    EXPECT_EQ( ask( "Qos", "show buf" ), "nobody" );
    EXPECT_EQ( ask( "Other", "x" ), "other: x." );
    answer( "Qos", [this, text = std::string( "still here" )]( U32 socket, const auto & ) {
        channel->agentCommandCallbackDel( "Qos" ); // while it answers
        dprintf( static_cast<int>( socket ), "%s", text.c_str() );
    } );
    EXPECT_EQ( ask( "Qos", "x" ), "still here." );
    EXPECT_EQ( ask( "Qos", "x" ), "nobody" );
}

TEST_F( AgentCommand, RefusalsAreAnsweredAndOtherFailuresPassThrough ) {
    answer( "Qos", []( U32 socket, const std::string & ) {
        dprintf( static_cast<int>( socket ), "begun\n" );
        throw Kel::RangeException( "no such device" );
    } );
    EXPECT_EQ( ask( "Qos", "9:show tm" ), "begun\nCommand failed: no such device\n." );
    answer( "Qos", []( U32, const std::string & ) { throw std::logic_error( "bug" ); } );
    EXPECT_THROW( channel->deliver( "Qos", 0, "x" ), std::logic_error );
    answer( "Qos", []( U32, const std::string & ) { throw Kel::RangeException( "gone" ); } );
    close( std::exchange( ends[0], -1 ) );
    EXPECT_TRUE( channel->deliver( "Qos", static_cast<U32>( ends[1] ), "x" ) ); // no signal
}

} // namespace
