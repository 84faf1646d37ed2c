#include "Host/Agent/AgentConfig.h"

#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/JsonReader.h"
#include "Host/Json/JsonTree.h"
#include "Host/Json/MessageText.h"
#include "Host/Json/TextFile.h"

#include <utility>

namespace KelHost {

AgentConfig decodedConfig( const std::string & file, std::string text ) {
    const JsonTree tree{ readJson( text, file ) };
    SwitchDocument document = decodeSwitchDocument( tree.root, { .file = file } );
    return { file, std::move( text ), std::move( document ) };
}

AgentConfig readConfig( const std::string & file ) {
    return decodedConfig( file, readTextFile( file ) );
}

StartConfig readStartConfig( const std::string & file, const KeptDocument & kept ) {
    try {
        return { readConfig( file ), "" };
    } catch ( const DocumentError & error ) {
        const std::string why = error.what();
        try {
            if ( std::optional<std::string> text = kept.text() ) {
                return { decodedConfig( kept.file(), std::move( *text ) ), why };
            }
        } catch ( const std::exception & keptError ) {
            throw DocumentError( bounded( why + "; " + keptError.what() ) );
        }
        throw;
    }
}

} // namespace KelHost
