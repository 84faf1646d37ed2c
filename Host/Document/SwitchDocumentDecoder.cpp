#include "Host/Document/SwitchDocumentDecoder.h"

#include "Host/Document/SwitchDocumentDecoderParts.h"
#include "Host/Json/JsonDecode.h"

namespace KelHost {

namespace Decode {

namespace {

constexpr Rule<DeviceSettings> deviceRules[] = {
    { "id", integer<&DeviceSettings::id, 0, 7> },
    { "maxPipeId", integer<&DeviceSettings::maxPipeId, 0, 3> },
    { "totalCells", anyUnsigned<&DeviceSettings::totalCells> },
};

void deviceObject( const JsonCursor & cursor, DeviceSettings & out ) {
    object( cursor, out, deviceRules );
}

void pollInterval( const JsonCursor & cursor, BufferParams & out ) {
    out.leakPollInterval = readNumber( cursor, 0.001, 86400 );
}

constexpr Rule<BufferParams> bufferParamsRules[] = {
    { "totalCellsAvailableForIngress", anyUnsigned<&BufferParams::totalCellsAvailableForIngress> },
    { "leakThreshold", anyUnsigned<&BufferParams::leakThreshold> },
    { "leakPollInterval", pollInterval },
};

void bufferParamsObject( const JsonCursor & cursor, BufferParams & out ) {
    object( cursor, out, bufferParamsRules );
}

void cosToTc( const JsonCursor & cursor, SwitchDocument & out ) {
    const Json & classes = cursor.value();
    if ( !classes.is_array() || classes.size() != out.cosToTc.size() ) {
        cursor.refuse( "must be an array of 8 traffic classes" );
    }
    for ( std::size_t cos = 0; cos < out.cosToTc.size(); ++cos ) {
        out.cosToTc[cos] =
            static_cast<U8>( readInteger( cursor.element( classes, cos ), 0, unmappedTc ) );
    }
}

constexpr Rule<SwitchDocument> documentRules[] = {
    { "device", nested<&SwitchDocument::device, deviceObject> },
    { "bufferParams", nested<&SwitchDocument::bufferParams, bufferParamsObject> },
    { "cosToTc", cosToTc },
    { "ports", nested<&SwitchDocument::ports, portsObject> },
    { "wred", nested<&SwitchDocument::wred, wredObject> },
    { "counters", nested<&SwitchDocument::counters, countersObject> },
    { "countersLastClear", nested<&SwitchDocument::countersLastClear, countersObject> },
};

} // namespace

} // namespace Decode

SwitchDocument decodeSwitchDocument( const Json & root, const DocumentPlace & place ) {
    SwitchDocument document;
    Decode::object( JsonCursor( root, place ), document, Decode::documentRules );
    return document;
}

} // namespace KelHost
