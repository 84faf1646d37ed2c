#pragma once

#include "Platform/Framework/Types.h"

#include <atomic>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace Kel {

// The process-wide switch that makes reference counting atomic. Off by default: all users of the
// framework run on one thread, and plain increments cost next to nothing. Set it before a second
// thread sees its first entity.
bool refCountAtomic() noexcept;
void refCountAtomicIs( bool atomic ) noexcept;

// All ones while counting is plain, 0 while it is atomic. It masks the address of an object, so
// that one test tells both whether there is an object and whether to count plainly. References come
// and go so often that a second test would be noticeable.
extern std::uintptr_t plainCountMask;

// Base of everything that is held by Ptr. The count starts at one, which belongs to makePtr, so an
// object may hand out references to itself from inside its constructor.
class Counted {
  public:
    Counted( const Counted & ) = delete;
    Counted & operator=( const Counted & ) = delete;

    // The number of references; negative from the moment the last one is gone until the memory is
    // released, so that code which can still reach the object can tell.
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

    // Null is allowed, and not counted.
    static void retain( const Counted * object ) noexcept {
        if ( countsPlainly( object ) ) [[likely]] {
            ++object->refCount_;
        } else if ( object ) {
            std::atomic_ref( object->refCount_ ).fetch_add( 1, std::memory_order_relaxed );
        }
    }
    static void release( const Counted * object ) noexcept {
        if ( countsPlainly( object ) ) [[likely]] {
            if ( --object->refCount_ == 0 ) {
                object->destroy();
            }
        } else if ( object ) {
            object->releaseAtomic();
        }
    }
    static bool countsPlainly( const Counted * object ) noexcept {
        return ( std::bit_cast<std::uintptr_t>( object ) & plainCountMask ) != 0;
    }
    void releaseAtomic() const noexcept;
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
    explicit Ptr( T * object ) noexcept : object_( object ) { Counted::retain( object ); }
    Ptr( const Ptr & other ) noexcept : Ptr( other.object_ ) {}
    Ptr( Ptr && other ) noexcept : object_( std::exchange( other.object_, nullptr ) ) {}
    template <class U>
    requires std::convertible_to<U *, T *> Ptr( const Ptr<U> & other )
    noexcept : Ptr( other.get() ) {}
    template <class U>
    requires std::convertible_to<U *, T *> Ptr( Ptr<U> && other )
    noexcept : object_( other.detach() ) {}
    ~Ptr() { Counted::release( object_ ); }

    Ptr & operator=( Ptr other ) noexcept {
        std::swap( object_, other.object_ );
        return *this;
    }

    T * get() const noexcept { return object_; }
    T * operator->() const noexcept { return object_; }
    T & operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // Takes over the reference that a new object starts with.
    static Ptr adopt( T * object ) noexcept {
        Ptr ptr;
        ptr.object_ = object;
        return ptr;
    }
    // Gives the reference away, and leaves the count as it is.
    T * detach() noexcept { return std::exchange( object_, nullptr ); }

    friend bool operator==( const Ptr & a, const Ptr & b ) noexcept = default;
    friend bool operator==( const Ptr & a, std::nullptr_t ) noexcept { return !a.object_; }

  private:
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
