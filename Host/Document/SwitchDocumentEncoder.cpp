#include "Host/Document/SwitchDocumentEncoder.h"

#include <charconv>
#include <cmath>

namespace KelHost {

namespace {

Json toJson( F32 value ) { return shortest( value ); }
Json toJson( F64 value ) { return value; }
Json toJson( bool value ) { return value; }
template <std::unsigned_integral T>
Json toJson( T value ) {
    return U64{ value };
}
Json toJson( S8 value ) { return value < 0 ? Json( S64{ value } ) : Json( U64( value ) ); }
Json toJson( FlowControl value ) { return flowControlWords[static_cast<std::size_t>( value )]; }
Json toJson( IntfEnabled value ) { return enabledWords[static_cast<std::size_t>( value )]; }
Json toJson( QueuePriority value ) { return priorityWords[static_cast<std::size_t>( value )]; }
Json toJson( const std::array<U8, 8> & values ) {
    Json array = Json::array();
    for ( const U8 value : values ) {
        array.push_back( toJson( value ) );
    }
    return array;
}

class Encoder {
  public:
    explicit Encoder( Defaults defaults ) : written_( defaults == Defaults::written ) {}

    Json encoded( const SwitchDocument & document ) const {
        const SwitchDocument standard;
        Json object = Json::object();
        nested( object, "device", encoded( document.device ) );
        if ( document.bufferParams ) {
            object["bufferParams"] = encoded( *document.bufferParams );
        }
        put( object, "cosToTc", document.cosToTc, standard.cosToTc );
        nested( object, "ports", map( document.ports ) );
        nested( object, "wred", map( document.wred ) );
        nested( object, "counters", map( document.counters ) );
        nested( object, "countersLastClear", map( document.countersLastClear ) );
        return object;
    }

  private:
    template <class T>
    void put( Json & object, const char * name, const T & value, const T & standard ) const {
        if ( written_ || value != standard ) {
            object[name] = toJson( value );
        }
    }
    // An object whose absence means the same as an empty one.
    void nested( Json & object, const char * name, Json && value ) const {
        if ( written_ || !value.empty() ) {
            object[name] = std::move( value );
        }
    }
    void rate( Json & object, const char * name, const Rate & value, const Rate & standard ) const {
        if ( written_ || value != standard ) {
            object[name] = encoded( value );
        }
    }
    template <class Map>
    Json map( const Map & entries ) const {
        Json object = Json::object();
        for ( const auto & [key, value] : entries ) {
            if constexpr ( std::integral<typename Map::key_type> ) {
                object[std::to_string( key )] = encoded( value );
            } else {
                object[key] = encoded( value );
            }
        }
        return object;
    }

