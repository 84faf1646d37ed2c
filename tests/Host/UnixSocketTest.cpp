#include "Host/Agent/UnixSocket.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace KelHost;
using TestSupport::TempFolder;

namespace {

TEST( UnixSocket, abstractAddressesAreNoFiles ) {
    const UnixAddress abstract( "@a" ); // as a service manager may give it
    EXPECT_EQ( std::string( abstract.address.sun_path, 2 ), std::string( "\0a", 2 ) );
    EXPECT_THROW( UnixAddress::ofFile( "@a" ), std::invalid_argument );
    EXPECT_THROW( connectedTo( "@a" ), std::invalid_argument );
    EXPECT_EQ( UnixAddress::ofFile( "./@a" ).address.sun_path, std::string( "./@a" ) );
}

TEST( UnixSocket, patienceHoldsForConnectingToo ) {
    const TempFolder folder;
    const std::string path = folder.file( "socket" );
    const UnixAddress address( path );
    const FileDescriptor listener( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) );
    ASSERT_EQ( bind( listener.get(), address.get(), address.size ), 0 );
    ASSERT_EQ( listen( listener.get(), 0 ), 0 ); // room for one caller
    const FileDescriptor first = connectedTo( path );
    EXPECT_TRUE( first );
    const FileDescriptor second = connectedTo( path, 0, { .tv_sec = 0, .tv_usec = 1 } );
    EXPECT_EQ( errno, EAGAIN );
    EXPECT_FALSE( second );
}

} // namespace
