#include "Host/StateStoreDifference.h"

#include "tests/Host/DocumentHelpers.h"
#include "tests/support/Watcher.h"

#include <gtest/gtest.h>

using namespace KelHost;
using namespace KelQos;
using Kel::AttributeId;
using Kel::IntfId;
using Kel::Ptr;
using KelDriver::KelDevTgt;
using KelHostTest::decoded;
using KelPortTypes::PortIndex;

namespace {

using Lines = std::vector<std::string>;

std::string text( U64 value ) { return std::to_string( value ); }

template <class Key>
const Key & keyAt( const void * key ) {
    return *static_cast<const Key *>( key );
}

// Writes down every notification of a state store, in the order of delivery, with the new value of
// what changed. An entity that enters a collection appears with what it holds at that moment, and
// is watched from then on, so an attribute that were filled in late would show.
class Recorder {
  public:
    explicit Recorder( StateStore & store ) : store_( store ) {
        watchPorts();
        watchStatuses();
        watchConfig();
        watchWred();
        if ( store.tmBufferParams ) {
            watch<TmBufferParamsConfig>( store.tmBufferParams, [this]( AttributeId id, auto ) {
                constexpr const char * names[] = { "", "ingressCells", "leakThreshold",
                                                   "leakPollInterval" };
                add( names[id] );
            } );
        }
    }

    Lines taken() { return std::exchange( lines_, {} ); }

  private:
    void add( std::string line ) { lines_.push_back( std::move( line ) ); }

    template <class T>
    void watch( const Ptr<T> & entity, typename Watcher<T>::Action action ) {
        watchers_.push_back( Kel::makePtr<Watcher<T>>( entity, std::move( action ) ) );
    }

    void watchPorts() {
        watch( store_.systemStatus, [this]( AttributeId id, const void * key ) {
            const KelSystem::SystemStatus & ports = *store_.systemStatus;
            if ( id == KelSystem::SystemStatus::portToIntfIdAttr ) {
                const auto port = keyAt<PortIndex>( key );
                add( "portToIntfId " + text( port.value() ) + " " +
                     ports.portToIntfId( port ).name() );
            } else {
                const auto intfId = keyAt<IntfId>( key );
                add( "portInfo " + intfId.name() + " " +
                     ( ports.portInfoHas( intfId )
                           ? text( ports.portInfo( intfId ).portIndex().value() )
                           : "gone" ) );
            }
        } );
    }

    void watchStatuses() {
        for ( const auto entry : store_.ethPhyIntfStatusDir->intfStatus() ) {
            watchStatus( entry.value );
        }
        watch( store_.ethPhyIntfStatusDir, [this]( AttributeId, const void * key ) {
            const auto intfId = keyAt<IntfId>( key );
            const auto status = store_.ethPhyIntfStatusDir->intfStatus( intfId );
            add( "intfStatus " + intfId.name() + " " +
                 ( status ? "enabled=" + text( status->enabled() ) : "gone" ) );
            if ( status ) {
                watchStatus( status );
            }
        } );
    }
    void watchStatus( const Ptr<Interface::EthPhyIntfStatus> & status ) {
        watch( status, [this, status = status.get()]( AttributeId, auto ) {
            add( "enabled " + status->intfId().name() + " " + text( status->enabled() ) );
        } );
    }

