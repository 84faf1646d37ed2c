#include "Host/Document/DocumentTransition.h"
#include "Host/Document/SwitchDocumentEncoder.h"
#include "Host/Plan/ChangePage.h"
#include "Host/Plan/CheckPage.h"
#include "Host/Plan/ModelledChip.h"
#include "Host/Play/Player.h"
#include "Host/Switch/AnswerFile.h"
#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "KelQos/Slice/KelSliceQosSm.h"
#include "Platform/Logging/Syslog.h"
#include "tests/Host/DocumentHelpers.h"
#include "tests/Host/JsonSchema.h"
#include "tests/support/TempFolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>

using namespace KelHost;
using KelHostTest::JsonSchema;

namespace {

// Small documents in which everything happens that matters: few ports, so that two of them meet
// often, with everything that a port can have.
class RandomDocuments {
  public:
    Json document() {
        Json result = anyDocument();
        while ( !KelHostTest::refusal( result.dump() ).empty() ) {
            result = anyDocument();
        }
        return result;
    }

    // The same document with parts of another one.
    Json changed( const Json & document ) {
        Json result;
        do {
            result = document;
            graft( result, anyDocument(), 0 );
        } while ( !KelHostTest::refusal( result.dump() ).empty() );
        return result;
    }

  private:
    Json anyDocument() {
        Json root = Json::object();
        if ( oneIn( 20 ) ) {
            root["device"] = { { "maxPipeId", pick( 4 ) }, { "totalCells", 20000 + pick( 3 ) } };
        }
        if ( !oneIn( 20 ) ) {
            root["bufferParams"] = { { "totalCellsAvailableForIngress", 4000 + pick( 3 ) * 100 } };
            maybe( root["bufferParams"], "leakThreshold", pick( 4 ) );
            maybe( root["bufferParams"], "leakPollInterval", 0.25 * ( 1 + pick( 3 ) ) );
        }
        if ( !oneIn( 4 ) ) {
            root["cosToTc"] = Json::array();
            for ( int cos = 0; cos < 8; ++cos ) {
                root["cosToTc"].push_back( oneIn( 40 ) ? 8 : oneIn( 10 ) ? pick( 8 ) : cos );
            }
        }
        for ( const auto & [name, index] : { std::pair{ "Ethernet1", 4 },
                                             { "Ethernet1/2", 5 },
                                             { "Ethernet9", 130 },
                                             { "Internal67", 64 } } ) {
            if ( !oneIn( 6 ) || *name == 'I' ) {
                root["ports"][name] = port( index );
            }
        }
        if ( oneIn( 8 ) ) { // takes all but a few groups of pipe 0
            for ( int index = 8; index < 24; ++index ) {
                root["ports"]["Full" + std::to_string( index )] = fullPort( index );
            }
        }
        for ( const char * pipe : { "0", "3" } ) {
            if ( oneIn( 2 ) ) {
                root["wred"][pipe] = Json::object();
                for ( const char * index : { "7", "10" } ) {
                    maybe( root["wred"][pipe], index,
                           { { "minThdCells", pick( 3 ) },
                             { "maxThdCells", pick( 3 ) },
                             { "maxDropProbability", 0.1 * pick( 3 ) },
                             { "timeConstantNs", 1000 } } );
                }
            }
        }
        if ( oneIn( 3 ) ) {
            root["counters"]["0"]["block"]["3"] = {
                { "name", "drops" }, { "type", 0 }, { "value", pick( 4 ) } };
            maybe( root["counters"]["0"], "queue", { { "33", pick( 3 ) } } );
        }
        return root;
    }

    int pick( int count ) { return static_cast<int>( random_() % static_cast<unsigned>( count ) ); }
    bool oneIn( int count ) { return pick( count ) == 0; }
    void maybe( Json & object, const char * name, Json value ) {
        if ( oneIn( 2 ) ) {
            object[name] = std::move( value );
        }
    }

    Json rate() {
        Json rate{ { "rate", oneIn( 3 ) ? 600000001 : pick( 3 ) * 1000 } };
        maybe( rate, "unit", oneIn( 2 ) ? "pps" : "kbps" );
        return rate;
    }

