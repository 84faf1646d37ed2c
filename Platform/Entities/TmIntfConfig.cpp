#include "Platform/Entities/TmIntfConfig.h"

namespace KelQos {

using Kel::Ptr;

Ptr<TmPpgConfig> TmIntfConfig::tmPpgConfigIs( PpgId id ) {
    return tmPpgConfig_.getOrInsert( id, [&] { return newTmPpgConfig( id ); } );
}

void TmIntfConfig::tmPpgConfigIs( const Ptr<TmPpgConfig> & config ) {
    tmPpgConfig_.insert( config ? config->ppgId() : PpgId(), config );
}

Ptr<TmTxQueueConfig> TmIntfConfig::tmTxQueueConfigIs( TxQueueId id ) {
    return tmTxQueueConfig_.getOrInsert( id, [&] { return newTmTxQueueConfig( id ); } );
}

void TmIntfConfig::tmTxQueueConfigIs( const Ptr<TmTxQueueConfig> & config ) {
    tmTxQueueConfig_.insert( config ? config->txQueueId() : TxQueueId(), config );
}

} // namespace KelQos
