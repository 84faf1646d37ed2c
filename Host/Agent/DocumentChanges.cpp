#include "Host/Agent/DocumentChanges.h"

#include <exception>
#include <new>

namespace KelHost {

DocumentChanges::DocumentChanges( SwitchRuntime & runtime, EventLoop & loop, Worker & worker )
    : runtime_( runtime ), loop_( loop ), worker_( worker ) {}

void DocumentChanges::add( DocumentChange change ) {
    waiting_.push_back( std::move( change ) );
    if ( !underWay_ ) {
        beginNext();
    }
}

template <class Work>
std::string DocumentChanges::complaintOf( const Work & work ) {
    try {
        work();
        return {};
    } catch ( const std::bad_alloc & ) {
        return "out of memory";
    } catch ( const std::exception & error ) {
        return error.what();
    }
}

void DocumentChanges::beginNext() {
    underWay_ = !waiting_.empty();
    if ( !underWay_ ) {
        return;
    }
    change_ = std::move( waiting_.front() );
    waiting_.pop_front();
    if ( change_.prepare ) {
        worker_.start( [this] { prepare(); }, [this] { applyNextPart(); } );
    } else {
        applyNextPart();
    }
}

// The document that runs stands still until the change is applied.
void DocumentChanges::prepare() {
    refusal_ =
        complaintOf( [this] { parts_ = inParts( change_.prepare( runtime_.document() ) ); } );
}

void DocumentChanges::applyNextPart() {
    if ( applied_ < parts_.size() ) {
        runtime_.apply( parts_[applied_++] );
        loop_.whenIdle( "a part of a change of the document", [this] { applyNextPart(); } );
    } else if ( refusal_.empty() && change_.settle ) {
        settle();
    } else {
        tell();
    }
}

void DocumentChanges::settle() {
    worker_.start( [this] { trouble_ = complaintOf( change_.settle ); }, [this] { tell(); } );
}

// What was large when it came is given back to the system, not to the loop's next allocations.
void DocumentChanges::tell() {
    change_.done( std::exchange( refusal_, {} ), std::exchange( trouble_, {} ) );
    worker_.start(
        [this] {
            parts_ = {};
            applied_ = 0;
            change_ = {};
            Worker::returnMemory();
        },
        [this] { beginNext(); } );
}

} // namespace KelHost
