#include "Host/Document/SwitchDocumentDecoderParts.h"
#include "Host/Json/JsonDecode.h"

namespace KelHost::Decode {

namespace {

constexpr U64 highestGroup = 8;
constexpr U64 highestQueue = 7;
constexpr U64 highestCpuQueue = 13;
constexpr U64 highestLimit = 4294967294; // the next one marks a limit that is not set

constexpr Rule<Rate> rateRules[] = {
    { "unit", word<&Rate::packetsPerSecond, unitWords> },
    { .name = "rate", .decode = anyUnsigned<&Rate::rate>, .required = true },
    { "burst", anyUnsigned<&Rate::burst> },
};

void rateObject( const JsonCursor & cursor, Rate & out ) {
    out = Rate{};
    object( cursor, out, rateRules );
}

constexpr Rule<PpgSettings> ppgRules[] = {
    { "internalCosBmp", anyUnsigned<&PpgSettings::internalCosBmp> },
    { "pfcEnabled", boolean<&PpgSettings::pfcEnabled> },
    { "minLimitCells", integer<&PpgSettings::minLimitCells, 0, highestLimit> },
    { "dynamicThreshold", integer<&PpgSettings::dynamicThreshold, 0, noFactor> },
};

void ppgObject( const JsonCursor & cursor, PpgSettings & out ) { object( cursor, out, ppgRules ); }

constexpr Rule<TxQueueSettings> txQueueRules[] = {
    { "pfcCos", integer<&TxQueueSettings::pfcCos, -1, 7> },
    { "minLimitCells", integer<&TxQueueSettings::minLimitCells, 0, highestLimit> },
    { "dynamicThreshold", integer<&TxQueueSettings::dynamicThreshold, 0, noFactor> },
    { "priority", word<&TxQueueSettings::priority, priorityWords> },
    { "weight", anyUnsigned<&TxQueueSettings::weight> },
    { "shapeRate", nested<&TxQueueSettings::shapeRate, rateObject> },
    { "guaranteedRate", nested<&TxQueueSettings::guaranteedRate, rateObject> },
};

void txQueueObject( const JsonCursor & cursor, TxQueueSettings & out ) {
    object( cursor, out, txQueueRules );
}

void ppgs( const JsonCursor & cursor, QosSettings & out ) {
    numbered( cursor, out.ppgs, highestGroup, "a priority group", ppgObject );
}

void txQueues( const JsonCursor & cursor, QosSettings & out ) {
    const JsonCursor & port = cursor.parent().parent();
    numbered( cursor, out.txQueues, port.name() == cpuPortName ? highestCpuQueue : highestQueue,
              "a transmit queue of this port", txQueueObject );
}

constexpr Rule<QosSettings> qosRules[] = {
    { "flowControlType", word<&QosSettings::flowControlType, flowControlWords> },
    { "shapeRate", nested<&QosSettings::shapeRate, rateObject> },
    { "ppgs", ppgs },
    { "txQueues", txQueues },
};

} // namespace

void qosObject( const JsonCursor & cursor, QosSettings & out ) { object( cursor, out, qosRules ); }

} // namespace KelHost::Decode
