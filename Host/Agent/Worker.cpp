#include "Host/Agent/Worker.h"

#include "Platform/Framework/Assert.h"

#include <malloc.h>
#include <utility>

namespace KelHost {

namespace {

// Bytes. Left to itself the library raises its limits after the first large text, and keeps much
// more.
constexpr int mappedAlone = 1 << 20; // allocations of this size are returned when they are freed
constexpr int keptFree = 8 << 20;    // free memory that is not worth returning

} // namespace

Worker::Worker( EventLoop & loop )
    : ended_( loop, "what was done beside the loop", [this] { finish(); } ) {
    (void)mallopt( M_MMAP_THRESHOLD, mappedAlone ); // best effort, as all of this
    (void)mallopt( M_TRIM_THRESHOLD, keptFree );
}

void Worker::returnMemory() {
    if ( mallinfo2().fordblks > keptFree ) {
        malloc_trim( 0 );
    }
}

Worker::~Worker() { join(); }

void Worker::start( const std::function<void()> & job, std::function<void()> done ) {
    KEL_ASSERT( !busy() );
    done_ = std::move( done );
    const auto work = [this, job] {
        job();
        ended_.raise();
    };
    try {
        thread_ = std::thread( work );
    } catch ( const std::system_error & ) {
        work();
    }
}

void Worker::join() {
    if ( thread_.joinable() ) {
        thread_.join();
    }
}

void Worker::finish() {
    join(); // the thread has nothing more to do
    const std::function<void()> done = std::exchange( done_, nullptr );
    done(); // it may start the next job
}

} // namespace KelHost
