#include "Host/Play/StatusLog.h"

#include "Platform/Framework/Notifiee.h"

#include <charconv>
#include <cstring>
#include <iterator>

namespace KelHost {

namespace {

using Kel::AttributeId;
using Kel::makePtr;
using Kel::Ptr;
using KelPortTypes::PortIndex;
using KelQos::KelPfcSharedState;
using KelQos::PpgId;
using KelQos::TmIntfStatus;
using KelQos::TmStatus;

class PpgStatusReactor : public Kel::NotifieeOf<TmIntfStatus> {
  public:
    PpgStatusReactor( Ptr<const TmIntfStatus> status, EventLog & log )
        : NotifieeOf( std::move( status ) ), log_( log ) {}

    void onAttribute( AttributeId id, const void * key ) override {
        if ( id == TmIntfStatus::tmPpgStatusAttr ) {
            handlePpgStatus( *static_cast<const PpgId *>( key ) );
        }
    }

  private:
    void handlePpgStatus( PpgId ppgId ) {
        constexpr std::string_view name = "status tmPpgStatus ";
        char line[64];
        name.copy( line, name.size() );
        char * end = line + name.size();
        end = std::to_chars( end, std::end( line ), notifier()->portIndex().value() ).ptr;
        *end++ = '/';
        end = std::to_chars( end, std::end( line ), ppgId.value() ).ptr;
        const std::string_view value = valueOf( ppgId );
        value.copy( end, value.size() );
        log_.event( { line, static_cast<std::size_t>( end - line ) + value.size() } );
    }
    std::string_view valueOf( PpgId ppgId ) const {
        if ( !notifier()->tmPpgStatusHas( ppgId ) ) {
            return " deleted";
        }
        return notifier()->tmPpgStatus( ppgId ) ? " true" : " false";
    }

    EventLog & log_;
};

// A port's status gets its reactor when it enters the directory, before anybody can have written to
// it.
class TmStatusReactor : public Kel::NotifieeOf<TmStatus> {
  public:
    TmStatusReactor( Ptr<const TmStatus> status, EventLog & log )
        : NotifieeOf( std::move( status ) ), log_( log ) {
        for ( const auto entry : notifier()->tmIntfStatus() ) {
            watch( entry.value );
        }
    }

    void onAttribute( AttributeId id, const void * key ) override {
        if ( id == TmStatus::tmIntfStatusAttr ) {
            watch( notifier()->tmIntfStatus( *static_cast<const PortIndex *>( key ) ) );
        }
    }

  private:
    void watch( const Ptr<TmIntfStatus> & status ) {
        ports_.push_back( makePtr<PpgStatusReactor>( status, log_ ) );
        ports_.back()->hasNotificationActiveIs( true );
    }

    EventLog & log_;
    std::vector<Ptr<PpgStatusReactor>> ports_;
};

class PfcReactor : public Kel::NotifieeOf<KelPfcSharedState> {
  public:
    PfcReactor( Ptr<const KelPfcSharedState> state, EventLog & log )
        : NotifieeOf( std::move( state ) ), log_( log ) {}

    void onAttribute( AttributeId id, const void * key ) override {
        if ( id == KelPfcSharedState::pfcEnabledAttr ) {
            handlePfcEnabled( *static_cast<const Kel::IntfId *>( key ) );
        }
    }

  private:
    void handlePfcEnabled( Kel::IntfId intfId ) {
        const KelQos::FlowControlType * type = notifier()->pfcEnabled().find( intfId );
        log_.event( "status pfcEnabled " + intfId.name() + " " + wordOf( type ) );
    }
    static const char * wordOf( const KelQos::FlowControlType * type ) {
        if ( !type ) {
            return "deleted";
        }
        switch ( *type ) {
        case KelQos::flowControlTypeNone:
            return "none";
        case KelQos::flowControlTypeLinkPause:
            return "linkPause";
        case KelQos::flowControlTypePfc:
            return "pfc";
        }
        return "unknown";
    }

    EventLog & log_;
};

} // namespace

StatusLog::StatusLog( EventLog & log, const StateStore & store )
    : reactors_{ makePtr<TmStatusReactor>( store.tmStatus, log ),
                 makePtr<PfcReactor>( store.pfcSharedState, log ) } {
    for ( const Ptr<Kel::Notifiee> & reactor : reactors_ ) {
        reactor->hasNotificationActiveIs( true );
    }
}

StatusLog::~StatusLog() = default;

} // namespace KelHost
