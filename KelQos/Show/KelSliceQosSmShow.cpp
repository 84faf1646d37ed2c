#include "KelQos/Show/KelSliceQosSmShow.h"

#include "KelQos/Show/KelSliceQosSmCounters.h"
#include "KelQos/Slice/KelSliceQosSm.h"
#include "KelQos/Slice/KelSliceQosSmIntf.h"
#include "KelQos/Slice/KelSliceQosSmLog.h"
#include "KelQos/Slice/KelSliceQosSmPpg.h"
#include "Platform/Framework/Text.h"

#include <array>
#include <bit>
#include <bitset>

namespace KelQos {

using Kel::IntfId;
using KelId::KelDevId;
using KelId::KelPipeId;
using KelSystem::PortInfo;

namespace {

constexpr U32 ppgsAvailable = 800;
constexpr U32 queuesAvailable = 2304;
// Groups of a pipe that may have counters: those that can be allocated, and the ports' default
// groups.
constexpr U32 ppgCounterIndices = 201;
constexpr U32 portPipes = 4; // pipes that a port index can name

bool answerUninitialized( const KelSliceQosSm & sm, KelSliceQosReply & reply ) {
    if ( !sm.initialized() ) {
        reply.text( "Agent not initialized yet" );
    }
    return !sm.initialized();
}

// Throws Kel::RangeException when the state machine's device number is not a device id.
PortSorter portsOf( const KelSliceQosSm & sm ) {
    const KelDevId devId( sm.deviceId() );
    PortSorter ports;
    if ( sm.systemStatus() ) {
        createPortSorter( ports, Kel::Ptr( sm.systemStatus() ), devId.value() );
    }
    return ports;
}

// Where an interface is on the chip; a default PortInfo when it is not in the port table.
PortInfo portInfoOf( const KelSliceQosSm & sm, IntfId intf ) {
    return sm.systemStatus() ? sm.systemStatus()->portInfo( intf ) : PortInfo();
}

// Asked again before each pipe, since another agent may change the number.
bool hasPipe( const KelSliceQosSm & sm, U32 pipe ) {
    return sm.chipStatus() && pipe <= sm.chipStatus()->maxPipeId();
}

void printTxQCounters( KelSliceQosReply & reply, const TxQSorter & sorter ) {
    reply.right( "TxQ", 5 ).text( " " ).right( "TotalUsage", 10 ).text( "\n" );
    reply.repeated( '=', 20 ).text( "\n" );
    for ( const auto & [queue, data] : sorter ) {
        reply.number( queue, 5 ).text( " " ).number( data.totalUsage(), 10 ).text( "\n" );
    }
}

void printTmIntfCounters( KelSliceQosReply & reply, const KelSliceQosSm & sm, IntfId intf,
                          bool nonZeroOnly ) {
    KEL_TRACE( sliceTrace, 8 ) << "KelQosCounters::showTmIntfCounters, intf: " << intf
                               << ", nonZeroOnly: " << nonZeroOnly;
    const PortInfo portInfo = portInfoOf( sm, intf );
    if ( !sm.velTmIntfConfig().contains( portInfo.portIndex() ) ) {
        return;
    }
    const PpgSorter ppgs = sm.fetchPpgCounters( portInfo, nonZeroOnly );
    const TxQSorter queues = sm.fetchTxQCounters( portInfo, nonZeroOnly );
    if ( nonZeroOnly && ppgs.empty() && queues.empty() ) {
        return;
    }
    reply.text( cString( intf.name() ) ).text( ":\n" );
    printPpgCounters( reply, ppgs );
    if ( !queues.empty() ) {
        printTxQCounters( reply, queues );
    }
    reply.text( "\n" );
}

// The counter indices of a pipe's groups that belong to an interface.
using BoundIndices = std::array<std::bitset<256>, portPipes>;

BoundIndices boundPpgCounterIndices( const KelSliceQosSm & sm ) {
    BoundIndices bound;
    sm.velTmIntfConfig().visit( [&]( KelPortTypes::PortIndex port, const auto & intf ) {
        intf->velTmPpgConfig().visit( [&]( PpgId, const auto & ppg ) {
            if ( ppg->ppgHandle() >= 0 ) {
                bound[port.pipe()].set( static_cast<U8>( ppg->ppgHandle() & 0xFF ) );
            }
        } );
    } );
    return bound;
}

BlockLevelCounterSorter blockLevelCounters( const KelSliceQosSm & sm, KelDevId devId,
                                            KelPipeId pipeId, const BlockLevelCounters & counters,
                                            bool nonZeroOnly ) {
    BlockLevelCounterSorter sorter;
    TmCountersData * lastClear = sm.tmCountersDataLastClear().get();
    counters.visit( [&]( BlockLevelCounterName key, const BlockLevelCounter & counter ) {
        U64 value = counter.value;
        if ( counter.type != blockLevelCounterTypeGauge && lastClear ) {
            value =
                sinceLastClear( value, lastClear->getBlockLevelCounter( devId, pipeId, key ), [&] {
                    lastClear->setBlockLevelCounter( devId, pipeId, key, counter.type, 0 );
                } );
        }
        if ( value != 0 || !nonZeroOnly ) {
            sorter.counterDataIs( { counter.name, value } );
        }
    } );
    return sorter;
}

// A group's label, made of the classes that it carries. A group with none or several counts as the
// port's default group.
std::string ppgLabel( U8 internalCosBmp ) {
    constexpr U8 controlClass = 1U << 7U;
    const std::string label = "TC" + Kel::idSetToStrep( internalCosBmp );
    if ( !std::has_single_bit( internalCosBmp ) ) {
        return label + " (Default)";
    }
    return internalCosBmp == controlClass ? "L2 Control" : label;
}

// In 32 bits: a size of 4 GiB or more wraps.
constexpr U32 bytes( U32 cells ) { return cells * 80; }

void printOccupancy( KelSliceQosReply & reply, U32 cells, U32 minLimitCells,
                     F32 dynamicThreshold ) {
    reply.text( "{ 'bytes_used': " ).number( bytes( cells ) );
    reply.text( ", 'min_reserved_bytes': " ).number( bytes( minLimitCells ) );
    reply.text( ", 'dynamic_threshold': " ).real( dynamicThreshold ).text( "}, " );
}

void printQueueStatus( KelSliceQosReply & reply, const KelSliceQosSm & sm, IntfId intf ) {
    const PortInfo portInfo = portInfoOf( sm, intf );
    if ( !sm.velTmIntfConfig().contains( portInfo.portIndex() ) ) {
        return;
    }
    reply.text( "'" ).text( cString( intf.name() ) ).text( "': { " );
    for ( const auto & [ppgId, data] : sm.fetchPpgCounters( portInfo, false ) ) {
        KEL_TRACE( sliceTrace, 8 )
            << "KelQosCounters::showTmQueueStatus: devId, portId, ppgId " << sm.deviceId() << " "
            << portInfo.portIndex() << " " << ppgId << " internalCosBmp " << data.internalCosBmp()
            << " idSet length " << std::popcount( data.internalCosBmp() );
        reply.text( "'" ).text( ppgLabel( data.internalCosBmp() ) ).text( "': " );
        printOccupancy( reply, data.minUsage() + data.shrdUsage() + data.skidUsage(),
                        data.minLimitCells(), data.dynamicThreshold() );
    }
    for ( const auto & [queue, data] : sm.fetchTxQCounters( portInfo, false ) ) {
        reply.text( "'TxQ" ).number( queue ).text( "': " );
        printOccupancy( reply, data.totalUsage(), data.minLimitCells(), data.dynamicThreshold() );
    }
    reply.text( "}, " );
}

} // namespace

void printPpgCounters( U32 fd, const PpgSorter & sorter ) {
    KelSliceQosReply reply( fd );
    printPpgCounters( reply, sorter );
}

void printPpgCounters( KelSliceQosReply & reply, const PpgSorter & sorter ) {
    if ( sorter.empty() ) {
        return;
    }
    reply.right( "PpgId", 5 ).text( " " ).right( "MinUsage", 8 ).text( " " );
    reply.right( "ShrdUsage", 8 ).text( " " ).right( "SkidUsage", 8 ).text( " " );
    reply.right( "DropPkts", 40 ).text( " " ).right( "TC-bmp", 6 ).text( "\n" );
    reply.repeated( '=', 84 ).text( "\n" );
    for ( const auto & [key, data] : sorter ) {
        // Shared and skid usage are one character wider than their headings.
        reply.number( key, 5 ).text( " " ).number( data.minUsage(), 8 ).text( " " );
        reply.number( data.shrdUsage(), 9 ).text( " " ).number( data.skidUsage(), 9 ).text( " " );
        reply.number( data.dropCounter(), 40 ).text( " 0x" ).hex( data.internalCosBmp() );
        reply.text( "\n" );
    }
}

void printBlockLevelCounters( U32 fd, const BlockLevelCounterSorter & sorter ) {
    KelSliceQosReply reply( fd );
    printBlockLevelCounters( reply, sorter );
}

void printBlockLevelCounters( KelSliceQosReply & reply, const BlockLevelCounterSorter & sorter ) {
    reply.repeated( '=', 64 ).text( "\n" );
    reply.left( "BlockLevel Counter Name", 45 ).right( "Count/State", 19 ).text( "\n" );
    reply.repeated( '=', 64 ).text( "\n" );
    for ( const auto & [name, data] : sorter ) {
        reply.left( cString( name ), 45 ).number( data.value(), 19 ).text( "\n" );
    }
    reply.text( "\n" );
}

void KelSliceQosSm::showTmIntfCounters( U32 fd, IntfId intf, bool nonZeroOnly ) const {
    KelSliceQosReply reply( fd );
    if ( answerUninitialized( *this, reply ) ) {
        return;
    }
    printTmIntfCounters( reply, *this, intf, nonZeroOnly );
}

void KelSliceQosSm::showAllTmIntfCounters( U32 fd, bool nonZeroOnly ) const {
    KelSliceQosReply reply( fd );
    showAllTmIntfCounters( reply, nonZeroOnly );
}

void KelSliceQosSm::showAllTmIntfCounters( KelSliceQosReply & reply, bool nonZeroOnly ) const {
    if ( answerUninitialized( *this, reply ) ) {
        return;
    }
    KEL_TRACE( sliceTrace, 8 ) << "KelQosCounters::showAllTmIntfCounters, nonZeroOnly: "
                               << nonZeroOnly;
    for ( const auto & [portIndex, intf] : portsOf( *this ) ) {
        printTmIntfCounters( reply, *this, intf, nonZeroOnly );
    }
    reply.text( "\n" );
}

void KelSliceQosSm::showTmNonIntfPpgCounters( U32 fd, bool nonZeroOnly ) const {
    KelSliceQosReply reply( fd );
    showTmNonIntfPpgCounters( reply, nonZeroOnly );
}

void KelSliceQosSm::showTmNonIntfPpgCounters( KelSliceQosReply & reply, bool nonZeroOnly ) const {
    if ( answerUninitialized( *this, reply ) ) {
        return;
    }
    KEL_TRACE( sliceTrace, 8 ) << "KelQosCounters::showTmNonIntfPpgCounters, nonZeroOnly: "
                               << nonZeroOnly;
    const BoundIndices bound = boundPpgCounterIndices( *this );
    for ( U32 pipe = 0; hasPipe( *this, pipe ); ++pipe ) {
        PpgSorter sorter;
        for ( U32 index = 0; index < ppgCounterIndices; ++index ) {
            if ( pipe >= portPipes || !bound[pipe].test( index ) ) {
                fillPpgCounterData( KelDevId( deviceId() ), KelPipeId( static_cast<U16>( pipe ) ),
                                    static_cast<U8>( index ), 0, 0, 0.0F, tmCountersData(),
                                    tmCountersDataLastClear(), sorter, -1, nonZeroOnly );
            }
        }
        if ( !nonZeroOnly || !sorter.empty() ) {
            reply.text( "Unbound PPGs Pipe " ).number( pipe ).text( ":\n" );
            printPpgCounters( reply, sorter );
            reply.text( "\n" );
        }
    }
}

void KelSliceQosSm::showTmBlockLevelCounters( U32 fd, bool nonZeroOnly ) const {
    KelSliceQosReply reply( fd );
    if ( answerUninitialized( *this, reply ) ) {
        return;
    }
    KEL_TRACE( sliceTrace, 8 ) << "KelQosCounters::showTmBlockLevelCounters, nonZeroOnly: "
                               << nonZeroOnly;
    for ( U32 pipe = 0; hasPipe( *this, pipe ); ++pipe ) {
        const KelDevId devId( deviceId() );
        const KelPipeId pipeId( static_cast<U16>( pipe ) );
        const BlockLevelCounters * counters =
            tmCountersData() ? tmCountersData()->getBlockLevelCountersByPipePtr( devId, pipeId )
                             : nullptr;
        if ( !counters ) {
            reply.text( "BlockLevel counters for Pipe: " ).number( pipe );
            reply.text( " not fetched yet\n\n" );
            continue;
        }
        const BlockLevelCounterSorter sorter =
            blockLevelCounters( *this, devId, pipeId, *counters, nonZeroOnly );
        if ( !sorter.empty() || !nonZeroOnly ) {
            reply.text( "Pipe: " ).number( pipe ).text( "\n" );
            printBlockLevelCounters( reply, sorter );
        }
    }
}

void KelSliceQosSm::showTmQueueStatus( U32 fd ) const {
    KelSliceQosReply reply( fd );
    if ( answerUninitialized( *this, reply ) ) {
        return;
    }
    KEL_TRACE( sliceTrace, 8 ) << "KelQosCounters::showTmQueueStatus";
    reply.text( "{ " );
    for ( const auto & [portIndex, intf] : portsOf( *this ) ) {
        printQueueStatus( reply, *this, intf );
    }
    reply.text( "}" );
}

void KelSliceQosSm::showBufferAllocation( U32 fd ) const {
    KelSliceQosReply reply( fd );
    if ( answerUninitialized( *this, reply ) ) {
        return;
    }
    KEL_TRACE( sliceTrace, 8 ) << "KelQosCounters::showBufferAllocation";
    const auto line = [&]( const char * label, S64 value ) {
        reply.text( label ).signedNumber( value ).text( "\n" );
    };
    reply.text( "Buffer Allocation Details\n-------------------------\n" );
    reply.text( "\nIngress (WAC)\n" );
    line( "Total cells available: ", totalCellsAvailableForIngress() );
    line( "Total PPGs: ", ppgsAvailable );
    line( "Number of PPGs allocated: ", numPpgsAllocated() );
    line( "PPG min cell count: ", ppgMinCellCount() );
    line( "Global headroom cell count: ", globalHeadroomCellCount() );
    line( "Total reserved cell count: ", totalIngressReservedCellCount() );
    line( "Shared cell count: ", ingressSharedPoolCellCount() );
    reply.text( "\nEgress (QAC)\n" );
    line( "Total cells available: ", totalCellCount() );
    line( "Total queues available: ", queuesAvailable );
    line( "Number of queues allocated: ", numTxQsAllocated() );
    line( "Queue min cell count: ", txQMinCellCount() );
    line( "Total reserved cell count: ", totalEgressReservedCellCount() );
    line( "Shared cell count: ", egressSharedPoolCellCount() );
}

} // namespace KelQos
