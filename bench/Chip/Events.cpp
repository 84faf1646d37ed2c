#include "bench/Chip/Events.h"

#include "Platform/Framework/Assert.h"

namespace KelBench {

using Kel::Entity;
using namespace KelQos;

namespace {

constexpr U32 changedPort = 100;

} // namespace

const std::vector<Event> & events() {
    static const std::vector<Event> all{
        { "pfcEnabled", []( BenchChip & chip ) -> Entity & { return chip.group( changedPort ); },
          []( Entity & entity, bool there ) {
              static_cast<TmPpgConfig &>( entity ).pfcEnabledIs( !there );
          } },
        { "minLimitCells", []( BenchChip & chip ) -> Entity & { return chip.queue( changedPort ); },
          []( Entity & entity, bool there ) {
              static_cast<TmTxQueueConfig &>( entity ).minLimitCellsIs( there ? 48 : 24 );
          } },
        { "shapeRate", []( BenchChip & chip ) -> Entity & { return chip.intf( changedPort ); },
          []( Entity & entity, bool there ) {
              static_cast<TmIntfConfig &>( entity ).shapeRateIs(
                  ShapeRate( 1, there ? 10000000 : 20000000, 100 ) );
          } },
        { "cosToTc", []( BenchChip & chip ) -> Entity & { return chip.config(); },
          []( Entity & entity, bool there ) {
              static_cast<TmConfig &>( entity ).cosToTcIs( Cos( 2 ), there ? 1 : 2 );
          } },
    };
    return all;
}

const Event & eventNamed( const std::string & name ) {
    for ( const Event & event : events() ) {
        if ( event.name == name ) {
            return event;
        }
    }
    KEL_FAILED( "eventNamed", name.c_str() );
}

} // namespace KelBench
