// An attribute change, told to one and to eight receivers.

#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Notifiee.h"

#include <array>
#include <benchmark/benchmark.h>
#include <boost/signals2/signal.hpp>
#include <memory>
#include <sigc++/sigc++.h>
#include <vector>

namespace KelBench {

namespace {

class Counter : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { valueAttr = 1 };

    U32 value() const { return value_; }
    void valueIs( U32 value ) { attributeIs( value_, value, valueAttr ); }

  private:
    U32 value_ = 0;
};

// What every receiver does.
struct Total {
    U64 sum = 0;
    void add( U32 value ) { sum += value; }
};

class Reactor : public Kel::NotifieeOf<Counter> {
  public:
    Reactor( const Kel::Ptr<const Counter> & counter, Total & total )
        : NotifieeOf( counter ), total_( total ) {
        hasNotificationActiveIs( true );
    }
    void onAttribute( Kel::AttributeId id, const void * ) override {
        if ( id == Counter::valueAttr ) {
            total_.add( notifier()->value() );
        }
    }

  private:
    Total & total_;
};

void notifyKel( benchmark::State & state ) {
    Total total;
    const auto counter = Kel::makePtr<Counter>();
    std::vector<Kel::Ptr<Reactor>> reactors;
    for ( S64 i = 0; i < state.range( 0 ); ++i ) {
        reactors.push_back( Kel::makePtr<Reactor>( counter, total ) );
    }
    U32 value = 0;
    for ( auto _ : state ) {
        counter->valueIs( ++value );
    }
    benchmark::DoNotOptimize( total.sum );
}

template <class Signal, class Connect>
void notifySignal( benchmark::State & state, const Connect & connect ) {
    Total total;
    Signal signal;
    for ( S64 i = 0; i < state.range( 0 ); ++i ) {
        connect( signal, total );
    }
    U32 value = 0;
    U32 stored = 0;
    for ( auto _ : state ) {
        if ( ++value != stored ) {
            stored = value;
            signal( value );
        }
    }
    benchmark::DoNotOptimize( total.sum );
}

void notifySignals2( benchmark::State & state ) {
    notifySignal<boost::signals2::signal<void( U32 )>>( state, []( auto & signal, Total & total ) {
        signal.connect( [&total]( U32 value ) { total.add( value ); } );
    } );
}

void notifySigc( benchmark::State & state ) {
    notifySignal<sigc::signal<void, U32>>( state, []( auto & signal, Total & total ) {
        signal.connect( sigc::mem_fun( total, &Total::add ) );
    } );
}

struct Receiver {
    virtual ~Receiver() = default;
    virtual void receive( U32 value ) = 0;
};
struct AddingReceiver : Receiver {
    explicit AddingReceiver( Total & sum ) : total( sum ) {}
    void receive( U32 value ) override { total.add( value ); }
    Total & total;
};

void notifyVirtualCall( benchmark::State & state ) {
    Total total;
    std::vector<std::unique_ptr<Receiver>> receivers;
    for ( S64 i = 0; i < state.range( 0 ); ++i ) {
        receivers.push_back( std::make_unique<AddingReceiver>( total ) );
    }
    U32 value = 0;
    U32 stored = 0;
    for ( auto _ : state ) {
        if ( ++value != stored ) {
            stored = value;
            for ( const auto & receiver : receivers ) {
                Receiver * target = receiver.get();
                benchmark::DoNotOptimize( target ); // which class it is must be looked up
                target->receive( value );
            }
        }
    }
    benchmark::DoNotOptimize( total.sum );
}

BENCHMARK( notifyKel )->Arg( 1 )->Arg( 8 );
BENCHMARK( notifySignals2 )->Arg( 1 )->Arg( 8 );
BENCHMARK( notifySigc )->Arg( 1 )->Arg( 8 );
BENCHMARK( notifyVirtualCall )->Arg( 1 )->Arg( 8 );

} // namespace

} // namespace KelBench
