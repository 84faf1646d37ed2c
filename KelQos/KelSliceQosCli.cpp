#include "KelQos/KelSliceQosCli.h"

#include "KelQos/KelSliceQosReply.h"
#include "KelQos/KelSliceQosSm.h"
#include "KelQos/KelSliceQosSmLog.h"
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

constexpr const char * showTm = "show tm"; // every command about the tables begins with it
constexpr const char * showBuf = "show buf";
constexpr const char * showTmIntf = "show tm intf";
// Where the interface name is looked for: behind the text and one blank, of a command that begins
// with it. A command that has the text elsewhere is cut at the same place.
constexpr std::size_t interfaceNameStart = 13;

constexpr int replyBufferBytes = 20 << 20; // more than the longest answer of a full chip

bool contains( const std::string & command, const char * text ) {
    return command.find( text ) != std::string::npos;
}

bool isKnown( const std::string & command ) {
    return contains( command, showTm ) || contains( command, showBuf );
}

// What stands behind the device number, or all of it.
std::string commandOf( const std::string & request ) {
    return request.substr( request.find( ':' ) + 1 );
}

// A part of a command, without blanks.
struct Field {
    std::size_t start;
    std::size_t end;
    std::string text;
};

// The field that begins at `start` or behind the blanks that stand there.
Field nextField( const std::string & command, std::size_t start ) {
    const auto notBehindEnd = [&]( std::size_t pos ) { return std::min( pos, command.size() ); };
    const std::size_t begin = notBehindEnd( command.find_first_not_of( ' ', start ) );
    const std::size_t end = notBehindEnd( command.find( ' ', begin ) );
    return { begin, end, command.substr( begin, end - begin ) };
}

// An answer with a text of the operator's in it.
void answer( U32 socket, const char * text, const std::string & what ) {
    KelSliceQosReply( socket ).text( text ).text( cString( what ) ).text( "\n" );
}

} // namespace

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
    const std::string command = commandOf( request );
    if ( !isKnown( command ) ) {
        return Verdict::unknownCommand;
    }
    if ( !contains( command, showTmIntf ) ) {
        return Verdict::answered;
    }
    const std::string intfName = nextField( command, interfaceNameStart ).text;
    if ( intfName.empty() ) {
        return Verdict::interfaceNameMissing;
    }
    return knownIntf( intfName ).empty() ? Verdict::unknownInterface : Verdict::answered;
}

void KelSliceQosCli::handleCommand( U32 socket, std::string command ) {
    // A slow reader shall not cut a long answer short. Where this is not allowed, or no socket, the
    // answer has to do with the room there is.
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
    KEL_TRACE( sliceTrace, 8 ) << "handleChipCommand"
                               << ", command: " << command << ", devId: " << devId;
    handleQosCommand( socket, command );
}

void KelSliceQosCli::handleQosCommand( U32 socket, const std::string & command ) {
    KEL_ASSERT( kelSliceQosSm() );
    const bool nonZeroOnly = contains( command, "nonzero" );
    if ( contains( command, showTmIntf ) ) {
        KEL_TRACE( sliceTrace, 8 ) << "handleQosCommand: Show tm intf";
        handleShowTmIntf( socket, command, nonZeroOnly );
    } else if ( contains( command, "show tm blocklevel" ) ) {
        KEL_TRACE( sliceTrace, 8 ) << "handleQosCommand: Show tm blocklevel";
        kelSliceQosSm()->showTmBlockLevelCounters( socket, nonZeroOnly );
    } else if ( contains( command, "show tm queue status" ) ) {
        KEL_TRACE( sliceTrace, 8 ) << "handleQosCommand: Show tm queue status";
        kelSliceQosSm()->showTmQueueStatus( socket );
    } else if ( contains( command, showTm ) ) {
        KEL_TRACE( sliceTrace, 8 ) << "handleQosCommand: Show tm";
        KelSliceQosReply reply( socket );
        kelSliceQosSm()->showAllTmIntfCounters( reply, nonZeroOnly );
        kelSliceQosSm()->showTmNonIntfPpgCounters( reply, nonZeroOnly );
    } else if ( contains( command, showBuf ) ) {
        KEL_TRACE( sliceTrace, 8 ) << "handleQosCommand: Show buf";
        kelSliceQosSm()->showBufferAllocation( socket );
    } else {
        answer( socket, "Unknown command: ", command );
    }
}

IntfId KelSliceQosCli::knownIntf( const std::string & name ) const {
    // Names that nobody ever gave an interface must not stay in the process for good.
    const IntfId intf = IntfId::known( name );
    const KelSystem::SystemStatus * systemStatus = kelSliceQosSm()->systemStatus();
    return systemStatus && systemStatus->portInfoHas( intf ) ? intf : IntfId();
}

void KelSliceQosCli::handleShowTmIntf( U32 socket, const std::string & command, bool nonZeroOnly ) {
    const auto [start, end, intfName] = nextField( command, interfaceNameStart );
    KEL_TRACE( sliceTrace, 8 ) << "nextFieldS"
                               << ": "
                               << "Command: " << command << ", start: " << start << ", end: " << end
                               << ", field: " << intfName;
    // The words that an operator finds in the log of a process that died of it.
    KEL_ASSERT( intfName != "" ); // NOLINT(readability-container-size-empty)
    const IntfId intf = knownIntf( intfName );
    if ( intf.empty() ) {
        answer( socket, "Unknown interface: ", intfName );
        return;
    }
    kelSliceQosSm()->showTmIntfCounters( socket, intf, nonZeroOnly );
}

} // namespace KelQos
