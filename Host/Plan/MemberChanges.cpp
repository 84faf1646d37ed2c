#include "Host/Plan/MemberChanges.h"

#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Document/SwitchDocumentEncoder.h"
#include "Host/Json/JsonReader.h"

#include <algorithm>
#include <set>

namespace KelHost {

namespace {

const Json * memberOf( const Json * object, const std::string & name ) {
    if ( object == nullptr || !object->is_object() ) {
        return nullptr;
    }
    const auto found = object->find( name );
    return found == object->end() ? nullptr : &*found;
}

// A value on one side: what it means, with all defaults, and how it was written. Null: absent.
struct Side {
    const Json * meant;
    const Json * written;

    Side member( const std::string & name ) const {
        return { memberOf( meant, name ), memberOf( written, name ) };
    }
    bool isObject() const { return meant != nullptr && meant->is_object(); }
    // An object that has a default as a whole, as a rate has, is absent unless it is written.
    Json shown() const {
        return written != nullptr ? *written : meant != nullptr && !isObject() ? *meant : Json();
    }
};

class Walk {
  public:
    void members( const Side & before, const Side & after ) {
        std::set<std::string_view> names;
        for ( const Json * object : { before.meant, after.meant } ) {
            for ( const auto & item : object->items() ) {
                names.insert( item.key() );
            }
        }
        for ( const std::string_view view : names ) {
            const std::string name( view );
            path_.push_back( name );
            member( before.member( name ), after.member( name ) );
            path_.pop_back();
        }
    }

    std::vector<MemberChange> result() {
        std::ranges::sort( changes_, {}, &MemberChange::pointer );
        return std::move( changes_ );
    }

  private:
    void member( const Side & before, const Side & after ) {
        if ( before.meant != nullptr && after.meant != nullptr && *before.meant == *after.meant ) {
            return;
        }
        // Any other object is there, perhaps empty, on both sides or on none.
        const bool isRate = path_.back() == "shapeRate" || path_.back() == "guaranteedRate";
        if ( before.isObject() && after.isObject() &&
             ( !isRate || ( before.written != nullptr && after.written != nullptr ) ) ) {
            members( before, after );
            return;
        }
        std::string pointer;
        for ( const std::string & name : path_ ) {
            pointer += '/' + pointerToken( name );
        }
        changes_.push_back( { std::move( pointer ), path_, before.shown(), after.shown() } );
    }

    std::vector<std::string> path_;
    std::vector<MemberChange> changes_;
};

} // namespace

WrittenDocument writtenDocument( std::string_view text, const std::string & file ) {
    Json root = readJson( text, file );
    JsonTree tree{ std::move( root ) };
    SwitchDocument document = decodeSwitchDocument( tree.root, { .file = file } );
    return { file, JsonTree( std::move( tree.root ) ), std::move( document ) };
}

std::vector<MemberChange> memberChanges( const WrittenDocument & before,
                                         const WrittenDocument & after ) {
    const JsonTree then( encodedSwitchDocument( before.document, Defaults::written ) );
    const JsonTree now( encodedSwitchDocument( after.document, Defaults::written ) );
    Walk walk;
    walk.members( { &then.root, &before.tree.root }, { &now.root, &after.tree.root } );
    return walk.result();
}

} // namespace KelHost
