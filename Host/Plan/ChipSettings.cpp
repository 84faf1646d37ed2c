#include "Host/Plan/ChipSettings.h"

#include "Host/Document/SwitchDocumentEncoder.h"
#include "KelQos/Slice/KelSliceQosSm.h"
#include "KelQos/Slice/KelSliceQosSmIntf.h"
#include "KelQos/Slice/KelSliceQosSmPpg.h"

#include <set>

namespace KelHost {

namespace {

using KelModel::Pool;
using KelModel::PoolUsage;
using KelModel::Port;
using KelModel::Ppg;
using KelModel::Queue;
using KelModel::Shaper;

constexpr U32 mirrorPort = KelModel::portsPerPipe - 1;

// One setting of a part of the chip: what it is called, its unit, and how to read it.
template <class Part>
struct Row {
    std::string_view name;
    std::string_view unit;
    Json ( *value )( const Part & );
};

template <class Values>
Json listOf( const Values & values ) {
    Json list = Json::array();
    for ( const auto & value : values ) {
        list.push_back( U64{ value } );
    }
    return list;
}

Json pauseMode( U32 mode ) {
    constexpr std::string_view words[] = { "none", "pfc", "linkPause" };
    return mode < std::size( words ) ? Json( words[mode] ) : Json( U64{ mode } );
}

// "40000000 kbps, burst 9216", or "off".
Json rateOf( const Shaper & shaper ) {
    if ( !shaper.enabled ) {
        return "off";
    }
    const bool pps = shaper.pps;
    return std::to_string( shaper.rate ) + ( pps ? " pps" : " kbps" ) + ", burst " +
           std::to_string( shaper.burst ) + ( pps ? " packets" : " kbit" );
}

// The classes of a bitmap.
Json classesOf( U8 bitmap ) {
    Json list = Json::array();
    for ( U64 icos = 0; icos < KelModel::classCount; ++icos ) {
        if ( ( bitmap >> icos & 1 ) != 0 ) {
            list.push_back( icos );
        }
    }
    return list;
}

// Of the pool that is used; by pool, when there are more.
Json factorOf( const std::array<PoolUsage, KelModel::poolCount> & usage ) {
    Json factors = Json::object();
    for ( std::size_t pool = 0; pool < usage.size(); ++pool ) {
        if ( usage[pool].enabled ) {
            factors["pool " + std::to_string( pool )] = U64{ usage[pool].factor };
        }
    }
    return factors.empty() ? Json( "none" ) : factors.size() == 1 ? *factors.begin() : factors;
}

constexpr Row<Ppg> ppgRows[] = {
    { "classes", "", []( const Ppg & ppg ) { return classesOf( ppg.icosBitmap ); } },
    { "minimum", "cells", []( const Ppg & ppg ) { return Json( U64{ ppg.minLimitCells } ); } },
    { "lossless", "", []( const Ppg & ppg ) { return Json( ppg.lossless ); } },
    { "headroom", "cells", []( const Ppg & ppg ) { return Json( U64{ ppg.skidLimitCells } ); } },
    { "burst-absorption factor", "", []( const Ppg & ppg ) { return factorOf( ppg.poolUsage ); } },
};

constexpr Row<Queue> queueRows[] = {
    { "PFC class", "", []( const Queue & queue ) { return Json( U64{ queue.pfcCos } ); } },
    { "minimum", "cells",
      []( const Queue & queue ) { return Json( U64{ queue.minLimitCells } ); } },
    { "burst-absorption factor", "",
      []( const Queue & queue ) { return factorOf( queue.poolUsage ); } },
    { "colour drop", "", []( const Queue & queue ) { return Json( queue.colorDrop ); } },
    { "priority", "", []( const Queue & queue ) { return Json( U64{ queue.priority } ); } },
    { "remaining-bandwidth priority", "",
      []( const Queue & queue ) { return Json( U64{ queue.remainingBwPriority } ); } },
    { "weight", "", []( const Queue & queue ) { return Json( U64{ queue.weight } ); } },
    { "maximum rate", "", []( const Queue & queue ) { return rateOf( queue.maxRate ); } },
    { "guaranteed rate", "", []( const Queue & queue ) { return rateOf( queue.guaranteedRate ); } },
};

constexpr Row<Port> portRows[] = {
    { "pause sent", "", []( const Port & port ) { return pauseMode( port.flowControlMode ); } },
    { "pause obeyed", "", []( const Port & port ) { return pauseMode( port.flowControlRx ); } },
    { "PFC class map", "", []( const Port & port ) { return listOf( port.pfcCosToIcos ); } },
    { "queues", "", []( const Port & port ) { return Json( U64{ port.queueCount } ); } },
    { "queue map", "", []( const Port & port ) { return listOf( port.queueMap ); } },
    { "shaper", "", []( const Port & port ) { return rateOf( port.shaper ); } },
};

constexpr Row<Pool> poolRows[] = {
    { "size", "cells", []( const Pool & pool ) { return Json( U64{ pool.sizeCells } ); } },
    { "PFC limits", "cells", []( const Pool & pool ) { return listOf( pool.pfcLimitCells ); } },
    { "colour drop limits", "cells",
      []( const Pool & pool ) {
          Json limits = Json::object();
          for ( const auto & [color, cells] : pool.colorDropLimitCells ) {
              limits["colour " + std::to_string( color )] = U64{ cells };
          }
          return limits;
      } },
};

constexpr Row<KelModel::ChipState> chipRows[] = {
    { "headroom pool", "cells",
      []( const KelModel::ChipState & chip ) { return Json( U64{ chip.skidPoolCells } ); } },
    { "model mode", "",
      []( const KelModel::ChipState & chip ) { return Json( chip.utModeAsModel ); } },
};

constexpr Row<p4_pd_red_spec> wredRows[] = {
    { "minimum threshold", "cells",
      []( const p4_pd_red_spec & entry ) { return Json( U64{ entry.minThdCells } ); } },
    { "maximum threshold", "cells",
      []( const p4_pd_red_spec & entry ) { return Json( U64{ entry.maxThdCells } ); } },
    { "highest drop probability", "",
      []( const p4_pd_red_spec & entry ) { return shortest( entry.maxDropProbability ); } },
    { "time constant", "ns",
      []( const p4_pd_red_spec & entry ) { return shortest( entry.timeConstantNs ); } },
};

class Comparison {
  public:
    Comparison( const ChipSnapshot & before, const ChipSnapshot & after )
        : before_( before ), after_( after ), names_( before.interfaces ) {
        // An interface that has moved has two port numbers.
        std::map<std::string, std::set<U16>> numbers;
        for ( const auto * snapshot : { &before, &after } ) {
            for ( const auto & [number, name] : snapshot->interfaces ) {
                names_[number] = name;
                numbers[name].insert( number );
            }
        }
        for ( auto & [number, name] : names_ ) {
            if ( numbers[name].size() > 1 ) {
                name += " (port " + std::to_string( number ) + ")";
            }
        }
    }

