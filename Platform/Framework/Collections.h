#pragma once

#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Exceptions.h"
#include "Platform/Framework/HashMap.h"
#include "Platform/Framework/Ptr.h"

#include <cstddef>
#include <utility>

namespace Kel {

// A collection attribute whose members are entities: makes the owner their parent while they are in
// it, and tells of every member that is added or removed, upwards and to the owner's notifiees.
// Handlers that are told may change the collection again; a loop over it stays valid (see HashMap)
// while the owner lives.
template <class Key, class Member>
class MemberCollection {
  public:
    MemberCollection( Entity & owner, AttributeId id ) : owner_( owner ), id_( id ) {}
    MemberCollection( const MemberCollection & ) = delete;
    MemberCollection & operator=( const MemberCollection & ) = delete;

    std::size_t size() const { return members_.size(); }
    bool empty() const { return members_.empty(); }
    auto begin() const { return members_.begin(); }
    std::nullptr_t end() const { return nullptr; }
    template <class F>
    void visit( F && f ) const {
        members_.visit( std::forward<F>( f ) );
    }

    bool has( const Key & key ) const { return members_.contains( key ); }
    // The member, or null.
    Ptr<Member> get( const Key & key ) const {
        const Ptr<Member> * member = members_.find( key );
        return member ? *member : Ptr<Member>();
    }

    // Inserts a member that was created and filled before; a member that is already under the key
    // is replaced, in its place. Does nothing if it is the same member. Throws
    // NullArgumentException for null, and ParentException for an entity that has a parent: a member
    // of another collection, or of this one under another key.
    void insert( Key key, const Ptr<Member> & member ) {
        if ( !member ) {
            throw NullArgumentException( "a null entity cannot be a member of a collection" );
        }
        const Ptr<Member> previous = get( key );
        if ( previous == member ) {
            return;
        }
        if ( member->parent() ) {
            throw ParentException( "an entity that has a parent was given to a second one" );
        }
        member->parentIs( &owner_ );
        members_.insertOrAssign( key, member );
        if ( previous ) {
            previous->tellAbove();
            previous->parentIs( nullptr );
        }
        member->tellAbove();
        owner_.notify( id_, &key );
    }

    // The member under the key; if there is none, what `make` returns is inserted first.
    template <class Make>
    Ptr<Member> getOrInsert( const Key & key, Make && make ) {
        Ptr<Member> member = get( key );
        if ( !member ) {
            member = make();
            insert( key, member );
        }
        return member;
    }

    // Removes the member, if present. Its parent link is cleared before notifiees are told.
    void erase( Key key ) {
        if ( auto member = members_.take( key ) ) {
            ( *member )->tellAbove();
            ( *member )->parentIs( nullptr );
            owner_.notify( id_, &key );
        }
    }
    // Removes the members that are there now, one by one.
    void eraseAll() {
        const Ptr<const Entity> alive( &owner_ );
        for ( const auto & entry : members_ ) {
            erase( entry.key );
        }
    }

  private:
    Entity & owner_;
    AttributeId id_;
    HashMap<Key, Ptr<Member>> members_;
};

// A collection attribute of plain values. Setting a value that is already there tells nobody.
template <class Key, class Value>
class ValueCollection {
  public:
    ValueCollection( Entity & owner, AttributeId id ) : owner_( owner ), id_( id ) {}
    ValueCollection( const ValueCollection & ) = delete;
    ValueCollection & operator=( const ValueCollection & ) = delete;

    std::size_t size() const { return values_.size(); }
    bool empty() const { return values_.empty(); }
    auto begin() const { return values_.begin(); }
    std::nullptr_t end() const { return nullptr; }

    bool has( const Key & key ) const { return values_.contains( key ); }
    // The value under the key, or null; valid until the collection changes.
    const Value * find( const Key & key ) const { return values_.find( key ); }

    void set( Key key, const Value & value ) {
        const Value * present = values_.find( key );
        if ( !present || !( *present == value ) ) {
            values_.insertOrAssign( key, value );
            owner_.attributeChanged( id_, &key );
        }
    }
    // Removes the value, if present.
    void erase( Key key ) {
        if ( values_.erase( key ) ) {
            owner_.attributeChanged( id_, &key );
        }
    }
    // Removes the values that are there now, one by one.
    void eraseAll() {
        const Ptr<const Entity> alive( &owner_ );
        for ( const auto & entry : values_ ) {
            erase( entry.key );
        }
    }

  private:
    Entity & owner_;
    AttributeId id_;
    HashMap<Key, Value> values_;
};

} // namespace Kel
