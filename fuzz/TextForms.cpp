// Any bytes as the text form of a record and as trace levels: what can be read is written and read
// again as the same value.

#include "KelQos/Show/KelSliceQosCounters.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Exceptions.h"
#include "Platform/Logging/Trace.h"

#include <stdexcept>

namespace {

template <class Record>
void readAndWrite( std::string_view text ) {
    const char * cursor = text.data();
    try {
        const Record record( cursor, text.data() + text.size() );
        const std::string written = valueToStrep( record );
        const char * again = written.data();
        const Record copy( again, written.data() + written.size() );
        // Not-a-number equals nothing, itself included; its text says that it is the same.
        KEL_ASSERT( record == copy || written == valueToStrep( copy ) );
    } catch ( const Kel::ParseException & ) {
        KEL_ASSERT( cursor == text.data() );
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const U8 * data, std::size_t size ) {
    const std::string_view text( reinterpret_cast<const char *>( data ), size );
    readAndWrite<KelQos::PpgCounterData>( text );
    readAndWrite<KelQos::TxQCounterData>( text );
    readAndWrite<KelQos::BlockLevelCounterData>( text );
    try {
        Kel::traceLevelsIs( text );
    } catch ( const std::invalid_argument & ) { // refused
    }
    Kel::traceLevelsDelAll();
    return 0;
}
