#include "KelQos/Show/KelSliceQosCli.h"

#include "KelQos/Show/KelSliceQosReply.h"
#include "KelQos/Slice/KelSliceQosSm.h"
#include "KelQos/Slice/KelSliceQosSmLog.h"
#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <sys/socket.h>

namespace KelQos {

using Kel::IntfId;
using Kel::Ptr;
using KelId::KelDevId;

namespace {

// Tested in this order: "show tm" is part of the texts before it.
struct CommandText {
    KelSliceQosCommand::Kind kind;
    const char * text;
};
constexpr CommandText commandTexts[]{
    { KelSliceQosCommand::Kind::tmIntf, "show tm intf" },
    { KelSliceQosCommand::Kind::tmBlockLevel, "show tm blocklevel" },
    { KelSliceQosCommand::Kind::tmQueueStatus, "show tm queue status" },
    { KelSliceQosCommand::Kind::tm, "show tm" },
    { KelSliceQosCommand::Kind::buf, "show buf" },
};
// Where the interface name is looked for: after this text and one blank at the beginning of a
// command. A command that has the text elsewhere is cut at the same position.
constexpr std::size_t interfaceNameStart = 13;

constexpr int replyBufferBytes = 20 << 20; // more than the longest answer of a full chip

bool contains( const std::string & command, const char * text ) {
    return command.find( text ) != std::string::npos;
}

KelSliceQosCommand::Kind kindOf( const std::string & text ) {
    for ( const CommandText & command : commandTexts ) {
        if ( contains( text, command.text ) ) {
            return command.kind;
        }
    }
    return KelSliceQosCommand::Kind::unknown;
}

// What follows the device number and its colon, or the whole request.
std::string commandOf( const std::string & request ) {
    return request.substr( request.find( ':' ) + 1 );
}

// An answer that quotes the operator.
void answer( U32 socket, const char * text, const std::string & what ) {
    KelSliceQosReply( socket ).text( text ).text( cString( what ) ).text( "\n" );
}

} // namespace

KelSliceQosCommand::KelSliceQosCommand( const std::string & text )
    : kind( kindOf( text ) ), nonZeroOnly( contains( text, "nonzero" ) ) {
    if ( kind == Kind::tmIntf ) {
        intfNameStart = std::min( text.find_first_not_of( ' ', interfaceNameStart ), text.size() );
        intfNameEnd = std::min( text.find( ' ', intfNameStart ), text.size() );
        intfName = text.substr( intfNameStart, intfNameEnd - intfNameStart );
    }
}

Ptr<KelSliceQosCli> kelSliceQosCliFactory( const std::string & name,
                                           const std::string & commandType,
                                           KelSliceQosSm * kelSliceQosSm ) {
    return KelSliceQosCli::KelSliceQosCliIs( name, commandType, kelSliceQosSm );
}

Ptr<KelSliceQosCli> KelSliceQosCli::KelSliceQosCliIs( const std::string & name,
                                                      const std::string & commandType,
                                                      KelSliceQosSm * kelSliceQosSm ) {
    return Kel::makePtr<KelSliceQosCli>( name, commandType, kelSliceQosSm );
}

KelSliceQosCli::Verdict KelSliceQosCli::verdict( const std::string & request ) const {
    KEL_ASSERT( kelSliceQosSm() );
    const KelSliceQosCommand command( commandOf( request ) );
    switch ( command.kind ) {
    case KelSliceQosCommand::Kind::unknown:
        return Verdict::unknownCommand;
    case KelSliceQosCommand::Kind::tmIntf:
        if ( command.intfName.empty() ) {
            return Verdict::interfaceNameMissing;
        }
        return knownIntf( command.intfName ).empty() ? Verdict::unknownInterface
                                                     : Verdict::answered;
    default:
        return Verdict::answered;
    }
}

void KelSliceQosCli::handleCommand( U32 socket, std::string command ) {
    // A slow reader must not cut a long answer short. Where this is not allowed, or the descriptor
    // is no socket, the answer has to make do with the room there is.
    (void)setsockopt( static_cast<int>( socket ), SOL_SOCKET, SO_SNDBUFFORCE, &replyBufferBytes,
                      sizeof replyBufferBytes );
    KEL_TRACE( sliceTrace, 8 ) << "handleCommand: Socket: " << socket << ", command: " << command;
    const std::size_t pos = command.find( ':' );
    if ( pos != 0 && pos != std::string::npos ) {
        const std::string device = command.substr( 0, pos );
        KEL_TRACE( sliceTrace, 8 ) << "handleCommand: Pos: " << pos;
        KEL_TRACE( sliceTrace, 8 ) << "handleCommand: DevStr: " << device
                                   << ", devId: " << std::strtoul( device.c_str(), nullptr, 0 );
    }
    // One callback serves one chip, whatever number the operator gave.
    handleChipCommand( socket, commandOf( command ), KelDevId( 0 ) );
}

void KelSliceQosCli::handleChipCommand( U32 socket, const std::string & command, KelDevId devId ) {
    KEL_TRACE( sliceTrace, 8 ) << "handleChipCommand, command: " << command << ", devId: " << devId;
    handleQosCommand( socket, command );
}

void KelSliceQosCli::handleQosCommand( U32 socket, const std::string & text ) {
    KEL_ASSERT( kelSliceQosSm() );
    const KelSliceQosCommand command( text );
    switch ( command.kind ) {
    case KelSliceQosCommand::Kind::tmIntf:
        KEL_TRACE( sliceTrace, 8 ) << "handleQosCommand: Show tm intf";
        handleShowTmIntf( socket, text, command );
        break;
    case KelSliceQosCommand::Kind::tmBlockLevel:
        KEL_TRACE( sliceTrace, 8 ) << "handleQosCommand: Show tm blocklevel";
        kelSliceQosSm()->showTmBlockLevelCounters( socket, command.nonZeroOnly );
        break;
    case KelSliceQosCommand::Kind::tmQueueStatus:
        KEL_TRACE( sliceTrace, 8 ) << "handleQosCommand: Show tm queue status";
        kelSliceQosSm()->showTmQueueStatus( socket );
        break;
    case KelSliceQosCommand::Kind::tm: {
        KEL_TRACE( sliceTrace, 8 ) << "handleQosCommand: Show tm";
        KelSliceQosReply reply( socket );
        kelSliceQosSm()->showAllTmIntfCounters( reply, command.nonZeroOnly );
        kelSliceQosSm()->showTmNonIntfPpgCounters( reply, command.nonZeroOnly );
        break;
    }
    case KelSliceQosCommand::Kind::buf:
        KEL_TRACE( sliceTrace, 8 ) << "handleQosCommand: Show buf";
        kelSliceQosSm()->showBufferAllocation( socket );
        break;
    case KelSliceQosCommand::Kind::unknown:
        answer( socket, "Unknown command: ", text );
        break;
    }
}

IntfId KelSliceQosCli::knownIntf( const std::string & name ) const {
    // A name that no interface ever had must not be kept in the process for good.
    const IntfId intf = IntfId::known( name );
    const KelSystem::SystemStatus * systemStatus = kelSliceQosSm()->systemStatus();
    return systemStatus && systemStatus->portInfoHas( intf ) ? intf : IntfId();
}

void KelSliceQosCli::handleShowTmIntf( U32 socket, const std::string & text,
                                       const KelSliceQosCommand & command ) {
    const std::string & intfName = command.intfName;
    KEL_TRACE( sliceTrace, 8 ) << "nextFieldS: Command: " << text
                               << ", start: " << command.intfNameStart
                               << ", end: " << command.intfNameEnd << ", field: " << intfName;
    // An operator finds exactly these words in the log of a process that died here.
    KEL_ASSERT( intfName != "" ); // NOLINT(readability-container-size-empty)
    const IntfId intf = knownIntf( intfName );
    if ( intf.empty() ) {
        answer( socket, "Unknown interface: ", intfName );
        return;
    }
    kelSliceQosSm()->showTmIntfCounters( socket, intf, command.nonZeroOnly );
}

} // namespace KelQos
