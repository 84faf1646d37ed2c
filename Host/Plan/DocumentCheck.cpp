#include "Host/Plan/DocumentCheck.h"

#include "Host/Plan/MemberChanges.h"

namespace KelHost {

DocumentCheck checkOf( const SwitchDocument & document, const std::string & file,
                       std::size_t mostWarnings ) {
    BufferUse use = bufferUseOf( document );
    Warnings warnings = warningsOf( document, use, mostWarnings );
    return { file, std::move( use ), std::move( warnings ) };
}

DocumentCheck checkOf( std::string_view text, const std::string & file ) {
    const WrittenDocument written = writtenDocument( text, file );
    BufferUse use = bufferUseOf( written.document, TextOrder( text ) );
    Warnings warnings = warningsOf( written.document, use );
    return { file, std::move( use ), std::move( warnings ) };
}

} // namespace KelHost
