#include "Host/Plan/DocumentCheck.h"

#include "Host/Plan/JsonAnswer.h"
#include "Host/Plan/MemberChanges.h"

#include <algorithm>

namespace KelHost {

namespace {

// What both directions have, under the names of the one or the other.
struct Names {
    const char * objects;
    const char * minimum;
    const char * headroom; // null: there is none
    const char * fixed;
};
constexpr Names ingressNames{ "groups", "groupMinimumCells", "headroomCells",
                              "mirrorMinimumCells" };
constexpr Names egressNames{ "queues", "queueMinimumCells", nullptr, "multicastCells" };

OrderedJson answerOf( const DirectionUse & use, const Names & names ) {
    constexpr std::size_t most = 10;
    OrderedJson answer;
    answer["capacityCells"] = use.capacityCells;
    answer[names.objects] = use.objects;
    answer[names.minimum] = use.minimumCells;
    if ( names.headroom != nullptr ) {
        answer[names.headroom] = use.headroomCells;
    }
    answer[names.fixed] = use.fixedCells;
    answer["reservedCells"] = use.reservedCells;
    answer["sharedCells"] = use.sharedCells();
    answer["fits"] = use.fits();
    answer["largest"] = OrderedJson::array();
    for ( std::size_t i = 0; i < std::min( most, use.reservers.size() ); ++i ) {
        answer["largest"].push_back(
            { { "pointer", use.reservers[i].pointer }, { "cells", use.reservers[i].cells } } );
    }
    return answer;
}

} // namespace

DocumentCheck checkOf( const SwitchDocument & document, const std::string & file,
                       std::size_t mostWarnings ) {
    BufferUse use = bufferUseOf( document );
    Warnings warnings = warningsOf( document, use, mostWarnings );
    return { file, std::move( use ), std::move( warnings ) };
}

DocumentCheck checkOf( std::string_view text, const std::string & file ) {
    const WrittenDocument written = writtenDocument( text, file );
    BufferUse use = bufferUseOf( written.document, TextOrder( text ) );
    Warnings warnings = warningsOf( written.document, use );
    return { file, std::move( use ), std::move( warnings ) };
}

std::string jsonOf( const DocumentCheck & check ) {
    JsonAnswer answer;
    answer.member( "file", check.file );
    answer.member( "fits", check.use.fits() );
    answer.member( "ingress", answerOf( check.use.ingress, ingressNames ) );
    answer.member( "egress", answerOf( check.use.egress, egressNames ) );
    answer.list( "warnings", check.warnings.first, []( const Warning & warning ) {
        return OrderedJson{ { "id", warning.kind->id },
                            { "pointer", warning.pointer },
                            { "text", warning.text() } };
    } );
    return answer.text();
}

} // namespace KelHost
