#include "Host/Plan/BufferUse.h"

#include "Host/Json/DocumentError.h"
#include "KelQos/Slice/KelSliceQosSmAccount.h"

#include <algorithm>

namespace KelHost {

namespace {

using KelQos::Reservation;

class Walk {
  public:
    void port( const std::string & name, const QosSettings & qos ) {
        const auto flowControl = static_cast<KelQos::FlowControlType>( qos.flowControlType );
        const std::string pointer = "/ports/" + pointerToken( name ) + "/qos";
        take( pointer, Reservation::ofPort( flowControl ) );
        for ( const auto & [id, ppg] : qos.ppgs ) {
            take( pointer + "/ppgs/" + std::to_string( id ),
                  Reservation::ofPpg( flowControl, ppg.internalCosBmp, ppg.pfcEnabled,
                                      ppg.minLimitCells ) );
        }
        for ( const auto & [id, queue] : qos.txQueues ) {
            take( pointer + "/txQueues/" + std::to_string( id ),
                  Reservation::ofTxQueue( queue.minLimitCells ) );
        }
    }

    BufferUse result( const SwitchDocument & document, const TextOrder & order ) {
        const U64 ingress = sum_.ingressCells( KelQos::defaultMinLimitCellsForMirroring );
        const U64 egress = sum_.egressCells();
        use_.ingress.capacityCells =
            document.bufferParams ? document.bufferParams->totalCellsAvailableForIngress : 0;
        use_.ingress.objects = sum_.numPpgs;
        use_.ingress.minimumCells = sum_.ppgMinCells;
        use_.ingress.headroomCells = sum_.headroomCells;
        use_.ingress.reservedCells = ingress;
        use_.ingress.fixedCells = ingress - sum_.ppgMinCells - sum_.headroomCells;
        use_.egress.capacityCells = document.device.totalCells;
        use_.egress.objects = sum_.numTxQs;
        use_.egress.minimumCells = sum_.txQMinCells;
        use_.egress.reservedCells = egress;
        use_.egress.fixedCells = egress - sum_.txQMinCells;
        sort( use_.ingress.reservers, order );
        sort( use_.egress.reservers, order );
        return std::move( use_ );
    }

  private:
    static void sort( std::vector<Reserver> & reservers, const TextOrder & order ) {
        std::vector<std::pair<std::size_t, Reserver>> placed;
        placed.reserve( reservers.size() );
        for ( Reserver & reserver : reservers ) {
            const std::size_t place = order.of( reserver.pointer );
            placed.emplace_back( place, std::move( reserver ) );
        }
        std::ranges::stable_sort( placed, []( const auto & a, const auto & b ) {
            return a.second.cells != b.second.cells ? a.second.cells > b.second.cells
                                                    : a.first < b.first;
        } );
        std::ranges::transform( placed, reservers.begin(),
                                []( auto & entry ) { return std::move( entry.second ); } );
    }

    void take( const std::string & pointer, const Reservation & reservation ) {
        sum_ += reservation;
        if ( const U64 cells = reservation.ppgMinCells + reservation.headroomCells ) {
            use_.ingress.reservers.push_back( { pointer, cells } );
        }
        if ( reservation.txQMinCells != 0 ) {
            use_.egress.reservers.push_back( { pointer, reservation.txQMinCells } );
        }
    }

    Reservation sum_;
    BufferUse use_;
};

} // namespace

BufferUse bufferUseOf( const SwitchDocument & document, const TextOrder & order ) {
    Walk walk;
    for ( const auto & [name, port] : document.ports ) {
        if ( port.qos ) {
            walk.port( name, *port.qos );
        }
    }
    return walk.result( document, order );
}

std::string overReservationText( const BufferUse & use ) {
    std::string text;
    const auto look = [&text]( const char * direction, const DirectionUse & side ) {
        if ( !side.fits() ) {
            text += ( text.empty() ? "" : "; " ) + std::string( direction ) + " reserves " +
                    std::to_string( side.reservedCells ) + " of " +
                    std::to_string( side.capacityCells ) + " cells";
        }
    };
    look( "ingress", use.ingress );
    look( "egress", use.egress );
    return text.empty() ? text : "more is reserved than there is: " + text;
}

} // namespace KelHost
