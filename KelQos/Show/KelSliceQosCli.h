#pragma once

#include "Platform/Agent/AgentCommand.h"
#include "Platform/Entities/IntfId.h"
#include "Platform/Entities/KelId.h"
#include "Platform/Framework/Ptr.h"

#include <cstddef>
#include <string>

namespace KelQos {

class KelSliceQosCli;
class KelSliceQosSm;

// What a command asks for.
struct KelSliceQosCommand {
    enum class Kind : U8 { tmIntf, tmBlockLevel, tmQueueStatus, tm, buf, unknown };

    // Every text is a command of some kind.
    explicit KelSliceQosCommand( const std::string & text );

    Kind kind;
    bool nonZeroOnly;
    // The interface's name and where it stands in the text, without the blanks around it; empty
    // when there is none, and for the other kinds.
    std::string intfName = {};
    std::size_t intfNameStart = 0;
    std::size_t intfNameEnd = 0;
};

// Creates the command callback of one state machine, unregistered.
Kel::Ptr<KelSliceQosCli> kelSliceQosCliFactory( const std::string & name,
                                                const std::string & commandType,
                                                KelSliceQosSm * kelSliceQosSm );

// Answers operators' requests with the show operations of a state machine. A request is a command,
// with or without a device number and a colon in front of it. It is recognised by a text that it
// contains, wherever that stands; the first of these decides:
//
//     show tm intf NAME [nonzero]     usage of one interface's groups and queues
//     show tm blocklevel [nonzero]    chip-wide counters of each pipe
//     show tm queue status            occupancy of all ports, in bytes
//     show tm [nonzero]               usage of all interfaces and of unbound groups
//     show buf                        the buffer account
class KelSliceQosCli : public Agent::AgentCommandCallback {
  public:
    static constexpr auto creation = &kelSliceQosCliFactory;
    static Kel::Ptr<KelSliceQosCli> KelSliceQosCliIs( const std::string & name,
                                                      const std::string & commandType,
                                                      KelSliceQosSm * kelSliceQosSm );

    KelSliceQosCli( const std::string & name, const std::string & commandType,
                    KelSliceQosSm * kelSliceQosSm )
        : AgentCommandCallback( name, commandType ), kelSliceQosSm_( kelSliceQosSm ) {}

    // The state machine that is asked. Not owned; null once it is gone.
    KelSliceQosSm * kelSliceQosSm() const { return kelSliceQosSm_; }
    void kelSliceQosSmIs( KelSliceQosSm * kelSliceQosSm ) { kelSliceQosSm_ = kelSliceQosSm; }

    // What will become of a request, for a channel that has to tell success from failure. Writes
    // nothing. Both this and the handling need the state machine (asserted). Handling a request
    // whose interface name is missing aborts the process, so a channel that takes requests from
    // outside asks this first.
    enum class Verdict : U8 { answered, unknownCommand, unknownInterface, interfaceNameMissing };
    Verdict verdict( const std::string & request ) const;

    // Writes the answer to the socket before it returns. Throws Kel::RangeException for a number
    // that is not a device id; the part that was answered before is still written.
    void handleCommand( U32 socket, std::string command ) override;
    void handleChipCommand( U32 socket, const std::string & command, KelId::KelDevId devId );
    void handleQosCommand( U32 socket, const std::string & text );

  private:
    // Empty when the port table has no such interface.
    Kel::IntfId knownIntf( const std::string & name ) const;
    void handleShowTmIntf( U32 socket, const std::string & text,
                           const KelSliceQosCommand & command );

    KelSliceQosSm * kelSliceQosSm_;
};

} // namespace KelQos
