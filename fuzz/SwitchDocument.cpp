// Any bytes as a switch document: read, checked, decoded, written again, and told about; or refused
// with a DocumentError.

#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Document/SwitchDocumentEncoder.h"
#include "Host/Json/DocumentError.h"
#include "Host/Json/JsonReader.h"
#include "Host/Json/MessageText.h"
#include "Host/Plan/CheckPage.h"
#include "Host/Plan/CheckPicture.h"
#include "Platform/Framework/Assert.h"

extern "C" int LLVMFuzzerTestOneInput( const U8 * data, std::size_t size ) {
    const std::string_view text( reinterpret_cast<const char *>( data ), size );
    try {
        const auto root = KelHost::readJson( text, "fuzz.json" );
        const KelHost::DocumentPlace place{ "fuzz.json" };
        const auto document = KelHost::decodeSwitchDocument( root, place );
        for ( const auto defaults : { KelHost::Defaults::leftOut, KelHost::Defaults::written } ) {
            const auto again = KelHost::encodedSwitchDocument( document, defaults );
            KEL_ASSERT( document == KelHost::decodeSwitchDocument( again, place ) );
        }
        const auto check = KelHost::checkOf( text, "fuzz.json" );
        KEL_ASSERT( KelHost::Json::parse( KelHost::jsonOf( check ) )["fits"] == check.use.fits() );
        KEL_ASSERT( !KelHost::pageOf( check, {} ).empty() );
        KEL_ASSERT( KelHost::pictureOf( check ).ends_with( "</svg>\n" ) );
    } catch ( const KelHost::DocumentError & error ) {
        const std::string_view line = error.what();
        KEL_ASSERT( line.starts_with( "fuzz.json:" ) );
        KEL_ASSERT( line.size() <= KelHost::messageLimit );
        // No control characters, and UTF-8: there is nothing left to escape.
        KEL_ASSERT( line == KelHost::shown( line, KelHost::messageLimit ) );
    }
    return 0;
}
