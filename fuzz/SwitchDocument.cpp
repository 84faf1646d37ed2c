// Any bytes as a switch document: read, checked and decoded, or refused with a DocumentError.

#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/DocumentError.h"
#include "Host/Json/JsonReader.h"
#include "Host/Json/MessageText.h"
#include "Platform/Framework/Assert.h"

extern "C" int LLVMFuzzerTestOneInput( const U8 * data, std::size_t size ) {
    const std::string_view text( reinterpret_cast<const char *>( data ), size );
    try {
        const auto root = KelHost::readJson( text, "fuzz.json" );
        const KelHost::DocumentPlace place{ "fuzz.json" };
        const auto document = KelHost::decodeSwitchDocument( root, place );
        KEL_ASSERT( document == KelHost::decodeSwitchDocument( root, place ) );
    } catch ( const KelHost::DocumentError & error ) {
        const std::string_view line = error.what();
        KEL_ASSERT( line.starts_with( "fuzz.json:" ) );
        KEL_ASSERT( line.size() <= KelHost::messageLimit );
        // No control characters, and UTF-8: there is nothing left to escape.
        KEL_ASSERT( line == KelHost::shown( line, KelHost::messageLimit ) );
    }
    return 0;
}