    Json encoded( const DeviceSettings & device ) const {
        const DeviceSettings standard;
        Json object = Json::object();
        put( object, "id", device.id, standard.id );
        put( object, "maxPipeId", device.maxPipeId, standard.maxPipeId );
        put( object, "totalCells", device.totalCells, standard.totalCells );
        return object;
    }
    Json encoded( const BufferParams & params ) const {
        const BufferParams standard;
        Json object = Json::object();
        put( object, "totalCellsAvailableForIngress", params.totalCellsAvailableForIngress,
             standard.totalCellsAvailableForIngress );
        put( object, "leakThreshold", params.leakThreshold, standard.leakThreshold );
        put( object, "leakPollInterval", params.leakPollInterval, standard.leakPollInterval );
        return object;
    }
    Json encoded( const Rate & rate ) const {
        Json object{ { "rate", toJson( rate.rate ) } };
        if ( written_ || rate.packetsPerSecond ) {
            object["unit"] = unitWords[rate.packetsPerSecond ? 1 : 0];
        }
        put( object, "burst", rate.burst, 0U );
        return object;
    }
    Json encoded( const PpgSettings & ppg ) const {
        const PpgSettings standard;
        Json object = Json::object();
        put( object, "internalCosBmp", ppg.internalCosBmp, standard.internalCosBmp );
        put( object, "pfcEnabled", ppg.pfcEnabled, standard.pfcEnabled );
        put( object, "minLimitCells", ppg.minLimitCells, standard.minLimitCells );
        put( object, "dynamicThreshold", ppg.dynamicThreshold, standard.dynamicThreshold );
        return object;
    }
    Json encoded( const TxQueueSettings & queue ) const {
        const TxQueueSettings standard;
        Json object = Json::object();
        put( object, "pfcCos", queue.pfcCos, standard.pfcCos );
        put( object, "minLimitCells", queue.minLimitCells, standard.minLimitCells );
        put( object, "dynamicThreshold", queue.dynamicThreshold, standard.dynamicThreshold );
        put( object, "priority", queue.priority, standard.priority );
        put( object, "weight", queue.weight, standard.weight );
        rate( object, "shapeRate", queue.shapeRate, standard.shapeRate );
        rate( object, "guaranteedRate", queue.guaranteedRate, standard.guaranteedRate );
        return object;
    }
    Json encoded( const QosSettings & qos ) const {
        const QosSettings standard;
        Json object = Json::object();
        put( object, "flowControlType", qos.flowControlType, standard.flowControlType );
        rate( object, "shapeRate", qos.shapeRate, standard.shapeRate );
        nested( object, "ppgs", map( qos.ppgs ) );
        nested( object, "txQueues", map( qos.txQueues ) );
        return object;
    }
    Json encoded( const PortSettings & port ) const {
        Json object{ { "portIndex", toJson( port.portIndex ) } };
        if ( port.enabled ) {
            object["enabled"] = toJson( *port.enabled );
        }
        if ( port.qos ) {
            object["qos"] = encoded( *port.qos );
        }
        return object;
    }
    Json encoded( const std::map<U16, WredEntry> & entries ) const { return map( entries ); }
    static Json encoded( const WredEntry & entry ) {
        return { { "minThdCells", toJson( entry.minThdCells ) },
                 { "maxThdCells", toJson( entry.maxThdCells ) },
                 { "maxDropProbability", toJson( entry.maxDropProbability ) },
                 { "timeConstantNs", toJson( entry.timeConstantNs ) } };
    }
    static Json encoded( U64 value ) { return value; }
    Json encoded( const PpgCounters & counters ) const {
        Json object = Json::object();
        put( object, "minUsage", counters.minUsage, U64{ 0 } );
        put( object, "sharedUsage", counters.sharedUsage, U64{ 0 } );
        put( object, "skidUsage", counters.skidUsage, U64{ 0 } );
        put( object, "dropCounter", counters.dropCounter, U64{ 0 } );
        return object;
    }
    Json encoded( const BlockCounter & counter ) const {
        Json object{ { "name", counter.name }, { "type", toJson( counter.type ) } };
        put( object, "value", counter.value, U64{ 0 } );
        return object;
    }
    Json encoded( const PipeCounters & counters ) const {
        Json object = Json::object();
        nested( object, "ppg", map( counters.ppg ) );
        nested( object, "queue", map( counters.queue ) );
        if ( counters.block ) {
            object["block"] = map( *counters.block );
        }
        return object;
    }

    bool written_;
};

} // namespace

Json shortest( F32 value ) {
    constexpr F32 exact = 1U << 24; // all integers below are
    if ( value >= 0 && value < exact && value == std::floor( value ) ) {
        return static_cast<U64>( value );
    }
    char text[64];
    const char * const end = std::to_chars( text, text + sizeof text, value ).ptr;
    F64 number = 0;
    std::from_chars( text, end, number );
    return number;
}

Json encodedSwitchDocument( const SwitchDocument & document, Defaults defaults ) {
    return Encoder( defaults ).encoded( document );
}

} // namespace KelHost
