#include "Platform/Agent/AgentCommand.h"
#include "Platform/Framework/Exceptions.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <stdexcept>
#include <unistd.h>

namespace {

using Agent::AgentCommandCallback;
using Agent::AgentCommandRequestDirSm;
using Kel::makePtr;
using Kel::Ptr;

class Answerer : public AgentCommandCallback {
  public:
    using Action = std::function<void( U32 socket, const std::string & command )>;
    Answerer( const std::string & type, Action action )
        : AgentCommandCallback( "answerer", type ), action_( std::move( action ) ) {}
    void handleCommand( U32 socket, std::string command ) override { action_( socket, command ); }

  private:
    Action action_;
};

struct AgentCommand : testing::Test {
    void answer( const std::string & type, Answerer::Action action ) {
        channel->agentCommandCallbackIs( makePtr<Answerer>( type, std::move( action ) ) );
    }
    void answerWith( const std::string & type, const std::string & text ) {
        answer( type, [text]( U32 socket, const std::string & command ) {
            dprintf( static_cast<int>( socket ), "%s: %s", text.c_str(), command.c_str() );
        } );
    }
    // What comes out of the reply socket.
    std::string ask( const std::string & type, const std::string & command ) {
        std::array<int, 2> ends{};
        EXPECT_EQ( pipe( ends.data() ), 0 );
        const bool delivered = channel->deliver( type, static_cast<U32>( ends[1] ), command );
        std::array<char, 256> reply{};
        EXPECT_EQ( close( ends[1] ), 0 ); // the channel has left it open
        const ssize_t length = read( ends[0], reply.data(), reply.size() );
        close( ends[0] );
        return delivered ? std::string( reply.data(), static_cast<std::size_t>( length ) )
                         : "nobody answers";
    }

    Ptr<AgentCommandRequestDirSm> channel = makePtr<AgentCommandRequestDirSm>();
};

TEST_F( AgentCommand, ReachesTheCallbackOfItsType ) {
    EXPECT_EQ( ask( "Qos", "0:show tm" ), "nobody answers" );
    answerWith( "Qos", "first" );
    answerWith( "Other", "other" );
    EXPECT_EQ( ask( "Qos", "0:show tm" ), "first: 0:show tm" );
    answerWith( "Qos", "second" );
    EXPECT_EQ( ask( "Qos", "show buf" ), "second: show buf" );
    EXPECT_THROW( channel->agentCommandCallbackIs( nullptr ), Kel::NullArgumentException );
    channel->agentCommandCallbackDel( "Qos" );
    EXPECT_EQ( channel->agentCommandCallback( "Qos" ), nullptr );
    EXPECT_EQ( ask( "Qos", "show buf" ), "nobody answers" );
    EXPECT_EQ( ask( "Other", "x" ), "other: x" );
}

TEST_F( AgentCommand, RefusalsAreAnsweredAndOtherFailuresPassThrough ) {
    answer( "Qos", []( U32 socket, const std::string & ) {
        dprintf( static_cast<int>( socket ), "begun\n" );
        throw Kel::RangeException( "no such device" );
    } );
    EXPECT_EQ( ask( "Qos", "9:show tm" ), "begun\nCommand failed: no such device\n" );
    std::array<int, 2> ends{};
    ASSERT_EQ( pipe( ends.data() ), 0 );
    answer( "Qos", []( U32, const std::string & ) { throw Kel::RangeException( "gone" ); } );
    close( ends[0] );
    EXPECT_TRUE( channel->deliver( "Qos", static_cast<U32>( ends[1] ), "x" ) ); // no signal
    close( ends[1] );
    answer( "Qos", []( U32, const std::string & ) { throw std::logic_error( "bug" ); } );
    EXPECT_THROW( channel->deliver( "Qos", 0, "x" ), std::logic_error );
}

TEST_F( AgentCommand, CallbackMayWithdrawWhileItAnswers ) {
    answer( "Qos", [this, text = std::string( "still here" )]( U32 socket, const auto & ) {
        channel->agentCommandCallbackDel( "Qos" );
        dprintf( static_cast<int>( socket ), "%s", text.c_str() );
    } );
    EXPECT_EQ( ask( "Qos", "x" ), "still here" );
    EXPECT_EQ( ask( "Qos", "x" ), "nobody answers" );
}

} // namespace