    std::vector<ChipSetting> run() {
        const KelModel::ChipState & before = before_.state;
        const KelModel::ChipState & after = after_.state;
        compare( chipRows, "chip", &before, &after );
        for ( std::size_t pool = 0; pool < before.pools.size(); ++pool ) {
            constexpr std::size_t ingressPools = 4;
            const char * const side = pool < ingressPools ? "ingress pool " : "egress pool ";
            compare( poolRows, side + std::to_string( pool % ingressPools ), &before.pools[pool],
                     &after.pools[pool] );
        }
        for ( U32 pipe = 0; pipe < KelModel::pipeCount; ++pipe ) {
            for ( U32 local = 0; local < KelModel::portsPerPipe; ++local ) {
                port( static_cast<U16>( ( pipe << KelModel::pipePortShift ) + local ) );
            }
        }
        wred();
        return std::move( settings_ );
    }

  private:
    // Null: the part is not there.
    template <class Part, std::size_t count>
    void compare( const Row<Part> ( &rows )[count], const std::string & part, const Part * before,
                  const Part * after ) {
        for ( const Row<Part> & row : rows ) {
            Json then = before ? row.value( *before ) : Json();
            Json now = after ? row.value( *after ) : Json();
            if ( then != now ) {
                settings_.push_back( { part + ": " + std::string( row.name ), row.unit,
                                       std::move( then ), std::move( now ) } );
            }
        }
    }

