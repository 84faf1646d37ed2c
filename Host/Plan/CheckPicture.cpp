#include "Host/Plan/CheckPicture.h"

#include "Host/Plan/PageStyle.h"
#include "Host/Plan/UseParts.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace KelHost {

namespace {

constexpr F64 margin = 24;
constexpr F64 width = 760;
constexpr F64 barWidth = width - 2 * margin;
constexpr F64 barHeight = 36;
constexpr F64 lineHeight = 22;

// By PartKind.
constexpr std::array<const char *, 5> classes{ "minimums", "headroom", "fixed", "shared",
                                               "overflow" };

// The colours of the parts hold on white and on near black. No variables: not everything that draws
// a picture in a document knows them.
constexpr const char * style = R"(<style>
text { font: 14px system-ui, sans-serif; fill: #1c1f23 }
text.title { font-size: 18px; font-weight: 600 }
text.head { font-weight: 600 }
text.faint { fill: #5b636d }
text.number { text-anchor: end; font-variant-numeric: tabular-nums }
.paper { fill: #ffffff }
.frame { fill: none; stroke: #c9ced4 }
.mark { stroke: #1c1f23; stroke-width: 2 }
.minimums { fill: #3a7bd5 }
.headroom { fill: #16a3a3 }
.fixed { fill: #8a8f98 }
.shared { fill: #63b56b }
.overflow { fill: #d8433b }
@media (prefers-color-scheme: dark) {
  text { fill: #e9ecef }
  text.faint { fill: #a2abb5 }
  .paper { fill: #16191d }
  .frame { stroke: #454c55 }
  .mark { stroke: #e9ecef }
}
</style>
)";

std::string escaped( std::string_view text ) {
    std::string result;
    for ( const char c : text ) {
        switch ( c ) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

std::string at( F64 position ) {
    char text[32];
    (void)std::snprintf( text, sizeof text, "%.1f", position );
    return text;
}

std::string textAt( F64 x, F64 y, const char * kind, std::string_view text ) {
    return "<text class=\"" + std::string( kind ) + "\" x=\"" + at( x ) + "\" y=\"" + at( y ) +
           "\">" + escaped( text ) + "</text>\n";
}

std::string rectangle( F64 x, F64 y, F64 w, F64 h, const char * kind ) {
    return "<rect class=\"" + std::string( kind ) + "\" x=\"" + at( x ) + "\" y=\"" + at( y ) +
           "\" width=\"" + at( w ) + "\" height=\"" + at( h ) + "\"/>\n";
}

// Draws downwards from `y`, and moves it.
std::string directionPicture( Direction direction, const DirectionUse & use, F64 & y ) {
    const auto parts = partsOf( direction, use );
    const F64 whole = static_cast<F64>( std::max( use.capacityCells, use.reservedCells ) );
    const auto x = [whole]( U64 cells ) {
        return margin + barWidth * static_cast<F64>( cells ) / whole;
    };
    y += 2 * lineHeight;
    std::string text =
        textAt( margin, y, "head", direction == Direction::ingress ? "Ingress" : "Egress" ) +
        textAt( margin + 72, y, "faint", summaryOf( use ) );
    y += 12;
    for ( const UsePart & part : parts ) {
        text += rectangle( x( part.begin ), y, std::max( 2.0, x( part.end ) - x( part.begin ) ),
                           barHeight, classes.at( static_cast<std::size_t>( part.kind ) ) );
    }
    text += rectangle( margin, y, barWidth, barHeight, "frame" );
    if ( !use.fits() ) {
        const std::string end = at( x( use.capacityCells ) );
        text += R"(<line class="mark" x1=")" + end + R"(" x2=")" + end + R"(" y1=")" + at( y - 5 ) +
                R"(" y2=")" + at( y + barHeight + 5 ) + "\"/>\n";
    }
    y += barHeight + 4;
    for ( const UsePart & part : parts ) {
        y += lineHeight;
        text += rectangle( margin, y - 11, 12, 12,
                           classes.at( static_cast<std::size_t>( part.kind ) ) ) +
                textAt( margin + 22, y, "", part.name ) +
                textAt( width - margin - 200, y, "number", cellsText( part.cells ) ) +
                textAt( width - margin, y, "number faint", bytesText( part.cells ) );
    }
    return text;
}

} // namespace

std::string pictureOf( const DocumentCheck & check ) {
    const std::string title =
        fileText( check.file ) + ( check.use.fits() ? ": fits" : ": does not fit" );
    F64 y = margin + 14;
    std::string body = textAt( margin, y, "title", title );
    y -= lineHeight / 2;
    body += directionPicture( Direction::ingress, check.use.ingress, y );
    body += directionPicture( Direction::egress, check.use.egress, y );
    y += margin;
    const std::string size = at( width ) + " " + at( y );
    return R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 )" + size + R"(" width=")" +
           at( width ) + R"(" height=")" + at( y ) +
           R"(" role="img" aria-labelledby="title"><title id="title">Packet buffer of )" +
           escaped( title ) + "</title>\n" + style + rectangle( 0, 0, width, y, "paper" ) + body +
           "</svg>\n";
}

} // namespace KelHost
