#pragma once

#include "Host/Json/Json.h"

#include <utility>

namespace KelHost {

// Makes the value null. Takes no memory for it, as the destructor of a value with members does: a
// tree that there was no room for must go without.
void dismantle( Json & value ) noexcept;

// Owns a tree of any size.
struct JsonTree {
    explicit JsonTree( Json && tree = nullptr ) : root( std::move( tree ) ) {}
    JsonTree( const JsonTree & ) = delete;
    JsonTree & operator=( const JsonTree & ) = delete;
    ~JsonTree() { dismantle( root ); }

    Json root;
};

} // namespace KelHost