    std::string portName( U16 number ) const {
        const auto found = names_.find( number );
        if ( found != names_.end() ) {
            return found->second;
        }
        const U32 local = number & ( ( 1U << KelModel::pipePortShift ) - 1 );
        return local == mirrorPort
                   ? "mirror port of pipe " + std::to_string( number >> KelModel::pipePortShift )
                   : "port " + std::to_string( number );
    }

    void port( U16 number ) {
        const Port & before = before_.state.port( number );
        const Port & after = after_.state.port( number );
        const std::string name = portName( number );
        compare( portRows, name, &before, &after );
        for ( U8 id = 0; id < lossyGroup; ++id ) {
            group( "group " + std::to_string( id ) + " of " + name, ppg( before_, number, id ),
                   ppg( after_, number, id ) );
        }
        const S32 handle = KelModel::ChipState::defaultPpg( number );
        const bool mirrors = ( number & ( ( 1U << KelModel::pipePortShift ) - 1 ) ) == mirrorPort;
        group( ( mirrors ? "default group of " : "group 8 of " ) + name,
               before_.state.ppg( handle ), after_.state.ppg( handle ) );
        for ( std::size_t id = 0; id < before.queues.size(); ++id ) {
            const Queue & one = before.queues[id];
            const Queue & other = after.queues[id];
            if ( !( one == other ) ) {
                compare( queueRows, "queue " + std::to_string( id ) + " of " + name, &one, &other );
            }
        }
    }

    void group( const std::string & name, const Ppg * before, const Ppg * after ) {
        const bool same = before && after ? *before == *after : before == after;
        if ( !same ) {
            compare( ppgRows, name, before, after );
        }
    }

    static const Ppg * ppg( const ChipSnapshot & snapshot, U16 number, U8 id ) {
        const auto found = snapshot.groups.find( { number, id } );
        return found == snapshot.groups.end() ? nullptr : snapshot.state.ppg( found->second );
    }

    void wred() {
        const auto & before = before_.state.wredEntries;
        for ( const auto & [key, entry] : after_.state.wredEntries ) {
            const auto found = before.find( key );
            compare( wredRows,
                     "WRED entry " + std::to_string( std::get<2>( key ) ) + " of pipe " +
                         std::to_string( std::get<0>( key ) ),
                     found == before.end() ? nullptr : &found->second, &entry );
        }
    }

    static constexpr U8 lossyGroup = 8; // the default group of the port

    const ChipSnapshot & before_;
    const ChipSnapshot & after_;
    std::map<U16, std::string> names_; // by port number
    std::vector<ChipSetting> settings_;
};

} // namespace

ChipSnapshot::ChipSnapshot( KelModel::ChipState chip, const SwitchRuntime & runtime )
    : state( std::move( chip ) ) {
    for ( const auto & [name, port] : runtime.document().ports ) {
        interfaces.emplace( port.portIndex, name );
    }
    for ( const auto port : runtime.sliceQosSm().velTmIntfConfig() ) {
        for ( const auto group : port.value->velTmPpgConfig() ) {
            if ( group.value->ppgHandle() >= 0 ) {
                groups.emplace( std::pair( port.key.value(), group.key.value() ),
                                group.value->ppgHandle() );
            }
        }
    }
}

std::vector<ChipSetting> changedSettings( const ChipSnapshot & before,
                                          const ChipSnapshot & after ) {
    return Comparison( before, after ).run();
}

} // namespace KelHost
