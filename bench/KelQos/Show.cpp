// "show tm" of the whole chip, every row, into a socket: against the same rows formatted with
// snprintf into one buffer that is written once, and against a dprintf per row. It is the time of
// the writing thread; how long the reader takes is not its business.

#include "bench/Chip/BenchChip.h"
#include "bench/support/Paired.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace KelBench {

namespace {

// A connected socket whose other end reads, and keeps nothing.
class DrainedSocket {
  public:
    DrainedSocket() {
        KEL_ASSERT( socketpair( AF_UNIX, SOCK_STREAM, 0, ends_.data() ) == 0 );
        reader_ = std::thread( [fd = ends_[1]] {
            std::vector<char> buffer( 1U << 20U );
            while ( read( fd, buffer.data(), buffer.size() ) > 0 ) {
            }
        } );
    }
    DrainedSocket( const DrainedSocket & ) = delete;
    DrainedSocket & operator=( const DrainedSocket & ) = delete;
    ~DrainedSocket() {
        close( ends_[0] );
        reader_.join();
        close( ends_[1] );
    }
    int fd() const { return ends_[0]; }

  private:
    std::array<int, 2> ends_{};
    std::thread reader_;
};

// Everything that one row shows: a line of text, or numbers.
struct Row {
    enum class Kind { text, group, queue } kind = Kind::text;
    std::string text;
    std::array<U64, 6> numbers{};
};

constexpr const char * groupFormat =
    "%5" PRIu64 " %8" PRIu64 " %9" PRIu64 " %9" PRIu64 " %40" PRIu64 " 0x%" PRIx64 "\n";
constexpr const char * queueFormat = "%5" PRIu64 " %10" PRIu64 "\n";

// Prints with snprintf, dprintf or the like.
template <class Print>
int printRow( const Row & row, const Print & print ) {
    const auto & n = row.numbers;
    switch ( row.kind ) {
    case Row::Kind::text:
        return print( "%s\n", row.text.c_str() );
    case Row::Kind::group:
        return print( groupFormat, n[0], n[1], n[2], n[3], n[4], n[5] );
    case Row::Kind::queue:
        return print( queueFormat, n[0], n[1] );
    }
    return 0;
}

Row parseRow( const std::string & line ) {
    Row row;
    auto & n = row.numbers;
    const int fields = std::sscanf(
        line.c_str(), "%" SCNu64 " %" SCNu64 " %" SCNu64 " %" SCNu64 " %" SCNu64 " 0x%" SCNx64,
        &n[0], &n[1], &n[2], &n[3], &n[4], &n[5] );
    row.kind = fields == 6 ? Row::Kind::group : fields == 2 ? Row::Kind::queue : Row::Kind::text;
    row.text = line;
    return row;
}

std::vector<Row> parseRows( const std::string & answer ) {
    std::vector<Row> rows;
    for ( std::size_t start = 0; start < answer.size(); ) {
        const std::size_t end = answer.find( '\n', start );
        rows.push_back( parseRow( answer.substr( start, end - start ) ) );
        start = end + 1;
    }
    return rows;
}

void snprintfRows( const std::vector<Row> & rows, std::vector<char> & buffer, int fd ) {
    char * at = buffer.data();
    char * const end = at + buffer.size();
    for ( const Row & row : rows ) {
        at += printRow( row, [&]( const char * format, auto... values ) {
            return std::snprintf( at, static_cast<std::size_t>( end - at ), format, values... );
        } );
    }
    for ( const char * from = buffer.data(); from < at; ) {
        const ssize_t written = write( fd, from, static_cast<std::size_t>( at - from ) );
        KEL_ASSERT( written > 0 );
        from += written;
    }
}

void dprintfRows( const std::vector<Row> & rows, int fd ) {
    for ( const Row & row : rows ) {
        printRow( row, [&]( const char * format, auto... values ) {
            return dprintf( fd, format, values... );
        } );
    }
}

// Usage everywhere, so that every row has numbers to format.
void fillCounters( BenchChip & chip ) {
    using namespace KelQos;
    const KelId::KelDevId device( 0 );
    for ( U16 pipe = 0; pipe < 4; ++pipe ) {
        for ( U32 index = 0; index < 576; ++index ) {
            for ( const auto type :
                  { counterTypePpgMinUsage, counterTypePpgSharedUsage, counterTypePpgSkidUsage,
                    counterTypeQueueUsage, counterTypePpgDrops } ) {
                chip.counters().setCounter( device, KelId::KelPipeId( pipe ), index, type,
                                            index * 977 % 9973 + type );
            }
        }
    }
}

// What a pipe or a file would get.
std::string answerTo( BenchChip & chip, const std::string & command ) {
    std::FILE * const file = std::tmpfile();
    KEL_ASSERT( file );
    chip.commands().deliver( "KelSliceQos", static_cast<U32>( fileno( file ) ), command );
    const auto size = static_cast<std::size_t>( lseek( fileno( file ), 0, SEEK_END ) );
    std::string text( size, '\0' );
    KEL_ASSERT( pread( fileno( file ), text.data(), size, 0 ) == static_cast<ssize_t>( size ) );
    std::fclose( file );
    return text;
}

void showTm( benchmark::State & state ) {
    BenchChip chip( {} );
    chip.bringUp();
    fillCounters( chip );
    const std::string answer = answerTo( chip, "show tm" );
    const std::vector<Row> rows = parseRows( answer );
    std::vector<char> buffer( answer.size() + 1 );
    DrainedSocket socket;
    snprintfRows( rows, buffer, socket.fd() );
    if ( std::string( buffer.data() ) != answer ) {
        state.SkipWithError( "the rows differ" );
    }
    SamplesOf<ThreadClock> ours;
    SamplesOf<ThreadClock> once;
    SamplesOf<ThreadClock> perRow;
    for ( auto _ : state ) {
        state.SetIterationTime( ours.measure( [&] {
            chip.commands().deliver( "KelSliceQos", static_cast<U32>( socket.fd() ), "show tm" );
        } ) * 1e-9 );
        once.measure( [&] { snprintfRows( rows, buffer, socket.fd() ); } );
        perRow.measure( [&] { dprintfRows( rows, socket.fd() ); } );
    }
    state.counters["rows"] = static_cast<F64>( rows.size() );
    state.counters["bytes"] = static_cast<F64>( answer.size() );
    state.counters["ours_ns"] = ours.median();
    state.counters["snprintf_ns"] = once.median();
    state.counters["dprintf_ns"] = perRow.median();
    state.counters["over_snprintf"] = ours.median() / once.median();
    state.counters["dprintf_over"] = perRow.median() / ours.median();
}

BENCHMARK( showTm )->UseManualTime()->Unit( benchmark::kMicrosecond );

} // namespace

} // namespace KelBench
