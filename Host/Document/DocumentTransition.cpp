#include "Host/Document/DocumentTransition.h"

namespace KelHost {

namespace {

class TransitionCheck {
  public:
    TransitionCheck( const SwitchDocument & current, const SwitchDocument & next,
                     const DocumentPlace & place )
        : current_( current ), next_( next ), place_( place ) {}

    void run() const {
        checkDevice();
        checkBufferParams();
        checkPortIndices();
        checkInternalPorts();
    }

  private:
    void checkDevice() const {
        const auto same = [this]( std::string_view member, U32 now, U32 then ) {
            if ( now != then ) {
                place_.refuse( "/device/" + std::string( member ),
                               "must stay " + std::to_string( now ) +
                                   "; the device is settled at start-up" );
            }
        };
        same( "id", current_.device.id, next_.device.id );
        same( "maxPipeId", current_.device.maxPipeId, next_.device.maxPipeId );
        same( "totalCells", current_.device.totalCells, next_.device.totalCells );
    }

    void checkBufferParams() const {
        if ( current_.bufferParams.has_value() && !next_.bufferParams.has_value() ) {
            place_.refuse( {}, "must keep the member \"bufferParams\"; whether there is one is "
                               "settled at start-up" );
        }
        if ( !current_.bufferParams.has_value() && next_.bufferParams.has_value() ) {
            place_.refuse( "/bufferParams",
                           "must stay absent; whether there is one is settled at start-up" );
        }
    }

    void checkPortIndices() const {
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
                            const PortSettings & after ) const {
        const bool hasQos = before.qos.has_value() || after.qos.has_value();
        if ( before.portIndex != after.portIndex && hasQos ) {
            refuseIndex( name, "must stay " + std::to_string( before.portIndex ) +
                                   " while the port has \"qos\"; remove that in a step before" );
        }
    }

    void checkInternalPorts() const {
        for ( const std::string_view name : { cpuPortName, reservedCpuPortName } ) {
            if ( current_.ports.contains( name ) && !next_.ports.contains( name ) ) {
                place_.refuse( "/ports", "must keep the member \"" + std::string( name ) +
                                             "\"; an internal port cannot be removed" );
            }
        }
    }

    [[noreturn]] void refuseIndex( std::string_view name, std::string_view text ) const {
        place_.refuse( "/ports/" + pointerToken( name ) + "/portIndex", text );
    }

    const SwitchDocument & current_;
    const SwitchDocument & next_;
    const DocumentPlace & place_;
};

} // namespace

void checkTransition( const SwitchDocument & current, const SwitchDocument & next,
                      const DocumentPlace & place ) {
    TransitionCheck( current, next, place ).run();
}

} // namespace KelHost
