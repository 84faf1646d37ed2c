#pragma once

#include "Model/Arguments.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Types.h"

#include <array>
#include <charconv>
#include <concepts>
#include <cstring>
#include <string_view>
#include <system_error>

namespace KelModel {

// The text of one driver call, built in place: a run of the model does little else than log calls,
// so this needs neither the heap nor a stream.
class CallLine {
  public:
    std::string_view view() const {
        return { text_.data(), static_cast<std::size_t>( end_ - text_.data() ) };
    }

    void add( std::string_view text ) {
        KEL_ASSERT( text.size() <= static_cast<std::size_t>( limit() - end_ ) );
        std::memcpy( end_, text.data(), text.size() );
        end_ += text.size();
    }

    template <class Number>
    requires std::integral<Number> || std::floating_point<Number>
    void add( Number number ) {
        const auto result = std::to_chars( end_, limit(), printed( number ) );
        KEL_ASSERT( result.ec == std::errc{} );
        end_ = result.ptr;
    }

    void add( DeviceArg arg ) { add( arg.value ); }
    void add( PortArg arg ) { add( arg.value ); }
    void add( PpgArg arg ) { add( arg.value ); }
    template <U32 count>
    void add( NumberArg<count> arg ) {
        add( arg.value );
    }
    template <U32 count>
    void add( ListArg<count> arg ) {
        std::string_view before = "[";
        for ( const U8 value : arg.values ) {
            add( before );
            add( value );
            before = ", ";
        }
        add( "]" );
    }
    void add( WredSpecArg arg ) {
        add( "[" );
        add( arg.spec.timeConstantNs );
        add( ", " );
        add( arg.spec.minThdCells );
        add( ", " );
        add( arg.spec.maxThdCells );
        add( ", " );
        add( arg.spec.maxDropProbability );
        add( "]" );
    }

    // An argument of a call, with the separator that the one before it left.
    template <class Arg>
    void addArgument( const Arg & arg ) {
        add( separator_ );
        add( arg );
        separator_ = ", ";
    }
    template <class T>
    void addArgument( OutArg<T> ) {}

    // What a successful call handed out.
    template <class Arg>
    void addResult( const Arg & ) {}
    template <class T>
    void addResult( OutArg<T> arg ) {
        add( " -> " );
        add( *arg.value );
    }

  private:
    // The longest call, a port's queue map, needs about 250 characters.
    static constexpr std::size_t capacity = 512;

    static int printed( bool number ) { return number ? 1 : 0; }
    template <class Number>
    static Number printed( Number number ) {
        return number;
    }

    char * limit() { return text_.data() + text_.size(); }

    std::array<char, capacity> text_;
    char * end_ = text_.data();
    std::string_view separator_ = "(";
};

} // namespace KelModel
