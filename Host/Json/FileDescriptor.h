#pragma once

#include <cerrno>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace KelHost {

// Owns a file descriptor, or none (-1).
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor( int fd ) : fd_( fd ) {}
    FileDescriptor( FileDescriptor && other ) noexcept : fd_( std::exchange( other.fd_, -1 ) ) {}
    FileDescriptor & operator=( FileDescriptor && other ) noexcept {
        std::swap( fd_, other.fd_ );
        return *this;
    }
    FileDescriptor( const FileDescriptor & ) = delete;
    FileDescriptor & operator=( const FileDescriptor & ) = delete;
    ~FileDescriptor() {
        if ( fd_ >= 0 ) {
            close( fd_ );
        }
    }

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }

  private:
    int fd_ = -1;
};

// The result of a system call; throws std::system_error, with errno and what failed, when it is
// negative.
inline int checkedResult( int result, const char * failure ) {
    if ( result < 0 ) {
        throw std::system_error( errno, std::generic_category(), failure );
    }
    return result;
}

} // namespace KelHost
