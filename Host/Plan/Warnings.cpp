#include "Host/Plan/Warnings.h"

#include "Host/Json/DocumentError.h"
#include "Platform/Entities/TmCountersData.h"

#include <algorithm>
#include <functional>
#include <map>

namespace KelHost {

namespace {

using Found = std::function<void( std::string pointer, std::string finding )>;

std::string number( U64 value ) { return std::to_string( value ); }

std::string portPointer( const std::string & name ) { return "/ports/" + pointerToken( name ); }
std::string groupsPointer( const std::string & name ) { return portPointer( name ) + "/qos/ppgs"; }

constexpr U8 lossyGroup = 8;
constexpr U16 portsOfPipe = 128;          // port indices
constexpr std::size_t groupsOfPipe = 128; // of the chip, that can be allocated
constexpr U64 most32 = std::numeric_limits<U32>::max();

// Calls f( name, port, qos ) for each port that has QoS settings.
template <class F>
void forQosPorts( const SwitchDocument & document, const F & f ) {
    for ( const auto & [name, port] : document.ports ) {
        if ( port.qos ) {
            f( name, port, *port.qos );
        }
    }
}

// As the leak handler sums them: of the pipes that it polls, and no more than 32 bits hold.
U64 dropsOf( const SwitchDocument & document ) {
    U64 drops = 0;
    for ( const auto & [pipe, counters] : document.counters ) {
        if ( pipe > document.device.maxPipeId || !counters.block ) {
            continue;
        }
        const auto found = counters.block->find( KelQos::blockLevelEpipePktDrop );
        if ( found != counters.block->end() ) {
            drops += std::min( found->second.value, most32 );
        }
    }
    return std::min( drops, most32 );
}

void sumWraps( const SwitchDocument &, const BufferUse & use, const Found & found ) {
    const auto look = [&]( const char * direction, U64 cells ) {
        if ( cells > most32 ) {
            found( "/ports", std::string( direction ) + " reserves " + number( cells ) + " cells" );
        }
    };
    look( "ingress", use.ingress.reservedCells );
    look( "egress", use.egress.reservedCells );
}

void leakAtOnce( const SwitchDocument & document, const BufferUse &, const Found & found ) {
    if ( leaksAtOnce( document ) ) {
        found( "/bufferParams", "the drop counters begin with " + number( dropsOf( document ) ) +
                                    ", leakThreshold is " +
                                    number( document.bufferParams->leakThreshold ) );
    }
}

void groupsOfOnePipe( const SwitchDocument & document, const BufferUse &, const Found & found ) {
    std::map<U16, std::size_t> groups; // that have to be allocated, by pipe
    forQosPorts( document, [&]( const auto &, const PortSettings & port, const QosSettings & qos ) {
        groups[port.portIndex / portsOfPipe] += qos.ppgs.size() - qos.ppgs.count( lossyGroup );
    } );
    for ( const auto & [pipe, count] : groups ) {
        if ( count > groupsOfPipe ) {
            found( "/ports", "pipe " + number( pipe ) + " has " + number( count ) +
                                 " groups that need one of its " + number( groupsOfPipe ) );
        }
    }
}

void pfcNotOnPort( const SwitchDocument & document, const BufferUse &, const Found & found ) {
    forQosPorts( document, [&]( const auto & name, const auto &, const QosSettings & qos ) {
        for ( const auto & [id, group] : qos.ppgs ) {
            if ( group.pfcEnabled && qos.flowControlType != FlowControl::pfc ) {
                const auto type = static_cast<std::size_t>( qos.flowControlType );
                found( groupsPointer( name ) + "/" + number( id ),
                       "the flowControlType of the port is \"" +
                           std::string( flowControlWords[type] ) + "\"" );
            }
        }
    } );
}

void pfcWithoutMap( const SwitchDocument & document, const BufferUse &, const Found & found ) {
    const auto unmapped = std::ranges::find( document.cosToTc, unmappedTc );
    if ( unmapped == document.cosToTc.end() ) {
        return;
    }
    forQosPorts( document, [&]( const auto & name, const auto &, const QosSettings & qos ) {
        if ( qos.flowControlType == FlowControl::pfc ) {
            found( portPointer( name ) + "/qos",
                   "cosToTc leaves class " + std::to_string( unmapped - document.cosToTc.begin() ) +
                       " unmapped" );
        }
    } );
}

void noSharedBuffer( const SwitchDocument &, const BufferUse & use, const Found & found ) {
    const auto look = [&]( const char * pointer, const char * name, const DirectionUse & side ) {
        if ( side.fits() && side.sharedCells() == 0 ) {
            found( pointer, std::string( name ) + " reserves all of its " +
                                number( side.capacityCells ) + " cells" );
        }
    };
    look( "/bufferParams", "ingress", use.ingress );
    look( "/device", "egress", use.egress );
}

void minimumNotCounted( const SwitchDocument & document, const BufferUse &, const Found & found ) {
    forQosPorts( document, [&]( const auto & name, const auto &, const QosSettings & qos ) {
        for ( const auto & [id, group] : qos.ppgs ) {
            if ( group.internalCosBmp == 0 && group.minLimitCells != 0 ) {
                found( groupsPointer( name ) + "/" + number( id ),
                       "a minimum of " + number( group.minLimitCells ) +
                           " cells, and no class in internalCosBmp" );
            }
        }
    } );
}

void classInTwoGroups( const SwitchDocument & document, const BufferUse &, const Found & found ) {
    forQosPorts( document, [&]( const auto & name, const auto &, const QosSettings & qos ) {
        std::array<const U8 *, 8> owners{}; // the first group of each class
        for ( const auto & [id, group] : qos.ppgs ) {
            std::string shared;
            for ( std::size_t icos = 0; icos < owners.size(); ++icos ) {
                if ( ( group.internalCosBmp >> icos & 1 ) == 0 ) {
                    continue;
                }
                if ( owners[icos] != nullptr ) {
                    shared += ( shared.empty() ? "class " : ", class " ) + number( icos ) +
                              " is in group " + number( *owners[icos] ) + " too";
                } else {
                    owners[icos] = &id;
                }
            }
            if ( !shared.empty() ) {
                found( groupsPointer( name ) + "/" + number( id ), std::move( shared ) );
            }
        }
    } );
}

void groupZero( const SwitchDocument & document, const BufferUse &, const Found & found ) {
    forQosPorts( document, [&]( const auto & name, const auto &, const QosSettings & qos ) {
        if ( qos.ppgs.contains( 0 ) && qos.ppgs.size() > 1 ) {
            found( groupsPointer( name ) + "/0", "group 0 beside another" );
        }
    } );
}

void wredOrder( const SwitchDocument & document, const BufferUse &, const Found & found ) {
    for ( const auto & [pipe, entries] : document.wred ) {
        for ( const auto & [index, entry] : entries ) {
            if ( entry.minThdCells > entry.maxThdCells ) {
                found( "/wred/" + number( pipe ) + "/" + number( index ),
                       "minThdCells " + number( entry.minThdCells ) + " is above maxThdCells " +
                           number( entry.maxThdCells ) );
            }
        }
    }
}

void pipeNotPolled( const SwitchDocument & document, const BufferUse &, const Found & found ) {
    for ( const auto & [name, port] : document.ports ) {
        const U16 pipe = port.portIndex / portsOfPipe;
        if ( pipe > document.device.maxPipeId ) {
            found( portPointer( name ), "pipe " + number( pipe ) + " is above maxPipeId " +
                                            number( document.device.maxPipeId ) );
        }
    }
}

struct Row {
    WarningKind kind;
    void ( *find )( const SwitchDocument &, const BufferUse &, const Found & );
};

// In the order in which they are told.
constexpr Row rows[] = {
    { { "sum-wraps", Severity::grave,
        "the 32-bit account of the switch wraps and takes it for less: it may share cells that are "
        "reserved, and not report it",
        "lower the minimums" },
      sumWraps },
    { { "leak-at-once", Severity::grave,
        "the first poll declares a buffer leak, which ends the agent",
        "raise leakThreshold, or leave out the counters" },
      leakAtOnce },
    { { "groups-of-pipe", Severity::grave,
        "the rest will wait for a free one, without their minimum and their classes",
        "configure fewer groups, or move ports to another pipe" },
      groupsOfOnePipe },
    { { "pfc-not-on-port", Severity::grave,
        "no headroom is reserved for the group, and the port does not send PFC",
        "make the port \"pfc\", or pfcEnabled false" },
      pfcNotOnPort },
    { { "pfc-without-map", Severity::grave, "the PFC class map of the port is not written",
        "map all eight classes" },
      pfcWithoutMap },
    { { "no-shared-buffer", Severity::grave,
        "nothing is left to share, so what goes beyond a minimum is dropped or paused",
        "lower the minimums" },
      noSharedBuffer },
    { { "minimum-not-counted", Severity::doubtful,
        "the chip is given the minimum, but the account does not count it",
        "give the group a class, or take its minimum away" },
      minimumNotCounted },
    { { "class-in-two-groups", Severity::doubtful,
        "which of the groups takes its packets depends on the order of programming",
        "leave each class in one group" },
      classInTwoGroups },
    { { "group-zero", Severity::doubtful, "its row in \"show tm\" may cover that of another group",
        "use the groups 1 to 8" },
      groupZero },
    { { "wred-order", Severity::doubtful,
        "the entry is written as it is, and its drop probability never rises gradually",
        "put the thresholds in order" },
      wredOrder },
    { { "pipe-not-polled", Severity::doubtful,
        "block-level counters of that pipe are not looked at, so a leak there goes unseen",
        "raise device.maxPipeId" },
      pipeNotPolled },
};

} // namespace

std::string Warning::text() const {
    return finding + ": " + std::string( kind->happens ) + "; " + std::string( kind->advice );
}

bool leaksAtOnce( const SwitchDocument & document ) {
    return document.bufferParams && dropsOf( document ) >= document.bufferParams->leakThreshold;
}

Warnings warningsOf( const SwitchDocument & document, const BufferUse & use, std::size_t most ) {
    Warnings warnings;
    for ( const Row & row : rows ) {
        row.find( document, use, [&]( std::string pointer, std::string finding ) {
            if ( warnings.count++ < most ) {
                warnings.first.push_back(
                    { &row.kind, std::move( pointer ), std::move( finding ) } );
            }
        } );
    }
    return warnings;
}

} // namespace KelHost