    void watchConfig() {
        for ( const auto entry : store_.tmConfig->tmIntfConfig() ) {
            watchIntf( entry.value );
        }
        watch( store_.tmConfig, [this]( AttributeId id, const void * key ) {
            if ( id == TmConfig::cosToTcAttr ) {
                const auto cos = keyAt<Cos>( key );
                add( "cosToTc " + text( cos.value() ) + " " +
                     text( store_.tmConfig->cosToTc( cos ) ) );
                return;
            }
            const auto port = keyAt<PortIndex>( key );
            const auto intf = store_.tmConfig->tmIntfConfig( port );
            add( "intf " + text( port.value() ) + ( intf ? filled( *intf ) : " gone" ) );
            if ( intf ) {
                watchIntf( intf );
            }
        } );
    }
    static std::string filled( const TmPpgConfig & ppg ) {
        return " bmp=" + text( ppg.internalCosBmp() ) + " pfc=" + text( ppg.pfcEnabled() ) +
               " min=" + text( ppg.minLimitCells() ) + " baf=" + text( ppg.dynamicThreshold() );
    }
    static std::string filled( const TmTxQueueConfig & queue ) {
        const RateParams & rates = queue.rateParams();
        return " cos=" + std::to_string( queue.pfcCos() ) +
               " min=" + text( queue.minLimitCells() ) +
               " baf=" + text( queue.dynamicThreshold() ) + " prio=" + text( queue.priority() ) +
               " weight=" + text( queue.weight() ) + " max=" + text( rates.shapeRateVal() ) +
               " bw=" + text( rates.guaranteedBwRate() );
    }
    static std::string filled( const TmIntfConfig & intf ) {
        std::string line = " flow=" + text( intf.flowControlType() ) +
                           " rate=" + text( intf.shapeRate().shapeRateVal() );
        for ( const auto entry : intf.tmPpgConfig() ) {
            line += " ppg" + text( entry.key.value() );
        }
        for ( const auto entry : intf.tmTxQueueConfig() ) {
            line += " queue" + text( entry.key.value() );
        }
        return line;
    }
    void watchIntf( const Ptr<TmIntfConfig> & entity ) {
        const TmIntfConfig & intf = *entity;
        for ( const auto entry : intf.tmPpgConfig() ) {
            watchPpg( intf, entry.value );
        }
        for ( const auto entry : intf.tmTxQueueConfig() ) {
            watchQueue( intf, entry.value );
        }
        watch( entity, [this, &intf]( AttributeId id, const void * key ) {
            const std::string port = text( intf.portIndex().value() );
            if ( id == TmIntfConfig::flowControlTypeAttr ) {
                add( port + " flow " + text( intf.flowControlType() ) );
            } else if ( id == TmIntfConfig::shapeRateAttr ) {
                add( port + " rate " + text( intf.shapeRate().shapeRateVal() ) );
            } else if ( id == TmIntfConfig::tmPpgConfigAttr ) {
                const auto ppg = intf.tmPpgConfig( keyAt<PpgId>( key ) );
                add( port + " ppg " + text( keyAt<PpgId>( key ).value() ) +
                     ( ppg ? filled( *ppg ) : " gone" ) );
            } else {
                const auto queue = intf.tmTxQueueConfig( keyAt<TxQueueId>( key ) );
                add( port + " queue " + text( keyAt<TxQueueId>( key ).value() ) +
                     ( queue ? filled( *queue ) : " gone" ) );
            }
        } );
    }
    void watchPpg( const TmIntfConfig & intf, const Ptr<TmPpgConfig> & ppg ) {
        const std::string name =
            text( intf.portIndex().value() ) + " ppg " + text( ppg->ppgId().value() ) + " ";
        watch( ppg, [this, name]( AttributeId id, auto ) {
            constexpr const char * names[] = { "", "internalCosBmp", "pfcEnabled", "minLimitCells",
                                               "dynamicThreshold" };
            add( name + names[id] );
        } );
    }
    void watchQueue( const TmIntfConfig & intf, const Ptr<TmTxQueueConfig> & queue ) {
        const std::string name =
            text( intf.portIndex().value() ) + " queue " + text( queue->txQueueId().value() ) + " ";
        watch( queue, [this, name]( AttributeId id, auto ) {
            constexpr const char * names[] = { "",       "",         "pfcCos", "minLimit",
                                               "factor", "priority", "weight", "rates" };
            add( name + names[id] );
        } );
    }

    void watchWred() {
        for ( const auto entry : store_.wredBlockConfig->pipeConfig() ) {
            watchWredPipe( entry.key, entry.value );
        }
        watch( store_.wredBlockConfig, [this]( AttributeId, const void * key ) {
            const auto devTgt = keyAt<KelDevTgt>( key );
            const auto pipe = store_.wredBlockConfig->pipeConfig( devTgt );
            add( "wred " + valueToStrep( devTgt ) +
                 ( pipe ? " entries=" + text( pipe->resourceConfig().size() ) : " gone" ) );
            if ( pipe ) {
                watchWredPipe( devTgt, pipe );
            }
        } );
    }
    void watchWredPipe( KelDevTgt devTgt, const Ptr<WredBlockPipeConfig> & pipe ) {
        watch( pipe, [this, devTgt, pipe = pipe.get()]( AttributeId, const void * key ) {
            const WredBlockResourceConfig * entry =
                pipe->resourceConfig().find( keyAt<U16>( key ) );
            add( "wred " + valueToStrep( devTgt ) + " " + text( keyAt<U16>( key ) ) +
                 ( entry ? " max=" + text( entry->maxThdCells ) : " gone" ) );
        } );
    }

