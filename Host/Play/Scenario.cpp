#include "Host/Play/Scenario.h"

#include "Host/Document/DocumentTransition.h"
#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/JsonDecode.h"
#include "Host/Json/JsonReader.h"
#include "Host/Json/JsonTree.h"
#include "Host/Json/TextFile.h"

#include <algorithm>
#include <filesystem>

namespace KelHost {

namespace {

using Decode::Rule;

constexpr S64 lowestStatus = std::numeric_limits<S32>::min();
constexpr U64 highestStatus = std::numeric_limits<S32>::max();
constexpr F64 longestAdvance = 1e7; // seconds

// A step is two values at least. However many of them a file has, their times do not add up to more
// than a double resolves to the millisecond.
constexpr F64 longestTime = 0x1p43; // seconds; from here on neighbours are 2 ms apart
static_assert( longestAdvance * jsonValueLimit / 2 < longestTime );

void faultStatus( const JsonCursor & cursor, FaultStep & out ) {
    out.status = static_cast<S32>( Decode::readInteger( cursor, lowestStatus, highestStatus ) );
    if ( out.status == 0 ) {
        cursor.refuse( "must not be 0, which is the status of a call that succeeds" );
    }
}

constexpr Rule<FaultStep> faultRules[] = {
    { "call", Decode::text<&FaultStep::call>, true },
    { "status", faultStatus, true },
    { "times", Decode::integer<&FaultStep::times, 1, ~U64{ 0 }> },
    { "skip", Decode::anyUnsigned<&FaultStep::skip> },
};

// The members of a scenario may be written in any order, but are read in this one, since they build
// on each other.
struct Members {
    const Json * config = nullptr;
    const Json * simulation = nullptr;
    const Json * faults = nullptr;
    const Json * steps = nullptr;
};

template <auto member>
void keep( const JsonCursor & cursor, Members & out ) {
    out.*member = &cursor.value();
}

constexpr Rule<Members> memberRules[] = {
    { "config", keep<&Members::config>, true },
    { "simulation", keep<&Members::simulation> },
    { "faults", keep<&Members::faults> },
    { "steps", keep<&Members::steps> },
};

const Json & readArray( const JsonCursor & cursor ) {
    if ( !cursor.value().is_array() ) {
        cursor.refuse( "must be an array" );
    }
    return cursor.value();
}

class ScenarioReader {
  public:
    ScenarioReader( const std::string & file, std::span<const FaultCall> faultCalls )
        : place_{ .file = file }, faultCalls_( faultCalls ) {}

    // What has been read is taken out of the tree at once: a large one makes room for the scenario.
    Scenario read( Json & root ) {
        const JsonCursor cursor( root, place_ );
        Members members;
        Decode::object( cursor, members, memberRules );
        Scenario scenario;
        readConfig( cursor.member( "config", *members.config ), root["config"] );
        scenario.start = document_;
        if ( members.simulation != nullptr ) {
            scenario.simulation =
                Decode::readBoolean( cursor.member( "simulation", *members.simulation ) );
        }
        if ( members.faults != nullptr ) {
            const JsonCursor faults = cursor.member( "faults", *members.faults );
            const Json & array = readArray( faults );
            scenario.faults.reserve( array.size() );
            for ( std::size_t i = 0; i < array.size(); ++i ) {
                scenario.faults.push_back( readFault( faults.element( array, i ) ) );
            }
        }
        if ( members.steps != nullptr ) {
            const JsonCursor steps = cursor.member( "steps", *members.steps );
            scenario.steps.reserve( readArray( steps ).size() );
            Json & array = root["steps"];
            for ( std::size_t i = 0; i < array.size(); ++i ) {
                scenario.steps.push_back( readStep( steps.element( array, i ) ) );
                dismantle( array[i] );
            }
        }
        return scenario;
    }

  private:
    // A kind of step: the name of its member, and what reads that member's value.
    struct StepKind {
        std::string_view name;
        ScenarioStep ( ScenarioReader::*read )( const JsonCursor & );
    };

    static const StepKind stepKinds[7];

    void readConfig( const JsonCursor & cursor, Json & config ) {
        if ( const auto * path = cursor.value().get_ptr<const std::string *>() ) {
            // Control characters would end the name early, or break the line of an error that
            // quotes it.
            if ( std::ranges::any_of( *path, []( unsigned char c ) { return c < ' '; } ) ) {
                cursor.refuse( "must be a path without control characters" );
            }
            const std::filesystem::path folder = std::filesystem::path( place_.file ).parent_path();
            const std::string file = ( folder / *path ).string();
            tree_.root = readJson( readIncluded( cursor, file ), file );
            document_ = decodeSwitchDocument( tree_.root, { .file = file } );
            return;
        }
        if ( !cursor.value().is_object() ) {
            cursor.refuse( "must be a switch document or the path of one" );
        }
        tree_.root = std::move( config );
        document_ =
            decodeSwitchDocument( tree_.root, { .file = place_.file, .root = cursor.pointer() } );
    }

