#include "tests/support/SmallChip.h"

#include "Platform/Logging/Syslog.h"

#include <array>
#include <unistd.h>

namespace TestSupport {

using Kel::IntfId;
using Kel::Ptr;
using KelPortTypes::PortIndex;
using namespace KelQos;

class SmallChip::IntfStatusWatch : public Kel::NotifieeOf<TmIntfStatus> {
  public:
    IntfStatusWatch( Ptr<const TmIntfStatus> status, std::vector<std::string> & log )
        : NotifieeOf( std::move( status ) ), log_( log ) {
        hasNotificationActiveIs( true );
    }
    void onAttribute( Kel::AttributeId, const void * key ) override {
        const PpgId id = *static_cast<const PpgId *>( key );
        log_.push_back( "status tmPpgStatus " + std::to_string( notifier()->portIndex().value() ) +
                        "/" + std::to_string( id.value() ) +
                        ( !notifier()->tmPpgStatusHas( id ) ? " deleted"
                          : notifier()->tmPpgStatus( id )   ? " true"
                                                            : " false" ) );
    }

  private:
    std::vector<std::string> & log_;
};

class SmallChip::StatusWatch : public Kel::NotifieeOf<TmStatus> {
  public:
    StatusWatch( Ptr<const TmStatus> status, std::vector<std::string> & log )
        : NotifieeOf( std::move( status ) ), log_( log ) {
        hasNotificationActiveIs( true );
    }
    void onAttribute( Kel::AttributeId, const void * key ) override {
        const auto port = *static_cast<const PortIndex *>( key );
        intfs_.push_back( Kel::makePtr<IntfStatusWatch>( notifier()->tmIntfStatus( port ), log_ ) );
    }

  private:
    std::vector<std::string> & log_;
    std::vector<Ptr<IntfStatusWatch>> intfs_;
};

class SmallChip::PfcWatch : public Kel::NotifieeOf<KelPfcSharedState> {
  public:
    PfcWatch( Ptr<const KelPfcSharedState> state, std::vector<std::string> & log )
        : NotifieeOf( std::move( state ) ), log_( log ) {
        hasNotificationActiveIs( true );
    }
    void onAttribute( Kel::AttributeId, const void * key ) override {
        static constexpr std::array names{ "none", "linkPause", "pfc" };
        const IntfId intfId = *static_cast<const IntfId *>( key );
        const FlowControlType * type = notifier()->pfcEnabled().find( intfId );
        log_.push_back( "status pfcEnabled " + intfId.name() + " " +
                        ( type ? names.at( *type ) : "deleted" ) );
    }

  private:
    std::vector<std::string> & log_;
};

SmallChip::SmallChip( U32 totalCells ) : chip( 0, totalCells ) {
    unsetenv( "SIMULATION_VMID" );
    Kel::ringTraceClear();
    KelModel::Chip::currentIs( &chip );
    chip.logSinkIs( [this]( std::string_view line ) { log_.emplace_back( line ); } );
    Kel::syslogSinkIs( [this]( int severity, std::string_view mnemonic, std::string_view text ) {
        log_.push_back( "syslog " + std::to_string( severity ) + " " + std::string( mnemonic ) +
                        " " + std::string( text ) );
    } );
    watches_ = { Kel::makePtr<StatusWatch>( tmStatus, log_ ),
                 Kel::makePtr<PfcWatch>( pfcSharedState, log_ ) };
    tmBufferParams->totalCellsAvailableForIngressIs( 100000 );
}

SmallChip::~SmallChip() {
    Kel::syslogSinkIs( nullptr );
    sm = nullptr;
}

void SmallChip::addPort( const std::string & name, U32 portIndex ) {
    const PortIndex port( portIndex );
    systemStatus->portToIntfIdIs( port, IntfId( name ) );
    systemStatus->portInfoIs( IntfId( name ), KelSystem::PortInfo( 0, port ) );
}

Ptr<TmIntfConfig> SmallChip::addIntf( U32 portIndex ) {
    return tmConfig->tmIntfConfigIs( PortIndex( portIndex ) );
}

Ptr<TmPpgConfig> SmallChip::newPpg( U8 id, U8 bitmap, bool pfc, U32 minCells ) {
    auto ppg = Kel::makePtr<TmPpgConfig>( PpgId( id ) );
    ppg->internalCosBmpIs( bitmap );
    ppg->pfcEnabledIs( pfc );
    ppg->minLimitCellsIs( minCells );
    ppg->dynamicThresholdIs( baf3 );
    return ppg;
}

Ptr<TmTxQueueConfig> SmallChip::newQueue( U8 id, U32 minCells ) {
    auto queue = Kel::makePtr<TmTxQueueConfig>( TxQueueId( id ) );
    queue->minLimitCellsIs( minCells );
    queue->dynamicThresholdIs( baf3 );
    return queue;
}

void SmallChip::mapAllClasses() {
    for ( U8 cos = 0; cos < Cos::count; ++cos ) {
        tmConfig->cosToTcIs( Cos( cos ), cos );
    }
}

void SmallChip::setStatus( const std::string & name, Interface::EnabledState state ) {
    if ( const auto present = intfStatusDir->intfStatus( IntfId( name ) ) ) {
        present->enabledIs( state );
        return;
    }
    auto status = Kel::makePtr<Interface::EthPhyIntfStatus>( IntfId( name ) );
    status->enabledIs( state );
    intfStatusDir->intfStatusIs( status );
}

KelSliceQosSm & SmallChip::start() {
    sm = kelSliceQosSmFactory( 0, clock, tmConfig, tmStatus, tmBufferParams, pfcSharedState,
                               systemStatus, chipStatus, cmdRequestDirSm, tmCountersData,
                               tmCountersDataLastClear, intfStatusDir );
    advance( 0.0 );
    return *sm;
}

std::vector<std::string> SmallChip::takeLog() { return std::exchange( log_, {} ); }

std::vector<std::string> SmallChip::takeStory() {
    const auto sizeIn = []( const std::string & line ) {
        const auto from = line.rfind( ", " ) + 2;
        return line.substr( from, line.find( ')' ) - from );
    };
    std::vector<std::string> story;
    for ( const std::string & line : takeLog() ) {
        if ( line.starts_with( "call bf_tm_pool_skid_size_set(" ) ||
             line.starts_with( "call bf_tm_total_cell_count_get(" ) ) {
            continue;
        }
        if ( line.starts_with( "call bf_tm_pool_size_set(" ) ) {
            if ( line.starts_with( "call bf_tm_pool_size_set(0, 0, " ) ) {
                story.push_back( "pools " + sizeIn( line ) );
            } else if ( line.starts_with( "call bf_tm_pool_size_set(0, 4, " ) ) {
                story.back() += " " + sizeIn( line );
            }
            continue;
        }
        story.push_back( line );
    }
    return story;
}

std::string SmallChip::answer( const std::string & command ) {
    std::FILE * file = std::tmpfile();
    const int fd = fileno( file );
    cmdRequestDirSm->deliver( "KelSliceQos", static_cast<U32>( fd ), command );
    std::string text( static_cast<std::size_t>( lseek( fd, 0, SEEK_END ) ), '\0' );
    const auto count = pread( fd, text.data(), text.size(), 0 );
    std::fclose( file );
    text.resize( count < 0 ? 0 : static_cast<std::size_t>( count ) );
    return text;
}

} // namespace TestSupport