    StateStore & store_;
    std::vector<Ptr<Kel::Notifiee>> watchers_;
    Lines lines_;
};

// A store that follows documents.
class Followed {
  public:
    explicit Followed( const SwitchDocument & document )
        : store( document.device, document.bufferParams.has_value() ) {
        current_.device = document.device;
        Recorder recorder( store );
        next( document );
        atStart = recorder.taken();
    }
    void next( const SwitchDocument & document ) {
        applyDifference( current_, document, store );
        current_ = document;
    }
    Lines written( const SwitchDocument & document ) {
        Recorder recorder( store );
        next( document );
        return recorder.taken();
    }

    StateStore store;
    Lines atStart;

  private:
    SwitchDocument current_;
};

constexpr const char * before = R"({
  "device": { "id": 2 },
  "bufferParams": { "totalCellsAvailableForIngress": 1000 },
  "cosToTc": [0, 1, 2, 3, 4, 5, 6, 7],
  "ports": {
    "Ethernet9": { "portIndex": 3, "enabled": "enabled", "qos": { "flowControlType": "pfc",
      "ppgs": { "8": { "internalCosBmp": 1 }, "3": { "internalCosBmp": 8, "pfcEnabled": true,
        "minLimitCells": 10, "dynamicThreshold": 4 }, "4": {} },
      "txQueues": { "7": {}, "2": { "weight": 5 }, "1": {} } } },
    "Ethernet10": { "portIndex": 130, "enabled": "disabled", "qos": {} },
    "Ethernet5": { "portIndex": 7, "enabled": "enabled" },
    "Ethernet6": { "portIndex": 8 },
    "Ethernet7": { "portIndex": 11, "enabled": "unknown", "qos": {} },
    "Internal67": { "portIndex": 64 } },
  "wred": { "1": { "7": { "minThdCells": 1, "maxThdCells": 2, "maxDropProbability": 0.5,
                          "timeConstantNs": 10 },
                   "9": { "minThdCells": 1, "maxThdCells": 2, "maxDropProbability": 0.5,
                          "timeConstantNs": 10 } },
            "0": {}, "3": {} } })";

constexpr const char * after = R"({
  "device": { "id": 2 },
  "bufferParams": { "leakPollInterval": 2.5, "leakThreshold": 9,
                    "totalCellsAvailableForIngress": 2000 },
  "cosToTc": [0, 8, 2, 3, 4, 5, 6, 6],
  "ports": {
    "Ethernet9": { "portIndex": 3, "enabled": "disabled", "qos": {
      "shapeRate": { "rate": 400, "unit": "pps" },
      "ppgs": { "8": { "internalCosBmp": 1 }, "3": { "internalCosBmp": 9, "pfcEnabled": false,
        "minLimitCells": 20, "dynamicThreshold": 5 },
        "6": { "internalCosBmp": 64 }, "5": { "minLimitCells": 3 } },
      "txQueues": { "7": {}, "2": { "weight": 6, "pfcCos": 3, "priority": "roundRobin",
        "guaranteedRate": { "rate": 7 }, "shapeRate": { "rate": 9 },
        "minLimitCells": 4, "dynamicThreshold": 1 }, "0": {} } } },
    "Ethernet2": { "portIndex": 190, "enabled": "unknown", "qos": {
      "flowControlType": "linkPause", "ppgs": { "8": {}, "1": {} }, "txQueues": { "1": {}, "0": {} } } },
    "Ethernet11": { "portIndex": 12, "enabled": "enabled", "qos": {} },
    "Ethernet5": { "portIndex": 9 },
    "Ethernet7": { "portIndex": 11, "enabled": "enabled" },
    "Internal67": { "portIndex": 64 } },
  "wred": { "1": { "7": { "minThdCells": 1, "maxThdCells": 3, "maxDropProbability": 0.25,
                          "timeConstantNs": 10 },
                   "8": { "minThdCells": 1, "maxThdCells": 4, "maxDropProbability": 0.5,
                          "timeConstantNs": 10 } },
            "0": {}, "2": { "1": { "minThdCells": 1, "maxThdCells": 2, "maxDropProbability": 0.5,
                          "timeConstantNs": 10 } } } })";