    Json port( int index ) {
        Json port{ { "portIndex", oneIn( 30 ) ? index + 1 : index } };
        maybe( port, "enabled", oneIn( 2 ) ? "enabled" : "disabled" );
        if ( oneIn( 4 ) ) {
            return port;
        }
        Json & qos = port["qos"] = Json::object();
        constexpr const char * words[] = { "none", "linkPause", "pfc" };
        maybe( qos, "flowControlType", words[pick( 3 )] );
        maybe( qos, "shapeRate", rate() );
        for ( const char * id : { "0", "3", "4", "8" } ) {
            if ( oneIn( 2 ) ) {
                Json & group = qos["ppgs"][id] = Json::object();
                maybe( group, "internalCosBmp", pick( 4 ) );
                maybe( group, "pfcEnabled", oneIn( 2 ) );
                maybe( group, "minLimitCells", oneIn( 20 ) ? 4294967294 : pick( 3 ) * 500 );
                maybe( group, "dynamicThreshold", 8 + pick( 3 ) );
            }
        }
        for ( const char * id : { "0", "3" } ) {
            if ( oneIn( 2 ) ) {
                Json & queue = qos["txQueues"][id] = Json::object();
                maybe( queue, "pfcCos", pick( 9 ) - 1 );
                maybe( queue, "minLimitCells", oneIn( 20 ) ? 4294967294 : pick( 3 ) * 1000 );
                maybe( queue, "dynamicThreshold", 8 + pick( 3 ) );
                maybe( queue, "priority", oneIn( 2 ) ? "strict" : "roundRobin" );
                maybe( queue, "weight", pick( 3 ) );
                maybe( queue, "shapeRate", rate() );
                maybe( queue, "guaranteedRate", rate() );
            }
        }
        return port;
    }

    static Json fullPort( int index ) {
        Json port{ { "portIndex", index } };
        for ( int group = 0; group < 8; ++group ) {
            port["qos"]["ppgs"][std::to_string( group )] = Json::object();
        }
        return port;
    }

    void graft( Json & document, const Json & other, int depth ) {
        for ( const auto & item : other.items() ) {
            const auto found = document.find( item.key() );
            if ( found != document.end() && found->is_object() && item.value().is_object() ) {
                graft( *found, item.value(), depth + 1 );
            } else if ( oneIn( depth < 2 ? 8 : 2 ) ) {
                document[item.key()] = item.value();
            }
        }
        if ( oneIn( 10 ) && depth > 0 && !document.empty() ) {
            document.erase(
                std::next( document.begin(), pick( static_cast<int>( document.size() ) ) ) );
        }
    }

