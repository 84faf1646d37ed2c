#include "KelQos/Show/KelSliceQosCounters.h"

#include "Platform/Framework/Assert.h"

namespace KelQos {

PpgSorter::PpgSorter( const char *&, const char * ) {
    Kel::assertionFailed( "!\"No String constructor for PpgSorter - has collection\"", __FILE__,
                          __LINE__, __PRETTY_FUNCTION__ );
}
TxQSorter::TxQSorter( const char *&, const char * ) {
    Kel::assertionFailed( "!\"No String constructor for TxQSorter - has collection\"", __FILE__,
                          __LINE__, __PRETTY_FUNCTION__ );
}
PortSorter::PortSorter( const char *&, const char * ) {
    Kel::assertionFailed( "!\"No String constructor for PortSorter - has collection\"", __FILE__,
                          __LINE__, __PRETTY_FUNCTION__ );
}
BlockLevelCounterSorter::BlockLevelCounterSorter( const char *&, const char * ) {
    Kel::assertionFailed( "!\"No String constructor for BlockLevelCounterSorter - has collection\"",
                          __FILE__, __LINE__, __PRETTY_FUNCTION__ );
}

} // namespace KelQos
