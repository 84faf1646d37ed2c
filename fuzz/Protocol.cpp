// Any bytes from a client, in any pieces: the first byte says how they are cut. How a request is
// cut must not matter.

#include "Host/Agent/Protocol.h"
#include "Platform/Framework/Assert.h"

namespace {

using KelHost::RequestReader;

RequestReader::State readInPieces( RequestReader & reader, std::string_view bytes,
                                   std::size_t piece ) {
    auto state = RequestReader::State::incomplete;
    while ( !bytes.empty() && state == RequestReader::State::incomplete ) {
        state = reader.add( bytes.substr( 0, piece ) );
        bytes.remove_prefix( std::min( piece, bytes.size() ) );
    }
    return state;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const U8 * data, std::size_t size ) {
    if ( size == 0 ) {
        return 0;
    }
    const std::string_view bytes( reinterpret_cast<const char *>( data ) + 1, size - 1 );
    RequestReader whole;
    RequestReader cut;
    const auto state = readInPieces( whole, bytes, bytes.size() );
    KEL_ASSERT( state == readInPieces( cut, bytes, 1U + data[0] ) );
    if ( state == RequestReader::State::complete ) {
        const KelHost::Request request = whole.takeRequest();
        KEL_ASSERT( request == cut.takeRequest() );
        RequestReader again;
        KEL_ASSERT( again.add( encoded( request ) ) == RequestReader::State::complete );
        KEL_ASSERT( again.takeRequest() == request );
    }
    return 0;
}