TEST( StateStoreDifference, StartUpFillsEachEntityBeforeItEntersItsCollection ) {
    const Followed followed( decoded( before ) );
    const Lines expected = {
        "ingressCells",
        "portToIntfId 130 Ethernet10",
        "portInfo Ethernet10 130",
        "portToIntfId 7 Ethernet5",
        "portInfo Ethernet5 7",
        "portToIntfId 8 Ethernet6",
        "portInfo Ethernet6 8",
        "portToIntfId 11 Ethernet7",
        "portInfo Ethernet7 11",
        "portToIntfId 3 Ethernet9",
        "portInfo Ethernet9 3",
        "portToIntfId 64 Internal67",
        "portInfo Internal67 64",
        "intfStatus Ethernet10 enabled=2",
        "intfStatus Ethernet5 enabled=1",
        "intfStatus Ethernet7 enabled=0",
        "intfStatus Ethernet9 enabled=1",
        "cosToTc 0 0",
        "cosToTc 1 1",
        "cosToTc 2 2",
        "cosToTc 3 3",
        "cosToTc 4 4",
        "cosToTc 5 5",
        "cosToTc 6 6",
        "cosToTc 7 7",
        "intf 3 flow=2 rate=600000001 ppg3 ppg4 ppg8 queue1 queue2 queue7",
        "intf 11 flow=0 rate=600000001",
        "intf 130 flow=0 rate=600000001",
        "wred D2 P0 entries=0",
        "wred D2 P1 entries=2",
        "wred D2 P3 entries=0",
    };
    EXPECT_EQ( followed.atStart, expected );
    EXPECT_EQ( followed.store.systemStatus->portInfo( IntfId( "Ethernet9" ) ).devId(), 2 );
}

TEST( StateStoreDifference, WritesOnlyWhatDiffersInAFixedOrder ) {
    Followed followed( decoded( before ) );
    const Lines expected = {
        "ingressCells",
        "leakThreshold",
        "leakPollInterval",
        "portToIntfId 12 Ethernet11",
        "portInfo Ethernet11 12",
        "portToIntfId 190 Ethernet2",
        "portInfo Ethernet2 190",
        "portToIntfId 9 Ethernet5",
        "portToIntfId 7 ",
        "portInfo Ethernet5 9",
        "intfStatus Ethernet11 enabled=1",
        "intfStatus Ethernet2 enabled=0",
        "enabled Ethernet7 1",
        "enabled Ethernet9 2",
        "cosToTc 1 8",
        "cosToTc 7 6",
        "intf 11 gone",
        "intf 130 gone",
        "3 flow 0",
        "3 rate 400",
        "3 ppg 4 gone",
        "3 ppg 3 internalCosBmp",
        "3 ppg 3 pfcEnabled",
        "3 ppg 3 minLimitCells",
        "3 ppg 3 dynamicThreshold",
        "3 ppg 5 bmp=0 pfc=0 min=3 baf=10",
        "3 ppg 6 bmp=64 pfc=0 min=0 baf=10",
        "3 queue 1 gone",
        "3 queue 0 cos=-1 min=0 baf=10 prio=0 weight=1 max=600000001 bw=0",
        "3 queue 2 pfcCos",
        "3 queue 2 minLimit",
        "3 queue 2 factor",
        "3 queue 2 priority",
        "3 queue 2 weight",
        "3 queue 2 rates",
        "intf 12 flow=0 rate=600000001",
        "intf 190 flow=1 rate=600000001 ppg1 ppg8 queue0 queue1",
        "intfStatus Ethernet10 gone",
        "intfStatus Ethernet5 gone",
        "portInfo Ethernet10 gone",
        "portToIntfId 130 ",
        "portInfo Ethernet6 gone",
        "portToIntfId 8 ",
        "wred D2 P3 gone",
        "wred D2 P1 9 gone",
        "wred D2 P1 7 max=3",
        "wred D2 P1 8 max=4",
        "wred D2 P2 entries=1",
    };
    EXPECT_EQ( followed.written( decoded( after ) ), expected );
    EXPECT_EQ( followed.written( decoded( after ) ), Lines() );
}

TEST( StateStoreDifference, LeadsBackToTheSameStore ) {
    Followed followed( decoded( before ) );
    followed.next( decoded( after ) );
    followed.next( decoded( before ) );
    // A value that had not come back would not differ from the document once more.
    EXPECT_EQ( followed.written( decoded( after ) ),
               Followed( decoded( before ) ).written( decoded( after ) ) );
}

} // namespace