    std::mt19937 random_{ 7 }; // NOLINT(cert-msc51-cpp): the same documents every time
};

// The merge patch that makes one document of another.
Json patchOf( const Json & before, const Json & after ) {
    Json patch = Json::object();
    for ( const auto & item : before.items() ) {
        if ( !after.contains( item.key() ) ) {
            patch[item.key()] = nullptr;
        }
    }
    for ( const auto & item : after.items() ) {
        const auto found = before.find( item.key() );
        if ( found == before.end() || !found->is_object() || !item.value().is_object() ) {
            patch[item.key()] = item.value();
        } else {
            patch[item.key()] = patchOf( *found, item.value() );
        }
    }
    return patch;
}

// The calls that a scenario makes by its one patch.
std::vector<std::string> callsOfPatch( const Json & before, const Json & after ) {
    const TestSupport::TempFolder folder;
    const Json scenario{
        { "config", before },
        { "simulation", true },
        { "steps", { { { "command", "0:here" } }, { { "patch", patchOf( before, after ) } } } } };
    const AnswerFile log;
    playFile( folder.write( "way.json", scenario.dump() ), log.fd() );
    std::istringstream lines( log.text() );
    std::vector<std::string> calls;
    bool begun = false;
    for ( std::string line; std::getline( lines, line ); ) {
        constexpr std::string_view call = "0.000 call ";
        begun |= line.starts_with( "0.000 reply" );
        if ( begun && line.starts_with( call ) ) {
            calls.push_back( line.substr( call.size() ) );
        }
    }
    return calls;
}

using Settings = std::map<std::string, Json>;

// All that the chip holds, by name.
Settings settingsOf( const ChipSnapshot & chip ) {
    Settings settings;
    for ( ChipSetting & setting : changedSettings( {}, chip ) ) {
        settings.emplace( setting.name, std::move( setting.after ) );
    }
    return settings;
}

bool isLeak( const PlannedChange & change ) {
    return change.note.find( "leak" ) != std::string::npos;
}

void expectTheSame( const BufferUse & use, const KelQos::KelSliceQosSm & sm ) {
    const auto wrapped = []( U64 sum ) { return static_cast<U32>( sum ); };
    EXPECT_EQ( sm.numPpgsAllocated(), use.ingress.objects );
    EXPECT_EQ( sm.ppgMinCellCount(), wrapped( use.ingress.minimumCells ) );
    EXPECT_EQ( sm.globalHeadroomCellCount(), wrapped( use.ingress.headroomCells ) );
    EXPECT_EQ( sm.totalIngressReservedCellCount(), wrapped( use.ingress.reservedCells ) );
    EXPECT_EQ( sm.totalCellsAvailableForIngress(), use.ingress.capacityCells );
    EXPECT_EQ( sm.numTxQsAllocated(), use.egress.objects );
    EXPECT_EQ( sm.txQMinCellCount(), wrapped( use.egress.minimumCells ) );
    EXPECT_EQ( sm.totalEgressReservedCellCount(), wrapped( use.egress.reservedCells ) );
    EXPECT_EQ( sm.totalCellCount(), use.egress.capacityCells );
    const bool wraps = use.ingress.reservedCells >> 32 != 0 || use.egress.reservedCells >> 32 != 0;
    if ( !wraps ) {
        EXPECT_EQ( sm.ingressSharedPoolCellCount(), use.ingress.sharedCells() );
        EXPECT_EQ( sm.egressSharedPoolCellCount(), use.egress.sharedCells() );
    }
}

// Goes the way with a switch of its own, and compares.
void expectTheWay( const ChangePlan & plan, const WrittenDocument & before,
                   const WrittenDocument & after ) {
    Kel::syslogSinkIs( []( int, std::string_view, std::string_view ) {} );
    Kel::ActivityManager activityManager;
    ModelledChip chip;
    SwitchRuntime runtime( activityManager, before.document );
    runtime.start( chip );
    expectTheSame( plan.before, runtime.sliceQosSm() );
    ChipSnapshot first( chip.chip().state(), runtime );
    runtime.apply( differenceOf( before.document, after.document ) );
    runtime.serveTimers();
    ChipSnapshot last( chip.chip().state(), runtime );
    first.interfaces.insert( last.interfaces.begin(), last.interfaces.end() );
    last.interfaces.insert( first.interfaces.begin(), first.interfaces.end() );
    const Settings then = settingsOf( first );
    const Settings now = settingsOf( last );
    std::set<std::string> changed;
    for ( const ChipSetting & setting : plan.chip ) {
        changed.insert( setting.name );
        const auto holds = now.find( setting.name );
        EXPECT_TRUE( holds == now.end() || holds->second == setting.after ) << setting.name;
        EXPECT_NE( setting.before, setting.after ) << setting.name;
    }
    for ( const auto & [one, other] : { std::pair( &then, &now ), { &now, &then } } ) {
        for ( const auto & [name, value] : *one ) {
            const auto found = other->find( name );
            EXPECT_EQ( found == other->end() || found->second != value, changed.contains( name ) )
                << name;
        }
    }
    runtime.advanceTo( 10 );
    const bool leaks = std::ranges::any_of( plan.changes, isLeak );
    EXPECT_EQ( runtime.sliceQosSm().leakHandlerSm()->recovered(),
               leaks || ( leaksAtOnce( before.document ) && leaksAtOnce( after.document ) ) );
    Kel::syslogSinkIs( nullptr );
}

bool moves( const WrittenDocument & before, const WrittenDocument & after ) {
    return std::ranges::any_of( before.document.ports, [&]( const auto & entry ) {
        const auto found = after.document.ports.find( entry.first );
        return found != after.document.ports.end() &&
               found->second.portIndex != entry.second.portIndex;
    } );
}

// The document with one of the changes alone.
Json withOnly( const MemberChange & change, const Json & before ) {
    Json document = before;
    Json * object = &document;
    for ( std::size_t i = 0; i + 1 < change.path.size(); ++i ) {
        object = &( *object )[change.path[i]];
    }
    ( *object )[change.path.back()] = change.after;
    if ( change.after.is_null() ) {
        object->erase( change.path.back() );
    }
    return document;
}

// What one change does is what its impact says.
void expectTheImpact( const ChangePlan & plan ) {
    const auto touches = [&]( std::string_view word ) {
        return std::ranges::any_of( plan.chip, [word]( const ChipSetting & setting ) {
            const bool isNew = setting.before.is_null(); // with its group
            return setting.name.find( word ) != std::string::npos &&
                   ( !isNew || ( word == "classes" && !setting.after.empty() ) );
        } );
    };
    const auto calls = [&]( std::string_view name ) {
        return std::ranges::any_of(
            plan.calls, [name]( const std::string & call ) { return call.starts_with( name ); } );
    };
    const PlannedChange & only = plan.changes.front();
    EXPECT_EQ( plan.changes.size(), 1U );
    EXPECT_TRUE( plan.calls.empty() ? only.impact == Impact::none || isLeak( only )
                                    : only.impact != Impact::none )
        << jsonOf( plan );
    if ( only.impact <= Impact::settings ) {
        for ( const char * word :
              { "classes", "pause", "PFC class", "lossless", "priority", "map" } ) {
            EXPECT_FALSE( touches( word ) ) << word << jsonOf( plan );
        }
    }
    EXPECT_EQ( only.impact == Impact::interrupts, calls( "bf_tm_ppg_free" ) || !only.note.empty() );
}

int pairs() {
    const char * asked = std::getenv( "KEL_PAIRS" );
    return asked == nullptr ? 150 : std::atoi( asked );
}

} // namespace

