#include "tests/Host/KelqosProcess.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> entriesOf( const fs::path & folder ) {
    std::vector<fs::path> entries{ fs::directory_iterator( folder ), {} };
    std::ranges::sort( entries );
    return entries;
}

std::vector<fs::path> foldersOfStories() {
    auto entries = entriesOf( "stories" );
    std::erase_if( entries, []( const fs::path & entry ) { return !fs::is_directory( entry ); } );
    return entries;
}

// Empty without the file.
std::string textOf( const fs::path & path ) {
    std::ifstream in( path );
    return { std::istreambuf_iterator<char>( in ), {} };
}

// Without line numbers of sources, and without the recorded events that follow a failed assertion.
std::string comparable( std::string err ) {
    if ( const auto failed = err.find( ": Assertion \"" ); failed != std::string::npos ) {
        err.resize( err.find( '\n', failed ) + 1 );
    }
    static const std::regex lineNumber( "\\.(cpp|h):[0-9]+" );
    return std::regex_replace( err, lineNumber, ".$1" );
}

// The folder stories/README.md says what belongs to a story.
KelHostTest::Outcome expectedOf( fs::path story, const char * output ) {
    KelHostTest::Outcome expected{ .out = textOf( story.replace_extension( output ) ),
                                   .err = textOf( story.replace_extension( ".trace" ) ) };
    if ( fs::exists( story.replace_extension( ".err" ) ) ) {
        expected.err = textOf( story );
        expected.status = expected.err.ends_with( "failed.\n" ) ? -SIGABRT : 2;
    }
    if ( fs::exists( story.replace_extension( ".status" ) ) ) {
        expected.status = std::stoi( textOf( story ) );
    }
    return expected;
}

// What is asked about a story, by the file with the answer.
struct Question {
    const char * output;
    std::vector<std::string> words; // of the command, in front of the story
    bool asksForNew = false;        // and of the document that is to follow
};
const Question questions[] = { { ".check", { "check", "--json" } },
                               { ".page", { "check" } },
                               { ".plan", { "diff", "--json" }, true },
                               { ".diff", { "diff", "--calls" }, true },
                               { ".log", { "play" } } };

KelHostTest::Outcome outcomeOf( fs::path story, const Question & question ) {
    std::vector<std::string> args = question.words;
    args.push_back( story.string() );
    if ( question.asksForNew ) {
        args.push_back( story.replace_extension( ".new" ) );
    }
    std::ifstream more( story.replace_extension( ".args" ) );
    for ( std::string arg; std::getline( more, arg ); ) {
        args.push_back( arg );
    }
    KelHostTest::Outcome outcome = KelHostTest::runKelqos( args );
    outcome.err = comparable( outcome.err );
    return outcome;
}

// Two texts from the first line in which they differ.
std::pair<std::string, std::string> difference( const std::string & a, const std::string & b ) {
    const auto begin = std::find( std::make_reverse_iterator( std::ranges::mismatch( a, b ).in1 ),
                                  a.rend(), '\n' );
    const auto from = static_cast<std::size_t>( begin.base() - a.begin() );
    return { a.substr( from ), b.substr( from ) };
}

void agree( const KelHostTest::Outcome & outcome, const KelHostTest::Outcome & expected ) {
    EXPECT_EQ( outcome.status, expected.status );
    const auto [out, expectedOut] = difference( outcome.out, expected.out );
    EXPECT_EQ( out, expectedOut ) << "on standard output";
    const auto [err, expectedErr] = difference( outcome.err, expected.err );
    EXPECT_EQ( err, expectedErr ) << "on standard error";
}

class Stories : public testing::TestWithParam<fs::path> {};

} // namespace

TEST_P( Stories, endAsWritten ) {
    int count = 0;
    for ( const fs::path & story : entriesOf( GetParam() ) ) {
        if ( story.extension() == ".json" ) {
            SCOPED_TRACE( story );
            int asked = 0;
            for ( const Question & question : questions ) {
                const bool isLast = &question == std::end( questions ) - 1;
                if ( fs::exists( fs::path( story ).replace_extension( question.output ) ) ||
                     ( isLast && asked == 0 ) ) {
                    agree( outcomeOf( story, question ), expectedOf( story, question.output ) );
                    ++asked;
                }
            }
            count += asked;
        }
    }
    EXPECT_GT( count, 0 );
}

INSTANTIATE_TEST_SUITE_P( in, Stories, testing::ValuesIn( foldersOfStories() ),
                          []( const auto & folder ) {
                              std::string name = folder.param.filename().string();
                              std::ranges::replace( name, '-',
                                                    '_' ); // no character of a test's name
                              return name;
                          } );
