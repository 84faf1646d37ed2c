#include "Host/Plan/CheckPage.h"

#include "Host/Plan/JsonAnswer.h"
#include "Host/Plan/UseParts.h"

#include <algorithm>
#include <array>

namespace KelHost {

namespace {

// How a part of a bar is drawn.
struct Ink {
    char plain;
    const char * block; // UTF-8
    Colour colour;
};
// By PartKind.
constexpr std::array<Ink, 5> inks{ { { '#', "█", Colour::blue },
                                     { '=', "▓", Colour::cyan },
                                     { '+', "▒", Colour::grey },
                                     { '.', "░", Colour::green },
                                     { '!', "▞", Colour::red } } };
constexpr const Ink & inkOf( PartKind kind ) { return inks.at( static_cast<std::size_t>( kind ) ); }

std::string drawn( PartKind kind, std::size_t columns, const PageStyle & style ) {
    const Ink & ink = inkOf( kind );
    std::string text;
    for ( std::size_t i = 0; i < columns; ++i ) {
        text += style.blocks ? std::string( ink.block ) : std::string( 1, ink.plain );
    }
    return coloured( text, ink.colour, style );
}

// However small a part is, it has a column.
std::string bar( const DirectionUse & use, const std::vector<UsePart> & parts,
                 const PageStyle & style ) {
    constexpr std::size_t columns = pageWidth - 4;
    const F64 whole = static_cast<F64>( std::max( use.capacityCells, use.reservedCells ) );
    std::vector<std::size_t> widths;
    for ( const UsePart & part : parts ) {
        const F64 share = static_cast<F64>( part.end - part.begin ) / whole;
        widths.push_back( std::max<std::size_t>(
            part.end > part.begin ? 1 : 0,
            static_cast<std::size_t>( share * static_cast<F64>( columns ) ) ) );
    }
    // What was rounded goes to the widest, or comes from it.
    std::size_t sum = 0;
    for ( const std::size_t width : widths ) {
        sum += width;
    }
    const auto widest = std::ranges::max_element( widths );
    if ( widest != widths.end() ) {
        *widest += columns - sum;
    }
    std::string text = style.blocks ? "  " : "  [";
    for ( std::size_t i = 0; i < parts.size(); ++i ) {
        text += drawn( parts[i].kind, widths[i], style );
    }
    return text + ( style.blocks ? "\n" : "]\n" );
}

constexpr std::size_t cellsWidth = 20;
constexpr std::size_t bytesWidth = 25;
constexpr std::size_t nameWidth = pageWidth - cellsWidth - bytesWidth - 4;

std::string numbers( U64 cells ) {
    return rightAligned( cellsText( cells ), cellsWidth ) + " " +
           rightAligned( bytesText( cells ), bytesWidth - 1 ) + "\n";
}

// A name that is too long for its column has a line of its own.
std::string reserverLine( const std::string & pointer, U64 cells ) {
    const std::string name = "    " + pointer;
    const std::string numbersAfter = numbers( cells );
    const std::size_t width = nameWidth + 4;
    return name.size() <= width ? leftAligned( name, width ) + numbersAfter
                                : name + "\n" + std::string( width, ' ' ) + numbersAfter;
}

std::string andMore( std::size_t count, const char * what ) {
    return count == 0 ? std::string() : "    and " + grouped( count ) + " more" + what + "\n";
}

std::string largest( const DirectionUse & use ) {
    constexpr std::size_t most = 5;
    const std::size_t shown = std::min( most, use.reservers.size() );
    std::string text = shown == 0 ? "" : "  the largest:\n";
    for ( std::size_t i = 0; i < shown; ++i ) {
        text += reserverLine( use.reservers[i].pointer, use.reservers[i].cells );
    }
    return text;
}

// Who would have to give the cells that are missing: the largest first.
std::string givers( const DirectionUse & use ) {
    constexpr std::size_t most = 10;
    U64 missing = use.missingCells();
    std::size_t count = 0;
    std::string text = "  to fit, these have to give:\n";
    for ( const Reserver & reserver : use.reservers ) {
        if ( missing == 0 ) {
            break;
        }
        const U64 given = std::min( missing, reserver.cells );
        missing -= given;
        if ( ++count <= most ) {
            text += reserverLine( reserver.pointer, given );
        }
    }
    text += andMore( count > most ? count - most : 0, "" );
    if ( missing != 0 ) {
        text += "    and even then " + cellsText( missing ) + " are missing: raise the capacity\n";
    }
    return text;
}

std::string directionPage( Direction direction, const DirectionUse & use,
                           const PageStyle & style ) {
    const auto parts = partsOf( direction, use );
    std::string text = direction == Direction::ingress ? "\ningress  " : "\negress   ";
    text += summaryOf( use ) + "\n";
    if ( !parts.empty() ) {
        text += bar( use, parts, style );
    }
    for ( const UsePart & part : parts ) {
        text += "  " + drawn( part.kind, 1, style ) + " " + leftAligned( part.name, nameWidth ) +
                numbers( part.cells );
    }
    return text + ( use.fits() ? largest( use ) : givers( use ) );
}

std::string warningsPage( const Warnings & warnings, const PageStyle & style ) {
    constexpr std::size_t most = 20;
    if ( warnings.count == 0 ) {
        return "\nno warnings\n";
    }
    std::string text =
        "\n" + grouped( warnings.count ) + ( warnings.count == 1 ? " warning\n" : " warnings\n" );
    const std::size_t shown = std::min( most, warnings.first.size() );
    for ( std::size_t i = 0; i < shown; ++i ) {
        const Warning & warning = warnings.first[i];
        const bool grave = warning.kind->severity == Severity::grave;
        text += "  " + coloured( warning.kind->id, grave ? Colour::red : Colour::yellow, style ) +
                "  " + warning.pointer + "\n" + wrapped( warning.text(), 4 );
    }
    return text + andMore( warnings.count - shown, "; --json has all" );
}

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

std::string pageOf( const DocumentCheck & check, const PageStyle & style ) {
    const bool fits = check.use.fits();
    return fileText( check.file ) + ": " +
           coloured( fits ? "fits" : "does not fit", fits ? Colour::green : Colour::red, style ) +
           "\n" + directionPage( Direction::ingress, check.use.ingress, style ) +
           directionPage( Direction::egress, check.use.egress, style ) +
           warningsPage( check.warnings, style );
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