    static std::string readIncluded( const JsonCursor & cursor, const std::string & file ) {
        try {
            return readTextFile( file );
        } catch ( const DocumentError & error ) {
            cursor.refuse( error.what() );
        }
    }

    FaultStep readFault( const JsonCursor & cursor ) const {
        FaultStep fault;
        Decode::object( cursor, fault, faultRules );
        const auto call = std::ranges::find( faultCalls_, fault.call, &FaultCall::name );
        if ( call == faultCalls_.end() ) {
            place_.refuse( cursor.pointer() + "/call",
                           "must be the name of a bf_tm_* operation, \"pipe_mgr_tbl_set_property\" "
                           "or \"wredSetIndirect\"" );
        }
        if ( fault.status < 0 && call->unsignedStatus ) {
            place_.refuse( cursor.pointer() + "/status", "must be 1 or more for " + fault.call );
        }
        return fault;
    }

    // The kind of step that has this member.
    static const StepKind & kindOf( const JsonCursor & member ) {
        const auto * kind = std::ranges::find( stepKinds, member.name(), &StepKind::name );
        if ( kind == std::end( stepKinds ) ) {
            Decode::refuseUnknown( member, stepNames() );
        }
        return *kind;
    }

    static std::vector<std::string_view> stepNames() {
        std::vector<std::string_view> names;
        std::ranges::transform( stepKinds, std::back_inserter( names ), &StepKind::name );
        return names;
    }

    ScenarioStep readStep( const JsonCursor & cursor ) {
        const Json::object_t & step = Decode::readObject( cursor );
        for ( const auto & [name, value] : step ) {
            kindOf( cursor.member( name, value ) );
        }
        if ( step.size() != 1 ) {
            Decode::refuseCount( cursor, stepNames() );
        }
        const auto & [name, given] = *step.begin();
        const JsonCursor value = cursor.member( name, given );
        return ( this->*kindOf( value ).read )( value );
    }

    // The document after the patch is checked as if it had been read at the step.
    ScenarioStep readPatch( const JsonCursor & cursor ) {
        const DocumentPlace place{
            .file = place_.file, .root = cursor.parent().pointer(), .afterPatch = true };
        tree_.root.merge_patch( cursor.value() );
        SwitchDocument next = decodeSwitchDocument( tree_.root, place );
        checkTransition( document_, next, place );
        DocumentDifference difference = differenceOf( document_, next );
        document_ = std::move( next );
        if ( difference.before == difference.after ) {
            return PatchStep{};
        }
        return PatchStep{ std::make_unique<DocumentDifference>( std::move( difference ) ) };
    }

    ScenarioStep readAdvance( const JsonCursor & cursor ) {
        return AdvanceStep{ Decode::readNumber( cursor, 0, longestAdvance ) };
    }

    ScenarioStep readCommand( const JsonCursor & cursor ) {
        return CommandStep{ Decode::readText( cursor ) };
    }

    ScenarioStep readFaultStep( const JsonCursor & cursor ) { return readFault( cursor ); }

    ScenarioStep readClearCounters( const JsonCursor & cursor ) {
        if ( cursor.value() != true ) {
            cursor.refuse( "must be true" );
        }
        return ClearCountersStep{};
    }

    ScenarioStep readMirroringLimit( const JsonCursor & cursor ) {
        constexpr U32 highest = std::numeric_limits<U32>::max();
        return MirroringLimitStep{ static_cast<U32>( Decode::readInteger( cursor, 0, highest ) ) };
    }

    ScenarioStep readNotifications( const JsonCursor & cursor ) {
        return NotificationsStep{ Decode::readBoolean( cursor ) };
    }

    DocumentPlace place_;
    std::span<const FaultCall> faultCalls_;
    // The current document at the step that is being read: as it was written, and decoded.
    JsonTree tree_;
    SwitchDocument document_;
};

const ScenarioReader::StepKind ScenarioReader::stepKinds[] = {
    { "patch", &ScenarioReader::readPatch },
    { "advance", &ScenarioReader::readAdvance },
    { "command", &ScenarioReader::readCommand },
    { "fault", &ScenarioReader::readFaultStep },
    { "clearCounters", &ScenarioReader::readClearCounters },
    { "minLimitCellsForMirroring", &ScenarioReader::readMirroringLimit },
    { "notifications", &ScenarioReader::readNotifications },
};

} // namespace

bool isScenario( const Json & root ) {
    return root.contains( "config" ) || root.contains( "steps" );
}

Scenario readScenarioFile( const std::string & file, std::span<const FaultCall> faultCalls ) {
    const std::string name = inputName( file );
    JsonTree tree{ readJson( readInput( file ), name ) };
    if ( isScenario( tree.root ) ) {
        return ScenarioReader( name, faultCalls ).read( tree.root );
    }
    Scenario scenario;
    scenario.start = decodeSwitchDocument( tree.root, { .file = name } );
    return scenario;
}

} // namespace KelHost
