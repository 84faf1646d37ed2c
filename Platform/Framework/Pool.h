#pragma once

#include <cstddef>
#include <new>
#include <utility>

#if defined( __SANITIZE_ADDRESS__ )
#define KEL_ADDRESS_SANITIZER 1
#elif defined( __has_feature )
#define KEL_ADDRESS_SANITIZER __has_feature( address_sanitizer )
#else
#define KEL_ADDRESS_SANITIZER 0
#endif

namespace Kel {

// Memory blocks of one size, cut from slabs: handing one out costs a few instructions, and blocks
// taken one after the other lie side by side. The slabs are released when no block is in use. For
// one thread.
class Pool {
  public:
    constexpr Pool() = default;
    Pool( const Pool & ) = delete;
    Pool & operator=( const Pool & ) = delete;

    // A block of `size` bytes, which must be the same in every call, a multiple of a pointer's
    // size, and not 0. Throws std::bad_alloc.
    void * take( std::size_t size ) {
        if ( !free_ ) {
            grow( size );
        }
        ++used_;
        return std::exchange( free_, free_->next );
    }
    void give( void * block ) noexcept {
        free_ = new ( block ) Link{ free_ };
        if ( --used_ == 0 ) {
            releaseSlabs();
        }
    }

  private:
    struct Link {
        Link * next;
    };
    // The blocks of a slab follow its link, aligned like blocks of the heap.
    struct alignas( std::max_align_t ) Slab : Link {};
    static constexpr std::size_t blocksOfASlab = 64;

    void grow( std::size_t size );
    void releaseSlabs() noexcept;

    Link * free_ = nullptr;
    Link * slabs_ = nullptr;
    std::size_t used_ = 0;
};

// Base of a class of which there are thousands of objects: they live in a pool of that class.
// Objects of classes derived from it live on the heap, and under the address sanitizer all of them
// do, because it can only watch memory that is freed one by one.
template <class T>
class Pooled {
#if !KEL_ADDRESS_SANITIZER
  public:
    // NOLINTNEXTLINE(misc-new-delete-overloads): its counterpart wants the size too
    static void * operator new( std::size_t size ) {
        static_assert( alignof( T ) <= alignof( std::max_align_t ) );
        return size == sizeof( T ) ? pool_.take( size ) : ::operator new( size );
    }
    static void operator delete( void * object, std::size_t size ) noexcept {
        size == sizeof( T ) ? pool_.give( object ) : ::operator delete( object );
    }

  private:
    static inline constinit Pool pool_;
#endif

  protected:
    Pooled() = default;
    ~Pooled() = default;
};

} // namespace Kel
