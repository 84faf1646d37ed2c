// Copying a counted reference and dropping the copy.

#include "Platform/Framework/Ptr.h"

#include <benchmark/benchmark.h>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <memory>

namespace KelBench {

namespace {

struct KelObject : Kel::Counted {
    int value = 0;
};
struct BoostObject : boost::intrusive_ref_counter<BoostObject, boost::thread_unsafe_counter> {
    virtual ~BoostObject() = default;
    int value = 0;
};
struct StdObject {
    virtual ~StdObject() = default;
    int value = 0;
};

// The copy is made, seen and dropped.
template <class Pointer>
void copyAndDrop( benchmark::State & state, const Pointer & pointer ) {
    for ( auto _ : state ) {
        const Pointer copy( pointer );
        benchmark::DoNotOptimize( copy.get() );
        benchmark::ClobberMemory();
    }
}

void pointerKel( benchmark::State & state ) { copyAndDrop( state, Kel::makePtr<KelObject>() ); }
void pointerIntrusive( benchmark::State & state ) {
    copyAndDrop( state, boost::intrusive_ptr<BoostObject>( new BoostObject ) );
}
void pointerShared( benchmark::State & state ) {
    copyAndDrop( state, std::make_shared<StdObject>() );
}

BENCHMARK( pointerKel );
BENCHMARK( pointerIntrusive );
BENCHMARK( pointerShared );

} // namespace

} // namespace KelBench
