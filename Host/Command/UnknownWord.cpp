#include "Host/Command/UnknownWord.h"

#include "Host/Json/MessageText.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace KelHost {

namespace {

constexpr std::size_t shownLength = 64;
constexpr std::size_t nearDistance = 2;

// The least number of letters to add, to leave out, to replace or to swap with their neighbours.
std::size_t distance( std::string_view a, std::string_view b ) {
    std::vector<std::vector<std::size_t>> table( a.size() + 1,
                                                 std::vector<std::size_t>( b.size() + 1 ) );
    for ( std::size_t i = 0; i <= a.size(); ++i ) {
        for ( std::size_t j = 0; j <= b.size(); ++j ) {
            std::size_t & least = table[i][j];
            if ( i == 0 || j == 0 ) {
                least = i + j;
                continue;
            }
            least = std::min( { table[i - 1][j] + 1, table[i][j - 1] + 1,
                                table[i - 1][j - 1] + ( a[i - 1] == b[j - 1] ? 0 : 1 ) } );
            if ( i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1] ) {
                least = std::min( least, table[i - 2][j - 2] + 1 );
            }
        }
    }
    return table[a.size()][b.size()];
}

// The command that was named last, which may have commands of its own.
const CLI::App & named( const CLI::App & program ) {
    const CLI::App * app = &program;
    while ( !app->get_subcommands().empty() ) {
        app = app->get_subcommands().front();
    }
    return *app;
}

std::vector<std::string> commandsOf( const CLI::App & app ) {
    std::vector<std::string> names;
    for ( const CLI::App * command :
          app.get_subcommands( []( const CLI::App * ) { return true; } ) ) {
        names.push_back( command->get_name() );
    }
    return names;
}

std::string typedWord( const CLI::App & program ) {
    const std::vector<std::string> rest = program.remaining( true );
    const auto word = std::ranges::find_if_not(
        rest, []( const std::string & text ) { return text.starts_with( '-' ); } );
    return word == rest.end() ? std::string() : *word;
}

} // namespace

std::string unknownWordText( const CLI::App & program ) {
    const CLI::App & scope = named( program );
    const std::vector<std::string> commands = commandsOf( scope );
    const std::string word = typedWord( program );
    const bool atTop = &scope == &program;
    if ( commands.empty() || ( atTop && word.empty() ) ) {
        return {};
    }
    const std::string quoted = "'" + shown( word, shownLength ) + "'";
    if ( !atTop ) {
        std::string text = word.empty() ? "say what to " + scope.get_name()
                                        : "nothing to " + scope.get_name() + " is called " + quoted;
        text += "; there is:";
        for ( const std::string & command : commands ) {
            text += " " + command;
        }
        return text;
    }
    const std::string_view compared = std::string_view( word ).substr( 0, shownLength );
    const auto nearest = std::ranges::min_element(
        commands, {}, [&]( const std::string & name ) { return distance( compared, name ); } );
    const bool near = distance( compared, *nearest ) <= std::min( nearDistance, word.size() - 1 );
    return "no command " + quoted +
           ( near ? "; did you mean '" + *nearest + "'?"
                  : "; see " + program.get_name() + " --help" );
}

} // namespace KelHost
