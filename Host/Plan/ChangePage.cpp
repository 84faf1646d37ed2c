#include "Host/Plan/ChangePage.h"

#include "Host/Json/MessageText.h"
#include "Host/Plan/JsonAnswer.h"

#include <array>

namespace KelHost {

namespace {

// By Impact.
constexpr std::array<Colour, 5> colours{ Colour::grey, Colour::green, Colour::yellow, Colour::red,
                                         Colour::red };

std::string named( Impact impact, const PageStyle & style ) {
    return coloured( word( impact ), colours.at( static_cast<std::size_t>( impact ) ), style );
}

// A value on a line: a large object is cut.
std::string valueText( const Json & value ) {
    constexpr std::size_t most = 300; // bytes
    if ( value.is_null() ) {
        return "absent";
    }
    return value.is_string() ? value.get<std::string>() : shown( value.dump(), most );
}

// "116 -> 200 cells"; what is not there has no unit.
std::string fromTo( const Json & before, const Json & after, std::string_view unit = {} ) {
    const std::string behind = unit.empty() ? "" : " " + std::string( unit );
    return valueText( before ) + ( after.is_null() ? behind : "" ) + " -> " + valueText( after ) +
           ( after.is_null() ? "" : behind );
}

std::string changeText( const PlannedChange & planned, const PageStyle & style ) {
    const MemberChange & change = planned.change;
    std::string text;
    if ( change.before.is_null() ) {
        text = "  " + coloured( "+", Colour::green, style ) + " " + change.pointer + ": " +
               valueText( change.after );
    } else if ( change.after.is_null() ) {
        text = "  " + coloured( "-", Colour::red, style ) + " " + change.pointer + ": " +
               valueText( change.before );
    } else {
        text = "  " + coloured( "~", Colour::yellow, style ) + " " + change.pointer + ": " +
               fromTo( change.before, change.after );
    }
    return text + "\n" + ( planned.note.empty() ? "" : wrapped( planned.note, 6 ) );
}

std::string changesPage( const ChangePlan & plan, const PageStyle & style ) {
    std::string text = "\nchanges, the harmless first (+ added, ~ changed, - removed)\n";
    for ( const Impact impact : { Impact::none, Impact::settings, Impact::reclassifies,
                                  Impact::interrupts, Impact::restart } ) {
        bool first = true;
        for ( const PlannedChange & planned : plan.changes ) {
            if ( planned.impact != impact ) {
                continue;
            }
            if ( std::exchange( first, false ) ) {
                text += named( impact, style ) + ": " + std::string( meaning( impact ) ) + "\n";
            }
            text += changeText( planned, style );
        }
    }
    return text;
}

std::string chipPage( const ChangePlan & plan ) {
    std::string text = "\nthe chip\n";
    for ( const ChipSetting & setting : plan.chip ) {
        text += "  " + setting.name + " " + fromTo( setting.before, setting.after, setting.unit ) +
                "\n";
    }
    return text + ( plan.chip.empty() ? "  stays as it is\n" : "" );
}

std::string directionLine( const char * name, const DirectionUse & before,
                           const DirectionUse & after ) {
    const auto change = []( U64 then, U64 now ) {
        return then == now ? grouped( now ) : grouped( then ) + " -> " + grouped( now );
    };
    return std::string( "  " ) + name + change( before.reservedCells, after.reservedCells ) +
           " cells reserved, " + change( before.sharedCells(), after.sharedCells() ) +
           " left to share" + ( after.fits() ? "" : ": does not fit" ) + "\n";
}

std::string count( std::size_t number, const std::string & what ) {
    return grouped( number ) + " " + what + ( number == 1 ? "" : "s" );
}

} // namespace

std::string pageOf( const ChangePlan & plan, const std::string & before, const std::string & after,
                    bool calls, const PageStyle & style ) {
    std::string text = fileText( before ) + " -> " + fileText( after ) + "\n";
    if ( plan.changes.empty() ) {
        return text + "\nthe same meaning: nothing would change\n";
    }
    text += changesPage( plan, style );
    if ( plan.impact != Impact::restart ) {
        text += chipPage( plan );
    }
    text += "\nthe buffers\n" +
            directionLine( "ingress ", plan.before.ingress, plan.after.ingress ) +
            directionLine( "egress  ", plan.before.egress, plan.after.egress );
    if ( calls && plan.impact != Impact::restart ) {
        text += plan.calls.empty() ? "\nno calls\n" : "\nthe calls\n";
        for ( const std::string & call : plan.calls ) {
            text += "  " + call + "\n";
        }
    }
    return text + "\n" + count( plan.changes.size(), "change" ) + ", " +
           count( plan.chip.size(), "setting" ) + " of the chip, " +
           count( plan.calls.size(), "driver call" ) +
           "\nworst impact: " + named( plan.impact, style ) + " (" +
           std::string( meaning( plan.impact ) ) + ")\n";
}

std::string jsonOf( const ChangePlan & plan ) {
    const auto both = []( const DirectionUse & before, const DirectionUse & after ) {
        return OrderedJson{ { "reservedCells",
                              OrderedJson::array( { before.reservedCells, after.reservedCells } ) },
                            { "sharedCells", OrderedJson::array( { before.sharedCells(),
                                                                   after.sharedCells() } ) } };
    };
    JsonAnswer answer;
    answer.member( "impact", word( plan.impact ) );
    answer.list( "changes", plan.changes, []( const PlannedChange & planned ) {
        return OrderedJson{ { "pointer", planned.change.pointer },
                            { "before", planned.change.before },
                            { "after", planned.change.after },
                            { "impact", word( planned.impact ) } };
    } );
    answer.list( "chip", plan.chip, []( const ChipSetting & setting ) {
        const std::string unit( setting.unit );
        return OrderedJson{ { "setting", setting.name + ( unit.empty() ? "" : ", " + unit ) },
                            { "before", setting.before },
                            { "after", setting.after } };
    } );
    answer.list( "calls", plan.calls, []( const std::string & call ) { return call; } );
    answer.member( "ingress", both( plan.before.ingress, plan.after.ingress ) );
    answer.member( "egress", both( plan.before.egress, plan.after.egress ) );
    return answer.text();
}

} // namespace KelHost