// For random documents: what is planned is what a scenario does, and what the chip holds then.
TEST( ChangePlan, isWhatHappens ) {
    const JsonSchema checkSchema( "check" );
    const JsonSchema diffSchema( "diff" );
    RandomDocuments random;
    std::map<Impact, int> impacts;
    for ( int pair = 0; pair < pairs() && !testing::Test::HasFailure(); ++pair ) {
        const Json from = random.document();
        const Json to = random.changed( from );
        SCOPED_TRACE( from.dump() + "\n" + to.dump() );
        const WrittenDocument before = writtenDocument( from.dump(), "before.json" );
        const WrittenDocument after = writtenDocument( to.dump(), "after.json" );
        for ( const Defaults defaults : { Defaults::leftOut, Defaults::written } ) {
            const Json again = encodedSwitchDocument( before.document, defaults );
            EXPECT_EQ( KelHostTest::decoded( again.dump() ), before.document );
        }
        const ChangePlan plan = changePlanOf( before, after );
        ++impacts[plan.impact];
        EXPECT_EQ( plan.changes.empty(), before.document == after.document );
        const bool refused = !transitionRefusals( before.document, after.document ).empty();
        EXPECT_EQ( plan.impact == Impact::restart, refused );
        if ( refused ) {
            EXPECT_TRUE( plan.calls.empty() );
        } else {
            EXPECT_EQ( plan.calls, callsOfPatch( from, to ) );
            EXPECT_TRUE( plan.calls.empty()
                             ? plan.impact == Impact::none || plan.impact == Impact::interrupts
                             : plan.impact != Impact::none );
            if ( !plan.changes.empty() ) {
                const auto which = static_cast<std::size_t>( pair ) % plan.changes.size();
                const Json single = withOnly( plan.changes[which].change, from );
                const WrittenDocument next = writtenDocument( single.dump(), "single.json" );
                SCOPED_TRACE( plan.changes[which].change.pointer );
                expectTheImpact( changePlanOf( before, next ) );
            }
            if ( !moves( before, after ) ) {
                expectTheWay( plan, before, after );
            }
        }
        if ( pair < 100 ) {
            EXPECT_TRUE( diffSchema.accepts( Json::parse( jsonOf( plan ) ) ) );
            EXPECT_TRUE( checkSchema.accepts(
                Json::parse( jsonOf( checkOf( from.dump(), "before.json" ) ) ) ) );
        }
    }
    EXPECT_EQ( impacts.size(), 5U ); // each kind came up
}

TEST( AnswerSchemas, acceptTheAnswersOfTheStories ) {
    int count = 0;
    for ( const auto & [schema, folder, ending] :
          { std::tuple( "check", "stories/check", ".check" ),
            { "diff", "stories/diff", ".plan" } } ) {
        const JsonSchema answers( schema );
        for ( const auto & entry : std::filesystem::directory_iterator( folder ) ) {
            const std::string text =
                entry.path().extension() == ending ? readTextFile( entry.path() ) : "";
            if ( !text.empty() ) {
                EXPECT_TRUE( answers.accepts( Json::parse( text ) ) ) << entry.path();
                ++count;
            }
        }
        EXPECT_FALSE( answers.accepts( Json::object() ) );
    }
    EXPECT_GT( count, 20 );
}
