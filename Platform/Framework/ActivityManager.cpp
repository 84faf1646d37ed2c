#include "Platform/Framework/ActivityManager.h"

#include "Platform/Framework/Assert.h"

#include <cstdlib>

namespace Kel {

namespace {

ActivityManager * current = nullptr;

} // namespace

ActivityManager::ActivityManager() : config_( scheduler_ ) {
    KEL_ASSERT( !current );
    current = this;
}

ActivityManager::~ActivityManager() { current = nullptr; }

void ActivityManager::exit( int status ) {
    if ( exitHandler_ ) {
        exitHandler_( status );
    }
    std::exit( status );
}

ActivityManager * activityManager() {
    KEL_ASSERT( current );
    return current;
}

} // namespace Kel
