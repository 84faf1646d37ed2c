#include "Host/Document/DocumentTransition.h"

namespace KelHost {

namespace {

class TransitionCheck {
  public:
    TransitionCheck( const SwitchDocument & current, const SwitchDocument & next )
        : current_( current ), next_( next ) {}

    std::vector<TransitionRefusal> run() {
        checkDevice();
        checkBufferParams();
        checkPortIndices();
        checkInternalPorts();
        return std::move( refusals_ );
    }

  private:
    void checkDevice() {
        const auto same = [this]( std::string_view member, U32 now, U32 then ) {
            if ( now != then ) {
                refuse( "/device/" + std::string( member ),
                        "must stay " + std::to_string( now ) +
                            "; the device is settled at start-up" );
            }
        };
        same( "id", current_.device.id, next_.device.id );
        same( "maxPipeId", current_.device.maxPipeId, next_.device.maxPipeId );
        same( "totalCells", current_.device.totalCells, next_.device.totalCells );
    }

    void checkBufferParams() {
        if ( current_.bufferParams.has_value() && !next_.bufferParams.has_value() ) {
            refusals_.push_back( { "", "/bufferParams",
                                   "must keep the member \"bufferParams\"; whether there is one is "
                                   "settled at start-up" } );
        }
        if ( !current_.bufferParams.has_value() && next_.bufferParams.has_value() ) {
            refuse( "/bufferParams",
                    "must stay absent; whether there is one is settled at start-up" );
        }
    }

    void checkPortIndices() {
        std::map<U16, std::string_view> owners;
        for ( const auto & [name, port] : current_.ports ) {
            owners.emplace( port.portIndex, name );
        }
        for ( const auto & [name, port] : next_.ports ) {
            const auto before = current_.ports.find( name );
            if ( before != current_.ports.end() ) {
                checkChangedIndex( name, before->second, port );
            }
            const auto owner = owners.find( port.portIndex );
            if ( owner != owners.end() && owner->second != name ) {
                refuseIndex( name, "must not be " + std::to_string( port.portIndex ) +
                                       " in the step in which \"" + std::string( owner->second ) +
                                       "\" gives it up; free it in one step, take it in the next" );
            }
        }
    }

    void checkChangedIndex( std::string_view name, const PortSettings & before,
                            const PortSettings & after ) {
        const bool hasQos = before.qos.has_value() || after.qos.has_value();
        if ( before.portIndex != after.portIndex && hasQos ) {
            refuseIndex( name, "must stay " + std::to_string( before.portIndex ) +
                                   " while the port has \"qos\"; remove that in a step before" );
        }
    }

    void checkInternalPorts() {
        for ( const std::string_view name : { cpuPortName, reservedCpuPortName } ) {
            if ( current_.ports.contains( name ) && !next_.ports.contains( name ) ) {
                refusals_.push_back( { "/ports", "/ports/" + std::string( name ),
                                       "must keep the member \"" + std::string( name ) +
                                           "\"; an internal port cannot be removed" } );
            }
        }
    }

    void refuseIndex( std::string_view name, std::string text ) {
        refuse( "/ports/" + pointerToken( name ) + "/portIndex", std::move( text ) );
    }
    void refuse( std::string pointer, std::string text ) {
        std::string member = pointer;
        refusals_.push_back( { std::move( pointer ), std::move( member ), std::move( text ) } );
    }

    const SwitchDocument & current_;
    const SwitchDocument & next_;
    std::vector<TransitionRefusal> refusals_;
};

} // namespace

std::vector<TransitionRefusal> transitionRefusals( const SwitchDocument & current,
                                                   const SwitchDocument & next ) {
    return TransitionCheck( current, next ).run();
}

void checkTransition( const SwitchDocument & current, const SwitchDocument & next,
                      const DocumentPlace & place ) {
    const auto refusals = transitionRefusals( current, next );
    if ( !refusals.empty() ) {
        place.refuse( refusals.front().pointer, refusals.front().text );
    }
}

} // namespace KelHost
