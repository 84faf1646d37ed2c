#pragma once

#include "Platform/Framework/Types.h"

#include <atomic>
#include <concepts>
#include <cstddef>
#include <utility>

namespace Kel {

// The process-wide switch that makes reference counting atomic. Off by default: all users of the
// framework run on one thread and plain increments cost nothing. To be set before a second thread
// sees its first entity.
extern bool refCountAtomic;

// Base of everything that is held by Ptr. The count starts at one, which belongs to makePtr, so an
// object may hand out references to itself from inside its constructor.
class Counted {
  public:
    Counted( const Counted & ) = delete;
    Counted & operator=( const Counted & ) = delete;

    // The number of references; negative from the moment the last one is gone until the memory is
    // released, so that whoever is still reachable by then can tell.
    S32 refCount() const noexcept {
        return std::atomic_ref( refCount_ ).load( std::memory_order_relaxed );
    }
    bool isBeingDestroyed() const noexcept { return refCount() < 0; }

  protected:
    Counted() noexcept = default;
    virtual ~Counted() = default;

  private:
    template <class T>
    friend class Ptr;

    void retain() const noexcept {
        if ( refCountAtomic ) [[unlikely]] {
            std::atomic_ref( refCount_ ).fetch_add( 1, std::memory_order_relaxed );
        } else {
            ++refCount_;
        }
    }

    void release() const noexcept {
        if ( refCountAtomic ) [[unlikely]] {
            const S32 before =
                std::atomic_ref( refCount_ ).fetch_sub( 1, std::memory_order_acq_rel );
            if ( before == 1 ) {
                destroy();
            }
        } else if ( --refCount_ == 0 ) {
            destroy();
        }
    }

    void destroy() const noexcept;

    mutable S32 refCount_ = 1;
};

// A counted reference, one pointer wide. Null by default. Ptr<T const> gives read-only access.
template <class T>
class Ptr {
  public:
    using element_type = T;

    constexpr Ptr() noexcept = default;
    constexpr Ptr( std::nullptr_t ) noexcept {}
    // Shares an object that somebody else already holds.
    explicit Ptr( T * object ) noexcept : object_( object ) { retain(); }
    Ptr( const Ptr & other ) noexcept : object_( other.object_ ) { retain(); }
    Ptr( Ptr && other ) noexcept : object_( std::exchange( other.object_, nullptr ) ) {}
    template <class U>
    requires std::convertible_to<U *, T *> Ptr( const Ptr<U> & other )
    noexcept : object_( other.get() ) { retain(); }
    template <class U>
    requires std::convertible_to<U *, T *> Ptr( Ptr<U> && other )
    noexcept : object_( other.detach() ) {}
    ~Ptr() {
        if ( object_ ) {
            object_->release();
        }
    }

    Ptr & operator=( Ptr other ) noexcept {
        std::swap( object_, other.object_ );
        return *this;
    }

    T * get() const noexcept { return object_; }
    T * operator->() const noexcept { return object_; }
    T & operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // Takes over the count that a fresh object is born with.
    static Ptr adopt( T * object ) noexcept {
        Ptr ptr;
        ptr.object_ = object;
        return ptr;
    }
    // Gives the reference away without giving up the count.
    T * detach() noexcept { return std::exchange( object_, nullptr ); }

    friend bool operator==( const Ptr & a, const Ptr & b ) noexcept = default;
    friend bool operator==( const Ptr & a, std::nullptr_t ) noexcept { return !a.object_; }

  private:
    void retain() const noexcept {
        if ( object_ ) {
            object_->retain();
        }
    }

    T * object_ = nullptr;
};

template <class T, class... Args>
Ptr<T> makePtr( Args &&... args ) {
    return Ptr<T>::adopt( new T( std::forward<Args>( args )... ) );
}

// The generic construct-from-arguments path: every type that has a factory names it `creation`.
template <class T, class... Args>
Ptr<T> construct( Args &&... args ) {
    return T::creation( std::forward<Args>( args )... );
}

} // namespace Kel
